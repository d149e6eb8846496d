// varn-annotate: PGN collections in, annotated PGN out, one engine per
// worker and the games written in input order as they are done.
import { createReadStream, existsSync, closeSync, ftruncateSync, openSync, readSync, fstatSync, writeSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { parseArgs } from 'node:util';
import { fork } from 'node:child_process';
import { Worker } from 'node:worker_threads';
import { fileURLToPath } from 'node:url';
import { readLines, splitGames, TagLine, Termination } from '../pgn.js';
import { confirmLimits } from '../review.js';
import { readOpenings } from '../openings.js';
import { Progress } from './progress.js';

// Where Debian's pgn-extract package puts its opening classification.
const DefaultOpenings = '/usr/share/pgn-extract/eco.pgn';

const Usage = `Usage: varn-annotate [options] [file.pgn ...]   (no file or "-": standard input)
Writes each game with [%eval] comments, ?!/?/?? as $6/$2/$4 with the verdict
in words and the better line, each side's accuracy and counts in its tags,
and the opening's ECO code and name when the game has none.
  -o, --output FILE   write to FILE instead of standard output
  --depth N           search each position to depth N (default 8)
  --movetime MS       search each position for MS milliseconds instead
  --confirm-depth N   search again to depth N around each mistake or blunder
                      before marking it (default: depth + 1; with --movetime,
                      three times the time; 0: no second search)
  --engine PATH       annotate with the UCI engine program PATH instead of
                      the built-in engine
  --option NAME=VALUE set an option of that engine (repeatable)
  --openings FILE     name openings from FILE, ECO classifications in PGN
                      (default: ${DefaultOpenings} when it exists)
  --jobs N            engines working at once (default: one per core)
  --shard K/N         only every N-th game, starting with the K-th
  --resume            skip the games FILE already holds and append the rest
  --no-comments       leave out the games' own comments
  --hash MB           each engine's table (default 32)
  -h, --help          this text`;

const WorkerFile = fileURLToPath(new URL('./worker.js', import.meta.url));

function fail(text) {
  const error = new Error(text);
  error.usage = true;
  throw error;
}

function whole(text, name, least) {
  const value = Number(text);
  if (!Number.isInteger(value) || value < least) fail(`${name} needs a whole number of at least ${least}, not "${text}"`);
  return value;
}

function readOptions(argv) {
  const { values, positionals } = parseArgs({
    args: argv,
    allowPositionals: true,
    options: {
      output: { type: 'string', short: 'o' },
      depth: { type: 'string' },
      movetime: { type: 'string' },
      jobs: { type: 'string' },
      shard: { type: 'string' },
      resume: { type: 'boolean' },
      'no-comments': { type: 'boolean' },
      hash: { type: 'string' },
      'confirm-depth': { type: 'string' },
      engine: { type: 'string' },
      option: { type: 'string', multiple: true },
      openings: { type: 'string' },
      help: { type: 'boolean', short: 'h' },
    },
  });
  const options = {
    help: Boolean(values.help),
    files: positionals.length ? positionals : ['-'],
    output: values.output ?? null,
    jobs: values.jobs === undefined ? availableParallelism() : whole(values.jobs, '--jobs', 1),
    resume: Boolean(values.resume),
    keepComments: !values['no-comments'],
    hash: values.hash === undefined ? undefined : whole(values.hash, '--hash', 1),
    shard: { index: 0, count: 1 },
    limits: values.movetime !== undefined ? { movetime: whole(values.movetime, '--movetime', 1) } : { depth: values.depth === undefined ? 8 : whole(values.depth, '--depth', 1) },
    engine: values.engine ?? null,
    settings: (values.option ?? []).map((text) => {
      const at = text.indexOf('=');
      if (at < 1) fail(`--option needs NAME=VALUE, not "${text}"`);
      return [text.slice(0, at).trim(), text.slice(at + 1).trim()];
    }),
    openings: values.openings ?? (existsSync(DefaultOpenings) ? DefaultOpenings : null),
  };
  options.confirm = confirmLimits(options.limits);
  if (values['confirm-depth'] !== undefined) {
    const depth = whole(values['confirm-depth'], '--confirm-depth', 0);
    options.confirm = depth ? { depth } : null;
  }
  if (options.settings.length && !options.engine) fail('--option sets an option of the engine given with --engine');
  if (values.movetime !== undefined && values.depth !== undefined) fail('give --depth or --movetime, not both');
  if (values.shard !== undefined) {
    const match = /^(\d+)\/(\d+)$/.exec(values.shard);
    if (!match || Number(match[1]) < 1 || Number(match[1]) > Number(match[2])) fail(`--shard needs K/N with 1 <= K <= N, not "${values.shard}"`);
    options.shard = { index: Number(match[1]) - 1, count: Number(match[2]) };
  }
  if (options.resume && !options.output) fail('--resume needs --output: the file to go on with');
  return options;
}

// The games of the input files in order, numbered from 1 across them.
async function* inputGames(files) {
  let number = 0;
  for (const file of files) {
    const stream = file === '-' ? process.stdin : createReadStream(file);
    for await (const text of splitGames(readLines(stream))) {
      number += 1;
      yield { number, file: file === '-' ? 'standard input' : file, text };
    }
  }
}

// The games this run annotates: its shard, less the first `skip` of them.
async function* selectedGames(files, shard, skip = 0) {
  let seq = 0;
  for await (const game of inputGames(files)) {
    if ((game.number - 1) % shard.count !== shard.index) continue;
    if (seq >= skip) yield { ...game, seq: seq - skip };
    seq += 1;
  }
}

async function countGames(files, shard, skip) {
  let count = 0;
  for await (const _game of selectedGames(files, shard, skip)) count += 1;
  return count;
}

// What an existing output holds: the number of whole games, and where the
// file must be cut to drop a game left half written.
async function resumePoint(file) {
  if (!existsSync(file)) return { games: 0, cut: null, last: null };
  let games = 0;
  let last = null;
  for await (const text of splitGames(readLines(createReadStream(file)))) {
    games += 1;
    last = text;
  }
  if (last === null || Termination.test(last)) return { games, cut: null, last };
  // The half-written game is the file's tail: cut where its text begins.
  const fd = openSync(file, 'r');
  const size = fstatSync(fd).size;
  const tail = Buffer.alloc(Math.min(size, Buffer.byteLength(last) + 4096));
  readSync(fd, tail, 0, tail.length, size - tail.length);
  closeSync(fd);
  let end = tail.lastIndexOf(Buffer.from(last));
  while (end > 0 && /\s/.test(String.fromCharCode(tail[end - 1]))) end -= 1;
  const cut = size - tail.length + end;
  return { games: games - 1, cut, last: null };
}

// The values of a game's tags that identify it.
function identity(text) {
  const tags = {};
  for (const line of text.split('\n')) {
    const tag = TagLine.exec(line.trim());
    if (tag) tags[tag[1]] = tag[2];
  }
  return ['Event', 'Round', 'White', 'Black'].map((name) => tags[name] ?? '').join('|');
}

// One worker with its own engine; onNote(text) gets the engine's notes.
async function startWorker(kind, options, onPosition, onNote) {
  const child = kind === 'process'
    ? fork(WorkerFile, [], { stdio: ['ignore', 'ignore', 'inherit', 'ipc'] })
    : new Worker(WorkerFile);
  const send = (message) => (kind === 'process' ? child.send(message) : child.postMessage(message));
  let answer = null;
  child.on('message', (message) => {
    if (message.position) onPosition();
    else if (message.note) onNote(message.note);
    else if (message.failed) answer?.reject(new Error(`a worker failed: ${message.failed}`));
    else answer?.resolve(message);
  });
  child.on('exit', (code) => answer?.reject(new Error(`a worker ended (exit code ${code})`)));
  const ask = (message) => new Promise((resolve, reject) => {
    answer = { resolve, reject };
    send(message);
  });
  const end = () => {
    answer = null;
    child.removeAllListeners('exit');
    if (kind === 'process') child.kill('SIGKILL');
    else child.terminate();
  };
  const { limits, confirm, keepComments, hash, engine, settings, openings } = options;
  try {
    await ask({ options: { limits, confirm, keepComments, hash, engine, settings, openings } });
  } catch (error) {
    end();
    throw error;
  }
  return { annotate: (seq, text) => ask({ seq, text }), end };
}

// The output: a file (appended to when resuming) or standard output.
function openOutput(options, cut) {
  if (!options.output) return { write: (text) => process.stdout.write(text), close: () => {} };
  const fd = openSync(options.output, options.resume && existsSync(options.output) ? 'r+' : 'w');
  if (cut !== null) ftruncateSync(fd, cut);
  let at = fstatSync(fd).size;
  // Games are parted by a blank line, also from those a cut left.
  if (cut) {
    writeSync(fd, '\n\n', at);
    at += 2;
  }
  return {
    write: (text) => {
      const bytes = Buffer.from(text);
      writeSync(fd, bytes, 0, bytes.length, at);
      at += bytes.length;
    },
    close: () => closeSync(fd),
  };
}

export async function main(argv, { stderr = process.stderr, workerKind = process.env.VARN_ANNOTATE_WORKERS || 'thread' } = {}) {
  let options;
  try {
    options = readOptions(argv);
  } catch (error) {
    stderr.write(`varn-annotate: ${error.message}\n${Usage}\n`);
    return 2;
  }
  if (options.help) {
    process.stdout.write(`${Usage}\n`);
    return 0;
  }
  for (const file of [...options.files, options.openings ?? '-']) {
    if (file !== '-' && !existsSync(file)) {
      stderr.write(`varn-annotate: no such file: ${file}\n`);
      return 2;
    }
  }
  if (options.openings) options.openings = await readOpenings(readLines(createReadStream(options.openings)));
  const progress = new Progress(stderr);
  let skip = 0;
  let cut = null;
  if (options.resume) {
    const point = await resumePoint(options.output);
    ({ games: skip, cut } = point);
    if (point.last) {
      // The last game kept must be the input's game at that place.
      let expected = null;
      for await (const game of selectedGames(options.files, options.shard)) {
        if (game.seq === skip - 1) {
          expected = game.text;
          break;
        }
      }
      if (expected === null || identity(expected) !== identity(point.last)) {
        stderr.write(`varn-annotate: ${options.output} does not hold the first games of this input (and shard): not resuming\n`);
        return 2;
      }
    }
    if (skip) progress.say(`resuming after the ${skip} games ${options.output} holds`);
  }
  if (!options.files.includes('-')) {
    countGames(options.files, options.shard, skip).then((count) => { progress.total = count; }, () => {});
  }

  const output = openOutput(options, cut);
  const workers = [];
  const results = new Map();
  let written = 0;
  let broken = 0;
  let stopping = false;
  let waiting = []; // workers held back until the games before theirs are written
  const ahead = Math.max(4, options.jobs * 4);

  const interrupt = (signal) => {
    if (stopping) return;
    stopping = true;
    for (const worker of workers) worker.end();
    progress.finish(`interrupted (${signal}); ${options.output ?? 'the output'} holds whole games only, --resume goes on`);
    process.exit(130);
  };
  process.on('SIGINT', interrupt);
  process.on('SIGTERM', interrupt);

  const flush = () => {
    while (results.has(written)) {
      const result = results.get(written);
      results.delete(written);
      if (result.error) {
        broken += 1;
        progress.say(`game ${result.number} (${result.file}) is not annotated: ${result.error}`);
      }
      output.write(`${result.text}\n`);
      written += 1;
      progress.gameDone();
    }
    for (const resume of waiting.splice(0)) resume();
  };

  const games = selectedGames(options.files, options.shard, skip);
  const feed = async (worker) => {
    for (;;) {
      const { value: game, done } = await games.next();
      if (done || stopping) return;
      while (game.seq - written >= ahead && !stopping) await new Promise((resolve) => waiting.push(resolve));
      const result = await worker.annotate(game.seq, game.text);
      results.set(game.seq, { ...result, number: game.number, file: game.file });
      flush();
    }
  };

  try {
    // Every worker's engine says the same of the options: each note once.
    const notes = new Set();
    const onNote = (note) => {
      if (notes.has(note)) return;
      notes.add(note);
      progress.say(`engine: ${note}`);
    };
    for (let i = 0; i < options.jobs; i += 1) workers.push(await startWorker(workerKind, options, () => progress.positionDone(), onNote));
    await Promise.all(workers.map(feed));
  } catch (error) {
    if (stopping) return 130;
    stderr.write(`varn-annotate: ${error.message}\n`);
    return 1;
  } finally {
    for (const worker of workers) worker.end();
    output.close();
    process.off('SIGINT', interrupt);
    process.off('SIGTERM', interrupt);
  }
  progress.finish(broken ? `done, ${broken} not annotated` : 'done');
  return 0;
}
