#!/usr/bin/env bash
# varn-annotate's speed with the built-in WebAssembly engine and with a UCI
# engine program (the native varn by default) on the same collection, runs
# alternating in one go, one worker, no confirming search: positions per
# second of each run and their ratio, and whether both wrote the same
# evaluations. A benchmark, not a test: the ratio of medians is what counts
# on a busy machine.
# Usage: npm/scripts/bench-engines.sh COLLECTION.pgn [depth] [rounds] [PROGRAM]
#   defaults: depth 8, 3 rounds, build/varn of the repository.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin="$here/../bin/varn-annotate.js"
collection=${1:?usage: bench-engines.sh COLLECTION.pgn [depth] [rounds] [PROGRAM]}
depth=${2:-8}
rounds=${3:-3}
program=${4:-$here/../../build/varn}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "$(grep -c '^\[Event ' "$collection") games in $collection, depth $depth, $program; $(uptime | sed 's/.*load/load/')"
rate() { sed -n 's/.* \([0-9]*\) positions\/s$/\1/p' "$1" | tail -1; }
built=() native=()
for round in $(seq "$rounds"); do
  node "$bin" --jobs 1 --depth "$depth" --confirm-depth 0 "$collection" > "$work/built.pgn" 2> "$work/built.log"
  node "$bin" --jobs 1 --depth "$depth" --confirm-depth 0 --engine "$program" "$collection" > "$work/native.pgn" 2> "$work/native.log"
  built+=("$(rate "$work/built.log")")
  native+=("$(rate "$work/native.log")")
  same=$(cmp -s <(grep -v '^\[Annotator ' "$work/built.pgn") <(grep -v '^\[Annotator ' "$work/native.pgn") && echo "the same annotation" || echo "DIFFERENT annotations")
  echo "round $round: built-in ${built[-1]} positions/s, $program ${native[-1]} positions/s; $same"
done
median() { printf '%s\n' "$@" | sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
awk -v a="$(median "${built[@]}")" -v b="$(median "${native[@]}")" 'BEGIN { printf "medians: built-in %s, program %s positions/s: the program is %.2f times as fast\n", a, b, b / a }'
echo "$(uptime | sed 's/.*load/load/')"
