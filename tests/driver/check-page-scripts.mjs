// Checks that every inline script of the given pages is valid JavaScript, the way a browser
// meets it: the text of each <script> element without src, cut at the first "</script", and
// the value of each on... event attribute once its character references are decoded.
//
//   node check-page-scripts.mjs PAGE...
//
// Prints one JSON object: {"scripts": count of inline scripts, "handlers": count of event
// attributes, "errors": ["page: what", ...]}. Exit code 0 when there is no error.
//
// Element scripts are also run against stand-ins of jQuery and Highcharts, so that the chart
// options are evaluated: a bare nan or inf there is valid syntax but fails as an unknown name.
// Event attributes are only compiled: their functions belong to the page.

import fs from 'node:fs';
import vm from 'node:vm';

const named = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0' };

function decodeReferences(text) {
  return text.replace(/&(#[xX][0-9a-fA-F]+|#[0-9]+|[a-zA-Z]+);/g, (whole, ref) => {
    if (ref[0] !== '#') return named[ref.toLowerCase()] ?? whole;
    const code = ref[1] === 'x' || ref[1] === 'X' ? parseInt(ref.slice(2), 16) : parseInt(ref.slice(1), 10);
    return String.fromCodePoint(code);
  });
}

function standIns() {
  const chain = new Proxy(function () {}, {
    get: () => chain,
    apply: (target, self, args) => {
      for (const a of args) if (typeof a === 'function') a();
      return chain;
    },
  });
  return { $: chain, jQuery: chain, document: {}, window: {}, Highcharts: { Chart: function () {} } };
}

const result = { scripts: 0, handlers: 0, errors: [] };

for (const page of process.argv.slice(2)) {
  const html = fs.readFileSync(page, 'utf8');
  let markup = '';  // the page less the contents of its script elements
  let markupFrom = 0;
  const open = /<script\b([^>]*)>/gi;
  const close = /<\/script/gi;
  let match;
  while ((match = open.exec(html)) !== null) {
    const start = match.index + match[0].length;
    close.lastIndex = start;
    const end = close.exec(html)?.index ?? -1;
    if (end < 0) {
      result.errors.push(`${page}: script element at ${match.index} is never closed`);
      break;
    }
    open.lastIndex = end;
    markup += html.slice(markupFrom, start);
    markupFrom = end;
    if (/\bsrc\s*=/i.test(match[1])) continue;
    const source = html.slice(start, end);
    const where = `${page}: script at ${match.index}`;
    ++result.scripts;
    // Inside a script, "<!--" followed by "<script" makes the browser overlook the end tag.
    if (source.includes('<!--')) result.errors.push(`${where}: holds "<!--"`);
    try {
      new vm.Script(source, { filename: where }).runInNewContext(standIns(), { timeout: 10000 });
    } catch (e) {
      result.errors.push(`${where}: ${e.message}`);
    }
  }
  markup += html.slice(markupFrom);
  const handler = /\s(on[a-z]+)\s*=\s*"([^"]*)"/gi;
  while ((match = handler.exec(markup)) !== null) {
    ++result.handlers;
    try {
      new vm.Script(`(function (event) {\n${decodeReferences(match[2])}\n})`);
    } catch (e) {
      result.errors.push(`${page}: ${match[1]} at ${match.index}: ${e.message}`);
    }
  }
}

console.log(JSON.stringify(result));
process.exit(result.errors.length === 0 ? 0 : 1);
