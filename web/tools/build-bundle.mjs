// Writes the page's script files from the pinned packages and our sources:
//   orbi.min.js          = jQuery + sparkline plugin + Apache ECharts (only the parts the page
//                          draws) + the page's chart API
//   excanvas.compiled.js = Debian's ExplorerCanvas build with its licence header
// Output goes to ../rscFiles unless another directory is given as the first argument.
// The result must be byte-identical from run to run: a test rebuilds and compares.
import {readFileSync, writeFileSync, renameSync, mkdirSync} from 'node:fs';
import {createHash} from 'node:crypto';
import {dirname, join, resolve} from 'node:path';
import {fileURLToPath} from 'node:url';
import {build, transform} from 'esbuild';

const web = resolve(dirname(fileURLToPath(import.meta.url)), '..');
const outDir = resolve(process.argv[2] ?? join(web, '..', 'rscFiles'));

const EXCANVAS = '/usr/share/javascript/excanvas/excanvas.min.js';
// The header below names this exact file; another one would need a new header.
const EXCANVAS_SHA256 = '7710a7b0a145c2f847fa10188e5857f1a8c30c62dfe3c1b1954495575cdf224b';
const EXCANVAS_HEADER = [
  '// ExplorerCanvas: canvas element emulation for Internet Explorer, compiled.',
  '// Source snapshot of 2009-04-27, as packaged by Debian (libjs-excanvas 0.r4~git20090427).',
  '// Copyright 2006 Google Inc.',
  '// Licensed under the Apache License, Version 2.0: http://www.apache.org/licenses/LICENSE-2.0',
  '',
].join('\n');

const PINNED = {jquery: '3.7.1', echarts: '6.1.0', zrender: '6.1.0', tslib: '2.3.0', esbuild: '0.28.2'};

// The notices the licences of the bundled chart parts ask to keep with every copy.
const CHARTS_HEADER = `/*!
 * Apache ECharts 6.1.0 | Apache License 2.0 | Copyright 2017-2026 The Apache Software Foundation
 * This product includes software developed at The Apache Software Foundation (https://www.apache.org/).
 * Parts embed d3.js, BSD 3-Clause, Copyright 2010-2016 Mike Bostock.
 * ZRender 6.1.0 | BSD 3-Clause | Copyright (c) 2017, Baidu Inc.
 * tslib 2.3.0 | 0BSD | Copyright (c) Microsoft Corporation.
 * Full licence texts: /usr/share/doc/anarep/copyright, or the anarep source's README.
 */
/* anarep page charts */`;

const MINIFY = {minify: true, target: 'es2020', charset: 'utf8', legalComments: 'none'};

function read(path) {
  return readFileSync(path, 'utf8');
}

function checkPinned() {
  for (const [name, version] of Object.entries(PINNED)) {
    const found = JSON.parse(read(join(web, 'node_modules', name, 'package.json'))).version;
    if (found !== version) {
      throw new Error(`${name} ${found} is installed, the bundle needs ${version}: run npm ci`);
    }
  }
}

async function sparkline() {
  const result = await transform(read(join(web, 'src', 'sparkline.js')), MINIFY);
  return `/* anarep sparkline plugin */\n${result.code}`;
}

async function charts() {
  const result = await build({
    ...MINIFY, entryPoints: [join(web, 'src', 'charts-entry.js')], bundle: true, write: false, format: 'iife',
    platform: 'browser', treeShaking: true, define: {'process.env.NODE_ENV': '"production"'}, logLevel: 'silent',
  });
  return `${CHARTS_HEADER}\n${result.outputFiles[0].text}`;
}

// Parts are joined on separate lines, each closed by a semicolon, so that no part's
// last expression runs into the next part's leading "!function".
function joinParts(parts) {
  return parts.map((part) => {
    const text = part.trimEnd();
    return text.endsWith(';') ? text : text + ';';
  }).join('\n') + '\n';
}

function writeAtomically(path, text) {
  const temporary = path + '.tmp';
  writeFileSync(temporary, text);
  renameSync(temporary, path);
}

async function main() {
  checkPinned();
  const bundle = joinParts([
    read(join(web, 'node_modules/jquery/dist/jquery.min.js')),
    await sparkline(),
    await charts(),
  ]);

  const excanvas = readFileSync(EXCANVAS);
  const digest = createHash('sha256').update(excanvas).digest('hex');
  if (digest !== EXCANVAS_SHA256) {
    throw new Error(`${EXCANVAS} is not the expected release (sha256 ${digest})`);
  }

  mkdirSync(outDir, {recursive: true});
  writeAtomically(join(outDir, 'orbi.min.js'), bundle);
  writeAtomically(join(outDir, 'excanvas.compiled.js'), EXCANVAS_HEADER + excanvas.toString('utf8').trimEnd() + '\n');
  console.log(`wrote ${join(outDir, 'orbi.min.js')} (${Buffer.byteLength(bundle)} bytes) and excanvas.compiled.js`);
}

main().catch((error) => {
  console.error(`build-bundle: ${error.message}`);
  process.exit(1);
});
