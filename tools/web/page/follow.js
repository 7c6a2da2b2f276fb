// Live follow: new matching lines from the API's event stream, held back while paused.

// Lines held while paused, at most; older ones are dropped and counted.
const HELD_MOST = 10000;

export class Follower {
  // `onLines(lines)` gets new lines, newest first; `onState(text, trouble)` a word on the
  // stream's state; `onProblem(message, isError)` the server's problem events.
  constructor(onLines, onState, onProblem) {
    this.onLines = onLines;
    this.onState = onState;
    this.onProblem = onProblem;
    this.source = null;
    this.paused = false;
    this.held = [];
    this.dropped = 0;
  }

  get running() {
    return this.source !== null;
  }

  // Follows the filter `params` (URLSearchParams); stops what ran before.
  start(params) {
    this.stop();
    this.paused = false;
    const source = new EventSource('/api/follow?' + params.toString());
    this.source = source;
    this.onState('Connecting…', false);
    source.addEventListener('open', () => this.onState(this.paused ? 'Paused' : 'Live', false));
    source.addEventListener('message', (event) => this.receive(event.data));
    source.addEventListener('problem', (event) => {
      let problem = {};
      try {
        problem = JSON.parse(event.data);
      } catch {
        problem = {message: String(event.data), error: true};
      }
      this.onProblem(String(problem.message ?? ''), problem.error === true);
    });
    source.addEventListener('error', () => {
      // The browser tries again by itself while the stream is CONNECTING; CLOSED is for good.
      if (source.readyState === EventSource.CLOSED) {
        this.onState('Stopped: the console cannot be reached', true);
      } else {
        this.onState('Reconnecting…', true);
      }
    });
  }

  stop() {
    if (this.source) this.source.close();
    this.source = null;
    this.held = [];
    this.dropped = 0;
  }

  receive(data) {
    let line;
    try {
      line = JSON.parse(data);
    } catch {
      this.onProblem('An event of the stream was no JSON line.', false);
      return;
    }
    if (this.paused) {
      this.held.push(line);
      if (this.held.length > HELD_MOST) {
        this.held.shift();
        ++this.dropped;
      }
      this.onState(`Paused · ${this.held.length} new`, false);
      return;
    }
    this.onLines([line]);
  }

  pause() {
    this.paused = true;
    this.onState('Paused', false);
  }

  // Shows what came while paused, and goes on live.
  resume() {
    this.paused = false;
    const held = this.held.reverse();
    this.held = [];
    if (this.dropped > 0) {
      this.onProblem(`${this.dropped} lines that came while paused are not shown.`, false);
      this.dropped = 0;
    }
    if (held.length > 0) this.onLines(held);
    this.onState('Live', false);
  }
}
