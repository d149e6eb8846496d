// Openings named by position: a table read from an opening classification in
// PGN form (each entry a game with the tags ECO, Opening and perhaps
// Variation, and the moves that reach it), and a game's opening: the entry of
// the last of its positions that the table holds, so transpositions count.
import { Chess } from 'chess.js';
import { readGame, splitGames } from './pgn.js';

// A position as the table keys it: placement, side, castling, en passant.
const positionKey = (fen) => fen.split(' ').slice(0, 4).join(' ');

// Plies of a game looked at for its opening.
const OpeningPlies = 40;

// The table of a classification's lines (an iterable of text lines):
// { [position]: { eco, name, variation } }. Entries that cannot be read are
// left out; a later entry for a position replaces an earlier one.
export async function readOpenings(lines) {
  const table = {};
  for await (const text of splitGames(lines)) {
    let entry;
    try {
      entry = readGame(text);
    } catch {
      continue;
    }
    const tags = Object.fromEntries(entry.tags);
    const last = entry.moves.at(-1);
    if (!tags.ECO || !tags.Opening || !last) continue;
    table[positionKey(last.after)] = { eco: tags.ECO, name: tags.Opening, ...(tags.Variation ? { variation: tags.Variation } : {}) };
  }
  return table;
}

// The opening of a game ({ fen, moves (coordinates) }) from the standard
// start position, or null.
export function openingOf(table, game) {
  if (game.fen && game.fen !== 'startpos' && positionKey(game.fen) !== positionKey(new Chess().fen())) return null;
  const chess = new Chess();
  let found = null;
  for (const move of game.moves.slice(0, OpeningPlies)) {
    try {
      chess.move({ from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] });
    } catch {
      break;
    }
    found = table[positionKey(chess.fen())] ?? found;
  }
  return found;
}
