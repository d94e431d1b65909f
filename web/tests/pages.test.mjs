// Every report page the program makes from the example, the shared samples, the conformance
// and golden cases, a run of odd names given from the folder above and a self-contained page,
// and the fixture pages (the page's chart scripts with made-up 1000-point curves), opened from
// disk as an analyst opens them, once with each font set. Each check lists what it finds wrong
// in the page (page-checks.mjs); it must find nothing.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {existsSync} from 'node:fs';
import {cp, mkdtemp, readFile, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {EXAMPLES, FONT_SETS, REPO_DIR, WEB_DIR, chartContainers, chartsDrawn, fileUrl, launchBrowser, makePage, pairRun, reportRuns, watch} from '../lib/pages.mjs';
import {inspectPage} from './page-checks.mjs';

const example = pairRun(EXAMPLES, join(EXAMPLES, 'breast_cancer_analysisReport.xml'), 'examples');
const odd = 'runs/housing #1 50%';
// The drv_ cases hold degenerate and hostile documents for the program's messages and limits: the
// run check proves their pages whole, but a curve of one repeated point has nothing to draw.
const RUNS = [
  ...reportRuns().filter((run) => !run.label.startsWith('golden/drv_')),
  {...example, label: 'self-contained page', args: ['--self-contained', ...example.args], alone: true},
  {label: 'odd names, given from the folder above', page: `${odd}.html`, args: [`${odd}.xml`, `${odd} charts.xml`], files: ['runs'],
    renamed: {'housing.xml': `${odd}.xml`, 'housing_charts.xml': `${odd} charts.xml`}},
  ...['binary', 'continuous'].map((kind) => ({label: `fixtures/${kind}-charts`, kind,
    fixture: join(WEB_DIR, 'tests', 'fixtures', `${kind}-charts.html`)})),
];
const CONTRACT = JSON.parse(await readFile(join(WEB_DIR, 'src', 'page-contract.json'), 'utf8'));
const browsers = [];
const prepared = new Map();

// The page in one font set: what the checks found, the browser's messages and the requests it
// made besides the page itself.
async function view(browser, fonts, path, run, layoutOnly) {
  const page = await browser.context.newPage();
  const requests = [];
  page.on('request', (request) => request.url() !== fileUrl(path) && requests.push(request.url()));
  const messages = watch(page);
  try {
    await page.goto(fileUrl(path));
    const html = await readFile(path, 'utf8');
    const containers = chartContainers(html);
    const spans = Object.fromEntries(['orbLine', 'orbBox'].map((cls) => [cls,
      Array.from(html.matchAll(new RegExp(`<span class="${cls}">([^<]*)</span>`, 'g')), (m) => m[1])]));
    const drawn = await chartsDrawn(page, containers.length);
    const found = await page.evaluate(inspectPage, {containers, spans, kind: run.kind, layoutOnly, contract: CONTRACT});
    // The containers as the page file writes them.
    for (const [, id, style] of html.matchAll(/<div id="([^"]*)" style="([^"]*)"><\/div>/g)) {
      if (new RegExp(CONTRACT.containers.id).test(id) !== new RegExp(CONTRACT.containers.style).test(style)) {
        found.contract.push(`container ${id}: style "${style}"`);
      }
    }
    // The page's messages are those a reader gets, taken before the browser is asked for the font:
    // DevTools' CSS domain, once enabled, reads the page file again for its styles, and Chromium 150
    // refuses that read from a file: page and logs the refusal as the page's own console error.
    const said = messages.slice();
    // The font the charts were drawn in, from the browser's own account.
    const session = await page.context().newCDPSession(page);
    await Promise.all(['DOM.enable', 'CSS.enable'].map((command) => session.send(command)));
    const {root} = await session.send('DOM.getDocument', {depth: -1});
    const {nodeId} = await session.send('DOM.querySelector', {nodeId: root.nodeId, selector: 'div[_echarts_instance_] svg text'});
    const used = nodeId ? (await session.send('CSS.getPlatformFontsForNode', {nodeId})).fonts : [];
    found.layout.push(...(drawn ? [] : ['charts did not all draw']),
      ...used.map((f) => f.familyName).filter((name) => name !== fonts.sans).map((name) => `drawn in ${name}`));
    return {found, messages: said, requests};
  } catch (error) {
    return {broken: error.message};
  } finally {
    await page.close();
  }
}

// Makes the run's page (or takes the fixture) and reads it in each font set at once.
async function prepare(run) {
  if (run.renamed) {
    run.dir = run.scratch = await mkdtemp(join(tmpdir(), 'anarep-odd-'));
    for (const [from, to] of Object.entries(run.renamed)) {
      await cp(join(REPO_DIR, 'tests', 'golden', 'cont_two_args', from), join(run.dir, to));
    }
  }
  const made = run.fixture ? {code: 0, page: run.fixture} : await makePage(run);
  const views = made.code === 0 && existsSync(made.page)
    ? await Promise.all(FONT_SETS.map((fonts, i) => view(browsers[i], fonts, made.page, run, i > 0))) : [];
  return {made, views};
}

before(async () => {
  for (const fonts of FONT_SETS) {
    browsers.push(await launchBrowser({fonts}));
  }
  // Two runs at a time: one is made or drawn while the other waits on the browser.
  const lanes = [Promise.resolve(), Promise.resolve()];
  RUNS.forEach((run, i) => {
    prepared.set(run, lanes[i % 2].then(() => prepare(run)));
    lanes[i % 2] = prepared.get(run).catch(() => {});
  });
});

after(() => Promise.all(browsers.map((browser) => browser.close())));

for (const run of RUNS) {
  describe(run.label, () => {
    let made;
    let views;

    before(async () => {
      ({made, views} = await prepared.get(run));
    });

    after(() => Promise.all([made?.remove?.(), run.scratch && rm(run.scratch, {recursive: true, force: true})]));

    function opened(font = 0) {
      assert.equal(made.code, 0, `anarep ${run.args?.join(' ')}: ${made.message ?? made.stdout}`);
      assert.ok(views[font] && !views[font].broken, `page ${made.page} not read: ${views[font]?.broken}`);
      return views[font];
    }

    test('no page error, no console error, nothing loaded but its own files', (t) => {
      const {messages, requests, found} = opened();
      // A signaletic variable's image is made by the modelling run, which the cases do not carry:
      // its absence is the only failure a page may show. Warnings tell of odd input.
      const images = new Set(found.images);
      messages.filter((m) => m.type === 'warning').forEach((m) => t.diagnostic(`${m.text} (${m.url})`));
      assert.deepEqual(messages.filter((m) => m.type !== 'warning' && !(images.has(m.url) && /ERR_FILE_NOT_FOUND/.test(m.text))), []);
      if (!run.fixture) {
        const side = fileUrl(made.page).replace(/\.html$/, '_files/');
        const own = requests.filter((url) => !url.startsWith('data:') && !images.has(url));
        assert.deepEqual(own.filter((url) => run.alone || !url.startsWith(side)), [], 'requests');
        assert.equal(existsSync(made.page.replace(/\.html$/, '_files')), !run.alone, 'side folder');
        assert.ok(run.alone || own.includes(`${side}orbi.min.js`), 'the bundle from the side folder');
        assert.equal(found.logo, 101, 'logo width');
      }
    });

    for (const group of ['charts', 'points', 'lifts', 'sparklines', 'links', 'tooltips', 'aria', 'contract']) {
      test(group, () => assert.deepEqual(opened().found[group], []));
    }
    // Text widths differ by font: every chart text must lie inside its chart in both.
    FONT_SETS.forEach((fonts, i) => test(`${fonts.name}: layout`, () => assert.deepEqual(opened(i).found.layout, [])));
  });
}
