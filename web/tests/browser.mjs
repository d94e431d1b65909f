// Shared by the browser tests: one headless Chromium per test file, from the system's
// package (never a downloaded browser), with a throw-away profile.
import {existsSync} from 'node:fs';
import {mkdtemp, rm, writeFile} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {dirname, join, resolve} from 'node:path';
import {fileURLToPath, pathToFileURL} from 'node:url';
import {chromium} from 'playwright-core';

export const WEB_DIR = resolve(dirname(fileURLToPath(import.meta.url)), '..');
export const REPO_DIR = resolve(WEB_DIR, '..');
export const RESOURCE_DIR = join(REPO_DIR, 'rscFiles');
export const BUNDLE = join(RESOURCE_DIR, 'orbi.min.js');

export const CHROMIUM = process.env.CHROMIUM || '/usr/bin/chromium';
// Without the networking switches Chromium keeps dialling out, which the test machines refuse.
export const CHROMIUM_ARGS = [
  '--no-sandbox',
  '--disable-gpu',
  '--disable-background-networking',
  '--disable-component-update',
  '--no-first-run',
];

// The readers' machines differ in their sans fonts: most Linux desktops have only DejaVu,
// others Liberation (Arial's widths). The layout tests draw the pages with each alone.
export const FONT_SETS = [
  {name: 'DejaVu', dir: '/usr/share/fonts/truetype/dejavu', sans: 'DejaVu Sans'},
  {name: 'Liberation', dir: '/usr/share/fonts/truetype/liberation', sans: 'Liberation Sans'},
];

// A fontconfig file that sees one font folder, with the system's usual aliases.
async function fontConfig(profile, fonts) {
  if (!existsSync(fonts.dir)) {
    throw new Error(`no ${fonts.name} fonts in ${fonts.dir} (make deps installs them)`);
  }
  const file = join(profile, 'fonts.conf');
  await writeFile(file, `<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <dir>${fonts.dir}</dir>
  <include ignore_missing="yes">/etc/fonts/conf.d</include>
</fontconfig>
`);
  return file;
}

// Starts the browser, limited to one of FONT_SETS when given; close() also removes the
// profile directory.
export async function launchBrowser({viewport = {width: 1280, height: 1000}, fonts = null} = {}) {
  const profile = await mkdtemp(join(tmpdir(), 'anarep-chromium-'));
  const env = fonts ? {...process.env, FONTCONFIG_FILE: await fontConfig(profile, fonts)} : process.env;
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    args: CHROMIUM_ARGS,
    env,
    viewport,
    deviceScaleFactor: 1,
  });
  return {
    context,
    // A page whose console errors, console warnings and uncaught exceptions are collected in `errors`.
    async newPage() {
      const page = await context.newPage();
      const errors = [];
      page.on('console', (message) => {
        if (message.type() === 'error' || message.type() === 'warning') {
          errors.push(`console.${message.type()}: ${message.text()}`);
        }
      });
      page.on('pageerror', (error) => errors.push(`uncaught: ${error.message}`));
      return {page, errors};
    },
    async close() {
      await context.close();
      await rm(profile, {recursive: true, force: true});
    },
  };
}

export function fileUrl(path) {
  return pathToFileURL(path).href;
}

// Waits until every chart created on the page has finished drawing.
export async function waitForCharts(page, count) {
  await page.waitForFunction(
    (expected) => window.Highcharts && Highcharts.charts.filter(Boolean).length >= expected
      && Highcharts.charts.filter(Boolean).every((chart) => chart.hasRendered),
    count, {timeout: 15000});
}

// The fonts the browser drew the first element matching `selector` in, by family name.
export async function fontsUsed(page, selector) {
  const session = await page.context().newCDPSession(page);
  try {
    await session.send('DOM.enable');
    await session.send('CSS.enable');
    const {root} = await session.send('DOM.getDocument', {depth: -1});
    const {nodeId} = await session.send('DOM.querySelector', {nodeId: root.nodeId, selector});
    const {fonts} = await session.send('CSS.getPlatformFontsForNode', {nodeId});
    return fonts.map((font) => font.familyName);
  } finally {
    await session.detach();
  }
}

// Every text drawn in a chart that is not where it belongs: outside the chart's box, or
// (for category names) neither the whole name nor a shortened one ending in "…" with the
// whole name in its title. Runs in the page; the tooltip is left out (drawn on hover).
export function misplacedChartTexts() {
  const found = [];
  for (const chart of Highcharts.charts.filter(Boolean)) {
    const box = chart.container.getBoundingClientRect();
    const where = `${chart.renderTo.id}`;
    for (const text of chart.container.querySelectorAll('text')) {
      const r = text.getBoundingClientRect();
      if (text.closest('.highcharts-tooltip') || r.width === 0 || getComputedStyle(text).visibility === 'hidden'
          || text.getAttribute('opacity') === '0') {
        continue;
      }
      const out = Math.max(box.left - r.left, box.top - r.top, r.right - box.right, r.bottom - box.bottom);
      if (out > 0) {
        found.push(`${where}: "${text.textContent}" ${out.toFixed(1)}px outside the chart`);
      }
    }
    const axis = chart.xAxis[0];
    for (const [i, markup] of (axis && axis.categories || []).entries()) {
      const label = axis.ticks[i] && axis.ticks[i].label;
      if (!label) {
        continue;
      }
      const name = new DOMParser().parseFromString(markup, 'text/html').body.textContent;
      const nodes = Array.from(label.element.childNodes);
      const shown = nodes.filter((n) => n.nodeName !== 'title').map((n) => n.textContent).join('');
      const title = nodes.filter((n) => n.nodeName === 'title').map((n) => n.textContent)[0];
      const cut = shown.endsWith('\u2026') && name.startsWith(shown.slice(0, -1)) && title === name;
      if (shown !== name && !cut) {
        found.push(`${where}: category "${name}" shown as "${shown}" (title ${title === undefined ? 'none' : `"${title}"`})`);
      }
    }
  }
  return found;
}
