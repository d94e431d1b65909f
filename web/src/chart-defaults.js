/*
 * Page-wide chart settings. The report's chart scripts are fixed text written for
 * a much older release of the chart library; these settings make the bundled
 * release draw them as that release did, without touching the scripts.
 */
(function (Highcharts) {
  'use strict';

  var SVG_NS = 'http://www.w3.org/2000/svg';

  Highcharts.setOptions({
    credits: {enabled: false},
    // Aligned ticks override the fixed max and tickInterval of the secondary axes.
    chart: {alignTicks: false},
    // The old releases set y-axis labels 8 pixels off the axis; at 15 the "100" of the
    // lift charts' secondary axis no longer fits in their 30-pixel left margin.
    yAxis: {labels: {distance: 8}},
    // Tooltips index series.data by position; cropping would leave holes in it.
    plotOptions: {series: {cropThreshold: 100000}},
    // Where the scripts' old legend style {left: 350px, top: 270px} used to put it.
    legend: {floating: true, align: 'left', verticalAlign: 'top', x: 340, y: 260},
    accessibility: {enabled: false}
  });

  // The subtitles set their font with <font face="verdana" >; the library's markup
  // filter would drop the attribute with a console warning on every chart.
  Highcharts.AST.allowedAttributes.push('face');

  function asList(value) {
    if (!value) {
      return [];
    }
    return Object.prototype.toString.call(value) === '[object Array]' ? value : [value];
  }

  function isNumber(value) {
    return typeof value === 'number' && isFinite(value);
  }

  // A length such as 20, '20' or '20px' as a number of pixels, else null.
  function pixels(value) {
    if (isNumber(value)) {
      return value;
    }
    var match = /^\s*(\d+(?:\.\d+)?)(px)?\s*$/.exec(String(value));
    return match ? parseFloat(match[1]) : null;
  }

  // The old releases measured an axis title's margin from the axis line; the new
  // ones add it to the label width, which pushes the titles out of the chart.
  function placeAxisTitles(axes) {
    var list = asList(axes);
    for (var i = 0; i < list.length; i++) {
      var title = list[i] && list[i].title;
      if (title && typeof title.margin === 'number' && title.offset === undefined) {
        title.offset = title.margin;
      }
    }
  }

  // The prediction charts give their y-axis titles a margin inside the style, where
  // no release ever read it, and fix the chart's margin on that side at 40 pixels:
  // less than the tick labels alone need, so the titles fell outside the chart. The
  // style's margin becomes the title's distance from the labels, and that side of the
  // chart is left for the library to size to labels, margin and title.
  function makeRoomForStyledTitles(chartOptions, axes) {
    var list = asList(axes);
    for (var i = 0; i < list.length; i++) {
      var axis = list[i];
      var title = axis && axis.title;
      var margin = title && title.style && pixels(title.style.margin);
      if (!title || title.text === undefined || title.text === null || title.text === ''
          || title.enabled === false || margin === null || title.margin !== undefined
          || title.offset !== undefined) {
        continue;
      }
      title.margin = margin;
      freeMargin(chartOptions, axis.opposite ? 1 : 3);
    }
  }

  var SIDES = ['Top', 'Right', 'Bottom', 'Left'];

  function freeMargin(chartOptions, side) {
    if (!chartOptions) {
      return;
    }
    var margin = chartOptions.margin;
    if (margin !== undefined && margin !== null) {
      var sides = typeof margin === 'object' ? asList(margin).slice(0, 4) : [margin, margin, margin, margin];
      sides[side] = null;
      chartOptions.margin = sides;
    }
    delete chartOptions['margin' + SIDES[side]];
  }

  function topMargin(chartOptions) {
    if (!chartOptions) {
      return null;
    }
    if (isNumber(chartOptions.marginTop)) {
      return chartOptions.marginTop;
    }
    var margin = chartOptions.margin;
    if (isNumber(margin)) {
      return margin;
    }
    return margin && isNumber(margin[0]) ? margin[0] : null;
  }

  function lineCount(text) {
    var breaks = String(text).match(/<br\s*\/?>/gi);
    return 1 + (breaks ? breaks.length : 0);
  }

  // The library's own line height for a font size (its fontMetrics): a bit over the
  // size, so an estimate from it errs on the side of room.
  function lineHeight(size) {
    return size < 24 ? size + 3 : Math.round(size * 1.2);
  }

  function shownText(options) {
    return options && options.text !== undefined && options.text !== null && options.text !== ''
      && options.floating !== true && (options.verticalAlign || 'top') === 'top';
  }

  var TITLE_EM = 1.2;
  var SUBTITLE_EM = 0.8;
  var TITLE_GAP = 2;
  var SMALLEST = 0.6;

  // The lift charts fix their top margin at 60 pixels and stack a bold title over a
  // two-line subtitle, which at the library's sizes runs into the plot, where the
  // curves reach 100. A chart with a fixed top margin gets its title and subtitle set
  // smaller (and a little higher) just enough to clear the plot; one whose titles
  // fit, like the modality charts, is left as it is.
  function fitTitles(options) {
    var top = topMargin(options.chart);
    if (top === null) {
      return;
    }
    var title = options.title;
    var subtitle = options.subtitle;
    if (!shownText(title) || (title.style && title.style.fontSize)
        || (subtitle && subtitle.style && subtitle.style.fontSize)) {
      return;
    }
    var chartFont = chartFontSize(options.chart);
    if (chartFont === null) {
      return;
    }
    var spacing = options.chart.spacingTop;
    if (!isNumber(spacing)) {
      spacing = asList(options.chart.spacing || Highcharts.getOptions().chart.spacing)[0];
    }
    if (!isNumber(spacing)) {
      return;
    }
    var titleLines = lineCount(title.text);
    var subtitleLines = shownText(subtitle) ? lineCount(subtitle.text) : 0;
    var needed = function (scale, space) {
      return space + TITLE_GAP + titleLines * lineHeight(TITLE_EM * chartFont * scale)
        + subtitleLines * lineHeight(SUBTITLE_EM * chartFont * scale);
    };
    var room = top - TITLE_GAP;
    if (needed(1, spacing) <= room) {
      return;
    }
    var space = Math.min(spacing, 5);
    var scale = 1;
    while (scale > SMALLEST && needed(scale, space) > room) {
      scale = Math.round((scale - 0.02) * 100) / 100;
    }
    options.chart.spacingTop = space;
    title.style = title.style || {};
    title.style.fontSize = round(TITLE_EM * scale) + 'em';
    if (subtitleLines) {
      subtitle.style = subtitle.style || {};
      subtitle.style.fontSize = round(SUBTITLE_EM * scale) + 'em';
    }
  }

  function round(value) {
    return Math.round(value * 10000) / 10000;
  }

  // Layout measured in the reader's font. The scripts fix the charts' margins in pixels
  // for one font's widths; in a wider font, or with long names and large values, axis
  // labels run out of the chart. The library measures every label before it places the
  // plot, but keeps a fixed margin whatever it measured. Measured room wins here: a
  // margin grows to what its labels need, a title moves off its labels, and a category
  // name is shortened to the length that fits below the plot. Nothing changes for
  // texts that fit.
  var MARGIN_NAMES = ['plotTop', 'marginRight', 'marginBottom', 'plotLeft'];
  var SIDE_SIGN = [-1, 1, 1, -1];
  var EDGE_GAP = 2;
  var TITLE_GAP_TO_LABELS = 5;

  // A y-axis title set at a fixed distance from its axis (the modality charts' 50
  // pixels) is moved out when the tick labels reach that far.
  function clearTitleOfLabels(axis) {
    var title = axis.options.title;
    if (axis.horiz || !axis.axisTitle || !axis.titleOffset || !isNumber(title.offset) || !axis.labelOffset) {
      return;
    }
    var clear = Math.abs(axis.labelOffset) + (axis.options.labels.distance || 0) + TITLE_GAP_TO_LABELS;
    if (clear <= axis.axisTitleMargin) {
      return;
    }
    axis.axisTitleMargin = clear;
    var offsets = axis.chart.axisOffset;
    offsets[axis.side] = Math.max(offsets[axis.side], clear + axis.titleOffset + SIDE_SIGN[axis.side] * axis.offset);
  }

  // What a side needs from the chart's edge: the measured axes, and above the plot the
  // title block as laid out (the library's block less the gap it keeps below it, which
  // fitTitles trims to TITLE_GAP).
  function roomNeeded(chart, side) {
    var axes = chart.axisOffset[side];
    var titles = side === 0 && chart.titleOffset && chart.titleOffset[0]
      ? chart.spacing[0] + chart.titleOffset[0] - chart.options.title.margin + TITLE_GAP : 0;
    return axes + titles;
  }

  // A fixed margin narrower than its axes or titles need grows to their measured size:
  // the lift charts' "100" keeps inside a left margin of 30 pixels in a wide font, and a
  // title wrapped over three lines stays above the plot.
  function growFixedMargins(chart) {
    var grown = false;
    for (var side = 0; side < 4; side++) {
      var name = MARGIN_NAMES[side];
      var needed = roomNeeded(chart, side);
      if (isNumber(chart.margin[side]) && needed > chart.margin[side]) {
        chart[name] = Math.max(chart[name], Math.ceil(needed) + EDGE_GAP);
        grown = true;
      }
    }
    if (grown) {
      chart.setChartSize();
    }
  }

  // Slanted category names below a plot with a fixed bottom margin are cut, each to
  // the length whose slanted box fits in that margin, ending in "…". The whole name is
  // the cut label's title (shown on hovering it), and the tooltips show it whole.
  function fitCategoryLabels(axis) {
    var chart = axis.chart;
    var bottom = chart.margin[2];
    var rotation = axis.options.labels.rotation;
    if (!axis.horiz || axis.opposite || !axis.categories || !isNumber(bottom) || !isNumber(rotation)) {
      return;
    }
    var angle = Math.abs(rotation) * Math.PI / 180;
    var sin = Math.sin(angle);
    var cos = Math.abs(Math.cos(angle));
    if (sin < 0.1) {
      return;
    }
    var room = bottom - (axis.options.labels.distance || 0);
    var lineHeight = axis.labelMetrics().h;
    var longest = Math.max(0, Math.floor((room - lineHeight * cos) / sin));
    var positions = axis.tickPositions || [];
    for (var i = 0; i < positions.length; i++) {
      var tick = axis.ticks[positions[i]];
      var label = tick && tick.label;
      if (label && label.getBBox().height > room) {
        label.css({width: longest + 'px', textOverflow: 'ellipsis'});
        var name = axis.categories[positions[i]];
        if (typeof name === 'string' && label.element.getElementsByTagName('title').length) {
          // The title setter drops anything like a tag and then reads &lt; and &gt;.
          label.attr('title', labelText(name).replace(/</g, '&lt;').replace(/>/g, '&gt;'));
        }
      }
    }
  }

  // The text a category label shows for the category's markup. The title the library
  // gives a cut label keeps some entities as written ("&apos;" for the page's "&#39;").
  // The parsed document is inert: nothing in it runs or loads.
  function labelText(markup) {
    return new DOMParser().parseFromString(String(markup), 'text/html').body.textContent;
  }

  Highcharts.addEvent(Highcharts.Axis, 'afterGetOffset', function () {
    clearTitleOfLabels(this);
  });

  Highcharts.wrap(Highcharts.Axis.prototype, 'renderUnsquish', function (proceed) {
    proceed.call(this);
    fitCategoryLabels(this);
  });

  Highcharts.wrap(Highcharts.Chart.prototype, 'getAxisMargins', function (proceed) {
    proceed.call(this);
    growFixedMargins(this);
  });

  function disabledWhenFalse(options, key) {
    if (options && options[key] === false) {
      options[key] = {enabled: false};
    }
  }

  // Font sizes without asking the browser. The library reads the computed font size
  // of every text it builds; each reading makes the browser bring the style of the
  // whole document up to date, which on a report of some hundred charts and tens of
  // megabytes costs more than drawing the chart. Inside a chart every text carries its
  // size in its own style attribute, relative to the chart's root (1rem), so while a
  // chart is being built the size is worked out from those attributes. Anything else
  // (no size up to the root, an unknown unit) is left to the browser.
  var building = 0;
  var rootSize = null;

  function rootFontSize() {
    if (rootSize === null) {
      rootSize = parseFloat(window.getComputedStyle(document.documentElement, '').getPropertyValue('font-size'));
    }
    return rootSize;
  }

  function sizeOf(text, parentSize) {
    var match = /^(\d*\.?\d+)(px|em|rem|%)$/.exec(text);
    if (!match) {
      return null;
    }
    var value = parseFloat(match[1]);
    switch (match[2]) {
      case 'px': return value;
      case 'rem': return value * rootFontSize();
      case 'em': return parentSize === null ? null : value * parentSize;
      default: return parentSize === null ? null : value * parentSize / 100;
    }
  }

  function fontSizeFromStyles(node) {
    var factors = [];
    for (; node && node.nodeType === 1; node = node.parentNode) {
      if (node.namespaceURI !== SVG_NS) {
        return null;
      }
      var given = node.style && node.style.fontSize;
      if (given) {
        var absolute = /(px|rem)$/.test(given);
        var size = absolute ? sizeOf(given, null) : null;
        if (!absolute) {
          factors.push(given);
          continue;
        }
        if (size === null) {
          return null;
        }
        for (var i = factors.length - 1; i >= 0 && size !== null; i--) {
          size = sizeOf(factors[i], size);
        }
        return size === null ? null : round(size);
      }
    }
    return null;
  }

  function chartFontSize(chartOptions) {
    var style = chartOptions && chartOptions.style;
    var defaults = Highcharts.getOptions().chart.style;
    // The renderer's own default when neither the chart nor the defaults set one.
    var given = (style && style.fontSize) || (defaults && defaults.fontSize) || '1rem';
    return /(px|rem)$/.test(given) ? sizeOf(given, null) : null;
  }

  var getStyle = Highcharts.SVGElement.prototype.getStyle;
  Highcharts.SVGElement.prototype.getStyle = function (property) {
    if (building && property === 'font-size') {
      var size = fontSizeFromStyles(this.element || this);
      if (size !== null) {
        return size + 'px';
      }
    }
    return getStyle.call(this, property);
  };

  // The report's chart containers state their size in their own style attribute. Read
  // from there, the size needs no layout of the document, which the library would
  // otherwise force twice per chart before anything is drawn.
  function inlineSize(element) {
    var style = element && element.style;
    if (!style || style.display === 'none' || style.padding || style.border || style.borderWidth
        || style.boxSizing) {
      return null;
    }
    var width = /px$/.test(style.width) ? pixels(style.width) : null;
    var height = /px$/.test(style.height) ? pixels(style.height) : null;
    return width === null || height === null ? null : {width: width, height: height};
  }

  var getContainerBox = Highcharts.Chart.prototype.getContainerBox;
  Highcharts.Chart.prototype.getContainerBox = function () {
    return inlineSize(this.renderTo) || getContainerBox.call(this);
  };

  // Series grow into place over a second, and on a long page the animations of the
  // charts built in the last second share every frame with the chart being built. No
  // one sees a chart grow outside the window, so such a chart is drawn at once.
  function inView(element) {
    return inWindow(element.getBoundingClientRect());
  }

  function inWindow(box) {
    var height = window.innerHeight || document.documentElement.clientHeight;
    var width = window.innerWidth || document.documentElement.clientWidth;
    return box.bottom >= 0 && box.top <= height && box.right >= 0 && box.left <= width;
  }

  function stillSeries(series) {
    for (var i = 0; i < series.length; i++) {
      if (series[i] && series[i].animation === undefined) {
        series[i].animation = false;
      }
    }
  }

  function containerOf(chart, chartOptions) {
    var target = chart.renderTo || (chartOptions && chartOptions.renderTo);
    return typeof target === 'string' ? document.getElementById(target) : target;
  }

  function now() {
    return window.performance && window.performance.now ? window.performance.now() : new Date().getTime();
  }

  // A chart script that throws is reported as jQuery reports a failing ready handler: a
  // console warning for a programming error and an uncaught error of its own, which stops
  // nothing else.
  var $ = window.jQuery;

  function reportFailure(error) {
    if ($ && $.readyException) {
      if ($.Deferred && $.Deferred.exceptionHook) {
        $.Deferred.exceptionHook(error);
      }
      $.readyException(error);
    } else {
      window.setTimeout(function () {
        throw error;
      });
    }
  }

  // The page runs each chart script as a jQuery ready handler, which jQuery calls as a
  // task of its own. Between two tasks the browser draws a frame, and in a document of
  // tens of megabytes with hundreds of charts a frame costs about as much as a chart:
  // the handlers are run in turn, several to a task, for up to SLICE_MS at a time. Each
  // handler's failure is still reported on its own and stops no other.
  var SLICE_MS = 500;

  // A slice ends after SLICE_MS, or as soon as the reader clicks or types where the browser
  // can tell: a jump through a link then waits for one chart, not for the slice.
  var scheduling = window.navigator && window.navigator.scheduling;

  function sliceOver(start) {
    return now() - start >= SLICE_MS || !!(scheduling && scheduling.isInputPending && scheduling.isInputPending());
  }

  if ($ && $.fn && $.fn.ready && $.readyException) {
    var ready = $.fn.ready;
    var waiting = [];
    var runWaiting = function () {
      var start = now();
      while (waiting.length) {
        var handler = waiting.shift();
        try {
          handler.call(document, $);
        } catch (error) {
          reportFailure(error);
        }
        if (waiting.length && sliceOver(start)) {
          window.setTimeout(runWaiting, 0);
          return;
        }
      }
    };
    $.fn.ready = function (handler) {
      if (typeof handler !== 'function') {
        return this;
      }
      waiting.push(handler);
      if (waiting.length === 1) {
        ready.call(this, runWaiting);
      }
      return this;
    };
  }

  // The library's chart construction with the page's options brought up to date first.
  function build(chart, proceed, userOptions, callback, container) {
    if (userOptions) {
      placeAxisTitles(userOptions.yAxis);
      makeRoomForStyledTitles(userOptions.chart, userOptions.yAxis);
      fitTitles(userOptions);
      disabledWhenFalse(userOptions, 'legend');
      var series = asList(userOptions.series);
      for (var i = 0; i < series.length; i++) {
        disabledWhenFalse(series[i], 'marker');
      }
      // A container sized in its style attribute is shown: the library's check for a
      // hidden one is a layout of the whole document.
      if (container && userOptions.chart && userOptions.chart.skipClone === undefined && inlineSize(container)) {
        userOptions.chart.skipClone = true;
      }
      if (container && !inView(container)) {
        stillSeries(series);
      }
    }
    building++;
    rootSize = null;
    try {
      return proceed.call(chart, userOptions, callback);
    } finally {
      building--;
    }
  }

  // Charts drawn as they come into view. A report of some hundred variables holds as many
  // charts, each costing tens of milliseconds, and a reader looks at a few at a time. A
  // chart script still runs in page order, but a chart whose container is outside the
  // window is only noted, and the noted charts are built in slices, the nearest to the
  // window first: those within a screen of it soon after the first screen, then the
  // others down and up the page, and when the reader scrolls or jumps through a link to a
  // variable, those that have come near. Printing builds every chart still waiting before
  // the page is laid out for paper. Where the browser cannot tell what comes into view, every chart is
  // built at once, as the script asks.
  var NEAR = '100%';
  var queue = [];
  var observer = null;

  // Where the container lies when its chart is to wait for it, else null.
  function waitingBox(container) {
    if (observer === null || !container || container.nodeType !== 1) {
      return null;
    }
    var box = container.getBoundingClientRect();
    return inWindow(box) ? null : box;
  }

  function draw(entry) {
    queue.splice(queue.indexOf(entry), 1);
    observer.unobserve(entry.container);
    try {
      build(entry.chart, entry.proceed, entry.options, entry.callback, entry.container);
    } catch (error) {
      reportFailure(error);
    }
  }

  // How far a container lay from the window when last seen, in pixels.
  function distances() {
    var top = window.pageYOffset;
    var bottom = top + (window.innerHeight || document.documentElement.clientHeight);
    return function (entry) {
      return entry.top > bottom ? entry.top - bottom : entry.bottom < top ? top - entry.bottom : 0;
    };
  }

  // The waiting chart nearest to the window, the first in page order among equals.
  function nearest() {
    var distance = distances();
    var best = null;
    var bestDistance = Infinity;
    for (var i = 0; i < queue.length; i++) {
      var entry = queue[i];
      var d = distance(entry);
      if (best === null || d < bestDistance) {
        best = entry;
        bestDistance = d;
      }
    }
    return best;
  }

  // Charts near the window first, then the others, in slices between which the browser
  // answers the reader and draws a frame. A frame of a long page repaints some thousand
  // pixels of it and costs several charts, so a slice holds several charts (SLICE_MS, as
  // for the ready handlers: half a second took a quarter less time than a quarter of one
  // for every chart of a page); a jump waits for at most one slice, a click for one chart.
  var drawing = false;

  function drawSlice() {
    // The chart scripts first: they are quick, and a chart can only be drawn once its
    // script has run.
    if (waiting && waiting.length) {
      window.setTimeout(drawSlice, 0);
      return;
    }
    drawing = false;
    var start = now();
    for (var entry = nearest(); entry; entry = nearest()) {
      draw(entry);
      if (sliceOver(start)) {
        break;
      }
    }
    drawSoon();
  }

  function drawSoon() {
    if (!drawing && queue.length) {
      drawing = true;
      window.setTimeout(drawSlice, 0);
    }
  }

  function seen(changes) {
    var scrolled = window.pageYOffset;
    for (var i = 0; i < changes.length; i++) {
      var change = changes[i];
      for (var j = 0; j < queue.length; j++) {
        var entry = queue[j];
        if (entry.container === change.target) {
          entry.top = change.boundingClientRect.top + scrolled;
          entry.bottom = change.boundingClientRect.bottom + scrolled;
        }
      }
    }
    drawSoon();
  }

  function drawAll() {
    while (queue.length) {
      draw(queue[0]);
    }
  }

  if (window.IntersectionObserver) {
    observer = new window.IntersectionObserver(seen, {rootMargin: NEAR});
    window.addEventListener('beforeprint', drawAll);
    var printing = window.matchMedia && window.matchMedia('print');
    var onPrint = function (event) {
      if (event.matches) {
        drawAll();
      }
    };
    if (printing && printing.addEventListener) {
      printing.addEventListener('change', onPrint);
    } else if (printing && printing.addListener) {
      printing.addListener(onPrint);
    }
  }

  Highcharts.wrap(Highcharts.Chart.prototype, 'init', function (proceed, userOptions, callback) {
    var container = containerOf(this, userOptions && userOptions.chart);
    var box = waitingBox(container);
    if (!box) {
      return build(this, proceed, userOptions, callback, container);
    }
    var scrolled = window.pageYOffset;
    queue.push({chart: this, proceed: proceed, options: userOptions, callback: callback, container: container,
      top: box.top + scrolled, bottom: box.bottom + scrolled});
    observer.observe(container);
    drawSoon();
  });
})(Highcharts);
