// Game review: every position of the game searched, each move judged by the
// package's rule (the one varn-annotate writes as NAGs and words), drawn as a
// graph, with each side's accuracy and the verdict of the move shown.
import { decidedValue, judgeGame, reviewGame, scoreText } from 'varn';
import { drawGraph } from './graph.js';

const plural = (n, word, words) => `${n} ${n === 1 ? word : words}`;

export class Review {
  // elements: { button, progress, graph, summary, note }; onPick(ply) from the graph.
  constructor(elements, onPick) {
    this.el = elements;
    this.onPick = onPick;
    this.clear();
    this.controller = null;
  }

  // Reviews the game with limits ({ depth } or { movetime }); false when it
  // was stopped before the end.
  async run(engine, game, limits) {
    const controller = new AbortController();
    this.controller = controller;
    this.clear();
    this.el.button.textContent = 'Stop review';
    this.el.progress.hidden = false;
    this.el.progress.max = game.length + 1;
    this.el.progress.value = 0;
    const reviewed = { fen: game.start, moves: game.moves };
    const positions = await reviewGame(engine, reviewed, limits, {
      signal: controller.signal,
      onPosition: (index) => { this.el.progress.value = index + 1; },
    });
    this.finish();
    if (controller.signal.aborted) return false;
    this.scores = positions.map((p) => p.score);
    const judged = judgeGame(reviewed, positions);
    this.judged = judged.moves;
    this.verdicts = judged.moves.map((m) => m.verdict?.name ?? null);
    this.sans = game.sans.slice();
    const side = (name, s) => {
      const line = document.createElement('div');
      const accuracy = document.createElement('b');
      accuracy.textContent = `${name} ${s.accuracy === null ? '–' : `${s.accuracy.toFixed(1)}%`}`;
      line.append(accuracy, ` accuracy: ${plural(s.inaccuracies, 'inaccuracy', 'inaccuracies')}, ${plural(s.mistakes, 'mistake', 'mistakes')}, ${plural(s.blunders, 'blunder', 'blunders')}, average loss ${s.acpl} centipawns`);
      return line;
    };
    this.el.summary.replaceChildren(side('White', judged.sides.white), side('Black', judged.sides.black));
    this.numbers = game.moves.map((_, i) => game.chess(i)).map((chess) => `${chess.moveNumber()}${chess.turn() === 'w' ? '.' : '...'}`);
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
    this.scores = [];
    this.verdicts = [];
    this.judged = [];
    this.el.summary.textContent = '';
    this.draw(0);
  }

  // The graph with the cursor, and the verdict of the move that led to it.
  draw(cursor) {
    const points = this.scores.map((score) => ({ value: decidedValue(score), text: scoreText(score) }));
    drawGraph(this.el.graph, points, this.verdicts, cursor, this.onPick);
    const move = this.judged[cursor - 1];
    this.el.note.hidden = !move;
    if (!move) return;
    const played = `${this.numbers[cursor - 1]} ${this.sans[cursor - 1]}${move.verdict?.symbol ?? ''}`;
    this.el.note.className = move.verdict?.name ?? '';
    this.el.note.textContent = `${played} ${move.comment ? `${move.comment} ` : ''}(accuracy ${Math.round(move.accuracy)}%)`;
  }
}
