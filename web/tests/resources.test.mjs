// The committed resource files are what their build scripts make today; the bundle has the parts
// and licence lines the page and its readers expect.
import {test} from 'node:test';
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, readFileSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {REPO_DIR, WEB_DIR} from '../lib/pages.mjs';

const read = (name, encoding) => readFileSync(join(REPO_DIR, 'rscFiles', name), encoding);

test('rebuilt files are byte-identical to the committed ones', () => {
  const scratch = mkdtempSync(join(tmpdir(), 'anarep-resources-'));
  try {
    execFileSync(join(WEB_DIR, 'build-bundle'), [scratch], {stdio: 'pipe'});
    execFileSync(join(REPO_DIR, 'tools', 'make-logo'), [join(scratch, 'logo.png')], {stdio: 'pipe'});
    for (const name of ['orbi.min.js', 'excanvas.compiled.js', 'logo.png']) {
      assert.ok(read(name).length > 1000 && read(name).equals(readFileSync(join(scratch, name))),
        `${name}: rebuild with web/build-bundle or tools/make-logo and commit`);
    }
  } finally {
    rmSync(scratch, {recursive: true, force: true});
  }
});

test('the bundle holds its parts in page order, licences kept, and refers to no other file', () => {
  const text = read('orbi.min.js', 'utf8');
  const at = ['/*! jQuery v3.7.1 | (c) OpenJS Foundation and other contributors | jquery.org/license */',
    '/* anarep sparkline plugin */', ' * Apache ECharts 6.1.0 | Apache License 2.0', ' * ZRender 6.1.0 | BSD 3-Clause',
    ' * tslib 2.3.0 | 0BSD', '/* anarep page charts */'].map((marker) => text.indexOf(marker));
  assert.deepEqual(at, [0, ...at.slice(1)].sort((a, b) => a - b));
  assert.ok(!at.slice(1).includes(-1) && !/sourceMappingURL/.test(text), `parts at ${at}`);
});
