// The adapter's pure parts without a browser: the page's markup in titles and tooltips
// (option-cases.json "markup", "rich") and the mapping of the page's chart options to the
// library's ("options": each case names the paths of the mapped option it expects, null for
// absent; "ramp:N" stands for N points rising across the axis).
import {describe, test} from 'node:test';
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {join} from 'node:path';
import {WEB_DIR} from '../lib/pages.mjs';
import {markupToHtml, markupToRich, markupToText} from '../src/markup.js';
import {chartOption, describe as describeChart, lineCount} from '../src/chart-options.js';

const cases = JSON.parse(readFileSync(join(WEB_DIR, 'tests', 'option-cases.json'), 'utf8'));

const at = (value, path) => path.split('.').reduce((v, key) => (v === undefined || v === null ? undefined : v[key]), value);
const ramp = (value) => {
  const n = typeof value === 'string' && value.startsWith('ramp:') ? Number(value.slice(5)) : null;
  return n === null ? value : Array.from({length: n}, (_, i) => [100 * i / (n - 1), i]);
};

describe('markup', () => {
  for (const c of cases.markup) {
    test(c.name, () => {
      assert.equal(markupToHtml(c.in), c.html);
      assert.equal(markupToText(c.in), c.text);
    });
  }
  for (const c of cases.rich) {
    test(`rich text: ${c.name}`, () => {
      const {text, rich} = markupToRich(c.in, {fontSize: 12});
      assert.equal(text, c.text);
      assert.deepEqual(Object.keys(rich), c.styles);
    });
  }
});

describe('options', () => {
  for (const c of cases.options) {
    test(c.name, () => {
      c.options.series?.forEach((s) => {
        s.data = ramp(s.data);
      });
      const option = chartOption(c.options, {root: 16, width: c.width ?? null});
      for (const [path, expected] of Object.entries(c.expect)) {
        assert.deepEqual(at(option, path) ?? null, expected, path);
      }
    });
  }

  test('the description names the titles, the axes and every series', () => {
    const [lift] = cases.options;
    assert.equal(describeChart(lift.options), 'Chart: Final Model. test: AUC=1; Full: AUC=2. Horizontal axis: values from 0 to 100.'
      + ' Vertical axis 1 (right): proba from 0 to 0.8. Vertical axis 2: values from 0 to 100. Series: random (2 points), Lift Test (3 points).');
  });

  test('a title wraps at the width measured for its words', () => {
    const measure = (text) => 10 * text.length;
    assert.deepEqual(['short', 'a b c d e f g h', 'one<br/>two', 'x'.repeat(25)].map((t) => lineCount(t, 60, measure)), [1, 3, 2, 5]);
    assert.equal(lineCount('a b c d e f g h', 60, null), 1);
  });
});
