#!/usr/bin/env bash
# Compares the search speed of two or more varn-bench binaries on a shared,
# noisy machine: runs them alternately, several rounds, and times each
# benchmark position by processor seconds (its nodes divided by its nodes per
# second). A binary's time is the sum over the positions of each position's
# median (and, less disturbed still, fastest) round; speeds are given relative
# to the first binary, with the median of the whole runs' nodes per second.
# Every binary must report the same signature.
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

positions=$(mktemp) runs=$(mktemp)
trap 'rm -f "$positions" "$runs"' EXIT
for ((round = 1; round <= rounds; ++round)); do
  for ((i = 1; i <= $#; ++i)); do
    output=$("${pin[@]}" "${!i}" "$depth")
    # Position lines: number, move, line nodes, nodes, seconds, "s", nps, "nps", FEN.
    awk -v i="$i" '$1 ~ /^[0-9]+$/ && $8 == "nps" && $7 > 0 {print i, $1, $4 / $7}' <<<"$output" >>"$positions"
    awk -v i="$i" '/^signature/ {s = $2} /^nps/ {n = $2} END {print i, s, n}' <<<"$output" >>"$runs"
  done
done

# Per binary: the summed per-position medians and minima, then the median run nps.
sort -k1,1n -k2,2n -k3,3g "$positions" | awk '
  function close_group() { if (n) { median[bin] += n % 2 ? v[(n + 1) / 2] : (v[n / 2] + v[n / 2 + 1]) / 2; least[bin] += v[1] } }
  $1 != bin || $2 != position { close_group(); bin = $1; position = $2; n = 0 }
  { v[++n] = $3 }
  END { close_group(); for (b in median) print b, median[b], least[b] }' | sort -k1,1n >"$positions.sum"
sort -k1,1n -k3,3n "$runs" | awk '
  $1 != bin { if (n) print bin, signature, n % 2 ? v[(n + 1) / 2] : (v[n / 2] + v[n / 2 + 1]) / 2; bin = $1; n = 0 }
  { signature = $2; v[++n] = $3 }
  END { print bin, signature, n % 2 ? v[(n + 1) / 2] : (v[n / 2] + v[n / 2 + 1]) / 2 }' >"$runs.sum"

status=0
printf "%-36s %10s %12s %10s %10s %8s %8s\n" binary signature "median nps" "median s" "fastest s" speed "(fastest)"
join "$runs.sum" "$positions.sum" | awk -v names="$*" '
  BEGIN { split(names, name, " ") }
  NR == 1 { signature = $2; baseMedian = $4; baseLeast = $5 }
  { if ($2 != signature) differ = 1
    printf "%-36s %10s %12.0f %10.3f %10.3f %8.3f %8.3f\n", name[$1], $2, $3, $4, $5, baseMedian / $4, baseLeast / $5 }
  END { exit differ }' || status=1
rm -f "$positions.sum" "$runs.sum"
if [ "$status" -ne 0 ]; then echo "signatures differ: the binaries do not search alike" >&2; fi
exit "$status"
