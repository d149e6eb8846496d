// PGN helpers of the package (varn/pgn): games read into trees of moves and
// written back, with nothing of the input lost.
import type { Chess, Move } from 'chess.js';

/** What Varn adds to a move of the game: written beside the move's own. */
export interface VarnNote {
  nags: number[];
  comments: string[];
}

/** A move of the tree. children[0] continues the line; the others are its variations. */
export interface PgnNode {
  san: string;
  /** The move in coordinates: e2e4, e7e8q. */
  lan: string;
  /** The position after the move. */
  fen: string;
  nags: number[];
  /** Comment texts after the move, exactly as between the braces. */
  comments: string[];
  /** Comments before the move: where a variation begins or after one. */
  startComments: string[];
  children: PgnNode[];
  varn?: VarnNote;
  /** The move belongs to a line Varn added. */
  fromVarn?: boolean;
}

export interface PgnRoot {
  /** The start position. */
  fen: string;
  /** Comments before the first move. */
  comments: string[];
  children: PgnNode[];
}

export interface PgnGame {
  /** Tags in order, values without PGN's escapes. */
  tags: [string, string][];
  root: PgnRoot;
  result: string;
  /** Varn's tags, written after the game's own for names it does not have. */
  varnTags?: [string, string | number][];
}

/** A review's notes for a game's main line, as addReview takes them. */
export interface ReviewNotes {
  moves: ({ nag?: number; comment?: string; line?: string[] } | null | undefined)[];
  tags?: [string, string | number][];
}

export declare const StartFen: string;
export declare const Termination: RegExp;
export declare const TagLine: RegExp;
export declare function readLines(chunks: AsyncIterable<string | Uint8Array> | Iterable<string | Uint8Array>): AsyncGenerator<string>;
export declare function splitGames(lines: AsyncIterable<string> | Iterable<string>): AsyncGenerator<string>;
export declare function readGame(text: string): PgnGame;
export declare function writeGame(game: PgnGame, options?: { comments?: boolean }): string;
export declare function newGame(fen?: string): PgnGame;
export declare function moveNode(fen: string, move: string): PgnNode | null;
export declare function addMove(parent: PgnRoot | PgnNode, move: string): PgnNode | null;
export declare function mainline(game: PgnGame): PgnNode[];
export declare function addReview(game: PgnGame, review: ReviewNotes): void;
export declare function withoutVarn(game: PgnGame): PgnGame;
export declare function playCoordinate(chess: Chess, text: string): Move | null;
export declare function lineSan(fen: string, moves: string[]): string;
export declare function tagValue(text: string): string;
