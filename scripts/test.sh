#!/usr/bin/env bash
# Builds the engine twice (optimised, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite on both.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
jobs=$(nproc)

cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$jobs"
exported=$(nm -D --defined-only build/libVarn504.so | awk '{print $3}' | sort)
if [ "$(echo "$exported" | grep -c '^Varn')" -ne 18 ] || echo "$exported" | grep -qv '^Varn'; then
  echo "libVarn504.so must export exactly the eighteen Varn functions:"; echo "$exported"; exit 1
fi
ctest --test-dir build --output-on-failure -j"$jobs"

cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARN_SANITIZE=ON >/dev/null
cmake --build build-sanitize -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build-sanitize --output-on-failure -j"$jobs"
