// What a reader does with a drawn chart, with a real pointer on the fixture page: drags a
// rectangle to zoom in, goes back to the whole chart, hovers points of the zoomed view, reads a
// slanted category name that was cut short, and comes to a chart that kept only its drawing.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {readFile} from 'node:fs/promises';
import {join} from 'node:path';
import {WEB_DIR, chartsDrawn, fileUrl, launchBrowser} from '../lib/pages.mjs';

let browser;
let page;
let errors;

before(async () => {
  browser = await launchBrowser();
  ({page, errors} = await browser.newPage());
  await page.goto(fileUrl(join(WEB_DIR, 'tests', 'fixtures', 'binary-charts.html')));
  assert.ok(await chartsDrawn(page, 4, 30000), 'every chart drawn');
});

after(() => browser?.close());

// The texts under the plot, left to right, as the reader sees them: the x axis's labels.
function xLabels(id) {
  return page.evaluate((id) => {
    const chart = Highcharts.charts.find((c) => c.renderTo.id === id);
    const box = chart.renderTo.getBoundingClientRect();
    let bottom = Math.round(box.height);
    while (bottom > 0 && !chart.instance.containPixel({gridIndex: 0}, [box.width / 2, bottom])) {
      bottom--;
    }
    return Array.from(chart.renderTo.querySelectorAll('svg text'), (t) => ({text: t.textContent, r: t.getBoundingClientRect()}))
      .filter(({text, r}) => text !== '' && r.top - box.top >= bottom && r.top - box.top < bottom + 20)
      .sort((a, b) => a.r.left - b.r.left).map(({text}) => text);
  }, id);
}

// The tracked point drawn nearest the chart's middle, in page coordinates, and the text of its tooltip.
function middlePoint(id) {
  return page.evaluate((id) => {
    const chart = Highcharts.charts.find((c) => c.renderTo.id === id);
    const box = chart.renderTo.getBoundingClientRect();
    const plain = (html) => new DOMParser().parseFromString(html, 'text/html').body.textContent;
    let best = null;
    chart.series.forEach((s, index) => s.userOptions.enableMouseTracking !== false && s.points.forEach((p) => {
      const at = p.y === null ? null
        : chart.instance.convertToPixel({seriesIndex: chart.order.indexOf(index)}, [chart.isCategories() ? p.index : p.x, p.y]);
      const distance = at && Math.hypot(at[0] - box.width / 2, at[1] - box.height / 2);
      if (at && (!best || distance < best.distance)) {
        best = {distance, x: box.left + at[0], y: box.top + at[1], text: plain(chart.tooltipHtml(s, p))};
      }
    }));
    return best;
  }, id);
}

const tooltip = (id) => page.evaluate((id) => {
  const box = document.querySelector(`#${id} .anarep-tooltip`);
  return box && box.style.display !== 'none' ? box.textContent : null;
}, id);

const resetShown = (id) => page.evaluate((id) => !document.querySelector(`#${id} .anarep-reset`).hidden, id);

describe('drag zoom', () => {
  const RESETS = {
    'its control': (id) => page.click(`#${id} .anarep-reset`),
    'a double click': async (id, box) => page.mouse.dblclick(box.x + box.width / 2, box.y + box.height / 2),
  };
  const CASES = [
    {id: 'delivered', axis: 'numbers', reset: 'its control'},
    {id: 'container2', axis: 'categories', reset: 'a double click'},
  ];
  for (const {id, axis, reset} of CASES) {
    test(`${id}: a drag narrows the x axis of ${axis}, tooltips follow, ${reset} shows the whole chart`, async () => {
      await page.locator(`#${id}`).scrollIntoViewIfNeeded();
      const box = await page.locator(`#${id}`).boundingBox();
      const whole = await xLabels(id);
      assert.equal(await resetShown(id), false, 'no reset control before a zoom');

      await page.mouse.move(box.x + 0.4 * box.width, box.y + 0.3 * box.height);
      await page.mouse.down();
      await page.mouse.move(box.x + 0.6 * box.width, box.y + 0.7 * box.height, {steps: 8});
      await page.mouse.up();
      const zoomed = await xLabels(id);
      assert.ok(await resetShown(id), 'the reset control shows');
      if (axis === 'numbers') {
        assert.ok(Number(zoomed[0]) > Number(whole[0]) && Number(zoomed.at(-1)) < Number(whole.at(-1)), `${whole} → ${zoomed}`);
      } else {
        assert.ok(zoomed.length > 0 && zoomed.length < whole.length / 2 && zoomed.every((name) => whole.includes(name)), `${whole} → ${zoomed}`);
      }

      const point = await middlePoint(id);
      await page.mouse.move(point.x, point.y);
      assert.equal(await tooltip(id), point.text);

      await RESETS[reset](id, box);
      assert.deepEqual(await xLabels(id), whole);
      assert.equal(await resetShown(id), false, 'the reset control hides');
      assert.deepEqual(errors, []);
    });
  }
});

test('a category name cut short shows whole under the pointer, and only there', async () => {
  const labels = page.locator('#container1 svg text');
  await labels.first().scrollIntoViewIfNeeded();
  const place = async (text) => {
    const r = await labels.filter({hasText: text}).boundingBox();
    return [r.x + r.width / 2, r.y + r.height / 2];
  };
  const seen = [];
  // Where the name is cut depends on the font's widths: the one cut label is the one ending in "…".
  for (const label of ['\u2026', '18-25']) {
    await page.mouse.move(...await place(label), {steps: 4});
    seen.push(await tooltip('container1'));
  }
  assert.deepEqual(seen, ['61 and over, retired or not in work', null]);
  assert.deepEqual(errors, []);
});

// A drawn chart the reader is not at keeps only its drawing; the library's instance is made again
// when the reader comes to it. The first move onto a point shows its tooltip, the keyboard reaches
// the save control, and the chart is let go again once the pointer and the focus have left it.
describe('a chart kept as its drawing', () => {
  const ID = 'selectedPruned';
  // The library marks the container of a live instance with the instance's id.
  const letGo = () => page.waitForFunction((id) => document.getElementById(id).getAttribute('_echarts_instance_') === '',
    ID, {timeout: 30000, polling: 100}).then(() => true, () => false);

  test('the first move onto a point shows its tooltip', async () => {
    await page.locator(`#${ID}`).scrollIntoViewIfNeeded();
    const point = await middlePoint(ID);
    const box = await page.locator(`#${ID}`).boundingBox();
    await page.mouse.move(box.x + 2, box.y + 2);
    await page.mouse.move(1, 1);
    assert.ok(await letGo(), 'let go after the pointer left');
    await page.mouse.move(point.x, point.y);
    assert.equal(await tooltip(ID), point.text);
    assert.deepEqual(errors, []);
  });

  test('the save control, reached by the keyboard, saves the whole drawing', async () => {
    await page.mouse.move(1, 1);
    assert.ok(await letGo(), 'let go after the pointer left');
    const texts = await page.evaluate((id) => Array.from(document.querySelectorAll(`#${id} svg text`), (t) => t.textContent)
      .filter(Boolean).sort(), ID);
    await page.focus(`#${ID} .anarep-save`);
    const [download] = await Promise.all([page.waitForEvent('download'), page.keyboard.press('Enter')]);
    const saved = await readFile(await download.path(), 'utf8');
    const savedTexts = await page.evaluate((svg) => Array.from(new DOMParser().parseFromString(svg, 'image/svg+xml')
      .querySelectorAll('text'), (t) => t.textContent).filter(Boolean).sort(), saved);
    assert.deepEqual(savedTexts, texts);
    await page.evaluate(() => document.activeElement.blur());
    assert.ok(await letGo(), 'let go after the focus left');
    assert.deepEqual(errors, []);
  });
});
