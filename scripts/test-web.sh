#!/usr/bin/env bash
# The web page's tests: the logic tests under Node, then the browser tests in
# headless Chromium against the built page. Installs what it needs (Debian's
# emscripten, node-acorn and chromium, the npm packages of the package-lock
# files of npm/ and web/). When build/varn-bench exists, the WebAssembly
# engine's benchmark signature (its UCI "bench") is checked against the
# native one at depth VARN_BENCH_DEPTH (default 7).
set -euo pipefail
cd "$(dirname "$0")/.."
sudo_if_needed() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

missing=()
command -v em++ >/dev/null 2>&1 || missing+=(emscripten)
[ -d /usr/share/nodejs/acorn ] || missing+=(node-acorn)
[ -x "${CHROMIUM:-/usr/bin/chromium}" ] || missing+=(chromium)
command -v npm >/dev/null 2>&1 || missing+=(nodejs npm)
if [ ${#missing[@]} -gt 0 ]; then
  sudo_if_needed apt-get update -qq
  sudo_if_needed env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi

bash scripts/web.sh --build-only
depth="${VARN_BENCH_DEPTH:-7}"
if [ -x build/varn-bench ]; then
  VARN_BENCH_SIGNATURE=$(build/varn-bench "$depth" | awk '/^signature/ {print $2}')
  export VARN_BENCH_SIGNATURE VARN_BENCH_DEPTH="$depth"
fi
cd web
node --test --test-concurrency=1 tests/
