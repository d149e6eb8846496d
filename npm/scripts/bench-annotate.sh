#!/usr/bin/env bash
# Benchmark of varn-annotate on a collection: positions per second with one
# and with two workers, as worker threads and as child processes, with the
# largest memory a run took and the processor time it used (GNU time, when
# installed). A benchmark, not a test: run it on a quiet machine (uptime
# before and after says how quiet it was).
# Usage: npm/scripts/bench-annotate.sh COLLECTION.pgn [depth] [kinds]
#   depth: per position (default 5); kinds: "thread process" (default both).
set -euo pipefail
bin="$(cd "$(dirname "$0")/.." && pwd)/bin/varn-annotate.js"
collection=${1:?usage: bench-annotate.sh COLLECTION.pgn [depth] [kinds]}
depth=${2:-5}
kinds=${3:-thread process}
timer=()
[ -x /usr/bin/time ] && timer=(/usr/bin/time -f 'max memory %M KB, processor time %U s + %S s')
echo "$(grep -c '^\[Event ' "$collection" || true) games in $collection, depth $depth; $(uptime | sed 's/.*load/load/')"
for kind in $kinds; do
  one=0
  for jobs in 1 2; do
    log=$(mktemp)
    VARN_ANNOTATE_WORKERS=$kind "${timer[@]}" node "$bin" --depth "$depth" --jobs "$jobs" "$collection" 2>"$log" >/dev/null
    rate=$(sed -n 's/.* \([0-9]*\) positions\/s$/\1/p' "$log" | tail -1)
    echo "$kind, $jobs worker(s): $(grep 'varn-annotate: done' "$log" | sed 's/^varn-annotate: //') $(grep 'max memory' "$log" || true)"
    [ "$jobs" = 1 ] && one=$rate
    [ "$jobs" = 2 ] && awk -v a="$one" -v b="$rate" 'BEGIN { printf "%s: two workers give %.2f times the positions per second of one\n", "'"$kind"'", b / a }'
    rm -f "$log"
  done
done
echo "$(uptime | sed 's/.*load/load/')"
