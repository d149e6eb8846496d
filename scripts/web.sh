#!/usr/bin/env bash
# Builds the WebAssembly engine and the analysis page, then serves the page
# locally, cross-origin isolated as the engine needs. Prints the address.
# Usage: scripts/web.sh [--build-only] [port]
set -euo pipefail
cd "$(dirname "$0")/../web"
sudo_if_needed() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

if ! command -v em++ >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  sudo_if_needed apt-get update -qq
  sudo_if_needed env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq emscripten npm >/dev/null
fi
if [ ! -d node_modules ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
  npm ci --no-audit --no-fund --loglevel=error
fi
bash wasm/build.sh
# The board's pieces, styles and sprites are served as they come in the package.
rm -rf public/board-assets
cp -r node_modules/cm-chessboard/assets public/board-assets
npx vite build --logLevel warn

[ "${1:-}" = "--build-only" ] && exit 0
port="${1:-5173}"
echo "Varn analysis board: http://127.0.0.1:$port/"
exec npx vite preview --host 127.0.0.1 --port "$port" --strictPort
