// Analysis: the engine searches the shown position without end and its
// lines are drawn in the analysis panel, the evaluation bar and the board's
// arrow. The app tells it when the position changes.
import { barShare, scoreText, whiteScore } from 'varn';
import { lineSan } from 'varn/pgn';

export class Analysis {
  constructor(elements, board) {
    this.el = elements; // { button, depth, score, nps, pv, bar, barText }
    this.board = board;
    this.engine = null;
    this.running = false;
    this.run = 0; // bumps with each search, so a late line of an old one is not drawn
  }

  // Starts analysing the position (fen and coordinate moves from it).
  async start(engine, position) {
    this.engine = engine;
    this.running = true;
    this.el.button.textContent = 'Stop analysis';
    this.el.button.classList.add('running');
    this.follow(position);
  }

  // Searches a new position, if analysing; outcome: the game's end there.
  // Returns once the search has started; it runs until the next change.
  async follow(position, outcome = null) {
    if (!this.running) return;
    const run = ++this.run;
    this.clear('');
    if (outcome) {
      await this.engine.stop();
      this.el.pv.textContent = outcome;
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
    await this.engine.stop();
    // From the request to the engine's bestmove, for the browser tests.
    this.el.button.dataset.stopMs = String(performance.now() - asked);
    this.el.button.textContent = 'Start analysis';
    this.el.button.classList.remove('running');
  }

  // A search's line drawn; the side to move comes from the position's FEN.
  show(info, fen) {
    if (!info.score || !info.depth) return;
    const white = whiteScore(info.score, fen.split(' ')[1] === 'w');
    this.el.depth.textContent = String(info.depth);
    if (info.nps !== undefined) this.el.nps.textContent = info.nps.toLocaleString('en');
    if (info.score.bound) {
      // A bound from a re-searched window: the last full line stays shown.
      const bound = (info.score.bound === 'lower') === (fen.split(' ')[1] === 'w') ? 'at least' : 'at most';
      this.el.score.textContent = `${scoreText(white)} (${bound})`;
      return;
    }
    this.el.score.textContent = scoreText(white);
    this.el.pv.textContent = lineSan(fen, info.pv || []);
    this.el.pv.dataset.depth = String(info.depth);
    this.el.bar.style.height = `${(barShare(white) * 100).toFixed(1)}%`;
    this.el.barText.textContent = scoreText(white);
    this.board.arrow(info.pv?.[0] || null);
  }

  // Empties the panel; text goes where the line was.
  clear(text = 'Start the analysis to see Varn\'s line.') {
    for (const key of ['depth', 'score', 'nps']) this.el[key].textContent = '–';
    this.el.pv.textContent = text;
    delete this.el.pv.dataset.depth;
    this.el.bar.style.height = '50%';
    this.el.barText.textContent = '0.00';
  }
}
