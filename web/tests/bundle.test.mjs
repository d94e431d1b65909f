// The bundle on bare pages. The sparkline plugin: each case of sparkline-cases.json puts its
// markup (by default a span holding its text) into a page, runs $(elements).sparkline(values,
// options) on its elements of class t (again with `then`, when given) and compares what became of
// the first: its content left in place, or its canvas's size and picture, one letter a pixel ('.'
// nothing, '?' an anti-aliased edge, either way; the letters are the colours of COLORS). The chart
// scheduling: a ready handler that fails stops no other, and charts outside the window are built
// later (see drawing.test.mjs); the charts themselves are checked on drawn pages (pages.test.mjs).
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {join} from 'node:path';
import {BUNDLE, WEB_DIR, launchBrowser} from '../lib/pages.mjs';

const {configs, cases} = JSON.parse(readFileSync(join(WEB_DIR, 'tests', 'sparkline-cases.json'), 'utf8'));
const COLORS = {g: [0, 128, 0], b: [0, 0, 255], r: [255, 0, 0], o: [255, 136, 0], s: [204, 204, 204],
  l: [204, 221, 255], p: [255, 68, 68], x: [0, 255, 0], d: [136, 136, 136], k: [0, 0, 0]};

let browser;
let page;
let errors;

before(async () => {
  browser = await launchBrowser();
  ({page, errors} = await browser.newPage());
  await page.setContent('<!DOCTYPE html><html><head></head><body style="font: 16px sans-serif"></body></html>');
  await page.addScriptTag({path: BUNDLE});
});

after(async () => {
  await browser?.close();
});

function draw({markup, text = '', calls, colors}) {
  const holder = document.body.appendChild(document.createElement('div'));
  holder.innerHTML = markup ?? `<span class="t">${text}</span>`;
  const element = holder.querySelector('.t');
  const probe = element.appendChild(document.createElement('span'));
  probe.textContent = 'X';
  const line = probe.offsetHeight;
  probe.remove();
  for (const {values, options} of calls) {
    $(holder).find('.t').sparkline(values, options);
  }
  const canvas = element.querySelector('canvas');
  const seen = {canvases: element.querySelectorAll('canvas').length, html: element.innerHTML};
  if (canvas && element.childNodes.length === 1) {
    const {width, height} = canvas;
    const data = width && height ? canvas.getContext('2d').getImageData(0, 0, width, height).data : [];
    const letter = (i) => data[i + 3] < 64 ? '.' : Object.keys(colors).find((c) => data[i + 3] >= 192
      && Math.hypot(data[i] - colors[c][0], data[i + 1] - colors[c][1], data[i + 2] - colors[c][2]) <= 12) ?? '?';
    seen.size = [width, height === line ? 'line' : height, canvas.getBoundingClientRect().width];
    seen.art = Array.from({length: height}, (_, y) => Array.from({length: width}, (_, x) => letter(4 * (y * width + x))).join(''));
    delete seen.html;
  }
  holder.remove();
  return seen;
}

// '?' on either side matches any pixel; otherwise the letters must agree.
function sameArt(actual, expected) {
  return actual.length === expected.length && actual.every((row, y) => row.length === expected[y].length
    && [...row].every((c, x) => c === expected[y][x] || c === '?' || expected[y][x] === '?'));
}

describe('sparkline cases', () => {
  for (const c of cases) {
    test(c.name, async () => {
      const calls = [c, ...(c.then ? [c.then] : [])].map(({values, base, options}) => ({
        values, options: {...configs[base], ...options}}));
      const seen = await page.evaluate(draw, {markup: c.markup, text: c.text, calls, colors: COLORS});
      const {art, ...rest} = seen;
      assert.deepEqual(rest, {canvases: c.canvases ?? 1, ...(c.html !== undefined ? {html: c.html} : {size: c.size})});
      assert.ok(!c.art || sameArt(art, c.art), `picture:\n${art?.join('\n')}\nexpected:\n${c.art?.join('\n')}`);
      assert.deepEqual(errors, []);
    });
  }
});

test('200 sparklines are measured with one layout of the page, not one each', async () => {
  const cdp = await browser.context.newCDPSession(page);
  await cdp.send('Performance.enable');
  const layouts = async () => (await cdp.send('Performance.getMetrics')).metrics.find((m) => m.name === 'LayoutCount').value;
  await page.evaluate(() => {
    document.body.insertAdjacentHTML('beforeend', `<table id="many">${'<tr><td><span class="many">0,0.1,3,1,2</span></td></tr>'.repeat(200)}</table>`);
    return document.body.offsetHeight;
  });
  const before = await layouts();
  const drawn = await page.evaluate((options) => $('.many').sparkline('myhtml', options)
    .map((i, span) => span.innerHTML.replace(/^<canvas width="(\d+)" height="\d+".*><\/canvas>$/, '$1')).get(), configs['page line']);
  const after = await layouts();
  await page.evaluate(() => document.getElementById('many').remove());
  await cdp.detach();
  assert.deepEqual([...new Set(drawn)], ['24']);
  // One for the measuring; jQuery may add a few for its one-off feature tests.
  assert.ok(after - before <= 5, `${after - before} layouts for 200 sparklines`);
});

// Runs `script` (which may return a promise) in a page of the bundle and `body`.
async function bare(body, script) {
  const {page, errors} = await browser.newPage();
  try {
    await page.setContent(`<!DOCTYPE html><html><head></head><body style="margin: 0">${body}</body></html>`);
    await page.addScriptTag({path: BUNDLE});
    const result = await page.evaluate(script);
    // Errors of deferred work are thrown in tasks of their own, queued before this one.
    await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 0)));
    return {result, errors};
  } finally {
    await page.close();
  }
}

test('ready handlers run in their order once the document is ready, one that throws reported as jQuery does', async () => {
  const {result, errors} = await bare('', () => new Promise((resolve) => {
    const order = [];
    $(() => order.push(document.readyState === 'loading' ? 'early' : 1));
    $(() => {
      throw new TypeError('broken chart script');
    });
    $(document).ready(() => {
      order.push(3);
      $(() => order.push(5) && setTimeout(() => resolve(order), 50));
    });
    $(() => order.push(4));
  }));
  assert.deepEqual(result, [1, 3, 4, 5]);
  assert.deepEqual(errors.map((e) => e.replace(/(broken chart script).*/s, '$1')),
    ['console.warning: jQuery.Deferred exception: broken chart script', 'uncaught: broken chart script']);
});

test('charts below the window are built later, one that fails reported and stopping no other', async () => {
  const {result, errors} = await bare('<div id="seen" style="width: 400px; height: 300px"></div><div style="height: 3000px">'
    + '</div><div id="broken" style="width: 400px; height: 300px"></div><div id="below" style="width: 400px; height: 300px">',
  () => new Promise((resolve) => {
    const built = ['seen', 'broken', 'below'].map((id) => new Highcharts.Chart({chart: {renderTo: id},
      yAxis: {labels: {formatter: id === 'broken' ? () => {
        throw new TypeError('broken axis labels');
      } : undefined}},
      series: [{type: 'column', data: [3, 1, 2]}]}).hasRendered === true);
    const drawn = () => Highcharts.charts.filter((c) => c && c.hasRendered);
    const check = () => drawn().length < 2 ? setTimeout(check, 50)
      : resolve({built, drawn: drawn().map((c) => c.renderTo.id)});
    check();
  }));
  assert.deepEqual(result, {built: [true, false, false], drawn: ['seen', 'below']});
  assert.deepEqual(errors.map((e) => e.replace(/(broken axis labels).*/s, '$1')),
    ['console.warning: jQuery.Deferred exception: broken axis labels', 'uncaught: broken axis labels']);
});
