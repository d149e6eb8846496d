#!/usr/bin/env bash
# Prints which engine area includes which (an area is a .h/.cpp pair under
# Native/), lowest areas first, and exits 1 after naming any loop.
#   scripts/includes.sh [source directory, default Native]
set -euo pipefail
dir=${1:-"$(dirname "$0")/../Native"}
edges=$(for file in "$dir"/*.h "$dir"/*.cpp; do
  area=$(basename "${file%.*}")
  sed -n 's/^#include "\([^"]*\)\.h"$/\1/p' "$file" | awk -v a="$area" '$1 != a { print a, $1 }'
done | sort -u)
# tsort lists each area before the ones it includes; reversed, lowest first.
loops=$(mktemp)
order=$( (echo "$edges" | tsort 2>"$loops" || true) | tac)
for area in $order; do
  printf '%-10s -> %s\n' "$area" "$(echo "$edges" | awk -v a="$area" '$1 == a { printf "%s ", $2 }')"
done
if [ -s "$loops" ]; then
  echo "loops (areas that include each other, directly or through others):"
  awk '/input contains a loop/ { if (line) print line; line = " " ; next } { line = line " " $2 } END { print line }' "$loops"
  rm -f "$loops"
  exit 1
fi
rm -f "$loops"
