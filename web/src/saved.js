// The page across reloads and in links: the game (as PGN text), the position
// shown and the player's settings kept in the browser's storage, and a
// position or a whole game carried in the address's fragment, which a static
// host never sees, so any host serves a link.
import { Chess } from 'chess.js';
import { playCoordinate, readGame, Termination, writeGame } from 'varn/pgn';

const Key = 'varn-page';

// A game (its start FEN and coordinate moves) as PGN text, by the package's
// writer: the form the page keeps and links carry.
export function gameText(start, moves) {
  const chess = new Chess(start);
  const played = moves.map((lan) => playCoordinate(chess, lan));
  const tags = start === new Chess().fen() ? [] : [['SetUp', '1'], ['FEN', start]];
  return writeGame({ tags, start, moves: played, comments: new Map(), result: '*' }, []);
}

// PGN text read back by the package's reader, as { start, moves } or
// { error }; text without a result is read as a game that goes on.
export function readGameText(text) {
  try {
    const game = readGame(Termination.test(text.trim()) ? text : `${text.trim()} *`);
    return { start: game.start, moves: game.moves.map((move) => move.lan) };
  } catch (error) {
    return { error: `Not a valid PGN: ${error.message}` };
  }
}

// What the last visit kept: { pgn, ply, settings }, or null.
export function loadSaved(storage = globalThis.localStorage) {
  try {
    return JSON.parse(storage.getItem(Key)) || null;
  } catch {
    return null;
  }
}

// Keeps the page's state; a storage that is full or refused loses only this.
export function save(state, storage = globalThis.localStorage) {
  try {
    storage.setItem(Key, JSON.stringify(state));
  } catch {
    // The page works without it.
  }
}

// The link for a game: its PGN and the position shown, or a FEN alone for a
// position without moves. base: the page's address without a fragment.
export function linkTo(base, { fen, pgn, ply }) {
  const fields = pgn ? { pgn, ply: String(ply) } : { fen };
  return `${base}#${new URLSearchParams(fields)}`;
}

// What a link's fragment carries: { pgn, ply } or { fen }; null for none.
export function readLink(hash) {
  const fields = new URLSearchParams(hash.replace(/^#/, ''));
  if (fields.get('pgn')) return { pgn: fields.get('pgn'), ply: Number(fields.get('ply')) || 0 };
  if (fields.get('fen')) return { fen: fields.get('fen') };
  return null;
}
