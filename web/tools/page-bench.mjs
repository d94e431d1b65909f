#!/usr/bin/env node
// How long a report page takes from navigation to its last chart drawn, in headless Chromium.
//
// usage: node tools/page-bench.mjs [--runs N] [--timeout S] [--scale-dir DIR] [REPORT.xml ...]
// Without reports: the largest sample run (the shared samples, else the examples) and a
// scale run made by tools/gen-scale --scale 1 into a temporary folder (or reused from
// --scale-dir). Each page is made once by the program ($ANAREP or build/anarep) and opened
// N times, each time in a fresh tab; the median of the runs is printed. N defaults to 5,
// and to 3 for the scale page, which takes minutes to draw.
import {execFile} from 'node:child_process';
import {existsSync, readdirSync, statSync} from 'node:fs';
import {mkdtemp, readFile, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {basename, dirname, join, resolve} from 'node:path';
import {promisify} from 'node:util';
import {REPO_DIR, fileUrl, launchBrowser} from '../tests/browser.mjs';
import {EXAMPLES, SHARED, chartContainers, chartsDrawn, makePage, pairRun, watch} from './report-pages.mjs';

const options = {runs: null, timeout: 900, scaleDir: null, reports: []};
for (let i = 2; i < process.argv.length; i++) {
  const arg = process.argv[i];
  if (arg === '--runs') {
    options.runs = Number(process.argv[++i]);
  } else if (arg === '--timeout') {
    options.timeout = Number(process.argv[++i]);
  } else if (arg === '--scale-dir') {
    options.scaleDir = resolve(process.argv[++i]);
  } else {
    options.reports.push(resolve(arg));
  }
}

// Runs before the page's own scripts: times every chart's construction (which draws it)
// and the sparkline plugin, by wrapping them as the bundle defines them. The chart
// constructor is wrapped once the bundle has set itself up (its own wrapper included)
// and before the page's ready handlers build the charts.
function instrument() {
  const timings = {charts: [], sparklines: [], ready: null};
  window.__pageBench = timings;
  document.addEventListener('DOMContentLoaded', () => {
    timings.ready = performance.now();
    const H = window.Highcharts;
    if (!H) {
      return;
    }
    const init = H.Chart.prototype.init;
    H.Chart.prototype.init = function (userOptions, callback) {
      const start = performance.now();
      try {
        return init.call(this, userOptions, callback);
      } finally {
        const target = userOptions && userOptions.chart && userOptions.chart.renderTo;
        const series = (userOptions && userOptions.series) || [];
        timings.charts.push({
          id: typeof target === 'string' ? target : target && target.id,
          start,
          end: performance.now(),
          points: series.reduce((sum, s) => sum + ((s && s.data && s.data.length) || 0), 0),
        });
      }
    };
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
            timings.sparklines.push({count: this.length, start, end: performance.now()});
          }
        },
        set: (given) => {
          plugin = given;
        },
      });
    },
  });
}

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const middle = Math.floor(sorted.length / 2);
  return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

function largestSample() {
  for (const folder of [join(SHARED, 'samples'), EXAMPLES]) {
    if (!existsSync(folder)) {
      continue;
    }
    const reports = readdirSync(folder).filter((f) => f.endsWith('_analysisReport.xml'))
      .map((f) => join(folder, f))
      .filter((f) => existsSync(f.replace(/_analysisReport\.xml$/, '_graphs.xml')));
    const size = (f) => statSync(f).size + statSync(f.replace(/_analysisReport\.xml$/, '_graphs.xml')).size;
    if (reports.length) {
      return reports.sort((a, b) => size(b) - size(a))[0];
    }
  }
  throw new Error('no sample run found');
}

async function scaleRun() {
  if (options.scaleDir && existsSync(join(options.scaleDir, 'scale1_analysisReport.xml'))) {
    return {report: join(options.scaleDir, 'scale1_analysisReport.xml'), cleanup: async () => {}};
  }
  const folder = options.scaleDir ?? await mkdtemp(join(tmpdir(), 'anarep-scale-'));
  await promisify(execFile)(join(REPO_DIR, 'tools', 'gen-scale'), [folder, '--scale', '1']);
  return {
    report: join(folder, 'scale1_analysisReport.xml'),
    cleanup: options.scaleDir ? async () => {} : () => rm(folder, {recursive: true, force: true}),
  };
}

async function measure(browser, report, runCount) {
  const made = await makePage(pairRun(dirname(report), report));
  try {
    if (made.code !== 0) {
      throw new Error(`anarep ${basename(report)}: ${made.message ?? made.stdout}`);
    }
    const html = await readFile(made.page, 'utf8');
    const containers = chartContainers(html).length;
    const runs = [];
    for (let i = 0; i < runCount; i++) {
      const page = await browser.context.newPage();
      try {
        const messages = watch(page);
        const cdp = await browser.context.newCDPSession(page);
        await cdp.send('Performance.enable');
        await page.addInitScript(instrument);
        await page.goto(fileUrl(made.page), {timeout: options.timeout * 1000, waitUntil: 'domcontentloaded'});
        if (!await chartsDrawn(page, containers, options.timeout * 1000)) {
          throw new Error(`${basename(made.page)}: not all of ${containers} charts drew within ${options.timeout} s`);
        }
        const timings = await page.evaluate(() => window.__pageBench);
        // Where the browser spent its time: layout and style against script.
        const {metrics} = await cdp.send('Performance.getMetrics');
        const metric = (name) => (metrics.find((m) => m.name === name)?.value ?? 0) * 1000;
        const drawn = Math.max(...timings.charts.map((c) => c.end));
        runs.push({drawn, ready: timings.ready, charts: timings.charts, sparklines: timings.sparklines,
          layout: metric('LayoutDuration'), style: metric('RecalcStyleDuration'), script: metric('ScriptDuration'),
          layouts: metrics.find((m) => m.name === 'LayoutCount')?.value ?? 0,
          errors: messages.filter((m) => m.type !== 'warning').length});
      } finally {
        await page.close();
      }
    }
    return {page: basename(made.page), bytes: html.length, containers, runs};
  } finally {
    await made.remove();
  }
}

function report(result) {
  const {runs} = result;
  const charts = runs[0].charts.length;
  const byChart = new Map();
  for (const run of runs) {
    for (const c of run.charts) {
      byChart.set(c.id, [...(byChart.get(c.id) ?? []), c.end - c.start]);
    }
  }
  const perChart = [...byChart].map(([id, times]) => ({id, ms: median(times),
    points: runs[0].charts.find((c) => c.id === id).points}));
  const chartTotal = perChart.reduce((sum, c) => sum + c.ms, 0);
  const sparkline = median(runs.map((r) => r.sparklines.reduce((sum, s) => sum + s.end - s.start, 0)));
  const spans = runs[0].sparklines.reduce((sum, s) => sum + s.count, 0);
  const top = [...perChart].sort((a, b) => b.ms - a.ms).slice(0, 3);
  const lines = [
    `${result.page} (${(result.bytes / 1e6).toFixed(1)} MB, ${charts} charts, ${spans} sparklines)`,
    `  load to all charts drawn: median ${median(runs.map((r) => r.drawn)).toFixed(0)} ms`
      + ` over ${runs.length} runs [${runs.map((r) => r.drawn.toFixed(0)).join(', ')}]`,
    `  document parsed (DOMContentLoaded): median ${median(runs.map((r) => r.ready)).toFixed(0)} ms`,
    `  sparklines: ${sparkline.toFixed(0)} ms; chart construction: ${chartTotal.toFixed(0)} ms in all,`
      + ` median chart ${median(perChart.map((c) => c.ms)).toFixed(1)} ms`,
    `  browser time: layout ${median(runs.map((r) => r.layout)).toFixed(0)} ms`
      + ` (${median(runs.map((r) => r.layouts))} layouts), style ${median(runs.map((r) => r.style)).toFixed(0)} ms,`
      + ` script ${median(runs.map((r) => r.script)).toFixed(0)} ms`,
    `  slowest charts: ${top.map((c) => `${c.id} ${c.ms.toFixed(0)} ms (${c.points} points,`
      + ` ${(100 * c.ms / chartTotal).toFixed(0)}%)`).join('; ')}`,
  ];
  if (top[0] && top[0].ms > 0.5 * chartTotal) {
    lines.push(`  one chart dominates: ${top[0].id}`);
  }
  if (runs.some((r) => r.errors)) {
    lines.push(`  browser errors: ${runs.map((r) => r.errors).join(', ')}`);
  }
  console.log(lines.join('\n'));
}

const browser = await launchBrowser();
const cleanups = [];
try {
  let reports = options.reports.map((file) => ({file, runs: options.runs ?? 5}));
  if (reports.length === 0) {
    const scale = await scaleRun();
    cleanups.push(scale.cleanup);
    reports = [{file: largestSample(), runs: options.runs ?? 5}, {file: scale.report, runs: options.runs ?? 3}];
  }
  for (const {file, runs} of reports) {
    report(await measure(browser, file, runs));
  }
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
} finally {
  await browser.close();
  for (const cleanup of cleanups) {
    await cleanup();
  }
}
