#!/usr/bin/env bash
# Compiles the engine (Native/), its search session (session/) and the UCI
# protocol (host/uci.cpp) with Emscripten into two modules for browsers,
# workers and Node, in npm/engine/:
# - varn.js, varn.wasm, varn.worker.js: the session searches on its own
#   threads (WebAssembly threads over shared memory);
# - varn-single.js, varn-single.wasm: no threads, for pages without shared
#   memory; a search runs on the caller's thread and sleeps (Asyncify) at its
#   clock reads so that the JavaScript can hand it new commands.
# Both grow their memory up to what the largest Hash needs. Objects are
# cached in npm/build/ and rebuilt only when changed. Needs em++ and acorn
# for its optimiser (Debian: emscripten node-acorn).
# Usage: build.sh [threads|single] (default both)
set -euo pipefail
package=$(cd "$(dirname "$0")/.." && pwd)
root=$(cd "$package/.." && pwd)
mkdir -p "$package/engine"
# Debian's Emscripten runs its optimiser under Node and needs acorn: Debian's
# node-acorn or, failing that, one from an npm install beside the package.
export NODE_PATH="/usr/share/nodejs:$package/node_modules${NODE_PATH:+:$NODE_PATH}"

# Compiles every source into out with the flags; the objects in $objects.
compile() {
  local out=$1
  shift
  local stale=()
  objects=()
  mkdir -p "$out"
  for source in "$root"/Native/*.cpp "$root"/session/*.cpp "$root/host/uci.cpp" "$package/wasm/session.cpp"; do
    local object
    object="$out/$(basename "$(dirname "$source")")-$(basename "$source" .cpp).o"
    objects+=("$object")
    if [ ! -f "$object" ] || [ "$source" -nt "$object" ] || [ "$0" -nt "$object" ] ||
       [ -n "$(find "$root/Native" "$root/session" "$root/host" "$root/tools" -name '*.h' -newer "$object" -print -quit)" ]; then
      stale+=("$source")
    fi
  done
  if [ ${#stale[@]} -gt 0 ]; then
    out="$out" flags_text="$*" xargs -P2 -I{} bash -c \
      'flags=($flags_text); em++ "${flags[@]}" -c "$1" -o "$out/$(basename "$(dirname "$1")")-$(basename "$1" .cpp).o"' _ {} \
      < <(printf '%s\n' "${stale[@]}")
  fi
}

# The rules and the library share one copy of the core in this module.
common=(-std=c++20 -O3 -Wall -Wextra -Werror -DVARN_SHARED_CORE -I"$root/Native")
# The session's three functions; the eighteen exports stay reachable too.
exports=$(awk '$2 ~ /^@[0-9]+$/ { printf "_%s,", $1 }' "$root/Native/Varn504.def")_VarnUciStart,_VarnUciCommand,_VarnUciRead
# A guest in other programs: no process-wide handlers in Node, and memory that
# grows to hold a 1024 MB table beside the rest.
link=(-sMODULARIZE=1 -sENVIRONMENT=web,worker,node -sNODEJS_CATCH_EXIT=0 -sNODEJS_CATCH_REJECTION=0
      -sINITIAL_MEMORY=67108864 -sALLOW_MEMORY_GROWTH=1 -sMAXIMUM_MEMORY=2147483648
      -sEXPORTED_FUNCTIONS="$exports" -sEXPORTED_RUNTIME_METHODS=UTF8ToString,stringToUTF8,lengthBytesUTF8)

build=${1:-both}
if [ "$build" != single ]; then
  compile "$package/build/wasm" "${common[@]}" -pthread
  # Growth slows only the JavaScript's reads of the heap (a UCI line at a
  # time), not the WebAssembly search.
  em++ "${common[@]}" -pthread "${objects[@]}" -o "$package/engine/varn.js" "${link[@]}" \
    -sEXPORT_NAME=createVarn -sPTHREAD_POOL_SIZE=2 -Wno-pthreads-mem-growth
  echo "WebAssembly engine with threads: $package/engine/varn.js, varn.wasm, varn.worker.js"
fi
if [ "$build" != threads ]; then
  compile "$package/build/wasm-single" "${common[@]}" -DVARN_SINGLE_THREAD
  # Saving the search's locals at a sleep takes a few hundred bytes a ply.
  em++ "${common[@]}" "${objects[@]}" -o "$package/engine/varn-single.js" "${link[@]}" \
    -sEXPORT_NAME=createVarnSingle -sASYNCIFY=1 -sASYNCIFY_STACK_SIZE=262144
  echo "WebAssembly engine without threads: $package/engine/varn-single.js, varn-single.wasm"
fi
