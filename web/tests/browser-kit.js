// What the browser tests and the benchmark share: Chromium's flags, and a
// plain static file server.
import { createServer } from 'node:http';
import { readFile } from 'node:fs/promises';
import { extname, join, normalize } from 'node:path';

const types = {
  '.html': 'text/html', '.js': 'text/javascript', '.mjs': 'text/javascript', '.css': 'text/css',
  '.wasm': 'application/wasm', '.json': 'application/json', '.svg': 'image/svg+xml', '.png': 'image/png',
};

export const chromiumArgs = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

// The two headers that make a page cross-origin isolated (threads need them).
export const isolationHeaders = { 'Cross-Origin-Opener-Policy': 'same-origin', 'Cross-Origin-Embedder-Policy': 'require-corp' };

// Serves root's files as they are, with or without those headers. Resolves with { url, close }.
export function serve(root, { isolated = false } = {}) {
  const server = createServer(async (request, response) => {
    const path = normalize(decodeURIComponent(new URL(request.url, 'http://host').pathname));
    const file = join(root, path.endsWith('/') ? `${path}index.html` : path);
    const headers = { 'Content-Type': types[extname(file)] || 'application/octet-stream' };
    if (isolated) Object.assign(headers, isolationHeaders);
    try {
      const body = await readFile(file);
      response.writeHead(200, headers).end(body);
    } catch {
      response.writeHead(404).end();
    }
  });
  return new Promise((resolve) => {
    server.listen(0, '127.0.0.1', () => resolve({
      url: `http://127.0.0.1:${server.address().port}/`,
      close: () => new Promise((done) => { server.closeAllConnections(); server.close(done); }),
    }));
  });
}
