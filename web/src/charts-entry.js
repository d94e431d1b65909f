// The chart part of the bundle: the chart library with only what the page draws, and the page's
// chart API on top of it.
import * as echarts from 'echarts/core';
import {BarChart, LineChart, ScatterChart} from 'echarts/charts';
import {AriaComponent, DataZoomInsideComponent, GridComponent, LegendComponent, TitleComponent, ToolboxComponent}
  from 'echarts/components';
import {SVGRenderer} from 'echarts/renderers';
import {Chart} from './page-charts.js';
import {batchReadyHandlers} from './schedule.js';

echarts.use([BarChart, LineChart, ScatterChart, AriaComponent, DataZoomInsideComponent, GridComponent,
  LegendComponent, TitleComponent, ToolboxComponent, SVGRenderer]);

globalThis.Highcharts = {Chart, charts: Chart.charts};
batchReadyHandlers(globalThis.jQuery);
