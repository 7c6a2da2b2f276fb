// One line in full, and for a line of an access event the rule replay: which rule fires for it
// or which condition stops each.
import {errorText, getJSON, isAbort} from './api.js';
import {columnNote} from './table.js';
import {element, shown, shownTime} from './text.js';

const SKIP = new Set(['kind', 'time', 'file', 'line', 'rules', 'columns']);

export class LineDetail {
  // `box` is the panel; `onClose()` is called when it is closed.
  constructor(box, onClose) {
    this.box = box;
    this.onClose = onClose;
    this.request = null;
    box.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.close();
    });
  }

  close() {
    if (this.request) this.request.abort();
    this.box.hidden = true;
    this.box.replaceChildren();
    this.onClose();
  }

  // Shows `line`, an object of the API; rules are asked for when `withRules`.
  show(line, withRules) {
    if (this.request) this.request.abort();
    const heading = element('h2', null, 'Line');
    heading.id = 'detail-heading';
    heading.tabIndex = -1;
    const closer = element('button', 'close', '×');
    closer.type = 'button';
    closer.setAttribute('aria-label', 'Close the line');
    closer.addEventListener('click', () => this.close());

    const fields = element('dl', 'fields');
    const add = (name, value) => fields.append(element('dt', null, name), element('dd', null, value));
    add('file', shown(line.file));
    add('line', String(Number(line.line)));
    add('time', shownTime(line.time));
    for (const [name, value] of Object.entries(line)) {
      if (!SKIP.has(name)) add(name, shown(value));
    }
    if (Array.isArray(line.rules)) add('rules', line.rules.map(shown).join(', ') || 'none fired');
    if (line.columns) add('columns', columnNote(line.columns));

    this.box.replaceChildren(closer, heading, fields);
    if (withRules && line.kind !== 'system') this.replay(line);
    this.box.hidden = false;
    heading.focus();
  }

  async replay(line) {
    const section = element('section', 'replay');
    const status = element('p', 'hint', 'Trying the rules…');
    section.append(element('h3', null, 'Rules for this line'), status);
    this.box.append(section);
    this.request = new AbortController();
    const params = new URLSearchParams({file: line.file, line: String(line.line)});
    let answer;
    try {
      answer = await getJSON('/api/rules', params, this.request.signal);
    } catch (error) {
      if (!isAbort(error)) status.textContent = errorText(error);
      return;
    }
    const rules = Array.isArray(answer.rules) ? answer.rules : [];
    if (rules.length === 0) {
      status.textContent = 'The settings hold no alert rules.';
      return;
    }
    const list = element('ul', 'rule-list');
    for (const rule of rules) {
      const item = element('li', rule.fires ? 'fires' : 'stops');
      item.append(element('span', 'rule-name', shown(rule.name)),
          element('span', 'rule-outcome', rule.fires ? 'fires' : 'does not fire'));
      if (!rule.fires && rule.reason) item.append(element('span', 'rule-reason', shown(rule.reason)));
      list.append(item);
    }
    const firing = rules.filter((rule) => rule.fires).length;
    status.textContent = `${firing} of ${rules.length} ${rules.length === 1 ? 'rule fires' : 'rules fire'}`;
    section.append(list);
    for (const warning of answer.warnings || []) section.append(element('p', 'hint', shown(warning)));
  }
}
