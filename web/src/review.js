// Game review: every position of the game searched, each move judged by the
// package's rule (the one varn-annotate writes as NAGs), drawn as a graph.
import { decidedValue, judgeMoves, reviewGame, reviewSummary, scoreText } from 'varn';
import { drawGraph } from './graph.js';

export class Review {
  // elements: { button, progress, graph, summary }; onPick(ply) from the graph.
  constructor(elements, onPick) {
    this.el = elements;
    this.onPick = onPick;
    this.scores = [];
    this.verdicts = [];
    this.controller = null;
  }

  // Reviews a game ({ start (FEN), moves }) with limits ({ depth } or
  // { movetime }); false when it was stopped before the end. The positions
  // searched stay in this.positions.
  async run(engine, game, limits) {
    const controller = new AbortController();
    this.controller = controller;
    this.clear();
    this.el.button.textContent = 'Stop review';
    this.el.progress.hidden = false;
    this.el.progress.max = game.moves.length + 1;
    this.el.progress.value = 0;
    const positions = await reviewGame(engine, { fen: game.start, moves: game.moves }, limits, {
      signal: controller.signal,
      onPosition: (index) => { this.el.progress.value = index + 1; },
    });
    this.finish();
    if (controller.signal.aborted) return false;
    this.positions = positions;
    this.scores = positions.map((p) => p.score);
    const whiteFirst = game.start.split(' ')[1] === 'w';
    this.verdicts = judgeMoves(this.scores, whiteFirst);
    const summary = reviewSummary(this.scores, whiteFirst);
    const count = (n, word) => `${n} ${word}${n === 1 ? '' : 's'}`;
    const side = (name, s) => `${name}: ${count(s.inaccuracies, 'inaccuracy').replace(/ys$/, 'ies')}, ${count(s.mistakes, 'mistake')}, ${count(s.blunders, 'blunder')}, average loss ${s.acpl} centipawns`;
    this.el.summary.textContent = `${side('White', summary.white)}. ${side('Black', summary.black)}. Click the graph to see a position.`;
    return true;
  }

  async stop(engine) {
    if (!this.controller) return;
    this.controller.abort();
    await engine.stop();
  }

  finish() {
    this.controller = null;
    this.el.button.textContent = 'Review game';
    this.el.progress.hidden = true;
  }

  clear() {
    this.positions = [];
    this.scores = [];
    this.verdicts = [];
    this.el.summary.textContent = '';
    this.draw(0);
  }

  draw(cursor) {
    const points = this.scores.map((score) => ({ value: decidedValue(score), text: scoreText(score) }));
    drawGraph(this.el.graph, points, this.verdicts, cursor, this.onPick);
  }
}
