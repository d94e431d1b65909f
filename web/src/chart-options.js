// The chart scripts' options, written for the page's original chart API, as the options of
// the chart library: one pure function per option group, options in, options out. Options
// the scripts never write are left out, and so ignored without error.
import {markupToRich, markupToText, decodeText} from './markup.js';

const list = (value) => (value === undefined || value === null ? [] : Array.isArray(value) ? value : [value]);
const isNumber = (value) => typeof value === 'number' && Number.isFinite(value);

// A length such as 20, '20' or '20px' as a number of pixels, else null.
export function pixels(value) {
  if (isNumber(value)) {
    return value;
  }
  const match = /^\s*(\d+(?:\.\d+)?)(px)?\s*$/.exec(String(value ?? ''));
  return match ? parseFloat(match[1]) : null;
}

// The chart's margins as [top, right, bottom, left], a side not fixed being null.
export function margins(chart = {}) {
  const given = chart.margin;
  const sides = Array.isArray(given) ? given.slice(0, 4) : [given, given, given, given];
  return ['marginTop', 'marginRight', 'marginBottom', 'marginLeft'].map((name, i) => {
    const value = chart[name] ?? sides[i];
    return isNumber(value) ? value : null;
  });
}

const SPACING = 10;
const TITLE_EM = 1.2;
const SUBTITLE_EM = 0.8;
const TITLE_GAP = 2;
const SMALLEST = 0.6;
const lineHeight = (size) => (size < 24 ? size + 3 : Math.round(size * 1.2));
const lines = (text) => 1 + (String(text).match(/<br\s*\/?>/gi) || []).length;
const shown = (part) => part && part.text !== undefined && part.text !== null && part.text !== '';

// How many lines a text of the page's markup takes in a width: its own breaks, and the words
// of a line too long wrapped as the library wraps them. Without a measure, its own breaks only.
export function lineCount(markup, width, measure) {
  const lines = markupToText(markup).split('\n');
  if (!measure || !width) {
    return lines.length;
  }
  let count = 0;
  for (const line of lines) {
    let used = 0;
    count++;
    for (const word of line.split(/(?<=\s)/)) {
      const wide = measure(word);
      if (used > 0 && used + wide > width) {
        count++;
        used = 0;
      }
      used += wide;
      // A single word wider than the line is broken inside.
      while (used > width) {
        count++;
        used -= width;
      }
    }
  }
  return count;
}

// Where title and subtitle go above the plot, and how large. A chart with a fixed top margin
// too low for them at the usual sizes (the lift charts: a title over a two-line subtitle in 60
// pixels) gets them just small enough to clear the plot; a title wrapped over more lines than
// that allows pushes the plot down (bottom: the lowest pixel the titles reach).
export function titleLayout({chart, title, subtitle}, root = 16, width = null, measure = null) {
  const top = margins(chart)[0];
  const wrapWidth = width ? width - 2 * SPACING : null;
  const count = (part, em, bold) => (shown(part)
    ? lineCount(part.text, wrapWidth, measure && ((text) => measure(text, em * root, bold))) : 0);
  const titleLines = count(title, TITLE_EM, true);
  const subtitleLines = count(subtitle, SUBTITLE_EM, false);
  const ownLines = (part) => (shown(part) ? lines(part.text) : 0);
  const height = (scale, space, a, b) => space + TITLE_GAP + a * lineHeight(TITLE_EM * root * scale)
    + b * lineHeight(SUBTITLE_EM * root * scale);
  let scale = 1;
  let space = SPACING;
  if (top !== null && height(1, SPACING, ownLines(title), ownLines(subtitle)) > top - TITLE_GAP) {
    space = 5;
    while (scale > SMALLEST && height(scale, space, ownLines(title), ownLines(subtitle)) > top - TITLE_GAP) {
      scale = Math.round((scale - 0.02) * 100) / 100;
    }
  }
  const bottom = shown(title) || shown(subtitle) ? height(scale, space, titleLines, subtitleLines) : 0;
  return {scale, space, bottom, wrapWidth};
}

// Title and subtitle centred above the plot, in the places titleLayout found.
export function mapTitles({title, subtitle}, root, {scale, space, wrapWidth}) {
  if (!shown(title) && !shown(subtitle)) {
    return {show: false};
  }
  const size = (em) => Math.round(em * root * scale * 100) / 100;
  const mainStyle = {fontSize: size(TITLE_EM), lineHeight: lineHeight(size(TITLE_EM)), color: '#333333', fontWeight: 'bold'};
  const subStyle = {fontSize: size(SUBTITLE_EM), lineHeight: lineHeight(size(SUBTITLE_EM)), color: '#666666', fontWeight: 'normal'};
  // The library drops a text's own line breaks where it wraps it: only a text of one line wraps.
  const wrap = wrapWidth ? {width: wrapWidth, overflow: 'break'} : {};
  const main = markupToRich(shown(title) ? title.text : '', mainStyle);
  const sub = markupToRich(shown(subtitle) ? subtitle.text : '', subStyle);
  return {
    left: 'center', top: space, itemGap: TITLE_GAP, padding: 0,
    text: main.text, textStyle: {...mainStyle, rich: main.rich, ...(lines(title?.text ?? '') === 1 ? wrap : {})},
    subtext: sub.text, subtextStyle: {...subStyle, rich: sub.rich, ...(lines(subtitle?.text ?? '') === 1 ? wrap : {})},
  };
}

// The plot where the fixed margins put it; sides without one keep the library's room.
export function mapGrid({chart}, titlesBottom = 0) {
  const [top, right, bottom, left] = margins(chart);
  return {top: Math.max(top ?? 60, Math.ceil(titlesBottom) + TITLE_GAP), right: right ?? 20, bottom: bottom ?? 60, left: left ?? 60};
}

// Slanted category names are cut with an ellipsis to the length whose slanted box fits in the
// bottom margin.
export function categoryLabelWidth(bottom, rotation, fontSize) {
  const angle = Math.abs(rotation ?? 0) * Math.PI / 180;
  if (bottom === null || Math.sin(angle) < 0.1) {
    return null;
  }
  const room = bottom - 8;
  return Math.max(0, Math.floor((room - 1.2 * fontSize * Math.abs(Math.cos(angle))) / Math.sin(angle)));
}

function axisTitle(title, root) {
  if (!title || title.enabled === false || !shown(title)) {
    return {};
  }
  const gap = isNumber(title.margin) ? title.margin : pixels(title.style?.margin);
  return {
    name: markupToText(title.text), nameLocation: 'middle', nameGap: gap ?? 25,
    nameTextStyle: {color: title.style?.color ?? '#666666', fontSize: Math.round(0.8 * root * 100) / 100},
  };
}

function axisLabels(axis, root) {
  const labels = axis.labels || {};
  const formatter = labels.formatter;
  return {
    color: labels.style?.color ?? '#333333', fontSize: Math.round(0.8 * root * 100) / 100,
    showMinLabel: axis.showFirstLabel !== false, showMaxLabel: axis.showLastLabel !== false,
    ...(typeof formatter === 'function'
      ? {formatter: (value) => String(formatter.call({value, isFirst: false, isLast: false, axis}))} : {}),
  };
}

function range(axis) {
  return {
    ...(isNumber(axis.min) ? {min: axis.min} : {}),
    ...(isNumber(axis.max) ? {max: axis.max} : {}),
    ...(isNumber(axis.tickInterval) ? {interval: axis.tickInterval} : {}),
  };
}

// One x axis, numeric or of categories; y axes on either side, with their own ranges. Only one
// y axis draws grid lines: the one with a fixed tick interval, else the first.
export function mapAxes({chart, xAxis, yAxis}, root = 16) {
  const x = list(xAxis)[0] || {};
  const bottom = margins(chart)[2];
  const labelSize = Math.round(0.8 * root * 100) / 100;
  const xMapped = x.categories ? {
    type: 'category', data: x.categories.map((name) => decodeText(String(name))),
    axisTick: {alignWithLabel: true},
    axisLabel: {
      ...axisLabels(x, root), rotate: -(x.labels?.rotation ?? 0),
      ...(categoryLabelWidth(bottom, x.labels?.rotation, labelSize) !== null
        ? {width: categoryLabelWidth(bottom, x.labels.rotation, labelSize), overflow: 'truncate', ellipsis: '\u2026'} : {}),
    },
    // The adapter shows a cut name whole under the pointer.
    triggerEvent: categoryLabelWidth(bottom, x.labels?.rotation, labelSize) !== null,
  } : {type: 'value', ...range(x), axisLabel: axisLabels(x, root), splitLine: {show: false}};
  const ys = list(yAxis).length ? list(yAxis) : [{}];
  const gridded = Math.max(0, ys.findIndex((axis) => isNumber(axis.tickInterval)));
  return {
    xAxis: [{...xMapped, ...axisTitle(x.title, root), axisLine: {onZero: false}}],
    yAxis: ys.map((axis, i) => ({
      type: 'value', position: axis.opposite ? 'right' : 'left', ...range(axis),
      ...axisTitle(axis.title, root), axisLabel: axisLabels(axis, root),
      splitLine: {show: i === gridded}, axisLine: {show: true, onZero: false}, alignTicks: false,
    })),
  };
}

const SYMBOLS = {circle: 'circle', diamond: 'diamond', square: 'rect', triangle: 'triangle', 'triangle-down': 'triangle'};

function seriesType(series, chart) {
  const type = series.type || chart?.type || 'line';
  return {column: 'bar', bar: 'bar', scatter: 'scatter', spline: 'line', line: 'line', area: 'line'}[type] ?? 'line';
}

// A data entry as [x, y]: a number is the y of position i, a pair or a point object given whole.
export function pointOf(entry, i) {
  if (Array.isArray(entry)) {
    return entry.length > 1 ? [entry[0], entry[1]] : [i, entry[0]];
  }
  if (entry && typeof entry === 'object') {
    return [entry.x ?? i, entry.y ?? null];
  }
  return [i, entry ?? null];
}

// The series in the library's drawing order and the page's index of each. Stacked series are
// drawn from the top of their stack down, as the page's API stacks them: the first on top.
export function seriesOrder(series) {
  const order = series.map((_, i) => i);
  const stacks = new Map();
  series.forEach((s, i) => {
    if (s.stacking) {
      const key = `${s.stack ?? ''}/${s.yAxis ?? 0}`;
      stacks.set(key, [...(stacks.get(key) || []), i]);
    }
  });
  for (const members of stacks.values()) {
    members.forEach((at, k) => {
      order[at] = members[members.length - 1 - k];
    });
  }
  return order;
}

// Markers whose size is given but not whether they show are left out where the points lie
// closer than two radii apart, as the page's API did: a curve of a thousand points is a line.
export function markersFit(points, radius, plotWidth, axis = {}) {
  if (!plotWidth || points.length < 2) {
    return true;
  }
  const xs = points.map((p) => p[0]).filter(isNumber).sort((a, b) => a - b);
  const low = isNumber(axis.min) ? axis.min : xs[0];
  const high = isNumber(axis.max) ? axis.max : xs[xs.length - 1];
  let gap = Infinity;
  for (let i = 1; i < xs.length; i++) {
    gap = Math.min(gap, xs[i] - xs[i - 1] || Infinity);
  }
  return high <= low || gap === Infinity || gap / (high - low) * plotWidth >= 2 * radius;
}

export function mapSeries({chart, series, xAxis}, plotWidth = null) {
  const all = list(series);
  const categories = Boolean(list(xAxis)[0]?.categories);
  return seriesOrder(all).map((index) => {
    const s = all[index];
    const type = seriesType(s, chart);
    const marker = s.marker;
    const radius = isNumber(marker?.radius) ? marker.radius : 4;
    const noMarker = marker === false || marker?.enabled === false || type === 'line' && marker?.enabled === undefined
      && !markersFit(list(s.data).map(pointOf), radius, categories ? null : plotWidth, list(xAxis)[0]);
    const mapped = {
      type, name: decodeText(String(s.name ?? `Series ${index + 1}`)), yAxisIndex: s.yAxis ?? 0,
      color: s.color, animation: false,
      data: list(s.data).map((entry, i) => (categories ? pointOf(entry, i)[1] : pointOf(entry, i))),
      symbol: noMarker ? 'none' : SYMBOLS[marker?.symbol] ?? 'circle', symbolSize: 2 * radius,
      ...(s.enableMouseTracking === false ? {silent: true} : {}),
      emphasis: {disabled: true},
    };
    if (type === 'line') {
      mapped.lineStyle = {width: isNumber(s.lineWidth) ? s.lineWidth : 2};
      mapped.smooth = (s.type || chart?.type) === 'spline' ? 0.3 : false;
      mapped.smoothMonotone = 'x';
      mapped.showSymbol = !noMarker;
    }
    if (type === 'bar' && s.stacking) {
      mapped.stack = `${s.stack ?? ''}/${s.yAxis ?? 0}`;
    }
    if (type === 'scatter' && mapped.data.length > 2000) {
      mapped.large = true;
    }
    return mapped;
  });
}

// The legend: none when switched off, else the series shown in it, where the old style's left
// and top put it, or below the plot.
export function mapLegend({legend, series}) {
  if (legend === false || legend?.enabled === false) {
    return {show: false};
  }
  const names = list(series).filter((s) => s.showInLegend !== false).map((s) => decodeText(String(s.name ?? '')));
  const left = pixels(legend?.style?.left);
  const top = pixels(legend?.style?.top);
  return {
    show: names.length > 0, data: names, orient: legend?.layout === 'vertical' ? 'vertical' : 'horizontal',
    ...(left !== null && top !== null ? {left, top} : {left: 'center', bottom: 5}),
    backgroundColor: legend?.backgroundColor ?? 'transparent', padding: [4, 8],
    selectedMode: false, textStyle: {fontSize: 12, fontWeight: 'bold', color: '#333333'},
  };
}

// What a screen reader says of the chart: its titles, its axes and its series.
export function describe({title, subtitle, xAxis, yAxis, series}) {
  const text = (markup) => markupToText(markup ?? '').replace(/\s*\n\s*/g, '; ').trim();
  const x = list(xAxis)[0] || {};
  const parts = [];
  parts.push(`Chart: ${text(title?.text) || 'untitled'}.`);
  if (shown(subtitle)) {
    parts.push(`${text(subtitle.text)}.`);
  }
  parts.push(x.categories ? `Horizontal axis: ${x.categories.length} categories, ${x.categories.slice(0, 5).map((c) => decodeText(String(c))).join(', ')}${x.categories.length > 5 ? ', …' : ''}.`
    : `Horizontal axis: ${text(x.title?.text) || 'values'}${isNumber(x.min) && isNumber(x.max) ? ` from ${x.min} to ${x.max}` : ''}.`);
  list(yAxis).forEach((axis, i) => {
    const name = axis.title?.enabled === false ? '' : text(axis.title?.text);
    parts.push(`Vertical axis ${i + 1}${axis.opposite ? ' (right)' : ''}: ${name || 'values'}${isNumber(axis.min) && isNumber(axis.max) ? ` from ${axis.min} to ${axis.max}` : ''}.`);
  });
  const named = list(series).map((s) => `${decodeText(String(s.name ?? ''))} (${list(s.data).length} points)`);
  parts.push(`Series: ${named.join(', ')}.`);
  return parts.join(' ');
}

// Zoom as the page's API had it: a drag selects the x band or the rectangle to zoom to (the
// library's own selection, switched on by the adapter; its toolbox icons are not shown, the
// adapter has its own reset control), and shift with the wheel zooms too.
export function mapZoom({chart}, yAxes = 1) {
  const type = String(chart?.zoomType ?? '');
  const x = type.includes('x');
  const y = type.includes('y');
  if (!x && !y) {
    return {};
  }
  const wheel = {type: 'inside', filterMode: 'none', zoomOnMouseWheel: 'shift', moveOnMouseWheel: false, moveOnMouseMove: false};
  return {
    toolbox: {show: true, left: 0, top: 0, padding: 0, itemSize: 1, itemGap: 0, showTitle: false, iconStyle: {opacity: 0},
      feature: {dataZoom: {filterMode: 'none', xAxisIndex: x ? 0 : false, yAxisIndex: y ? 'all' : false,
        brushStyle: {color: 'rgba(51,92,168,0.25)'}}}},
    dataZoom: [
      ...(x ? [{...wheel, xAxisIndex: 0}] : []),
      // One per y axis: the selection zooms each axis to its own values, and a zoom shared by
      // two axes would take the values of one for the other's.
      ...(y ? Array.from({length: yAxes}, (_, i) => ({...wheel, yAxisIndex: i})) : []),
    ],
  };
}

// The whole option of one chart.
export function chartOption(options, {root = 16, width = null, measure = null} = {}) {
  const titles = titleLayout(options, root, width, measure);
  const grid = mapGrid(options, titles.bottom);
  const axes = mapAxes(options, root);
  return {
    animation: false,
    title: mapTitles(options, root, titles),
    grid,
    ...axes,
    series: mapSeries(options, width && width - grid.left - grid.right),
    legend: mapLegend(options),
    aria: {enabled: true, label: {enabled: true, description: describe(options)}, decal: {show: false}},
    ...mapZoom(options, axes.yAxis.length),
  };
}
