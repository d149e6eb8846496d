// PGN in and out on files shaped as sites and programs export them: study
// chapters with nested variations and markup, online games with clocks and
// evaluations, a Windows export (CRLF, byte-order mark) and odd corners; and
// every fixture game annotated with nothing of it lost.
import { after, before, describe, test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { addReview, lineSan, mainline, readGame, readLines, splitGames, withoutVarn, writeGame } from '../src/pgn.js';
import { annotateGame } from '../src/annotate/annotate.js';
import { VarnEngine } from '../src/engine.js';

const fixture = (name) => fileURLToPath(new URL(`./fixtures/${name}`, import.meta.url));
const Fixtures = ['study.pgn', 'online-games.pgn', 'edge.pgn', 'windows.pgn', 'collection.pgn'];

async function collect(source) {
  const games = [];
  for await (const game of splitGames(source)) games.push(game);
  return games;
}

// The games of a fixture file read from its bytes, in chunks of `size` bytes.
async function fixtureGames(name, size = 65536) {
  const bytes = readFileSync(fixture(name));
  const chunks = [];
  for (let at = 0; at < bytes.length; at += size) chunks.push(bytes.subarray(at, at + size));
  return collect(readLines(chunks));
}

// Each game text of the fixture with its tree, or the reason it is refused.
async function readAll(name) {
  return (await fixtureGames(name)).map((text) => {
    try {
      return { text, game: readGame(text) };
    } catch (error) {
      return { text, error: error.message };
    }
  });
}

const event = (game) => game.tags.find(([name]) => name === 'Event')?.[1];
// A node found by its moves in coordinates from the root, along any variation.
function nodeAt(game, ...moves) {
  let node = game.root;
  for (const lan of moves) node = node.children.find((child) => child.lan === lan);
  return node;
}

describe('reading what sites and programs export', () => {
  test('a study chapter: comments in a row, markup, nested variations, NAGs in both forms', async () => {
    const [{ game }] = await readAll('study.pgn');
    assert.deepEqual(game.root.comments, [' Ideas for Tuesday\'s session. ', ' Play it through twice. ']);
    const bishop = nodeAt(game, 'e2e4', 'e7e5', 'g1f3', 'b8c6', 'f1c4', 'f8c5');
    assert.deepEqual(bishop.comments, [' [%csl Gf7,Gf2][%cal Gc4f7,Rc5f2] Both bishops aim at the weak pawns. ']);
    assert.deepEqual(bishop.children.map((child) => child.san), ['c3', 'O-O', 'b4']);
    const [slow] = bishop.children;
    assert.deepEqual([slow.nags, slow.comments], [[5], [' The slow plan. ', ' [%cal Gd2d4] ']]);
    // 4. O-O Nf6 5. d3 (5. Re1?! Ng4! { and f2 is weak. }): a variation inside a variation.
    const inner = nodeAt(game, 'e2e4', 'e7e5', 'g1f3', 'b8c6', 'f1c4', 'f8c5', 'e1g1', 'g8f6', 'f1e1', 'f6g4');
    assert.deepEqual([inner.nags, inner.comments], [[1], [' and f2 is weak. ']]);
    // A comment after a variation and before the next move leads that move.
    const bishopTakes = mainline(game)[13];
    assert.deepEqual([bishopTakes.san, bishopTakes.startComments], ['Bxd2+', [' Both are playable. ']]);
    // One after a variation at the end of the line belongs to the move before it.
    assert.deepEqual(mainline(game).at(-1).comments, [' White keeps an edge. ']);
  });

  test('a result glued to the next tag, Black to move first, escaped quotes and UTF-8', async () => {
    const [, second, third] = await readAll('study.pgn');
    assert.equal(second.game.result, '0-1');
    assert.match(second.game.root.fen, / b - - 0 23$/);
    assert.deepEqual(mainline(second.game).map((node) => node.san), ['Qxb1', 'Qxb1', 'Rxb1#']);
    assert.equal(event(third.game), 'Italian ideas: The "Open" Sicilian');
    assert.match(writeGame(third.game), /^\[Event "Italian ideas: The \\"Open\\" Sicilian"\]$/m);
    assert.deepEqual(mainline(third.game)[0].comments, [' Sicilian — «Najdorf» ♞ 🙂 ']);
    const online = await readAll('online-games.pgn');
    assert.deepEqual(online.map((entry) => entry.game.result), ['1-0', '0-1', '1/2-1/2', '1-0']);
    assert.equal(writeGame(online[3].game).split('\n\n')[1], '30... Rd2 $4 31. Re8# 1-0\n');
  });

  test('castling with zeros, a NAG after its comment, +/=, an empty variation, a missing result', async () => {
    const [club, open] = await readAll('edge.pgn');
    const moves = mainline(club.game);
    assert.equal(moves[8].san, 'O-O');
    assert.deepEqual(moves[4 * 2 + 1].comments, [' castling written with zeros']);
    const quiet = moves.find((node) => node.san === 'h3');
    assert.deepEqual([quiet.nags, quiet.comments, moves.find((node) => node.san === 'd4').nags], [[1], ['A quiet move.'], [14]]);
    assert.deepEqual([club.game.result, club.game.tags.slice(0, 5)], ['1/2-1/2', [['Event', 'Club championship'], ['Site', 'Town hall'], ['Round', '3'], ['white', 'a lower-case tag'], ['Board', '7']]]);
    assert.deepEqual([mainline(open.game).length, open.game.result], [3, '*']);
  });

  test('bytes in any chunks, CRLF and a byte-order mark read as the plain text', async () => {
    const whole = await fixtureGames('study.pgn');
    // 🙂 is four bytes and ♞ three: small chunks split them.
    for (const size of [1, 2, 3, 5, 7]) assert.deepEqual(await fixtureGames('study.pgn', size), whole, `chunks of ${size}`);
    const bytes = readFileSync(fixture('windows.pgn'));
    assert.deepEqual([...bytes.subarray(0, 3)], [0xef, 0xbb, 0xbf]);
    const plain = bytes.subarray(3).toString('utf8').replace(/\r\n/g, '\n');
    assert.deepEqual(await fixtureGames('windows.pgn', 3), await collect(plain.split('\n')));
    const [first] = await readAll('windows.pgn');
    assert.equal(first.game.tags[4][1], 'Núñez, José');
    assert.deepEqual(mainline(first.game)[13].comments, ['A solid\nset-up for Black.']);
  });

  test('collections split by tags and by results, also within a line', async () => {
    const text = '[Event "A"]\n\n1. e4 {a [comment]\n[not a tag]} e5 1-0\n[Event "B"]\n1. d4 *\n1. c4 * 1. Nf3 1/2\n\n\n';
    assert.deepEqual(await collect(text.split('\n')), ['[Event "A"]\n\n1. e4 {a [comment]\n[not a tag]} e5 1-0', '[Event "B"]\n1. d4 *', '1. c4 *', '1. Nf3 1/2']);
  });

  test('games that cannot be read give their reason', () => {
    const cases = [
      ['[Event "x]\n\n1. e4 *', /broken tag/],
      ['1. e4 e5 2. Nf', /cannot be read near "e4 e5 2\. Nf"/],
      ['1. e4 {never closed *', /comment has no closing/],
      ['[FEN "8/8/8/8 w - - 0 1"]\n\n1. e4 *', /FEN tag is not a position/],
      ['1. e4 -- 2. d4 *', /null move after e4/],
      ['1. e4 e5 (1... c5 2. Ke3) *', /illegal move 2\. Ke3/],
    ];
    for (const [text, reason] of cases) assert.throws(() => readGame(text), reason, text);
  });
});

describe('writing', () => {
  test('numbers after comments and variations, NAGs with their move, "}" kept in a line comment', () => {
    const game = readGame('{a} 1. e4 ; it says }\n1... e5 $1 (1... c5 {x} 2. Nf3) 2. Nf3 *');
    assert.equal(writeGame(game), '{a} 1. e4 ; it says }\n1... e5 $1 (1... c5 {x} 2. Nf3) 2. Nf3 *\n');
    assert.equal(writeGame(game, { comments: false }), '1. e4 e5 $1 (1... c5 2. Nf3) 2. Nf3 *\n');
    // {x} follows the variations of 1. d4, which are written beside it, not after it.
    const nested = readGame('1. e4 (1. d4 (1. c4) {x} 1... d5) e5 *');
    assert.deepEqual(nested.root.children.map((node) => [node.san, node.comments]), [['e4', []], ['d4', ['x']], ['c4', []]]);
    assert.deepEqual(readGame(writeGame(nested)), nested);
  });

  test('Varn\'s notes go beside the game\'s own and come off again', () => {
    const text = '[White "A"]\n[Annotator "Coach"]\n\n1. e4 {fast} e5 2. Qh5? Nc6 3. Bc4 Nf6 1-0';
    const game = readGame(text);
    addReview(game, {
      moves: [{ comment: '[%eval 0.20]' }, null, { nag: 4, comment: 'Blunder.', line: ['g1f3', 'b8c6'] }, null, null, { nag: 4, line: ['g7g6', 'h5f3'] }],
      tags: [['Annotator', 'Varn'], ['WhiteBlunders', 1]],
    });
    // 2. Qh5 keeps its own "?" and gets no second verdict NAG.
    assert.equal(writeGame(game), '[White "A"]\n[Annotator "Coach"]\n[WhiteBlunders "1"]\n\n'
      + '1. e4 { [%eval 0.20] } {fast} 1... e5 2. Qh5 $2 { Blunder. } (2. Nf3 Nc6)\n'
      + '2... Nc6 3. Bc4 Nf6 $4 (3... g6 4. Qf3) 1-0\n');
    assert.deepEqual(withoutVarn(game), readGame(text));
  });

  test('engine lines in algebraic notation stop at the first impossible move', () => {
    assert.equal(lineSan('rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1', ['e2e4', 'e7e5', 'g1f3']), '1. e4 e5 2. Nf3');
    assert.equal(lineSan('4k3/1P6/8/8/8/8/8/4K3 b - - 0 7', ['e8d7', 'b7b8n', 'd7c7', 'e2e4']), '7... Kd7 8. b8=N+ Kc7');
  });
});

// The tree as the written text reads back: Varn's notes become the move's own
// (its comments first), its tags follow the game's.
function asWritten(game) {
  const copy = structuredClone(game);
  const merge = (node) => {
    if (node.varn) {
      node.nags = [...node.nags, ...node.varn.nags];
      node.comments = [...node.varn.comments, ...node.comments];
      delete node.varn;
    }
    delete node.fromVarn;
    node.children.forEach(merge);
  };
  merge(copy.root);
  const names = new Set(copy.tags.map(([name]) => name));
  copy.tags.push(...copy.varnTags.filter(([name]) => !names.has(name)).map(([name, value]) => [name, String(value)]));
  delete copy.varnTags;
  return copy;
}

describe('nothing lost', () => {
  let engine;
  before(async () => { engine = await VarnEngine.start(); });
  after(() => engine?.quit());

  test('every fixture game but a variant and two illegal moves is read; annotated it holds the game, and taking Varn\'s notes off gives it back', async () => {
    let added = 0;
    let lines = 0;
    const refused = [];
    for (const name of Fixtures) {
      for (const [i, text] of (await fixtureGames(name)).entries()) {
        const annotated = await annotateGame(engine, text, { limits: { depth: 4 } });
        if (annotated.error) {
          refused.push(`${name} ${i + 1}: ${annotated.error}`);
          assert.equal(annotated.text, `${text}\n`, 'an unreadable game comes out as it came');
          continue;
        }
        const label = `${name}: ${event(annotated.game)}`;
        assert.deepEqual(readGame(annotated.text), asWritten(annotated.game), label);
        assert.deepEqual(withoutVarn(annotated.game), readGame(text), label);
        added += mainline(annotated.game).filter((node) => node.varn.comments.length).length;
        lines += [annotated.game.root, ...mainline(annotated.game)].filter((node) => node.children.some((child) => child.fromVarn)).length;
      }
    }
    assert.deepEqual(refused, ['edge.pgn 3: a game of the variant Chess960', 'edge.pgn 4: illegal move 2. Ke3', 'collection.pgn 3: illegal move 2. Ke3']);
    assert.ok(added > 100 && lines > 5, `${added} moves got an evaluation, ${lines} a better line`);
  });
});
