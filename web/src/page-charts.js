// The page's chart API, `new Highcharts.Chart(options)`, answered by the chart library: the
// options are mapped (chart-options.js), the chart is drawn when schedule() says, and the
// page's tooltip formatter runs with the `this` it was written for. `Highcharts.charts` lists
// the drawn charts, each with renderTo and series[k].data/points, for anyone reading them.
import {init} from 'echarts/core';
import {chartOption, pointOf, seriesOrder} from './chart-options.js';
import {markupToHtml} from './markup.js';
import {schedule} from './schedule.js';

const TOOLTIP_STYLE = 'position:absolute;display:block;pointer-events:none;z-index:3;white-space:nowrap;padding:8px;'
  + 'font:12px/1.4 sans-serif;color:#333333;background:rgba(247,247,247,0.95);border:1px solid;border-radius:3px;';
const CONTROL_STYLE = '.anarep-controls{position:absolute;top:2px;right:2px;z-index:2;display:flex;gap:2px}'
  + '.anarep-controls button{padding:0 4px;font:12px/16px sans-serif;color:#555;background:#fff;border:1px solid #ccc;'
  + 'border-radius:3px;cursor:pointer;opacity:.6}.anarep-controls button:hover,.anarep-controls button:focus{opacity:1}'
  + '.anarep-controls button[hidden]{display:none}@media print{.anarep-controls,.anarep-controls button{display:none}}';

// A pixel and its neighbours one step away diagonally: a point on the plot's edge lies on either side.
const EDGE = [[0, 0], [-1, -1], [1, 1], [-1, 1], [1, -1]];

function containerOf(target) {
  return typeof target === 'string' ? document.getElementById(target) : target;
}

// The container's size from its style attribute, where the page states it: no layout needed.
function inlineSize(element) {
  const style = element.style;
  const px = (value) => (/^\d+(\.\d+)?px$/.test(value) ? parseFloat(value) : null);
  const width = px(style.width);
  const height = px(style.height);
  return width === null || height === null ? {} : {width, height};
}

let rootSize = null;
function rootFontSize() {
  rootSize ??= parseFloat(getComputedStyle(document.documentElement).fontSize) || 16;
  return rootSize;
}

function makeSeries(chart, options) {
  const categories = options.xAxis?.[0]?.categories ?? options.xAxis?.categories;
  return (options.series || []).map((given, index) => {
    const series = {chart, index, name: given.name, type: given.type || 'line', color: given.color, visible: true,
      userOptions: given, options: given};
    series.data = series.points = (given.data || []).map((entry, i) => {
      const [x, y] = pointOf(entry, i);
      return {x, y, index: i, series, category: categories ? categories[i] : x};
    });
    return series;
  });
}

// Text widths in the page's sans font, measured off the document: no layout of the page.
let context = null;
function measure(text, size, bold) {
  context ??= document.createElement('canvas').getContext('2d');
  context.font = `${bold ? 'bold ' : ''}${size}px sans-serif`;
  return context.measureText(text).width;
}

let styled = false;
// The chart's controls in its top right corner, a reader's tools that paper leaves out.
function addControls(chart) {
  if (!styled) {
    document.head.appendChild(document.createElement('style')).textContent = CONTROL_STYLE;
    styled = true;
  }
  const bar = document.createElement('div');
  bar.className = 'anarep-controls';
  const button = (className, text, title, action) => {
    const element = bar.appendChild(document.createElement('button'));
    element.type = 'button';
    element.className = className;
    element.textContent = text;
    element.title = title;
    element.setAttribute('aria-label', title);
    element.addEventListener('click', action);
    return element;
  };
  if (chart.zooms) {
    chart.resetControl = button('anarep-reset', 'Reset zoom', 'Show the whole chart again', () => chart.resetZoom());
    chart.resetControl.hidden = true;
  }
  button('anarep-save', '\u2913', 'Save this chart as an image', () => {
    const link = document.createElement('a');
    // The zoom's toolbox is drawn, though not seen: the image leaves it out.
    link.href = chart.instance.getDataURL({type: 'svg', backgroundColor: '#ffffff', excludeComponents: ['toolbox']});
    link.download = `${chart.renderTo.id || 'chart'}.svg`;
    link.click();
  });
  if (!chart.renderTo.style.position) {
    chart.renderTo.style.position = 'relative';
  }
  chart.renderTo.appendChild(bar);
}

// The library empties the container and its drawing when it lets an instance go: the drawing's
// elements move to an SVG element of their own, and what the container holds besides (the
// controls, the tooltip) is kept out of the library's way meanwhile.
function disposeKeeping(instance, container, drawing) {
  const svg = drawing?.querySelector('svg');
  if (svg) {
    const copy = svg.cloneNode(false);
    copy.append(...svg.childNodes);
    svg.replaceWith(copy);
  }
  const kept = document.createDocumentFragment();
  kept.append(...container.childNodes);
  instance.dispose();
  container.append(kept);
}

// The events by which a reader comes to a chart: its drawing is made live again before they
// reach it.
const COMING = ['mouseover', 'mousemove', 'mousedown', 'wheel', 'touchstart', 'focusin'];
// How long a chart the reader left stays live: a pointer passing back and forth finds it ready.
const REST_MS = 3000;

export class Chart {
  constructor(options = {}, callback) {
    this.userOptions = this.options = options;
    this.renderTo = containerOf(options.chart?.renderTo);
    this.series = makeSeries(this, options);
    this.hasRendered = false;
    if (!this.renderTo) {
      throw new Error(`no chart container ${options.chart?.renderTo}`);
    }
    schedule(this.renderTo, () => this.draw(callback));
  }

  // The library's instance of the drawn chart, made again if it was let go; null before the chart is drawn.
  get instance() {
    return this.hasRendered ? this.wake() : this.live;
  }

  draw(callback) {
    const start = performance.now();
    this.inline = inlineSize(this.renderTo);
    this.size = {width: this.inline.width ?? this.renderTo.clientWidth, height: this.inline.height ?? this.renderTo.clientHeight};
    // The library's order of series differs from the page's where series are stacked.
    this.order = seriesOrder(this.options.series || []);
    this.zooms = /[xy]/.test(String(this.options.chart?.zoomType ?? ''));
    // The container's size is its own (its style states it): the browser may leave the drawing
    // of a chart far from the window out of its frames, and lays it out when it comes near.
    if (this.inline.width !== undefined && this.inline.height !== undefined) {
      this.renderTo.style.contentVisibility = 'auto';
    }
    this.build();
    this.container = this.renderTo;
    addControls(this);
    // A drawn chart that no reader is at keeps its drawing in the page and lets the library's
    // instance go: on a page of hundreds of charts the instances (their models, views and
    // elements) were most of the page's memory. It is made again when the pointer, a press or
    // the focus comes to the chart, before the library would see the event.
    const wake = (event) => {
      if (event.type !== 'focusin') {
        this.pointerIn = true;
      }
      if (!this.live) {
        this.wake(event);
      }
    };
    for (const type of COMING) {
      this.renderTo.addEventListener(type, wake, {capture: true, passive: true});
    }
    if (this.zooms) {
      // Before the library's own handlers see the event that starts a drag or a wheel zoom. Not
      // on the pointer's coming in: drawn again then, the chart loses what is under the pointer.
      for (const type of ['pointerdown', 'mousedown', 'wheel']) {
        this.renderTo.addEventListener(type, () => this.armZoom?.(), {capture: true, passive: true});
      }
    }
    this.renderTo.addEventListener('mouseleave', () => {
      this.pointerIn = false;
      this.rest();
    });
    this.renderTo.addEventListener('focusout', () => this.rest());
    this.hasRendered = true;
    Chart.charts.push(this);
    callback?.call(this, this);
    this.release();
    this.renderTo.dispatchEvent(new CustomEvent('chartdrawn', {bubbles: true, detail: {ms: performance.now() - start}}));
  }

  // A live instance drawing the chart, in the place of the drawing kept.
  build() {
    const option = chartOption(this.options, {root: rootFontSize(), width: this.size.width, measure});
    const instance = init(this.renderTo, null, {renderer: 'svg', ...this.inline});
    const drawing = this.renderTo.lastElementChild;
    // The zoom's components are a good part of a chart's cost and memory, and a reader zooms
    // few of a page's hundreds of charts: they are added at the first press or wheel turn on it.
    const {toolbox, dataZoom, ...drawn} = option;
    try {
      instance.setOption(drawn);
    } catch (error) {
      // The drawing kept, if any, stays.
      disposeKeeping(instance, this.renderTo, null);
      drawing.remove();
      throw error;
    }
    // The library paints in its next animation frame; painted now, the chart is whole when told.
    instance.getZr().flush();
    // The library puts its drawing last in the container; it goes where the drawing kept was.
    this.renderTo.insertBefore(drawing, this.drawing ?? this.renderTo.firstChild);
    this.drawing?.remove();
    this.drawing = drawing;
    this.live = instance;
    this.pixels = null;
    this.armZoom = toolbox ? () => {
      this.armZoom = null;
      instance.setOption({toolbox, dataZoom});
      // A drag zooms at once, as it did: no zoom button to press first.
      instance.dispatchAction({type: 'takeGlobalCursor', key: 'dataZoomSelect', dataZoomSelectActive: true});
    } : null;
    this.trackPointer(instance, option);
    return instance;
  }

  // The live instance, made again from the options if it was let go. Made for a pointer's
  // event, the new drawing is told of the pointer at once: it shows what the pointer is on (a
  // tooltip, a cut name), as the reader expects from the move that brought the pointer there.
  wake(event) {
    if (this.live) {
      return this.live;
    }
    const instance = this.build();
    if (event && event.type !== 'focusin' && event.type !== 'touchstart') {
      this.drawing.dispatchEvent(new MouseEvent('mousemove', {clientX: event.clientX, clientY: event.clientY, bubbles: true}));
    }
    return instance;
  }

  // Lets the library's instance go, its drawing kept in the page as it is.
  release() {
    const instance = this.live;
    if (!instance) {
      return;
    }
    this.live = null;
    this.armZoom = null;
    this.pixels = null;
    this.cutLabel = null;
    this.hideTooltip();
    disposeKeeping(instance, this.renderTo, this.drawing);
  }

  // Lets the instance go a while after the reader left the chart, unless it shows a zoom (the
  // instance's own state) or holds the focus.
  rest() {
    clearTimeout(this.resting);
    this.resting = setTimeout(() => {
      if (!this.pointerIn && !this.zoomed && !this.renderTo.contains(document.activeElement)) {
        this.release();
      }
    }, REST_MS);
  }

  // The page's tooltip text for one point, its markup limited to what the page writes.
  tooltipHtml(series, point) {
    const formatter = this.options.tooltip?.formatter;
    const context = {x: point.category, y: point.y, series, point, key: point.category, chart: this};
    const text = typeof formatter === 'function' ? formatter.call(context)
      : `<b>${series.name}</b><br/>${point.category}: ${point.y}`;
    return text === false || text === undefined || text === null ? '' : markupToHtml(String(text));
  }

  // The point the pointer is nearest to, as the page's API chose it: by x first for lines and
  // columns (then by y among equals), in the plane for scatters; series without tracking left out.
  nearest(instance, x, y) {
    let best = null;
    // Zoomed in, the points outside the plot are hidden and never hovered.
    const shown = (at) => !this.zoomed || EDGE.some(([dx, dy]) => instance.containPixel({gridIndex: 0}, [at[0] + dx, at[1] + dy]));
    this.pixels ??= this.order.map((index, k) => {
      const series = this.series[index];
      return series.userOptions.enableMouseTracking === false ? null : series.points.map((p) => {
        const at = p.y === null ? null : instance.convertToPixel({seriesIndex: k}, [this.isCategories() ? p.index : p.x, p.y]);
        return at && shown(at) ? at : null;
      });
    });
    this.pixels.forEach((places, k) => {
      const plane = this.series[this.order[k]].type === 'scatter';
      places?.forEach((at, i) => {
        if (!at) {
          return;
        }
        const dx = Math.abs(at[0] - x);
        const dy = Math.abs(at[1] - y);
        const score = plane ? [Math.hypot(dx, dy), 0] : [Math.round(dx), dy];
        if (!best || score[0] < best.score[0] || score[0] === best.score[0] && score[1] < best.score[1]) {
          best = {score, seriesIndex: k, dataIndex: i};
        }
      });
    });
    return best;
  }

  isCategories() {
    return Boolean(this.options.xAxis?.[0]?.categories ?? this.options.xAxis?.categories);
  }

  // The tooltip is the adapter's own box: the library's shows only for points it draws a marker for.
  showTooltip(hit, x, y) {
    const series = this.series[this.order[hit.seriesIndex]];
    this.showBox((box) => {
      box.innerHTML = this.tooltipHtml(series, series.points[hit.dataIndex]);
    }, series.color ?? '#999999', x, y);
  }

  // The box beside the place (x, y), inside the chart where it fits.
  showBox(fill, border, x, y) {
    const box = this.tooltip ??= this.renderTo.appendChild(document.createElement('div'));
    box.className = 'anarep-tooltip';
    fill(box);
    box.style.cssText = TOOLTIP_STYLE + `border-color:${border};left:0;top:0`;
    const width = box.offsetWidth;
    const height = box.offsetHeight;
    const {width: chartWidth, height: chartHeight} = this.size;
    const left = x + 12 + width > chartWidth ? Math.max(0, x - 12 - width) : x + 12;
    const top = y + 12 + height > chartHeight ? Math.max(0, y - 12 - height) : y + 12;
    box.style.left = `${left}px`;
    box.style.top = `${top}px`;
  }

  showLabel(event) {
    this.showBox((box) => {
      box.textContent = this.cutLabel;
    }, '#999999', event.offsetX, event.offsetY);
  }

  hideTooltip() {
    if (this.tooltip) {
      this.tooltip.style.display = 'none';
    }
  }

  trackPointer(instance, option) {
    const zr = instance.getZr();
    zr.on('mousemove', (event) => {
      if (this.cutLabel !== null) {
        this.showLabel(event);
        return;
      }
      // A point on the plot's edge is hovered from either side of it.
      const near = EDGE.map(([dx, dy]) => [3 * dx, 3 * dy])
        .some(([dx, dy]) => instance.containPixel({gridIndex: 0}, [event.offsetX + dx, event.offsetY + dy]));
      const hit = near && this.nearest(instance, event.offsetX, event.offsetY);
      if (hit) {
        const series = this.series[this.order[hit.seriesIndex]];
        const point = series.points[hit.dataIndex];
        const at = instance.convertToPixel({seriesIndex: hit.seriesIndex}, [this.isCategories() ? point.index : point.x, point.y]);
        this.showTooltip(hit, at[0], at[1]);
      } else {
        this.hideTooltip();
      }
    });
    zr.on('globalout', () => this.hideTooltip());
    // A category name cut short shows whole while the pointer is on it, as it did. The library
    // tells of the label after the move onto it: the box is shown then, and follows the moves after.
    this.cutLabel = null;
    const cut = option.xAxis[0].axisLabel;
    if (cut.overflow === 'truncate') {
      const isLabel = (params) => params.componentType === 'xAxis' && params.targetType === 'axisLabel';
      instance.on('mouseover', (params) => {
        const name = String(params.value);
        this.cutLabel = isLabel(params) && measure(name, cut.fontSize, false) > cut.width ? name : null;
        if (this.cutLabel !== null) {
          this.showLabel(params.event);
        }
      });
      instance.on('mouseout', (params) => {
        if (isLabel(params)) {
          this.cutLabel = null;
          this.hideTooltip();
        }
      });
    }
    instance.on('datazoom', () => {
      this.pixels = null;
      this.zoomed = instance.getOption().dataZoom.some((zoom) => zoom.start > 0 || zoom.end < 100);
      if (this.resetControl) {
        this.resetControl.hidden = !this.zoomed;
      }
    });
    if (this.zooms) {
      zr.on('dblclick', () => this.resetZoom());
    }
  }

  resetZoom() {
    if (this.zoomed) {
      this.hideTooltip();
      this.live?.dispatchAction({type: 'dataZoom', start: 0, end: 100});
    }
  }
}

Chart.charts = [];

