import { defineConfig } from 'vite';

// The engine shares memory with the page, which browsers allow only on a
// cross-origin isolated page: both servers send the two headers for that.
const isolation = {
  'Cross-Origin-Opener-Policy': 'same-origin',
  'Cross-Origin-Embedder-Policy': 'require-corp',
};

export default defineConfig({
  base: './',
  // The package varn is linked from ../npm: one chess.js for both.
  resolve: { dedupe: ['chess.js'] },
  server: { headers: isolation, fs: { allow: ['..'] } },
  preview: { headers: isolation },
  build: { target: 'es2022' },
});
