#!/usr/bin/env bash
# Prints which engine area includes which (an area is a .h/.cpp pair under
# Native/), lowest areas first, and exits 1 after naming any loop. Then holds
# the search session (session/) and the host (host/) to the library's header:
# only session/rules.cpp may include the engine core's headers.
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

# Outside Native/, a quoted include names another file of the same front end,
# the session (from host/ or npm/wasm/), the library's public header or the
# benchmark set; session/rules.cpp alone reaches into the core.
root=$(cd "$dir/.." && pwd)
crossing=$(grep -n '^#include "' "$root"/session/*.h "$root"/session/*.cpp "$root"/host/*.h "$root"/host/*.cpp \
             "$root"/npm/wasm/*.cpp 2>/dev/null | grep -v '^[^:]*/session/rules\.cpp:' |
           grep -Ev '#include "([a-z_]+\.h|\.\./Native/varn504\.h|\.\./tools/bench_positions\.h|(\.\./)+(session|host)/[a-z_]+\.h)"$' || true)
own=$(for file in "$root"/session/*.h "$root"/session/*.cpp "$root"/host/*.h "$root"/host/*.cpp; do
        [ "$file" = "$root/session/rules.cpp" ] && continue
        sed -n 's/^#include "\([a-z_]*\.h\)"$/\1/p' "$file" | while read -r header; do
          [ -f "$(dirname "$file")/$header" ] || echo "${file#"$root"/} includes $header from the core"
        done
      done)
if [ -n "$crossing$own" ]; then
  echo "includes across the library's boundary:"
  printf '%s\n' "$crossing" "$own" | sed '/^$/d'
  exit 1
fi
