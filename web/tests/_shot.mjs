import {launchBrowser, fileUrl, waitForCharts, WEB_DIR} from './browser.mjs';
import {join} from 'node:path';
const b = await launchBrowser();
const {page} = await b.newPage();
await page.goto(fileUrl(join(WEB_DIR, 'tests/fixtures', process.argv[2])));
await waitForCharts(page, +process.argv[3]);
const el = await page.$(process.argv[4]);
await el.screenshot({path: process.argv[5]});
await b.close();
