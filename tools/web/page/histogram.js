// The histogram of matching lines over time: one SVG bar per bucket. A click on a bar, a drag
// over several, or Enter on the focused bar (Shift with the arrows widens the choice) narrows the
// time range to those buckets.
import {count, element, plural} from './text.js';

const SVG = 'http://www.w3.org/2000/svg';
const HEIGHT = 100;  // the drawing's own units; the SVG is stretched to the box
const SLOTS = 40;    // fewer buckets than this are drawn as narrow bars in the middle

function svg(tag, attributes) {
  const made = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, String(value));
  return made;
}

export class Histogram {
  // `box` is the element to draw in; `onNarrow(interval, firstLabel, lastLabel)` is called
  // when the user picks buckets.
  constructor(box, onNarrow) {
    this.box = box;
    this.onNarrow = onNarrow;
    this.buckets = [];
    this.interval = 'day';
    this.anchor = -1;  // where a drag or a Shift selection began
    this.focus = 0;    // the bar that takes the keyboard
    this.dragging = false;
    this.offset = 0;   // drawing units left free before the first bar

    this.caption = element('p', 'chart-caption');
    this.caption.id = 'chart-caption';
    this.drawing = svg('svg', {
      class: 'bars',
      preserveAspectRatio: 'none',
      role: 'group',
      'aria-labelledby': 'chart-caption',
      'aria-describedby': 'chart-help',
    });
    this.axis = element('div', 'chart-axis');
    this.first = element('span');
    this.last = element('span');
    this.axis.append(this.first, this.last);
    this.help = element('p', 'chart-help hint',
        'Click a bar or drag over bars to narrow the time range; with the keyboard, arrows move, ' +
        'Shift+arrows widen, Enter narrows.');
    this.help.id = 'chart-help';
    box.replaceChildren(this.caption, this.drawing, this.axis, this.help);

    this.drawing.addEventListener('pointerdown', (event) => this.pointerDown(event));
    this.drawing.addEventListener('pointermove', (event) => this.pointerMove(event));
    this.drawing.addEventListener('pointerup', (event) => this.pointerUp(event));
    this.drawing.addEventListener('pointercancel', () => this.cancelDrag());
    this.drawing.addEventListener('keydown', (event) => this.keyDown(event));
    this.drawing.addEventListener('focusin', (event) => this.focusIn(event));
    this.drawing.addEventListener('mouseover', (event) => this.describe(this.indexOf(event.target)));
    this.drawing.addEventListener('mouseleave', () => this.describe(-1));
  }

  showBusy() {
    this.box.setAttribute('aria-busy', 'true');
  }

  showMessage(text) {
    this.buckets = [];
    this.drawing.replaceChildren();
    this.first.textContent = '';
    this.last.textContent = '';
    this.caption.textContent = text;
    this.box.setAttribute('aria-busy', 'false');
  }

  // Draws the API's answer: {interval, histogram: [{day|hour, count}]}.
  show(answer) {
    this.interval = answer.interval === 'hour' ? 'hour' : 'day';
    this.buckets = answer.histogram.map((row) => ({
      label: String(row[this.interval]),
      count: Number(row.count),
    }));
    this.anchor = -1;
    this.focus = 0;
    if (this.buckets.length === 0) {
      this.showMessage('No lines in this range.');
      return;
    }
    const highest = Math.max(1, ...this.buckets.map((bucket) => bucket.count));
    const slots = Math.max(SLOTS, this.buckets.length);
    this.offset = (slots - this.buckets.length) * 5;
    this.drawing.setAttribute('viewBox', `${-this.offset} 0 ${slots * 10} ${HEIGHT}`);
    this.axis.style.paddingInline = `${(100 * this.offset) / (slots * 10)}%`;
    this.axis.classList.toggle('single', this.buckets.length === 1);
    if (this.buckets.length === 1) this.axis.style.paddingInline = '0';
    const bars = this.buckets.map((bucket, index) => {
      const height = bucket.count === 0 ? 0 : Math.max(2, (bucket.count / highest) * HEIGHT);
      // A full-height transparent hit area keeps low bars easy to click and to drag over.
      const group = svg('g', {
        class: 'bar',
        tabindex: index === 0 ? 0 : -1,
        role: 'button',
        'data-index': index,
        'aria-label': `${bucket.label}: ${plural(bucket.count, 'line', 'lines')}`,
      });
      group.append(
          svg('rect', {class: 'hit', x: index * 10, y: 0, width: 10, height: HEIGHT}),
          svg('rect', {class: 'fill', x: index * 10 + 1, y: HEIGHT - height, width: 8, height}));
      return group;
    });
    this.drawing.replaceChildren(...bars);
    this.first.textContent = this.buckets[0].label;
    this.last.textContent = this.buckets.length > 1 ? this.buckets[this.buckets.length - 1].label : '';
    this.describe(-1);
    this.box.setAttribute('aria-busy', 'false');
  }

  total() {
    return this.buckets.reduce((sum, bucket) => sum + bucket.count, 0);
  }

  // The caption tells the bucket under the pointer or the focus, or the whole.
  describe(index) {
    if (this.buckets.length === 0) return;
    if (index < 0) {
      const unit = this.interval === 'hour' ? 'hour' : 'day';
      this.caption.textContent =
          `${plural(this.total(), 'line', 'lines')} · one bar per ${unit}, highest ` +
          count(Math.max(...this.buckets.map((bucket) => bucket.count)));
      return;
    }
    const [from, to] = this.selection(index);
    if (from === to) {
      this.caption.textContent = `${this.buckets[from].label}: ${plural(this.buckets[from].count, 'line', 'lines')}`;
    } else {
      let sum = 0;
      for (let i = from; i <= to; ++i) sum += this.buckets[i].count;
      this.caption.textContent =
          `${this.buckets[from].label} to ${this.buckets[to].label}: ${plural(sum, 'line', 'lines')}`;
    }
  }

  indexOf(target) {
    const bar = target instanceof Element ? target.closest('.bar') : null;
    return bar ? Number(bar.getAttribute('data-index')) : -1;
  }

  bars() {
    return this.drawing.querySelectorAll('.bar');
  }

  selection(index) {
    if (this.anchor < 0) return [index, index];
    return [Math.min(this.anchor, index), Math.max(this.anchor, index)];
  }

  mark(index) {
    const [from, to] = index < 0 ? [-1, -2] : this.selection(index);
    this.bars().forEach((bar, i) => bar.classList.toggle('picked', i >= from && i <= to));
    this.describe(index);
  }

  moveFocus(index) {
    const bars = this.bars();
    if (bars.length === 0) return;
    index = Math.max(0, Math.min(bars.length - 1, index));
    bars[this.focus].setAttribute('tabindex', '-1');
    bars[index].setAttribute('tabindex', '0');
    this.focus = index;
    bars[index].focus();
  }

  narrow(from, to) {
    this.anchor = -1;
    this.onNarrow(this.interval, this.buckets[from].label, this.buckets[to].label);
  }

  pointerDown(event) {
    const index = this.indexOf(event.target);
    if (index < 0 || event.button !== 0) return;
    event.preventDefault();
    this.dragging = true;
    this.anchor = index;
    this.drawing.setPointerCapture(event.pointerId);
    this.mark(index);
  }

  // While captured, the pointer's target is the SVG itself: find the bar by position.
  barAt(event) {
    const box = this.drawing.getBoundingClientRect();
    if (box.width === 0 || this.buckets.length === 0) return -1;
    const slots = Math.max(SLOTS, this.buckets.length);
    const slot = ((event.clientX - box.left) / box.width) * slots - this.offset / 10;
    const index = Math.floor(slot);
    return Math.max(0, Math.min(this.buckets.length - 1, index));
  }

  pointerMove(event) {
    if (!this.dragging) return;
    this.mark(this.barAt(event));
  }

  pointerUp(event) {
    if (!this.dragging) return;
    this.dragging = false;
    const [from, to] = this.selection(this.barAt(event));
    this.narrow(from, to);
  }

  cancelDrag() {
    this.dragging = false;
    this.anchor = -1;
    this.mark(-1);
  }

  focusIn(event) {
    const index = this.indexOf(event.target);
    if (index >= 0) {
      this.focus = index;
      this.mark(index);
    }
  }

  keyDown(event) {
    const index = this.indexOf(event.target);
    if (index < 0) return;
    const steps = {ArrowLeft: -1, ArrowRight: 1, PageUp: -10, PageDown: 10};
    if (event.key in steps || event.key === 'Home' || event.key === 'End') {
      event.preventDefault();
      if (event.shiftKey && this.anchor < 0) this.anchor = index;
      if (!event.shiftKey) this.anchor = -1;
      const next = event.key === 'Home' ? 0 :
          event.key === 'End' ? this.buckets.length - 1 : index + steps[event.key];
      this.moveFocus(next);
      this.mark(this.focus);
    } else if (event.key === 'Enter' || event.key === ' ') {
      event.preventDefault();
      const [from, to] = this.selection(index);
      this.narrow(from, to);
    } else if (event.key === 'Escape') {
      this.anchor = -1;
      this.mark(index);
    }
  }
}
