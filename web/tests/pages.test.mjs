// Every report page the program makes from the example, the shared samples and the
// conformance cases, opened from disk the way an analyst opens it: the charts must
// draw, the sparklines must replace their spans, the links must land, and nothing may
// go wrong in the browser on the way. Each page is drawn once with each font set, and
// every chart text must lie inside its chart in both.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {existsSync} from 'node:fs';
import {readFile} from 'node:fs/promises';
import {fileURLToPath} from 'node:url';
import {FONT_SETS, fileUrl, launchBrowser, misplacedChartTexts} from './browser.mjs';
import {ANAREP, chartContainers, chartsDrawn, makePage, reportRuns, watch} from '../tools/report-pages.mjs';

const RUNS = reportRuns();

// Series per chart container, by target kind.
const SERIES = {
  binary: {delivered: 5, selectedPruned: 7, modality: 4},
  continuous: {delivered: 3, selectedPruned: 6, modality: 3},
};

const RANKING = 'Discriminative Variables ranking';
const SIGNALETIC = 'Signaletic Variables';
const QUALITY = /^Highest Univariate Quality/;

// The sparkline rules: a line takes 8 pixels per value after the two range values, at
// most its 100px; bars always get their 200px element.
const SPARKLINES = [
  {cls: 'orbLine', width: (values) => Math.min(100, 8 * Math.max(0, values.length - 2))},
  {cls: 'orbBox', width: () => 200},
];

function spanValues(text) {
  const trimmed = text.trim();
  return trimmed === '' ? [] : trimmed.split(',');
}

// C's %.Nf: the exact binary value rounded half to even (JavaScript's toFixed rounds halves up).
function cFixed(value, decimals) {
  if (!Number.isFinite(value)) {
    return String(value);
  }
  const view = new DataView(new ArrayBuffer(8));
  view.setFloat64(0, Math.abs(value));
  const bits = view.getBigUint64(0);
  const exponentBits = Number((bits >> 52n) & 0x7ffn);
  let mantissa = bits & ((1n << 52n) - 1n);
  let exponent = -1074;
  if (exponentBits !== 0) {
    mantissa |= 1n << 52n;
    exponent = exponentBits - 1075;
  }
  let numerator = mantissa * 10n ** BigInt(decimals);
  let denominator = 1n;
  if (exponent >= 0) {
    numerator <<= BigInt(exponent);
  } else {
    denominator <<= BigInt(-exponent);
  }
  let quotient = numerator / denominator;
  const twice = 2n * (numerator - quotient * denominator);
  if (twice > denominator || (twice === denominator && (quotient & 1n))) {
    quotient += 1n;
  }
  const digits = quotient.toString().padStart(decimals + 1, '0');
  const sign = value < 0 || Object.is(value, -0) ? '-' : '';
  return sign + digits.slice(0, digits.length - decimals) + (decimals ? `.${digits.slice(-decimals)}` : '');
}

// What the modality chart's tooltip must say for point i, from the chart's own categories,
// data and subtitle ("nLines= L, nModalities= N, targetMean= M" with "%" for a binary target).
function modalityTooltip(kind, seen) {
  const subtitle = /nLines= (-?\d+), nModalities= (\d+), targetMean= ([^%]*)(%?)$/.exec(seen.subtitle);
  assert.ok(subtitle, `subtitle "${seen.subtitle}"`);
  const nLines = Number(subtitle[1]);
  const overall = Number(subtitle[3]);
  const i = seen.index;
  const count = Number(seen.data.Count[i]);
  const share = Number(count * 100 / nLines).toFixed(2);
  let text = `<b>${seen.categories[i]}</b><br/>Count= ${count} (=${share}%)<br/>`;
  if (kind === 'binary') {
    text += `Target= ${Number(seen.data.Target[i])}<br/>`
      + `Proba.Target= ${Number(seen.data.rate[i])}%<br/>`
      // The mean is a number literal in the script, so the browser prints it its own way.
      + `Mean Target= ${Number(cFixed(overall, 3))}%`;
  } else {
    text += `Target= ${Number(seen.data.rate[i])}`;
  }
  return text;
}

function shownText(markup) {
  const entities = {amp: '&', lt: '<', gt: '>', quot: '"', '#39': "'", nbsp: '\u00a0'};
  return markup.replace(/<[^>]*>/g, '').replace(/&(amp|lt|gt|quot|#39|nbsp);/g, (m, name) => entities[name]);
}

// Everything the assertions need, read in the page in one go.
function inspectPage() {
  const sectionOf = new Map();
  let section = '';
  for (const element of document.body.querySelectorAll('*')) {
    if (element.tagName === 'H2') {
      section = element.textContent.trim();
    }
    sectionOf.set(element, section);
  }
  const headings = Array.from(document.querySelectorAll('h2'), (h) => h.textContent.trim());
  const charts = window.Highcharts ? Highcharts.charts.filter(Boolean) : [];
  const shows = (element) => {
    const box = element.getBoundingClientRect();
    return box.width + box.height > 0 && getComputedStyle(element).visibility !== 'hidden';
  };
  const containers = Array.from(document.querySelectorAll('div[id]'))
    .filter((div) => /^(delivered|selectedPruned|container)/.test(div.id))
    .map((div) => {
      const owned = charts.filter((chart) => chart.renderTo === div);
      const chart = owned[0];
      const origin = chart ? chart.container.getBoundingClientRect() : null;
      const rect = (element) => {
        const r = element.getBoundingClientRect();
        return {left: r.left - origin.left, top: r.top - origin.top, right: r.right - origin.left,
          bottom: r.bottom - origin.top};
      };
      const layout = chart && chart.hasRendered ? {
        width: origin.width,
        height: origin.height,
        plot: {left: chart.plotLeft, top: chart.plotTop, right: chart.plotLeft + chart.plotWidth,
          bottom: chart.plotTop + chart.plotHeight},
        title: chart.title ? rect(chart.title.element) : null,
        subtitle: chart.subtitle ? rect(chart.subtitle.element) : null,
        yTitles: chart.yAxis.filter((axis) => axis.axisTitle && shows(axis.axisTitle.element))
          .map((axis) => ({text: axis.axisTitle.element.textContent, ...rect(axis.axisTitle.element)})),
        yLabels: chart.yAxis.flatMap((axis) => Object.values(axis.ticks))
          .filter((tick) => tick.label && shows(tick.label.element) && tick.label.element.getAttribute('opacity') !== '0')
          .map((tick) => ({text: tick.label.element.textContent, ...rect(tick.label.element)})),
      } : null;
      return {
        id: div.id,
        layout,
        charts: owned.length,
        rendered: Boolean(chart && chart.hasRendered && div.querySelector('svg.highcharts-root')),
        series: chart ? chart.series.map((s) => {
          const positions = new Set(s.points.filter((p) => p.y !== null && p.plotX !== undefined)
            .map((p) => `${Math.round(p.plotX)},${Math.round(p.plotY)}`));
          const inside = s.points.filter((p) => p.isInside);
          return {
            name: s.name,
            type: s.type,
            visible: s.visible,
            given: Array.isArray(s.userOptions.data) ? s.userOptions.data.length : null,
            points: s.points.length,
            positions: positions.size,
            line: s.graph ? s.graph.element.getTotalLength() : null,
            inside: inside.length,
            shapes: inside.filter((p) => p.graphic && shows(p.graphic.element)).length,
          };
        }) : [],
      };
    });
  const sparklines = {};
  for (const cls of ['orbLine', 'orbBox']) {
    sparklines[cls] = Array.from(document.querySelectorAll(`span.${cls}`), (span) => {
      const canvas = span.querySelector('canvas');
      return {
        section: sectionOf.get(span),
        canvases: span.querySelectorAll('canvas').length,
        alone: span.childNodes.length === 1,
        width: canvas ? canvas.width : null,
        shownWidth: canvas ? canvas.getBoundingClientRect().width : null,
      };
    });
  }
  const links = Array.from(document.querySelectorAll('a[href^="#"]'), (a) => {
    const id = a.getAttribute('href').slice(1);
    return {
      section: sectionOf.get(a),
      href: a.getAttribute('href'),
      text: a.textContent,
      lands: document.getElementsByName(id).length > 0 || document.getElementById(id) !== null,
    };
  });
  const graphImages = Array.from(document.querySelectorAll('img[alt="graph"]'))
    .filter((img) => sectionOf.get(img) === 'Signaletic Variables')
    .map((img) => img.src);
  return {headings, chartCount: charts.length, containers, sparklines, links, graphImages};
}

// Calls each modality chart's tooltip formatter through the library (as a hover would) on
// its middle rate point, and reports what it returned and what the tooltip then showed.
function hoverModalityCharts() {
  return Highcharts.charts.filter((chart) => chart && chart.renderTo && /^container/.test(chart.renderTo.id)
    && chart.hasRendered).map((chart) => {
    const rate = chart.series.find((s) => s.type === 'spline');
    if (!rate || rate.points.length === 0) {
      return null;
    }
    const index = Math.floor(rate.points.length / 2);
    const options = chart.tooltip.options;
    const formatter = options.formatter;
    let returned;
    let error = null;
    options.formatter = function (tooltip) {
      returned = formatter.call(this, tooltip);
      return returned;
    };
    try {
      chart.tooltip.refresh(rate.points[index]);
    } catch (e) {
      error = String(e);
    } finally {
      options.formatter = formatter;
    }
    const shown = chart.tooltip.label ? chart.tooltip.label.element.textContent : null;
    chart.tooltip.hide(0);
    const byName = (name, type) => chart.series.find((s) => s.name === name && s.type === type);
    return {
      id: chart.renderTo.id,
      index,
      categories: chart.xAxis[0].categories,
      subtitle: chart.options.subtitle.text,
      data: {
        Count: byName('Count', 'column')?.userOptions.data,
        Target: byName('Target', 'column')?.userOptions.data,
        rate: rate.userOptions.data,
      },
      returned,
      shown,
      error,
    };
  }).filter(Boolean);
}

const browsers = new Map();

before(async () => {
  for (const fonts of FONT_SETS) {
    browsers.set(fonts.name, await launchBrowser({fonts}));
  }
});

after(async () => {
  for (const browser of browsers.values()) {
    await browser.close();
  }
});

// Opens the made page and reads everything the tests look at.
async function readPage(browser, path, html) {
  const view = {messages: [], drawn: false, seen: null, hovered: [], misplaced: [], broken: null};
  const page = await browser.context.newPage();
  try {
    view.messages = watch(page);
    await page.goto(fileUrl(path));
    view.drawn = await chartsDrawn(page, chartContainers(html).length);
    view.seen = await page.evaluate(inspectPage);
    if (view.seen.chartCount > 0) {
      view.hovered = await page.evaluate(hoverModalityCharts);
      view.misplaced = await page.evaluate(misplacedChartTexts);
    }
  } catch (error) {
    view.broken = error.message;
  } finally {
    await page.close();
  }
  return view;
}

test('there are pages to check', () => {
  assert.ok(RUNS.length > 0, 'no example, sample or conformance run found');
  assert.ok(existsSync(ANAREP), `no program at ${ANAREP} (set ANAREP or build it)`);
});

for (const run of RUNS) {
  describe(run.label, () => {
    let made;
    let html = '';
    // By font set; the tests that do not depend on the font read the first.
    const views = new Map();
    let messages = [];
    let drawn = false;
    let seen = null;
    let hovered = [];
    let broken = null;

    before(async () => {
      made = await makePage(run);
      if (made.code !== 0 || !existsSync(made.page)) {
        return;
      }
      html = await readFile(made.page, 'utf8');
      for (const fonts of FONT_SETS) {
        views.set(fonts.name, await readPage(browsers.get(fonts.name), made.page, html));
      }
      ({messages, drawn, seen, hovered, broken} = views.get(FONT_SETS[0].name));
    });

    after(async () => {
      await made?.remove();
    });

    function opened() {
      assert.equal(made.code, 0, `anarep ${run.args.join(' ')}: ${made.message ?? made.stdout}`);
      assert.equal(broken, null, 'the page could not be read');
      assert.ok(seen, `no page ${run.page}`);
      return seen;
    }

    function kind() {
      const {headings} = opened();
      if (headings.includes('Lifts')) {
        return 'binary';
      }
      assert.ok(headings.includes('Graphics'), `no "Lifts" or "Graphics" section in ${headings.join(' | ')}`);
      return 'continuous';
    }

    test('no page error and no console error', (t) => {
      const {graphImages} = opened();
      // A signaletic variable's image is made by the modelling run, which the cases do not
      // carry: its absence is the only failure a page may show.
      const absentImages = new Set(graphImages.filter((url) => !existsSync(fileURLToPath(url))));
      const expected = (m) => m.type === 'error' && m.text === 'Failed to load resource: net::ERR_FILE_NOT_FOUND'
        && absentImages.has(m.url);
      const text = (m) => `${m.type}: ${m.text}${m.url ? ` (${m.url})` : ''}`;
      // Warnings tell of odd input (the library's "data not sorted" for a made-up curve),
      // not of a broken page; they are shown, not failed.
      for (const m of messages.filter((m) => m.type === 'warning')) {
        t.diagnostic(text(m));
      }
      assert.deepEqual(messages.filter((m) => m.type !== 'warning' && !expected(m)).map(text), []);
    });

    test('every chart container holds one drawn chart with its series', () => {
      const expected = SERIES[kind()];
      const {containers, chartCount} = opened();
      assert.deepEqual(containers.map((c) => c.id), chartContainers(html), 'containers of the page file');
      assert.ok(containers.some((c) => c.id === 'delivered') && containers.some((c) => c.id === 'selectedPruned'),
        'both model chart containers');
      for (const c of containers) {
        assert.equal(c.charts, 1, `${c.id}: ${c.charts} charts`);
        assert.ok(c.rendered, `${c.id} drawn`);
        const want = expected[c.id] ?? expected.modality;
        assert.equal(c.series.length, want, `${c.id}: series ${c.series.map((s) => s.name).join(', ')}`);
      }
      assert.equal(chartCount, containers.length, 'one chart per container, no other');
      assert.ok(drawn, 'charts did not all draw');
    });

    test('every series keeps and draws all the points of its data', () => {
      for (const c of opened().containers) {
        for (const s of c.series) {
          const name = `${c.id} series "${s.name}"`;
          assert.ok(s.visible, `${name} visible`);
          assert.ok(s.given !== null, `${name} has a data array`);
          assert.equal(s.points, s.given, `${name}: points of ${s.given} data values`);
          if (s.type === 'column' || s.type === 'scatter') {
            assert.equal(s.shapes, s.inside, `${name}: ${s.shapes} of ${s.inside} points drawn`);
          } else if (s.positions >= 2) {
            assert.ok(s.line > 0, `${name}: line of ${s.line} px through ${s.positions} places`);
          }
        }
      }
    });

    // The lift and prediction charts fix their margins: the titles must fit above the
    // plot and the y-axis titles beside it, clear of the tick labels, whatever the font.
    for (const fonts of FONT_SETS) {
      test(`${fonts.name}: titles sit above the plot, y-axis titles inside the chart and clear of the labels`, () => {
        opened();
        const overlap = (a, b) => a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
        const view = views.get(fonts.name);
        assert.equal(view.broken, null, 'the page could not be read');
        for (const c of view.seen.containers.filter((c) => c.layout)) {
          const {width, height, plot, title, subtitle, yTitles, yLabels} = c.layout;
          const lowest = subtitle ?? title;
          if (lowest) {
            assert.ok(lowest.bottom <= plot.top, `${c.id}: titles end at ${lowest.bottom}, the plot starts at ${plot.top}`);
          }
          for (const t of yTitles) {
            const where = `${c.id}: y-axis title "${t.text}" at ${JSON.stringify(t)}`;
            assert.ok(t.left >= 0 && t.top >= 0 && t.right <= width && t.bottom <= height, `${where}, outside the chart`);
            assert.ok(!overlap(t, plot), `${where}, over the plot`);
            for (const label of yLabels) {
              assert.ok(!overlap(t, label), `${where}, over the label ${JSON.stringify(label)}`);
            }
          }
        }
      });

      test(`${fonts.name}: every chart text inside its chart, category names whole or cut with the whole name kept`, () => {
        opened();
        const view = views.get(fonts.name);
        assert.equal(view.broken, null, 'the page could not be read');
        assert.ok(view.drawn, 'charts did not all draw');
        assert.deepEqual(view.misplaced, []);
      });
    }

    for (const {cls, width} of SPARKLINES) {
      test(`every ${cls} span becomes a canvas of its width`, () => {
        const spans = opened().sparklines[cls];
        const texts = Array.from(html.matchAll(new RegExp(`<span class="${cls}">([^<]*)</span>`, 'g')), (m) => m[1]);
        assert.equal(spans.length, texts.length, `${cls} spans in the page file`);
        texts.forEach((text, i) => {
          const span = spans[i];
          const label = `${cls} ${i} "${text.slice(0, 60)}"`;
          assert.ok(span.canvases === 1 && span.alone, `${label}: replaced by one canvas`);
          assert.equal(span.width, width(spanValues(text)), `${label}: canvas width`);
          assert.equal(span.shownWidth, span.width, `${label}: shown width`);
        });
      });
    }

    // Only the model's variables get a detail section; the lists also name variables left
    // out of the model (pruned, or long-list entries that are not variables), whose links
    // have nowhere to land. A link that misses is wrong only when its variable has a section.
    function strayLinks(links) {
      const sections = new Set(opened().containers.map((c) => c.id)
        .filter((id) => id.startsWith('container')).map((id) => id.slice('container'.length)));
      return links.filter((l) => !l.lands && sections.has(l.href.slice('#label_'.length)))
        .map((l) => `${l.text} -> ${l.href}`);
    }

    test('every ranking table link to a model variable lands on its section', () => {
      const {links: all, sparklines} = opened();
      const links = all.filter((l) => l.section === RANKING);
      // Each row of the table carries one line sparkline.
      const rows = sparklines.orbLine.filter((s) => s.section === RANKING).length;
      assert.equal(links.length, rows, 'one link per ranking row');
      assert.deepEqual(strayLinks(links), []);
    });

    test('every highest quality link to a model variable lands on its section', (t) => {
      const links = opened().links.filter((l) => QUALITY.test(l.section));
      if (kind() !== 'binary' || !opened().headings.some((h) => QUALITY.test(h))) {
        assert.equal(links.length, 0);
        t.skip('no highest univariate quality list on this page');
        return;
      }
      assert.deepEqual(strayLinks(links), []);
    });

    test('modality tooltips say what the page script composes', (t) => {
      const k = kind();
      const charts = opened().containers.filter((c) => c.id.startsWith('container'));
      const withPoints = charts.filter((c) => c.series.some((s) => s.type === 'spline' && s.points > 0));
      assert.equal(hovered.length, withPoints.length, 'one hovered point per modality chart with modalities');
      if (hovered.length === 0) {
        t.skip('no modality chart with modalities');
        return;
      }
      for (const h of hovered) {
        assert.equal(h.error, null, `${h.id}: tooltip failed`);
        const expected = modalityTooltip(k, h);
        assert.equal(h.returned, expected, `${h.id} point ${h.index}: formatter result`);
        // The library marks its line breaks with zero-width spaces.
        assert.equal(h.shown?.replace(/\u200b/g, ''), shownText(expected), `${h.id} point ${h.index}: tooltip text`);
      }
    });
  });
}
