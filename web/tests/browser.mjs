// Shared by the browser tests: one headless Chromium per test file, from the system's
// package (never a downloaded browser), with a throw-away profile.
import {mkdtemp, rm} from 'node:fs/promises';
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

// Starts the browser; close() also removes the profile directory.
export async function launchBrowser({viewport = {width: 1280, height: 1000}} = {}) {
  const profile = await mkdtemp(join(tmpdir(), 'anarep-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    args: CHROMIUM_ARGS,
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
