// Counts per field for the current filter: the largest values of each field, each a button that
// narrows the filter to it.
import {count, element, shown} from './text.js';

const TITLES = {
  user: 'Users', host: 'Hosts', ip: 'Addresses', share: 'Shares', op: 'Operations',
  result: 'Results', text1: 'Text 1', text2: 'Text 2', text3: 'Text 3',
};

export const TOP = 8;

export class StatsPanel {
  // `box` holds the lists; `onPick(field, value)` is called when a value is chosen.
  constructor(box, onPick) {
    this.box = box;
    this.onPick = onPick;
    this.lists = new Map();
    box.addEventListener('click', (event) => {
      const button = event.target instanceof Element ? event.target.closest('button.pick') : null;
      if (!button) return;
      const entry = this.picks.get(button);
      if (entry) this.onPick(entry.field, entry.value);
    });
    this.picks = new WeakMap();  // button -> {field, value}, so no value passes through markup
  }

  // Lays out one empty list per field.
  reset(fields) {
    this.lists.clear();
    const sections = fields.map((field) => {
      const section = element('section', 'stat');
      const heading = element('h3', null, TITLES[field] || field);
      const list = element('ol', 'stat-list');
      list.append(element('li', 'hint', 'Counting…'));
      section.append(heading, list);
      this.lists.set(field, list);
      return section;
    });
    this.box.replaceChildren(...sections);
  }

  // Shows the API's rows for `field`: [{count, FIELD: value}], largest first.
  show(field, rows) {
    const list = this.lists.get(field);
    if (!list) return;
    if (rows.length === 0) {
      list.replaceChildren(element('li', 'hint', 'none'));
      return;
    }
    const highest = Math.max(1, ...rows.map((row) => Number(row.count)));
    list.replaceChildren(...rows.map((row) => {
      const value = String(row[field] ?? '');
      const item = element('li');
      const label = value === '' ? element('span', 'value empty', '(empty)') :
                                   element('button', 'pick value', shown(value));
      if (value !== '') {
        label.type = 'button';
        this.picks.set(label, {field, value});
      }
      const number = element('span', 'number', count(Number(row.count)));
      const bar = element('span', 'meter');
      bar.style.width = `${(100 * Number(row.count)) / highest}%`;
      item.append(label, number, bar);
      return item;
    }));
  }

  showProblem(field, text) {
    const list = this.lists.get(field);
    if (list) list.replaceChildren(element('li', 'hint', text));
  }
}
