// File names that look like markup: the page names its side folder inside a script tag within a
// conditional comment and in the logo's src, so a name able to end the comment, the tag or the
// attribute would add markup of its own. Each page, opened from disk, must run no script of the
// name's and still load its scripts and logo from the side folder under that very name.
import {after, before, test} from 'node:test';
import assert from 'node:assert/strict';
import {execFile} from 'node:child_process';
import {copyFile, mkdtemp, rm} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {promisify} from 'node:util';
import {ANAREP, REPO_DIR, fileUrl, launchBrowser} from '../lib/pages.mjs';

// A run without images of its own, so that every image and request is the page's.
const RUN = join(REPO_DIR, 'tests', 'golden', 'public-diabetes', 'diabetes');
// Every payload sets window.named when it runs.
const NAMES = [
  'x--><img src=x onerror=window.named=1>',
  'x--!><img src=x onerror=window.named=2>',
  "x'\"><svg onload=window.named=3><b title='",
  'x<![endif]--><svg onload=window.named=4>',
];

let browser;
let scratch;
before(async () => {
  browser = await launchBrowser();
  scratch = await mkdtemp(join(tmpdir(), 'anarep-names-'));
});
after(async () => {
  await browser?.close();
  await rm(scratch, {recursive: true, force: true});
});

for (const [i, name] of NAMES.entries()) {
  test(`the name ${JSON.stringify(name)} adds no markup`, async () => {
    const base = join(scratch, `${i}${name}_analysisReport`);
    await copyFile(`${RUN}_analysisReport.xml`, `${base}.xml`);
    await copyFile(`${RUN}_graphs.xml`, `${base.slice(0, -'_analysisReport'.length)}_graphs.xml`);
    const {stdout} = await promisify(execFile)(ANAREP, [`${base}.xml`], {cwd: scratch});
    assert.equal(stdout, 'All Ok.\n');

    const {page, errors} = await browser.newPage();
    const failed = [];
    page.on('requestfailed', (request) => failed.push(request.url()));
    try {
      await page.goto(fileUrl(`${base}.html`));
      await page.waitForFunction(() => document.querySelectorAll('canvas').length > 0, null, {timeout: 30000});
      const seen = await page.evaluate(() => ({
        named: window.named ?? null,
        scripts: typeof window.jQuery === 'function' && typeof window.Highcharts === 'object',
        logo: document.querySelector('h1 img')?.naturalWidth ?? 0,
        images: document.querySelectorAll('img').length,
        // The canvas script's reference stays inside the conditional comment.
        comments: Array.from(document.head.childNodes).filter((n) => n.nodeType === Node.COMMENT_NODE)
          .map((n) => n.data).filter((data) => data.includes('excanvas.compiled.js')).length,
      }));
      assert.deepEqual({...seen, errors, failed}, {named: null, scripts: true, logo: 101, images: 1, comments: 1,
        errors: [], failed: []});
    } finally {
      await page.close();
    }
  });
}
