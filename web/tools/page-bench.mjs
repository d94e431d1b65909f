#!/usr/bin/env node
// How soon a report page shows its charts, in headless Chromium with a 1280 × 900 window.
//
// usage: node tools/page-bench.mjs [--runs N] [--vars 10,100,500] [--modalities M] [--data DIR]
//                                  [--timeout S] [--bundle FILE ...] [--no-jump] [--first-screen]
//                                  [REPORT.xml ...]
// Without reports: runs of 10, 100 and 500 variables of M (20) modalities each, made by
// tools/gen-scale into DIR (kept there and reused) or a temporary folder. Each page is made once
// by the program ($ANAREP or build/anarep) and opened 2N times (N = 3), each time in a fresh tab:
// N times left alone, for the time from navigation to the first screen drawn and to every chart
// drawn, and N times with a click on the ranking link to the last variable as soon as the first
// screen is drawn, for the time from the click until that variable's chart is on the screen.
// "Drawn" is the first animation frame after the last chart (and the sparklines) concerned.
// With --bundle, the page's script bundle is replaced by each FILE in turn, the runs of the
// bundles alternating so that the load of a shared machine falls on all alike. --no-jump leaves out
// the jumps, --first-screen stops each run at the first screen. Medians are printed, with the CPU
// time the browser's processes spent (steadier than the clock on a machine shared with other jobs).
import {execFile} from 'node:child_process';
import {copyFileSync, existsSync, mkdirSync, readdirSync, readFileSync} from 'node:fs';
import {mkdtemp, readFile, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {basename, dirname, join, resolve} from 'node:path';
import {promisify} from 'node:util';
import {REPO_DIR, chartContainers, chartsDrawn, fileUrl, launchBrowser, makePage, pairRun, watch} from '../lib/pages.mjs';

const options = {runs: 3, vars: [10, 100, 500], modalities: 20, data: null, timeout: 300, bundles: [], reports: [],
  jump: true, all: true};
for (let i = 2; i < process.argv.length; i++) {
  const arg = process.argv[i];
  const next = () => process.argv[++i];
  if (arg === '--runs') {
    options.runs = Number(next());
  } else if (arg === '--vars') {
    options.vars = next().split(',').map(Number);
  } else if (arg === '--modalities') {
    options.modalities = Number(next());
  } else if (arg === '--data') {
    options.data = resolve(next());
  } else if (arg === '--timeout') {
    options.timeout = Number(next());
  } else if (arg === '--bundle') {
    options.bundles.push(resolve(next()));
  } else if (arg === '--no-jump') {
    options.jump = false;
  } else if (arg === '--first-screen') {
    options.all = false;
  } else {
    options.reports.push(resolve(arg));
  }
}

const WINDOW = {width: 1280, height: 900};

// Runs before the page's own scripts. Notes when each chart starts and ends its construction
// (the library's init and load events, whenever the bundle builds it) and each sparkline call,
// and polls every animation frame for the first one after the charts in the first window and
// the sparklines are all drawn.
function instrument() {
  const bench = {ready: null, firstScreen: null, firstScreenCharts: [], drawn: {}, built: {}, sparklines: []};
  window.__pageBench = bench;
  const spans = 'span.orbLine, span.orbBox';
  let waiting = null;
  let sparklinesDone = false;
  const poll = () => {
    if (waiting !== null && waiting.size === 0 && sparklinesDone) {
      bench.firstScreen = performance.now();
    } else {
      requestAnimationFrame(poll);
    }
  };
  requestAnimationFrame(poll);
  document.addEventListener('DOMContentLoaded', () => {
    bench.ready = performance.now();
    const inWindow = (element) => {
      const box = element.getBoundingClientRect();
      return box.bottom > 0 && box.top < innerHeight && box.right > 0 && box.left < innerWidth;
    };
    bench.firstScreenCharts = Array.from(document.querySelectorAll('div[id]'))
      .filter((div) => /^(delivered|selectedPruned|container)/.test(div.id) && inWindow(div)).map((div) => div.id);
    waiting = new Set(bench.firstScreenCharts);
    sparklinesDone = !document.querySelector(spans);
    // The page's charts tell when each is drawn; a bundle of the former engine is asked through
    // its own events, so that both can be measured side by side.
    document.addEventListener('chartdrawn', (event) => {
      const id = event.target.id;
      bench.drawn[id] = performance.now();
      bench.built[id] = event.detail.ms;
      waiting.delete(id);
    });
    const H = window.Highcharts;
    if (!H?.addEvent) {
      return;
    }
    const starts = new WeakMap();
    H.addEvent(H.Chart, 'init', function () {
      starts.set(this, performance.now());
    });
    H.addEvent(H.Chart, 'load', function () {
      const id = this.renderTo && this.renderTo.id;
      const end = performance.now();
      bench.drawn[id] = end;
      bench.built[id] = end - starts.get(this);
      waiting.delete(id);
    });
  });
  let jq;
  Object.defineProperty(window, 'jQuery', {
    configurable: true,
    get: () => jq,
    set: (given) => {
      jq = given;
      let plugin;
      Object.defineProperty(jq.fn, 'sparkline', {
        configurable: true,
        get: () => plugin && function (...args) {
          const start = performance.now();
          try {
            return plugin.apply(this, args);
          } finally {
            bench.sparklines.push({count: this.length, ms: performance.now() - start});
            sparklinesDone = Array.from(document.querySelectorAll(spans)).every((span) => span.querySelector('canvas'));
          }
        },
        set: (given) => {
          plugin = given;
        },
      });
    },
  });
}

// In the page: a click on the first link to the variable of the last chart container, and the
// first animation frame in which that variable's chart is drawn.
function jumpToLast(target) {
  return new Promise((resolve) => {
    const bench = window.__pageBench;
    const link = document.querySelector(`a[href="#label_${target.slice('container'.length)}"]`);
    const start = performance.now();
    link.click();
    const poll = () => {
      if (bench.drawn[target] !== undefined) {
        resolve({start, end: performance.now(), scrolled: window.pageYOffset});
      } else {
        requestAnimationFrame(poll);
      }
    };
    requestAnimationFrame(poll);
  });
}

// CPU time in ms spent so far by each of this process's descendants (the browser's processes),
// by process id, from /proc; empty where there is none.
function browserCpu() {
  const times = new Map();
  if (!existsSync('/proc/self/stat')) {
    return times;
  }
  const children = new Map();
  for (const entry of readdirSync('/proc')) {
    if (!/^\d+$/.test(entry)) {
      continue;
    }
    let stat;
    try {
      stat = readFileSync(`/proc/${entry}/stat`, 'utf8');
    } catch {
      continue;
    }
    // The command name may hold blanks and brackets: the fields start after its last ')'.
    const fields = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
    const parent = Number(fields[1]);
    children.set(parent, [...(children.get(parent) ?? []), Number(entry)]);
    times.set(Number(entry), (Number(fields[11]) + Number(fields[12])) * 10);
  }
  const mine = new Map();
  const todo = [...(children.get(process.pid) ?? [])];
  while (todo.length) {
    const pid = todo.pop();
    mine.set(pid, times.get(pid));
    todo.push(...(children.get(pid) ?? []));
  }
  return mine;
}

// The CPU time spent since `start` by the processes still running (one that ended is not counted).
function cpuSince(start) {
  let sum = 0;
  for (const [pid, ms] of browserCpu()) {
    sum += ms - (start.get(pid) ?? 0);
  }
  return sum;
}

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const middle = Math.floor(sorted.length / 2);
  return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

async function generatedRuns() {
  const folder = options.data ?? await mkdtemp(join(tmpdir(), 'anarep-pages-'));
  const reports = [];
  for (const vars of options.vars) {
    const name = `v${vars}m${options.modalities}`;
    const dir = join(folder, name);
    const report = join(dir, `${name}_analysisReport.xml`);
    if (!existsSync(report)) {
      mkdirSync(dir, {recursive: true});
      await promisify(execFile)(join(REPO_DIR, 'tools', 'gen-scale'), [dir, '--name', name, '--vars', String(vars),
        '--modalities', String(options.modalities), '--points', '10000']);
    }
    reports.push({file: report, vars});
  }
  return {reports, cleanup: options.data ? async () => {} : () => rm(folder, {recursive: true, force: true})};
}

// One tab: left alone until every chart is drawn, or made to jump to the last variable as soon
// as the first screen is drawn.
async function openOnce(browser, made, containers, jump) {
  const page = await browser.context.newPage();
  try {
    const messages = watch(page);
    const cdp = await browser.context.newCDPSession(page);
    await cdp.send('Performance.enable');
    await page.addInitScript(instrument);
    const timeout = options.timeout * 1000;
    const cpuStart = browserCpu();
    await page.goto(fileUrl(made.page), {timeout, waitUntil: 'domcontentloaded'});
    await page.waitForFunction(() => window.__pageBench.firstScreen !== null, null, {timeout});
    const run = {errors: 0, cpuFirstScreen: cpuSince(cpuStart)};
    if (jump) {
      const target = containers.filter((id) => id.startsWith('container')).pop();
      const {start, end} = await page.evaluate(jumpToLast, target);
      run.jump = end - start;
    } else if (options.all && !await chartsDrawn(page, containers.length, timeout)) {
      throw new Error(`${basename(made.page)}: not all of ${containers.length} charts drawn within ${options.timeout} s`);
    }
    run.cpuDrawn = cpuSince(cpuStart);
    const bench = await page.evaluate(() => window.__pageBench);
    run.firstScreen = bench.firstScreen;
    run.firstScreenCharts = bench.firstScreenCharts.length;
    if (!jump && options.all) {
      // The live heap: what the page keeps, not the garbage a collection would take.
      await cdp.send('HeapProfiler.collectGarbage');
      const {metrics} = await cdp.send('Performance.getMetrics');
      const metric = (name) => (metrics.find((m) => m.name === name)?.value ?? 0) * 1000;
      Object.assign(run, {
        drawn: Math.max(...Object.values(bench.drawn)), ready: bench.ready,
        built: Object.values(bench.built), sparklines: bench.sparklines.reduce((sum, s) => sum + s.ms, 0),
        spans: bench.sparklines.reduce((sum, s) => sum + s.count, 0),
        layout: metric('LayoutDuration'), style: metric('RecalcStyleDuration'), script: metric('ScriptDuration'),
        layouts: (metrics.find((m) => m.name === 'LayoutCount')?.value ?? 0),
        styles: (metrics.find((m) => m.name === 'RecalcStyleCount')?.value ?? 0),
        thread: metric('ThreadTime'),
        heap: (metrics.find((m) => m.name === 'JSHeapUsedSize')?.value ?? 0) / 1e6,
        nodes: metrics.find((m) => m.name === 'Nodes')?.value ?? 0,
      });
    }
    run.errors = messages.filter((m) => m.type !== 'warning').length;
    return run;
  } finally {
    await page.close();
  }
}

async function measure(browser, report) {
  const made = await makePage(pairRun(dirname(report), report));
  try {
    if (made.code !== 0) {
      throw new Error(`anarep ${basename(report)}: ${made.message ?? made.stdout}`);
    }
    const html = await readFile(made.page, 'utf8');
    const containers = chartContainers(html);
    const shipped = join(made.page.replace(/\.html$/, '_files'), 'orbi.min.js');
    const bundles = options.bundles.length ? options.bundles : [null];
    const runs = new Map(bundles.map((bundle) => [bundle, []]));
    for (let i = 0; i < options.runs; i++) {
      for (const jump of options.jump ? [false, true] : [false]) {
        for (const bundle of bundles) {
          if (bundle) {
            copyFileSync(bundle, shipped);
          }
          runs.get(bundle).push({jump, ...await openOnce(browser, made, containers, jump)});
        }
      }
    }
    return {page: basename(made.page), bytes: html.length, charts: containers.length, runs};
  } finally {
    await made.remove();
  }
}

const ms = (value) => `${value.toFixed(0)} ms`;
const list = (values) => `[${values.map((v) => v.toFixed(0)).join(', ')}]`;

// Prints the medians of one page and answers them by bundle.
function report(result) {
  const summary = new Map();
  for (const [bundle, runs] of result.runs) {
    const loads = runs.filter((r) => !r.jump);
    const jumps = runs.filter((r) => r.jump);
    const firstScreens = runs.map((r) => r.firstScreen);
    const figures = {
      firstScreen: median(firstScreens), firstScreenCpu: median(runs.map((r) => r.cpuFirstScreen)),
      jump: jumps.length ? median(jumps.map((r) => r.jump)) : NaN,
      drawn: options.all ? median(loads.map((r) => r.drawn)) : NaN, drawnCpu: median(loads.map((r) => r.cpuDrawn)),
      ready: options.all ? median(loads.map((r) => r.ready)) : NaN, heap: options.all ? median(loads.map((r) => r.heap)) : NaN,
    };
    summary.set(bundle, figures);
    const name = bundle ? `bundle ${basename(bundle)}` : 'shipped bundle';
    const lines = [
      `  ${name}:`,
      `    first screen drawn (${loads[0].firstScreenCharts} charts): ${ms(figures.firstScreen)} ${list(firstScreens)};`
        + ` CPU ${ms(figures.firstScreenCpu)} ${list(runs.map((r) => r.cpuFirstScreen))}`,
    ];
    if (jumps.length) {
      lines.push(`    jump to the last variable until its chart is drawn: ${ms(figures.jump)} ${list(jumps.map((r) => r.jump))}`);
    }
    if (options.all) {
      const perChart = loads.map((r) => r.built.reduce((sum, t) => sum + t, 0));
      lines.push(
        `    every chart drawn: ${ms(figures.drawn)} ${list(loads.map((r) => r.drawn))};`
          + ` CPU ${ms(figures.drawnCpu)} ${list(loads.map((r) => r.cpuDrawn))}`,
        `    document parsed ${ms(median(loads.map((r) => r.ready)))}; ${loads[0].spans} sparklines`
          + ` ${ms(median(loads.map((r) => r.sparklines)))}; chart construction ${ms(median(perChart))} in all,`
          + ` median chart ${median(loads.flatMap((r) => r.built)).toFixed(1)} ms`,
        `    browser time: layout ${ms(median(loads.map((r) => r.layout)))} (${median(loads.map((r) => r.layouts))}`
          + ` layouts), style ${ms(median(loads.map((r) => r.style)))} (${median(loads.map((r) => r.styles))} updates),`
          + ` script ${ms(median(loads.map((r) => r.script)))}; the page's main thread CPU`
          + ` ${ms(median(loads.map((r) => r.thread)))} ${list(loads.map((r) => r.thread))}`,
        `    after every chart is drawn: JS heap ${median(loads.map((r) => r.heap)).toFixed(1)} MB, DOM nodes`
          + ` ${median(loads.map((r) => r.nodes))}`);
    }
    if (runs.some((r) => r.errors)) {
      lines.push(`    browser errors: ${runs.map((r) => r.errors).join(', ')}`);
    }
    console.log(lines.join('\n'));
  }
  return summary;
}

// The goals, as ratios within this run: for the pages of 10 and 500 variables, first screen and
// every chart drawn against the page's parse time, the jump against the small page's parse time,
// and with two bundles the second's time for every chart of 500 against the first's.
function goals(small, large) {
  const bundles = [...large.keys()];
  for (const bundle of bundles) {
    const big = large.get(bundle);
    const little = small.get(bundle);
    const name = bundle ? basename(bundle) : 'shipped bundle';
    console.log(`goals (${name}): first screen/parsed ${(little.firstScreen / little.ready).toFixed(2)} on 10 variables`
      + ` (at most 1.5), ${(big.firstScreen / big.ready).toFixed(2)} on 500 (at most 1.3); jump to the last of 500`
      + ` ${ms(big.jump)} against the parse time of 10, ${ms(little.ready)}; every chart of 500 drawn/parsed`
      + ` ${(big.drawn / big.ready).toFixed(1)} (at most 8)`);
  }
  if (bundles.length === 2) {
    const [before, after] = bundles.map((bundle) => large.get(bundle));
    console.log(`goals: every chart of 500 drawn, ${basename(bundles[1])}/${basename(bundles[0])}`
      + ` ${(after.drawn / before.drawn).toFixed(2)} (at most 0.25); JS heap ${after.heap.toFixed(1)} MB against`
      + ` ${before.heap.toFixed(1)} MB (no larger)`);
  }
}

const browser = await launchBrowser({viewport: WINDOW});
let cleanup = async () => {};
try {
  let reports = options.reports.map((file) => ({file}));
  if (reports.length === 0) {
    const made = await generatedRuns();
    cleanup = made.cleanup;
    reports = made.reports;
  }
  const bySize = new Map();
  for (const {file, vars} of reports) {
    const result = await measure(browser, file);
    console.log(`${result.page} (${(result.bytes / 1e6).toFixed(1)} MB, ${result.charts} charts)`);
    bySize.set(vars, report(result));
  }
  if (bySize.has(10) && bySize.has(500)) {
    goals(bySize.get(10), bySize.get(500));
  }
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
} finally {
  await browser.close();
  await cleanup();
}
