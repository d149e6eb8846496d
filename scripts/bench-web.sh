#!/usr/bin/env bash
# The WebAssembly builds compared in headless Chromium: speed without threads
# against with threads, and stop latency (web/scripts/bench-builds.mjs).
# A benchmark, not a test: run it on a quiet machine.
# Usage: scripts/bench-web.sh [rounds] [stops] [depth]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/web.sh --build-only
cd web
node scripts/bench-builds.mjs "$@"
