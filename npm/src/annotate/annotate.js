// One game of a collection annotated: every position searched, each move's
// [%eval], the review's verdicts as NAGs with their words and the better
// line, a summary per side and the opening in the tags.
import { evalText } from '../score.js';
import { judgeGame, reviewGame } from '../review.js';
import { lineSan, readGame, writeGame } from '../pgn.js';
import { openingOf } from '../openings.js';

// The limits as words for the Annotator tag.
function limitText(limits, confirm) {
  const first = limits.movetime !== undefined ? `${limits.movetime} ms per position` : `depth ${limits.depth}`;
  if (!confirm) return first;
  return `${first}, losses confirmed at ${confirm.movetime !== undefined ? `${confirm.movetime} ms` : `depth ${confirm.depth}`}`;
}

// Annotates a game's text. options: limits, confirm (limits of the confirming
// searches, or null), keepComments, openings (a table from readOpenings, or
// null); onPosition() after each position searched. Returns { text,
// positions } or, for a game that cannot be read, { text (as it came), error
// (the reason) }.
export async function annotateGame(engine, text, options, onPosition) {
  let game;
  try {
    game = readGame(text);
  } catch (error) {
    return { text: `${text}\n`, error: error.message.split('\n')[0] };
  }
  const reviewed = { fen: game.start, moves: game.moves.map((move) => move.lan) };
  const positions = await reviewGame(engine, reviewed, options.limits, { onPosition, confirm: options.confirm });
  const judged = judgeGame(reviewed, positions);
  const notes = game.moves.map((move, i) => {
    const { verdict, comment, better } = judged.moves[i];
    return {
      nag: verdict?.nag,
      eval: evalText(positions[i + 1].score),
      comment: comment ?? undefined,
      variation: better.length ? lineSan(move.before, better) || undefined : undefined,
    };
  });
  const tags = [['Annotator', `${engine.name} (${limitText(options.limits, options.confirm)})`], ...judged.tags];
  const named = new Set(game.tags.map(([name]) => name));
  const opening = options.openings && !named.has('ECO') ? openingOf(options.openings, reviewed) : null;
  if (opening) tags.push(['ECO', opening.eco], ['Opening', opening.name], ...(opening.variation ? [['Variation', opening.variation]] : []));
  return { text: writeGame(game, notes, tags, options.keepComments !== false), positions: positions.length };
}
