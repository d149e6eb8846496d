// The Varn engine as WebAssembly, for browsers and Node.

/** A score as the engine reports it, from the side to move. */
export interface Score {
  cp?: number;
  mate?: number;
  /** A bound from a re-searched window rather than an exact score. */
  bound?: 'lower' | 'upper';
}

/** A score from White's view: centipawns, moves to mate, or a mate on the board. */
export type WhiteScore = { cp: number } | { mate: number } | { winner: 'white' | 'black' };

/** One "info" line of the engine. */
export interface Info {
  depth?: number;
  seldepth?: number;
  /** The line's number, 1 for the best: set on every line with a score or moves. */
  multipv?: number;
  nodes?: number;
  time?: number;
  nps?: number;
  score?: Score;
  pv?: string[];
  currmove?: string;
  currmovenumber?: number;
  string?: string;
}

/** Search limits: a depth, a time, nodes, a mate, or a clock (milliseconds). */
export interface Limits {
  depth?: number;
  movetime?: number;
  nodes?: number;
  mate?: number;
  wtime?: number;
  btime?: number;
  winc?: number;
  binc?: number;
  movestogo?: number;
  infinite?: boolean;
  ponder?: boolean;
  /** Only these root moves (coordinates) are searched and played. */
  searchmoves?: string[];
}

/** What a search ends with. */
export interface SearchResult {
  /** The move to play (coordinates, e.g. "e2e4"), null when there is no legal move. */
  bestmove: string | null;
  ponder: string | null;
  /** The last line with a score: the line played, its depth and score. */
  info: Info | null;
  /** Every exact line the search reported, shallowest first. */
  lines: Info[];
  /** The last depth's lines, line 1 first: as many as the MultiPV option asks. */
  pvs: Info[];
  /** Whether White was to move in the searched position. */
  whiteToMove: boolean;
  /** The engine's notes on this position and these limits (a field of the FEN dropped). */
  notes: string[];
}

export interface UciOption {
  name: string;
  type: 'spin' | 'check' | 'button' | 'string' | string;
  default?: number | boolean | string;
  min?: number;
  max?: number;
}

export interface StartOptions {
  /** The folder holding the engine files (default: the package's own); in Node a file URL or an absolute path. */
  url?: string | URL;
  /** false: the build without threads even where the one with threads could run (default: threads where memory can be shared). */
  threads?: boolean;
  /** The hash table in MB, 1 to 1024 (more is clamped, with a note). */
  hash?: number;
  /** The engine's notes ("info string"). */
  onMessage?: (text: string) => void;
  /** The engine failed after it started; every pending and later call rejects with this error. */
  onFailure?: (error: Error) => void;
}

export declare class VarnEngine {
  /** Loads the engine into a worker (a worker thread in Node). */
  static start(options?: StartOptions): Promise<VarnEngine>;
  /** True when the build with threads runs, false for the one without. */
  readonly threads: boolean;
  readonly name: string;
  readonly author: string;
  readonly options: Map<string, UciOption>;
  readonly searching: boolean;
  /** The levels from the engine's UCI_Elo option: its range (max is full strength) and the round steps to offer a player. */
  readonly levels: { min: number; max: number; steps: number[] } | null;
  /** The position to search: a FEN or "startpos", and coordinate moves on it. */
  position(fen?: string, moves?: string[]): this;
  /** The moves played on the position, replacing earlier ones. */
  moves(list: string[]): this;
  /** The limits of the next searches; {} searches until stop(). */
  limits(limits?: Limits): this;
  /** Searches; resolves at the engine's bestmove, rejects with the engine's reason for a refused position or move. A running search is stopped first. */
  analyse(onInfo?: (info: Info) => void): Promise<SearchResult>;
  /** Ends the running search; resolves once the engine has answered. */
  stop(): Promise<void>;
  /** Resolves with the engine's notes once it has taken every command sent. */
  ready(): Promise<string[]>;
  /** How the engine takes a position: its FEN after the moves (six fields) and the notes naming the
   *  FEN fields it dropped, or fen null and the reason it refused the position. */
  readPosition(fen?: string, moves?: string[]): Promise<{ fen: string | null; notes: string[] }>;
  /** setoption by name; resolves with the engine's notes (a value clamped or refused). */
  setOption(name: string, value?: string | number | boolean): Promise<string[]>;
  /** Plays at a level (an Elo within `levels`), or null for full strength; seed repeats a level's choices. */
  setLevel(elo: number | null, seed?: number): Promise<string[]>;
  /** A new game: an empty table, the level's choices restarted. */
  newGame(): Promise<string[]>;
  /** The engine's benchmark; its node count is the engine's signature. */
  bench(depth: number): Promise<{ positions: number; nodes: number; ms: number; nps: number }>;
  /** Stops any search and unloads the engine. */
  quit(): Promise<void>;
}

export declare function parseInfo(line: string): Info;
export declare function parseOption(line: string): UciOption | null;

/** A reported score from White's view. */
export declare function whiteScore(score: Score, whiteToMove: boolean): WhiteScore;
/** "+0.35", "-1.20", "#3", "#-2", or "1-0" / "0-1" for a mate on the board. */
export declare function scoreText(score: WhiteScore): string;
/** The value of a PGN [%eval] comment ("0.35", "#-2"); null for a mate on the board. */
export declare function evalText(score: WhiteScore): string | null;
/** White's share of an evaluation bar, 0 to 1. */
export declare function barShare(score: WhiteScore): number;

export interface Verdict {
  name: 'blunder' | 'mistake' | 'inaccuracy';
  /** The least loss in centipawns that earns it. */
  loss: number;
  /** Its PGN numeric annotation glyph. */
  nag: number;
  symbol: string;
  /** The verdict as a review writes it: "Blunder". */
  word: string;
}
export declare const Verdicts: Verdict[];
export declare const DecidedCp: number;
export declare const ConfirmPlies: number;
export declare const ConfirmTimeFactor: number;
export declare const BetterPlies: number;
export declare function verdictFor(loss: number): Verdict | null;
export declare function decidedValue(score: WhiteScore): number;
/** White's winning chances in percent (0 to 100). */
export declare function winPercent(score: WhiteScore): number;
/** A move's accuracy in percent from the mover's chances before and after it. */
export declare function moveAccuracy(before: number, after: number): number;
/** Each move's loss (centipawns, mover's side) and verdict. */
export declare function judgeMoves(scores: WhiteScore[], whiteFirst?: boolean): { loss: number; verdict: Verdict | null }[];
export interface ReviewedPosition { score: WhiteScore; pv: string[]; confirmed?: boolean }
export interface JudgedMove {
  loss: number;
  verdict: Pick<Verdict, 'name' | 'nag' | 'symbol'> | null;
  accuracy: number;
  /** "Blunder. Nf3 was best.", "Checkmate is now unavoidable. Kg1 was best.", ... or null. */
  comment: string | null;
  /** The better line in coordinates; [] without a verdict. */
  better: string[];
}
export interface SideSummary { inaccuracies: number; mistakes: number; blunders: number; acpl: number; accuracy: number | null }
export declare function judgeGame(
  game: { fen?: string; moves: string[] },
  positions: ReviewedPosition[],
): { moves: JudgedMove[]; sides: { white: SideSummary; black: SideSummary }; tags: [string, string | number][] };
/** The limits of the confirming searches for a first pass's limits. */
export declare function confirmLimits(limits: Limits): Limits | null;
/**
 * Searches every position of a game as a new game (empty table), then the
 * positions around each mistake or blunder again with options.confirm
 * (default confirmLimits(limits); null for none).
 */
export declare function reviewGame(
  engine: VarnEngine,
  game: { fen?: string; moves: string[] },
  limits: Limits,
  options?: { onPosition?: (index: number, count: number) => void; signal?: AbortSignal; confirm?: Limits | null },
): Promise<ReviewedPosition[]>;
/** The Annotator tag's value for a review: "Varn 504 (depth 8, losses confirmed at depth 9)". */
export declare function annotatorText(engineName: string, limits: Limits, confirm?: Limits | null): string;
/**
 * The notes of a reviewed game for its PGN (addReview of varn/pgn): per move
 * the verdict's NAG, the [%eval] and the verdict in words as its comment, the
 * better line; the Annotator's and the summary's tags.
 */
export declare function reviewNotes(
  game: { fen?: string; moves: string[] },
  positions: ReviewedPosition[],
  annotator: string,
): import('./pgn.js').ReviewNotes;

