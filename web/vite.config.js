import { defineConfig } from 'vite';

// Both servers send the two headers that make the page cross-origin
// isolated, so the engine's build with threads runs there; a server without
// them gets the build without threads.
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
