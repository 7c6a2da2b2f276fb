// The console's page: the filter bar, the histogram, the lines, the counts, live follow and the
// rule replay, all kept in step with the page's address.
import {errorText, getJSON, isAbort} from './api.js';
import {LineDetail} from './detail.js';
import {Follower} from './follow.js';
import {Histogram} from './histogram.js';
import {
  bucketRange, copyQuery, emptyQuery, FIELDS, fieldsOf, filterParams, filterValue, hasRules,
  KINDS, parseQuery, queryString, sameQuery,
} from './query.js';
import {StatsPanel, TOP} from './stats.js';
import {LinesTable} from './table.js';
import {element, plural, shown} from './text.js';

const PAGE_SIZE = 100;

// The fields counted for each log, and the filter a counted value goes to.
const STATS_FIELDS = {
  access: ['user', 'host', 'share', 'op', 'result'],
  alert: ['user', 'host', 'share', 'op', 'result'],
  system: ['text1', 'text2'],
};
const STATS_FILTER = {text1: 'text', text2: 'text', text3: 'text'};

const $ = (id) => document.getElementById(id);

class ConsolePage {
  constructor() {
    this.form = $('filters');
    this.query = parseQuery(location.search);
    this.alternatives = {};  // field -> values beyond the one in its input
    this.run = null;         // the AbortController of the requests of the shown query
    this.cursor = null;      // where the next page of lines starts; null: no more
    this.loading = false;
    this.warnings = [];
    this.liveCount = 0;

    this.table = new LinesTable($('table'), (line) => this.openLine(line), () => this.loadMore());
    this.histogram = new Histogram($('chart'), (interval, first, last) => {
      const next = this.formQuery();
      Object.assign(next, bucketRange(interval, first, last));
      this.apply(next);
    });
    this.stats = new StatsPanel($('stats'), (field, value) => {
      const next = this.formQuery();
      next.values[STATS_FILTER[field] || field] = [filterValue(field, value)];
      this.apply(next);
    });
    this.detail = new LineDetail($('detail'), () => this.table.setFocus(this.table.focus));
    this.follower = new Follower(
        (lines) => this.liveLines(lines),
        (text, trouble) => this.liveState(text, trouble),
        (message, isError) => this.addWarnings([(isError ? 'Live: ' : '') + message]));

    this.wire();
    this.fillForm(this.query);
    history.replaceState(null, '', queryString(this.query));
    this.loadRuleNames();
    this.show();
  }

  wire() {
    this.form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.apply(this.formQuery());
    });
    $('clear').addEventListener('click', () => {
      const next = emptyQuery();
      next.kind = this.query.kind;
      this.apply(next);
    });
    for (const button of document.querySelectorAll('.kinds button')) {
      button.addEventListener('click', () => {
        const next = this.formQuery();
        next.kind = button.dataset.kind;
        this.apply(next);
      });
    }
    for (const button of document.querySelectorAll('.presets button')) {
      button.addEventListener('click', () => {
        const next = this.formQuery();
        next.since = button.dataset.since;
        next.until = '';
        this.apply(next);
      });
    }
    $('follow').addEventListener('click', () => {
      const next = this.formQuery();
      next.follow = !this.query.follow;
      this.apply(next);
    });
    $('pause').addEventListener('click', () => {
      const pause = !this.follower.paused;
      if (pause) this.follower.pause();
      else this.follower.resume();
      $('pause').setAttribute('aria-pressed', String(pause));
      $('pause').textContent = pause ? 'Resume' : 'Pause';
    });
    $('warnings').addEventListener('click', () => {
      const list = $('warning-list');
      list.hidden = !list.hidden;
      $('warnings').setAttribute('aria-expanded', String(!list.hidden));
    });
    $('more').addEventListener('click', () => this.loadMore());
    new IntersectionObserver((entries) => {
      if (entries.some((entry) => entry.isIntersecting)) this.loadMore();
    }, {rootMargin: '400px'}).observe($('more'));
    window.addEventListener('popstate', () => {
      this.query = parseQuery(location.search);
      this.fillForm(this.query);
      this.show();
    });
    document.addEventListener('keydown', (event) => {
      const typing = event.target instanceof Element &&
          event.target.closest('input, select, textarea, [contenteditable]');
      if (event.key === '/' && !typing && !event.ctrlKey && !event.metaKey && !event.altKey) {
        event.preventDefault();
        const first = this.form.querySelector('.grid .field:not([hidden]) input');
        if (first) first.focus();
      }
    });
  }

  // The query as the filter bar holds it; the log and follow come from the shown query.
  formQuery() {
    const query = emptyQuery();
    query.kind = this.query.kind;
    query.follow = this.query.follow;
    query.since = this.form.elements.since.value.trim();
    query.until = this.form.elements.until.value.trim();
    for (const field of FIELDS) {
      const typed = this.form.elements[field].value;
      const values = typed.trim() === '' ? [] : [typed];
      query.values[field] = values.concat(this.alternatives[field] || []);
    }
    const rule = this.form.elements.rule.value;
    query.rules = rule === 'all';
    query.rule = rule.startsWith('rule:') ? [rule.slice(5)] : [];
    if (!query.rules) query.rule = query.rule.concat(this.alternatives.rule || []);
    return query;
  }

  fillForm(query) {
    const kind = KINDS.includes(query.kind) ? query.kind : 'access';
    for (const button of document.querySelectorAll('.kinds button')) {
      button.setAttribute('aria-pressed', String(button.dataset.kind === kind));
    }
    this.form.elements.since.value = query.since;
    this.form.elements.until.value = query.until;
    for (const button of document.querySelectorAll('.presets button')) {
      const on = query.until === '' && button.dataset.since === query.since;
      button.setAttribute('aria-pressed', String(on));
    }
    const shownFields = new Set(fieldsOf(kind));
    this.alternatives = {};
    for (const field of FIELDS) {
      const values = query.values[field];
      const box = this.form.querySelector(`[data-field="${field}"]`);
      box.hidden = !shownFields.has(field);
      this.form.elements[field].value = values.length > 0 ? values[0] : '';
      this.setAlternatives(field, values.slice(1));
    }
    const select = this.form.elements.rule;
    this.form.querySelector('[data-field="rule"]').hidden = !hasRules(kind);
    if (query.rules) {
      select.value = 'all';
      this.setAlternatives('rule', []);
    } else if (query.rule.length > 0) {
      this.addRuleOption(query.rule[0]);
      select.value = 'rule:' + query.rule[0];
      this.setAlternatives('rule', query.rule.slice(1));
    } else {
      select.value = '';
      this.setAlternatives('rule', []);
    }
    $('follow').setAttribute('aria-pressed', String(query.follow));
    $('follow').textContent = query.follow ? 'Following' : 'Follow';
  }

  // The further values of a repeated filter, each a chip that removes it.
  setAlternatives(field, values) {
    this.alternatives[field] = values;
    const box = this.form.querySelector(`[data-field="${field}"]`);
    let chips = box.querySelector('.alternatives');
    if (!chips) {
      chips = element('div', 'alternatives');
      box.append(chips);
    }
    chips.replaceChildren(...values.map((value, index) => {
      const chip = element('button', 'chip', 'or ' + shown(value));
      chip.type = 'button';
      chip.append(element('span', 'remove', ' ×'), element('span', 'visually-hidden', ' (remove)'));
      chip.addEventListener('click', () => {
        this.alternatives[field] = values.filter((_, i) => i !== index);
        this.apply(this.formQuery());
      });
      return chip;
    }));
  }

  addRuleOption(name) {
    const select = this.form.elements.rule;
    const value = 'rule:' + name;
    if (Array.from(select.options).some((option) => option.value === value)) return;
    const option = element('option', null, shown(name));
    option.value = value;
    select.append(option);
  }

  async loadRuleNames() {
    try {
      const answer = await getJSON('/api/rules', new URLSearchParams());
      for (const rule of answer.rules || []) this.addRuleOption(String(rule.name));
      this.fillForm(this.query);
    } catch {
      // Without readable settings there are no names to offer; the lines are shown all the same,
      // and a rule asked for by name still says what is wrong beside the filter bar.
    }
  }

  // Shows `query`, with an entry in the history when it differs from the one shown.
  apply(query) {
    if (!sameQuery(query, this.query)) history.pushState(null, '', queryString(query));
    this.query = query;
    this.fillForm(query);
    this.show();
  }

  // Asks for everything of the current query anew.
  show() {
    if (this.run) this.run.abort();
    const run = new AbortController();
    this.run = run;
    const query = this.query;
    const params = filterParams(query);

    this.hideError();
    this.warnings = [];
    this.showWarnings();
    this.cursor = null;
    this.loading = false;
    this.liveCount = 0;
    this.detail.box.hidden = true;
    this.table.reset(query.kind, hasRules(query.kind) && (query.rules || query.rule.length > 0));
    $('table').setAttribute('aria-busy', 'true');
    $('end').textContent = '';
    $('more').hidden = true;
    $('count').textContent = 'Counting…';
    this.histogram.showBusy();
    for (const form of ['csv', 'tsv', 'json']) {
      const exported = new URLSearchParams(params);
      exported.set('output', form);
      $('export-' + form).href = '/api/export?' + exported.toString();
    }
    if (query.follow) {
      this.follower.start(filterParams(query, {withTime: false}));
      $('pause').hidden = false;
    } else {
      this.follower.stop();
      $('pause').hidden = true;
      $('live-state').textContent = '';
    }
    $('pause').setAttribute('aria-pressed', 'false');
    $('pause').textContent = 'Pause';

    this.loadPage(run, params, true);
    this.loadHistogram(run, params);
    this.loadCount(run, params);
    this.loadStats(run, params, STATS_FIELDS[query.kind] || STATS_FIELDS.access);
  }

  // Whether `run` still belongs to the shown query; an answer of an older one is dropped.
  current(run) {
    return this.run === run && !run.signal.aborted;
  }

  // Reports a failed request of `run`, unless it was given up on purpose.
  failed(run, error) {
    if (isAbort(error) || !this.current(run)) return true;
    this.showError(errorText(error));
    return false;
  }

  async loadPage(run, params, first) {
    if (this.loading || (!first && this.cursor === null)) return;
    this.loading = true;
    const paged = new URLSearchParams(params);
    paged.set('reverse', '1');
    paged.set('limit', String(PAGE_SIZE));
    if (!first) paged.set('cursor', this.cursor);
    $('end').textContent = first ? 'Loading…' : 'Loading more…';
    let answer;
    try {
      answer = await getJSON('/api/lines', paged, run.signal);
    } catch (error) {
      if (!this.failed(run, error)) $('end').textContent = '';
      if (this.current(run)) {
        this.loading = false;
        $('table').setAttribute('aria-busy', 'false');
      }
      return;
    }
    if (!this.current(run)) return;
    this.loading = false;
    this.table.append(answer.lines || []);
    this.cursor = typeof answer.next === 'string' ? answer.next : null;
    this.addWarnings(answer.warnings);
    $('table').setAttribute('aria-busy', 'false');
    $('more').hidden = this.cursor === null;
    if (this.cursor !== null) $('end').textContent = '';
    else if (this.table.length === 0) $('end').textContent = 'No lines match.';
    else $('end').textContent = `End: ${plural(this.table.length, 'line', 'lines')}.`;
    if (first) performance.mark('sarvik-lines-shown');
    // A page that does not fill the window leaves the button in view: go on until it is not.
    if (this.cursor !== null && $('more').getBoundingClientRect().top < window.innerHeight + 400) {
      this.loadPage(run, params, false);
    }
  }

  loadMore() {
    if (this.run && this.cursor !== null) this.loadPage(this.run, filterParams(this.query), false);
  }

  async loadHistogram(run, params) {
    const asked = new URLSearchParams(params);
    asked.set('histogram', 'auto');
    try {
      const answer = await getJSON('/api/histogram', asked, run.signal);
      if (!this.current(run)) return;
      this.histogram.show(answer);
      this.addWarnings(answer.warnings);
    } catch (error) {
      if (!this.failed(run, error)) this.histogram.showMessage('');
    }
  }

  async loadCount(run, params) {
    try {
      const answer = await getJSON('/api/count', params, run.signal);
      if (!this.current(run)) return;
      $('count').textContent = plural(Number(answer.count), 'line', 'lines');
      this.addWarnings(answer.warnings);
    } catch (error) {
      if (!this.failed(run, error)) $('count').textContent = '';
    }
  }

  // One field after the other, so that the counts never crowd out the lines' requests.
  async loadStats(run, params, fields) {
    this.stats.reset(fields);
    for (const field of fields) {
      const asked = new URLSearchParams(params);
      asked.set('stats', field);
      asked.set('top', String(TOP));
      try {
        const answer = await getJSON('/api/stats', asked, run.signal);
        if (!this.current(run)) return;
        this.stats.show(field, answer.stats || []);
        this.addWarnings(answer.warnings);
      } catch (error) {
        // The error stands beside the filter bar; the other fields would only repeat it.
        if (isAbort(error) || !this.current(run)) return;
        this.failed(run, error);
        for (const rest of fields.slice(fields.indexOf(field))) this.stats.showProblem(rest, '—');
        return;
      }
    }
  }

  openLine(line) {
    this.detail.show(line, hasRules(this.query.kind));
  }

  liveLines(lines) {
    this.table.prepend(lines);
    this.liveCount += lines.length;
    if ($('end').textContent === 'No lines match.') $('end').textContent = '';
    this.liveState(`Live · ${plural(this.liveCount, 'new line', 'new lines')}`, false);
  }

  liveState(text, trouble) {
    if (text === 'Live' && this.liveCount > 0) {
      text = `Live · ${plural(this.liveCount, 'new line', 'new lines')}`;
    }
    $('live-state').textContent = text;
    $('live-state').classList.toggle('trouble', trouble);
  }

  addWarnings(warnings) {
    if (!Array.isArray(warnings) || warnings.length === 0) return;
    for (const warning of warnings) {
      const text = shown(warning);
      if (!this.warnings.includes(text)) this.warnings.push(text);
    }
    this.showWarnings();
  }

  showWarnings() {
    const button = $('warnings');
    const list = $('warning-list');
    button.hidden = this.warnings.length === 0;
    button.textContent = '⚠ ' + plural(this.warnings.length, 'warning', 'warnings');
    list.replaceChildren(...this.warnings.map((text) => element('li', null, text)));
    if (this.warnings.length === 0) {
      list.hidden = true;
      button.setAttribute('aria-expanded', 'false');
    }
  }

  showError(text) {
    const box = $('error');
    if (!box.hidden) return;  // the first error of a query is the one to read
    box.textContent = shown(text);
    box.hidden = false;
  }

  hideError() {
    $('error').hidden = true;
    $('error').textContent = '';
  }
}

new ConsolePage();
