// The analysis board: the game and the page's mode, over the board view, the
// move list, analysis, play and review, each holding its own state.
import { VarnEngine, annotatorText, reviewNotes, whiteScore } from 'varn';
import { BoardView } from './board.js';
import { MoveList } from './moves.js';
import { Analysis } from './analysis.js';
import { Play } from './play.js';
import { Review } from './review.js';
import { Game } from './game.js';
import { StartFen, newGame as newTree } from 'varn/pgn';
import { readFen, readMove, readPgn } from './position.js';
import { linkTo, loadSaved, readLink, save } from './saved.js';
import './style.css';

const $ = (id) => document.getElementById(id);
let engine = null;
let engineError = null; // why the engine is not there: it failed to load or stopped
let started = null;
// Resolves once the engine has loaded (true) or failed (false).
const engineStarted = new Promise((resolve) => { started = resolve; });
let game = new Game();
let mode = 'idle'; // idle, analysis, play or review

const board = new BoardView($('board'), game.fen(), (lan) => userMove(lan));
const moveList = new MoveList($('moves'), (path) => goPath(path));
const analysis = new Analysis({
  button: $('analyse'), depth: $('depth'), score: $('score'), nps: $('nps'), lines: $('lines'), bar: $('eval-white'), barText: $('eval-text'),
}, board, (moves) => playLine(moves));
const play = new Play({
  level: $('play-level'), result: $('result'), playing: $('playing'), resign: $('resign'), clocks: { w: $('clock-w'), b: $('clock-b') },
}, { onEngineMove: (lan) => engineMove(lan), onEnd: (result) => gameEnded(result) });
const review = new Review({ button: $('review'), progress: $('review-progress'), graph: $('graph'), summary: $('review-summary'), note: $('review-note') }, (ply) => goMain(ply));

function say(text, kind = 'error') {
  const box = $('message');
  box.textContent = text;
  box.className = kind;
  box.hidden = !text;
  // The message stands above the board and moves it.
  keepBoardInView();
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
  save({ pgn: game.pgn(), path: game.path(), settings: { ...settings, side: board.side } });
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

// A sentence from an engine's note.
const sentence = (note) => `${note[0].toUpperCase()}${note.slice(1)}.`;

// Ends a game against Varn or a review before another game comes.
async function settle() {
  if (mode === 'play') await play.end(null);
  await stopReview();
}

// A start position as the engine reads it: { fen, notes } with the fields it
// dropped named in notes, or null after telling why it refused it. Without
// an engine the position stays as it is.
async function engineFen(fen) {
  if (!engine && !engineError) say('The engine is loading: the position follows once it has read it.', 'info');
  // Without an engine (it failed to load or stopped) the position stays as it is.
  if (!(await engineStarted) || !engine) return { fen, notes: [] };
  const taken = await engine.readPosition(fen);
  if (taken.fen) return { fen: taken.fen, notes: taken.notes.map(sentence) };
  moved(); // the engine's reading stopped the analysis of the game shown
  say(`Not a valid FEN: ${taken.notes.join('; ').replace(/^illegal position: /, '')}.`);
  return null;
}

// Loads a FEN, read by the engine (by chess.js without one); notes: what to
// tell the player beside the engine's notes.
async function loadFen(text, notes = []) {
  const typed = text.trim().replace(/\s+/g, ' ');
  if (!typed) return say('Enter a FEN first.');
  return loading(async () => {
    await settle();
    const read = (await engineStarted) && engine ? { fen: typed } : readFen(typed);
    if (read.error) return say(read.error);
    const taken = await engineFen(read.fen);
    if (!taken) return undefined;
    await newGame(new Game(newTree(taken.fen)));
    return say([...notes, ...taken.notes].join(' '), 'info');
  });
}

// Runs a load; the page is marked while it waits for the engine (for tests).
async function loading(load) {
  document.body.dataset.loading = 'true';
  try {
    return await load();
  } finally {
    delete document.body.dataset.loading;
  }
}

// Loads a game (the page's Game) on its start position as the engine reads
// it, and shows the move at path (its start by default).
async function loadGame(next, path = null, notes = []) {
  await settle();
  // The standard start position needs no reading.
  const taken = next.start === StartFen ? { fen: StartFen, notes: [] } : await loading(() => engineFen(next.start));
  if (!taken) return undefined;
  let repaired = next;
  if (taken.fen !== next.start) {
    // The game's moves are read again from the position the engine took.
    next.setTag('SetUp', '1');
    next.setTag('FEN', taken.fen);
    try {
      repaired = Game.read(next.pgn());
    } catch (error) {
      return say(`Not a valid PGN: ${[...taken.notes, ''].join(' ')}${error.message}.`);
    }
  }
  await newGame(repaired);
  if (path) goPath(path);
  say([...notes, ...taken.notes].join(' '), 'info');
  return undefined;
}

// Opens what a link carries (a position or a game), then drops it from the
// address: from here on the page keeps the game as it goes on.
async function openLink(hash) {
  const link = readLink(hash);
  if (!link) return undefined;
  history.replaceState(null, '', location.href.split('#')[0]);
  if (link.fen) return loadFen(link.fen, ['Opened the shared position.']);
  const read = await readPgn(link.pgn);
  if (read.error) return say(read.error);
  return loadGame(read.game, link.path, ['Opened the shared game.']);
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
$('flip').onclick = () => {
  const turning = board.flip();
  remember();
  return turning;
};
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
  return loadFen($('fen').value);
});
$('load-pgn').onclick = async () => {
  const read = await readPgn($('pgn').value);
  if (read.error) return say(read.error);
  const others = read.count > 1 ? ` (the first of the ${read.count} games in the text)` : '';
  return loadGame(read.game, null, [`Loaded a game of ${read.game.mainMoves.length} half-moves${others}.`]);
};
$('share').onclick = async () => {
  const base = location.href.split('#')[0];
  const moved = game.tree.root.children.length > 0;
  const link = moved ? linkTo(base, { pgn: game.pgn(), path: game.path() }) : linkTo(base, { fen: game.fen() });
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
$('new-game').onclick = () => newGame();

$('analyse').onclick = async () => {
  if (!engine) return say(engineMissing());
  if (mode === 'analysis') return stopAnalysis();
  if (mode !== 'idle') return say('Finish the game or the review first.');
  mode = 'analysis';
  return analysis.start(engine, current());
};

$('play').onclick = async () => {
  if (!engine) return say(engineMissing());
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
  if (!engine) return say(engineMissing());
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

function engineMissing() {
  return engineError ? `The engine is unavailable: ${engineError.message}` : 'The engine is still loading.';
}

// The engine failed after it had started: the page says so and stays usable
// as a board.
function engineFailed(error) {
  engineError = error;
  const ending = { play: () => play.end('Game abandoned: the engine stopped.'), analysis: () => analysis.stop() }[mode];
  engine = null;
  mode = 'idle';
  // Their calls to the engine now reject at once; the reason is shown below.
  ending?.().catch(() => {});
  analysis.clear(`The engine stopped: ${error.message}`);
  $('engine-status').textContent = 'Engine stopped';
  document.body.dataset.engine = 'failed';
  say(`The engine stopped: ${error.message}`);
  show();
}

// The last visit's game, position and settings; a link opens once the engine
// can read its position.
const saved = loadSaved();
applySettings(saved?.settings);
if (saved?.settings?.side === 'b') await board.orient('b');
try {
  if (saved?.pgn) game = Game.read(saved.pgn);
  game.select(saved?.path ?? []);
} catch {
  game = new Game();
}
show();
try {
  engine = await VarnEngine.start({
    url: new URL('engine/', document.baseURI),
    onMessage: (text) => console.info(`Varn: ${text}`),
    onFailure: engineFailed,
  });
  const hash = engine.options.get('Hash')?.default;
  // Without shared memory (no isolation headers) the engine runs without threads.
  $('engine-status').textContent = `${engine.name} · WebAssembly${engine.threads ? '' : ' (one thread)'} · ${hash} MB table`;
  play.offerLevels(engine.levels);
  applySettings(saved?.settings);
  document.body.dataset.engine = 'ready';
  // For the browser tests: the engine's benchmark through this page.
  window.varnBench = (depth) => engine.bench(depth);
} catch (error) {
  engineError = error;
  $('engine-status').textContent = 'Engine unavailable';
  document.body.dataset.engine = 'failed';
  say(`The engine could not be loaded: ${error.message}`);
}
started(Boolean(engine));
await openLink(location.hash);
window.addEventListener('hashchange', () => openLink(location.hash));
