// The package's parts without the engine: UCI words, score texts, the
// review's verdicts, words and accuracy (the rule the page shares), openings.
import { describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { goCommand, parseInfo, whiteToMove } from '../src/uci.js';
import { evalText, scoreText, whiteScore } from '../src/score.js';
import { judgeGame, judgeMoves, moveAccuracy, reviewGame, reviewNotes, verdictFor, Verdicts, DecidedCp, winPercent } from '../src/review.js';
import { openingOf, readOpenings } from '../src/openings.js';

describe('UCI words', () => {
  test('info lines: numbers, scores with bounds, lines and notes', () => {
    assert.deepEqual(parseInfo('info depth 9 nodes 5000 time 250 nps 20000 score cp -35 pv e2e4 e7e5'),
      { depth: 9, nodes: 5000, time: 250, nps: 20000, score: { cp: -35 }, pv: ['e2e4', 'e7e5'] });
    assert.deepEqual(parseInfo('info depth 7 score mate -2 upperbound pv g1f3').score, { mate: -2, bound: 'upper' });
    assert.deepEqual(parseInfo('info depth 3 currmove e2e4 currmovenumber 1'), { depth: 3, currmove: 'e2e4', currmovenumber: 1 });
    assert.equal(parseInfo('info string UCI_Elo 1200 is out of range: set to 1350').string, 'UCI_Elo 1200 is out of range: set to 1350');
  });

  // Option lines and position commands are read by every engine test.
  test('go commands in whole milliseconds, endless when nothing limits them; the side to move after moves', () => {
    assert.equal(goCommand({}), 'go infinite');
    assert.equal(goCommand({ wtime: 60000, btime: 59000.4, winc: 1000, binc: 1000 }), 'go wtime 60000 btime 59000 winc 1000 binc 1000');
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
      [{ mate: -2 }, false, '#2', '#2'],
      [{ mate: 0 }, true, '0-1', null],
      [{ mate: 0 }, false, '1-0', null],
      // An equal position is no worse for White when Black is to move.
      [{ cp: 0 }, false, '+0.00', '0.00'],
    ];
    for (const [score, white, shown, pgn] of cases) {
      const view = whiteScore(score, white);
      assert.deepEqual([scoreText(view), evalText(view)], [shown, pgn], JSON.stringify([score, white]));
    }
  });
});

describe('the review', () => {
  const cp = (value) => ({ cp: value });
  const judge = (fen, moves, scores, pvs = []) => judgeGame({ fen, moves }, scores.map((score, i) => ({ score, pv: pvs[i] ?? [] })));

  test('each verdict from its least loss on, the next milder one just below it', () => {
    for (const [i, verdict] of Verdicts.entries()) {
      assert.equal(verdictFor(verdict.loss).name, verdict.name);
      assert.equal(verdictFor(verdict.loss - 1)?.name ?? null, Verdicts[i + 1]?.name ?? null);
    }
    assert.deepEqual(Verdicts.map((v) => v.nag), [4, 2, 6]);
    // A slower mate, or a lead past the decided mark given up in part, costs nothing.
    assert.deepEqual(judgeMoves([{ mate: 3 }, { mate: 5 }, cp(DecidedCp + 600), cp(DecidedCp + 100)]).map((m) => m.loss), [0, 0, 0]);
  });

  test('losses are charged to the side that moved when Black moves first, in words with the better move', () => {
    // After 1. e4 e5 2. Nf3, Black to move: a 2-pawn loss is a mistake, a 4-pawn loss a blunder.
    const start = 'rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - 1 2';
    const moves = ['f7f6', 'f3e5', 'f6e5', 'd1h5', 'g7g6'];
    const scores = [cp(-30), cp(170), cp(170), cp(DecidedCp + 100), { mate: 3 }, { mate: 1 }];
    const game = judge(start, moves, scores, [['b8c6', 'f1b5'], ['f3e5'], ['d8e7', 'e5f3']]);
    assert.deepEqual(game.moves.map((m) => m.verdict?.symbol ?? null), ['?', null, '??', null, null]);
    assert.deepEqual(game.moves.map((m) => m.comment), ['Mistake. Nc6 was best.', null, 'Blunder. Qe7 was best.', null, null]);
    assert.deepEqual(game.moves[2].better, ['d8e7', 'e5f3']);
    assert.deepEqual({ ...game.sides.black, accuracy: undefined }, { inaccuracies: 0, mistakes: 1, blunders: 1, acpl: Math.round((200 + DecidedCp - 170) / 3), accuracy: undefined });
    assert.deepEqual({ ...game.sides.white, accuracy: undefined }, { inaccuracies: 0, mistakes: 0, blunders: 0, acpl: 0, accuracy: undefined });
    assert.deepEqual(game.tags.filter(([name]) => /^Black(Mistakes|Blunders|ACPL)$/.test(name)), [['BlackMistakes', 1], ['BlackBlunders', 1], ['BlackACPL', game.sides.black.acpl]]);
  });

  test('mates missed, lost and allowed get their own words, even in a decided game', () => {
    const moves = ['e2e4', 'e7e5', 'g1f3', 'b8c6', 'f1c4', 'g8f6', 'd2d3'];
    const scores = [cp(20), { mate: 3 }, { mate: 2 }, cp(150), { mate: 4 }, { mate: 3 }, { mate: 2 }, cp(2000)];
    const game = judge(undefined, moves, scores, [[], [], ['d1h5'], ['g8f6'], [], [], ['f3g5']]);
    assert.deepEqual(game.moves.map((m) => m.comment), [null, null, 'Mate in 2 was missed. Qh5 was best.',
      'Checkmate is now unavoidable. Nf6 was best.', null, null, 'Lost forced checkmate sequence. Ng5 was best.']);
    assert.deepEqual(game.moves.map((m) => m.verdict?.name ?? null), [null, null, 'blunder', 'blunder', null, null, 'inaccuracy']);
    // A mate allowed in a lost game still costs what is left, up to 10 pawns.
    assert.equal(judgeMoves([cp(-770), { mate: -2 }])[0].verdict.name, 'mistake');
    // The engine's own choice gets no "was best", nor a line.
    const own = judge(undefined, ['e2e4'], [cp(0), cp(-400)], [['e2e4']]);
    assert.deepEqual([own.moves[0].comment, own.moves[0].better], ['Blunder.', []]);
  });

  test('accuracy from the loss of winning chances', () => {
    assert.equal(winPercent(cp(0)), 50);
    assert.ok(Math.abs(winPercent(cp(300)) + winPercent(cp(-300)) - 100) < 1e-9);
    assert.equal(winPercent({ mate: 2 }), winPercent(cp(5000)));
    // The published curve: a 10-point drop in winning chances leaves about 64.6% accuracy.
    assert.equal(moveAccuracy(60, 50).toFixed(1), '64.6');
    assert.equal(moveAccuracy(50, 60), 100);
    const blunder = judge(undefined, ['e2e4', 'e7e5', 'd1h5', 'e8e7'], [cp(20), cp(20), cp(25), cp(0), cp(900)]);
    assert.ok(blunder.sides.black.accuracy < 30 && blunder.sides.white.accuracy > 90, JSON.stringify(blunder.sides));
  });

  test('a mistake or blunder is marked only when the positions around it, searched deeper, confirm it', async () => {
    // A scripted engine: White's-view scores per position, deeper ones where they differ.
    const shallow = [0, 0, 400, -100, 300];
    const deeper = { 1: 0, 2: 0, 3: -80, 4: 280 };
    const searched = [];
    const engine = {
      newGame: async () => [],
      position(fen) { this.ply = 2 * (Number(fen.split(' ')[5]) - 1) + (fen.split(' ')[1] === 'b' ? 1 : 0); return this; },
      limits(limits) { this.depth = limits.depth; return this; },
      async analyse() {
        searched.push(`${this.ply}@${this.depth}`);
        return { info: { score: { cp: this.depth > 8 ? deeper[this.ply] ?? shallow[this.ply] : shallow[this.ply] }, pv: [] }, whiteToMove: true };
      },
    };
    const game = { fen: 'startpos', moves: ['e2e4', 'e7e5', 'g1f3', 'b8c6'] };
    const positions = await reviewGame(engine, game, { depth: 8 });
    assert.deepEqual(searched, ['0@8', '1@8', '2@8', '3@8', '4@8', '1@9', '2@9', '3@9', '4@9']);
    assert.deepEqual(judgeGame(game, positions).moves.map((m) => m.verdict?.name ?? null), [null, null, 'inaccuracy', 'blunder']);
    assert.deepEqual(positions.map((p) => p.confirmed), [false, true, true, true, true]);
    const unconfirmed = await reviewGame(engine, game, { depth: 8 }, { confirm: null });
    assert.deepEqual(judgeGame(game, unconfirmed).moves.map((m) => m.verdict?.name ?? null), [null, 'blunder', 'blunder', 'blunder']);
  });
});

describe('openings', () => {
  test('the last known position names the opening, by transposition too; set-up games have none', async () => {
    const table = await readOpenings([
      '{ A classification }', '', '[ECO "A40"]', '[Opening "Queen\'s pawn"]', '', '1. d4 *', '',
      '[ECO "D37"]', '[Opening "QGD"]', '[Variation "4.Nf3"]', '', '1. d4 d5 2. c4 e6 3. Nc3 Nf6 4. Nf3 *', '',
      '[ECO "X00"]', '', '1. e4 *',
    ]);
    assert.equal(Object.keys(table).length, 2, 'an entry without a name is left out');
    const transposed = ['g1f3', 'g8f6', 'c2c4', 'e7e6', 'b1c3', 'd7d5', 'd2d4', 'f8e7'];
    assert.deepEqual(openingOf(table, { fen: 'startpos', moves: transposed }), { eco: 'D37', name: 'QGD', variation: '4.Nf3' });
    assert.deepEqual(openingOf(table, { moves: ['d2d4', 'g8f6'] }), { eco: 'A40', name: "Queen's pawn" });
    assert.equal(openingOf(table, { moves: ['e2e4'] }), null);
    assert.equal(openingOf(table, { fen: '4k3/8/8/8/8/8/3P4/4K3 w - - 0 1', moves: ['d2d4'] }), null);
  });
});
