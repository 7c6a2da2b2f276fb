// Text of records made safe to show, and the small formats of the page.

const HEX = '0123456789abcdef';

function hex2(code) {
  return HEX[code >> 4] + HEX[code & 15];
}

// True for what a terminal or a text renderer would act on rather than show: C0 controls, DEL,
// C1 controls and the bidirectional controls that reorder a line.
function isControl(code) {
  return code < 0x20 || (code >= 0x7f && code <= 0x9f) || (code >= 0x202a && code <= 0x202e) ||
      (code >= 0x2066 && code <= 0x2069) || code === 0x200e || code === 0x200f || code === 0x061c;
}

const PLAIN = /^[\x20-\x5b\x5d-\x7e]*$/;

// A record's text as the command line shows it on a terminal: a backslash as "\\", tab, line
// feed and carriage return as "\t", "\n", "\r", other single-byte controls as "\xHH", and C1 and
// bidirectional controls as "\uHHHH". Everything else stays, so the escaped text tells the
// original exactly. The result is only ever given to textContent.
export function shown(text) {
  if (text === null || text === undefined) return '';
  text = String(text);
  if (PLAIN.test(text)) return text;
  let out = '';
  for (const char of text) {
    const code = char.codePointAt(0);
    if (char === '\\') out += '\\\\';
    else if (char === '\t') out += '\\t';
    else if (char === '\n') out += '\\n';
    else if (char === '\r') out += '\\r';
    else if (code < 0x20 || code === 0x7f) out += '\\x' + hex2(code);
    else if (isControl(code)) out += '\\u' + code.toString(16).padStart(4, '0');
    else out += char;
  }
  return out;
}

// "2024-03-04T09:30:00+01:00" as the logs write local time: "2024-03-04 09:30:00".
export function shownTime(iso) {
  if (typeof iso !== 'string') return '—';
  return iso.slice(0, 10) + ' ' + iso.slice(11, 19);
}

const numberFormat = new Intl.NumberFormat('en');

export function count(n) {
  return numberFormat.format(n);
}

export function plural(n, one, many) {
  return count(n) + ' ' + (n === 1 ? one : many);
}

// Makes an element with a class and text; text only ever through textContent.
export function element(tag, className, text) {
  const made = document.createElement(tag);
  if (className) made.className = className;
  if (text !== undefined) made.textContent = text;
  return made;
}
