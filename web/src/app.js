// The analysis board: the game and the page's mode, over the board view, the
// move list, analysis, play and review, each holding its own state.
import { VarnEngine, annotatorText, reviewNotes } from 'varn';
import { BoardView } from './board.js';
import { MoveList } from './moves.js';
import { Analysis } from './analysis.js';
import { Play } from './play.js';
import { Review } from './review.js';
import { Game } from './game.js';
import { newGame as newTree } from 'varn/pgn';
import { readFen, readMove, readPgn } from './position.js';
import './style.css';

const $ = (id) => document.getElementById(id);
let engine = null;
let game = new Game();
let mode = 'idle'; // idle, analysis, play or review

const board = new BoardView($('board'), game.fen(), (lan) => userMove(lan));
const moveList = new MoveList($('moves'), (path) => goPath(path));
const analysis = new Analysis({
  button: $('analyse'), depth: $('depth'), score: $('score'), nps: $('nps'), pv: $('pv'), bar: $('eval-white'), barText: $('eval-text'),
}, board);
const play = new Play({
  level: $('play-level'), result: $('result'), playing: $('playing'), resign: $('resign'), clocks: { w: $('clock-w'), b: $('clock-b') },
}, { onEngineMove: (lan) => engineMove(lan), onEnd: (result) => gameEnded(result) });
const review = new Review({ button: $('review'), progress: $('review-progress'), graph: $('graph'), summary: $('review-summary'), note: $('review-note') }, (ply) => goMain(ply));

function say(text, kind = 'error') {
  const box = $('message');
  box.textContent = text;
  box.className = kind;
  box.hidden = !text;
}

// The position at the cursor as the engine and the views take it.
function current() {
  const { fen, moves } = game.engineInput();
  return { start: fen, moves, fen: game.fen() };
}

function canMove() {
  if (mode === 'review') return false;
  if (mode === 'play') return game.cursor === game.length && play.humanToMove(game.chess());
  return true;
}

// Draws every view for the cursor.
function show() {
  const chess = game.chess();
  board.draw(game.fen(), game.node().lan ?? null, canMove());
  moveList.draw(game, review.verdicts);
  review.draw(game.mainPly() ?? Infinity);
  $('undo').disabled = !game.canUndo || mode === 'play';
  $('promote').disabled = game.mainPly() !== null || mode === 'play';
  $('delete-move').disabled = game.cursor === 0 || mode === 'play';
  $('fen').value = game.fen();
  $('status-line').textContent = game.outcome() || `${chess.turn() === 'w' ? 'White' : 'Black'} to move${chess.inCheck() ? ', in check' : ''}.`;
}

// The shown position changed: the views draw it and the analysis follows.
function moved() {
  show();
  if (mode === 'analysis') analysis.follow(current(), game.outcome());
}

function goTo(ply) {
  if (mode === 'play' && play.active) return;
  game.go(ply);
  moved();
}

function goPath(path) {
  if (mode === 'play' && play.active) return;
  game.select(path);
  moved();
}

function goMain(ply) {
  game.goMain(ply);
  moved();
}

// A change to the game's tree (undo, promote, delete); a review on it is
// stopped first. The review's graph and colours go with the main line they
// were drawn for (its notes stay on their moves).
async function edit(change) {
  if (mode === 'play') return;
  if (mode === 'review') await stopReview();
  const main = game.mainMoves.join(' ');
  change();
  if (game.mainMoves.join(' ') !== main) review.clear();
  moved();
}

async function userMove(lan) {
  if (!game.play(lan)) return;
  say('');
  if (mode === 'review') await stopReview();
  moved();
  if (mode === 'play') play.moved(game);
}

function engineMove(lan) {
  game.play(lan);
  show();
  play.moved(game);
}

// A game against Varn ended with a result text ("White wins on time."),
// none when it was abandoned.
function gameEnded(text) {
  mode = 'idle';
  game.follow = true;
  const result = /^White wins/.test(text) ? '1-0' : /^Black wins/.test(text) ? '0-1' : /^Draw/.test(text) ? '1/2-1/2' : null;
  if (result) game.setResult(result);
  game.select(game.path());
  show();
}

async function stopAnalysis() {
  if (mode !== 'analysis') return;
  mode = 'idle';
  await analysis.stop();
}

async function stopReview() {
  if (mode !== 'review') return;
  mode = 'idle';
  await review.stop(engine);
}

// Starts over with a game (the page's Game; the start position by default).
async function newGame(next = new Game()) {
  if (mode === 'play') await play.end(null);
  await stopReview();
  game = next;
  review.clear();
  play.clear();
  moved();
}

// The tags of a game played against Varn, for a game that has none yet.
function nameGame(human) {
  if (game.tree.tags.some(([name]) => !['SetUp', 'FEN'].includes(name))) return;
  const level = $('play-level').value;
  const varn = level === 'full' ? 'Varn' : `Varn (level ${level})`;
  const today = new Date().toISOString().slice(0, 10).replace(/-/g, '.');
  for (const [name, value] of [['Event', 'Game against Varn'], ['Date', today], ['White', human === 'w' ? 'You' : varn], ['Black', human === 'w' ? varn : 'You']]) game.setTag(name, value);
}

// ---- Controls -------------------------------------------------------------

$('first').onclick = () => goTo(0);
$('back').onclick = () => goTo(game.cursor - 1);
$('forward').onclick = () => goTo(game.cursor + 1);
$('last').onclick = () => goTo(game.length);
$('undo').onclick = () => edit(() => game.undo());
$('promote').onclick = () => edit(() => game.promote());
$('delete-move').onclick = () => edit(() => game.remove());
$('flip').onclick = () => board.flip();
document.addEventListener('keydown', (event) => {
  if (event.target.closest('input, textarea, select')) return;
  if (event.key === 'ArrowLeft') goTo(game.cursor - 1);
  if (event.key === 'ArrowRight') goTo(game.cursor + 1);
  if (event.key === 'z' && (event.ctrlKey || event.metaKey)) edit(() => game.undo());
});

$('move-form').addEventListener('submit', (event) => {
  event.preventDefault();
  if (!canMove()) return say('It is not your move.');
  const read = readMove(game.fen(), $('move-input').value);
  if (read.error) return say(read.error);
  $('move-input').value = '';
  return userMove(read.move);
});

$('fen-form').addEventListener('submit', (event) => {
  event.preventDefault();
  const read = readFen($('fen').value);
  if (read.error) return say(read.error);
  say('');
  return newGame(new Game(newTree(read.fen)));
});
$('load-pgn').onclick = async () => {
  const read = await readPgn($('pgn').value);
  if (read.error) return say(read.error);
  const others = read.count > 1 ? ` (the first of the ${read.count} games in the text)` : '';
  say(`Loaded a game of ${read.game.mainMoves.length} half-moves${others}.`, 'info');
  return newGame(read.game);
};
$('export-pgn').onclick = () => {
  $('pgn').value = game.pgn();
  say('The PGN of this game is in the box below the FEN.', 'info');
};
$('new-game').onclick = () => newGame();

$('analyse').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  if (mode === 'analysis') return stopAnalysis();
  if (mode !== 'idle') return say('Finish the game or the review first.');
  mode = 'analysis';
  return analysis.start(engine, current());
};

$('play').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  await stopAnalysis();
  await stopReview();
  if (mode === 'play') await play.end('Game abandoned.');
  if (game.chess().isGameOver()) return say('The game is already over in this position.');
  const [base, increment] = $('time-control').value.split('+').map(Number);
  const human = $('play-colour').value;
  mode = 'play';
  // The moves played go into the game from here, as a variation where it
  // already goes on.
  game.follow = false;
  game.select(game.path());
  nameGame(human);
  analysis.clear();
  say('');
  await board.orient(human);
  await play.start(engine, game, { human, base, increment, level: $('play-level').value });
  show();
  return undefined;
};
$('resign').onclick = () => play.resign();

$('review').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  if (mode === 'review') return stopReview();
  if (mode === 'play') return say('Finish the game first.');
  const moves = game.mainMoves;
  if (moves.length === 0) return say('There is no game to review: load a PGN or play some moves.');
  await stopAnalysis();
  const [kind, value] = $('review-limit').value.split(':');
  const limits = kind === 'depth' ? { depth: Number(value) } : { movetime: Number(value) };
  mode = 'review';
  game.clearReview();
  show();
  const done = await review.run(engine, { start: game.start, moves }, limits);
  if (done) {
    mode = 'idle';
    // Export writes the review's notes as varn-annotate does.
    game.setReview(reviewNotes({ fen: game.start, moves }, review.positions, annotatorText(engine.name, limits)));
  }
  show();
  return undefined;
};

// ---- Start-up -----------------------------------------------------------------

show();
try {
  engine = await VarnEngine.start({ url: new URL('engine/', document.baseURI), onMessage: (text) => console.info(`Varn: ${text}`) });
  const hash = engine.options.get('Hash')?.default;
  $('engine-status').textContent = `${engine.name} · WebAssembly · ${hash} MB table`;
  play.offerLevels(engine.levels);
  document.body.dataset.engine = 'ready';
  // For the browser tests: the engine's benchmark through this page.
  window.varnBench = (depth) => engine.bench(depth);
} catch (error) {
  $('engine-status').textContent = 'Engine unavailable';
  say(error.message);
}
