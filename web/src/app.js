// The analysis board: the game and the page's mode, over the board view, the
// move list, analysis, play and review, each holding its own state.
import { VarnEngine } from 'varn';
import { BoardView } from './board.js';
import { MoveList } from './moves.js';
import { Analysis } from './analysis.js';
import { Play } from './play.js';
import { Review } from './review.js';
import { Game } from './game.js';
import { readFen, readMove, readPgn } from './position.js';
import './style.css';

const $ = (id) => document.getElementById(id);
let engine = null;
let game = new Game();
let mode = 'idle'; // idle, analysis, play or review

const board = new BoardView($('board'), game.fen(), (lan) => userMove(lan));
const moveList = new MoveList($('moves'), (ply) => goTo(ply));
const analysis = new Analysis({
  button: $('analyse'), depth: $('depth'), score: $('score'), nps: $('nps'), pv: $('pv'), bar: $('eval-white'), barText: $('eval-text'),
}, board);
const play = new Play({
  level: $('play-level'), result: $('result'), playing: $('playing'), resign: $('resign'), clocks: { w: $('clock-w'), b: $('clock-b') },
}, { onEngineMove: (lan) => engineMove(lan), onEnd: () => gameEnded() });
const review = new Review({ button: $('review'), progress: $('review-progress'), graph: $('graph'), summary: $('review-summary'), note: $('review-note') }, (ply) => goTo(ply));

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
  board.draw(game.fen(), game.cursor ? game.moves[game.cursor - 1] : null, canMove());
  moveList.draw(game, review.verdicts);
  review.draw(game.cursor);
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

function gameEnded() {
  mode = 'idle';
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

async function newGame(start, moves = []) {
  if (mode === 'play') await play.end(null);
  await stopReview();
  game = new Game(start, moves);
  review.clear();
  play.clear();
  moved();
}

// ---- Controls -------------------------------------------------------------

$('first').onclick = () => goTo(0);
$('back').onclick = () => goTo(game.cursor - 1);
$('forward').onclick = () => goTo(game.cursor + 1);
$('last').onclick = () => goTo(game.length);
$('flip').onclick = () => board.flip();
document.addEventListener('keydown', (event) => {
  if (event.target.closest('input, textarea, select')) return;
  if (event.key === 'ArrowLeft') goTo(game.cursor - 1);
  if (event.key === 'ArrowRight') goTo(game.cursor + 1);
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
  return newGame(read.fen);
});
$('load-pgn').onclick = () => {
  const read = readPgn($('pgn').value);
  if (read.error) return say(read.error);
  say(`Loaded a game of ${read.moves.length} half-moves.`, 'info');
  return newGame(read.start, read.moves);
};
$('export-pgn').onclick = () => {
  $('pgn').value = game.pgn();
  say('The PGN of this game is in the box below the FEN.', 'info');
};
$('new-game').onclick = () => newGame(undefined);

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
  game.truncate();
  const [base, increment] = $('time-control').value.split('+').map(Number);
  const human = $('play-colour').value;
  mode = 'play';
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
  if (game.length === 0) return say('There is no game to review: load a PGN or play some moves.');
  await stopAnalysis();
  const [kind, value] = $('review-limit').value.split(':');
  mode = 'review';
  show();
  const done = await review.run(engine, game, kind === 'depth' ? { depth: Number(value) } : { movetime: Number(value) });
  if (done) mode = 'idle';
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
