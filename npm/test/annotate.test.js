// varn-annotate as a user runs it: a small collection with known blunders,
// comments, a set-up position and a broken game; an interrupted run resumed;
// two shards run by GNU parallel against one single run.
import { describe, test, before } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, writeFileSync, existsSync, statSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { readGame, splitGames } from '../src/pgn.js';

const bin = fileURLToPath(new URL('../bin/varn-annotate.js', import.meta.url));
const collection = fileURLToPath(new URL('./fixtures/collection.pgn', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'varn-annotate-'));
const depth = ['--depth', '6'];

function annotate(args, input) {
  const run = spawnSync(process.execPath, [bin, ...args], { input, encoding: 'utf8' });
  return { status: run.status, out: run.stdout, err: run.stderr };
}

async function gamesOf(text) {
  const games = [];
  for await (const game of splitGames(text.split('\n'))) games.push(game);
  return games;
}

// A game's text on one line, for matching across its line breaks.
const flat = (game) => game.replace(/\s+/g, ' ');

// Six games of the collection and its quiet game again, for runs long enough to interrupt.
function longerCollection() {
  const file = join(folder, 'longer.pgn');
  const text = readFileSync(collection, 'utf8');
  writeFileSync(file, `${text}\n${text}`);
  return file;
}

// The collection annotated once: its games as written, and each on one line.
let single, texts, games;
before(async () => {
  single = annotate([...depth, '--jobs', '2', collection]);
  texts = await gamesOf(single.out);
  games = texts.map(flat);
});

describe('an annotated collection', () => {
  test('every game comes out in input order, each readable PGN, blunders with ?? ($4), the better line and evaluations from White\'s view', async () => {
    assert.equal(single.status, 0, single.err);
    assert.deepEqual(games.map((g) => /\[Event "([^"]*)"\]/.exec(g)[1]), ["Scholar's trap", "Fool's mate", 'Broken', 'Set up', 'Quiet']);
    for (const game of texts.filter((g) => !g.includes('"Broken"'))) readGame(game);
    // 2. g4 allows mate in one: Black mates. (Black's blunder: the game that starts with Black to move below.)
    assert.match(games[1], /\[WhiteBlunders "1"\].* 2\. g4 \$4 \{ \[%eval #-1\] Checkmate is now unavoidable\. (\S+) was best\. \} \(2\. \1 /);
    // A set-up position is searched from its start; a mate on the board has no evaluation.
    assert.match(games[3], /1\. Ka2 \{ \[%eval #-1\] \} 1\.\.\. Ra8# 0-1/);
  });

  // That nothing of a game is lost is checked over every fixture in pgn.test.js.
  test('--no-comments drops the game\'s comments; a broken game is named and passed through as it came', async () => {
    const quiet = annotate([...depth, '--no-comments', collection]);
    assert.doesNotMatch(quiet.out, /An old trap|Bob missed it/);
    assert.equal(texts[2], '[Event "Broken"]\n[White "Eve"]\n[Black "Fay"]\n[Result "*"]\n\n1. e4 e5 2. Ke3 Nc6 *');
    assert.match(single.err, /game 3 \(.*collection\.pgn\) is not annotated: .*Ke3/);
    const cut = annotate([...depth], '[Event "Cut"]\n\n1. e4 e5 2. Nf');
    assert.deepEqual([cut.status, cut.out.trim()], [0, '[Event "Cut"]\n\n1. e4 e5 2. Nf']);
    assert.match(cut.err, /game 1 \(standard input\) is not annotated/);
  });

  test('bad options are refused with the usage', () => {
    for (const args of [['--shard', '3/2'], ['--jobs', '0'], ['--resume'], ['--depth', '4', '--movetime', '100'], ['--option', 'Hash=1']]) {
      const run = annotate([...args, collection]);
      assert.equal(run.status, 2, args.join(' '));
      assert.match(run.err, /Usage:/);
    }
  });
});

describe('verdicts in words, and other engines', () => {
  const native = process.env.VARN_NATIVE || fileURLToPath(new URL('../../build/varn', import.meta.url));

  test('a blunder by Black in a game that starts with Black to move: charged to Black, in words, with the better line; --hash reaches the engine', async () => {
    const game = '[Event "Back rank"]\n[SetUp "1"]\n[FEN "3r2k1/p4ppp/8/8/8/7P/5PP1/3R2K1 b - - 0 30"]\n\n30... a6 31. Rxd8# 1-0';
    const run = annotate([...depth, '--jobs', '1', '--hash', '5000'], game);
    assert.equal(run.status, 0, run.err);
    // The largest table is held, a larger one clamped with a note.
    assert.match(run.err, /engine: option Hash 5000 is out of range: set to 1024/);
    assert.doesNotMatch(run.err, /reduced|failed/);
    const text = flat(run.out);
    assert.match(text, /30\.\.\. a6 \$4 \{ \[%eval #1\] Checkmate is now unavoidable\. (\S+) was best\. \} \(30\.\.\. \1 /);
    assert.match(text, /\[BlackBlunders "1"\].*\[WhiteBlunders "0"\]|\[WhiteBlunders "0"\].*\[BlackBlunders "1"\]/);
    assert.match(text, /\[WhiteAccuracy "100\.0"\]/);
    assert.doesNotMatch(text, /\[ECO /, 'a set-up position has no opening');
  });

  test('the native varn as --engine gives the built-in engine\'s evaluations and verdicts; an engine that cannot start, or lacks an option, stops the run', { skip: !existsSync(native) && `no native varn at ${native}` }, () => {
    const run = annotate([...depth, '--engine', native, '--option', 'Hash=16', collection]);
    assert.equal(run.status, 0, run.err);
    const own = annotate([...depth, '--hash', '16', collection]);
    const body = (text) => text.replace(/\[Annotator "[^"]*"\]\n/g, '');
    assert.equal(body(run.out), body(own.out));
    assert.match(run.out, /\[Annotator "Varn \S+ \(depth 6, losses confirmed at depth 7\)"\]/);
    const missing = annotate([...depth, '--engine', join(folder, 'no-engine'), collection]);
    const option = annotate([...depth, '--engine', native, '--option', 'Skill=3', collection]);
    assert.deepEqual([missing.status, option.status], [1, 1]);
    assert.match(missing.err, /the engine .*no-engine could not start: .*ENOENT/);
    assert.match(option.err, /has no option "Skill"/);
  });
});

describe('runs that stop and go on', () => {
  test('an interrupt leaves whole games, and --resume finishes the same output, of that input only', async () => {
    const input = longerCollection();
    const whole = annotate([...depth, '--jobs', '1', input]);
    const output = join(folder, 'interrupted.pgn');
    const child = spawn(process.execPath, [bin, ...depth, '--jobs', '1', '-o', output, input], { stdio: 'ignore' });
    while (!existsSync(output) || statSync(output).size < 1500) await new Promise((resolve) => setTimeout(resolve, 20));
    child.kill('SIGINT');
    const code = await new Promise((resolve) => child.on('exit', resolve));
    assert.equal(code, 130);
    const kept = await gamesOf(readFileSync(output, 'utf8'));
    assert.ok(kept.length >= 1 && kept.length < 10, `${kept.length} games kept`);
    for (const game of kept.filter((g) => !g.includes('"Broken"'))) readGame(game);
    // A half-written last game (a crash, a full disk) is cut off and redone.
    writeFileSync(output, `${readFileSync(output, 'utf8')}\n[Event "Half"]\n\n1. e4 {`);
    const resumed = annotate([...depth, '--jobs', '2', '--resume', '-o', output, input]);
    assert.equal(resumed.status, 0, resumed.err);
    assert.match(resumed.err, /resuming after the \d+ games/);
    assert.equal(readFileSync(output, 'utf8'), whole.out);
    // It refuses an output of another input.
    writeFileSync(output, '[Event "Elsewhere"]\n[White "X"]\n[Black "Y"]\n\n1. e4 *\n\n');
    const other = annotate([...depth, '--resume', '-o', output, collection]);
    assert.equal(other.status, 2);
    assert.match(other.err, /does not hold the first games/);
  });
});

describe('shards', () => {
  test('two shards run by GNU parallel hold exactly the games of a single run', { skip: spawnSync('parallel', ['--version']).status !== 0 && 'GNU parallel is not installed' }, async () => {
    const input = longerCollection();
    const whole = annotate([...depth, input]);
    const run = spawnSync('parallel', ['--will-cite', process.execPath, bin, ...depth, '--jobs', '1', '--shard', '{}/2', '-o', join(folder, 'shard{}.pgn'), input, ':::', '1', '2'], { encoding: 'utf8' });
    assert.equal(run.status, 0, run.stderr);
    const shards = [1, 2].map((k) => readFileSync(join(folder, `shard${k}.pgn`), 'utf8'));
    const [first, second] = await Promise.all(shards.map(gamesOf));
    const all = await gamesOf(whole.out);
    // Shard 1 holds games 1, 3, 5, ...; shard 2 games 2, 4, 6, ...
    assert.deepEqual([first, second], [all.filter((_, i) => i % 2 === 0), all.filter((_, i) => i % 2 === 1)]);
  });
});
