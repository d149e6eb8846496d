// Scores as texts. The engine reports "score cp S" or "score mate N" from the
// side to move; here they are only turned to White's view and written out.

// A reported score ({ cp } or { mate }) from White's view. "mate 0" (the side
// to move is checkmated) becomes { winner }.
export function whiteScore(score, whiteToMove) {
  if (score.mate === 0) return { winner: whiteToMove ? 'black' : 'white' };
  const sign = whiteToMove ? 1 : -1;
  return score.mate !== undefined ? { mate: sign * score.mate } : { cp: sign * score.cp };
}

// A White's-view score as the page shows it: +0.35, -1.20, #3 (White mates
// in 3), #-2 (Black mates in 2), 1-0 or 0-1 for a mate on the board.
export function scoreText(score) {
  if (score.winner) return score.winner === 'white' ? '1-0' : '0-1';
  if (score.mate !== undefined) return `#${score.mate}`;
  return `${score.cp >= 0 ? '+' : '-'}${(Math.abs(score.cp) / 100).toFixed(2)}`;
}

// A White's-view score as a PGN [%eval ...] value (pawns, or #N for mates);
// null for a mate on the board, which the moves already show.
export function evalText(score) {
  if (score.winner) return null;
  if (score.mate !== undefined) return `#${score.mate}`;
  return (score.cp / 100).toFixed(2);
}

// White's share of an evaluation bar, 0 to 1.
export function barShare(score) {
  if (score.winner) return score.winner === 'white' ? 1 : 0;
  if (score.mate !== undefined) return score.mate > 0 ? 1 : 0;
  return 1 / (1 + Math.exp(-score.cp / 250));
}
