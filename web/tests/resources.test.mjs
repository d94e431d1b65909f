// The committed resource files are what their build scripts make today, and have the
// shape the program and the page expect of them.
import {after, before, describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, readFileSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {REPO_DIR, RESOURCE_DIR, WEB_DIR} from './browser.mjs';

let scratch;

before(() => {
  scratch = mkdtempSync(join(tmpdir(), 'anarep-resources-'));
  execFileSync(join(WEB_DIR, 'build-bundle'), [scratch], {stdio: 'pipe'});
  execFileSync(join(REPO_DIR, 'tools', 'make-logo'), [join(scratch, 'logo.png')], {stdio: 'pipe'});
});

after(() => {
  rmSync(scratch, {recursive: true, force: true});
});

describe('rebuilt files are byte-identical to the committed ones', () => {
  for (const name of ['orbi.min.js', 'excanvas.compiled.js', 'logo.png']) {
    test(name, () => {
      const committed = readFileSync(join(RESOURCE_DIR, name));
      const rebuilt = readFileSync(join(scratch, name));
      assert.ok(committed.length > 1000, `${name} is ${committed.length} bytes`);
      assert.ok(committed.equals(rebuilt), `${name}: rebuild with web/build-bundle or tools/make-logo and commit`);
    });
  }
});

describe('orbi.min.js', () => {
  const bundle = () => readFileSync(join(RESOURCE_DIR, 'orbi.min.js'), 'utf8');
  const parts = [
    {name: 'jQuery with its licence line', marker: '/*! jQuery v3.7.1 | (c) OpenJS Foundation and other contributors | jquery.org/license */'},
    {name: 'the sparkline plugin', marker: '/* anarep sparkline plugin */'},
    {name: 'Highcharts with its licence header', marker: ' * Highcharts JS v11.4.9'},
    {name: 'the Highcharts licence line', marker: ' * License: www.highcharts.com/license'},
    {name: 'the chart defaults', marker: '/* anarep chart defaults */'},
  ];
  test('holds its parts in page order', () => {
    const text = bundle();
    let last = -1;
    for (const part of parts) {
      const at = text.indexOf(part.marker);
      assert.ok(at > last, `${part.name} after the previous part (at ${at})`);
      last = at;
    }
    assert.ok(text.startsWith(parts[0].marker), 'jQuery first, its licence line on top');
  });

  test('refers to no other file', () => {
    assert.ok(!/sourceMappingURL/.test(bundle()));
  });
});

describe('excanvas.compiled.js', () => {
  test('carries its copyright and licence above the code', () => {
    const lines = readFileSync(join(RESOURCE_DIR, 'excanvas.compiled.js'), 'utf8').split('\n');
    const header = lines.filter((line) => line.startsWith('//'));
    assert.ok(header.includes('// Copyright 2006 Google Inc.'));
    assert.ok(header.some((line) => line.includes('Apache License, Version 2.0')));
    assert.ok(lines[header.length].startsWith('if(!document.createElement("canvas").getContext)'));
  });
});

describe('logo.png', () => {
  // IHDR right after the signature: width, height, bit depth, colour type (3 = palette).
  test('is a 101 x 110 PNG with an 8-bit palette', () => {
    const png = readFileSync(join(RESOURCE_DIR, 'logo.png'));
    assert.ok(png.subarray(0, 8).equals(Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a])));
    assert.equal(png.toString('latin1', 12, 16), 'IHDR');
    assert.deepEqual([png.readUInt32BE(16), png.readUInt32BE(20), png[24], png[25]], [101, 110, 8, 3]);
  });
});

describe('anarep.qrc', () => {
  test('registers the three files under /rscFiles', () => {
    const qrc = readFileSync(join(RESOURCE_DIR, 'anarep.qrc'), 'utf8');
    assert.match(qrc, /<qresource prefix="\/rscFiles">/);
    for (const name of ['logo.png', 'orbi.min.js', 'excanvas.compiled.js']) {
      assert.match(qrc, new RegExp(`<file alias="${name.replace(/\./g, '\\.')}">${name.replace(/\./g, '\\.')}</file>`));
    }
  });
});
