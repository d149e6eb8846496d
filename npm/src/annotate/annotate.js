// One game of a collection annotated: every position searched, each move's
// [%eval], the review's verdicts as NAGs, the better line for mistakes and
// blunders, and a summary per side in the tags.
import { evalText } from '../score.js';
import { reviewGame, reviewSummary, verdictFor, moveLosses } from '../review.js';
import { lineSan, readGame, writeGame } from '../pgn.js';

// Plies of the better line written for a mistake or a blunder.
const VariationPlies = 8;

// The summary tags of a reviewed game.
function summaryTags(engineName, limitText, summary) {
  const tags = [['Annotator', `${engineName} (${limitText})`]];
  for (const [side, name] of [['white', 'White'], ['black', 'Black']]) {
    const s = summary[side];
    tags.push([`${name}Inaccuracies`, s.inaccuracies], [`${name}Mistakes`, s.mistakes], [`${name}Blunders`, s.blunders], [`${name}ACPL`, s.acpl]);
  }
  return tags;
}

// The limits as words for the Annotator tag.
function limitText(limits) {
  return limits.movetime !== undefined ? `${limits.movetime} ms per position` : `depth ${limits.depth}`;
}

// Annotates a game's text. options: limits, keepComments;
// onPosition() after each position searched. Returns { text, positions } or,
// for a game that cannot be read, { text (as it came), error (the reason) }.
export async function annotateGame(engine, text, options, onPosition) {
  let game;
  try {
    game = readGame(text);
  } catch (error) {
    return { text: `${text}\n`, error: error.message.split('\n')[0] };
  }
  const coordinates = game.moves.map((move) => move.lan);
  const positions = await reviewGame(engine, { fen: game.start, moves: coordinates }, options.limits, { onPosition });
  const scores = positions.map((p) => p.score);
  const whiteFirst = game.start.split(' ')[1] === 'w';
  const losses = moveLosses(scores, whiteFirst);
  const notes = game.moves.map((move, i) => {
    const verdict = verdictFor(losses[i]);
    const note = { nag: verdict?.nag, eval: evalText(scores[i + 1]) };
    const better = positions[i].pv;
    if (verdict && verdict.name !== 'inaccuracy' && better.length && better[0] !== move.lan) {
      note.variation = lineSan(move.before, better.slice(0, VariationPlies)) || undefined;
    }
    return note;
  });
  const tags = summaryTags(engine.name, limitText(options.limits), reviewSummary(scores, whiteFirst));
  return { text: writeGame(game, notes, tags, options.keepComments !== false), positions: positions.length };
}
