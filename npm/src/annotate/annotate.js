// One game of a collection annotated: every position searched, each move's
// [%eval], the review's verdicts as NAGs, the better line for mistakes and
// blunders, and a summary per side in the tags.
import { evalText } from '../score.js';
import { reviewGame, reviewSummary, verdictFor, moveLosses, Verdicts } from '../review.js';
import { lineSan, readGame, writeGame } from '../pgn.js';

const Worst = new Set(Verdicts.filter((v) => v.name !== 'inaccuracy').map((v) => v.nag));

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
export function limitText(limits) {
  return limits.movetime !== undefined ? `${limits.movetime} ms per position` : `depth ${limits.depth}`;
}

// Annotates a game's text. options: limits, keepComments, variationPlies;
// onPosition() after each position searched. Returns { text, positions } or,
// for a game that cannot be read, { text (as it came), error (the reason) }.
export async function annotateGame(engine, text, options, onPosition) {
  let game;
  try {
    game = readGame(text);
  } catch (error) {
    return { text: `${text}\n`, error: error.message.split('\n')[0] };
  }
  // A fresh table per game: the annotation does not depend on which games
  // the same engine saw before, so shards and single runs agree.
  await engine.newGame();
  const coordinates = game.moves.map((move) => move.lan);
  const positions = await reviewGame(engine, { fen: game.start, moves: coordinates }, options.limits, { onPosition });
  const scores = positions.map((p) => p.score);
  const whiteFirst = game.start.split(' ')[1] === 'w';
  const losses = moveLosses(scores, whiteFirst);
  const notes = game.moves.map((move, i) => {
    const nag = verdictFor(losses[i])?.nag;
    const note = { nag, eval: evalText(scores[i + 1]) };
    const better = positions[i].pv;
    if (Worst.has(nag) && better.length && better[0] !== move.lan) {
      note.variation = lineSan(move.before, better.slice(0, options.variationPlies ?? 8)) || undefined;
    }
    return note;
  });
  const tags = summaryTags(engine.name, limitText(options.limits), reviewSummary(scores, whiteFirst));
  return { text: writeGame(game, notes, tags, options.keepComments !== false), positions: positions.length };
}
