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

# Median and best of one binary's runs, from its sorted speeds.
summary() {
  awk -v i="$1" '$1 == i {print $3}' "$results" | sort -n |
    awk '{v[NR] = $1} END {printf "%.1f %s\n", (NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2), v[NR]}'
}

read -r baseMedian baseBest < <(summary 1)
baseSignature=$(awk '$1 == 1 {print $2; exit}' "$results")
status=0
printf "%-40s %10s %12s %12s %8s %8s\n" binary signature "median nps" "best nps" median best
for ((i = 1; i <= $#; ++i)); do
  read -r median best < <(summary "$i")
  signature=$(awk -v i="$i" '$1 == i {print $2; exit}' "$results")
  [ "$signature" = "$baseSignature" ] || status=1
  awk -v n="${!i}" -v s="$signature" -v m="$median" -v b="$best" -v bm="$baseMedian" -v bb="$baseBest" \
    'BEGIN {printf "%-40s %10s %12.0f %12.0f %8.3f %8.3f\n", n, s, m, b, m / bm, b / bb}'
done
if [ "$status" -ne 0 ]; then echo "signatures differ: the binaries do not search alike" >&2; fi
exit "$status"
