// The package's parts without the engine: UCI words, score texts, the
// review's verdicts (the rule the page shares).
import { describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { goCommand, parseInfo, parseOption, positionCommand, whiteToMove } from '../src/uci.js';
import { evalText, scoreText, whiteScore } from '../src/score.js';
import { judgeMoves, reviewSummary, verdictFor, Verdicts, DecidedCp } from '../src/review.js';

describe('UCI words', () => {
  test('info lines: numbers, scores with bounds, lines and notes', () => {
    assert.deepEqual(parseInfo('info depth 9 nodes 5000 time 250 nps 20000 score cp -35 pv e2e4 e7e5'),
      { depth: 9, nodes: 5000, time: 250, nps: 20000, score: { cp: -35 }, pv: ['e2e4', 'e7e5'] });
    assert.deepEqual(parseInfo('info depth 7 score mate -2 upperbound pv g1f3').score, { mate: -2, bound: 'upper' });
    assert.deepEqual(parseInfo('info depth 3 currmove e2e4 currmovenumber 1'), { depth: 3, currmove: 'e2e4', currmovenumber: 1 });
    assert.equal(parseInfo('info string UCI_Elo 1200 is out of range: set to 1350').string, 'UCI_Elo 1200 is out of range: set to 1350');
  });

  test('option lines', () => {
    assert.deepEqual(parseOption('option name UCI_Elo type spin default 2000 min 1350 max 2000'), { name: 'UCI_Elo', type: 'spin', default: 2000, min: 1350, max: 2000 });
    assert.deepEqual(parseOption('option name Clear Hash type button'), { name: 'Clear Hash', type: 'button' });
    assert.equal(parseOption('option name Ponder type check default false').default, false);
  });

  test('commands and the side to move', () => {
    assert.equal(positionCommand('startpos', ['e2e4']), 'position startpos moves e2e4');
    assert.equal(positionCommand('8/8/8/8/8/8/8/K1k5 b - - 0 1'), 'position fen 8/8/8/8/8/8/8/K1k5 b - - 0 1');
    assert.equal(goCommand({}), 'go infinite');
    assert.equal(goCommand({ wtime: 60000, btime: 59000.4, winc: 1000, binc: 1000 }), 'go wtime 60000 btime 59000 winc 1000 binc 1000');
    assert.equal(goCommand({ depth: 8 }), 'go depth 8');
    assert.deepEqual([whiteToMove('startpos'), whiteToMove('startpos', ['e2e4']), whiteToMove('4k3/8/8/8/8/8/8/4K3 b - - 0 1', ['e8d8'])], [true, false, true]);
  });
});

describe('scores from White\'s view', () => {
  test('the engine\'s score from the side to move, turned for Black', () => {
    const cases = [
      [{ cp: 35 }, true, '+0.35', '0.35'],
      [{ cp: 35 }, false, '-0.35', '-0.35'],
      [{ mate: 1 }, true, '#1', '#1'],
      [{ mate: 2 }, false, '#-2', '#-2'],
      [{ mate: -1 }, true, '#-1', '#-1'],
      [{ mate: -2 }, false, '#2', '#2'],
      [{ mate: 0 }, true, '0-1', null],
      [{ mate: 0 }, false, '1-0', null],
    ];
    for (const [score, white, shown, pgn] of cases) {
      const view = whiteScore(score, white);
      assert.deepEqual([scoreText(view), evalText(view)], [shown, pgn], JSON.stringify([score, white]));
    }
  });
});

describe('the review\'s verdicts', () => {
  test('each verdict from its least loss on, the next milder one just below it', () => {
    for (const [i, verdict] of Verdicts.entries()) {
      assert.equal(verdictFor(verdict.loss).name, verdict.name);
      assert.equal(verdictFor(verdict.loss - 1)?.name ?? null, Verdicts[i + 1]?.name ?? null);
    }
    assert.deepEqual(Verdicts.map((v) => v.nag), [4, 2, 6]);
  });

  test('losses are charged to the side that moved, a decided game forgives', () => {
    const cp = (value) => ({ cp: value });
    assert.deepEqual(judgeMoves([20, 30, 30, -100, -100, -450].map(cp)), [null, null, 'mistake', null, 'blunder']);
    assert.deepEqual(judgeMoves([0, 400, 350].map(cp), false), ['blunder', 'inaccuracy']);
    // Past the decided mark a slower win, or a mate given up for a big lead, is no fault.
    assert.deepEqual(judgeMoves([{ mate: 3 }, cp(DecidedCp + 200), { mate: 5 }]), [null, null]);
    assert.deepEqual(judgeMoves([cp(0), { mate: -1 }, { winner: 'black' }]), ['blunder', null]);
    const summary = reviewSummary([0, 400, 350, 350].map(cp), false);
    assert.deepEqual(summary.black, { inaccuracies: 0, mistakes: 0, blunders: 1, acpl: 200 });
    assert.deepEqual(summary.white, { inaccuracies: 1, mistakes: 0, blunders: 0, acpl: 50 });
  });
});
