// The page's logic without a browser: checking user input, and the game with
// its outcomes. Scores, lines and the review's rule are the package's (npm/test);
// variations, links and reloads are checked where users meet them (browser.test.js).
import { describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { Chess } from 'chess.js';
import { readFen, readMove, readPgn } from '../src/position.js';
import { Game } from '../src/game.js';
import { newGame } from 'varn/pgn';

describe('user input', () => {
  test('bad FENs are refused with a reason', () => {
    const cases = [
      ['', /Enter a FEN/],
      ['rnbqkbnr/pppppppp/8/8 w KQkq - 0 1', /Not a valid FEN/],
      ['8/8/8/8/8/8/8/4K3 w - - 0 1', /black king/],
      ['4k3/8/8/8/8/8/8/4KK2 w - - 0 1', /king/],
      ['4k2P/8/8/8/8/8/8/4K3 w - - 0 1', /pawns/],
      ['4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1', /not to move is in check/],
      ['rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR x KQkq - 0 1', /Not a valid FEN/],
    ];
    for (const [fen, message] of cases) assert.match(readFen(fen).error || '', message, fen);
  });

  test('good FENs come back normalised, four fields allowed', () => {
    assert.equal(readFen('  4k3/8/8/8/8/8/8/4K3   b - - ').fen, '4k3/8/8/8/8/8/8/4K3 b - - 0 1');
  });

  test('PGN: the first game with its start position, variations and comments, or a reason', async () => {
    const read = await readPgn('[FEN "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"]\n[SetUp "1"]\n\n1. e4 {a comment} Kd7 (1... Ke7) 2. e5 *\n\n1. d4 *');
    assert.deepEqual([read.game.start, read.game.mainMoves, read.count], ['4k3/8/8/8/8/8/4P3/4K3 w - - 0 1', ['e2e4', 'e8d7', 'e4e5'], 2]);
    assert.match(read.game.pgn(), /1\. e4 \{a comment\} 1\.\.\. Kd7 \(1\.\.\. Ke7\) 2\. e5 \*/);
    assert.match((await readPgn('1. e4 e5 2. Ke3')).error, /^Not a valid PGN: illegal move 2\. Ke3/);
    assert.match((await readPgn('[FEN "4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1"]\n\n*')).error, /start position is refused/);
    assert.match((await readPgn('   ')).error, /Paste a PGN/);
  });

  test('typed moves in either notation, illegal ones refused', () => {
    const promotion = '7k/P7/8/8/8/8/8/K7 w - - 0 1';
    const cases = [[undefined, 'Nf3', 'g1f3'], [undefined, 'e2-e4', 'e2e4'], [promotion, 'a8=N', 'a7a8n'], [promotion, 'a7a8r', 'a7a8r'],
      [undefined, 'Nf6', undefined], [undefined, 'e2e5', undefined], [promotion, 'a7a8', undefined]];
    for (const [fen = new Chess().fen(), text, move] of cases) assert.deepEqual(readMove(fen, text).move, move, text);
  });
});

// A game from a FEN (the start position by default) with moves played.
function played(fen, moves = []) {
  const game = new Game(newGame(fen));
  for (const move of moves) game.play(move);
  return game;
}

describe('the game', () => {
  const shuffle = ['g1f3', 'g8f6', 'f3g1', 'f6g8', 'g1f3', 'g8f6', 'f3g1', 'f6g8'];

  test('the same move again enters the line that has it; a deleted line comes back with undo', () => {
    const game = played(undefined, ['e2e4', 'e7e5', 'g1f3']);
    game.go(1);
    assert.equal(game.play('c7c5'), 'c5');
    game.go(1);
    game.play('e7e5');
    assert.deepEqual([game.moves, game.cursor, game.mainPly()], [['e2e4', 'e7e5', 'g1f3'], 2, 2]);
    assert.equal(game.play('e1e3'), null);
    game.remove();
    assert.deepEqual([game.mainMoves, game.cursor], [['e2e4', 'c7c5'], 1]);
    game.undo();
    assert.deepEqual([game.mainMoves, game.tree.root.children[0].children.length], [['e2e4', 'e7e5', 'g1f3'], 2]);
  });

  test('outcomes', () => {
    const cases = [
      [played(undefined, ['f2f3', 'e7e5', 'g2g4', 'd8h4']), 'Black wins by checkmate.'],
      [played('7k/5Q2/6K1/8/8/8/8/8 b - - 0 1'), 'Draw by stalemate.'],
      [played(undefined, shuffle), 'Draw by threefold repetition.'],
      [played(undefined, shuffle.slice(0, 7)), null],
      [played('4k3/8/8/8/8/8/4P3/4K2R w - - 99 80', ['h1h2']), 'Draw by the fifty-move rule.'],
      [played('4k3/8/8/8/8/8/8/4KN2 w - - 0 1'), 'Draw: neither side can mate.'],
    ];
    for (const [game, outcome] of cases) assert.equal(game.outcome(), outcome, game.fen());
  });

  test('PGN out: tags kept, the result the rules give, and the review\'s notes', async () => {
    const { game } = await readPgn('[Event "Club"]\n[Result "*"]\n\n1. f3 {hm} e5 (1... d5) 2. g4 Qh4# *');
    game.setReview({ moves: [null, null, { nag: 4, comment: '[%eval #-1]', line: ['b1c3'] }], tags: [['Annotator', 'Varn']] });
    assert.equal(game.pgn(), '[Event "Club"]\n[Result "0-1"]\n[Annotator "Varn"]\n\n1. f3 {hm} 1... e5 (1... d5) 2. g4 $4 { [%eval #-1] } (2. Nc3) 2... Qh4# 0-1\n');
    game.clearReview();
    assert.doesNotMatch(game.pgn(), /Annotator|\$4|Nc3/);
    // A result set by play does not override the rules' draw.
    const drawn = played(undefined, shuffle);
    drawn.setResult('1-0');
    assert.match(drawn.pgn(), /\[Result "1\/2-1\/2"\]\n\n1\. Nf3 Nf6 [^\n]* 4\. Ng1 Ng8 1\/2-1\/2\n$/);
  });
});
