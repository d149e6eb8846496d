#!/usr/bin/env bash
# Compiles the engine sources of Native/ with Emscripten into web/public/engine/
# (varn.js and varn.wasm). Shared memory (-pthread) lets the page set the stop
# word while the worker is inside VarnAnalyse; the engine itself starts no
# thread. Objects are cached in web/build/ and rebuilt only when changed.
set -euo pipefail
web=$(cd "$(dirname "$0")/.." && pwd)
root=$(cd "$web/.." && pwd)
out="$web/build/wasm"
mkdir -p "$out" "$web/public/engine"
# Debian's Emscripten runs its optimiser under Node and needs acorn from npm.
export NODE_PATH="$web/node_modules${NODE_PATH:+:$NODE_PATH}"
flags=(-std=c++20 -O3 -Wall -Wextra -Werror -pthread -I"$root/Native")

objects=() stale=()
for source in "$root"/Native/*.cpp "$web/wasm/stopword.cpp"; do
  object="$out/$(basename "$source" .cpp).o"
  objects+=("$object")
  if [ ! -f "$object" ] || [ "$source" -nt "$object" ] ||
     [ -n "$(find "$root/Native" "$web/wasm" -name '*.h' -newer "$object" -print -quit)" ]; then
    stale+=("$source")
  fi
done
export out
export flags_text="${flags[*]}"
if [ ${#stale[@]} -gt 0 ]; then
  printf '%s\n' "${stale[@]}" | xargs -P2 -I{} bash -c 'flags=($flags_text); em++ "${flags[@]}" -c "$1" -o "$out/$(basename "$1" .cpp).o"' _ {}
fi

# The eighteen exports as the module-definition file names them, then the
# page's own helpers.
exports=$(awk '$2 ~ /^@[0-9]+$/ { printf "_%s,", $1 }' "$root/Native/Varn504.def")_WebStopWord,_malloc,_free
em++ "${flags[@]}" "${objects[@]}" -o "$web/public/engine/varn.js" \
  -sMODULARIZE=1 -sEXPORT_NAME=createVarn -sENVIRONMENT=web,worker \
  -sINITIAL_MEMORY=134217728 -sALLOW_TABLE_GROWTH=1 \
  -sEXPORTED_FUNCTIONS="$exports" \
  -sEXPORTED_RUNTIME_METHODS=addFunction,UTF8ToString,stringToUTF8,lengthBytesUTF8
echo "WebAssembly engine: $web/public/engine/varn.js, varn.wasm"
