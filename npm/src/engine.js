// VarnEngine: the WebAssembly engine behind a small interface. In a browser
// it runs in a worker, in Node on the module's own threads; either way the
// engine's search session decides time, stops, the move played and the
// score, and this class only sends UCI commands and reads the answers.
import { openTransport } from '#transport';
import { goCommand, parseInfo, parseOption, positionCommand, whiteToMove } from './uci.js';

export class VarnEngine {
  // Loads the engine. options: url (browsers: the folder with the engine
  // files, default "./engine/"), hash (MB), onMessage(text) for the engine's
  // "info string" notes; openTransport to talk to another UCI engine instead.
  static async start(options = {}) {
    const engine = new VarnEngine(options);
    engine.transport = await (options.openTransport ?? openTransport)(options, (text) => engine.receive(text));
    const uciok = engine.expect('uciok');
    engine.send('uci');
    await uciok;
    if (options.hash) await engine.setOption('Hash', options.hash);
    return engine;
  }

  constructor(options) {
    this.onMessage = options.onMessage || null;
    this.name = '';
    this.author = '';
    this.options = new Map(); // name -> { name, type, default, min, max }
    this.fen = 'startpos';
    this.played = [];
    this.limit = {};
    this.search = null; // the running search: { lines, onInfo, resolve, last }
    this.waiting = []; // [{ word, resolve }] for uciok and readyok
    this.notes = []; // "info string" texts since the last readyok
    this.benchRun = null; // { lines, finish } while a bench runs
  }

  send(line) {
    this.transport.send(line);
  }

  expect(word) {
    return new Promise((resolve) => this.waiting.push({ word, resolve }));
  }

  receive(text) {
    for (const line of text.split('\n')) if (line) this.readLine(line);
  }

  readLine(line) {
    const word = line.split(' ', 1)[0];
    if (word === 'info') this.readInfo(line);
    else if (word === 'bestmove') this.finishSearch(line);
    else if (word === 'option') {
      const option = parseOption(line);
      if (option) this.options.set(option.name, option);
    } else if (line.startsWith('id name ')) this.name = line.slice(8);
    else if (line.startsWith('id author ')) this.author = line.slice(10);
    else if (this.benchRun) {
      this.benchRun.lines.push(line);
      if (word === 'nps') this.benchRun.finish();
    } else if (word === 'uciok' || word === 'readyok') {
      const at = this.waiting.findIndex((w) => w.word === word);
      if (at >= 0) this.waiting.splice(at, 1)[0].resolve(this.notes.splice(0));
    }
  }

  readInfo(line) {
    const info = parseInfo(line);
    if (info.string !== undefined) {
      this.notes.push(info.string);
      this.onMessage?.(info.string);
      return;
    }
    const search = this.search;
    if (!search) return;
    if (info.score) search.last = info;
    if (info.pv && info.score && !info.score.bound && info.depth > 0) search.lines.push(info);
    search.onInfo?.(info);
  }

  finishSearch(line) {
    const search = this.search;
    if (!search) return;
    this.search = null;
    const [, best, , ponder] = line.split(/\s+/);
    search.resolve({
      bestmove: best && best !== '0000' && best !== '(none)' ? best : null,
      ponder: ponder || null,
      info: search.last,
      lines: search.lines,
      whiteToMove: search.whiteToMove,
    });
  }

  // The position searched next: a FEN ("startpos" for the start position)
  // and coordinate moves played on it (e2e4, e7e8q).
  position(fen = 'startpos', moves = []) {
    this.fen = fen;
    this.played = [...moves];
    return this;
  }

  // The moves played on the position set last, replacing earlier ones.
  moves(list) {
    this.played = [...list];
    return this;
  }

  // The limits of the next searches: { depth }, { movetime } (ms), { nodes },
  // { mate }, a clock { wtime, btime, winc, binc, movestogo } (ms), or
  // { infinite: true }; {} searches until stop().
  limits(limits = {}) {
    this.limit = { ...limits };
    return this;
  }

  get searching() {
    return this.search !== null;
  }

  // Searches the position with the limits; resolves at the engine's
  // bestmove with { bestmove, ponder, info (the last line with a score),
  // lines (every full line reported), whiteToMove }. A running search is
  // stopped first. onInfo(info) sees every info line as it comes.
  async analyse(onInfo = null) {
    // The position and limits as they are now, whatever is set while the
    // running search ends.
    const position = positionCommand(this.fen, this.played);
    const go = goCommand(this.limit);
    const white = whiteToMove(this.fen, this.played);
    // No await when idle: the search below must claim the engine before any
    // other call of analyse in the same turn can see it free.
    while (this.search) await this.stop();
    return new Promise((resolve) => {
      this.search = { lines: [], last: null, onInfo, resolve, whiteToMove: white };
      this.send(position);
      this.send(go);
    });
  }

  // Ends the running search; resolves once the engine has answered it.
  async stop() {
    const search = this.search;
    if (!search) return;
    const done = new Promise((resolve) => {
      const finish = search.resolve;
      search.resolve = (result) => {
        finish(result);
        resolve(result);
      };
    });
    this.send('stop');
    await done;
  }

  // Waits until the engine has taken every command sent; resolves with the
  // notes it wrote meanwhile (an option clamped or refused, a smaller table).
  ready() {
    const readyok = this.expect('readyok');
    this.send('isready');
    return readyok;
  }

  // setoption: an engine option or parameter by name (see `options`);
  // resolves with the engine's notes about it, [] when it took the value.
  setOption(name, value) {
    this.send(`setoption name ${name}${value === undefined ? '' : ` value ${value}`}`);
    return this.ready();
  }

  // The Elo range of the levels, from the engine's UCI_Elo option: { min,
  // max }, max being full strength. null for an engine without levels.
  get levels() {
    const elo = this.options.get('UCI_Elo');
    return elo ? { min: elo.min, max: elo.max } : null;
  }

  // Plays at a level: an Elo within `levels` (clamped by the engine), or
  // null for full strength. seed makes a level's choices repeatable.
  async setLevel(elo, seed) {
    const notes = [];
    if (seed !== undefined) notes.push(...(await this.setOption('Level Seed', seed)));
    if (elo === null || elo === undefined) return [...notes, ...(await this.setOption('UCI_LimitStrength', false))];
    notes.push(...(await this.setOption('UCI_Elo', elo)));
    return [...notes, ...(await this.setOption('UCI_LimitStrength', true))];
  }

  // A new game: an empty table and the level's random choices restarted.
  newGame() {
    this.send('ucinewgame');
    return this.ready();
  }

  // The engine's benchmark at a depth: { positions, depth, nodes, ms, nps };
  // its node count is the engine's signature.
  async bench(depth) {
    while (this.search) await this.stop();
    const done = new Promise((resolve) => {
      const lines = [];
      this.benchRun = {
        lines,
        finish: () => {
          const values = Object.fromEntries(lines.map((line) => line.split(' ')).map(([key, value]) => [key, Number(value)]));
          this.benchRun = null;
          resolve({ positions: values.positions, nodes: values.nodes, ms: values.time, nps: values.nps });
        },
      };
    });
    this.send(`bench ${depth}`);
    return done;
  }

  // Stops any search and unloads the engine.
  async quit() {
    while (this.search) await this.stop();
    this.send('quit');
    await this.transport.close();
  }
}
