// Game review: every position of a game searched, and each move judged by
// what it lost. One rule for the page's review and for varn-annotate.
import { evalText, whiteScore } from './score.js';

// Beyond this many centipawns a game is decided: larger scores and mates all
// count as this much, so a winning side is not faulted for a slower win.
export const DecidedCp = 1000;

// Verdicts by the least loss that earns them, worst first, with their PGN
// numeric annotation glyphs.
export const Verdicts = [
  { name: 'blunder', loss: 300, nag: 4, symbol: '??' },
  { name: 'mistake', loss: 100, nag: 2, symbol: '?' },
  { name: 'inaccuracy', loss: 50, nag: 6, symbol: '?!' },
];

// The verdict for a loss in centipawns, or null.
export function verdictFor(loss) {
  return Verdicts.find((verdict) => loss >= verdict.loss) || null;
}

// A White's-view score in capped centipawns.
export function decidedValue(score) {
  if (score.winner) return score.winner === 'white' ? DecidedCp : -DecidedCp;
  if (score.mate !== undefined) return score.mate > 0 ? DecidedCp : -DecidedCp;
  return Math.max(-DecidedCp, Math.min(DecidedCp, score.cp));
}

// What each move lost, from the mover's side (never below 0). scores[i] is
// position i's White's-view score; move i leads from position i to i + 1;
// whiteFirst tells who made move 0.
export function moveLosses(scores, whiteFirst = true) {
  const values = scores.map(decidedValue);
  const losses = [];
  for (let i = 0; i + 1 < values.length; i += 1) {
    const whiteMoved = (i % 2 === 0) === whiteFirst;
    losses.push(Math.max(0, whiteMoved ? values[i] - values[i + 1] : values[i + 1] - values[i]));
  }
  return losses;
}

// Each move's verdict name ('blunder', 'mistake', 'inaccuracy') or null.
export function judgeMoves(scores, whiteFirst = true) {
  return moveLosses(scores, whiteFirst).map((loss) => verdictFor(loss)?.name ?? null);
}

// Per side: { inaccuracies, mistakes, blunders, acpl (average loss per move,
// rounded) } for a judged game.
export function reviewSummary(scores, whiteFirst = true) {
  const sides = { white: [], black: [] };
  moveLosses(scores, whiteFirst).forEach((loss, i) => sides[(i % 2 === 0) === whiteFirst ? 'white' : 'black'].push(loss));
  const summary = {};
  for (const [side, losses] of Object.entries(sides)) {
    const count = (name) => losses.filter((loss) => verdictFor(loss)?.name === name).length;
    summary[side] = {
      inaccuracies: count('inaccuracy'),
      mistakes: count('mistake'),
      blunders: count('blunder'),
      acpl: losses.length ? Math.round(losses.reduce((a, b) => a + b, 0) / losses.length) : 0,
    };
  }
  return summary;
}

// Plies of the better line noted for a mistake or a blunder.
const BetterLinePlies = 8;

// The Annotator tag's value for a review by engineName with the limits.
export function annotatorText(engineName, limits) {
  return `${engineName} (${limits.movetime !== undefined ? `${limits.movetime} ms per position` : `depth ${limits.depth}`})`;
}

// The notes of a reviewed game for its PGN, the same for the page's export
// and varn-annotate: per move { nag (the verdict's), comment ([%eval] of the
// position after it), line (the better line, coordinate moves, for mistakes
// and blunders) }, and the summary tags. positions: as reviewGame returns
// them; moves: the coordinate moves; annotator: the Annotator tag's value.
export function reviewNotes(positions, moves, whiteFirst, annotator) {
  const scores = positions.map((p) => p.score);
  const losses = moveLosses(scores, whiteFirst);
  const notes = moves.map((move, i) => {
    const verdict = verdictFor(losses[i] ?? 0);
    const value = scores[i + 1] ? evalText(scores[i + 1]) : null;
    const note = { nag: verdict?.nag, comment: value ? `[%eval ${value}]` : undefined };
    const better = positions[i]?.pv ?? [];
    if (verdict && verdict.name !== 'inaccuracy' && better.length && better[0] !== move) note.line = better.slice(0, BetterLinePlies);
    return note;
  });
  const tags = [['Annotator', annotator]];
  const summary = reviewSummary(scores, whiteFirst);
  for (const [side, name] of [['white', 'White'], ['black', 'Black']]) {
    const s = summary[side];
    tags.push([`${name}Inaccuracies`, s.inaccuracies], [`${name}Mistakes`, s.mistakes], [`${name}Blunders`, s.blunders], [`${name}ACPL`, s.acpl]);
  }
  return { moves: notes, tags };
}

// Searches every position of a game (a FEN or "startpos" and its coordinate
// moves) with the limits, as a new game; returns per position { score (White's view), pv }.
// onPosition(index, count) reports progress; options.signal stops early.
export async function reviewGame(engine, game, limits, { onPosition, signal } = {}) {
  // A fresh table per game: a review does not depend on which games the same
  // engine saw before, so shards and single runs of varn-annotate agree.
  await engine.newGame();
  const positions = [];
  const fen = game.fen || 'startpos';
  for (let i = 0; i <= game.moves.length; i += 1) {
    if (signal?.aborted) break;
    const result = await engine.position(fen, game.moves.slice(0, i)).limits(limits).analyse();
    const reported = result.info?.score ?? { cp: 0 };
    positions.push({ score: whiteScore(reported, result.whiteToMove), pv: result.info?.pv ?? [] });
    onPosition?.(i, game.moves.length + 1);
  }
  return positions;
}
