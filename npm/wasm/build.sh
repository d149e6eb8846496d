#!/usr/bin/env bash
# Compiles the engine (Native/), its search session (session/) and the UCI
# protocol (host/uci.cpp) with Emscripten into one module, npm/engine/varn.js
# with varn.wasm and varn.worker.js, for browsers, workers and Node. The
# session searches on its own threads (WebAssembly threads over shared
# memory). Objects are cached in npm/build/ and rebuilt only when changed.
# Needs em++ and acorn for its optimiser (Debian: emscripten node-acorn).
set -euo pipefail
package=$(cd "$(dirname "$0")/.." && pwd)
root=$(cd "$package/.." && pwd)
out="$package/build/wasm"
mkdir -p "$out" "$package/engine"
# Debian's Emscripten runs its optimiser under Node and needs acorn: Debian's
# node-acorn or, failing that, one from an npm install beside the package.
export NODE_PATH="/usr/share/nodejs:$package/node_modules${NODE_PATH:+:$NODE_PATH}"
# The rules and the library share one copy of the core in this module.
flags=(-std=c++20 -O3 -Wall -Wextra -Werror -pthread -DVARN_SHARED_CORE -I"$root/Native")

objects=() stale=()
for source in "$root"/Native/*.cpp "$root"/session/*.cpp "$root/host/uci.cpp" "$package/wasm/session.cpp"; do
  object="$out/$(basename "$(dirname "$source")")-$(basename "$source" .cpp).o"
  objects+=("$object")
  if [ ! -f "$object" ] || [ "$source" -nt "$object" ] ||
     [ -n "$(find "$root/Native" "$root/session" "$root/host" "$root/tools" -name '*.h' -newer "$object" -print -quit)" ]; then
    stale+=("$source")
  fi
done
export out
export flags_text="${flags[*]}"
if [ ${#stale[@]} -gt 0 ]; then
  printf '%s\n' "${stale[@]}" | xargs -P2 -I{} bash -c \
    'flags=($flags_text); em++ "${flags[@]}" -c "$1" -o "$out/$(basename "$(dirname "$1")")-$(basename "$1" .cpp).o"' _ {}
fi

# The session's three functions; the eighteen exports stay reachable too.
exports=$(awk '$2 ~ /^@[0-9]+$/ { printf "_%s,", $1 }' "$root/Native/Varn504.def")_VarnUciStart,_VarnUciCommand,_VarnUciRead
em++ "${flags[@]}" "${objects[@]}" -o "$package/engine/varn.js" \
  -sMODULARIZE=1 -sEXPORT_NAME=createVarn -sENVIRONMENT=web,worker,node \
  -sINITIAL_MEMORY=268435456 -sPTHREAD_POOL_SIZE=2 \
  -sEXPORTED_FUNCTIONS="$exports" \
  -sEXPORTED_RUNTIME_METHODS=UTF8ToString,stringToUTF8,lengthBytesUTF8
echo "WebAssembly engine: $package/engine/varn.js, varn.wasm, varn.worker.js"
