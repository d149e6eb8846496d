// Analysis: the engine searches the shown position without end and its
// lines (one to five, the player's choice) are drawn in the analysis panel,
// line 1 also in the evaluation bar and the board's arrow. Every move of a
// line can be played by a click. The app tells it when the position changes.
import { barShare, scoreText, whiteScore } from 'varn';
import { lineSan } from 'varn/pgn';

export class Analysis {
  // elements: { button, depth, score, nps, lines (a list), bar, barText };
  // onPlay(moves) plays the coordinate moves of a line up to the one clicked.
  constructor(elements, board, onPlay) {
    this.el = elements;
    this.board = board;
    this.engine = null;
    this.running = false;
    this.count = 1; // lines shown
    this.position = null;
    this.shown = []; // per line: its coordinate moves
    this.ending = null; // the result of a game ended on the board
    this.run = 0; // bumps with each search, so a late line of an old one is not drawn
    this.el.lines.addEventListener('click', (event) => {
      const move = event.target.closest('[data-move]');
      if (!move) return;
      const line = this.shown[Number(move.closest('[data-line]').dataset.line) - 1] || [];
      onPlay(line.slice(0, Number(move.dataset.move) + 1));
    });
    this.clear();
  }

  // Starts analysing the position (fen and coordinate moves from it).
  async start(engine, position) {
    this.engine = engine;
    this.running = true;
    this.el.button.textContent = 'Stop analysis';
    this.el.button.classList.add('running');
    await engine.setOption('MultiPV', this.count);
    this.follow(position);
  }

  // Shows count lines from now on; a running analysis starts again with them.
  async lines(count) {
    this.count = count;
    if (!this.running) return;
    await this.engine.setOption('MultiPV', count);
    this.follow(this.position);
  }

  // Searches a new position, if analysing; outcome: the game's end there.
  // Returns once the search has started; it runs until the next change.
  async follow(position, outcome = null) {
    if (!this.running) return;
    const run = ++this.run;
    this.position = position;
    this.clear('');
    if (outcome) {
      await this.engine.stop();
      this.row(1).moves.textContent = outcome;
      return;
    }
    const { start, moves, fen } = position;
    this.engine.position(start, moves).limits({}).analyse((info) => {
      if (run === this.run && this.running) this.show(info, fen);
    });
  }

  async stop() {
    if (!this.running) return;
    this.running = false;
    this.run += 1;
    const asked = performance.now();
    try {
      await this.engine.stop();
      // From the request to the engine's bestmove, for the browser tests.
      this.el.button.dataset.stopMs = String(performance.now() - asked);
      // Play and the review search one line.
      await this.engine.setOption('MultiPV', 1);
    } finally {
      // Also when the engine has failed: the analysis is over either way.
      this.el.button.textContent = 'Start analysis';
      this.el.button.classList.remove('running');
    }
  }

  // The list item of line n (from 1), made when first needed: its score and
  // its moves (#pv for line 1).
  row(n) {
    let item = this.el.lines.querySelector(`[data-line="${n}"]`);
    if (!item) {
      item = document.createElement('li');
      item.className = 'line';
      item.dataset.line = String(n);
      const moves = document.createElement('span');
      moves.className = 'line-moves';
      if (n === 1) moves.id = 'pv';
      item.append(Object.assign(document.createElement('b'), { className: 'line-score' }), moves);
      this.el.lines.append(item);
    }
    return { item, score: item.firstChild, moves: item.lastChild };
  }

  // A search's line drawn; the side to move comes from the position's FEN.
  show(info, fen) {
    if (!info.score || !info.depth || info.multipv > this.count) return;
    const whiteMoves = fen.split(' ')[1] === 'w';
    const white = whiteScore(info.score, whiteMoves);
    const first = info.multipv === 1;
    if (first) {
      this.el.depth.textContent = String(info.depth);
      if (info.nps !== undefined) this.el.nps.textContent = info.nps.toLocaleString('en');
    }
    if (info.score.bound) {
      // A bound from a re-searched window: the last full line stays shown.
      const bound = (info.score.bound === 'lower') === whiteMoves ? 'at least' : 'at most';
      if (first) this.el.score.textContent = `${scoreText(white)} (${bound})`;
      return;
    }
    const { score, moves } = this.row(info.multipv);
    score.textContent = scoreText(white);
    this.drawMoves(moves, fen, info.pv || []);
    moves.dataset.depth = String(info.depth);
    this.shown[info.multipv - 1] = info.pv || [];
    if (!first) return;
    this.el.score.textContent = scoreText(white);
    this.el.bar.style.height = `${(barShare(white) * 100).toFixed(1)}%`;
    this.el.barText.textContent = scoreText(white);
    this.board.arrow(info.pv?.[0] || null);
  }

  // A line's moves in standard notation, each a button that plays the line
  // up to it; move numbers stay plain text.
  drawMoves(element, fen, pv) {
    const parts = [];
    let index = 0;
    for (const word of lineSan(fen, pv).split(' ').filter(Boolean)) {
      if (parts.length) parts.push(' ');
      if (word.endsWith('.')) {
        parts.push(word);
      } else {
        parts.push(Object.assign(document.createElement('button'), { className: 'line-move', textContent: word, title: 'Play the line up to this move' }));
        parts.at(-1).dataset.move = String(index);
        index += 1;
      }
    }
    element.replaceChildren(...parts);
  }

  // The result of a position where the game has ended by mate or stalemate
  // (score { winner } or { draw: true }), or null for a position that goes
  // on: the bar and the score show the result while it is on the board.
  result(score) {
    const ended = this.ending;
    this.ending = score;
    if (score) this.drawEnding();
    else if (ended && !this.running) this.clear();
  }

  drawEnding() {
    const text = this.ending.draw ? '½-½' : scoreText(this.ending);
    this.el.bar.style.height = this.ending.draw ? '50%' : `${barShare(this.ending) * 100}%`;
    this.el.barText.textContent = text;
    this.el.score.textContent = text;
  }

  // Empties the panel; text goes where line 1 was.
  clear(text = 'Start the analysis to see Varn\'s lines.') {
    for (const key of ['depth', 'score', 'nps']) this.el[key].textContent = '–';
    this.el.lines.replaceChildren();
    this.shown = [];
    this.row(1).moves.textContent = text;
    this.el.bar.style.height = '50%';
    this.el.barText.textContent = '0.00';
    if (this.ending) this.drawEnding();
  }
}
