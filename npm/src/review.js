// Game review: every position of a game searched, the losses that look like
// mistakes searched again deeper, and each move judged by what it lost, in
// the words players know, with the better move and each side's accuracy. One
// rule for the page's review and for varn-annotate.
import { Chess } from 'chess.js';
import { evalText, whiteScore } from './score.js';
import { whiteToMove } from './uci.js';

// Beyond this many centipawns a game is decided: larger scores and mates all
// count as this much, so a winning side is not faulted for a slower win, nor
// for a search that swings between +6 and +10 from one move to the next.
export const DecidedCp = 500;

// The accuracy formula's own cap: its curve is fitted to scores within it.
const AccuracyCp = 1000;

// Verdicts by the least loss that earns them, worst first, with their PGN
// numeric annotation glyphs.
export const Verdicts = [
  { name: 'blunder', loss: 300, nag: 4, symbol: '??', word: 'Blunder' },
  { name: 'mistake', loss: 100, nag: 2, symbol: '?', word: 'Mistake' },
  { name: 'inaccuracy', loss: 50, nag: 6, symbol: '?!', word: 'Inaccuracy' },
];
const Inaccuracy = Verdicts[2];

// Plies the confirming search goes deeper than the first pass, and how many
// times longer it searches when the first pass has a time per position.
export const ConfirmPlies = 1;
export const ConfirmTimeFactor = 3;

// Plies of the better line given with a judged move.
export const BetterPlies = 8;

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

// White's chances in percent for a White's-view score: the logistic curve of
// the accuracy formula below, over centipawns within its cap (mates at it).
export function winPercent(score) {
  return 50 + 50 * (2 / (1 + Math.exp(-0.00368208 * accuracyValue(score))) - 1);
}

// A White's-view score in centipawns within the accuracy's cap.
function accuracyValue(score) {
  if (score.winner) return score.winner === 'white' ? AccuracyCp : -AccuracyCp;
  if (score.mate !== undefined) return score.mate > 0 ? AccuracyCp : -AccuracyCp;
  return Math.max(-AccuracyCp, Math.min(AccuracyCp, score.cp));
}

// A move's accuracy in percent from the mover's chances before and after it.
export function moveAccuracy(before, after) {
  if (after >= before) return 100;
  const raw = 103.1668100711649 * Math.exp(-0.04354415386753951 * (before - after)) - 3.166924740191411;
  return Math.max(0, Math.min(100, raw + 1));
}

// Moves to mate for the side `sign` (1 White, -1 Black) in a White's-view
// score: positive when that side mates, negative when it is mated, 0 for
// neither; a mate on the board counts as mate in 0 for the winner.
function mateFor(score, sign) {
  if (score.winner) return (score.winner === 'white') === (sign > 0) ? 0.5 : -0.5;
  return score.mate !== undefined ? sign * score.mate : 0;
}

// What move i did, from the scores of the positions before and after it:
// { loss (centipawns, from the mover's side), verdict, mate (the words of a
// mate missed, lost or allowed, or null) }. scores[i] is position i's
// White's-view score; whiteFirst tells who made move 0.
function judgeMove(scores, i, whiteFirst) {
  const sign = (i % 2 === 0) === whiteFirst ? 1 : -1;
  const before = scores[i];
  const after = scores[i + 1];
  let loss = Math.max(0, sign * (decidedValue(before) - decidedValue(after)));
  let mate = null;
  const had = mateFor(before, sign);
  const has = mateFor(after, sign);
  if (had > 0 && has <= 0) {
    // A mate the mover was already giving is lost; one that just appeared is missed.
    const giving = i >= 2 && mateFor(scores[i - 2], sign) > 0;
    mate = giving ? 'Lost forced checkmate sequence.' : `Mate in ${Math.ceil(had)} was missed.`;
  } else if (had >= 0 && has < 0) {
    mate = 'Checkmate is now unavoidable.';
  }
  // A mate missed or allowed is a fault even in a decided game: its loss is
  // counted up to the accuracy's wider cap, and it is at least an inaccuracy.
  if (mate) loss = Math.max(loss, sign * (accuracyValue(before) - accuracyValue(after)));
  return { loss, verdict: verdictFor(loss) ?? (mate ? Inaccuracy : null), mate };
}

// Each move's { loss, verdict } for a game's scores.
export function judgeMoves(scores, whiteFirst = true) {
  return scores.slice(1).map((_, i) => judgeMove(scores, i, whiteFirst));
}

// Every side's accuracy over a game: its moves' accuracies averaged, once
// weighted by how much the game swung around each move (the spread of the
// chances over a window of positions) and once as a harmonic mean, which
// weighs the worst moves more; the result is the mean of the two.
// wins: White's chances per position; accuracies: each move's.
function sideAccuracies(wins, accuracies, whiteFirst) {
  const count = accuracies.length;
  const size = Math.max(2, Math.min(8, Math.floor(count / 10)));
  const sides = { white: [], black: [] };
  for (let i = 0; i < count; i += 1) {
    const start = Math.max(0, Math.min(i + 2 - size, wins.length - size));
    const window = wins.slice(start, start + size);
    const mean = window.reduce((a, b) => a + b, 0) / window.length;
    const spread = Math.sqrt(window.reduce((a, b) => a + (b - mean) ** 2, 0) / window.length);
    const white = (i % 2 === 0) === whiteFirst;
    sides[white ? 'white' : 'black'].push({ accuracy: accuracies[i], weight: Math.max(0.5, Math.min(12, spread)) });
  }
  const result = {};
  for (const [side, moves] of Object.entries(sides)) {
    if (!moves.length) {
      result[side] = null;
      continue;
    }
    const weighted = moves.reduce((a, m) => a + m.accuracy * m.weight, 0) / moves.reduce((a, m) => a + m.weight, 0);
    const harmonic = moves.length / moves.reduce((a, m) => a + 1 / Math.max(1, m.accuracy), 0);
    result[side] = (weighted + harmonic) / 2;
  }
  return result;
}

// The FEN of every position of a game ({ fen, moves (coordinates) }).
function gameFens(game) {
  const chess = new Chess(!game.fen || game.fen === 'startpos' ? undefined : game.fen);
  const fens = [chess.fen()];
  for (const move of game.moves) {
    chess.move({ from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] });
    fens.push(chess.fen());
  }
  return fens;
}

// A reviewed game judged. game: { fen (a FEN, "startpos" or none), moves
// (coordinates) }; positions: per position { score (White's view), pv }, as
// reviewGame gives them. Returns { moves, sides, tags }:
// moves[i] = { loss, verdict ({ name, nag, symbol } or null), accuracy,
//   comment (the verdict in words with the better move, or null), better
//   (the better line in coordinates, [] without a verdict) };
// sides.white/.black = { inaccuracies, mistakes, blunders, acpl, accuracy };
// tags = [name, value] pairs of those figures.
export function judgeGame(game, positions) {
  const fens = gameFens(game);
  const whiteFirst = whiteToMove(game.fen);
  const scores = positions.map((p) => p.score);
  const wins = scores.map(winPercent);
  const moves = game.moves.map((played, i) => {
    const { loss, verdict, mate } = judgeMove(scores, i, whiteFirst);
    const white = (i % 2 === 0) === whiteFirst;
    const accuracy = white ? moveAccuracy(wins[i], wins[i + 1]) : moveAccuracy(100 - wins[i], 100 - wins[i + 1]);
    const line = positions[i].pv ?? [];
    let best = null;
    if (verdict && line.length && line[0] !== played) {
      try {
        best = new Chess(fens[i]).move({ from: line[0].slice(0, 2), to: line[0].slice(2, 4), promotion: line[0][4] }).san;
      } catch {
        best = null;
      }
    }
    const words = verdict ? [mate ?? `${verdict.word}.`, best && `${best} was best.`].filter(Boolean).join(' ') : null;
    return {
      loss,
      verdict: verdict && { name: verdict.name, nag: verdict.nag, symbol: verdict.symbol },
      accuracy,
      comment: words,
      better: best ? line.slice(0, BetterPlies) : [],
    };
  });
  const accuracy = sideAccuracies(wins, moves.map((m) => m.accuracy), whiteFirst);
  const sides = {};
  const tags = [];
  for (const [side, name] of [['white', 'White'], ['black', 'Black']]) {
    const own = moves.filter((_, i) => ((i % 2 === 0) === whiteFirst) === (side === 'white'));
    const count = (verdict) => own.filter((m) => m.verdict?.name === verdict).length;
    sides[side] = {
      inaccuracies: count('inaccuracy'),
      mistakes: count('mistake'),
      blunders: count('blunder'),
      acpl: own.length ? Math.round(own.reduce((a, m) => a + m.loss, 0) / own.length) : 0,
      accuracy: accuracy[side] === null ? null : Math.round(accuracy[side] * 10) / 10,
    };
    const s = sides[side];
    if (s.accuracy !== null) tags.push([`${name}Accuracy`, s.accuracy.toFixed(1)]);
    tags.push([`${name}Inaccuracies`, s.inaccuracies], [`${name}Mistakes`, s.mistakes], [`${name}Blunders`, s.blunders], [`${name}ACPL`, s.acpl]);
  }
  return { moves, sides, tags };
}

// The notes of a reviewed game ({ fen, moves (coordinates) }) for its PGN, the
// same for the page's export and varn-annotate: per move { nag (the
// verdict's), comment ([%eval] of the position after it, then the verdict in
// words), line (the better line, coordinate moves) }, and the game's tags,
// the Annotator's (annotator) first.
export function reviewNotes(game, positions, annotator) {
  const judged = judgeGame(game, positions);
  const moves = judged.moves.map((move, i) => {
    const value = positions[i + 1] ? evalText(positions[i + 1].score) : null;
    const comment = [value && `[%eval ${value}]`, move.comment].filter(Boolean).join(' ');
    return { nag: move.verdict?.nag, comment: comment || undefined, line: move.better.length ? move.better : undefined };
  });
  return { moves, tags: [['Annotator', annotator], ...judged.tags] };
}

// The Annotator tag's value for a review by engineName with the limits and
// the confirming searches' limits.
export function annotatorText(engineName, limits, confirm = confirmLimits(limits)) {
  const text = (l) => (l.movetime !== undefined ? `${l.movetime} ms` : `depth ${l.depth}`);
  const first = limits.movetime !== undefined ? `${limits.movetime} ms per position` : `depth ${limits.depth}`;
  return `${engineName} (${first}${confirm ? `, losses confirmed at ${text(confirm)}` : ''})`;
}

// The limits of the confirming searches for a first pass's limits.
export function confirmLimits(limits) {
  if (limits.depth !== undefined) return { depth: limits.depth + ConfirmPlies };
  if (limits.movetime !== undefined) return { movetime: limits.movetime * ConfirmTimeFactor };
  return null;
}

// Searches every position of a game (a FEN or "startpos" and its coordinate
// moves) with the limits, as a new game; then, until no mistake or blunder
// rests on a first-pass score, searches the positions before and after each
// such move again with options.confirm (limits; null: no second pass).
// Returns per position { score (White's view), pv, confirmed }.
// onPosition(index, count) reports progress; options.signal stops early.
export async function reviewGame(engine, game, limits, { onPosition, signal, confirm = confirmLimits(limits) } = {}) {
  // A fresh table per game: a review does not depend on which games the same
  // engine saw before, so shards and single runs of varn-annotate agree.
  await engine.newGame();
  const whiteFirst = whiteToMove(game.fen);
  const count = game.moves.length + 1;
  // Each position goes to the engine as its FEN, without the moves before it:
  // an engine that scores any return to an earlier position as a draw would
  // otherwise see a draw in every won ending where the sides shuffle.
  const fens = gameFens(game);
  const search = async (i, searchLimits) => {
    const result = await engine.position(fens[i], []).limits(searchLimits).analyse();
    return { score: whiteScore(result.info?.score ?? { cp: 0 }, result.whiteToMove), pv: result.info?.pv ?? [] };
  };
  const positions = [];
  for (let i = 0; i < count; i += 1) {
    if (signal?.aborted) return positions;
    positions.push({ ...(await search(i, limits)), confirmed: false });
    onPosition?.(i, count);
  }
  if (!confirm) return positions;
  for (;;) {
    const scores = positions.map((p) => p.score);
    const open = judgeMoves(scores, whiteFirst)
      .map((judged, i) => (judged.verdict && judged.verdict !== Inaccuracy && !(positions[i].confirmed && positions[i + 1].confirmed) ? i : -1))
      .filter((i) => i >= 0);
    if (!open.length) return positions;
    for (const i of open) {
      for (const at of [i, i + 1]) {
        if (signal?.aborted) return positions;
        if (!positions[at].confirmed) positions[at] = { ...(await search(at, confirm)), confirmed: true };
      }
    }
  }
}
