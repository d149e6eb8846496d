// Checks on what a user types or pastes, before anything reaches the board or
// the engine: each returns an error text for the page, or the parsed result.
import { Chess, validateFen } from 'chess.js';
import { splitGames } from 'varn/pgn';
import { Game } from './game.js';

// A FEN the engine can search: well formed (chess.js also refuses pawns on
// the first or last rank), one king each, and the side that has just moved
// not left in check.
export function readFen(text) {
  const fen = text.trim().replace(/\s+/g, ' ');
  if (!fen) return { error: 'Enter a FEN first.' };
  // The engine also accepts the first four fields alone; chess.js wants six.
  const fields = fen.split(' ');
  const full = fields.length === 4 ? `${fen} 0 1` : fen;
  const check = validateFen(full);
  if (!check.ok) return { error: `Not a valid FEN: ${check.error}` };
  const board = full.split(' ')[0];
  for (const [piece, name] of [['K', 'White'], ['k', 'Black']]) {
    const kings = board.split('').filter((c) => c === piece).length;
    if (kings !== 1) return { error: `Not a valid FEN: ${name} must have exactly one king.` };
  }
  const chess = new Chess(full);
  const turn = chess.turn();
  const other = turn === 'w' ? 'b' : 'w';
  if (chess.isAttacked(chess.findPiece({ type: 'k', color: other })[0], turn)) {
    return { error: 'Not a valid FEN: the side not to move is in check.' };
  }
  return { fen: chess.fen() };
}

// A PGN text's first game as the page's Game (the package's reader keeps its
// variations and comments), with the number of games the text holds; or the
// reason it cannot be read.
export async function readPgn(text) {
  if (!text.trim()) return { error: 'Paste a PGN first.' };
  const texts = [];
  for await (const game of splitGames(text.split('\n'))) texts.push(game);
  let game;
  try {
    game = Game.read(texts[0]);
  } catch (error) {
    return { error: `Not a valid PGN: ${error.message}` };
  }
  const started = readFen(game.start);
  if (started.error) return { error: `Not a valid PGN: its start position is refused (${started.error})` };
  return { game, count: texts.length };
}

// A move typed by the user, in standard algebraic notation (Nf3, exd5, e8=Q)
// or as coordinates (g1f3, e7e8q), if legal in the position.
export function readMove(fen, text) {
  const typed = text.trim();
  if (!typed) return { error: 'Type a move first, for example Nf3 or g1f3.' };
  const chess = new Chess(fen);
  const coordinates = /^([a-h][1-8])-?([a-h][1-8])=?([nbrqNBRQ])?$/.exec(typed);
  let move = null;
  try {
    move = chess.move(coordinates ? { from: coordinates[1], to: coordinates[2], promotion: coordinates[3]?.toLowerCase() } : typed);
  } catch {
    move = null;
  }
  if (!move) return { error: `Illegal move: ${typed} cannot be played in this position.` };
  return { move: move.lan };
}
