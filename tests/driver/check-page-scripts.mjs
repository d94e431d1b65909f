// Checks that every inline script of the given pages is valid JavaScript, the way a browser
// meets it (the text of each <script> without src, cut at the first "</script"; each on...
// attribute once its character references are decoded), and that document texts added no
// markup that takes a page over: outside script and style there may be no script tag but the
// page's own (type "text/javascript", nothing else but a src), no comment but the conditional
// ones, no element whose content the browser reads as raw text, no second title.
//
//   node check-page-scripts.mjs PAGE...   prints {"scripts": n, "handlers": n, "errors": ["page: what"]}
//
// Element scripts also run against stand-ins of jQuery and Highcharts, so that the chart options
// are evaluated: a bare nan or inf there is valid syntax but fails as an unknown name. Event
// attributes are only compiled: their functions belong to the page.
import fs from 'node:fs';
import vm from 'node:vm';

const named = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0' };

function decodeReferences(text) {
  return text.replace(/&(#[xX][0-9a-fA-F]+|#[0-9]+|[a-zA-Z]+);/g, (whole, ref) => {
    if (ref[0] !== '#') return named[ref.toLowerCase()] ?? whole;
    return String.fromCodePoint(/^#x/i.test(ref) ? parseInt(ref.slice(2), 16) : parseInt(ref.slice(1), 10));
  });
}

function standIns() {
  const chain = new Proxy(function () {}, { get: () => chain, apply: (target, self, args) => {
    for (const a of args) if (typeof a === 'function') a();
    return chain;
  } });
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
      i = html.indexOf('-->', lt + 4) < 0 ? html.length : html.indexOf('-->', lt + 4) + 3;
      yield { kind: 'comment', at: lt, text: html.slice(lt, i) };
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
      if (attribute[1] !== undefined && attribute[0].trim() !== '')
        attributes.push({ name: attribute[1].toLowerCase(), value: (attribute[2] ?? '').replace(/^["']|["']$/g, '') });
      j += attribute[0].length;
    }
    const [tag, closing] = [name[1].toLowerCase(), name[0][1] === '/'];
    i = html.indexOf('>', j) < 0 ? html.length : html.indexOf('>', j) + 1;
    yield { kind: 'tag', at: lt, tag, closing, attributes, text: html.slice(lt, i) };
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
const fail = (where, what) => result.errors.push(`${where}: ${what}`);

for (const page of process.argv.slice(2)) {
  const html = fs.readFileSync(page, 'utf8');
  let scriptTag = null;
  let titles = 0;
  for (const token of tokens(html)) {
    const where = `${page}: ${token.kind} at ${token.at}`;
    if (token.kind === 'comment') {
      if (!token.text.startsWith('<!--[if ')) fail(where, 'a comment in the markup');
      continue;
    }
    if (token.kind === 'raw') {
      if (!token.closed) fail(where, `${token.tag} element never closed`);
      if (token.tag !== 'script' || scriptTag.attributes.some((a) => a.name === 'src')) continue;
      ++result.scripts;
      // Inside a script, "<!--" followed by "<script" makes the browser overlook the end tag.
      if (token.text.includes('<!--')) fail(where, 'holds "<!--"');
      try {
        new vm.Script(token.text, { filename: where }).runInNewContext(standIns(), { timeout: 10000 });
      } catch (e) {
        fail(where, e.message);
      }
      continue;
    }
    if (token.closing) continue;
    if (token.tag === 'script') {
      scriptTag = token;
      if (!/^<script type="text\/javascript"( src="[^"<>]*")?>$/.test(token.text))
        fail(where, `not one of the page's own script tags: ${token.text.slice(0, 200)}`);
    }
    if (rawTextElements.has(token.tag)) fail(where, `<${token.tag}> in the markup`);
    if (token.tag === 'title' && ++titles > 1) fail(where, 'a second title element');
    for (const attribute of token.attributes) {
      if (!attribute.name.startsWith('on')) continue;
      ++result.handlers;
      try {
        new vm.Script(`(function (event) {\n${decodeReferences(attribute.value)}\n})`);
      } catch (e) {
        fail(where, `${attribute.name}: ${e.message}`);
      }
    }
  }
}

console.log(JSON.stringify(result));
process.exit(result.errors.length === 0 ? 0 : 1);
