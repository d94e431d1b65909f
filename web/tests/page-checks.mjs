// The checks of a drawn report page, run in the page: each group lists what it finds wrong.
// containers and spans are read from the page file; kind ('binary' or 'continuous') is given for
// the fixtures, which have no section headings; layoutOnly leaves out the slow hovering.
export function inspectPage({containers, spans, kind, fixture, layoutOnly}) {
  const fontSizes = structuredClone(window.__fontSizes);
  const found = {charts: [], points: [], lifts: [], sparklines: [], links: [], tooltips: [], layout: []};
  const charts = window.Highcharts ? Highcharts.charts.filter(Boolean) : [];
  const h2 = Array.from(document.querySelectorAll('h2'));
  kind = kind ?? (h2.some((h) => h.textContent.trim() === 'Lifts') ? 'binary' : 'continuous');
  const shows = (e) => e.getBoundingClientRect().width > 0 && getComputedStyle(e).visibility !== 'hidden'
    && e.getAttribute('opacity') !== '0';
  const overlap = (a, b) => a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
  const plain = (markup) => new DOMParser().parseFromString(String(markup), 'text/html').body.textContent;
  const size = (e) => parseFloat(getComputedStyle(e).fontSize);
  const root = size(document.documentElement);

  // One drawn chart per container of the page file, with its series by kind; no credits.
  const SERIES = {binary: {delivered: 5, selectedPruned: 7, modality: 4}, continuous: {delivered: 3, selectedPruned: 6, modality: 3}}[kind];
  const ids = Array.from(document.querySelectorAll('div[id]'), (d) => d.id).filter((id) => /^(delivered|selectedPruned|container)/.test(id));
  if (`${ids}` !== `${containers}` || !ids.includes('delivered') || !ids.includes('selectedPruned') || charts.length !== ids.length) {
    found.charts.push(`containers ${ids} in the page, ${containers} in its file; ${charts.length} charts`);
  }
  for (const id of ids) {
    const owned = charts.filter((c) => c.renderTo.id === id);
    const texts = owned.map((c) => Array.from(c.container.querySelectorAll('text'), (t) => t.textContent).join(' ')).join();
    if (owned.length !== 1 || !owned[0].hasRendered || owned[0].series.length !== (SERIES[id] ?? SERIES.modality)
        || owned[0].container.querySelector('.highcharts-credits') || /highcharts/i.test(texts)) {
      found.charts.push(`${id}: ${owned.length} charts, series ${owned.map((c) => c.series.length)}, texts ${texts.slice(0, 80)}`);
    }
  }

  for (const chart of charts.filter((c) => c.hasRendered)) {
    const id = chart.renderTo.id;
    const box = chart.container.getBoundingClientRect();
    const rect = (e) => {
      const r = e.getBoundingClientRect();
      return {left: r.left - box.left, top: r.top - box.top, right: r.right - box.left, bottom: r.bottom - box.top};
    };
    const plot = {left: chart.plotLeft, top: chart.plotTop, right: chart.plotLeft + chart.plotWidth, bottom: chart.plotTop + chart.plotHeight};
    const lift = /^(delivered|selectedPruned)$/.test(id) && chart.yAxis.length === 2;
    const modality = id.startsWith('container');

    for (const s of chart.series) {
      // Every series keeps every value of its data and draws it.
      const given = s.userOptions.data;
      const places = new Set(s.points.filter((p) => p.y !== null && p.plotX !== undefined).map((p) => `${Math.round(p.plotX)},${Math.round(p.plotY)}`));
      const drawn = ['column', 'scatter'].includes(s.type)
        ? s.points.every((p) => !p.isInside || p.graphic && shows(p.graphic.element)) : places.size < 2 || s.graph.element.getTotalLength() > 0;
      if (!s.visible || !Array.isArray(given) || s.points.length !== given.length || !drawn) {
        found.points.push(`${id} "${s.name}": ${s.points.length} points of ${given?.length}, drawn ${drawn}`);
      }
      // The lift charts' reference curves are plain lines: their scripts say marker: false.
      const bare = ['random', 'quillo', 'Lift Test 99%t', 'Lift Test 1%'].includes(s.name);
      if (lift && (bare !== (s.options.marker?.enabled === false) || bare && s.points.some((p) => p.graphic))) {
        found.lifts.push(`${id} "${s.name}": marker ${JSON.stringify(s.options.marker)}`);
      }
      // Three points hovered through the library's own call: the tooltip names the point's
      // category or its series, and every value it shows was found.
      const inside = s.options.enableMouseTracking === false || layoutOnly ? [] : s.points.filter((p) => p.isInside);
      for (const p of new Set([0.06, 0.5, 0.94].map((f) => inside[Math.floor(f * inside.length)]).filter(Boolean))) {
        let shown;
        try {
          chart.tooltip.refresh(p);
          // Compared without blanks: a long line wraps, and the library marks its breaks.
          shown = chart.tooltip.label.element.textContent.replace(/[\s\u200b]/g, '');
        } catch (error) {
          shown = String(error);
        }
        chart.tooltip.hide(0);
        if (!shown.startsWith(plain(modality ? chart.xAxis[0].categories[p.index] : s.name).replace(/\s/g, '')) || /undefined|NaN/.test(shown)) {
          found.tooltips.push(`${id} "${s.name}" point ${p.index}: ${shown}`);
        }
      }
    }

    // Lifts: the secondary axis from 0 to 100 by 10, the legend where the old style put it.
    const legend = chart.legend.display && chart.legend.allItems.length ? chart.legend : null;
    const at = legend && rect(legend.box.element);
    const xLabels = Object.values(chart.xAxis[0].ticks).filter((t) => t.label && shows(t.label.element)).map((t) => rect(t.label.element));
    const axis = chart.yAxis[1];
    if (lift && (`${axis.min} ${axis.max} ${axis.tickPositions}` !== '0 100 0,10,20,30,40,50,60,70,80,90,100'
        || !at || Math.abs(at.left - 350) > 5 || Math.abs(at.top - 270) > 5 || xLabels.some((label) => overlap(at, label))
        || legend.allItems.some((item) => ['random', 'quillo'].includes(item.name))) || !lift && legend) {
      found.lifts.push(`${id}: axis ${axis?.min} to ${axis?.max} by ${axis?.tickPositions}, legend ${JSON.stringify(at)}`);
    }

    // Layout: titles above the plot (the modality charts' at the library's sizes); y-axis titles
    // clear of plot and labels; every text inside the chart; category names whole, or cut with
    // the whole name as the label's title.
    const [title, subtitle] = [chart.title, chart.subtitle].map((t) => t && {...rect(t.element), size: size(t.element)});
    if ((subtitle ?? title)?.bottom > plot.top || title && subtitle && title.bottom > subtitle.top + 1 || subtitle?.size < 0.48 * root
        || modality && `${title?.size},${subtitle?.size}` !== `${1.2 * root},${0.8 * root}`) {
      found.layout.push(`${id}: title ${JSON.stringify(title)}, subtitle ${JSON.stringify(subtitle)}, plot top ${plot.top}`);
    }
    const yLabels = chart.yAxis.flatMap((a) => Object.values(a.ticks)).filter((t) => t.label && shows(t.label.element)).map((t) => rect(t.label.element));
    for (const t of chart.yAxis.filter((a) => a.axisTitle && shows(a.axisTitle.element)).map((a) => a.axisTitle.element)) {
      if (overlap(rect(t), plot) || yLabels.some((label) => overlap(rect(t), label))) {
        found.layout.push(`${id}: y-axis title "${t.textContent}" at ${JSON.stringify(rect(t))} over the plot or a label`);
      }
    }
    for (const text of chart.container.querySelectorAll('text')) {
      const r = rect(text);
      if (!text.closest('.highcharts-tooltip') && shows(text) && (r.left < 0 || r.top < 0 || r.right > box.width || r.bottom > box.height)) {
        found.layout.push(`${id}: "${text.textContent}" at ${JSON.stringify(r)}, outside the chart`);
      }
    }
    for (const [i, markup] of (chart.xAxis[0].categories || []).entries()) {
      const nodes = Array.from(chart.xAxis[0].ticks[i]?.label?.element.childNodes ?? []);
      const shown = nodes.filter((n) => n.nodeName !== 'title').map((n) => n.textContent).join('');
      const whole = nodes.find((n) => n.nodeName === 'title')?.textContent;
      if (nodes.length && shown !== plain(markup) && !(shown.endsWith('\u2026') && plain(markup).startsWith(shown.slice(0, -1)) && whole === plain(markup))) {
        found.layout.push(`${id}: category "${plain(markup)}" shown as "${shown}" (title ${whole})`);
      }
    }
  }
  // The font sizes the library worked out while building equal the computed ones; the fixtures'
  // charts, built as the page loads, asked the browser once each (for the root's font).
  found.layout.push(...fontSizes.differing);
  if (charts.length && (fontSizes.checked < 10 || fixture && fontSizes.asked > charts.length)) {
    found.layout.push(`${fontSizes.checked} font sizes read, the browser asked ${fontSizes.asked} times`);
  }

  // Every sparkline span becomes one canvas of its width: a line takes 8 pixels per value after
  // the two range values, at most 100; bars always get their 200.
  const widths = {orbLine: (n) => Math.min(100, 8 * Math.max(0, n - 2)), orbBox: () => 200};
  for (const [cls, texts] of Object.entries(spans)) {
    const elements = document.querySelectorAll(`span.${cls}`);
    texts.concat(elements.length > texts.length ? [''] : []).forEach((text, i) => {
      const canvas = elements[i]?.firstChild;
      const width = widths[cls](text.trim() === '' ? 0 : text.split(',').length);
      if (canvas?.nodeName !== 'CANVAS' || elements[i].childNodes.length !== 1 || canvas.width !== width || canvas.getBoundingClientRect().width !== width) {
        found.sparklines.push(`${cls} ${i} "${text.slice(0, 60)}": ${elements[i]?.innerHTML.slice(0, 80)}`);
      }
    });
  }

  // One link per ranking row; a link of the ranking or the quality list to a variable with a
  // detail section lands on it (the lists also name variables left out of the model).
  const sectionOf = (e) => h2.filter((h) => h.compareDocumentPosition(e) & Node.DOCUMENT_POSITION_FOLLOWING).pop()?.textContent.trim();
  const links = Array.from(document.querySelectorAll('a[href^="#"]')).filter((a) => /^(Discriminative Variables ranking|Highest Univariate Quality)/.test(sectionOf(a)));
  const rows = Array.from(document.querySelectorAll('span.orbLine')).filter((s) => sectionOf(s) === 'Discriminative Variables ranking');
  if (links.filter((a) => sectionOf(a).startsWith('Disc')).length !== rows.length) {
    found.links.push(`${rows.length} ranking rows`);
  }
  for (const target of links.map((a) => a.getAttribute('href').slice(1))) {
    if (ids.includes(`container${target.slice(6)}`) && !document.getElementsByName(target).length && !document.getElementById(target)) {
      found.links.push(`#${target} lands nowhere`);
    }
  }
  found.images = Array.from(document.querySelectorAll('img[alt="graph"]'), (img) => img.src);
  found.logo = document.querySelector('h1 img')?.naturalWidth;
  return found;
}

// Runs before the page's scripts: compares every font size the library is given while it
// builds a chart with what the browser computes, and counts how often the browser was asked for
// the style of an element in the page (each asking brings the whole document's style up to date).
export function watchFontSizes() {
  const seen = window.__fontSizes = {checked: 0, differing: [], asked: 0};
  document.addEventListener('DOMContentLoaded', () => {
    const proto = window.Highcharts?.SVGElement.prototype;
    const [given, computedStyle] = [proto?.getStyle, window.getComputedStyle];
    let reading = false;
    window.getComputedStyle = function (element, ...rest) {
      seen.asked += reading && element.isConnected ? 1 : 0;
      return computedStyle.call(this, element, ...rest);
    };
    proto && (proto.getStyle = function (property) {
      reading = true;
      const value = given.call(this, property);
      reading = false;
      if (property === 'font-size' && Highcharts.charts.some((c) => c && !c.hasRendered)) {
        const node = this.element || this;
        const computed = computedStyle(node, '').getPropertyValue('font-size');
        seen.checked++;
        if (computed !== value && parseFloat(computed) !== parseFloat(value)) {
          seen.differing.push(`${node.nodeName} "${node.textContent.slice(0, 30)}": ${value} for ${computed}`);
        }
      }
      return value;
    });
  });
}
