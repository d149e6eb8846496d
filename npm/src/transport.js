// The engine in its own worker: a Web Worker in browsers, a worker thread in
// Node, running engine/varn-host.js with one of the two builds of the module.
// The build with threads needs memory shared with the worker, which a browser
// allows only on a cross-origin isolated page; elsewhere the build without
// threads runs the same search.
const inNode = Boolean(globalThis.process?.versions?.node);
const defaultFolder = '../engine/';

// True where the build with threads can run.
export function threadsAvailable() {
  return inNode || (globalThis.crossOriginIsolated === true && typeof SharedArrayBuffer === 'function');
}

// Node's Worker, loaded only in Node and hidden from bundlers for browsers.
async function nodeWorker(url, name) {
  const builtin = 'node:worker_threads';
  const { Worker } = await import(/* webpackIgnore: true */ /* @vite-ignore */ builtin);
  const worker = new Worker(url, { name });
  return {
    post: (message) => worker.postMessage(message),
    listen: (onMessage, onFailure) => {
      worker.on('message', onMessage);
      worker.on('error', (error) => onFailure(error.message));
      worker.on('exit', (code) => onFailure(`the engine's worker thread ended (exit code ${code})`));
    },
    end: () => worker.terminate(),
  };
}

function browserWorker(url, name) {
  const worker = new Worker(url, { name });
  return {
    post: (message) => worker.postMessage(message),
    listen: (onMessage, onFailure) => {
      worker.onmessage = ({ data }) => onMessage(data);
      worker.onerror = (event) => {
        event.preventDefault();
        onFailure(event.message || `the engine's worker could not run ${url}`);
      };
    },
    end: async () => worker.terminate(),
  };
}

// Starts the engine's worker. options: url (the folder with the engine files;
// default the package's own engine folder), threads (default: where
// available). deliver(text) gets the engine's output, onFailure(error)
// a failure after the start. Resolves with { send, close, threads }.
export async function openTransport(options, deliver, onFailure) {
  const threads = options.threads ?? threadsAvailable();
  if (threads && !threadsAvailable()) {
    throw new Error('The page is not cross-origin isolated (it needs the COOP and COEP headers), so the engine cannot run with threads there: leave out threads: true.');
  }
  // Node takes a file URL or an absolute path.
  const base = globalThis.document?.baseURI ?? globalThis.location?.href ?? 'file:///';
  const folder = options.url ? new URL(options.url, base) : new URL(defaultFolder, import.meta.url);
  const host = new URL('varn-host.js', folder.href.endsWith('/') ? folder : `${folder.href}/`);
  const worker = inNode ? await nodeWorker(host, 'varn') : browserWorker(host, 'varn');
  let open = null;
  let closing = false;
  return new Promise((resolve, reject) => {
    const failed = (reason) => {
      if (closing) return;
      closing = true;
      worker.end();
      const error = new Error(reason);
      if (open) onFailure(error);
      else reject(error);
    };
    worker.listen((data) => {
      if (data.text) deliver(data.text);
      else if (data.failed) failed(data.failed);
      else if (data.started) {
        open = {
          threads: data.threads,
          send: (line) => worker.post({ line }),
          close: async () => {
            closing = true;
            await worker.end();
          },
        };
        resolve(open);
      }
    }, failed);
    worker.post({ start: { threads } });
  });
}
