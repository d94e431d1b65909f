// Shared by the browser tests: headless Chromium from the system's package (never a downloaded
// browser), with a throw-away profile.
import {existsSync} from 'node:fs';
import {mkdtemp, rm, writeFile} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {dirname, join, resolve} from 'node:path';
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

// True once at least `count` charts exist and all have drawn; false after the timeout.
export const chartsDrawn = (page, count, timeout = 90000) => page.waitForFunction((n) => window.Highcharts
  && Highcharts.charts.filter(Boolean).length >= n && Highcharts.charts.every((c) => !c || c.hasRendered),
count, {timeout, polling: 100}).then(() => true, () => false);
