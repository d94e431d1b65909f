// The markup of chart titles and tooltips. The chart scripts put only <b>, <br/> and
// <font face="…"> there; a document's label may carry anything, which shows as the text it
// is written as. Runs are {text, bold, face}; a line break is a run of text "\n".

const TAG = /<(\/?)(b|br|font)((?:\s+face\s*=\s*(?:"[^"<>]*"|'[^'<>]*'))?)\s*\/?>/gi;
const NAMED = {amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0'};

// The text an HTML text run stands for: character references decoded, anything else kept.
export function decodeText(text) {
  return String(text).replace(/&(#x[0-9a-f]+|#\d+|[a-z]+);/gi, (whole, name) => {
    if (name[0] !== '#') {
      return NAMED[name.toLowerCase()] ?? whole;
    }
    const code = name[1] === 'x' || name[1] === 'X' ? parseInt(name.slice(2), 16) : parseInt(name.slice(1), 10);
    return code > 0 && code <= 0x10ffff && !(code >= 0xd800 && code <= 0xdfff) ? String.fromCodePoint(code) : whole;
  });
}

export function parseMarkup(markup) {
  const runs = [];
  const faces = [];
  let bold = 0;
  let at = 0;
  const text = (upTo) => {
    if (upTo > at) {
      runs.push({text: decodeText(markup.slice(at, upTo)), bold: bold > 0, face: faces.at(-1) ?? null});
    }
  };
  markup = String(markup ?? '');
  for (const match of markup.matchAll(TAG)) {
    text(match.index);
    at = match.index + match[0].length;
    const [, closing, name, face] = match;
    const tag = name.toLowerCase();
    if (tag === 'br') {
      runs.push({text: '\n', bold: false, face: null});
    } else if (tag === 'b') {
      bold = closing ? Math.max(0, bold - 1) : bold + 1;
    } else if (closing) {
      faces.pop();
    } else {
      faces.push(face ? decodeText(face.replace(/^\s+face\s*=\s*["']|["']$/g, '')) : (faces.at(-1) ?? null));
    }
  }
  text(markup.length);
  return runs;
}

const escapeHtml = (text) => text.replace(/[&<>"']/g, (c) => `&#${c.charCodeAt(0)};`);

// HTML for a tooltip: the allowed tags as elements, every other character as text.
export function markupToHtml(markup) {
  return parseMarkup(markup).map(({text, bold, face}) => {
    if (text === '\n') {
      return '<br>';
    }
    let html = escapeHtml(text);
    html = bold ? `<b>${html}</b>` : html;
    return face ? `<span style="font-family: ${escapeHtml(face).replace(/[;:()\\]/g, '')}">${html}</span>` : html;
  }).join('');
}

// Plain text, line breaks kept: for accessible descriptions and category names.
export function markupToText(markup) {
  return parseMarkup(markup).map((run) => run.text).join('');
}

// The chart library's rich text: "{style|text}" runs, one style per bold and face met, with
// the braces of the text itself kept out of the run syntax.
export function markupToRich(markup, base) {
  const rich = {};
  const styles = [];
  const value = parseMarkup(markup).map(({text, bold, face}) => {
    if (text === '\n') {
      return '\n';
    }
    const key = `${bold ? 'b' : 'n'}${face ? styles.indexOf(face) + 1 || styles.push(face) : 0}`;
    rich[key] = {...base, ...(bold ? {fontWeight: 'bold'} : {}), ...(face ? {fontFamily: `${face}, sans-serif`} : {})};
    return text.split('\n').map((line) => `{${key}|${line.replace(/}/g, (c) => '\uff5d')}}`).join('\n');
  }).join('');
  return {text: value, rich};
}
