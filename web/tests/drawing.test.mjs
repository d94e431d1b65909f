// Charts drawn as they come into view, on a generated report page opened in a 1280 × 1600
// window: those in the first window without scrolling, the others soon after, nearest
// first; after a jump through a ranking link or a scroll, the chart in view before any
// other; printing draws them all at once.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {execFile} from 'node:child_process';
import {mkdtemp, readFile, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {promisify} from 'node:util';
import {REPO_DIR, WEB_DIR, chartContainers, chartsDrawn, fileUrl, launchBrowser, makePage, pairRun} from '../lib/pages.mjs';

const VARIABLES = 40;
let browser;
let folder;
let made;
let containers;

// Notes the order in which the charts are drawn, and which containers lie in the first window.
// A move (script text) is made as soon as the last chart of the first window is drawn, in
// the task after: a quick machine draws every other chart in the first slice after that, so
// a move made from outside the page could come after them all.
function noteDrawing(move) {
  window.__drawn = [];
  document.addEventListener('DOMContentLoaded', () => {
    window.__firstWindow = Array.from(document.querySelectorAll('div[id]'))
      .filter((div) => /^(delivered|selectedPruned|container)/.test(div.id))
      .filter((div) => div.getBoundingClientRect().top < innerHeight).map((div) => div.id);
    document.addEventListener('chartdrawn', (event) => {
      window.__drawn.push(event.target.id);
      if (move && event.target.id === 'selectedPruned') {
        setTimeout(() => {
          window.__movedAt = window.__drawn.length;
          (0, eval)(move);
        });
      }
    });
  });
}

before(async () => {
  folder = await mkdtemp(join(tmpdir(), 'anarep-drawing-'));
  await promisify(execFile)(join(REPO_DIR, 'tools', 'gen-scale'), [folder, '--name', 'wide', '--vars',
    String(VARIABLES), '--modalities', '20', '--points', '1000']);
  made = await makePage(pairRun(folder, join(folder, 'wide_analysisReport.xml')));
  assert.equal(made.code, 0, made.message);
  containers = chartContainers(await readFile(made.page, 'utf8'));
  // Tall enough for the model charts below the ranking table of 40 variables.
  browser = await launchBrowser({viewport: {width: 1280, height: 1600}});
});

after(async () => {
  await browser?.close();
  await made?.remove();
  await rm(folder, {recursive: true, force: true});
});

async function open(move = null) {
  const {page, errors} = await browser.newPage();
  await page.addInitScript(noteDrawing, move);
  await page.goto(fileUrl(made.page));
  return {page, errors};
}

const drawnIds = (page) => page.evaluate(() => window.__drawn.slice());

describe('a page of many charts', () => {
  test('draws the charts of the first window first, then every other one without scrolling', async () => {
    const {page, errors} = await open();
    try {
      const first = await page.evaluate(() => window.__firstWindow);
      assert.deepEqual(first, ['delivered', 'selectedPruned']);
      assert.ok(await chartsDrawn(page, containers.length, 30000), 'every chart drawn');
      const order = await drawnIds(page);
      assert.deepEqual(order.slice(0, first.length), first);
      assert.deepEqual([...order].sort(), [...containers].sort());
      // Nearest first: down the page from the first window.
      assert.deepEqual(order.slice(first.length), containers.slice(first.length));
      assert.equal(await page.evaluate(() => window.pageYOffset), 0);
      assert.deepEqual(errors, []);
    } finally {
      await page.close();
    }
  });

  // The chart in the window after a jump or a scroll is the next one drawn, whatever the
  // charts drawn so far.
  for (const {name, target, move} of [
    {name: 'a jump through a ranking link to the last variable', target: `container${VARIABLES - 1}`,
      move: `document.querySelector('a[href="#label_${VARIABLES - 1}"]').click()`},
    {name: 'scrolling far down', target: `container${VARIABLES - 5}`,
      move: `document.getElementById('container${VARIABLES - 5}').scrollIntoView()`},
  ]) {
    test(`${name} draws the chart that comes into view next`, async () => {
      const {page, errors} = await open(move);
      try {
        await page.waitForFunction((id) => window.__drawn.includes(id), target);
        const order = await drawnIds(page);
        const before = await page.evaluate(() => window.__movedAt);
        assert.equal(order[before], target, `drawn after the move: ${order.slice(before).join(' ')}`);
        assert.ok(await chartsDrawn(page, containers.length, 30000), 'every chart drawn');
        assert.deepEqual(errors, []);
      } finally {
        await page.close();
      }
    });
  }

  for (const {name, print} of [
    {name: 'the page is about to be printed', print: (page) => page.evaluate(() => window.dispatchEvent(new Event('beforeprint')))},
    {name: 'the page takes the print media', print: (page) => page.emulateMedia({media: 'print'})},
  ]) {
    test(`every chart is drawn at once when ${name}`, async () => {
      const {page, errors} = await open();
      try {
        await page.waitForFunction(() => window.__drawn.includes('selectedPruned'));
        await print(page);
        const counted = await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() =>
          resolve(Highcharts.charts.filter((c) => c && c.hasRendered).length))));
        assert.equal(counted, containers.length);
        assert.deepEqual(errors, []);
      } finally {
        await page.close();
      }
    });
  }
});

test('a printed page holds its charts as vector drawings, without the save controls', async () => {
  const {page, errors} = await browser.newPage();
  try {
    await page.goto(fileUrl(join(WEB_DIR, 'tests', 'fixtures', 'binary-charts.html')));
    assert.ok(await chartsDrawn(page, 4, 30000), 'every chart drawn');
    await page.emulateMedia({media: 'print'});
    const controls = await page.evaluate(() => Array.from(document.querySelectorAll('.anarep-save'), (b) => getComputedStyle(b).display));
    // An image in a PDF is an XObject of subtype Image; the charts' lines and texts are none.
    const pdf = (await page.pdf({format: 'A4'})).toString('latin1');
    assert.deepEqual(controls, ['none', 'none', 'none', 'none']);
    assert.ok(!/\/Subtype\s*\/Image/.test(pdf) && /\/Font/.test(pdf), 'no bitmap, texts as text');
    assert.deepEqual(errors, []);
  } finally {
    await page.close();
  }
});

test('the save control of a chart saves it as an SVG image', async () => {
  const {page, errors} = await browser.newPage();
  try {
    await page.goto(fileUrl(join(WEB_DIR, 'tests', 'fixtures', 'binary-charts.html')));
    assert.ok(await chartsDrawn(page, 4, 30000), 'every chart drawn');
    const [download] = await Promise.all([page.waitForEvent('download'), page.click('#container1 .anarep-save')]);
    const saved = await readFile(await download.path(), 'utf8');
    assert.equal(download.suggestedFilename(), 'container1.svg');
    assert.match(saved, /^<svg [^>]*xmlns="http:\/\/www.w3.org\/2000\/svg"[\s\S]*>Age group<\/text>/);
    assert.deepEqual(errors, []);
  } finally {
    await page.close();
  }
});

