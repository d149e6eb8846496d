#!/usr/bin/env bash
# Builds the engine as 32-bit x86 Linux programs (gcc -m32: the library, the
# tools and the test suite, warnings fatal), runs the suite, and checks that
# perft of six positions and the benchmark at depth 8 (best moves, scores,
# node counts, signature) equal the 64-bit build's. This guards the data model
# of the shipped 32-bit DLL: 32-bit pointers and size_t, 64-bit atomics on
# i686, SSE2 arithmetic.
#
# Where the machine cannot run 32-bit programs the script builds everything,
# says so in one line, and runs only perft and the benchmark (depth 7) under
# qemu-i386, installing qemu-user when missing (or exits 0 when it cannot). With
# VARN_I386_EMULATOR=qemu-i386 (package qemu-user) the programs run under that
# emulator instead; the tests a user-mode emulator cannot host are then left
# out and named (see emulator_excluded below).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${VARN_I686_BUILD:-build-i686}
linux=${VARN_LINUX_BUILD:-build}
emulator=${VARN_I386_EMULATOR:-}
bench_depth=8
# Under a user-mode emulator the host tests cannot start the 32-bit host as a
# child process, and an address-space limit counts the emulator's own
# reservation instead of the engine's.
emulator_excluded='^Uci|RefusedTable'

bash scripts/setup.sh
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
if ! echo 'int main() { return 0; }' | g++ -m32 -x c++ - -o /dev/null 2>/dev/null; then
  $sudo_cmd apt-get update -qq || echo "test-32bit: apt-get update reported errors; trying the install anyway" >&2
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends gcc-multilib g++-multilib
fi
toolchain=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/linux-i686.cmake" -DCMAKE_BUILD_TYPE=Release)

# GoogleTest for 32-bit, built once from Debian's sources into the build tree.
if [ ! -f "$build/gtest/lib/libgtest.a" ]; then
  cmake -S /usr/src/googletest -B "$build/googletest" "${toolchain[@]}" -DBUILD_GMOCK=OFF \
    -DCMAKE_INSTALL_PREFIX="$PWD/$build/gtest" >/dev/null
  cmake --build "$build/googletest" -j"$(nproc)" >/dev/null
  cmake --install "$build/googletest" >/dev/null
fi

# Tests are listed when CTest runs them, not at build time, so that the build
# succeeds where 32-bit programs cannot run.
cmake -S . -B "$build/varn" "${toolchain[@]}" -DCMAKE_PREFIX_PATH="$PWD/$build/gtest" \
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST -DCMAKE_CROSSCOMPILING_EMULATOR="$emulator" >/dev/null
cmake --build "$build/varn" -j"$(nproc)"
lib="$build/varn/libVarn504.so"
readelf -h "$lib" | grep -q 'Class: *ELF32' || { echo "test-32bit: $lib is not a 32-bit library" >&2; exit 1; }
exported=$(nm -D --defined-only "$lib" | awk '{print $3}' | sort)
if [ "$(grep -c '^Varn' <<<"$exported")" -ne 18 ] || grep -qv '^Varn' <<<"$exported"; then
  echo "test-32bit: $lib must export exactly the eighteen Varn functions:" >&2; echo "$exported" >&2; exit 1
fi

# Can this machine run what was built? A one-line program of the same kind.
probe="$build/probe"
echo 'int main() { return 0; }' | gcc -m32 -x c - -o "$probe"
run32=()
suite=1
if ! why=$("$probe" 2>&1); then
  if [ -z "$emulator" ]; then
    # Still run the 32-bit programs on perft and the benchmark, under a
    # user-mode emulator: the cheapest real run of the 32-bit data model.
    command -v qemu-i386 >/dev/null ||
      DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends qemu-user >/dev/null 2>&1 || true
    if ! command -v qemu-i386 >/dev/null; then
      echo "test-32bit: 32-bit build compiled, NOT RUN: this machine cannot run 32-bit x86 programs (${why##*: }) and qemu-i386 could not be installed"
      exit 0
    fi
    echo "test-32bit: this machine cannot run 32-bit x86 programs (${why##*: }): suite NOT RUN; perft and the benchmark run under qemu-i386 (VARN_I386_EMULATOR=qemu-i386 runs the suite there too)"
    emulator=qemu-i386
    suite=0
    bench_depth=7
  fi
  run32=("$emulator")
fi

if [ "$suite" -eq 0 ]; then
  :
elif [ ${#run32[@]} -eq 0 ]; then
  ctest --test-dir "$build/varn" --output-on-failure -j"$(nproc)"
else
  echo "test-32bit: running under $emulator; left out: tests matching '$emulator_excluded'"
  ctest --test-dir "$build/varn" --output-on-failure -j"$(nproc)" -E "$emulator_excluded"
fi

# The same trees and the same searches as the 64-bit build.
cmake -S . -B "$linux" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$linux" -j"$(nproc)" --target varn-bench
failed=0
# Without the suite (whose move tests count these trees): the six standard
# perft positions, "name|FEN|counts at depth 1, 2, ..." a line, each at its
# deepest listed depth on the 32-bit build.
if [ "$suite" -eq 0 ]; then
  while IFS='|' read -r name fen counts; do
    depth=$(wc -w <<<"$counts")
    want="nodes ${counts##* }"
    have=$("${run32[@]}" "$build/varn/varn-perft" "$fen" "$depth" </dev/null | grep '^nodes' || true)
    if [ "$want" = "$have" ]; then
      echo "perft $depth $name: $want, the published count"
    else
      echo "test-32bit: FAIL: perft $depth $name ($fen): published '$want', 32-bit '$have'" >&2; failed=1
    fi
  done < scripts/perft-positions.txt
fi
# Per position: best move, score and nodes; then the signature and the total.
normalise() { sed -E '/^(time|nps) /d; s/ +[0-9.]+ s +[0-9]+ nps / /'; }
want=$("$linux/varn-bench" "$bench_depth" | normalise)
have=$("${run32[@]}" "$build/varn/varn-bench" "$bench_depth" | normalise)
if [ "$want" = "$have" ]; then
  echo "bench depth $bench_depth: $(grep '^signature' <<<"$want") on both"
else
  echo "test-32bit: FAIL: bench depth $bench_depth differs (64-bit <, 32-bit >):" >&2
  diff <(echo "$want") <(echo "$have") >&2 || true
  failed=1
fi
[ "$failed" -eq 0 ] || exit 1
if [ "$suite" -eq 1 ]; then
  echo "test-32bit: the 32-bit build passed the suite and matches the 64-bit build"
else
  echo "test-32bit: the 32-bit programs match the 64-bit build (the suite was not run)"
fi
