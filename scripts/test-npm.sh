#!/usr/bin/env bash
# The npm package varn (npm/): its tests, the annotator's included (two shards
# run through GNU parallel), then `npm pack` and an install of the packed
# file into a new `npm init` project, where the README's Node example and
# varn-annotate run and the README's examples type-check under
# `tsc --strict`. Installs what it needs (Debian's emscripten, node-acorn,
# npm and parallel; chess.js and typescript from npm).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
sudo_if_needed() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

missing=()
command -v em++ >/dev/null 2>&1 || missing+=(emscripten)
[ -d /usr/share/nodejs/acorn ] || missing+=(node-acorn)
command -v npm >/dev/null 2>&1 || missing+=(nodejs npm)
command -v parallel >/dev/null 2>&1 || missing+=(parallel)
if [ ${#missing[@]} -gt 0 ]; then
  sudo_if_needed apt-get update -qq
  sudo_if_needed env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi

cd "$root/npm"
if [ ! -d node_modules ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
  npm ci --no-audit --no-fund --loglevel=error
fi
bash wasm/build.sh >/dev/null
node --test --test-concurrency=1 test/

# The packed package, installed where nothing else is.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tarball=$(npm pack --silent --pack-destination "$work" | tail -1)
echo "packed: $tarball ($(du -k "$work/$tarball" | cut -f1) KB)"
mkdir "$work/app"
cd "$work/app"
npm init -y >/dev/null
npm install --no-audit --no-fund --loglevel=error "../$tarball"
npm install --no-audit --no-fund --loglevel=error --save-dev typescript
# The README's Node example, exactly as written there.
awk '/^## Node/ { section = 1 } section && /^```js/ { code = 1; next } code && /^```/ { exit } code' "$root/npm/README.md" > example.mjs
node example.mjs
# Both examples against the package's declarations (the browser's is its module script).
awk '/^## Browser/ { section = 1 } section && /<script type="module">/ { code = 1; next } code && /<\/script>/ { exit } code' "$root/npm/README.md" > page.mjs
npx tsc --strict --noEmit --allowJs --checkJs --module nodenext --moduleResolution nodenext --target es2022 --lib es2022,dom example.mjs page.mjs
printf '[Event "Check"]\n\n1. f3 e5 2. g4 Qh4# 0-1\n' | npx varn-annotate --depth 5 --jobs 1 > annotated.pgn
tr '\n' ' ' < annotated.pgn | grep -q '2. g4 \$4 { \[%eval #-1\] Checkmate is now unavoidable' || { echo "varn-annotate from the package wrote:"; cat annotated.pgn; exit 1; }
echo "package check passed: the packed varn installs, runs the README's Node example and varn-annotate, and its examples type-check"
