// PGN helpers of the package (varn/pgn), over chess.js.
import type { Chess, Move } from 'chess.js';

export interface ReadGame {
  tags: [string, string][];
  start: string;
  moves: Move[];
  comments: Map<string, string>;
  result: string;
}
export interface MoveNote {
  nag?: number;
  eval?: string | null;
  comment?: string;
  variation?: string;
}
export declare function readLines(chunks: AsyncIterable<string | Uint8Array> | Iterable<string | Uint8Array>): AsyncGenerator<string>;
export declare function splitGames(lines: AsyncIterable<string> | Iterable<string>): AsyncGenerator<string>;
export declare function readGame(text: string): ReadGame;
export declare const Termination: RegExp;
export declare const TagLine: RegExp;
export declare function playCoordinate(chess: Chess, text: string): Move | null;
export declare function lineSan(fen: string, moves: string[]): string;
export declare function tagValue(text: string): string;
export declare function writeGame(game: ReadGame, notes: MoveNote[], extraTags?: [string, string | number][], keepComments?: boolean): string;
