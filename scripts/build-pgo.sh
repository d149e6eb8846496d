#!/usr/bin/env bash
# Builds the library, the host and the tools optimised for the search they
# run: an instrumented build searches the benchmark set (through the static
# core and through the library's exports), then the final build compiles with
# that profile and with link-time optimisation. The search is the same (the
# benchmark signature does not change); it runs faster.
# Usage: scripts/build-pgo.sh [build directory, build-pgo by default] [cmake options]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-pgo}
shift || true
bash scripts/setup.sh
jobs=$(nproc)
profile=$(realpath -m "$build/profile")

# One directory for both steps: the profile is found by object file path.
configure() {
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DVARN_TESTS=OFF -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON \
    -DVARN_PROFILE_DIR="$profile" -DVARN_PROFILE="$1" "${@:2}" >/dev/null
}

configure generate "$@"
cmake --build "$build" -j"$jobs" --target varn-bench varn Varn504
rm -rf "$profile"
"$build/varn-bench" 8 >/dev/null
"$build/varn" bench 8 >/dev/null

configure use "$@"
cmake --build "$build" -j"$jobs"
"$build/varn-bench" 8 | grep -E '^(signature|nps)'
