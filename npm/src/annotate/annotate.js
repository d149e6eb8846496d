// One game of a collection annotated: every position of its main line
// searched, and the review's notes (evaluations, verdicts as NAGs with their
// words, better lines, a summary per side and the opening in the tags) added
// beside everything the game already holds.
import { annotatorText, reviewGame, reviewNotes } from '../review.js';
import { addReview, mainline, readGame, writeGame } from '../pgn.js';
import { openingOf } from '../openings.js';

// Annotates a game's text. options: limits, confirm (limits of the confirming
// searches, or null), keepComments, openings (a table from readOpenings, or
// null); onPosition() after each position searched. Returns { text, game (the
// annotated tree), positions } or, for a game that cannot be read, { text
// (as it came), error (the reason) }.
export async function annotateGame(engine, text, options, onPosition) {
  let game;
  try {
    game = readGame(text);
  } catch (error) {
    return { text: `${text}\n`, error: error.message.split('\n')[0] };
  }
  const reviewed = { fen: game.root.fen, moves: mainline(game).map((node) => node.lan) };
  const positions = await reviewGame(engine, reviewed, options.limits, { onPosition, confirm: options.confirm });
  const notes = reviewNotes(reviewed, positions, annotatorText(engine.name, options.limits, options.confirm));
  const opening = options.openings && !game.tags.some(([name]) => name === 'ECO') ? openingOf(options.openings, reviewed) : null;
  if (opening) notes.tags.push(['ECO', opening.eco], ['Opening', opening.name], ...(opening.variation ? [['Variation', opening.variation]] : []));
  addReview(game, notes);
  return { text: writeGame(game, { comments: options.keepComments !== false }), game, positions: positions.length };
}
