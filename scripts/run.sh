#!/usr/bin/env bash
# Builds the engine and the UCI host, then analyses a position and prints the
# search reports and the best move. Arguments are passed to varn as commands;
# without any, the start position is searched to depth 12.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)" --target varn Varn504
if [ $# -eq 0 ]; then
  set -- position startpos go depth 12
fi
exec build/varn "$@"
