// A UCI engine program (the native varn, Stockfish, ...) behind the same
// VarnEngine interface as the built-in engine: the same commands and answers,
// over the program's standard input and output.
import { spawn } from 'node:child_process';
import { VarnEngine } from '../engine.js';

// How long a program has to answer "uci" before it is taken for no UCI engine.
const StartMs = 15000;

// Starts the program at path; options: hash (MB) and settings, [name, value]
// pairs set before any search. Resolves with the engine, whose `failed`
// promise rejects if the program ends while in use.
export async function startProgram(path, { hash, settings = [] } = {}) {
  let child = null;
  let fail;
  const failed = new Promise((_, reject) => { fail = reject; });
  failed.catch(() => {});
  const openTransport = (_, deliver, onFailure) => new Promise((resolve, reject) => {
    child = spawn(path, [], { stdio: ['pipe', 'pipe', 'ignore'] });
    child.once('error', (error) => reject(new Error(`the engine ${path} could not start: ${error.message}`)));
    child.stdin.on('error', () => {});
    child.once('exit', (code, signal) => {
      const error = new Error(`the engine ${path} ended (${signal ?? `exit code ${code}`})`);
      fail(error);
      // Pending calls reject with it, as with the built-in engine.
      onFailure(error);
    });
    // The engine reads whole lines only: a chunk may end inside one.
    let rest = '';
    child.stdout.setEncoding('utf8');
    child.stdout.on('data', (text) => {
      rest += text;
      const end = rest.lastIndexOf('\n');
      if (end < 0) return;
      deliver(rest.slice(0, end).replace(/\r/g, ''));
      rest = rest.slice(end + 1);
    });
    child.once('spawn', () => resolve({
      send: (line) => child.stdin.write(`${line}\n`),
      close: () => new Promise((done) => {
        if (child.exitCode !== null || child.signalCode !== null) return done();
        const timer = setTimeout(() => child.kill('SIGKILL'), 2000);
        child.once('exit', () => { clearTimeout(timer); done(); });
        child.stdin.end();
      }),
    }));
  });
  let timer;
  const late = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`the engine ${path} did not answer "uci" within ${StartMs / 1000} s`)), StartMs);
  });
  let engine;
  try {
    engine = await Promise.race([VarnEngine.start({ openTransport, hash }), failed, late]);
    for (const [name, value] of settings) {
      if (!engine.options.has(name)) throw new Error(`the engine ${engine.name || path} has no option "${name}"`);
      await Promise.race([engine.setOption(name, value), failed]);
    }
  } catch (error) {
    child?.kill('SIGKILL');
    throw error;
  } finally {
    clearTimeout(timer);
  }
  engine.failed = failed;
  return engine;
}
