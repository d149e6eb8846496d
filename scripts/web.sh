#!/usr/bin/env bash
# Builds the WebAssembly engine (the npm package varn in npm/) and the
# analysis page over it into web/dist/, a folder any static server can serve,
# then serves it locally (cross-origin isolated, so the engine's build with
# threads runs; without those headers the page runs the build without).
# Prints the address.
# Usage: scripts/web.sh [--build-only] [port]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
sudo_if_needed() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

if ! command -v em++ >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1 || [ ! -d /usr/share/nodejs/acorn ]; then
  sudo_if_needed apt-get update -qq
  sudo_if_needed env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq emscripten node-acorn npm >/dev/null
fi
for folder in "$root/npm" "$root/web"; do
  if [ ! -d "$folder/node_modules" ] || [ "$folder/package-lock.json" -nt "$folder/node_modules/.package-lock.json" ]; then
    (cd "$folder" && npm ci --no-audit --no-fund --loglevel=error)
  fi
done
bash "$root/npm/wasm/build.sh"
cd "$root/web"
# The engine's files and the board's pieces, styles and sprites are served
# as they come in their packages.
rm -rf public/engine public/board-assets
mkdir -p public/engine
cp node_modules/varn/engine/varn*.js node_modules/varn/engine/varn*.wasm public/engine/
cp -r node_modules/cm-chessboard/assets public/board-assets
npx vite build --logLevel warn

[ "${1:-}" = "--build-only" ] && exit 0
port="${1:-5173}"
echo "Varn analysis board: http://127.0.0.1:$port/"
exec npx vite preview --host 127.0.0.1 --port "$port" --strictPort
