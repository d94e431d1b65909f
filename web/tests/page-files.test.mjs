// Where the page finds its scripts and logo. A run given a folder in its path, started from
// another folder, must make a page that draws wherever it lies; a self-contained page must draw
// the same with no file beside it, loading nothing but what the document itself names.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {execFile} from 'node:child_process';
import {existsSync} from 'node:fs';
import {cp, mkdir, mkdtemp, readFile, rename, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {basename, join} from 'node:path';
import {promisify} from 'node:util';
import {REPO_DIR, fileUrl, launchBrowser} from './browser.mjs';
import {ANAREP, EXAMPLES, chartContainers, chartsDrawn, watch} from '../tools/report-pages.mjs';

// Inputs copied under runs/, with names that a URL would read otherwise (a blank, # and %).
const RUNS = [
  {label: 'binary target, chart document found by name', dir: EXAMPLES, copies: [
    ['breast_cancer_analysisReport.xml', 'model #1 50%_analysisReport.xml'],
    ['breast_cancer_graphs.xml', 'model #1 50%_graphs.xml'],
    ['breast_cancer_images', 'breast_cancer_images'],
  ], args: ['runs/model #1 50%_analysisReport.xml']},
  {label: 'continuous target, both documents named', dir: join(REPO_DIR, 'tests', 'golden', 'cont_two_args'), copies: [
    ['housing.xml', 'housing run.xml'],
    ['housing_charts.xml', 'housing run charts.xml'],
  ], args: ['runs/housing run.xml', 'runs/housing run charts.xml']},
];

// What a page shows once drawn: each chart's points per series, the sparkline spans and
// those replaced by a canvas, the logo's width, and the images the document names.
function drawing() {
  return {
    charts: Highcharts.charts.filter(Boolean).map((chart) => ({
      id: chart.renderTo.id,
      drawn: chart.hasRendered && chart.container.querySelector('svg.highcharts-root') !== null,
      points: chart.series.map((s) => s.points.length),
    })),
    spans: document.querySelectorAll('span.orbLine, span.orbBox').length,
    canvases: document.querySelectorAll('span.orbLine > canvas:only-child, span.orbBox > canvas:only-child').length,
    logo: document.querySelector('h1 img').naturalWidth,
    graphs: Array.from(document.querySelectorAll('img[alt="graph"]'), (img) => img.src),
  };
}

let browser;
let work;

before(async () => {
  browser = await launchBrowser();
  work = await mkdtemp(join(tmpdir(), 'anarep-files-'));
});

after(async () => {
  await browser?.close();
  await rm(work, {recursive: true, force: true});
});

async function anarep(args, cwd) {
  const {stdout} = await promisify(execFile)(ANAREP, args, {cwd, timeout: 120000});
  return stdout;
}

// Opens the page; every request it makes but the page's own is recorded.
async function open(path) {
  const page = await browser.context.newPage();
  const requests = [];
  page.on('request', (request) => requests.push(request.url()));
  const messages = watch(page);
  try {
    await page.goto(fileUrl(path));
    const html = await readFile(path, 'utf8');
    assert.ok(await chartsDrawn(page, chartContainers(html).length), 'charts did not all draw');
    const seen = await page.evaluate(drawing);
    return {seen, messages, containers: chartContainers(html), requests: requests.filter((url) => url !== page.url())};
  } finally {
    await page.close();
  }
}

function assertDrawn({seen, messages, containers}, what) {
  assert.deepEqual(seen.charts.map((c) => c.id), containers, `${what}: one chart per container`);
  assert.ok(seen.charts.every((c) => c.drawn && c.points.length > 0), `${what}: every chart drawn with series`);
  assert.ok(seen.spans > 0 && seen.canvases === seen.spans, `${what}: ${seen.canvases} of ${seen.spans} sparklines`);
  assert.equal(seen.logo, 101, `${what}: logo`);
  // Only the document's own images may be missing, and only beside the lone page.
  const missing = new Set(seen.graphs);
  assert.deepEqual(messages.filter((m) => !(m.type === 'error' && missing.has(m.url))), [], `${what}: browser messages`);
}

for (const [index, run] of RUNS.entries()) {
  describe(run.label, () => {
    const home = () => join(work, `run${index}`);
    const base = run.args[0].slice(0, -4);
    const page = () => join(home(), `${base}.html`);
    const side = () => join(home(), `${base}_files`);
    let usual;

    before(async () => {
      for (const [from, to] of run.copies) {
        await cp(join(run.dir, from), join(home(), 'runs', to), {recursive: true});
      }
    });

    test('a run given with its folder, from another folder, makes a page that draws there', async () => {
      assert.equal(await anarep(run.args, home()), 'All Ok.\n');
      const reference = encodeURIComponent(basename(base)).replace(/%20/g, ' ');
      assert.ok((await readFile(page(), 'utf8')).includes(`src="${reference}_files/orbi.min.js"`),
        'the script is named from beside the page');
      usual = await open(page());
      assertDrawn(usual, 'page beside its side folder');
      assert.ok(usual.requests.some((url) => url.endsWith('_files/orbi.min.js')), 'the side folder was used');
    });

    test('a self-contained page draws alone, like the usual one, and loads nothing else', async () => {
      await rm(side(), {recursive: true});
      assert.equal(await anarep(['--self-contained', ...run.args], home()), 'All Ok.\n');
      assert.ok(!existsSync(side()), 'a side folder was made');
      const alone = join(home(), 'alone');
      await mkdir(alone);
      await rename(page(), join(alone, 'page.html'));

      const lone = await open(join(alone, 'page.html'));
      assertDrawn(lone, 'self-contained page');
      const graphs = new Set(lone.seen.graphs);
      assert.deepEqual(lone.requests.filter((url) => !url.startsWith('data:') && !graphs.has(url)), []);
      assert.deepEqual(lone.seen.charts, usual.seen.charts, 'the same charts as the usual page');
      assert.equal(lone.seen.spans, usual.seen.spans);
    });
  });
}
