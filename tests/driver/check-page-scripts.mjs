// Checks that every inline script of the given pages is valid JavaScript, the way a browser
// meets it: the text of each <script> element without src, cut at the first "</script", and
// the value of each on... event attribute once its character references are decoded.
//
// It also checks that document texts added no markup that takes a page over: outside the
// script and style elements there may be no script tag but the page's own (type
// "text/javascript", nothing else but a src), no comment but the conditional ones, and no
// element whose content the browser reads as raw text.
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

// The page cut as a browser's tokenizer cuts it, far enough for these checks: comments, tags
// with their attributes (quoted values may hold any "<" or ">"), the raw contents of script and
// style elements, and text.
function* tokens(html) {
  let i = 0;
  while (i < html.length) {
    const lt = html.indexOf('<', i);
    if (lt < 0) return;
    if (html.startsWith('<!--', lt)) {
      const end = html.indexOf('-->', lt + 4);
      yield { kind: 'comment', at: lt, text: html.slice(lt, end < 0 ? html.length : end + 3) };
      i = end < 0 ? html.length : end + 3;
      continue;
    }
    const name = /^<\/?([A-Za-z][A-Za-z0-9]*)/.exec(html.slice(lt, lt + 40));
    if (!name) {
      i = lt + 1;
      continue;
    }
    const attributes = [];
    let j = lt + name[0].length;
    for (;;) {
      const attribute = /^[\s\/]*([^\s\/>=]+)(?:\s*=\s*("[^"]*"|'[^']*'|[^\s>]*))?/.exec(html.slice(j, j + 200000));
      if (!attribute || attribute[0].length === 0) break;
      if (attribute[1] !== undefined && attribute[0].trim() !== '') {
        const raw = attribute[2] ?? '';
        attributes.push({ name: attribute[1].toLowerCase(), value: raw.replace(/^["']|["']$/g, '') });
      }
      j += attribute[0].length;
    }
    const close = html.indexOf('>', j);
    const end = close < 0 ? html.length : close + 1;
    const tag = name[1].toLowerCase();
    const closing = name[0][1] === '/';
    yield { kind: 'tag', at: lt, tag, closing, attributes, text: html.slice(lt, end) };
    i = end;
    if (!closing && (tag === 'script' || tag === 'style')) {
      const finish = new RegExp(`</${tag}`, 'gi');
      finish.lastIndex = i;
      const found = finish.exec(html);
      yield { kind: 'raw', at: i, tag, closed: found !== null, text: html.slice(i, found ? found.index : html.length) };
      i = found ? found.index : html.length;
    }
  }
}

const rawTextElements = new Set(['textarea', 'xmp', 'iframe', 'noembed', 'noframes', 'noscript', 'plaintext',
                                 'template', 'svg', 'math']);

const result = { scripts: 0, handlers: 0, errors: [] };

for (const page of process.argv.slice(2)) {
  const html = fs.readFileSync(page, 'utf8');
  let scriptTag = null;
  let titles = 0;
  for (const token of tokens(html)) {
    const where = `${page}: ${token.kind} at ${token.at}`;
    if (token.kind === 'comment') {
      if (!token.text.startsWith('<!--[if ')) result.errors.push(`${where}: a comment in the markup`);
      continue;
    }
    if (token.kind === 'raw') {
      if (!token.closed) result.errors.push(`${where}: ${token.tag} element never closed`);
      if (token.tag !== 'script' || scriptTag.attributes.some((a) => a.name === 'src')) continue;
      ++result.scripts;
      // Inside a script, "<!--" followed by "<script" makes the browser overlook the end tag.
      if (token.text.includes('<!--')) result.errors.push(`${where}: holds "<!--"`);
      try {
        new vm.Script(token.text, { filename: where }).runInNewContext(standIns(), { timeout: 10000 });
      } catch (e) {
        result.errors.push(`${where}: ${e.message}`);
      }
      continue;
    }
    if (token.closing) continue;
    if (token.tag === 'script') {
      scriptTag = token;
      if (!/^<script type="text\/javascript"( src="[^"<>]*")?>$/.test(token.text))
        result.errors.push(`${where}: not one of the page's own script tags: ${token.text.slice(0, 200)}`);
    }
    if (rawTextElements.has(token.tag)) result.errors.push(`${where}: <${token.tag}> in the markup`);
    if (token.tag === 'title' && ++titles > 1) result.errors.push(`${where}: a second title element`);
    for (const attribute of token.attributes) {
      if (!attribute.name.startsWith('on')) continue;
      ++result.handlers;
      try {
        new vm.Script(`(function (event) {\n${decodeReferences(attribute.value)}\n})`);
      } catch (e) {
        result.errors.push(`${where}: ${attribute.name}: ${e.message}`);
      }
    }
  }
}

console.log(JSON.stringify(result));
process.exit(result.errors.length === 0 ? 0 : 1);
