// Openings named by position: a table read from an opening classification in
// PGN form (each entry a game with the tags ECO, Opening and perhaps
// Variation, and the moves that reach it), and a game's opening: the entry of
// the last of its positions that the table holds, so transpositions count.
import { Chess } from 'chess.js';
import { splitGames, TagLine } from './pgn.js';

// A position as the table keys it: placement, side, castling, en passant.
const positionKey = (fen) => fen.split(' ').slice(0, 4).join(' ');

// Plies of a game looked at for its opening.
const OpeningPlies = 40;

// The table of a classification's lines (an iterable of text lines):
// { [position]: { eco, name, variation } }. Entries that cannot be read are
// left out; a later entry for a position replaces an earlier one.
export async function readOpenings(lines) {
  const table = {};
  // The position after each line of moves read so far: entries share their
  // first moves, so most of each entry's line has been played before.
  const played = new Map([['', new Chess().fen()]]);
  const chess = new Chess();
  for await (const text of splitGames(lines)) {
    // Entries are plain move lists, read move by move.
    const tags = {};
    const moves = [];
    for (const line of text.replace(/\{[^}]*\}/g, ' ').split('\n')) {
      const tag = TagLine.exec(line.trim());
      if (tag) tags[tag[1]] = tag[2];
      else moves.push(...line.split(/\s+/).filter((word) => word && !/^(\d+\.+|1-0|0-1|1\/2-1\/2|\*)$/.test(word)));
    }
    if (!tags.ECO || !tags.Opening || !moves.length) continue;
    const sans = moves.map((move) => move.replace(/^\d+\.+/, ''));
    let known = sans.length;
    while (!played.has(sans.slice(0, known).join(' '))) known -= 1;
    chess.load(played.get(sans.slice(0, known).join(' ')));
    try {
      for (let i = known; i < sans.length; i += 1) {
        chess.move(sans[i]);
        played.set(sans.slice(0, i + 1).join(' '), chess.fen());
      }
    } catch {
      continue;
    }
    table[positionKey(chess.fen())] = { eco: tags.ECO, name: tags.Opening, ...(tags.Variation ? { variation: tags.Variation } : {}) };
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
