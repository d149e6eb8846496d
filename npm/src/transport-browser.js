// The engine in a browser: a worker (varn-host.js in the engine folder) runs
// the module, so no command blocks the page. The page must be cross-origin
// isolated for the engine's threads to share memory.
export function openTransport(options, deliver) {
  if (!globalThis.crossOriginIsolated) {
    return Promise.reject(new Error('The page is not cross-origin isolated (it needs the COOP and COEP headers), so the engine cannot share memory with it.'));
  }
  const folder = new URL(options.url || './engine/', globalThis.document?.baseURI ?? globalThis.location.href);
  const worker = new Worker(new URL('varn-host.js', folder.href.endsWith('/') ? folder : `${folder.href}/`));
  return new Promise((resolve, reject) => {
    worker.onerror = (event) => reject(new Error(event.message || 'the engine worker failed to load'));
    worker.onmessage = ({ data }) => {
      if (data.text) deliver(data.text);
      else if (data.error) reject(new Error(data.error));
      else if ('started' in data) {
        if (!data.started) reject(new Error('the engine could not start'));
        resolve({
          send: (line) => worker.postMessage({ line }),
          close: async () => worker.postMessage({ close: true }),
        });
      }
    };
  });
}
