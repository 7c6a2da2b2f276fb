// The table of lines, newest first: rows added page by page as the list is scrolled, and live
// lines put on top. Every value of a record reaches the page through textContent, escaped.
import {element, shown, shownTime} from './text.js';

// The columns of each log, by the names of the API's line objects.
const COLUMNS = {
  access: [
    ['time', 'Time'], ['user', 'User'], ['host', 'Host'], ['ip', 'Address'], ['op', 'Operation'],
    ['result', 'Result'], ['share', 'Share'], ['path', 'Path'],
  ],
  system: [['time', 'Time'], ['text1', 'Text 1'], ['text2', 'Text 2'], ['text3', 'Text 3']],
};

const COLUMN_NOTES = {
  too_few: 'This line has fewer columns than its log: the missing fields are empty.',
  ambiguous: 'A comma in a field before the last one: the columns of this line may be shifted.',
};

export function columnNote(fault) {
  return COLUMN_NOTES[fault] || '';
}

// The file of a line without its log and month directories, which the row does not need.
function fileName(file) {
  const slash = String(file).lastIndexOf('/');
  return String(file).slice(slash + 1);
}

export class LinesTable {
  // `table` is an empty <table>; `onOpen(line)` is called when a row is opened (Enter or a
  // click); `onEnd()` when the keyboard moves past the last row.
  constructor(table, onOpen, onEnd) {
    this.table = table;
    this.onOpen = onOpen;
    this.onEnd = onEnd;
    this.head = element('thead');
    this.body = element('tbody');
    table.replaceChildren(this.head, this.body);
    this.columns = [];
    this.lines = [];  // the line objects of the rows, top to bottom
    this.focus = -1;  // the row that takes the keyboard
    this.body.addEventListener('click', (event) => {
      const row = event.target instanceof Element ? event.target.closest('tr') : null;
      if (row) this.open(this.rowIndex(row));
    });
    this.body.addEventListener('keydown', (event) => this.keyDown(event));
    this.body.addEventListener('focusin', (event) => {
      const row = event.target instanceof Element ? event.target.closest('tr') : null;
      if (row) this.setFocus(this.rowIndex(row), false);
    });
  }

  // Empties the table and sets its columns for a log; `withRules` adds the column of the rules
  // that fired.
  reset(kind, withRules) {
    const columns = (COLUMNS[kind] || COLUMNS.access).slice();
    if (withRules) columns.splice(columns.length - 1, 0, ['rules', 'Rules']);
    columns.push(['where', 'File:line']);
    this.columns = columns;
    const row = element('tr');
    for (const [key, title] of columns) {
      const cell = element('th', 'col-' + key, title);
      cell.scope = 'col';
      row.append(cell);
    }
    this.head.replaceChildren(row);
    this.body.replaceChildren();
    this.lines = [];
    this.focus = -1;
  }

  row(line) {
    const row = element('tr');
    row.tabIndex = -1;
    if (line.columns) row.classList.add('doubtful');
    for (const [key] of this.columns) {
      let text;
      if (key === 'time') text = shownTime(line.time);
      else if (key === 'rules') text = Array.isArray(line.rules) ? line.rules.map(shown).join(', ') : '';
      else if (key === 'where') text = shown(fileName(line.file)) + ':' + Number(line.line);
      else text = shown(line[key]);
      const cell = element('td', 'col-' + key, text);
      if (key === 'time' && line.columns) {
        cell.append(element('span', 'badge', '?'));
        cell.lastChild.title = columnNote(line.columns);
      }
      row.append(cell);
    }
    return row;
  }

  // Adds lines below the rows there are.
  append(lines) {
    const rows = document.createDocumentFragment();
    for (const line of lines) rows.append(this.row(line));
    this.body.append(rows);
    this.lines.push(...lines);
    if (this.focus < 0) this.setFocus(0, false);
  }

  // Puts new lines on top, newest first; `fresh` marks them for a moment.
  prepend(lines) {
    const rows = document.createDocumentFragment();
    for (const line of lines) {
      const row = this.row(line);
      row.classList.add('fresh');
      rows.append(row);
    }
    this.body.prepend(rows);
    this.lines.unshift(...lines);
    if (this.focus >= 0) this.focus += lines.length;
    else this.setFocus(0, false);
  }

  get length() {
    return this.lines.length;
  }

  rowIndex(row) {
    return Array.prototype.indexOf.call(this.body.rows, row);
  }

  setFocus(index, move = true) {
    const rows = this.body.rows;
    if (rows.length === 0 || index < 0) return;
    index = Math.min(rows.length - 1, index);
    if (this.focus >= 0 && this.focus < rows.length) rows[this.focus].tabIndex = -1;
    rows[index].tabIndex = 0;
    this.focus = index;
    if (move) rows[index].focus();
  }

  open(index) {
    if (index < 0 || index >= this.lines.length) return;
    this.setFocus(index, false);
    this.body.querySelectorAll('tr.open').forEach((row) => row.classList.remove('open'));
    this.body.rows[index].classList.add('open');
    this.onOpen(this.lines[index]);
  }

  // Arrows and j/k move a row, Page keys a screenful, Home and End to the ends; moving past the
  // last row asks for more.
  keyDown(event) {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const row = event.target instanceof Element ? event.target.closest('tr') : null;
    if (!row) return;
    const index = this.rowIndex(row);
    const page = Math.max(1, Math.floor(window.innerHeight / Math.max(1, row.offsetHeight)) - 2);
    const moves = {ArrowDown: 1, j: 1, ArrowUp: -1, k: -1, PageDown: page, PageUp: -page};
    let next;
    if (event.key in moves) next = index + moves[event.key];
    else if (event.key === 'Home') next = 0;
    else if (event.key === 'End') next = this.lines.length - 1;
    else if (event.key === 'Enter') {
      event.preventDefault();
      this.open(index);
      return;
    } else {
      return;
    }
    event.preventDefault();
    if (next >= this.lines.length) this.onEnd();
    this.setFocus(Math.max(0, next));
  }
}
