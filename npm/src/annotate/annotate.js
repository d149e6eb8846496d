// One game of a collection annotated: every position of its main line
// searched, and the review's notes (evaluations, verdicts as NAGs, better
// lines, a summary per side in the tags) added beside everything the game
// already holds.
import { annotatorText, reviewGame, reviewNotes } from '../review.js';
import { addReview, mainline, readGame, writeGame } from '../pgn.js';

// Annotates a game's text. options: limits, keepComments;
// onPosition() after each position searched. Returns { text, game (the
// annotated tree), positions } or, for a game that cannot be read, { text
// (as it came), error (the reason) }.
export async function annotateGame(engine, text, options, onPosition) {
  let game;
  try {
    game = readGame(text);
  } catch (error) {
    return { text: `${text}\n`, error: error.message.split('\n')[0] };
  }
  const moves = mainline(game).map((node) => node.lan);
  const positions = await reviewGame(engine, { fen: game.root.fen, moves }, options.limits, { onPosition });
  const whiteFirst = game.root.fen.split(' ')[1] === 'w';
  addReview(game, reviewNotes(positions, moves, whiteFirst, annotatorText(engine.name, options.limits)));
  return { text: writeGame(game, { comments: options.keepComments !== false }), game, positions: positions.length };
}
