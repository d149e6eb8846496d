// The page in a real browser: headless Chromium driven through playwright-core
// against the built page (web/dist) on a plain static server, without the
// cross-origin isolation headers (the engine's build without threads) and
// with them (its build with threads). Run by scripts/test-web.sh.
import { after, before, describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { Chess } from 'chess.js';
import { chromiumArgs, serve } from './browser-kit.js';

const web = fileURLToPath(new URL('..', import.meta.url));
const dist = `${web}dist/`;
const shots = `${web}test-results/`;

let plain, isolated, browser, page;

// A new page of the board (its own storage) at url, once its engine has loaded or failed.
async function openBoard(url, { width = 1280, height = 900, route } = {}) {
  const board = await browser.newPage({ viewport: { width, height } });
  board.on('pageerror', (error) => console.error('page error:', error.message));
  if (route) await board.route(...route);
  await board.goto(url);
  await board.waitForSelector('body[data-engine]', { timeout: 30000 });
  return board;
}

before(async () => {
  mkdirSync(shots, { recursive: true });
  [plain, isolated] = await Promise.all([serve(dist), serve(dist, { isolated: true })]);
  browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: chromiumArgs });
  page = await openBoard(plain.url);
});

after(async () => {
  await browser?.close();
  await plain?.close();
  await isolated?.close();
});

const fen = () => page.inputValue('#fen');
// The main line's half-moves: variations are drawn inside their own items.
const moveCount = (tab = page) => tab.locator('#moves > li > .move').count();
const mainLine = () => page.$$eval('#moves > li > .move', (buttons) => buttons.map((b) => b.textContent));

async function clickSquare(square, tab = page) {
  // The board redraws its squares when a game starts or it turns; wait for them.
  const rect = tab.locator(`#board rect[data-square="${square}"]`);
  let box = null;
  for (let tries = 0; !box && tries < 50; tries += 1) {
    if (tries > 0) await tab.waitForTimeout(100);
    box = await rect.boundingBox();
  }
  assert.ok(box, `square ${square} is not on the board`);
  await tab.mouse.click(box.x + box.width / 2, box.y + box.height / 2);
}

async function clickMove(from, to) {
  const before = await fen();
  await clickSquare(from);
  await clickSquare(to);
  await page.waitForFunction((old) => document.getElementById('fen').value !== old, before);
  // The board ignores clicks while its pieces are still moving.
  await page.waitForTimeout(250);
}

async function loadFen(text) {
  await page.fill('#fen', text);
  await page.click('#fen-form button');
  // The engine reads the position before the board takes it.
  await page.waitForFunction(() => !document.body.dataset.loading);
}

async function stopAnalysis(tab = page) {
  await tab.click('#analyse');
  await tab.waitForFunction(() => document.getElementById('analyse').textContent === 'Start analysis');
}

// Waits for a message that starts with text; a page in the background draws no frames, so this polls.
const messageStarting = (tab, text) => tab.waitForFunction((start) => document.getElementById('message').textContent.startsWith(start), text, { polling: 100, timeout: 10000 });

describe('the analysis board on a plain static host', () => {
  test('moves made by clicking squares; illegal clicks and bad input get a message and change nothing', async () => {
    await clickMove('e2', 'e4');
    await clickMove('e7', 'e5');
    await clickSquare('g1');
    await clickSquare('g4'); // no knight move
    await clickMove('g1', 'f3');
    assert.deepEqual([await moveCount(), await fen()], [3, 'rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - 1 2']);
    await page.click('#back');
    assert.equal((await fen()).split(' ')[0], 'rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR');
    await page.click('#moves .move[data-ply="3"]');
    assert.equal(await page.getAttribute('#moves .move.current', 'data-ply'), '3');
    const cases = [
      ['#fen', '4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1', '#fen-form button', /not to move is in check/],
      ['#pgn', '1. e4 e5 2. Ke3 Nc6', '#load-pgn', /^Not a valid PGN/],
      ['#move-input', 'Nf3', '#move-form button', /^Illegal move: Nf3/],
    ];
    const position = await fen();
    for (const [field, text, button, message] of cases) {
      await page.fill(field, text);
      await page.click(button);
      // A pasted PGN is read before it is answered.
      await page.waitForFunction(([source, flags]) => new RegExp(source, flags).test(document.getElementById('message').textContent),
        [message.source, message.flags], { timeout: 10000 }).catch(() => {});
      assert.match(await page.textContent('#message'), message, text);
      await page.fill('#fen', position);
      assert.equal(await moveCount(), 3, text);
    }
  });

  test('analysis reaches depth 8, stops and draws a legal best move; mates read from White\'s side', async () => {
    const position = await fen();
    await page.click('#analyse');
    await page.waitForFunction(() => Number(document.getElementById('pv').dataset.depth) >= 8, null, { timeout: 60000 });
    await stopAnalysis();
    // From the stop request to the engine's bestmove (measured by scripts/bench-web.sh).
    console.log(`analysis stopped ${Number(await page.getAttribute('#analyse', 'data-stop-ms')).toFixed(1)} ms after the request`);
    const arrow = await page.getAttribute('#board [data-arrow]', 'data-arrow');
    assert.ok(new Chess(position).moves({ verbose: true }).some((m) => m.from + m.to === arrow), `arrow ${arrow} is not a legal move`);
    assert.match(await page.textContent('#pv'), /^2\.\.\. [NBRQK]?[a-h]?x?[a-h][1-8]/);
    await page.screenshot({ path: `${shots}analysis.png` });
    // The engine's "mate N" is from the side to move; the page shows White's view.
    const cases = [['6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1', '#1'], ['r5k1/8/8/8/8/8/5PPP/6K1 b - - 0 1', '#-1'], ['k7/8/2K5/8/8/8/8/7R b - - 0 1', '#2']];
    await page.click('#analyse');
    for (const [mate, text] of cases) {
      await loadFen(mate);
      // A mate is found within a few plies; deeper lines keep its distance.
      await page.waitForFunction(() => document.getElementById('score').textContent.startsWith('#'), null, { timeout: 30000 });
      await page.waitForTimeout(300);
      assert.deepEqual([await page.textContent('#score'), await page.textContent('#eval-text')], [text, text], mate);
    }
    await stopAnalysis();
  });

  test('a move played inside the game starts a variation; variations entered, promoted, deleted, undone and exported', async () => {
    const pgn = '[Event "Variations"]\n[White "Ann"]\n[Black "Bob"]\n\n1. e4 e5 2. Nf3 {The usual.} Nc6 (2... d6 3. d4) 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 *';
    await page.fill('#pgn', pgn);
    await page.click('#load-pgn');
    const main = ['1. e4', 'e5', '2. Nf3', '2… Nc6', '3. Bb5', 'a6', '4. Ba4', 'Nf6', '5. O-O', 'Be7'];
    assert.deepEqual(await mainLine(), main);
    assert.deepEqual(await page.$$eval('#moves .variation .move', (b) => b.map((x) => x.textContent)), ['2… d6', '3. d4']);
    assert.equal(await page.textContent('#moves .comment'), 'The usual.');
    // 4. h3 where the game goes on with 4. Ba4: a variation, the main line kept.
    await page.click('#moves .move[data-ply="6"]');
    await clickMove('h2', 'h3');
    // After the variation the next Black move is numbered again.
    assert.deepEqual(await mainLine(), [...main.slice(0, 7), '4… Nf6', ...main.slice(8)]);
    assert.equal(await page.textContent('#moves .move.current'), '4. h3');
    assert.equal((await fen()).split(' ')[0], 'r1bqkbnr/1ppp1ppp/p1n5/1B2p3/4P3/5N1P/PPPP1PP1/RNBQK2R');
    // Back to the main line and into the variation again.
    await page.click('#moves .move[data-ply="10"]');
    assert.equal((await fen()).split(' ')[0], 'r1bqk2r/1pppbppp/p1n2n2/4p3/B3P3/5N2/PPPP1PPP/RNBQ1RK1');
    await page.click('#moves .variation .move:text("4. h3")');
    await clickMove('g8', 'f6');
    await page.click('#promote');
    assert.deepEqual(await mainLine(), [...main.slice(0, 6), '4. h3', '4… Nf6']);
    await page.click('#undo');
    assert.deepEqual(await mainLine(), [...main.slice(0, 7), '4… Nf6', ...main.slice(8)]);
    await page.click('#moves .variation .move:text("4. h3")');
    await page.click('#delete-move');
    assert.equal(await page.textContent('#moves .move.current'), 'a6');
    assert.equal(await page.locator('#moves .variation .move:text("4. h3")').count(), 0);
    await page.click('#export-pgn');
    assert.equal(await page.inputValue('#pgn'), '[Event "Variations"]\n[White "Ann"]\n[Black "Bob"]\n[Result "*"]\n\n'
      + '1. e4 e5 2. Nf3 {The usual.} 2... Nc6 (2... d6 3. d4) 3. Bb5 a6 4. Ba4 Nf6\n5. O-O Be7 *\n');
  });

  test('every time control starts a game in which Varn moves; a whole game against the weakest level ends normally', async () => {
    await loadFen('rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1');
    const controls = await page.$$eval('#time-control option', (options) => options.map((o) => o.value));
    const levels = await page.$$eval('#play-level option', (options) => options.map((o) => o.value));
    const weakest = levels[0];
    assert.ok(levels.length >= 2 && levels.at(-1) === 'full', levels.join(' '));
    await page.selectOption('#play-level', weakest);
    await page.selectOption('#play-colour', 'b');
    for (const control of controls) {
      await page.selectOption('#time-control', control);
      await page.click('#play');
      // Varn's first move: each game from here goes into the tree, a variation when it differs.
      await page.waitForFunction(() => document.querySelector('#moves .move.current'), null, { timeout: 20000 });
      assert.match(await page.textContent('#playing'), new RegExp(`Varn plays White at level ${weakest}`), control);
      await page.click('#resign');
      assert.match(await page.textContent('#result'), /White wins: you resigned/, control);
      await page.click('#back');
    }
    // Varn has a queen and a rook against a lone king: the game is short.
    await loadFen('rq2k3/8/8/8/8/8/8/4K3 w - - 0 1');
    await page.selectOption('#time-control', '60+1');
    await page.selectOption('#play-colour', 'w');
    await page.click('#play');
    await page.waitForFunction(() => document.getElementById('playing').textContent.includes('Varn plays Black'));
    let seed = 7;
    const random = (n) => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed % n; };
    for (let moves = 0; moves < 60; moves += 1) {
      await page.waitForFunction(() => document.getElementById('result').textContent
        || document.getElementById('fen').value.split(' ')[1] === 'w', null, { timeout: 30000 });
      if (await page.textContent('#result')) break;
      const legal = new Chess(await fen()).moves({ verbose: true });
      const move = legal[random(legal.length)];
      await clickMove(move.from, move.to);
    }
    const result = await page.textContent('#result');
    assert.match(result, /^(Black wins by checkmate|Draw by)/);
    await page.click('#export-pgn');
    const exported = await page.inputValue('#pgn');
    assert.match(exported, new RegExp(`^\\[Result "${result.startsWith('Black') ? '0-1' : '1/2-1/2'}"\\]$`, 'm'));
    assert.match(exported, new RegExp(`^\\[White "You"\\]\\n\\[Black "Varn \\(level ${weakest}\\)"\\]`, 'm'));
    console.log(`the game against level ${weakest}: ${await moveCount()} half-moves, ${result}`);
  });

  test('a loaded PGN is reviewed into a graph with one point per position, and exported with the review', async () => {
    const pgn = '[Event "Test"]\n\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Nd4 4. Nxe5 Qg5 5. Nxf7 Qxg2 6. Rf1 Qxe4+ 7. Be2 Nf3# 0-1';
    await page.fill('#pgn', pgn);
    await page.click('#load-pgn');
    await page.selectOption('#review-limit', 'depth:6');
    await page.click('#review');
    await page.waitForFunction(() => document.getElementById('review-summary').textContent, null, { timeout: 90000 });
    assert.equal(await page.locator('#graph circle.point').count(), 15);
    assert.ok(await page.locator('#graph circle.mistake, #graph circle.blunder').count() >= 1, 'the game has mistakes');
    assert.match(await page.textContent('#review-summary'), /^White \d+\.\d% accuracy: .*Black \d+\.\d% accuracy: /);
    // A mistake shown: its symbol in the list, the verdict in words and the better move.
    const marked = page.locator('#moves .move.mistake, #moves .move.blunder').first();
    assert.match(await marked.textContent(), /\?\??$/);
    await marked.click();
    assert.match(await page.textContent('#review-note'), /^\d+\.(\.\.)? \S+\?\?? (Mistake\.|Blunder\.|Checkmate is now unavoidable\.) \S+ was best\. \(accuracy \d+%\)$/);
    await page.locator('#graph circle[data-ply="6"]').click();
    assert.equal(await page.getAttribute('#moves .move.current', 'data-ply'), '6');
    assert.equal((await fen()).split(' ')[0], 'r1bqkbnr/pppp1ppp/8/4p3/2BnP3/5N2/PPPP1PPP/RNBQK2R');
    await page.screenshot({ path: `${shots}review.png` });
    // Export writes the review as varn-annotate does: evaluations, verdicts in words, better lines.
    await page.click('#export-pgn');
    const exported = await page.inputValue('#pgn');
    assert.match(exported, /^\[Event "Test"\]\n\[Result "0-1"\]\n\[Annotator "Varn 504 \(depth 6, losses confirmed at depth 7\)"\]\n\[WhiteAccuracy "[\d.]+"\]/);
    assert.match(exported, /\$[24]\s\{ \[%eval [^\]]+\] (Mistake|Blunder|Checkmate is now unavoidable)\.[^}]* was best\. \}\s\(\d+\.+ /);
  });
});

describe('lines, links and reloads', () => {
  test('several lines: best first with distinct moves, and a click plays a line', async () => {
    await page.selectOption('#lines-count', '3');
    const position = 'r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3';
    await loadFen(position);
    await page.waitForFunction((text) => document.getElementById('fen').value === text, position);
    await page.click('#analyse');
    // Lines of this position (White's third move) to depth 8.
    await page.waitForFunction(() => [1, 2, 3].every((n) => {
      const moves = document.querySelector(`#lines [data-line="${n}"] .line-moves`);
      return moves?.textContent.startsWith('3.') && Number(moves.dataset.depth) >= 8;
    }), null, { timeout: 90000 });
    await stopAnalysis();
    const lines = await page.$$eval('#lines .line', (items) => items.map((item) => [item.querySelector('.line-score').textContent, item.querySelector('.line-move').textContent]));
    assert.equal(new Set(lines.map(([, move]) => move)).size, 3, JSON.stringify(lines));
    const scores = lines.map(([score]) => Number(score));
    assert.deepEqual([...scores].sort((a, b) => b - a), scores, 'White to move: the best line scores highest');
    assert.equal(await page.textContent('#score'), lines[0][0]);
    // The second move of line 2: both its moves are played.
    const [first, second] = await page.$$eval('#lines [data-line="2"] .line-move', (moves) => moves.slice(0, 2).map((m) => m.textContent));
    await page.click('#lines [data-line="2"] .line-move[data-move="1"]');
    assert.deepEqual(await page.$$eval('#moves .move', (moves) => moves.map((m) => m.textContent.replace(/^\d+\.\s*/, ''))), [first, second]);
    await page.selectOption('#lines-count', '1');
  });

  test('a castling right without its rook is dropped as the engine drops it', async () => {
    await loadFen('r3k2r/8/8/8/8/8/8/4K3 w KQkq - 0 1');
    await messageStarting(page, 'Position: dropped castling right K (its king or rook is not at home). Position: dropped castling right Q');
    assert.equal(await fen(), 'r3k2r/8/8/8/8/8/8/4K3 w kq - 0 1');
    await clickSquare('e1');
    await clickSquare('g1');
    await page.waitForTimeout(300);
    assert.equal(await moveCount(), 0, 'the king cannot castle without a rook');
  });

  // The game kept and shared below: the move shown is inside a variation.
  const shown = '2… d6';

  test('the game, the move shown and the settings survive a reload', async () => {
    await page.fill('#pgn', '1. e4 e5 2. Nf3 Nc6 (2... d6) 3. Bb5 a6 *');
    await page.click('#load-pgn');
    await page.click(`#moves .variation .move:text("${shown}")`);
    await page.selectOption('#lines-count', '4');
    await page.selectOption('#review-limit', 'ms:500');
    // Run in the page: Black at the bottom.
    const flipped = () => {
      const y = (square) => document.querySelector(`#board rect[data-square="${square}"]`).getBoundingClientRect().y;
      return y('a1') < y('a8');
    };
    await page.click('#flip');
    await page.waitForFunction(flipped);
    const position = await fen();
    await page.reload();
    await page.waitForSelector('body[data-engine=ready]', { timeout: 30000 });
    assert.deepEqual([await moveCount(), await page.textContent('#moves .move.current'), await fen()], [6, shown, position]);
    assert.deepEqual([await page.inputValue('#lines-count'), await page.inputValue('#review-limit')], ['4', 'ms:500']);
    assert.ok(await page.evaluate(flipped), 'Black is still at the bottom');
    await page.click('#flip');
    await page.selectOption('#lines-count', '1');
  });

  test('a link opens the game or the position elsewhere', async () => {
    await page.click('#share');
    const link = await page.inputValue('#link');
    assert.ok(link.startsWith(plain.url) && link.includes('#pgn='), link);
    const other = await openBoard(link);
    await messageStarting(other, 'Opened the shared game');
    assert.deepEqual([await moveCount(other), await other.textContent('#moves .move.current'), await other.inputValue('#fen')], [6, shown, await fen()]);
    // A position link, with a field the engine drops.
    await other.goto(`${plain.url}#fen=${encodeURIComponent('4k3/8/8/8/8/8/8/4K2R w KQ e3 0 1')}`);
    await messageStarting(other, 'Opened the shared position');
    assert.equal(await other.inputValue('#fen'), '4k3/8/8/8/8/8/8/4K2R w K - 0 1');
    assert.match(await other.textContent('#message'), /dropped castling right Q .* dropped en passant square e3/);
    assert.equal(new URL(other.url()).hash, '', 'the address no longer holds the link');
    // A game link whose start the engine repairs: the moves are read from the repaired position.
    const game = '[SetUp "1"]\n[FEN "r3k2r/8/8/8/8/8/8/4K3 w KQkq - 0 1"]\n\n1. Kd2 O-O *';
    await other.goto(`${plain.url}#${new URLSearchParams({ pgn: game, at: '0.0' })}`);
    await messageStarting(other, 'Opened the shared game');
    assert.match(await other.textContent('#message'), /dropped castling right K /);
    assert.equal(await other.inputValue('#fen'), 'r4rk1/8/8/8/8/8/3K4/8 w - - 2 2');
    await other.close();
  });

  test('on a phone a move keeps the whole board in view; a mate shows its result', async () => {
    const phone = await openBoard(plain.url, { width: 390, height: 844 });
    await phone.fill('#pgn', '1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 4. Ba4 Nf6 5. O-O Be7 6. Re1 b5 7. Bb3 d6 8. c3 O-O 9. h3 Nb8 10. d4 Nbd7 *');
    await phone.click('#load-pgn');
    await phone.click('#last');
    const inView = async () => {
      const box = await phone.locator('#board').boundingBox();
      return box.y >= 0 && box.y + box.height <= 844;
    };
    for (const [from, to] of [['c1', 'g5'], ['c7', 'c5'], ['b1', 'd2']]) {
      await clickSquare(from, phone);
      await clickSquare(to, phone);
      await phone.waitForTimeout(300);
      assert.ok(await inView(), `the board is in view after ${from}${to}`);
    }
    assert.equal(await moveCount(phone), 23);
    await phone.screenshot({ path: `${shots}phone.png` });
    await phone.fill('#fen', '6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1');
    await phone.click('#fen-form button');
    await phone.fill('#move-input', 'Rd8');
    await phone.click('#move-form button');
    await phone.waitForFunction(() => document.getElementById('eval-text').textContent === '1-0');
    assert.deepEqual([await phone.textContent('#score'), await phone.$eval('#eval-white', (bar) => bar.style.height)], ['1-0', '100%']);
    assert.ok(await inView(), 'the board is in view after the mate');
    await phone.close();
  });
});

describe('the analysis board served cross-origin isolated', () => {
  let board;
  before(async () => {
    board = await openBoard(isolated.url);
  });
  after(() => board?.close());

  test('runs the engine with threads, and the plain host without', async () => {
    for (const [tab, isolation, status] of [[board, true, 'Varn 504 · WebAssembly · 32 MB table'], [page, false, 'Varn 504 · WebAssembly (one thread) · 32 MB table']]) {
      assert.deepEqual([await tab.evaluate(() => crossOriginIsolated), await tab.textContent('#engine-status')], [isolation, status]);
    }
  });

  test('both builds give the native benchmark signature', { skip: !process.env.VARN_BENCH_SIGNATURE && 'no native signature given' }, async () => {
    const depth = Number(process.env.VARN_BENCH_DEPTH || 7);
    for (const [name, tab] of [['with threads', board], ['without threads', page]]) {
      const result = await tab.evaluate((plies) => window.varnBench(plies), depth);
      console.log(`WebAssembly ${name}, bench depth ${depth}: signature ${result.nodes}, ${result.ms} ms`);
      assert.equal(String(result.nodes), process.env.VARN_BENCH_SIGNATURE, name);
    }
  });
});

describe('an engine that fails', () => {
  test('one that cannot load, or breaks down during an analysis: the page says what failed and stays a board', async () => {
    const missing = await openBoard(plain.url, { route: ['**/varn-single.wasm', (request) => request.fulfill({ status: 404, body: '' })] });
    assert.deepEqual([await missing.getAttribute('body', 'data-engine'), await missing.textContent('#engine-status')], ['failed', 'Engine unavailable']);
    assert.match(await missing.textContent('#message'), /^The engine could not be loaded: .+/);
    for (const button of ['#analyse', '#review', '#play']) {
      await missing.click(button);
      assert.match(await missing.textContent('#message'), /^The engine is unavailable: /, button);
    }
    await missing.close();
    // The engine's worker script with a fault that strikes a moment after it started.
    const host = `${readFileSync(`${dist}engine/varn-host.js`, 'utf8')}\nsetTimeout(() => { throw new Error("worn out"); }, 2000);\n`;
    const board = await openBoard(plain.url, { route: ['**/varn-host.js', (request) => request.fulfill({ contentType: 'text/javascript', body: host })] });
    await board.click('#analyse');
    await board.waitForSelector('body[data-engine=failed]', { timeout: 30000 });
    assert.deepEqual([await board.textContent('#engine-status'), await board.textContent('#analyse')], ['Engine stopped', 'Start analysis']);
    assert.match(await board.textContent('#message'), /^The engine stopped: .*worn out/);
    await board.fill('#move-input', 'e4');
    await board.click('#move-form button');
    assert.equal(await moveCount(board), 1, 'moves are still played');
    await board.close();
  });
});

describe('a page as the package\'s README writes it', () => {
  test('imports the packed package with no build step and analyses on a plain static host', async () => {
    // The packed package installed into a new project, the README's page beside it.
    const app = mkdtempSync(join(tmpdir(), 'varn-page-'));
    const npm = (...args) => {
      const run = spawnSync('npm', [...args, '--no-audit', '--no-fund', '--loglevel=error'], { cwd: app, encoding: 'utf8' });
      assert.equal(run.status, 0, run.stderr);
      return run.stdout;
    };
    const tarball = npm('pack', '--ignore-scripts', '--pack-destination', app, `${web}../npm`).trim().split('\n').at(-1);
    npm('init', '-y');
    npm('install', '--prefer-offline', join(app, tarball));
    const readme = readFileSync(`${web}../npm/README.md`, 'utf8');
    writeFileSync(join(app, 'index.html'), /## Browser[\s\S]*?```html\n([\s\S]*?)```/.exec(readme)[1]);
    const server = await serve(app);
    const tab = await browser.newPage();
    const errors = [];
    tab.on('pageerror', (error) => errors.push(error.message));
    try {
      await tab.goto(server.url);
      await tab.waitForFunction(() => /^depth ([8-9]|\d\d): /.test(document.querySelector('p')?.textContent ?? ''), null, { timeout: 60000 });
      await tab.click('button');
      await tab.waitForFunction(() => document.querySelector('p').textContent.startsWith('Varn plays'));
      const move = (await tab.textContent('p')).split(' ').at(-1);
      assert.ok(new Chess('rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 0 2').moves({ verbose: true }).some((m) => m.lan === move), move);
      assert.deepEqual(errors, []);
      // The whole Hash range the engine announces fits in a browser's memory.
      const held = await tab.evaluate(async () => {
        const { VarnEngine } = await import('varn');
        const engine = await VarnEngine.start();
        const { max } = engine.options.get('Hash');
        const notes = [...(await engine.setOption('Hash', max)), ...(await engine.setOption('Hash', max + 1))];
        const { bestmove } = await engine.position('startpos').limits({ depth: 6 }).analyse();
        await engine.quit();
        return { max, notes, bestmove };
      });
      assert.deepEqual([held.max, held.notes, Boolean(held.bestmove)], [1024, ['option Hash 1025 is out of range: set to 1024 (1 to 1024)'], true]);
    } finally {
      await tab.close();
      await server.close();
    }
  });
});
