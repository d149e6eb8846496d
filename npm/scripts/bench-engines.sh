#!/usr/bin/env bash
# varn-annotate's speed with the built-in WebAssembly engine and with a UCI
# engine program (the native varn by default) on the same collection, runs
# alternating in one go, one worker, no confirming search: positions per
# second of wall time and of processor time (the engine program's included)
# of each run, the ratios of their medians, and whether both wrote the same
# annotation. A benchmark, not a test: on a busy machine the processor time
# is the steadier figure.
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
# The program runs under GNU time, which adds its processor time to a file
# when it ends: Node does not count a program its worker left to end alone.
cat > "$work/program" <<WRAPPER
#!/bin/sh
exec /usr/bin/time -f '%U %S' -a -o "$work/native.time" "$program"
WRAPPER
chmod +x "$work/program"

# One run: prints "positions/s of wall time, positions/s of processor time".
run() {
  local name=$1 start end
  shift
  rm -f "$work/$name.time"
  start=$(date +%s.%N)
  /usr/bin/time -f '%U %S' -a -o "$work/$name.time" node "$bin" --jobs 1 --depth "$depth" --confirm-depth 0 "$@" "$collection" > "$work/$name.pgn" 2> "$work/$name.log"
  end=$(date +%s.%N)
  local positions
  positions=$(sed -n 's/.* \([0-9]*\) positions in .*/\1/p' "$work/$name.log" | tail -1)
  awk -v p="$positions" -v w="$(echo "$end - $start" | bc)" -v c="$(awk '{ sum += $1 + $2 } END { print sum }' "$work/$name.time")" 'BEGIN { printf "%.1f %.1f", p / w, p / c }'
}
built_wall=() built_cpu=() native_wall=() native_cpu=()
for round in $(seq "$rounds"); do
  read -r wall cpu <<< "$(run built)"; built_wall+=("$wall"); built_cpu+=("$cpu")
  read -r wall cpu <<< "$(run native --engine "$work/program")"; native_wall+=("$wall"); native_cpu+=("$cpu")
  same=$(cmp -s <(grep -v '^\[Annotator ' "$work/built.pgn") <(grep -v '^\[Annotator ' "$work/native.pgn") && echo "the same annotation" || echo "DIFFERENT annotations")
  echo "round $round: built-in ${built_wall[-1]} positions/s (${built_cpu[-1]} per processor second), program ${native_wall[-1]} (${native_cpu[-1]}); $same"
done
median() { printf '%s\n' "$@" | sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
awk -v a="$(median "${built_wall[@]}")" -v b="$(median "${native_wall[@]}")" -v c="$(median "${built_cpu[@]}")" -v d="$(median "${native_cpu[@]}")" \
  'BEGIN { printf "medians: built-in %s, program %s positions/s (%.2fx); per processor second %s and %s (%.2fx)\n", a, b, b / a, c, d, d / c }'
echo "$(uptime | sed 's/.*load/load/')"
