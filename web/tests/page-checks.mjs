// The checks of a drawn report page, run in the page: each group lists what it finds wrong.
// containers and spans are read from the page file; kind ('binary' or 'continuous') is given for
// the fixtures, which have no section headings; layoutOnly leaves out the slow hovering. Charts
// are read as a reader meets them: the texts of their SVG, the tooltip shown on moving the
// pointer onto a point, and the page's `Highcharts.charts` for what the scripts gave.
export async function inspectPage({containers, spans, kind, layoutOnly, contract}) {
  const found = {charts: [], points: [], lifts: [], sparklines: [], links: [], tooltips: [], layout: [], aria: [], contract: []};
  const charts = window.Highcharts ? Highcharts.charts.filter(Boolean) : [];
  const h2 = Array.from(document.querySelectorAll('h2'));
  kind = kind ?? (h2.some((h) => h.textContent.trim() === 'Lifts') ? 'binary' : 'continuous');
  const overlap = (a, b) => a.left < b.right - 0.5 && b.left < a.right - 0.5 && a.top < b.bottom - 0.5 && b.top < a.bottom - 0.5;
  const plain = (markup) => new DOMParser().parseFromString(String(markup), 'text/html').body.textContent;
  // A title shows its text with the page's own tags (b, br, font) taken out, any other markup as written.
  const shownText = (markup) => plain(String(markup).replace(/&/g, '&amp;').replace(/</g, '&lt;')
    .replace(/&lt;(\/?(b|br|font)\b[^>]*)>/gi, '<$1>').replace(/&amp;(#?\w+;)/g, '&$1'));
  const size = (e) => parseFloat(getComputedStyle(e).fontSize);
  const root = size(document.documentElement);
  const frame = () => new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve, 0)));

  // One drawn chart per container of the page file, with its series by kind, and its description.
  const SERIES = {binary: {delivered: 5, selectedPruned: 7, modality: 4}, continuous: {delivered: 3, selectedPruned: 6, modality: 3}}[kind];
  const ids = Array.from(document.querySelectorAll('div[id]'), (d) => d.id).filter((id) => /^(delivered|selectedPruned|container)/.test(id));
  if (`${ids}` !== `${containers}` || !ids.includes('delivered') || !ids.includes('selectedPruned') || charts.length !== ids.length) {
    found.charts.push(`containers ${ids} in the page, ${containers} in its file; ${charts.length} charts`);
  }
  for (const id of ids) {
    const owned = charts.filter((c) => c.renderTo.id === id);
    const svg = owned[0]?.renderTo.querySelector('svg');
    if (owned.length !== 1 || !owned[0].hasRendered || owned[0].series.length !== (SERIES[id] ?? SERIES.modality) || !svg) {
      found.charts.push(`${id}: ${owned.length} charts, series ${owned.map((c) => c.series.length)}`);
    }
    const label = owned[0]?.renderTo.getAttribute('aria-label') ?? '';
    const title = plain(owned[0]?.userOptions.title?.text ?? '');
    if (!label.includes(title) || !owned[0]?.series.every((s) => label.includes(plain(s.name)))) {
      found.aria.push(`${id}: "${label.slice(0, 100)}"`);
    }
  }

  // Every option a chart script gives is one the page's contract lists (arrays of values whole).
  const walk = (value, path) => {
    if (Array.isArray(value) && !/(data|categories|margin)$/.test(path)) {
      value.forEach((item) => walk(item, `${path}[]`));
    } else if (value && typeof value === 'object' && !Array.isArray(value)) {
      Object.entries(value).forEach(([key, item]) => walk(item, path ? `${path}.${key}` : key));
    } else if (!(path in contract.options)) {
      found.contract.push(`${path}, not in the contract`);
    }
  };
  charts.forEach((chart) => walk(chart.userOptions, ''));
  found.contract = [...new Set(found.contract)];

  for (const chart of charts.filter((c) => c.hasRendered)) {
    const id = chart.renderTo.id;
    const instance = chart.instance;
    const svg = chart.renderTo.querySelector('svg');
    const box = svg.getBoundingClientRect();
    const rect = (e) => {
      const r = e.getBoundingClientRect();
      return {left: r.left - box.left, top: r.top - box.top, right: r.right - box.left, bottom: r.bottom - box.top};
    };
    const texts = Array.from(svg.querySelectorAll('text')).filter((t) => t.textContent !== '');
    const inPlot = (x, y) => instance.containPixel({gridIndex: 0}, [x, y]);
    // The plot's edges, found along its middle lines.
    const edge = (from, to, step, at) => {
      for (let v = from; v !== to; v += step) {
        if (at(v)) {
          return v;
        }
      }
      return null;
    };
    const midX = box.width / 2;
    const top = edge(0, Math.round(box.height), 1, (y) => inPlot(midX, y));
    const bottom = edge(Math.round(box.height), 0, -1, (y) => inPlot(midX, y));
    const midY = (top + bottom) / 2;
    const plot = {top, bottom, left: edge(0, Math.round(box.width), 1, (x) => inPlot(x, midY)),
      right: edge(Math.round(box.width), 0, -1, (x) => inPlot(x, midY))};
    const lift = /^(delivered|selectedPruned)$/.test(id) && chart.userOptions.yAxis?.length === 2;
    const modality = id.startsWith('container');
    const drawnSeries = instance.getOption().series;

    chart.series.forEach((s, index) => {
      // Every series keeps every value of its data and draws it in its colour.
      const given = s.userOptions.data;
      const k = chart.order.indexOf(index);
      const colour = String(s.color).toLowerCase();
      const painted = Array.from(svg.querySelectorAll('path')).some((p) => [p.getAttribute('stroke'), p.getAttribute('fill')]
        .some((c) => c?.toLowerCase() === colour));
      if (!Array.isArray(given) || s.points.length !== given.length || drawnSeries[k]?.data.length !== given.length || !painted && given.length) {
        found.points.push(`${id} "${s.name}": ${s.points.length} points of ${given?.length}, painted ${painted}`);
      }
      // The lift charts' reference curves are plain lines: their scripts say marker: false.
      const bare = ['random', 'quillo', 'Lift Test 99%t', 'Lift Test 1%'].includes(s.name);
      if (lift && bare && drawnSeries[k]?.symbol !== 'none') {
        found.lifts.push(`${id} "${s.name}": symbol ${drawnSeries[k]?.symbol}`);
      }
    });

    // Three points of each tracked series hovered with the pointer: the tooltip names the point's
    // category, or the series of a point drawn at that place, and every value it shows was found.
    if (!layoutOnly) {
      const layer = svg.parentNode;
      for (const [index, s] of chart.series.entries()) {
        if (s.userOptions.enableMouseTracking === false) {
          continue;
        }
        const k = chart.order.indexOf(index);
        const place = (p, series = k) => instance.convertToPixel({seriesIndex: series}, [modality ? p.index : p.x, p.y]);
        const inside = s.points.filter((p) => p.y !== null && inPlot(...place(p)));
        for (const p of new Set([0.06, 0.5, 0.94].map((f) => inside[Math.floor(f * inside.length)]).filter(Boolean))) {
          const [x, y] = place(p);
          layer.dispatchEvent(new MouseEvent('mousemove', {clientX: box.left + x, clientY: box.top + y, bubbles: true}));
          await frame();
          const tip = chart.renderTo.querySelector('.anarep-tooltip');
          const shown = tip?.textContent.replace(/\s/g, '') ?? '';
          const names = modality ? [chart.userOptions.xAxis[0].categories[p.index]]
            : chart.series.filter((other, i) => other.userOptions.enableMouseTracking !== false && other.points.some((q) => {
              const at = q.y === null ? null : place(q, chart.order.indexOf(i));
              return at && Math.abs(at[0] - x) < 1 && Math.abs(at[1] - y) < 1;
            })).map((other) => other.name);
          if (!names.some((name) => shown.startsWith(plain(name).replace(/\s/g, ''))) || /undefined|NaN/.test(shown)) {
            found.tooltips.push(`${id} "${s.name}" point ${p.index}: ${shown}`);
          }
        }
        layer.dispatchEvent(new MouseEvent('mouseout', {bubbles: true}));
      }
    }

    // Lifts: the secondary axis from 0 to 100 by 10 (its first label left out), the legend where
    // the old style put it, naming the curves but not the reference lines.
    const rotated = (e) => /^matrix\(0,/.test(e.getAttribute('transform') ?? '');
    const legendTexts = texts.filter((e) => !rotated(e) && chart.series.some((s) => e.textContent === plain(s.name))
      && rect(e).left > plot.left + 5 && rect(e).top > plot.top + 5);
    const legendBox = Array.from(svg.querySelectorAll('rect, path')).filter((e) => e.getAttribute('fill')?.toUpperCase() === '#FFFFFF')
      .map(rect).find((r) => r.right - r.left < box.width - 1);
    const secondary = texts.filter((e) => e.getAttribute('fill')?.toUpperCase() === '#22AA22' && rect(e).right <= plot.left + 1).map((e) => e.textContent);
    if (lift && (`${secondary}` !== '10,20,30,40,50,60,70,80,90,100' || !legendBox || Math.abs(legendBox.left - 350) > 5
        || Math.abs(legendBox.top - 270) > 5 || legendTexts.some((e) => ['random', 'quillo'].includes(e.textContent)))
        || !lift && legendBox) {
      found.lifts.push(`${id}: axis labels ${secondary}, legend ${JSON.stringify(legendBox)} naming ${legendTexts.map((e) => e.textContent)}`);
    }

    // Layout: titles above the plot (the modality charts' at the usual sizes); y-axis titles clear
    // of plot and labels; every text inside the chart; category names whole or cut with "…".
    const title = plain(chart.userOptions.title?.text ?? '');
    const sideLabel = (e) => /^-?[\d.,]+$/.test(e.textContent) && (rect(e).right <= plot.left + 1 || rect(e).left >= plot.right - 1);
    const titleTexts = texts.filter((e) => !sideLabel(e) && rect(e).top < plot.top);
    const titleBottom = Math.max(...titleTexts.map((t) => rect(t).bottom));
    const sizes = titleTexts.map(size);
    if (titleBottom > plot.top || Math.min(...sizes) < 0.48 * root
        || modality && `${[...new Set(sizes)]}` !== `${1.2 * root},${0.8 * root}` || titleTexts.map((e) => e.textContent).join('').replace(/\s/g, '').indexOf(title.replace(/\s/g, '')) !== 0) {
      found.layout.push(`${id}: titles ${titleTexts.map((t) => `"${t.textContent}" ${JSON.stringify(rect(t))}`)}, plot top ${plot.top}`);
    }
    const yLabels = texts.filter(sideLabel);
    const axisTitles = (chart.userOptions.yAxis ?? []).map((a) => a.title?.enabled !== false && plain(a.title?.text ?? '')).filter(Boolean);
    for (const t of texts.filter((e) => rotated(e) && axisTitles.includes(e.textContent))) {
      if (overlap(rect(t), plot) || yLabels.some((label) => overlap(rect(t), rect(label)))) {
        found.layout.push(`${id}: y-axis title "${t.textContent}" at ${JSON.stringify(rect(t))} over the plot or a label`);
      }
    }
    for (const text of texts) {
      const r = rect(text);
      if (r.left < 0 || r.top < 0 || r.right > box.width || r.bottom > box.height) {
        found.layout.push(`${id}: "${text.textContent}" at ${JSON.stringify(r)}, outside the chart`);
      }
    }
    const names = (chart.userOptions.xAxis?.[0]?.categories ?? []).map(plain);
    for (const t of texts.filter((e) => rect(e).top >= plot.bottom && !rotated(e) && !/^-?[\d.,]+$/.test(e.textContent))) {
      const shown = t.textContent;
      if (!names.includes(shown) && !(shown.endsWith('\u2026') && names.some((n) => n.startsWith(shown.slice(0, -1)))) && names.length) {
        found.layout.push(`${id}: category label "${shown}" is no category`);
      }
    }
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
