// The page's handle on the engine: the eighteen exports run in a worker, so
// the page never freezes; a search is stopped through the shared stop word.
import { parseReport } from './report.js';

export class VarnEngine {
  // callbacks: { line(report), currentMove(info), error(text) }, all optional.
  static async start(workerUrl, callbacks = {}, hashKb = 32 * 1024) {
    if (!globalThis.crossOriginIsolated) {
      throw new Error('The page is not cross-origin isolated, so the engine cannot share memory with it. Serve it with scripts/web.sh.');
    }
    const engine = new VarnEngine(new Worker(workerUrl), callbacks);
    const ready = await engine.request({ type: 'init', hashKb }, 'ready');
    engine.stopWord = new Int32Array(ready.memory, ready.stopWord, 1);
    Object.assign(engine, { version: ready.version, author: ready.author, params: ready.params, hashKb: ready.hashKb });
    return engine;
  }

  constructor(worker, callbacks) {
    this.worker = worker;
    this.callbacks = callbacks;
    this.waiting = new Map();
    this.nextId = 1;
    this.searching = null;
    worker.onmessage = (event) => this.receive(event.data);
    worker.onerror = (event) => this.fail(event.message || 'the engine worker failed');
  }

  receive(message) {
    if (message.type === 'line') {
      if (this.searching) this.searching.lines.push(message);
      this.callbacks.line?.(parseReport(message));
    } else if (message.type === 'currmove') {
      this.callbacks.currentMove?.(message);
    } else if (message.type === 'error') {
      this.fail(`${message.request}: ${message.message}`);
    } else {
      const key = message.type === 'done' ? `done${message.id}` : message.type;
      const resolve = this.waiting.get(key);
      this.waiting.delete(key);
      resolve?.(message);
    }
  }

  fail(text) {
    this.callbacks.error?.(text);
    for (const resolve of this.waiting.values()) resolve({ type: 'error', message: text });
    this.waiting.clear();
  }

  request(message, answer) {
    return new Promise((resolve, reject) => {
      this.waiting.set(answer, (reply) => (reply.type === 'error' ? reject(new Error(reply.message)) : resolve(reply)));
      this.worker.postMessage(message);
    });
  }

  post(message) {
    this.worker.postMessage(message);
  }

  setStartPosition() { this.post({ type: 'startPosition' }); }
  setPosition(fen) { this.post({ type: 'position', fen }); }
  // Coordinate moves (e2e4, e7e8q) played on the position set last.
  setGame(moves) { this.post({ type: 'game', moves: moves.join(' ') }); }
  setInfinite() { this.post({ type: 'infinite' }); }
  setDepth(plies) { this.post({ type: 'depth', plies }); }
  setBlitz(baseSeconds, incrementSeconds) { this.post({ type: 'blitz', baseSeconds, incrementSeconds }); }
  setTime(moves, seconds) { this.post({ type: 'time', moves: Math.max(1, moves), seconds }); }
  setParam(name, value) { this.post({ type: 'param', name, value: String(value) }); }
  clearHash() { this.post({ type: 'clearHash' }); }

  // Searches with the limit set last; resolves when the search is over with
  // { noMove, best (the last exact line), last (the last line), nodes, ms }.
  async analyse(ponder = false) {
    if (this.searching) throw new Error('a search is already running');
    const id = this.nextId++;
    const search = { id, lines: [], stopping: null };
    this.searching = search;
    try {
      const done = await this.request({ type: 'analyse', id, ponder }, `done${id}`);
      const lines = search.lines.map(parseReport);
      const exact = lines.filter((line) => line.kind === 'exact');
      return { noMove: done.noMove, best: exact.at(-1) || null, last: lines.at(-1) || null, nodes: done.nodes, ms: done.ms };
    } finally {
      clearInterval(search.stopping);
      if (search.stopping) this.lastStopMs = performance.now() - search.stopAt;
      this.searching = null;
    }
  }

  // Stops the running search. The root clears the stop word when it starts,
  // so the word is written again until the worker says the search is over.
  stop() {
    const search = this.searching;
    if (!search || search.stopping) return;
    Atomics.store(this.stopWord, 0, 1);
    search.stopAt = performance.now();
    search.stopping = setInterval(() => Atomics.store(this.stopWord, 0, 1), 10);
  }

  terminate() {
    this.worker.terminate();
  }
}

// Runs the benchmark procedure through the module: for each position a fresh
// table, the position, a fixed depth; the signature sums the node count sent
// with each search's last line.
export async function benchSignature(engine, fens, depth) {
  let signature = 0, nodes = 0, ms = 0;
  for (const fen of fens) {
    engine.clearHash();
    engine.setPosition(fen);
    engine.setDepth(depth);
    const result = await engine.analyse();
    signature += result.last ? result.last.nodes : 0;
    nodes += result.nodes;
    ms += result.ms;
  }
  return { signature, nodes, ms };
}
