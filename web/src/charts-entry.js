// The chart part of the bundle: the chart library with only what the page draws, and the page's
// chart API on top of it.
import * as echarts from 'echarts/core';
import {BarChart, LineChart, ScatterChart} from 'echarts/charts';
// The grid without the axis pointer and the legend without scrolling: the adapter draws its own
// tooltip, and a legend stands where the page puts it.
import {AriaComponent, DataZoomInsideComponent, GridSimpleComponent, LegendPlainComponent, TitleComponent,
  ToolboxComponent} from 'echarts/components';
import {SVGRenderer} from 'echarts/renderers';
import {Chart} from './page-charts.js';
import {batchReadyHandlers} from './schedule.js';

echarts.use([BarChart, LineChart, ScatterChart, AriaComponent, DataZoomInsideComponent, GridSimpleComponent,
  LegendPlainComponent, TitleComponent, ToolboxComponent, SVGRenderer]);

globalThis.Highcharts = {Chart, charts: Chart.charts};
batchReadyHandlers(globalThis.jQuery);
