// Playing Varn: the clocks, Varn's level and its moves. The engine plans its
// own time from the clocks it is given; the page only keeps them.
const LevelStep = 150;
const ResignCp = 900;

// The name of the side that is not side ('w' or 'b').
const otherName = (side) => (side === 'w' ? 'Black' : 'White');

function clockText(ms) {
  const seconds = Math.max(0, Math.ceil(ms / 1000));
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}

export class Play {
  // elements: { level, result, playing, resign, clocks: { w, b } };
  // onEngineMove(lan) plays Varn's move, onEnd(result text) follows the
  // game's end.
  constructor(elements, { onEngineMove, onEnd }) {
    this.el = elements;
    this.onEngineMove = onEngineMove;
    this.onEnd = onEnd;
    this.game = null; // { human, clock, increment, turnStart, timer, over, level }
  }

  get active() {
    return Boolean(this.game && !this.game.over);
  }

  humanToMove(chess) {
    return this.active && chess.turn() === this.game.human;
  }

  // The levels on offer: every LevelStep Elo from the engine's lowest level
  // while a whole step remains below full strength, the top of its range.
  offerLevels(levels) {
    const options = [];
    if (levels) {
      for (let elo = levels.min; elo + LevelStep <= levels.max; elo += LevelStep) options.push([String(elo), `Level ${elo}`]);
    }
    options.push(['full', levels ? `Full strength (${levels.max})` : 'Full strength']);
    this.el.level.replaceChildren(...options.map(([value, text]) => Object.assign(document.createElement('option'), { value, textContent: text })));
    this.el.level.value = 'full';
  }

  // A new game on the page's game from its last position; settings: human
  // ('w' or 'b'), base and increment (seconds), level (Elo or 'full').
  async start(engine, game, settings) {
    this.engine = engine;
    const level = settings.level === 'full' ? null : Number(settings.level);
    await engine.newGame();
    await engine.setLevel(level);
    this.game = {
      human: settings.human,
      clock: { w: settings.base * 1000, b: settings.base * 1000 },
      increment: settings.increment * 1000,
      turnStart: performance.now(),
      timer: setInterval(() => this.tick(game), 100),
      over: false,
      losing: 0, // Varn's moves in a row at a lost score
      level,
    };
    this.el.playing.textContent = `Varn plays ${otherName(settings.human)} ${level ? `at level ${level}` : 'at full strength'}.`;
    this.el.result.textContent = '';
    this.el.resign.disabled = false;
    this.tick(game);
    if (game.chess().turn() !== settings.human) this.engineTurn(game);
  }

  // After a move by either side: the mover's clock is charged and credited,
  // then the game ends or the other side is to move.
  moved(game) {
    const state = this.game;
    if (!this.active) return;
    const mover = game.chess().turn() === 'w' ? 'b' : 'w';
    state.clock[mover] = this.timeLeft(mover);
    if (state.clock[mover] <= 0) return this.end(`${otherName(mover)} wins on time.`);
    state.clock[mover] += state.increment;
    state.turnStart = performance.now();
    const outcome = game.outcome();
    if (outcome) return this.end(outcome);
    this.tick(game);
    if (mover === state.human) this.engineTurn(game);
    return undefined;
  }

  async engineTurn(game) {
    const state = this.game;
    const side = game.chess().turn();
    const left = this.timeLeft(side);
    const clocks = side === 'w' ? { wtime: left, btime: state.clock.b } : { wtime: state.clock.w, btime: left };
    const { fen, moves } = game.engineInput(game.length);
    const result = await this.engine.position(fen, moves)
      .limits({ ...clocks, winc: state.increment, binc: state.increment })
      .analyse();
    if (state !== this.game || state.over || !result.bestmove) return;
    // Varn resigns after three moves in a row at nine pawns down or mated.
    const score = result.info?.score ?? {};
    state.losing = score.cp <= -ResignCp || score.mate < 0 ? state.losing + 1 : 0;
    if (state.losing >= 3) {
      this.end(`${otherName(side)} wins: Varn resigned.`);
      return;
    }
    this.onEngineMove(result.bestmove);
  }

  // The clock of the side to move as it stands now.
  timeLeft(side) {
    return this.game.clock[side] - (performance.now() - this.game.turnStart);
  }

  tick(game) {
    const state = this.game;
    const turn = game.chess().turn();
    for (const side of ['w', 'b']) {
      const left = !state.over && side === turn ? this.timeLeft(side) : state.clock[side];
      this.el.clocks[side].querySelector('b').textContent = clockText(left);
      this.el.clocks[side].classList.toggle('running', !state.over && side === turn);
    }
    if (!state.over && this.timeLeft(turn) <= 0) this.end(`${otherName(turn)} wins on time.`);
  }

  // Ends the game with a result text (none when it is abandoned).
  async end(result) {
    const state = this.game;
    if (!state || state.over) return;
    state.over = true;
    clearInterval(state.timer);
    if (result) this.el.result.textContent = result;
    this.el.resign.disabled = true;
    for (const side of ['w', 'b']) this.el.clocks[side].classList.remove('running');
    await this.engine.stop();
    // Analysis after the game is at full strength.
    if (state.level) await this.engine.setLevel(null);
    this.onEnd(result);
  }

  // Forgets the last game's texts, for a new game on the page.
  clear() {
    this.el.result.textContent = '';
    this.el.playing.textContent = '';
  }

  resign() {
    if (this.active) this.end(`${otherName(this.game.human)} wins: you resigned.`);
  }
}
