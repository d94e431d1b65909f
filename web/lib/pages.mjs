// Shared by the browser tests and the tools: headless Chromium from the system's package (never a
// downloaded browser) with a throw-away profile, and report pages made by the built program.
import {existsSync, readdirSync, readFileSync, statSync} from 'node:fs';
import {chmod, cp, mkdtemp, readdir, rm, writeFile} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {basename, dirname, join, resolve} from 'node:path';
import {execFile} from 'node:child_process';
import {createHash} from 'node:crypto';
import {promisify} from 'node:util';
import {fileURLToPath, pathToFileURL} from 'node:url';
import {chromium} from 'playwright-core';

export const WEB_DIR = resolve(dirname(fileURLToPath(import.meta.url)), '..');
export const REPO_DIR = resolve(WEB_DIR, '..');
export const BUNDLE = join(REPO_DIR, 'rscFiles', 'orbi.min.js');

// The readers' machines differ in their sans fonts: most Linux desktops have only DejaVu,
// others Liberation (Arial's widths). The layout tests draw the pages with each alone.
export const FONT_SETS = [
  {name: 'DejaVu', dir: '/usr/share/fonts/truetype/dejavu', sans: 'DejaVu Sans'},
  {name: 'Liberation', dir: '/usr/share/fonts/truetype/liberation', sans: 'Liberation Sans'},
];

// Starts the browser, limited to one of FONT_SETS (a fontconfig file naming its folder and the
// system's aliases) when given; close() also removes the profile directory.
export async function launchBrowser({viewport = {width: 1280, height: 1000}, fonts = null} = {}) {
  const profile = await mkdtemp(join(tmpdir(), 'anarep-chromium-'));
  const env = {...process.env};
  if (fonts) {
    if (!existsSync(fonts.dir)) {
      throw new Error(`no ${fonts.name} fonts in ${fonts.dir} (make deps installs them)`);
    }
    env.FONTCONFIG_FILE = join(profile, 'fonts.conf');
    await writeFile(env.FONTCONFIG_FILE, `<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig><dir>${fonts.dir}</dir><include ignore_missing="yes">/etc/fonts/conf.d</include></fontconfig>\n`);
  }
  // Without the networking switches Chromium keeps dialling out, which the test machines refuse.
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium', headless: true, env, viewport, deviceScaleFactor: 1,
    args: ['--no-sandbox', '--disable-gpu', '--disable-background-networking', '--disable-component-update', '--no-first-run'],
  });
  return {
    context,
    // A page whose console errors and warnings and uncaught exceptions are collected in `errors`.
    async newPage() {
      const page = await context.newPage();
      const errors = [];
      page.on('console', (m) => ['error', 'warning'].includes(m.type()) && errors.push(`console.${m.type()}: ${m.text()}`));
      page.on('pageerror', (error) => errors.push(`uncaught: ${error.message}`));
      return {page, errors};
    },
    close: () => context.close().then(() => rm(profile, {recursive: true, force: true})),
  };
}

export const fileUrl = (path) => pathToFileURL(path).href;

export const ANAREP = resolve(process.env.ANAREP || join(REPO_DIR, 'build', 'anarep'));
// The shared folder sits beside the project on the team's machines and is absent elsewhere.
export const SHARED = resolve(process.env.ANAREP_SHARED || join(REPO_DIR, '..', 'shared'));
export const EXAMPLES = join(REPO_DIR, 'examples');

const REPORT_SUFFIX = '_analysisReport.xml';
const CASE_NOTES = new Set(['about', 'args', 'expected']);

function isDirectory(path) {
  return existsSync(path) && statSync(path).isDirectory();
}

// Runs that share their input documents make the same page; only the first is kept.
function contentKey(dir, names) {
  const digests = names
    .filter((name) => !isDirectory(join(dir, name)))
    .map((name) => createHash('sha256').update(readFileSync(join(dir, name))).digest('hex'))
    .sort();
  return createHash('sha256').update(digests.join('\n')).digest('hex');
}

// NAME_analysisReport.xml beside NAME_graphs.xml: the program finds the chart document itself.
export function pairRun(folder, report, source = basename(folder)) {
  const name = basename(report).slice(0, -REPORT_SUFFIX.length);
  const graphs = `${name}_graphs.xml`;
  const images = `${name}_images`;
  return {
    label: `${source}/${name}`, name, dir: folder, args: [basename(report)],
    files: [basename(report), graphs, ...(isDirectory(join(folder, images)) ? [images] : [])],
    page: `${name}_analysisReport.html`, key: contentKey(folder, [basename(report), graphs]),
  };
}

function pairRuns(folder, source) {
  if (!isDirectory(folder)) {
    return [];
  }
  return readdirSync(folder).filter((file) => file.endsWith(REPORT_SUFFIX)).sort()
    .filter((report) => existsSync(join(folder, report.slice(0, -REPORT_SUFFIX.length) + '_graphs.xml')))
    .map((report) => pairRun(folder, report, source));
}

// Case folders: the program's arguments in `args`, the expected outcome in `expected/`.
// Only runs that end well and leave a page are of interest here.
function caseRuns(folder, source) {
  if (!isDirectory(folder)) {
    return [];
  }
  return readdirSync(folder).sort().flatMap((name) => {
    const dir = join(folder, name);
    const expected = join(dir, 'expected');
    if (!existsSync(join(expected, 'rc')) || !existsSync(join(expected, 'page'))) {
      return [];
    }
    const page = readFileSync(join(expected, 'page'), 'utf8').trim();
    if (readFileSync(join(expected, 'rc'), 'utf8').trim() !== '0' || page === '') {
      return [];
    }
    const files = readdirSync(dir).filter((file) => !CASE_NOTES.has(file));
    const args = readFileSync(join(dir, 'args'), 'utf8').split(/\s+/).filter(Boolean);
    return [{label: `${source}/${name}`, name, dir, files, args, page, key: contentKey(dir, files)}];
  });
}

// Every run whose page the browser should see: the project's example, the shared samples and
// conformance cases when the shared folder is there, and the project's copies of the cases.
export function reportRuns() {
  const all = [
    ...pairRuns(EXAMPLES, 'examples'),
    ...pairRuns(join(SHARED, 'samples'), 'samples'),
    ...caseRuns(join(SHARED, 'conformance', 'cases'), 'conformance'),
    ...caseRuns(join(REPO_DIR, 'tests', 'golden'), 'golden'),
  ];
  const keys = new Set();
  const caseNames = new Set();
  return all.filter((run) => {
    const isCase = run.label.startsWith('conformance/') || run.label.startsWith('golden/');
    if (keys.has(run.key) || (isCase && caseNames.has(run.name))) {
      return false;
    }
    keys.add(run.key);
    if (isCase) {
      caseNames.add(run.name);
    }
    return true;
  });
}

async function makeWritable(path) {
  const entries = await readdir(path, {withFileTypes: true});
  await chmod(path, 0o755);
  for (const entry of entries) {
    const child = join(path, entry.name);
    if (entry.isDirectory()) {
      await makeWritable(child);
    } else {
      await chmod(child, 0o644);
    }
  }
}

// Copies the run's inputs into a fresh folder and runs the program there, as an analyst
// would in the folder of the run. The shared inputs are read-only, hence the chmod.
export async function makePage(run, {anarep = ANAREP} = {}) {
  const work = await mkdtemp(join(tmpdir(), 'anarep-page-'));
  for (const file of run.files) {
    await cp(join(run.dir, file), join(work, file), {recursive: true});
  }
  await makeWritable(work);
  const result = await promisify(execFile)(anarep, run.args, {cwd: work, timeout: 600000, maxBuffer: 1 << 20})
    .then(({stdout}) => ({code: 0, stdout}), (error) => ({code: error.code ?? -1, stdout: error.stdout ?? '',
      message: error.message}));
  return {
    work,
    page: join(work, run.page),
    ...result,
    remove: () => rm(work, {recursive: true, force: true}),
  };
}

// Chart containers the page file declares, in page order.
export function chartContainers(html) {
  return Array.from(html.matchAll(/<div id="(delivered|selectedPruned|container[^"]*)"/g), (m) => m[1]);
}

// Records console messages (with the resource they concern) and uncaught exceptions.
export function watch(page) {
  const messages = [];
  page.on('console', (message) => {
    if (message.type() === 'error' || message.type() === 'warning') {
      messages.push({type: message.type(), text: message.text(), url: message.location()?.url ?? ''});
    }
  });
  page.on('pageerror', (error) => messages.push({type: 'uncaught', text: error.message, url: ''}));
  return messages;
}

// True once every chart the page asked for exists and has drawn; false after the timeout.
export async function chartsDrawn(page, count, timeout = 90000) {
  return page.waitForFunction(
    (expected) => window.Highcharts && Highcharts.charts.filter(Boolean).length >= expected
      && Highcharts.charts.filter(Boolean).every((chart) => chart.hasRendered),
    count, {timeout, polling: 100}).then(() => true, () => false);
}
