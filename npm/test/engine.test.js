// VarnEngine in Node against the built engine: results paired with their own
// search, stops answered, the levels read from the engine and played.
import { describe, test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { Chess } from 'chess.js';
import { VarnEngine } from '../src/index.js';

let engine;
before(async () => {
  engine = await VarnEngine.start();
});
after(() => engine.quit());

const legal = (fen) => new Chess(fen).moves({ verbose: true }).map((m) => m.lan);

describe('VarnEngine', () => {
  test('searches started one after another each end with a move of their own position', async () => {
    const positions = ['k7/8/8/8/8/8/8/K6R w - - 0 1', '7k/8/8/8/8/8/8/KR6 b - - 0 1', 'rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1'];
    // Each analyse stops the search before it; none may take another's answer.
    const searches = positions.map((fen, i) => engine.position(fen).limits(i === 2 ? { depth: 6 } : {}).analyse());
    const results = await Promise.all(searches);
    results.forEach((result, i) => assert.ok(legal(positions[i]).includes(result.bestmove), `${positions[i]}: ${result.bestmove}`));
    assert.equal(results[2].info.depth >= 6, true);
    assert.equal(engine.searching, false);
  });

  test('stop ends an endless search with its best move so far', async () => {
    const search = engine.position('startpos', ['e2e4']).limits({}).analyse();
    await new Promise((resolve) => setTimeout(resolve, 200));
    await engine.stop();
    const result = await search;
    assert.ok(legal('rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1').includes(result.bestmove));
    assert.equal(result.whiteToMove, false);
    assert.ok(result.lines.length >= 1 && result.lines.every((line) => line.pv.length && !line.score.bound));
  });

  test('a position without moves has no best move; mate and stalemate told apart', async () => {
    const mated = await engine.position('7k/6Q1/6K1/8/8/8/8/8 b - - 0 1').limits({ depth: 6 }).analyse();
    const stalemate = await engine.position('7k/5Q2/6K1/8/8/8/8/8 b - - 0 1').limits({ depth: 6 }).analyse();
    assert.deepEqual([mated.bestmove, mated.info.score], [null, { mate: 0 }]);
    assert.deepEqual([stalemate.bestmove, stalemate.info.score], [null, { cp: 0 }]);
  });

  test('levels: round steps below full strength from the engine, values outside its range clamped with a note', async () => {
    const { min, max, steps } = engine.levels;
    assert.deepEqual([engine.options.get('UCI_Elo').min, engine.options.get('UCI_Elo').max], [min, max]);
    assert.ok(steps.length >= 5 && steps[0] >= min && steps.at(-1) < max, steps.join(' '));
    assert.ok(steps.every((elo, i) => elo % 100 === 0 && (i === 0 || elo > steps[i - 1])), steps.join(' '));
    const notes = await engine.setLevel(min - 100, 7);
    assert.ok(notes.some((note) => note.includes(String(min))), notes.join(' | '));
    const move = await engine.position('startpos').limits({ depth: 6 }).analyse();
    assert.ok(legal(new Chess().fen()).includes(move.bestmove));
    assert.deepEqual(await engine.setLevel(null), []);
  });

  test('setLevel plays the level: its seeds vary the first move, which full strength never does', async () => {
    const firstMoves = async (elo) => {
      const moves = new Set();
      for (const seed of [1, 2, 3, 4, 5, 6]) {
        await engine.setLevel(elo, seed);
        await engine.newGame();
        moves.add((await engine.position('startpos').limits({ depth: 5 }).analyse()).bestmove);
      }
      return moves;
    };
    assert.ok((await firstMoves(engine.levels.min)).size > 1);
    assert.equal((await firstMoves(null)).size, 1);
  });
});
