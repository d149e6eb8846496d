// The board view: draws a position with its last move and the engine's best
// move, and turns the user's drags and clicks into coordinate moves.
import { Chessboard, COLOR, INPUT_EVENT_TYPE } from 'cm-chessboard/src/Chessboard.js';
import { Markers, MARKER_TYPE } from 'cm-chessboard/src/extensions/markers/Markers.js';
import { Arrows, ARROW_TYPE } from 'cm-chessboard/src/extensions/arrows/Arrows.js';
import { PromotionDialog, PROMOTION_DIALOG_RESULT_TYPE } from 'cm-chessboard/src/extensions/promotion-dialog/PromotionDialog.js';
import { Chess } from 'chess.js';
import 'cm-chessboard/assets/chessboard.css';
import 'cm-chessboard/assets/extensions/markers/markers.css';
import 'cm-chessboard/assets/extensions/arrows/arrows.css';
import 'cm-chessboard/assets/extensions/promotion-dialog/promotion-dialog.css';

export class BoardView {
  // onMove(lan) is called with a legal move the user made.
  constructor(element, fen, onMove) {
    this.onMove = onMove;
    this.fen = fen;
    this.bottom = 'w';
    this.board = new Chessboard(element, {
      position: fen,
      assetsUrl: './board-assets/',
      style: { cssClass: 'default', borderType: 'none', pieces: { file: 'pieces/standard.svg' }, animationDuration: 150 },
      extensions: [{ class: Markers }, { class: Arrows }, { class: PromotionDialog }],
    });
  }

  // The position, its last move (coordinates) marked, and whether the user
  // may move on it.
  draw(fen, lastMove, movable) {
    this.fen = fen;
    this.board.setPosition(fen, true);
    this.board.removeMarkers();
    if (lastMove) {
      this.board.addMarker(MARKER_TYPE.square, lastMove.slice(0, 2));
      this.board.addMarker(MARKER_TYPE.square, lastMove.slice(2, 4));
    }
    this.board.removeArrows();
    this.board.disableMoveInput();
    if (movable) this.board.enableMoveInput((event) => this.input(event));
  }

  // An arrow for the engine's best move (coordinates), or none.
  arrow(move) {
    this.board.removeArrows();
    if (move) this.board.addArrow(ARROW_TYPE.default, move.slice(0, 2), move.slice(2, 4));
  }

  // Turns the board so that side ('w' or 'b') is at the bottom; the board
  // takes one turn at a time, so each is awaited.
  async orient(side, animated = false) {
    this.bottom = side;
    const colour = side === 'b' ? COLOR.black : COLOR.white;
    if (this.board.getOrientation() !== colour) await this.board.setOrientation(colour, animated);
  }

  // The side at the bottom, 'w' or 'b', from the moment the board starts to turn.
  get side() {
    return this.bottom;
  }

  flip() {
    return this.orient(this.bottom === 'w' ? 'b' : 'w', true);
  }

  input(event) {
    const chess = new Chess(this.fen);
    if (event.type === INPUT_EVENT_TYPE.moveInputStarted) {
      const piece = chess.get(event.squareFrom);
      return Boolean(piece && piece.color === chess.turn());
    }
    if (event.type !== INPUT_EVENT_TYPE.validateMoveInput) return undefined;
    const legal = chess.moves({ verbose: true }).filter((m) => m.from === event.squareFrom && m.to === event.squareTo);
    if (legal.length === 0) return false;
    if (legal[0].promotion) {
      const colour = chess.turn() === 'w' ? COLOR.white : COLOR.black;
      this.board.showPromotionDialog(event.squareTo, colour, (result) => {
        if (result.type === PROMOTION_DIALOG_RESULT_TYPE.pieceSelected) this.onMove(event.squareFrom + event.squareTo + result.piece.charAt(1));
        else this.board.setPosition(this.fen, false);
      });
      return true;
    }
    // After the board has finished its own move handling.
    setTimeout(() => this.onMove(legal[0].lan));
    return true;
  }
}
