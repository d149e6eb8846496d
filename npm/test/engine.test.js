// VarnEngine in Node against the built engine: results paired with their own
// search, stops answered, the levels' range and notes read from the engine.
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

  test('several lines: each report carries its number, the result the last depth\'s lines; searchmoves', async () => {
    const fen = 'r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3';
    assert.deepEqual(await engine.setOption('MultiPV', 3), []);
    const seen = [];
    const result = await engine.position(fen).limits({ depth: 7 }).analyse((info) => { if (info.pv) seen.push(info.multipv); });
    assert.deepEqual(result.pvs.map((line) => [line.depth, line.multipv]), [[7, 1], [7, 2], [7, 3]]);
    assert.equal(new Set(result.pvs.map((line) => line.pv[0])).size, 3);
    assert.equal(result.bestmove, result.pvs[0].pv[0]);
    assert.deepEqual(seen.slice(0, 3), [1, 2, 3]);
    const chosen = await engine.limits({ depth: 6, searchmoves: ['a2a3', 'h2h3'] }).analyse();
    assert.deepEqual(chosen.pvs.map((line) => line.pv[0]).sort(), ['a2a3', 'h2h3']);
    await engine.setOption('MultiPV', 1);
    const one = await engine.limits({ depth: 6 }).analyse();
    assert.deepEqual(one.pvs.map((line) => line.multipv), [1]);
  });

  test('levels: the range comes from the engine, values outside it are clamped with a note', async () => {
    const { min, max } = engine.levels;
    assert.deepEqual([engine.options.get('UCI_Elo').min, engine.options.get('UCI_Elo').max], [min, max]);
    const notes = await engine.setLevel(min - 100, 7);
    assert.ok(notes.some((note) => note.includes(String(min))), notes.join(' | '));
    const move = await engine.position('startpos').limits({ depth: 6 }).analyse();
    assert.ok(legal(new Chess().fen()).includes(move.bestmove));
    assert.deepEqual(await engine.setLevel(null), []);
  });
});
