// The analysis board: wires the board, the game, the engine worker and the
// panels of the page together.
import { Chessboard, COLOR, INPUT_EVENT_TYPE } from 'cm-chessboard/src/Chessboard.js';
import { Markers, MARKER_TYPE } from 'cm-chessboard/src/extensions/markers/Markers.js';
import { Arrows, ARROW_TYPE } from 'cm-chessboard/src/extensions/arrows/Arrows.js';
import { PromotionDialog, PROMOTION_DIALOG_RESULT_TYPE } from 'cm-chessboard/src/extensions/promotion-dialog/PromotionDialog.js';
import { VarnEngine, benchSignature } from './varn.js';
import { Game } from './game.js';
import { readFen, readPgn, readMove } from './position.js';
import { barShare, judgeMoves, lineSan, moveObject, scoreText } from './report.js';
import { drawGraph } from './graph.js';
import 'cm-chessboard/assets/chessboard.css';
import 'cm-chessboard/assets/extensions/markers/markers.css';
import 'cm-chessboard/assets/extensions/arrows/arrows.css';
import 'cm-chessboard/assets/extensions/promotion-dialog/promotion-dialog.css';
import './style.css';

const $ = (id) => document.getElementById(id);
let engine = null;
let game = new Game();
let mode = 'idle'; // idle, analysis, play, review
let play = null; // { human: 'w' | 'b', clock: { w, b } ms, increment ms, turnStart, timer, over }
let review = null; // { evals, verdicts } of the game last reviewed
let analysisRun = 0; // bumps whenever the analysed position changes

const board = new Chessboard($('board'), {
  position: game.fen(),
  assetsUrl: './board-assets/',
  style: { cssClass: 'default', borderType: 'none', pieces: { file: 'pieces/standard.svg' }, animationDuration: 150 },
  extensions: [{ class: Markers }, { class: Arrows }, { class: PromotionDialog }],
});

function say(text, kind = 'error') {
  const box = $('message');
  box.textContent = text;
  box.className = kind;
  box.hidden = !text;
}

// ---- Showing the game ------------------------------------------------------

function render() {
  const chess = game.chess();
  board.setPosition(game.fen(), true);
  board.removeMarkers();
  if (game.cursor > 0) {
    const last = game.moves[game.cursor - 1];
    board.addMarker(MARKER_TYPE.square, last.slice(0, 2));
    board.addMarker(MARKER_TYPE.square, last.slice(2, 4));
  }
  board.removeArrows();
  $('fen').value = game.fen();
  const list = $('moves');
  list.replaceChildren();
  for (let i = 0; i < game.length; i += 1) {
    const item = document.createElement('button');
    item.className = 'move' + (i + 1 === game.cursor ? ' current' : '') + (review?.verdicts[i] ? ` ${review.verdicts[i]}` : '');
    item.dataset.ply = String(i + 1);
    const white = game.chess(i).turn() === 'w';
    const number = game.chess(i).moveNumber();
    item.textContent = `${white ? `${number}. ` : i === 0 ? `${number}… ` : ''}${game.sans[i]}`;
    list.append(item);
  }
  list.querySelector('.current')?.scrollIntoView({ block: 'nearest' });
  const outcome = game.outcome();
  $('status-line').textContent = outcome || `${chess.turn() === 'w' ? 'White' : 'Black'} to move${chess.inCheck() ? ', in check' : ''}.`;
  if (review) drawGraph($('graph'), review.evals, review.verdicts, game.cursor, goTo);
  updateInput();
  if (mode === 'analysis') restartAnalysis();
}

function updateInput() {
  board.disableMoveInput();
  if (mode === 'review') return;
  if (mode === 'play' && (play.over || game.cursor !== game.length || game.chess().turn() !== play.human)) return;
  board.enableMoveInput(onBoardInput);
}

function goTo(index) {
  if (mode === 'play') return;
  game.go(index);
  render();
}

// ---- Moves from the board and the move box ---------------------------------

function onBoardInput(event) {
  if (event.type === INPUT_EVENT_TYPE.moveInputStarted) {
    const piece = game.chess().get(event.squareFrom);
    return Boolean(piece && piece.color === game.chess().turn());
  }
  if (event.type !== INPUT_EVENT_TYPE.validateMoveInput) return undefined;
  const legal = game.chess().moves({ verbose: true }).filter((m) => m.from === event.squareFrom && m.to === event.squareTo);
  if (legal.length === 0) return false;
  if (legal[0].promotion) {
    const colour = game.chess().turn() === 'w' ? COLOR.white : COLOR.black;
    board.showPromotionDialog(event.squareTo, colour, (result) => {
      if (result.type === PROMOTION_DIALOG_RESULT_TYPE.pieceSelected) userMove(event.squareFrom + event.squareTo + result.piece.charAt(1));
      else render();
    });
    return true;
  }
  setTimeout(() => userMove(legal[0].lan));
  return true;
}

function userMove(lan) {
  if (!game.play(lan)) return;
  say('');
  if (mode === 'review') stopReview();
  render();
  if (mode === 'play') afterMove();
}

$('move-form').addEventListener('submit', (event) => {
  event.preventDefault();
  if (mode === 'play' && (play.over || game.chess().turn() !== play.human)) return say('It is not your move.');
  const read = readMove(game.fen(), $('move-input').value);
  if (read.error) return say(read.error);
  $('move-input').value = '';
  userMove(read.move);
});

// ---- Navigation, FEN and PGN ------------------------------------------------

$('first').onclick = () => goTo(0);
$('back').onclick = () => goTo(game.cursor - 1);
$('forward').onclick = () => goTo(game.cursor + 1);
$('last').onclick = () => goTo(game.length);
$('moves').onclick = (event) => {
  const ply = event.target.dataset?.ply;
  if (ply) goTo(Number(ply));
};
document.addEventListener('keydown', (event) => {
  if (event.target.closest('input, textarea, select')) return;
  if (event.key === 'ArrowLeft') goTo(game.cursor - 1);
  if (event.key === 'ArrowRight') goTo(game.cursor + 1);
});
$('flip').onclick = () => board.setOrientation(board.getOrientation() === COLOR.white ? COLOR.black : COLOR.white, true);

function newGame(start, moves = []) {
  if (mode === 'play') endGame(null);
  if (mode === 'review') stopReview();
  game = new Game(start, moves);
  review = null;
  drawGraph($('graph'), [], [], 0, goTo);
  $('review-summary').textContent = '';
  $('result').textContent = '';
  clearAnalysis();
  render();
}

function clearAnalysis() {
  for (const id of ['depth', 'score', 'nps']) $(id).textContent = '–';
  $('pv').textContent = mode === 'analysis' ? '' : 'Start the analysis to see Varn\'s line.';
  delete $('pv').dataset.depth;
  $('eval-white').style.height = '50%';
  $('eval-text').textContent = '0.00';
  for (const side of ['w', 'b']) $(`clock-${side}`).querySelector('b').textContent = '–';
}

$('fen-form').addEventListener('submit', (event) => {
  event.preventDefault();
  const read = readFen($('fen').value);
  if (read.error) return say(read.error);
  say('');
  newGame(read.fen);
});
$('load-pgn').onclick = () => {
  const read = readPgn($('pgn').value);
  if (read.error) return say(read.error);
  say(`Loaded a game of ${read.moves.length} half-moves.`, 'info');
  newGame(read.start, read.moves);
};
$('export-pgn').onclick = () => {
  $('pgn').value = game.pgn();
  say('The PGN of this game is in the box below the FEN.', 'info');
};
$('new-game').onclick = () => newGame(undefined);

// ---- Analysis ---------------------------------------------------------------

function sendPosition(index = game.cursor) {
  const input = game.engineInput(index);
  engine.setPosition(input.fen);
  if (input.moves.length) engine.setGame(input.moves);
}

function showLine(line, fen) {
  const white = fen.split(' ')[1] === 'w';
  $('depth').textContent = String(line.depth);
  $('nps').textContent = line.nps.toLocaleString('en');
  if (line.kind !== 'exact') {
    // A bound from a re-searched window: the last full line stays shown.
    const bound = (line.kind === 'lower') === white ? 'at least' : 'at most';
    $('score').textContent = `${scoreText(line.score, white)} (${bound})`;
    return;
  }
  $('score').textContent = scoreText(line.score, white);
  $('pv').textContent = lineSan(fen, line.moves);
  $('pv').dataset.depth = String(line.depth);
  $('pv').dataset.moves = line.moves.join(' ');
  $('eval-white').style.height = `${(barShare(line.score, white) * 100).toFixed(1)}%`;
  $('eval-text').textContent = scoreText(line.score, white);
  const best = moveObject(line.moves[0] || '');
  board.removeArrows();
  if (best) board.addArrow(ARROW_TYPE.default, best.from, best.to);
}

async function stopSearch() {
  while (engine.searching) {
    engine.stop();
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
}

async function restartAnalysis() {
  const run = ++analysisRun;
  await stopSearch();
  if (run !== analysisRun || mode !== 'analysis') return;
  const fen = game.fen();
  if (game.chess().isGameOver()) {
    $('pv').textContent = game.outcome() || 'The game is over.';
    return;
  }
  sendPosition();
  engine.setInfinite();
  engine.callbacks.line = (line) => {
    if (run === analysisRun) showLine(line, fen);
  };
  await engine.analyse();
}

$('analyse').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  if (mode === 'analysis') {
    mode = 'idle';
    analysisRun += 1;
    await stopSearch();
    $('analyse').dataset.stopMs = String(engine.lastStopMs);
    $('analyse').textContent = 'Start analysis';
    $('analyse').classList.remove('running');
    return;
  }
  if (mode !== 'idle') return say('Finish the game or the review first.');
  mode = 'analysis';
  $('analyse').textContent = 'Stop analysis';
  $('analyse').classList.add('running');
  restartAnalysis();
};

// ---- Playing Varn -------------------------------------------------------------

function clockText(ms) {
  const seconds = Math.max(0, Math.ceil(ms / 1000));
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}

function showClocks() {
  const turn = game.chess().turn();
  for (const side of ['w', 'b']) {
    let left = play.clock[side];
    if (!play.over && side === turn) left -= performance.now() - play.turnStart;
    $(`clock-${side}`).querySelector('b').textContent = clockText(left);
    $(`clock-${side}`).classList.toggle('running', !play.over && side === turn);
  }
  if (!play.over && play.clock[turn] - (performance.now() - play.turnStart) <= 0) {
    endGame(`${turn === 'w' ? 'Black' : 'White'} wins on time.`);
  }
}

$('play').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  if (mode === 'analysis') $('analyse').click();
  if (mode === 'review') stopReview();
  if (mode === 'play') endGame('Game abandoned.');
  await stopSearch();
  if (game.chess().isGameOver()) return say('The game is already over in this position.');
  const [base, increment] = $('time-control').value.split('+').map(Number);
  game.moves.length = game.cursor;
  game.sans.length = game.cursor;
  game.fens.length = game.cursor + 1;
  play = { human: $('play-colour').value, clock: { w: base * 1000, b: base * 1000 }, increment: increment * 1000, turnStart: performance.now(), over: false, losing: 0 };
  play.timer = setInterval(showClocks, 100);
  mode = 'play';
  $('result').textContent = '';
  $('resign').disabled = false;
  board.setOrientation(play.human === 'w' ? COLOR.white : COLOR.black);
  clearAnalysis();
  say('');
  render();
  if (game.chess().turn() !== play.human) engineMove();
};

$('resign').onclick = () => endGame(`${play.human === 'w' ? 'Black' : 'White'} wins: you resigned.`);

function endGame(result) {
  if (!play) return;
  play.over = true;
  clearInterval(play.timer);
  if (result) $('result').textContent = result;
  $('resign').disabled = true;
  if (engine.searching) engine.stop();
  mode = 'idle';
  showClocks();
  updateInput();
}

// The mover's clock is charged and credited; then the game ends or goes on.
function afterMove() {
  const mover = game.chess().turn() === 'w' ? 'b' : 'w';
  play.clock[mover] -= performance.now() - play.turnStart;
  if (play.clock[mover] <= 0) return endGame(`${mover === 'w' ? 'Black' : 'White'} wins on time.`);
  play.clock[mover] += play.increment;
  play.turnStart = performance.now();
  const outcome = game.outcome();
  if (outcome) return endGame(outcome);
  showClocks();
  if (mover === play.human) engineMove();
}

async function engineMove() {
  const current = play;
  const side = game.chess().turn();
  const fen = game.fen();
  const left = play.clock[side] - (performance.now() - play.turnStart);
  sendPosition();
  engine.setBlitz(Math.floor(left / 1000), Math.floor(play.increment / 1000));
  engine.callbacks.line = (line) => showLine(line, fen);
  // The engine's own budget keeps it well inside its clock; this guard only
  // catches a search that would still run when the flag falls.
  const guard = setTimeout(() => engine.stop(), Math.max(50, left - 100));
  let result = await engine.analyse();
  clearTimeout(guard);
  if (current !== play || play.over) return;
  if (!result.best && !result.noMove) {
    // Too little time for the five plies after which the engine reports.
    engine.setDepth(5);
    result = await engine.analyse();
    if (current !== play || play.over) return;
  }
  const best = result.best && moveObject(result.best.moves[0]);
  const legal = game.chess().moves({ verbose: true });
  const chosen = (best && legal.find((m) => m.from === best.from && m.to === best.to && (m.promotion || '') === (best.promotion || ''))) || legal[0];
  play.losing = result.best && result.best.score <= -900 ? play.losing + 1 : 0;
  if (play.losing >= 3) return endGame(`${side === 'w' ? 'Black' : 'White'} wins: Varn resigned.`);
  game.play(chosen.lan);
  render();
  afterMove();
}

// ---- Game review ----------------------------------------------------------------

function stopReview() {
  mode = 'idle';
  $('review').textContent = 'Review game';
  $('review-progress').hidden = true;
  if (engine.searching) engine.stop();
}

// White's score of position index: the engine's score, or the game's result
// where the side to move has no move.
async function evaluate(index, limit) {
  const chess = game.chess(index);
  if (chess.isCheckmate()) return chess.turn() === 'w' ? -30000 : 30000;
  if (chess.isGameOver()) return 0;
  sendPosition(index);
  let timer = null;
  if (limit.kind === 'depth') engine.setDepth(limit.value);
  else {
    engine.setInfinite();
    timer = setTimeout(() => engine.stop(), limit.value);
  }
  engine.callbacks.line = null;
  const result = await engine.analyse();
  clearTimeout(timer);
  const score = result.best ? result.best.score : 0;
  return chess.turn() === 'w' ? score : -score;
}

$('review').onclick = async () => {
  if (!engine) return say('The engine is still loading.');
  if (mode === 'review') return stopReview();
  if (mode === 'analysis') $('analyse').click();
  if (mode === 'play') return say('Finish the game first.');
  if (game.length === 0) return say('There is no game to review: load a PGN or play some moves.');
  const [kind, value] = $('review-limit').value.split(':');
  await stopSearch();
  mode = 'review';
  $('review').textContent = 'Stop review';
  const progress = $('review-progress');
  progress.hidden = false;
  progress.max = game.length + 1;
  const evals = [];
  updateInput();
  for (let i = 0; i <= game.length && mode === 'review'; i += 1) {
    progress.value = i;
    evals.push(await evaluate(i, { kind, value: Number(value) }));
  }
  if (mode !== 'review') return;
  stopReview();
  const whiteFirst = game.chess(0).turn() === 'w';
  review = { evals, verdicts: judgeMoves(evals, whiteFirst) };
  const count = (what) => review.verdicts.filter((v) => v === what).length;
  const plural = (n, word) => `${n} ${word}${n === 1 ? '' : 's'}`;
  $('review-summary').textContent = `${plural(count('mistake'), 'mistake')} and ${plural(count('blunder'), 'blunder')}. Click the graph to see a position.`;
  render();
};

// ---- Start-up -------------------------------------------------------------------

render();
try {
  engine = await VarnEngine.start(new URL('engine/worker.js', document.baseURI), { error: (text) => say(`Engine: ${text}`) });
  $('engine-status').textContent = `${engine.version} · WebAssembly · ${engine.hashKb / 1024} MB table`;
  document.body.dataset.engine = 'ready';
  // For the browser tests: the benchmark through this page's engine.
  window.varnBench = (fens, depth) => benchSignature(engine, fens, depth);
} catch (error) {
  $('engine-status').textContent = 'Engine unavailable';
  say(error.message);
}
