// The page's logic without a browser: checking user input, and the game with
// its outcomes. Scores, lines and the review's rule are the package's (npm/test).
import { describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { Chess } from 'chess.js';
import { readFen, readMove, readPgn } from '../src/position.js';
import { Game } from '../src/game.js';
import { gameText, linkTo, readGameText, readLink } from '../src/saved.js';

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

  test('PGN: moves and start position, or a reason', () => {
    const game = readPgn('[FEN "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"]\n[SetUp "1"]\n\n1. e4 {a comment} Kd7 (1... Ke7) 2. e5 *');
    assert.deepEqual(game, { start: '4k3/8/8/8/8/8/4P3/4K3 w - - 0 1', moves: ['e2e4', 'e8d7', 'e4e5'] });
    assert.match(readPgn('1. e4 e5 2. Ke3').error, /Not a valid PGN/);
    assert.match(readPgn('   ').error, /Paste a PGN/);
  });

  test('typed moves in either notation, illegal ones refused', () => {
    const start = new Chess().fen();
    const promotion = '7k/P7/8/8/8/8/8/K7 w - - 0 1';
    const cases = [
      [start, 'Nf3', 'g1f3'], [start, 'g1f3', 'g1f3'], [start, 'e2-e4', 'e2e4'],
      [promotion, 'a8=N', 'a7a8n'], [promotion, 'a7a8r', 'a7a8r'],
      [start, 'Nf6', null], [start, 'e2e5', null], [start, 'hello', null], [promotion, 'a7a8', null],
    ];
    for (const [fen, text, move] of cases) {
      const read = readMove(fen, text);
      if (move) assert.equal(read.move, move, text);
      else assert.match(read.error, /^Illegal move/, text);
    }
  });
});

describe('the game', () => {
  test('a move at an earlier position replaces the moves after it', () => {
    const game = new Game(undefined, ['e2e4', 'e7e5', 'g1f3']);
    game.go(1);
    assert.equal(game.play('c7c5'), 'c5');
    assert.deepEqual([game.moves, game.cursor], [['e2e4', 'c7c5'], 2]);
    assert.equal(game.play('e1e3'), null);
    assert.equal(game.push('a2a5'), null);
    assert.equal(game.length, 2);
  });

  test('outcomes', () => {
    const shuffle = ['g1f3', 'g8f6', 'f3g1', 'f6g8', 'g1f3', 'g8f6', 'f3g1', 'f6g8'];
    const cases = [
      [new Game(undefined, ['f2f3', 'e7e5', 'g2g4', 'd8h4']), 'Black wins by checkmate.'],
      [new Game('7k/5Q2/6K1/8/8/8/8/8 b - - 0 1'), 'Draw by stalemate.'],
      [new Game(undefined, shuffle), 'Draw by threefold repetition.'],
      [new Game(undefined, shuffle.slice(0, 7)), null],
      [new Game('4k3/8/8/8/8/8/4P3/4K2R w - - 99 80', ['h1h2']), 'Draw by the fifty-move rule.'],
      [new Game('4k3/8/8/8/8/8/8/4KN2 w - - 0 1'), 'Draw: neither side can mate.'],
    ];
    for (const [game, outcome] of cases) assert.equal(game.outcome(), outcome, game.fen());
  });

  test('long games reach the engine from a later position', () => {
    const game = new Game(undefined, Array.from({ length: 250 }, () => ['g1f3', 'g8f6', 'f3g1', 'f6g8']).flat());
    assert.deepEqual(game.engineInput(3), { fen: game.fen(0), moves: ['g1f3', 'g8f6', 'f3g1'] });
    const input = game.engineInput(1000);
    assert.equal(input.fen, game.fen(100));
    assert.equal(input.moves.length, 900);
  });

  test('PGN out reads back, with its start position', () => {
    const game = new Game('4k3/8/8/8/8/8/4P3/4K3 w - - 0 1', ['e2e4', 'e8d7']);
    const back = new Chess();
    back.loadPgn(game.pgn());
    assert.deepEqual([back.history(), back.getHeaders().FEN], [['e4', 'Kd7'], '4k3/8/8/8/8/8/4P3/4K3 w - - 0 1']);
  });
});

describe('the page kept and shared', () => {
  test('a game goes into a link and back: its start, promotions and the position shown', () => {
    const start = '7k/P7/8/8/8/8/8/K7 w - - 0 1';
    const moves = ['a7a8q', 'h8h7', 'a8b7'];
    const link = linkTo('https://example.org/varn/', { pgn: gameText(start, moves), ply: 2 });
    const read = readLink(new URL(link).hash);
    assert.deepEqual([readGameText(read.pgn), read.ply], [{ start, moves }, 2]);
    assert.deepEqual(readLink(new URL(linkTo('https://example.org/', { fen: start })).hash), { fen: start });
    // Text without a result is a game that goes on; a broken one says why.
    assert.deepEqual(readGameText('1. e4 e5').moves, ['e2e4', 'e7e5']);
    assert.match(readGameText('1. e4 e5 2. Ke3 *').error, /^Not a valid PGN/);
  });
});
