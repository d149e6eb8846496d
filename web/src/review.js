// Game review: every position of the game searched, each move judged by the
// package's rule (the one varn-annotate writes as NAGs and words), drawn as a
// graph, with each side's accuracy and the verdict of the move shown.
import { decidedValue, judgeGame, reviewGame, scoreText } from 'varn';
import { Chess } from 'chess.js';
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
    const reviewed = { fen: game.start, moves: game.moves };
    const positions = await reviewGame(engine, reviewed, limits, {
      signal: controller.signal,
      onPosition: (index) => { this.el.progress.value = index + 1; },
    });
    this.finish();
    if (controller.signal.aborted) return false;
    this.positions = positions;
    this.scores = positions.map((p) => p.score);
    const judged = judgeGame(reviewed, positions);
    this.judged = judged.moves;
    this.verdicts = judged.moves.map((m) => m.verdict?.name ?? null);
    const side = (name, s) => {
      const line = document.createElement('div');
      const accuracy = document.createElement('b');
      accuracy.textContent = `${name} ${s.accuracy === null ? '–' : `${s.accuracy.toFixed(1)}%`}`;
      line.append(accuracy, ` accuracy: ${plural(s.inaccuracies, 'inaccuracy', 'inaccuracies')}, ${plural(s.mistakes, 'mistake', 'mistakes')}, ${plural(s.blunders, 'blunder', 'blunders')}, average loss ${s.acpl} centipawns`);
      return line;
    };
    this.el.summary.replaceChildren(side('White', judged.sides.white), side('Black', judged.sides.black));
    // Each move as the note names it: "5. Nxf7", "12... Qe7".
    const chess = new Chess(game.start);
    this.names = game.moves.map((move) => {
      const number = `${chess.moveNumber()}${chess.turn() === 'w' ? '.' : '...'}`;
      return `${number} ${chess.move({ from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] }).san}`;
    });
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
    const played = `${this.names[cursor - 1]}${move.verdict?.symbol ?? ''}`;
    this.el.note.className = move.verdict?.name ?? '';
    this.el.note.textContent = `${played} ${move.comment ? `${move.comment} ` : ''}(accuracy ${Math.round(move.accuracy)}%)`;
  }
}
