// The package's entry: the engine, its score texts and the game review.
export { VarnEngine } from './engine.js';
export { parseInfo, parseOption } from './uci.js';
export * from './score.js';
export * from './review.js';
