// The engine in Node: the module loaded in this thread from the package's
// engine folder; its searches run on its own worker threads.
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const folder = fileURLToPath(new URL('../engine/', import.meta.url));
// The generated module is CommonJS: the engine folder says so for Node.
const require = createRequire(`${folder}package.json`);

export async function openTransport(options, deliver) {
  const createVarn = require('./varn.js');
  const openVarnUci = require('./varn-uci.js');
  // Emscripten's own loader fetches by URL, which fails on a file path.
  const module = await createVarn({ wasmBinary: readFileSync(`${folder}varn.wasm`), locateFile: (name) => folder + name });
  // Short searches (a review at low depth) end within a few milliseconds:
  // reading every millisecond keeps them from waiting on the poll.
  const uci = openVarnUci(module, deliver, options.pollMs ?? 1);
  if (!uci.start()) {
    uci.close();
    throw new Error('the engine could not start');
  }
  return {
    send: (line) => uci.send(line),
    close: async () => uci.close(),
  };
}
