// The report's chart scripts, exactly as the page writes them, drawn by the bundle.
// fixtures/*.html hold the fixed script lines of the lift, prediction and modality
// charts with made-up curves (1000-point curves thinned to 500 the way the page does).
// The fixtures are drawn once with each font set.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {join} from 'node:path';
import {
  BUNDLE, FONT_SETS, WEB_DIR, fileUrl, fontsUsed, launchBrowser, misplacedChartTexts, waitForCharts,
} from './browser.mjs';

const TEN_TO_HUNDRED = [0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100];

const PAGES = [
  {
    file: 'binary-charts.html',
    charts: [
      {id: 'delivered', kind: 'lift', series: 5, primary: {min: 0, max: 0.8}, titles: ['proba']},
      {id: 'selectedPruned', kind: 'lift', series: 7, titles: ['score']},
      {id: 'container1', kind: 'modality', series: 4, titles: ['Proba.Target', 'nOccurence']},
      {id: 'container2', kind: 'modality', series: 4, titles: ['Proba.Target', 'nOccurence']},
    ],
  },
  {
    file: 'continuous-charts.html',
    charts: [
      {id: 'delivered', kind: 'prediction', series: 3, titles: ['predicted target']},
      {id: 'selectedPruned', kind: 'prediction', series: 6, titles: ['prediction error']},
      {id: 'container7', kind: 'modality', series: 3, titles: ['Target', 'nOccurence']},
    ],
  },
];

const browsers = new Map();
// By font set and fixture; the tests that do not depend on the font use the first set.
const opened = new Map();
const FIRST = FONT_SETS[0].name;
let browser;

// Runs once the bundle has set itself up and before the chart scripts: compares every
// font size the library is given while it builds a chart with what the browser computes,
// and counts how often the browser was asked for the style of an element in the page
// (each asking brings the style of the whole document up to date; asking about a text not
// yet in the drawing does not).
function watchFontSizes() {
  const seen = window.__fontSizes = {checked: 0, differing: [], asked: 0};
  document.addEventListener('DOMContentLoaded', () => {
    const proto = Highcharts.SVGElement.prototype;
    const given = proto.getStyle;
    const computedStyle = window.getComputedStyle;
    let reading = false;
    window.getComputedStyle = function (element, ...rest) {
      if (reading && element.isConnected) {
        seen.asked++;
      }
      return computedStyle.call(this, element, ...rest);
    };
    proto.getStyle = function (property) {
      reading = true;
      let value;
      try {
        value = given.call(this, property);
      } finally {
        reading = false;
      }
      if (property === 'font-size' && Highcharts.charts.some((c) => c && !c.hasRendered)) {
        const node = this.element || this;
        const computed = getComputedStyle(node, '').getPropertyValue('font-size');
        seen.checked++;
        if (computed !== value && parseFloat(computed) !== parseFloat(value)) {
          seen.differing.push(`${node.nodeName} "${node.textContent.slice(0, 30)}": ${value} for ${computed}`);
        }
      }
      return value;
    };
  });
}

before(async () => {
  for (const fonts of FONT_SETS) {
    const launched = await launchBrowser({fonts});
    browsers.set(fonts.name, launched);
    for (const {file, charts} of PAGES) {
      const {page, errors} = await launched.newPage();
      await page.addInitScript(watchFontSizes);
      await page.goto(fileUrl(join(WEB_DIR, 'tests', 'fixtures', file)));
      await waitForCharts(page, charts.length);
      opened.set(`${fonts.name} ${file}`, {page, errors});
    }
  }
  browser = browsers.get(FIRST);
});

after(async () => {
  for (const launched of browsers.values()) {
    await launched.close();
  }
});

// What one chart looks like once drawn, in pixels relative to its container.
function measure(page, id) {
  return page.evaluate((id) => {
    const chart = Highcharts.charts.find((c) => c && c.renderTo.id === id);
    const box = chart.container.getBoundingClientRect();
    const rect = (element) => {
      const r = element.getBoundingClientRect();
      return {left: r.left - box.left, top: r.top - box.top, right: r.right - box.left, bottom: r.bottom - box.top};
    };
    const visible = (element) => element && getComputedStyle(element).visibility !== 'hidden'
      && element.getAttribute('opacity') !== '0' && element.getBoundingClientRect().width > 0;
    const fontSize = (element) => parseFloat(getComputedStyle(element).fontSize);
    return {
      width: box.width,
      height: box.height,
      plot: {left: chart.plotLeft, top: chart.plotTop, right: chart.plotLeft + chart.plotWidth,
        bottom: chart.plotTop + chart.plotHeight},
      title: chart.title ? {...rect(chart.title.element), fontSize: fontSize(chart.title.element)} : null,
      subtitle: chart.subtitle ? {...rect(chart.subtitle.element), fontSize: fontSize(chart.subtitle.element)} : null,
      rootFontSize: fontSize(document.documentElement),
      credits: chart.container.querySelectorAll('.highcharts-credits').length,
      text: Array.from(chart.container.querySelectorAll('text')).map((t) => t.textContent).join(' '),
      series: chart.series.map((s) => ({
        name: s.name,
        type: s.type,
        visible: s.visible,
        given: s.options.data.length,
        kept: s.points.length,
        inside: s.points.filter((p) => p.isInside).length,
        drawnPoints: s.points.filter((p) => p.isInside && p.graphic && visible(p.graphic.element)).length,
        pathLength: s.graph ? s.graph.element.getTotalLength() : 0,
        markers: s.points.filter((p) => p.graphic).length,
        markerOption: s.options.marker,
      })),
      legendOption: chart.options.legend,
      yAxes: chart.yAxis.map((axis) => ({
        min: axis.min,
        max: axis.max,
        ticks: axis.tickPositions.slice(),
        title: axis.axisTitle && visible(axis.axisTitle.element)
          ? {text: axis.axisTitle.element.textContent, ...rect(axis.axisTitle.element)} : null,
        labels: Object.values(axis.ticks).filter((t) => t.label && visible(t.label.element))
          .map((t) => ({text: t.label.element.textContent, ...rect(t.label.element)})),
      })),
      xLabels: Object.values(chart.xAxis[0].ticks).filter((t) => t.label && visible(t.label.element))
        .map((t) => rect(t.label.element)),
      legend: chart.legend.group && chart.legend.allItems.length && chart.legend.display
        ? {items: chart.legend.allItems.map((item) => item.name), ...rect(chart.legend.box.element)} : null,
    };
  }, id);
}

function inside(r, chart) {
  return r.left >= 0 && r.top >= 0 && r.right <= chart.width && r.bottom <= chart.height;
}

function overlaps(a, b) {
  return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

for (const fonts of FONT_SETS) {
  for (const {file, charts} of PAGES) {
    const key = `${fonts.name} ${file}`;
    describe(`${file} in ${fonts.name}`, () => {
      test(`drawn in ${fonts.sans}`, async () => {
        assert.deepEqual(await fontsUsed(opened.get(key).page, '.highcharts-title'), [fonts.sans]);
      });

      test('every chart text inside its chart', async () => {
        assert.deepEqual(await opened.get(key).page.evaluate(misplacedChartTexts), []);
      });

      test('no console error or warning', () => {
        assert.deepEqual(opened.get(key).errors, []);
      });

      test('font sizes worked out while building are the computed ones', async () => {
        const seen = await opened.get(key).page.evaluate(() => window.__fontSizes);
        assert.ok(seen.checked > 20, `${seen.checked} font sizes read`);
        assert.deepEqual(seen.differing, []);
        // Once per chart, for the size of the page's root font.
        assert.ok(seen.asked <= charts.length, `the browser was asked ${seen.asked} times for ${charts.length} charts`);
      });

      for (const expected of charts) {
        describe(`${expected.kind} chart ${expected.id}`, () => {
          let chart;
          before(async () => {
            chart = await measure(opened.get(key).page, expected.id);
          });

          test('draws every series with all its points', () => {
            assert.equal(chart.series.length, expected.series);
            for (const s of chart.series) {
              assert.ok(s.visible, `${s.name} visible`);
              assert.equal(s.kept, s.given, `${s.name} keeps every point`);
              if (s.type === 'column' || s.type === 'scatter') {
                assert.ok(s.inside > 0 && s.drawnPoints === s.inside, `${s.name}: ${s.drawnPoints} of ${s.inside} drawn`);
              } else {
                assert.ok(s.pathLength > 50, `${s.name}: line of ${s.pathLength} px`);
              }
            }
          });

          test('shows no credits', () => {
            assert.equal(chart.credits, 0);
            assert.ok(!/highcharts/i.test(chart.text), 'no maker name in the chart');
          });

          test('y-axis titles and labels lie inside the chart', () => {
            const titles = chart.yAxes.map((axis) => axis.title).filter(Boolean);
            assert.deepEqual(titles.map((t) => t.text), expected.titles);
            for (const t of titles) {
              assert.ok(inside(t, chart), `title ${t.text} at ${JSON.stringify(t)}`);
            }
            for (const label of chart.yAxes.flatMap((axis) => axis.labels)) {
              assert.ok(inside(label, chart), `label ${label.text} at ${JSON.stringify(label)}`);
            }
          });

          test('y-axis titles stay clear of the tick labels and the plot', () => {
            const labels = chart.yAxes.flatMap((axis) => axis.labels);
            for (const t of chart.yAxes.map((axis) => axis.title).filter(Boolean)) {
              for (const label of labels) {
                assert.ok(!overlaps(t, label), `title ${t.text} ${JSON.stringify(t)} covers label ${JSON.stringify(label)}`);
              }
              assert.ok(!overlaps(t, chart.plot), `title ${t.text} ${JSON.stringify(t)} inside the plot ${JSON.stringify(chart.plot)}`);
            }
          });

          test('title and subtitle sit above the plot area', () => {
            const {title, subtitle, plot} = chart;
            assert.ok(title && subtitle, 'a title and a subtitle');
            assert.ok(title.top >= 0, `title at ${JSON.stringify(title)}`);
            assert.ok(title.bottom <= subtitle.top + 1, `title ${JSON.stringify(title)} over subtitle ${JSON.stringify(subtitle)}`);
            assert.ok(subtitle.bottom <= plot.top, `subtitle ends at ${subtitle.bottom}, plot starts at ${plot.top}`);
            // Made smaller only as far as needed, never unreadably small.
            assert.ok(subtitle.fontSize >= 0.6 * 0.8 * chart.rootFontSize, `subtitle at ${subtitle.fontSize}px`);
            if (expected.kind === 'modality') {
              assert.deepEqual([title.fontSize, subtitle.fontSize], [1.2 * chart.rootFontSize, 0.8 * chart.rootFontSize],
                'the modality charts keep the library\'s sizes');
            }
          });

          if (expected.kind === 'lift') {
            test('secondary y axis runs from 0 to 100 by 10', () => {
              const secondary = chart.yAxes[1];
              assert.deepEqual([secondary.min, secondary.max], [0, 100]);
              assert.deepEqual(secondary.ticks, TEN_TO_HUNDRED);
            });

            test('primary y axis keeps its own range', () => {
              if (expected.primary) {
                assert.deepEqual([chart.yAxes[0].min, chart.yAxes[0].max], [expected.primary.min, expected.primary.max]);
              } else {
                assert.ok(chart.yAxes[0].max < 1, `score axis up to ${chart.yAxes[0].max}`);
              }
            });

            test('legend floats at (350, 270) clear of the x-axis labels', () => {
              assert.ok(chart.legend, 'a legend');
              assert.ok(Math.abs(chart.legend.left - 350) <= 5 && Math.abs(chart.legend.top - 270) <= 5,
                `legend at (${chart.legend.left}, ${chart.legend.top})`);
              assert.ok(!chart.legend.items.includes('random') && !chart.legend.items.includes('quillo'));
              for (const label of chart.xLabels) {
                assert.ok(!overlaps(chart.legend, label), `legend covers an x label at ${JSON.stringify(label)}`);
              }
            });

            test('marker: false draws lines without markers', () => {
              for (const s of chart.series) {
                const plain = ['random', 'quillo', 'Lift Test 99%t', 'Lift Test 1%'].includes(s.name);
                assert.equal(s.markers > 0, !plain, `${s.name}: ${s.markers} markers`);
                // Read as the documented option, not left to the library's leniency.
                assert.equal(typeof s.markerOption, 'object', `${s.name} marker option`);
                assert.equal(s.markerOption.enabled, plain ? false : undefined, `${s.name} marker enabled`);
              }
            });
          } else {
            test('has no legend', () => {
              assert.equal(chart.legend, null);
              assert.equal(chart.legendOption.enabled, false);
            });
          }
        });
      }
    });
  }
}

// Hovers a point by the library's own tooltip call and reads the tooltip text;
// the page's formatters run here, errors included.
async function tooltip(file, id, series, point) {
  return opened.get(`${FIRST} ${file}`).page.evaluate(({id, series, point}) => {
    const chart = Highcharts.charts.find((c) => c && c.renderTo.id === id);
    const points = chart.series[series].points;
    chart.tooltip.refresh(points[point]);
    return chart.tooltip.label.element.textContent;
  }, {id, series, point});
}

describe('tooltips of the page scripts', () => {
  const cases = [
    {name: 'modality chart names the category', file: 'binary-charts.html', id: 'container1', series: 0, point: 1,
      shows: ['26-40', 'Count= 410', 'Target= 37', 'Proba.Target= 9.02%', 'Mean Target= 8.6']},
    {name: 'continuous modality chart names the category', file: 'continuous-charts.html', id: 'container7', series: 1, point: 2,
      shows: ['high', 'Count= 290', 'Target= 4.75']},
    {name: 'test lift shows the band of the three test curves', file: 'binary-charts.html', id: 'selectedPruned', series: 4, point: 10,
      shows: ['Lift Test', 'x = 20', ' < ']},
    // Curves run from 0 to 200 while the x axis shows 10 to 190: points 25 to 475.
    {name: 'prediction error near the left end', file: 'continuous-charts.html', id: 'selectedPruned', series: 3, point: 30,
      shows: ['Absolute Prediction Error', 'x = 12.0', ' < ']},
    {name: 'prediction error in the middle', file: 'continuous-charts.html', id: 'selectedPruned', series: 4, point: 250,
      shows: ['Absolute Prediction Error High', ' < ']},
    {name: 'prediction error near the right end', file: 'continuous-charts.html', id: 'selectedPruned', series: 5, point: 470,
      shows: ['Absolute Prediction Error Low', 'x = 188.', ' < ']},
    {name: 'prediction scatter shows real and predicted', file: 'continuous-charts.html', id: 'delivered', series: 0, point: 100,
      shows: ['Final Model Full', 'real', 'predicted=']},
  ];
  for (const c of cases) {
    test(c.name, async () => {
      const text = await tooltip(c.file, c.id, c.series, c.point);
      for (const part of c.shows) {
        assert.ok(text.includes(part), `"${part}" in tooltip "${text}"`);
      }
      assert.deepEqual(opened.get(`${FIRST} ${c.file}`).errors, []);
    });
  }
});

// A bare page with the bundle, for what the fixtures do not show.
async function barePage(body = '') {
  const opened = await browser.newPage();
  await opened.page.setContent(`<!DOCTYPE html><html><head></head><body style="margin: 0">${body}</body></html>`);
  await opened.page.addScriptTag({path: BUNDLE});
  return opened;
}

describe('ready handlers', () => {
  test('run in their order, one that throws stopping no other and reported as jQuery reports it', async () => {
    const {page, errors} = await barePage();
    try {
      const order = await page.evaluate(() => new Promise((resolve) => {
        const order = [];
        $(() => order.push(1));
        $(() => {
          throw new TypeError('broken chart script');
        });
        $(document).ready(() => {
          order.push(3);
          $(() => {
            order.push(5);
            setTimeout(() => resolve(order), 50);
          });
        });
        $(() => order.push(4));
      }));
      assert.deepEqual(order, [1, 3, 4, 5]);
      assert.equal(errors.length, 2, errors.join('\n'));
      assert.ok(errors.some((e) => e.startsWith('console.warning: jQuery.Deferred exception: broken chart script')));
      assert.ok(errors.includes('uncaught: broken chart script'));
    } finally {
      await page.close();
    }
  });

  test('run after the document is ready', async () => {
    const {page} = await barePage();
    try {
      const state = await page.evaluate(() => new Promise((resolve) => {
        $(() => resolve(document.readyState));
      }));
      assert.notEqual(state, 'loading');
    } finally {
      await page.close();
    }
  });
});

describe('charts outside the window', () => {
  // A chart whose container is outside the window is built later (see drawing.test.mjs).
  const drawnCharts = (page, ids) => page.waitForFunction((ids) => ids.every((id) => Highcharts.charts
    .some((c) => c && c.renderTo.id === id && c.hasRendered)), ids, {timeout: 15000});

  test('are drawn later and without the grow-in animation, those in it at once and growing in', async () => {
    const {page, errors} = await barePage(
      '<div id="seen" style="width: 400px; height: 300px"></div>'
      + '<div style="height: 3000px"></div>'
      + '<div id="below" style="width: 400px; height: 300px"></div>');
    try {
      const atOnce = await page.evaluate(() => ['seen', 'below'].map((id) =>
        new Highcharts.Chart({chart: {renderTo: id}, series: [{type: 'column', data: [3, 1, 2]}]}).hasRendered === true));
      assert.deepEqual(atOnce, [true, false]);
      await drawnCharts(page, ['seen', 'below']);
      const animation = await page.evaluate(() => ['seen', 'below'].map((id) =>
        Highcharts.charts.find((c) => c && c.renderTo.id === id).series[0].options.animation));
      assert.notEqual(animation[0], false, 'the chart in the window grows in');
      assert.equal(animation[1], false, 'the chart below the window stands at once');
      assert.deepEqual(errors, []);
    } finally {
      await page.close();
    }
  });

  test('one that fails when built is reported and stops no other', async () => {
    const {page, errors} = await barePage(
      '<div style="height: 3000px"></div>'
      + '<div id="broken" style="width: 400px; height: 300px"></div>'
      + '<div id="whole" style="width: 400px; height: 300px"></div>');
    try {
      await page.evaluate(() => ['broken', 'whole'].forEach((id) => new Highcharts.Chart({chart: {renderTo: id},
        series: [{type: id === 'broken' ? 'no such type' : 'column', data: [3, 1, 2]}]})));
      await drawnCharts(page, ['whole']);
      // The error is thrown in a task of its own, queued before this one.
      await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 0)));
      assert.ok(errors.some((e) => /^uncaught: Highcharts error #17/.test(e)), errors.join('\n'));
    } finally {
      await page.close();
    }
  });
});
