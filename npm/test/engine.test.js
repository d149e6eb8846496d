// VarnEngine in Node against the built engine, both builds: results paired
// with their own search, stops answered, bad input refused with the engine's
// reason, notes returned by the call that caused them, the Hash range held,
// the levels played, and the engine a guest in the user's process (its
// errors, its exit).
import { describe, test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { cpSync, mkdtempSync, appendFileSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { Chess } from 'chess.js';
import { VarnEngine } from '../src/index.js';

const legal = (fen) => new Chess(fen).moves({ verbose: true }).map((m) => m.lan);
const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const entry = new URL('../src/index.js', import.meta.url).href;
const engineFolder = fileURLToPath(new URL('../engine/', import.meta.url));

for (const threads of [true, false]) {
  describe(`VarnEngine, build ${threads ? 'with' : 'without'} threads`, () => {
    let engine;
    before(async () => {
      engine = await VarnEngine.start({ threads });
    });
    after(() => engine.quit());

    test('searches started one after another each end with a move of their own position; stop', async () => {
      assert.equal(engine.threads, threads);
      const positions = ['k7/8/8/8/8/8/8/K6R w - - 0 1', '7k/8/8/8/8/8/8/KR6 b - - 0 1', 'rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1'];
      // Each analyse stops the search before it; none may take another's answer.
      const searches = positions.map((fen, i) => engine.position(fen).limits(i === 2 ? { depth: 6 } : {}).analyse());
      const results = await Promise.all(searches);
      results.forEach((result, i) => assert.ok(legal(positions[i]).includes(result.bestmove), `${positions[i]}: ${result.bestmove}`));
      assert.ok(results[2].info.depth >= 6 && !engine.searching);
      // stop ends an endless search with its best move so far.
      const search = engine.position('startpos', ['e2e4']).limits({}).analyse();
      await pause(200);
      await engine.stop();
      const result = await search;
      assert.ok(legal('rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1').includes(result.bestmove));
      assert.ok(!result.whiteToMove && result.lines.length >= 1 && result.lines.every((line) => line.pv.length && !line.score.bound));
    });

    test('a position without moves has no best move; mate and stalemate told apart', async () => {
      const mated = await engine.position('7k/6Q1/6K1/8/8/8/8/8 b - - 0 1').limits({ depth: 6 }).analyse();
      const stalemate = await engine.position('7k/5Q2/6K1/8/8/8/8/8 b - - 0 1').limits({ depth: 6 }).analyse();
      assert.deepEqual([mated.bestmove, mated.info.score], [null, { mate: 0 }]);
      assert.deepEqual([stalemate.bestmove, stalemate.info.score], [null, { cp: 0 }]);
    });

    test('a refused position or move rejects the search with the reason; notes stay with their call', async () => {
      const refusals = [
        [['rnbqkbnr/pppppppp/8/8 w KQkq - 0 1'], /illegal position/],
        [['4k3/8/8/8/8/8/8/4K2R w K - 0 1', ['e1g1', 'e8d7', 'h1h8']], /illegal move h1h8/],
        // An endless search of the game before the bad move must not hang.
        [['startpos', ['e2e4', 'e2e4']], /illegal move e2e4/],
      ];
      for (const [position, reason] of refusals) {
        const limits = position[1] ? {} : { depth: 6 };
        await assert.rejects(engine.position(...position).limits(limits).analyse(), reason);
      }
      // A repaired position is searched; its note comes with that search only.
      const repaired = await engine.position('4k3/8/8/8/8/8/8/4K3 w KQ - 0 1').limits({ depth: 5 }).analyse();
      assert.ok(repaired.whiteToMove && /dropped/.test(repaired.notes.join(' | ')), repaired.notes.join(' | '));
      const notes = await engine.setLevel(engine.levels.min - 100, 7);
      assert.ok(notes.length === 1 && notes[0].includes(String(engine.levels.min)), notes.join(' | '));
      const next = await engine.position('4k3/8/8/8/8/8/8/4K3 b - - 0 1', ['e8d7', 'e1e2']).limits({ depth: 6 }).analyse();
      assert.deepEqual([next.notes, next.whiteToMove, legal('8/3k4/8/8/8/8/4K3/8 b - - 2 2').includes(next.bestmove)], [[], false, true]);
      assert.deepEqual(await engine.setLevel(null), []);
    });

    test('several lines: each report carries its number, the result the last depth\'s lines; searchmoves', async () => {
      // Order and distinct moves are the engine's (its UCI sessions) and the page's (its lines) to show.
      assert.deepEqual(await engine.setOption('MultiPV', 3), []);
      const seen = [];
      const result = await engine.position('r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3').limits({ depth: 7 }).analyse((info) => { if (info.pv) seen.push(info.multipv); });
      assert.deepEqual([result.pvs.map((line) => [line.depth, line.multipv]), seen.slice(0, 3), result.bestmove], [[[7, 1], [7, 2], [7, 3]], [1, 2, 3], result.pvs[0].pv[0]]);
      const chosen = await engine.limits({ depth: 6, searchmoves: ['a2a3', 'h2h3'] }).analyse();
      assert.deepEqual(chosen.pvs.map((line) => line.pv[0]).sort(), ['a2a3', 'h2h3']);
      await engine.setOption('MultiPV', 1);
      assert.deepEqual((await engine.limits({ depth: 6 }).analyse()).pvs.map((line) => line.multipv), [1]);
    });
  });
}

describe('levels and the table (Hash)', () => {
  test('start passes its hash on, clamped to the announced maximum with a note, and that table is held; the levels', async () => {
    const notes = [];
    const engine = await VarnEngine.start({ threads: false, hash: 5000, onMessage: (note) => notes.push(note) });
    assert.match(notes.join(' | '), new RegExp(`Hash 5000 is out of range: set to ${engine.options.get('Hash').max}`));
    // The table is made at the next isready: no "reduced" note, and it searches.
    assert.deepEqual(await engine.ready(), []);
    assert.ok(legal(new Chess().fen()).includes((await engine.position('startpos').limits({ depth: 6 }).analyse()).bestmove));
    // Round steps below full strength from the engine; setLevel plays the level: its seeds vary the first move, which full strength never does.
    await engine.setOption('Hash', 16);
    const { min, max, steps } = engine.levels;
    assert.ok(steps.length >= 5 && steps[0] >= min && steps.at(-1) < max && steps.every((elo, i) => elo % 100 === 0 && (i === 0 || elo > steps[i - 1])), steps.join(' '));
    const firstMoves = async (elo) => {
      const moves = new Set();
      for (const seed of [1, 2, 3, 4, 5, 6]) {
        await engine.setLevel(elo, seed);
        await engine.newGame();
        moves.add((await engine.position('startpos').limits({ depth: 5 }).analyse()).bestmove);
      }
      return moves;
    };
    assert.ok((await firstMoves(min)).size > 1);
    assert.equal((await firstMoves(null)).size, 1);
    await engine.quit();
  });
});

describe('a guest in the user\'s Node program', () => {
  // Runs a module of the user's in a new Node process.
  const folder = mkdtempSync(join(tmpdir(), 'varn-guest-'));
  function run(code) {
    writeFileSync(join(folder, 'main.mjs'), code);
    return spawnSync(process.execPath, [join(folder, 'main.mjs')], { encoding: 'utf8', timeout: 60000 });
  }

  test('the user\'s uncaught error is reported by Node as without Varn; quit lets the process end', () => {
    const fault = 'setTimeout(() => { throw new Error("the user\'s own fault"); }, 50);\n';
    const alone = run(fault);
    for (const threads of [true, false]) {
      const withVarn = run(`import { VarnEngine } from '${entry}';\nawait VarnEngine.start({ threads: ${threads} });\n${fault}`);
      assert.deepEqual([withVarn.status, withVarn.stdout], [1, '']);
      // The same report, but for the line the fault is on.
      assert.equal(withVarn.stderr.replace(/main\.mjs:\d+/g, 'main.mjs'), alone.stderr.replace(/main\.mjs:\d+/g, 'main.mjs'));
      const quits = run(`import { VarnEngine } from '${entry}';\nconst engine = await VarnEngine.start({ threads: ${threads} });\n`
        + 'engine.position().limits({}).analyse();\nawait engine.quit();\nconsole.log("ended");\n');
      assert.deepEqual([quits.status, quits.stdout, quits.stderr], [0, 'ended\n', '']);
    }
  });

  test('an engine that fails rejects the pending and later calls; nothing hangs', async () => {
    // A copy of the engine whose worker breaks down a moment after it started.
    const broken = mkdtempSync(join(tmpdir(), 'varn-broken-'));
    cpSync(engineFolder, broken, { recursive: true });
    appendFileSync(join(broken, 'varn-host.js'), '\nsetTimeout(() => { throw new Error("worn out"); }, 1500);\n');
    const failures = [];
    const engine = await VarnEngine.start({ url: broken, threads: false, onFailure: (error) => failures.push(error) });
    const search = engine.position('startpos').limits({}).analyse();
    await assert.rejects(search, /worn out/);
    await assert.rejects(engine.ready(), /worn out/);
    await assert.rejects(engine.position('startpos').limits({ depth: 5 }).analyse(), /worn out/);
    assert.equal(failures.length, 1);
    await engine.quit();
    // An engine that cannot load rejects its start.
    writeFileSync(join(broken, 'varn-single.wasm'), 'not WebAssembly');
    await assert.rejects(VarnEngine.start({ url: broken, threads: false }), /could not be loaded/);
  });
});
