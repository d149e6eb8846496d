// The analysis board: the game and the page's mode, over the board view, the
// move list, analysis, play and review, each holding its own state.
import { VarnEngine, whiteScore } from 'varn';
import { BoardView } from './board.js';
import { MoveList } from './moves.js';
import { Analysis } from './analysis.js';
import { Play } from './play.js';
import { Review } from './review.js';
import { Game } from './game.js';
import { readFen, readMove, readPgn } from './position.js';
import { gameText, linkTo, loadSaved, readGameText, readLink, save } from './saved.js';
import './style.css';

const $ = (id) => document.getElementById(id);
let engine = null;
let started = null;
// Resolves once the engine has loaded (true) or failed (false).
const engineStarted = new Promise((resolve) => { started = resolve; });
let game = new Game();
let mode = 'idle'; // idle, analysis, play or review

const board = new BoardView($('board'), game.fen(), (lan) => userMove(lan));
const moveList = new MoveList($('moves'), (ply) => goTo(ply));
const analysis = new Analysis({
  button: $('analyse'), depth: $('depth'), score: $('score'), nps: $('nps'), lines: $('lines'), bar: $('eval-white'), barText: $('eval-text'),
}, board, (moves) => playLine(moves));
const play = new Play({
  level: $('play-level'), result: $('result'), playing: $('playing'), resign: $('resign'), clocks: { w: $('clock-w'), b: $('clock-b') },
}, { onEngineMove: (lan) => engineMove(lan), onEnd: () => gameEnded() });
const review = new Review({ button: $('review'), progress: $('review-progress'), graph: $('graph'), summary: $('review-summary') }, (ply) => goTo(ply));

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
  analysis.result(chess.isCheckmate() ? whiteScore({ mate: 0 }, chess.turn() === 'w') : chess.isStalemate() ? { draw: true } : null);
  keepBoardInView();
  remember();
}

// On a small screen the board stays wholly in view as the game moves on.
function keepBoardInView() {
  const box = $('board').getBoundingClientRect();
  if (box.top < 0 || box.bottom > window.innerHeight) $('board').scrollIntoView({ block: 'nearest' });
}

// The settings the page keeps, by the id of their control.
const SettingIds = ['lines-count', 'time-control', 'play-level', 'play-colour', 'review-limit'];

// Keeps the game, the position shown and the settings for the next visit.
function remember() {
  const settings = Object.fromEntries(SettingIds.map((id) => [id, $(id).value]));
  save({ pgn: gameText(game.start, game.moves), ply: game.cursor, settings: { ...settings, side: board.side } });
}

// Sets the controls to kept settings where they still offer the value.
function applySettings(settings = {}) {
  for (const id of SettingIds) {
    if ([...$(id).options].some((option) => option.value === settings[id])) $(id).value = settings[id];
  }
  analysis.count = Number($('lines-count').value);
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

// Plays the moves of an engine line from the position shown.
function playLine(moves) {
  if (!canMove()) return;
  let played = 0;
  while (played < moves.length && game.play(moves[played])) played += 1;
  if (played) moved();
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

// A sentence from an engine's note.
const sentence = (note) => `${note[0].toUpperCase()}${note.slice(1)}.`;

// A new game from a start position (the start position when undefined) and
// moves. The board takes the position as the engine does: fields it cannot
// keep are dropped with its own note. Returns the notes for the player, or
// null when the engine refused the position (the message says why).
async function newGame(start, moves = []) {
  if (mode === 'play') await play.end(null);
  await stopReview();
  const notes = [];
  if (start && !engine) say('The engine is loading: the position follows once it has read it.', 'info');
  if (start && (await engineStarted)) {
    const taken = await engine.readPosition(start);
    if (!taken.fen) {
      moved(); // the engine's reading stopped the analysis of the game shown
      say(`Not a valid FEN: ${taken.notes.join('; ').replace(/^illegal position: /, '')}.`);
      return null;
    }
    start = taken.fen;
    notes.push(...taken.notes.map(sentence));
  }
  game = new Game(start, moves);
  if (game.length < moves.length) notes.push(`Move ${game.length + 1} is not legal there: the game ends before it.`);
  review.clear();
  play.clear();
  moved();
  return notes;
}

// ---- Controls -------------------------------------------------------------

$('first').onclick = () => goTo(0);
$('back').onclick = () => goTo(game.cursor - 1);
$('forward').onclick = () => goTo(game.cursor + 1);
$('last').onclick = () => goTo(game.length);
$('flip').onclick = () => {
  const turning = board.flip();
  remember();
  return turning;
};
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

// Loads a FEN; notes: what to tell the player beside the engine's notes.
// The engine checks it (without an engine, chess.js does).
async function loadFen(text, notes = []) {
  const fen = text.trim().replace(/\s+/g, ' ');
  if (!fen) return say('Enter a FEN first.');
  const read = (await engineStarted) ? { fen } : readFen(fen);
  if (read.error) return say(read.error);
  const taken = await newGame(read.fen);
  if (taken) say([...notes, ...taken].join(' '), 'info');
  return undefined;
}

// Loads a game read from PGN text and shows the position after ply
// half-moves (the last one when ply is undefined).
async function loadGame(read, ply = undefined, notes = []) {
  if (read.error) return say(read.error);
  const taken = await newGame(read.start, read.moves);
  if (!taken) return undefined;
  if (ply !== undefined) goTo(ply);
  say([...notes, ...taken].join(' '), 'info');
  return undefined;
}

// Opens what a link carries (a position or a game), then drops it from the
// address: from here on the page keeps the game as it goes on.
async function openLink(hash) {
  const link = readLink(hash);
  if (!link) return;
  history.replaceState(null, '', location.href.split('#')[0]);
  if (link.pgn) await loadGame(readGameText(link.pgn), link.ply, ['Opened the shared game.']);
  else await loadFen(link.fen, ['Opened the shared position.']);
}

$('fen-form').addEventListener('submit', (event) => {
  event.preventDefault();
  return loadFen($('fen').value);
});
$('load-pgn').onclick = () => {
  const read = readPgn($('pgn').value);
  return loadGame(read, undefined, [`Loaded a game of ${read.moves?.length} half-moves.`]);
};
$('share').onclick = async () => {
  const base = location.href.split('#')[0];
  const link = game.length ? linkTo(base, { pgn: gameText(game.start, game.moves), ply: game.cursor }) : linkTo(base, { fen: game.fen() });
  $('link').value = link;
  $('link').hidden = false;
  $('link').select();
  try {
    await navigator.clipboard.writeText(link);
    say('The link to this game is copied, and in the box below.', 'info');
  } catch {
    say('The link to this game is in the box below.', 'info');
  }
};
for (const id of SettingIds) $(id).addEventListener('change', remember);
$('lines-count').addEventListener('change', () => analysis.lines(Number($('lines-count').value)));
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

// The last visit's game, position and settings; a link opens once the engine
// can read its position.
const saved = loadSaved();
applySettings(saved?.settings);
if (saved?.settings?.side === 'b') await board.orient('b');
const kept = saved?.pgn ? readGameText(saved.pgn) : null;
if (kept && !kept.error) {
  game = new Game(kept.start, kept.moves);
  game.go(saved.ply);
}
show();
try {
  engine = await VarnEngine.start({ url: new URL('engine/', document.baseURI), onMessage: (text) => console.info(`Varn: ${text}`) });
  const hash = engine.options.get('Hash')?.default;
  $('engine-status').textContent = `${engine.name} · WebAssembly · ${hash} MB table`;
  play.offerLevels(engine.levels);
  applySettings(saved?.settings);
  document.body.dataset.engine = 'ready';
  // For the browser tests: the engine's benchmark through this page.
  window.varnBench = (depth) => engine.bench(depth);
} catch (error) {
  $('engine-status').textContent = 'Engine unavailable';
  say(error.message);
}
started(Boolean(engine));
await openLink(location.hash);
window.addEventListener('hashchange', () => openLink(location.hash));
