#!/usr/bin/env bash
# Compares the search speed of two or more varn-bench binaries on a shared,
# noisy machine: runs them alternately, several rounds, and prints for each
# the median and best nodes per second of processor time and their ratios to
# the first. Every binary must report the same signature.
#
# Usage: scripts/compare-speed.sh [-r rounds] [-d depth] [-c cpu] bench1 bench2 ...
#   rounds 5, depth 8 by default; -c pins every run to one processor.
set -euo pipefail
rounds=5 depth=8 cpu=
while getopts "r:d:c:" option; do
  case $option in
    r) rounds=$OPTARG ;;
    d) depth=$OPTARG ;;
    c) cpu=$OPTARG ;;
    *) exit 2 ;;
  esac
done
shift $((OPTIND - 1))
if [ $# -lt 2 ]; then
  echo "usage: $0 [-r rounds] [-d depth] [-c cpu] bench1 bench2 ..." >&2
  exit 2
fi
pin=()
if [ -n "$cpu" ]; then pin=(taskset -c "$cpu"); fi

results=$(mktemp)
trap 'rm -f "$results"' EXIT
for ((round = 1; round <= rounds; ++round)); do
  for ((i = 1; i <= $#; ++i)); do
    output=$("${pin[@]}" "${!i}" "$depth")
    signature=$(awk '/^signature/ {print $2}' <<<"$output")
    nps=$(awk '/^nps/ {print $2}' <<<"$output")
    echo "$i $signature $nps" >>"$results"
  done
done

awk -v names="$*" '
  BEGIN { count = split(names, name, " ") }
  { n[$1]++; value[$1, n[$1]] = $3; signature[$1] = $2 }
  END {
    for (b = 1; b <= count; ++b) {
      # Insertion sort of this binary'"'"'s runs, for the median and the best.
      for (i = 1; i <= n[b]; ++i) sorted[i] = value[b, i]
      for (i = 2; i <= n[b]; ++i)
        for (j = i; j > 1 && sorted[j - 1] > sorted[j]; --j) { t = sorted[j]; sorted[j] = sorted[j - 1]; sorted[j - 1] = t }
      m = n[b] % 2 ? sorted[(n[b] + 1) / 2] : (sorted[n[b] / 2] + sorted[n[b] / 2 + 1]) / 2
      median[b] = m; best[b] = sorted[n[b]]
      if (signature[b] != signature[1]) mismatch = 1
    }
    printf "%-40s %10s %12s %12s %8s %8s\n", "binary", "signature", "median nps", "best nps", "median", "best"
    for (b = 1; b <= count; ++b)
      printf "%-40s %10s %12.0f %12.0f %8.3f %8.3f\n", name[b], signature[b], median[b], best[b],
             median[b] / median[1], best[b] / best[1]
    if (mismatch) { print "signatures differ: the binaries do not search alike" > "/dev/stderr"; exit 1 }
  }' "$results"
