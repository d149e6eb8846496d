#!/usr/bin/env bash
# How far varn-annotate's ?? marks agree with a stronger engine's: the
# collection annotated by the reference engine (Stockfish by default) at
# depth 12 without a confirming search, then by the built-in engine at its
# default settings and without confirmation; the precision and recall of the
# built-in engine's ?? against the reference's, and the time each run took.
# A measurement, not a test.
# Usage: npm/scripts/verdicts.sh [COLLECTION.pgn] [REFERENCE-ENGINE] [JOBS]
#   default: the 50 Stockfish self-play games of npm/scripts/data/,
#   /usr/games/stockfish, 2 jobs. Keeps its files in $VERDICTS_DIR (default a
#   new temporary folder); a reference already there is used again.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin="$here/../bin/varn-annotate.js"
collection=${1:-$here/data/stockfish-selfplay.pgn}
reference=${2:-/usr/games/stockfish}
jobs=${3:-2}
dir=${VERDICTS_DIR:-$(mktemp -d)}
mkdir -p "$dir"
echo "$(grep -c '^\[Event ' "$collection") games in $collection; $(uptime | sed 's/.*load/load/')"

run() { # name, then varn-annotate's options
  local name=$1 start
  shift
  start=$(date +%s)
  node "$bin" --jobs "$jobs" "$@" "$collection" > "$dir/$name.pgn" 2>/dev/null
  echo "$name: $(($(date +%s) - start)) s ($*)"
}
if [ ! -s "$dir/reference.pgn" ]; then run reference --engine "$reference" --depth 12 --confirm-depth 0; fi
run default
run unconfirmed --confirm-depth 0
for name in default unconfirmed; do node "$here/compare-verdicts.mjs" "$dir/reference.pgn" "$dir/$name.pgn"; done
echo "files in $dir; $(uptime | sed 's/.*load/load/')"
