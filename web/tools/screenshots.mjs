#!/usr/bin/env node
// Pictures of the example report for the README: the top of the page and one variable
// section (heading, modality chart, modality table).
//
// usage: node tools/screenshots.mjs [REPORT.xml] [OUTPUT_DIR]
// Defaults: examples/breast_cancer_analysisReport.xml and docs/. The program is $ANAREP
// or build/anarep.
import {mkdir, readFile} from 'node:fs/promises';
import {dirname, join, resolve} from 'node:path';
import {REPO_DIR, chartContainers, chartsDrawn, fileUrl, launchBrowser, makePage, pairRun, watch} from '../lib/pages.mjs';

const report = resolve(process.argv[2] ?? join(REPO_DIR, 'examples', 'breast_cancer_analysisReport.xml'));
const output = resolve(process.argv[3] ?? join(REPO_DIR, 'docs'));
const WIDTH = 1400;
const HEIGHT = 900;
// Column charts grow in over a second after they are drawn.
const ANIMATION_MS = 1500;
const MARGIN = 12;

const made = await makePage(pairRun(dirname(report), report));
const browser = await launchBrowser({viewport: {width: WIDTH, height: HEIGHT}});
let failed = false;
try {
  if (made.code !== 0) {
    throw new Error(`anarep failed: ${made.message ?? made.stdout}`);
  }
  const html = await readFile(made.page, 'utf8');
  const page = await browser.context.newPage();
  const messages = watch(page);
  await page.goto(fileUrl(made.page));
  if (!await chartsDrawn(page, chartContainers(html).length)) {
    throw new Error('the charts did not draw');
  }
  await page.waitForTimeout(ANIMATION_MS);
  await page.mouse.move(0, 0);
  await mkdir(output, {recursive: true});

  // The top of the page down to the end of the two model charts: banner, ranking, lifts.
  const chartsEnd = await page.evaluate((margin) => Math.max(...['delivered', 'selectedPruned']
    .map((id) => document.getElementById(id)?.getBoundingClientRect().bottom ?? 0)) + window.scrollY + margin, MARGIN);
  const top = join(output, 'screenshot-top.png');
  await page.screenshot({path: top, clip: {x: 0, y: 0, width: WIDTH, height: Math.max(HEIGHT, chartsEnd)},
    fullPage: true});

  // The first variable section: from its heading to the end of its modality table.
  const box = await page.evaluate((margin) => {
    const heading = document.querySelector('h3');
    const parts = [heading];
    for (let node = heading.nextElementSibling; node && !/^H[1-3]$/.test(node.tagName); node = node.nextElementSibling) {
      parts.push(node);
    }
    // Block elements span the window; their contents tell how far the section really reaches.
    const rects = parts.map((part) => {
      const range = document.createRange();
      range.selectNodeContents(part);
      return range.getBoundingClientRect();
    }).filter((r) => r.width > 0);
    const left = Math.max(0, Math.min(...rects.map((r) => r.left)) - margin);
    const top = Math.max(0, Math.min(...rects.map((r) => r.top)) + window.scrollY - margin);
    const right = Math.min(document.documentElement.scrollWidth, Math.max(...rects.map((r) => r.right)) + margin);
    const bottom = Math.max(...rects.map((r) => r.bottom)) + window.scrollY + margin;
    return {x: left, y: top, width: right - left, height: bottom - top};
  }, MARGIN);
  const variable = join(output, 'screenshot-variable.png');
  await page.screenshot({path: variable, clip: box, fullPage: true});

  for (const m of messages) {
    console.error(`page ${m.type}: ${m.text}${m.url ? ` (${m.url})` : ''}`);
  }
  console.log(`${top}\n${variable} (${Math.round(box.width)} x ${Math.round(box.height)})`);
} catch (error) {
  console.error(error.message);
  failed = true;
} finally {
  await browser.close();
  await made.remove();
}
process.exitCode = failed ? 1 : 0;
