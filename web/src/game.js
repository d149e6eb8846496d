// The game on the page: a start position and a line of moves, with a cursor
// on the position shown. Moves are coordinate texts (e2e4, e7e8q).
import { Chess } from 'chess.js';
import { playCoordinate } from 'varn/pgn';

export class Game {
  constructor(start = new Chess().fen(), moves = []) {
    this.start = start;
    this.fens = [start];
    this.sans = [];
    this.moves = [];
    this.cursor = 0;
    for (const move of moves) this.push(move);
  }

  get length() { return this.moves.length; }
  fen(index = this.cursor) { return this.fens[index]; }
  chess(index = this.cursor) { return new Chess(this.fens[index]); }

  // Appends a legal move after the last position; returns its SAN or null.
  push(lan) {
    const chess = this.chess(this.moves.length);
    const move = playCoordinate(chess, lan);
    if (!move) return null;
    this.moves.push(move.lan);
    this.sans.push(move.san);
    this.fens.push(chess.fen());
    this.cursor = this.moves.length;
    return move.san;
  }

  // Plays a move at the cursor; the moves after the cursor are dropped.
  play(lan) {
    if (!this.chess().moves({ verbose: true }).some((m) => m.lan === lan)) return null;
    this.truncate();
    return this.push(lan);
  }

  // Drops the moves after the cursor.
  truncate() {
    this.moves.length = this.cursor;
    this.sans.length = this.cursor;
    this.fens.length = this.cursor + 1;
  }

  go(index) {
    this.cursor = Math.max(0, Math.min(this.moves.length, index));
  }

  // What the engine is given for position `index`: the start and the moves
  // from it (the engine hands a long game to its library in its own way).
  engineInput(index = this.cursor) {
    return { fen: this.start, moves: this.moves.slice(0, index) };
  }

  // How the game stands at the cursor: null while it goes on.
  outcome(index = this.cursor) {
    const chess = this.chess(index);
    const mover = chess.turn() === 'w' ? 'White' : 'Black';
    const other = mover === 'White' ? 'Black' : 'White';
    if (chess.isCheckmate()) return `${other} wins by checkmate.`;
    if (chess.isStalemate()) return 'Draw by stalemate.';
    if (this.repeated(index)) return 'Draw by threefold repetition.';
    if (chess.isDrawByFiftyMoves()) return 'Draw by the fifty-move rule.';
    if (chess.isInsufficientMaterial()) return 'Draw: neither side can mate.';
    return null;
  }

  // Threefold repetition over this game's positions (board, side, castling
  // and en-passant fields of the FEN).
  repeated(index) {
    const key = (fen) => fen.split(' ').slice(0, 4).join(' ');
    const now = key(this.fens[index]);
    return this.fens.slice(0, index + 1).filter((fen) => key(fen) === now).length >= 3;
  }

  pgn(headers = {}) {
    const chess = new Chess(this.start);
    if (this.start !== new Chess().fen()) {
      chess.setHeader('SetUp', '1');
      chess.setHeader('FEN', this.start);
    }
    for (const [name, value] of Object.entries(headers)) chess.setHeader(name, value);
    for (const lan of this.moves) playCoordinate(chess, lan);
    return chess.pgn();
  }
}
