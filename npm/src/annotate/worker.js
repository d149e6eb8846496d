// An annotation worker: its own engine, one game at a time. Runs as a worker
// thread or as a child process; messages in: { options } first, then
// { seq, text }; out: { note } with the engine's notes at its start,
// { ready }, { position } after each position searched, and
// { seq, text, positions, error } for each game.
import { parentPort } from 'node:worker_threads';
import { VarnEngine } from '../engine.js';
import { annotateGame } from './annotate.js';
import { startProgram } from './program.js';

const port = parentPort
  ? { on: (handle) => parentPort.on('message', handle), send: (message) => parentPort.postMessage(message) }
  : { on: (handle) => process.on('message', handle), send: (message) => process.send(message) };
// An interrupt is the parent's to handle: it ends the workers itself.
if (!parentPort) process.on('SIGINT', () => {});

let engine = null;
let options = null;
let queue = Promise.resolve();

port.on((message) => {
  queue = queue.then(async () => {
    if (message.options) {
      options = message.options;
      try {
        // The engine's notes at its start (a Hash clamped or reduced) go to the user.
        engine = options.engine
          ? await startProgram(options.engine, { hash: options.hash, settings: options.settings })
          : await VarnEngine.start({ hash: options.hash, onMessage: (note) => port.send({ note }) });
        engine.onMessage = null;
      } catch (error) {
        port.send({ failed: error.message });
        return;
      }
      port.send({ ready: true });
    } else if (message.quit) {
      await engine?.quit();
      if (!parentPort) process.disconnect();
    } else {
      const annotating = annotateGame(engine, message.text, options, () => port.send({ position: true }));
      // An engine program that ends mid-game fails the run instead of leaving it waiting.
      const { text, positions, error } = await (engine.failed ? Promise.race([annotating, engine.failed]) : annotating);
      port.send({ seq: message.seq, text, positions, error });
    }
  }).catch((error) => port.send({ failed: String(error?.stack || error) }));
});
