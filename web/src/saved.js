// The page across reloads and in links: the game (as PGN text), the position
// shown and the player's settings kept in the browser's storage, and a
// position or a whole game carried in the address's fragment, which a static
// host never sees, so any host serves a link.
const Key = 'varn-page';

// What the last visit kept: { pgn, path, settings }, or null.
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

// The link for a game: its PGN and the move shown (its path of child
// indices in the game's tree), or a FEN alone for a position without moves.
// base: the page's address without a fragment.
export function linkTo(base, { fen, pgn, path }) {
  const fields = pgn ? { pgn, at: path.join('.') } : { fen };
  return `${base}#${new URLSearchParams(fields)}`;
}

// What a link's fragment carries: { pgn, path } or { fen }; null for none.
export function readLink(hash) {
  const fields = new URLSearchParams(hash.replace(/^#/, ''));
  if (fields.get('pgn')) return { pgn: fields.get('pgn'), path: (fields.get('at') || '').split('.').filter(Boolean).map(Number) };
  if (fields.get('fen')) return { fen: fields.get('fen') };
  return null;
}
