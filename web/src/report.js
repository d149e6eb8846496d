// Reading the engine's reports: line texts, scores and mates, and turning its
// coordinate moves into standard algebraic notation.
import { Chess } from 'chess.js';

const MateBound = 29000;
const MateScore = 30000;

// A report message { text, score, depth, nodes, ms } as the page uses it.
// Line texts end in "!" when the score is a lower bound (the move failed
// high) and in "?" when it is an upper bound (the first move failed low).
export function parseReport(message) {
  const text = message.text.trim();
  const kind = text.endsWith('!') ? 'lower' : text.endsWith('?') ? 'upper' : 'exact';
  const moves = text.replace(/[!?]$/, '').split(/\s+/).filter(Boolean);
  const nps = message.ms > 0 ? Math.round((message.nodes * 1000) / message.ms) : 0;
  return { kind, moves, score: message.score, mate: mateIn(message.score), depth: message.depth, nodes: message.nodes, nps };
}

// Moves to mate for a mate score, negative when the side to move is mated;
// null for any other score. A side mated at ply p scores p - 30000.
export function mateIn(score) {
  if (score > MateBound) return Math.ceil((MateScore - score) / 2);
  if (score < -MateBound) return -Math.ceil((MateScore + score) / 2);
  return null;
}

// Score text from White's point of view: +0.35, -1.20, #3 (White mates),
// #-2 (Black mates).
export function scoreText(score, whiteToMove) {
  const white = whiteToMove ? score : -score;
  const mate = mateIn(white);
  if (mate !== null) return `#${mate}`;
  return `${white >= 0 ? '+' : '-'}${(Math.abs(white) / 100).toFixed(2)}`;
}

// White's share of the evaluation bar, 0 to 1.
export function barShare(score, whiteToMove) {
  const white = whiteToMove ? score : -score;
  if (mateIn(white) !== null) return white > 0 ? 1 : 0;
  return 1 / (1 + Math.exp(-white / 250));
}

// An engine move (e7e8Q) as a chess.js move object.
export function moveObject(text) {
  const match = /^([a-h][1-8])([a-h][1-8])([nbrqNBRQ])?$/.exec(text);
  if (!match) return null;
  return match[3] ? { from: match[1], to: match[2], promotion: match[3].toLowerCase() } : { from: match[1], to: match[2] };
}

// The engine's line in standard algebraic notation with move numbers,
// stopping at the first move that is not legal in the line's position.
export function lineSan(fen, moves) {
  const chess = new Chess(fen);
  const parts = [];
  for (const text of moves) {
    const move = moveObject(text);
    let played = null;
    try {
      played = move && chess.move(move);
    } catch {
      played = null;
    }
    if (!played) break;
    const number = chess.moveNumber() - (played.color === 'b' ? 1 : 0);
    if (played.color === 'w') parts.push(`${number}.`);
    else if (parts.length === 0) parts.push(`${number}...`);
    parts.push(played.san);
  }
  return parts.join(' ');
}

// Classifies each move of a reviewed game. evals[i] is the score of position
// i from White's point of view (centipawns, mates as large values); move i
// leads from position i to i + 1; whiteFirst tells who made move 0. A move that loses at least 300 is a
// blunder, at least 100 a mistake, counted from the mover's side and with
// scores capped at 1000, where the game is decided anyway.
export function judgeMoves(evals, whiteFirst = true) {
  const capped = evals.map((value) => Math.max(-1000, Math.min(1000, value)));
  const verdicts = [];
  for (let i = 0; i + 1 < capped.length; i++) {
    const whiteMoved = (i % 2 === 0) === whiteFirst;
    const loss = whiteMoved ? capped[i] - capped[i + 1] : capped[i + 1] - capped[i];
    verdicts.push(loss >= 300 ? 'blunder' : loss >= 100 ? 'mistake' : null);
  }
  return verdicts;
}
