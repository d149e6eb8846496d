// VarnEngine: the WebAssembly engine behind a small interface. It runs in a
// worker (a Web Worker, or a worker thread in Node); the engine's search
// session decides time, stops, the move played and the score, and this class
// only sends UCI commands and reads the answers.
import { openTransport } from './transport.js';
import { goCommand, isRefusal, parseInfo, parseOption, positionCommand, whiteToMove } from './uci.js';

// The Elo between two levels offered to a player.
const LevelStep = 200;

export class VarnEngine {
  // Loads the engine. options: url (the folder with the engine files, default
  // the package's own), threads (false: the build without threads even where
  // shared memory allows threads), hash (MB), onMessage(text) for the
  // engine's "info string" notes, onFailure(error) when the engine fails
  // after it started; openTransport to talk to another UCI engine instead.
  static async start(options = {}) {
    const engine = new VarnEngine(options);
    const open = options.openTransport ?? openTransport;
    engine.transport = await open(options, (text) => engine.receive(text), (error) => engine.fail(error));
    try {
      const uciok = engine.expect('uciok');
      engine.send('uci');
      await uciok;
      if (options.hash !== undefined) await engine.setOption('Hash', options.hash);
    } catch (error) {
      await engine.transport.close();
      throw error;
    }
    return engine;
  }

  constructor(options) {
    this.onMessage = options.onMessage || null;
    this.onFailure = options.onFailure || null;
    this.name = '';
    this.author = '';
    this.options = new Map(); // name -> { name, type, default, min, max }
    this.fen = 'startpos';
    this.played = [];
    this.limit = {};
    this.search = null; // the running search: { lines, pvs, onInfo, resolve, last }
    this.waiting = []; // [{ word, resolve, reject }] for uciok and readyok
    this.notes = []; // "info string" texts since the last readyok
    this.benchRun = null; // { lines, finish, reject } while a bench runs
    this.failure = null; // the Error that ended the engine
    this.shownFen = null; // the "Fen:" line of the engine's last "d"
  }

  // True when the build with threads runs, false for the one without.
  get threads() {
    return Boolean(this.transport?.threads);
  }

  send(line) {
    if (!this.failure) this.transport.send(line);
  }

  expect(word) {
    if (this.failure) return Promise.reject(this.failure);
    return new Promise((resolve, reject) => this.waiting.push({ word, resolve, reject }));
  }

  // The engine's worker failed: every pending call rejects with the reason,
  // and so does every later one.
  fail(error) {
    this.end(error);
    this.onFailure?.(error);
  }

  end(error) {
    this.failure = error;
    for (const waiter of this.waiting.splice(0)) waiter.reject(error);
    const search = this.search;
    this.search = null;
    search?.reject(error);
    this.benchRun?.reject(error);
    this.benchRun = null;
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
    } else if (line.startsWith('Fen: ')) this.shownFen = line.slice(5);
    else if (line.startsWith('id name ')) this.name = line.slice(8);
    else if (line.startsWith('id author ')) this.author = line.slice(10);
    else if (this.benchRun) {
      this.benchRun.lines.push(line);
      if (word === 'nps') this.benchRun.finish();
    } else if (word === 'uciok' || word === 'readyok') {
      // Commands run in order: the notes before a readyok are those of the
      // commands sent before its isready.
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
    // A line's number: 1 unless the engine searches several (MultiPV).
    if (info.pv || info.score) info.multipv ??= 1;
    if (info.score) search.last = info;
    if (info.pv && info.score && !info.score.bound && info.depth > 0) {
      search.lines.push(info);
      if (info.depth > (search.pvs[0]?.depth ?? 0)) search.pvs = [];
      search.pvs[info.multipv - 1] = info;
    }
    search.onInfo?.(info);
  }

  // A search ends once both its bestmove and the readyok after its go came
  // (a refused position is answered before that readyok).
  finishSearch(line) {
    const search = this.search;
    if (!search) return;
    search.bestLine = line;
    if (search.checked) this.settle(search);
  }

  settle(search) {
    if (this.search === search) this.search = null;
    if (search.refused) {
      search.reject(new Error(`Varn refused the position: ${search.refused}`));
      return;
    }
    const [, best, , ponder] = search.bestLine.split(/\s+/);
    search.resolve({
      bestmove: best && best !== '0000' && best !== '(none)' ? best : null,
      ponder: ponder || null,
      info: search.last,
      lines: search.lines,
      pvs: search.pvs.filter(Boolean),
      whiteToMove: search.whiteToMove,
      notes: search.notes,
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
  // lines (every full line reported), pvs (the last depth's lines, line 1
  // first: as many as the MultiPV option asks), whiteToMove, notes (the
  // engine's notes on this position and these limits) }. Rejects with the
  // engine's reason when it refuses the position or a move. A running search
  // is stopped first. onInfo(info) sees every info line as it comes; a line's
  // info.multipv is its number.
  async analyse(onInfo = null) {
    if (this.failure) throw this.failure;
    // The position and limits as they are now, whatever is set while the
    // running search ends.
    const position = positionCommand(this.fen, this.played);
    const go = goCommand(this.limit);
    const white = whiteToMove(this.fen, this.played);
    // No await when idle: the search below must claim the engine before any
    // other call of analyse in the same turn can see it free.
    while (this.search) await this.stop();
    if (this.failure) throw this.failure;
    return new Promise((resolve, reject) => {
      const search = { lines: [], pvs: [], last: null, onInfo, resolve, reject, whiteToMove: white, notes: [], refused: null, checked: false, bestLine: null };
      this.search = search;
      this.send(position);
      this.send(go);
      // The readyok after the go brings the notes on the position and the go.
      this.expect('readyok').then((notes) => {
        search.notes = notes;
        search.refused = notes.find(isRefusal) ?? null;
        search.checked = true;
        if (search.bestLine) this.settle(search);
        // A refused move leaves the game before it: that search is no answer.
        else if (search.refused) this.send('stop');
      }, () => {});
      this.send('isready');
    });
  }

  // Ends the running search; resolves once the engine has answered it.
  async stop() {
    const search = this.search;
    if (!search) return;
    const done = new Promise((resolve) => {
      const { resolve: finish, reject: refuse } = search;
      search.resolve = (result) => {
        finish(result);
        resolve(result);
      };
      // A refused or failed search is over too.
      search.reject = (error) => {
        refuse(error);
        resolve();
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

  // How the engine takes a position: { fen (six fields, after the moves),
  // notes } with the FEN fields it had to drop named in notes, or { fen:
  // null, notes } with the reason it refused the position. A running search
  // is stopped first.
  async readPosition(fen = 'startpos', moves = []) {
    while (this.search) await this.stop();
    this.shownFen = null;
    this.send(positionCommand(fen, moves));
    const notes = await this.ready();
    this.send('d');
    await this.ready();
    return { fen: this.shownFen, notes };
  }

  // setoption: an engine option or parameter by name (see `options`);
  // resolves with the engine's notes about it, [] when it took the value.
  setOption(name, value) {
    this.send(`setoption name ${name}${value === undefined ? '' : ` value ${value}`}`);
    return this.ready();
  }

  // The levels, from the engine's UCI_Elo option: { min, max, steps }, max
  // being full strength and steps the levels to offer a player: every
  // LevelStep Elo from min while a whole step remains below full strength.
  // null for an engine without levels.
  get levels() {
    const elo = this.options.get('UCI_Elo');
    if (!elo) return null;
    const steps = [];
    for (let level = Math.ceil(elo.min / LevelStep) * LevelStep; level + LevelStep <= elo.max; level += LevelStep) steps.push(level);
    return { min: elo.min, max: elo.max, steps };
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
    if (this.failure) throw this.failure;
    const done = new Promise((resolve, reject) => {
      const lines = [];
      this.benchRun = {
        lines,
        reject,
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

  // Stops any search and unloads the engine; the process or page can then
  // end. Resolves also after a failure, and ends an engine that does not
  // answer its stop within a second all the same.
  async quit() {
    if (this.search) {
      let timer;
      await Promise.race([this.stop(), new Promise((resolve) => { timer = setTimeout(resolve, 1000); })]);
      clearTimeout(timer);
    }
    this.send('quit');
    await this.transport.close();
    if (!this.failure) this.end(new Error('the engine has quit'));
  }
}
