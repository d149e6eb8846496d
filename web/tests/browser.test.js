// The page in a real browser: headless Chromium driven through playwright-core
// against the built page served by `vite preview`. Run by scripts/test-web.sh.
import { after, before, describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdirSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { Chess } from 'chess.js';

const web = fileURLToPath(new URL('..', import.meta.url));
const shots = `${web}test-results/`;
const port = Number(process.env.VARN_WEB_PORT || 5174);
const chromiumArgs = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

let server, browser, page;

before(async () => {
  mkdirSync(shots, { recursive: true });
  server = spawn('npx', ['vite', 'preview', '--host', '127.0.0.1', '--port', String(port), '--strictPort'], { cwd: web, stdio: 'pipe', detached: true });
  await new Promise((resolve, reject) => {
    server.stdout.on('data', (chunk) => { if (String(chunk).includes(`${port}`)) resolve(); });
    server.on('exit', (code) => reject(new Error(`vite preview exited with ${code}`)));
  });
  browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: chromiumArgs });
  page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  page.on('pageerror', (error) => console.error('page error:', error.message));
  await page.goto(`http://127.0.0.1:${port}/`);
  await page.waitForSelector('body[data-engine=ready]', { timeout: 30000 });
});

after(async () => {
  await browser?.close();
  if (server) process.kill(-server.pid);
});

const fen = () => page.inputValue('#fen');
// The main line's half-moves: variations are drawn inside their own items.
const moveCount = () => page.locator('#moves > li > .move').count();
const mainLine = () => page.$$eval('#moves > li > .move', (buttons) => buttons.map((b) => b.textContent));

async function clickSquare(square) {
  // The board redraws its squares when a game starts or it turns; wait for them.
  const rect = page.locator(`#board rect[data-square="${square}"]`);
  let box = null;
  for (let tries = 0; !box && tries < 50; tries += 1) {
    if (tries > 0) await page.waitForTimeout(100);
    box = await rect.boundingBox();
  }
  assert.ok(box, `square ${square} is not on the board`);
  await page.mouse.click(box.x + box.width / 2, box.y + box.height / 2);
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
}

describe('analysis board', () => {
  test('engine loads in the page with its levels', async () => {
    assert.match(await page.textContent('#engine-status'), /^Varn 504 · WebAssembly · 32 MB table$/);
    assert.equal(await page.evaluate(() => crossOriginIsolated), true);
    const levels = await page.$$eval('#play-level option', (options) => options.map((o) => o.value));
    assert.ok(levels.length >= 2 && levels.at(-1) === 'full', levels.join(' '));
    assert.ok(levels.slice(0, -1).every((elo, i, all) => i === 0 || Number(elo) > Number(all[i - 1])), levels.join(' '));
  });

  test('moves made by clicking squares; illegal clicks change nothing', async () => {
    await clickMove('e2', 'e4');
    await clickMove('e7', 'e5');
    await clickSquare('g1');
    await clickSquare('g4'); // no knight move
    await clickMove('g1', 'f3');
    assert.equal(await moveCount(), 3);
    assert.equal(await fen(), 'rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - 1 2');
    await page.click('#back');
    assert.equal((await fen()).split(' ')[0], 'rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR');
    await page.click('#moves .move[data-ply="3"]');
    assert.equal(await page.getAttribute('#moves .move.current', 'data-ply'), '3');
    await page.screenshot({ path: `${shots}moves.png` });
  });

  test('analysis reaches depth 8, stops promptly and draws a legal best move', async () => {
    const position = await fen();
    await page.click('#analyse');
    await page.waitForFunction(() => Number(document.getElementById('pv').dataset.depth) >= 8, null, { timeout: 60000 });
    await page.click('#analyse');
    await page.waitForFunction(() => document.getElementById('analyse').textContent === 'Start analysis');
    // From the stop request to the engine's bestmove.
    const stopMs = Number(await page.getAttribute('#analyse', 'data-stop-ms'));
    console.log(`analysis stopped ${stopMs.toFixed(1)} ms after the request`);
    assert.ok(stopMs < 150, `stop took ${stopMs} ms`);
    const arrow = await page.getAttribute('#board [data-arrow]', 'data-arrow');
    const legal = new Chess(position).moves({ verbose: true }).map((m) => m.from + m.to);
    assert.ok(legal.includes(arrow), `arrow ${arrow} is not a legal move`);
    assert.match(await page.textContent('#pv'), /^2\.\.\. [NBRQK]?[a-h]?x?[a-h][1-8]/);
    await page.screenshot({ path: `${shots}analysis.png` });
  });

  test('bad input gets a message and changes nothing', async () => {
    const cases = [
      ['#fen', 'rnbqkbnr/pppppppp/8/8 w KQkq - 0 1', '#fen-form button', /^Not a valid FEN/],
      ['#fen', 'rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1BNR w kq - 0 1', '#fen-form button', /white king/],
      ['#fen', '4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1', '#fen-form button', /not to move is in check/],
      ['#pgn', '1. e4 e5 2. Ke3 Nc6', '#load-pgn', /^Not a valid PGN/],
      ['#move-input', 'Nf3', '#move-form button', /^Illegal move: Nf3/],
      ['#move-input', 'e2e5', '#move-form button', /^Illegal move: e2e5/],
    ];
    const position = await fen();
    for (const [field, text, button, message] of cases) {
      await page.fill(field, text);
      await page.click(button);
      assert.match(await page.textContent('#message'), message, text);
      await page.fill('#fen', position);
      assert.equal(await moveCount(), 3, text);
    }
    await page.fill('#move-input', 'Nc6');
    await page.click('#move-form button');
    assert.equal(await moveCount(), 4, 'a typed legal move is played');
    assert.equal(await page.inputValue('#move-input'), '');
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
    await page.screenshot({ path: `${shots}variation.png` });
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

  test('mates read from White\'s side: in 1 and 2, for and against the side to move', async () => {
    // The engine's "mate N" is from the side to move; the page shows White's view.
    const cases = [
      ['6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1', '#1'], // White to move mates in 1
      ['r5k1/8/8/8/8/8/5PPP/6K1 b - - 0 1', '#-1'], // Black to move mates in 1
      ['7r/8/8/8/8/8/2k5/K7 w - - 0 1', '#-1'], // White to move is mated in 1
      ['k7/2K5/8/8/8/8/8/7R b - - 0 1', '#1'], // Black to move is mated in 1
      ['k7/8/2K5/8/8/8/8/7R w - - 0 1', '#2'],
      ['K7/8/2k5/8/8/8/8/7r b - - 0 1', '#-2'],
      ['K7/8/2k5/8/8/8/8/7r w - - 0 1', '#-2'],
      ['k7/8/2K5/8/8/8/8/7R b - - 0 1', '#2'],
    ];
    await page.click('#analyse');
    for (const [position, text] of cases) {
      await loadFen(position);
      // A mate is found within a few plies; deeper lines keep its distance.
      await page.waitForFunction(() => document.getElementById('score').textContent.startsWith('#'), null, { timeout: 30000 });
      await page.waitForTimeout(300);
      assert.equal(await page.textContent('#score'), text, position);
      assert.equal(await page.textContent('#eval-text'), text, position);
    }
    await page.click('#analyse');
    await page.waitForFunction(() => document.getElementById('analyse').textContent === 'Start analysis');
  });

  test('every time control starts a game in which Varn moves', async () => {
    await loadFen('rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1');
    const controls = await page.$$eval('#time-control option', (options) => options.map((o) => o.value));
    const weakest = await page.$eval('#play-level option', (option) => option.value);
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
  });

  test('a whole game against the weakest level ends normally', async () => {
    // Varn has a queen and a rook against a lone king: the game is short.
    await loadFen('rq2k3/8/8/8/8/8/8/4K3 w - - 0 1');
    const weakest = await page.$eval('#play-level option', (option) => option.value);
    await page.selectOption('#play-level', weakest);
    await page.selectOption('#time-control', '60+1');
    await page.selectOption('#play-colour', 'w');
    await page.click('#play');
    await page.waitForFunction(() => document.getElementById('playing').textContent);
    assert.match(await page.textContent('#playing'), new RegExp(`Varn plays Black at level ${weakest}`));
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
    const plies = await moveCount();
    await page.click('#export-pgn');
    const exported = await page.inputValue('#pgn');
    const game = new Chess();
    game.loadPgn(exported);
    assert.equal(game.history().length, plies, 'the exported PGN holds the game');
    assert.match(exported, new RegExp(`^\\[Result "${result.startsWith('Black') ? '0-1' : '1/2-1/2'}"\\]$`, 'm'));
    assert.match(exported, /^\[White "You"\]\n\[Black "Varn \(level \d+\)"\]/m);
    console.log(`the game against level ${weakest}: ${plies} half-moves, ${result}`);
    await page.screenshot({ path: `${shots}game.png` });
  });

  test('a loaded PGN is reviewed into a graph with one point per position', async () => {
    const pgn = '[Event "Test"]\n\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Nd4 4. Nxe5 Qg5 5. Nxf7 Qxg2 6. Rf1 Qxe4+ 7. Be2 Nf3# 0-1';
    await page.fill('#pgn', pgn);
    await page.click('#load-pgn');
    assert.equal(await moveCount(), 14);
    await page.selectOption('#review-limit', 'depth:6');
    await page.click('#review');
    await page.waitForFunction(() => document.getElementById('review-summary').textContent, null, { timeout: 90000 });
    assert.equal(await page.locator('#graph circle.point').count(), 15);
    assert.ok(await page.locator('#graph circle.mistake, #graph circle.blunder').count() >= 1, 'the game has mistakes');
    const marked = page.locator('#moves .move.mistake, #moves .move.blunder').first();
    assert.match(await marked.textContent(), /\?\??$/, 'the move list marks them');
    assert.match(await page.textContent('#review-summary'), /^White \d+\.\d% accuracy: .*Black \d+\.\d% accuracy: /);
    // A mistake shown: its symbol, the verdict in words and the better move.
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
    assert.match(exported, /\{ \[%eval [-#.\d]+\] \}/);
    assert.match(exported, /\$[24]\s\{ \[%eval [^\]]+\] (Mistake|Blunder|Checkmate is now unavoidable)\.[^}]* was best\. \}\s\(\d+\.+ /);
    assert.match(exported, / 7\.\.\. Nf3# 0-1\n$/);
    // Analysis on a reviewed position: the page as the README shows it.
    await page.click('#analyse');
    await page.waitForFunction(() => Number(document.getElementById('pv').dataset.depth) >= 8, null, { timeout: 60000 });
    await page.screenshot({ path: `${shots}page.png` });
    await page.click('#analyse');
    await page.waitForFunction(() => document.getElementById('analyse').textContent === 'Start analysis');
  });
});

// The benchmark through the page's engine must give the native signature.
describe('benchmark signature', () => {
  test('equals the native build at the same depth', { skip: !process.env.VARN_BENCH_SIGNATURE && 'no native signature given' }, async () => {
    const depth = Number(process.env.VARN_BENCH_DEPTH || 7);
    const result = await page.evaluate((plies) => window.varnBench(plies), depth);
    console.log(`WebAssembly bench depth ${depth}: signature ${result.nodes}, ${result.ms} ms over ${result.positions} positions`);
    assert.equal(String(result.nodes), process.env.VARN_BENCH_SIGNATURE);
  });
});
