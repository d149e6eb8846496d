// The game on the page: a tree of moves with its variations and comments (the
// package's PGN tree, so that it reads and writes PGN as varn-annotate does)
// and a cursor. The line shown runs from the start through the cursor and on
// along each move's first continuation. Moves are coordinate texts (e2e4).
import { Chess } from 'chess.js';
import { addMove, addReview, mainline, newGame, readGame, withoutVarn, writeGame } from 'varn/pgn';

// The engine keeps at most 999 game moves; a longer game is sent to it as
// the FEN of a later position with the moves after it.
const EngineHistoryLimit = 900;
// Changes that undo can take back.
const UndoDepth = 100;

// Threefold repetition among fens, up to and with the last (board, side,
// castling and en-passant fields of the FEN).
function repeated(fens) {
  const key = (fen) => fen.split(' ').slice(0, 4).join(' ');
  const now = key(fens.at(-1));
  return fens.filter((fen) => key(fen) === now).length >= 3;
}

export class Game {
  // tree: a game as varn/pgn reads it (a new one from the start position by
  // default). Without follow, the line ends at the cursor (a game being
  // played does not run on into moves already there).
  constructor(tree = newGame()) {
    this.tree = tree;
    this.follow = true;
    this.undoList = [];
    this.select([]);
  }

  // A game from PGN text; throws with the reason it cannot be read.
  static read(text) {
    return new Game(readGame(text));
  }

  get start() { return this.tree.root.fen; }
  get length() { return this.line.length - 1; }
  get moves() { return this.line.slice(1).map((node) => node.lan); }
  get sans() { return this.line.slice(1).map((node) => node.san); }
  get mainMoves() { return mainline(this.tree).map((node) => node.lan); }
  get canUndo() { return this.undoList.length > 0; }
  node(index = this.cursor) { return this.line[index]; }
  fen(index = this.cursor) { return this.line[index].fen; }
  chess(index = this.cursor) { return new Chess(this.fen(index)); }

  // Moves the cursor along the line shown.
  go(index) {
    this.cursor = Math.max(0, Math.min(this.length, index));
  }

  // The cursor on the move reached by child indices from the start; the
  // line shown goes through it.
  select(path) {
    const line = [this.tree.root];
    for (const index of path) {
      const next = line.at(-1).children[index];
      if (!next) break;
      line.push(next);
    }
    this.cursor = line.length - 1;
    if (this.follow) for (let node = line.at(-1).children[0]; node; node = node.children[0]) line.push(node);
    this.line = line;
  }

  // The child indices from the start to the move at index of the line.
  path(index = this.cursor) {
    return this.line.slice(1, index + 1).map((node, i) => this.line[i].children.indexOf(node));
  }

  // Plays a legal move at the cursor: the move already there is followed,
  // another one starts a variation (or continues a line that ends here).
  // Returns its SAN, or null when it is not legal.
  play(lan) {
    const parent = this.node();
    if (!this.chess().moves({ verbose: true }).some((move) => move.lan === lan)) return null;
    if (!parent.children.some((child) => child.lan === lan)) this.remember();
    const node = addMove(parent, lan);
    this.select([...this.path(), parent.children.indexOf(node)]);
    return node.san;
  }

  // The line through the cursor becomes the main line.
  promote() {
    if (this.path().every((index) => index === 0)) return;
    this.remember();
    const path = this.path();
    let parent = this.tree.root;
    for (const index of path) {
      const node = parent.children[index];
      parent.children.splice(index, 1);
      parent.children.unshift(node);
      parent = node;
    }
    this.select(path.map(() => 0));
  }

  // Deletes the move at the cursor with everything after it.
  remove() {
    if (this.cursor === 0) return;
    this.remember();
    const path = this.path();
    this.node(this.cursor - 1).children.splice(path.at(-1), 1);
    this.select(path.slice(0, -1));
  }

  // Takes back the last change: a new move, a promotion or a deletion.
  undo() {
    const last = this.undoList.pop();
    if (!last) return;
    this.tree = last.tree;
    this.select(last.path);
  }

  remember() {
    this.undoList.push({ tree: structuredClone(this.tree), path: this.path() });
    if (this.undoList.length > UndoDepth) this.undoList.shift();
  }

  // The cursor's ply when it is on the main line, else null.
  mainPly() {
    return this.path().every((index) => index === 0) ? this.cursor : null;
  }

  goMain(ply) {
    this.select(Array(ply).fill(0));
  }

  // What the engine is given for position `index`: a FEN and the moves from it.
  engineInput(index = this.cursor) {
    const from = Math.max(0, index - EngineHistoryLimit);
    return { fen: this.fen(from), moves: this.moves.slice(from, index) };
  }

  // How the game stands at the cursor: null while it goes on.
  outcome(index = this.cursor) {
    const chess = this.chess(index);
    const mover = chess.turn() === 'w' ? 'White' : 'Black';
    const other = mover === 'White' ? 'Black' : 'White';
    if (chess.isCheckmate()) return `${other} wins by checkmate.`;
    if (chess.isStalemate()) return 'Draw by stalemate.';
    if (repeated(this.line.slice(0, index + 1).map((node) => node.fen))) return 'Draw by threefold repetition.';
    if (chess.isDrawByFiftyMoves()) return 'Draw by the fifty-move rule.';
    if (chess.isInsufficientMaterial()) return 'Draw: neither side can mate.';
    return null;
  }

  // The result of the game: the end of the main line decides it when the
  // rules end the game there; else the one it was given (loaded or set).
  result() {
    const fens = [this.start, ...mainline(this.tree).map((node) => node.fen)];
    const chess = new Chess(fens.at(-1));
    if (chess.isCheckmate()) return chess.turn() === 'w' ? '0-1' : '1-0';
    if (chess.isStalemate() || chess.isInsufficientMaterial() || chess.isDrawByFiftyMoves() || repeated(fens)) return '1/2-1/2';
    return this.tree.result;
  }

  setResult(result) {
    this.tree.result = result;
  }

  // Sets a tag, in place when the game has it.
  setTag(name, value) {
    const tag = this.tree.tags.find(([key]) => key === name);
    if (tag) tag[1] = value;
    else this.tree.tags.push([name, value]);
  }

  // A review's notes on the main line (see varn/pgn's addReview), in place
  // of an earlier review's.
  setReview(review) {
    this.clearReview();
    addReview(this.tree, review);
  }

  clearReview() {
    const path = this.path();
    this.tree = withoutVarn(this.tree);
    this.select(path);
  }

  // The game as PGN: its tags, the result right, every comment and variation
  // and the review's notes, as varn-annotate writes them.
  pgn() {
    const result = this.result();
    const tree = { ...this.tree, tags: this.tree.tags.map(([name, value]) => [name, name === 'Result' ? result : value]), result };
    if (!tree.tags.some(([name]) => name === 'Result')) tree.tags.push(['Result', result]);
    return writeGame(tree);
  }
}
