#!/usr/bin/env bash
# Runs the Windows build for real under Wine and compares it with the Linux
# build: the DLL check program (exports by name and ordinal, calling
# convention, getters, VarnInit, a short search), perft and benchmark node
# counts, and varn.exe answering uci and searching to depth 8 with the same
# reports, node counts and best move as the Linux varn.
#
#   scripts/test-windows.sh          the shipped 32-bit build (wine + wine32)
#   scripts/test-windows.sh --win64  a 64-bit build of the same sources (wine64)
#
# The 32-bit run needs a kernel that runs 32-bit x86 programs and Debian's
# wine32:i386. When either is missing the script says why, runs the 64-bit
# check instead and exits with status 2 (the shipped build was not run). Any
# failed comparison exits with status 1.
set -euo pipefail
cd "$(dirname "$0")/.."
linux=${VARN_LINUX_BUILD:-build}
mode=win32
[ "${1:-}" = "--win64" ] && mode=win64
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
export PATH="/usr/lib/wine:$PATH"
not_run=""

# Installs packages quietly; false when apt-get cannot.
install_packages() {
  $sudo_cmd apt-get update -qq || echo "test-windows: apt-get update reported errors (see above)" >&2
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "$@"
}

# True when the kernel runs 32-bit x86 programs (which wine32 is): a 93-byte
# static i386 program that only exits with status 0.
kernel_runs_i386() {
  local probe
  probe=$(mktemp)
  printf '\x7fELF\x01\x01\x01\0\0\0\0\0\0\0\0\0\x02\0\x03\0\x01\0\0\0\x54\x80\x04\x08\x34\0\0\0\0\0\0\0\0\0\0\0\x34\0\x20\0\x01\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\0\x80\x04\x08\0\x80\x04\x08\x5d\0\0\0\x5d\0\0\0\x05\0\0\0\0\x10\0\0\xb8\x01\0\0\0\x31\xdb\xcd\x80' >"$probe"
  chmod +x "$probe"
  local status=0
  "$probe" 2>/dev/null || status=1
  rm -f "$probe"
  return $status
}

have_wine32() { command -v wine >/dev/null && { [ -e /usr/lib/wine/wine ] || dpkg -s wine32:i386 >/dev/null 2>&1; }; }

# Installs wine and wine32; takes the i386 architecture away again when that
# fails, so that later apt-get update runs do not trip over its index.
install_wine32() {
  local added=0
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    $sudo_cmd dpkg --add-architecture i386
    added=1
  fi
  if ! install_packages wine wine32:i386; then
    if [ "$added" -eq 1 ] && ! dpkg -l | awk '$1 == "ii" {print $2}' | grep -q ':i386$'; then
      { $sudo_cmd dpkg --remove-architecture i386 && $sudo_cmd apt-get update -qq; } || true
    fi
    return 1
  fi
}

if [ "$mode" = win32 ]; then
  if ! kernel_runs_i386; then
    not_run="this kernel cannot run 32-bit x86 programs (no IA-32 emulation), so wine32 cannot run here"
  elif ! have_wine32 && ! install_wine32; then
    not_run="wine32 could not be installed (apt-get failed above; a mirror whose i386 index is out of step with amd64 causes this)"
  fi
  if [ -n "$not_run" ]; then
    echo "test-windows: 32-bit check NOT RUN: $not_run; checking a 64-bit Windows build instead" >&2
    mode=win64
  fi
fi

# The shipped DLL is always built and its tables checked.
bash scripts/cross-build.sh
if [ "$mode" = win32 ]; then
  win=${VARN_WIN32_BUILD:-build-win32}
  wine_cmd=wine
else
  win=${VARN_WIN64_BUILD:-build-win64}
  wine_cmd=wine64
  need=()
  command -v wine64 >/dev/null || need+=(wine64)
  command -v x86_64-w64-mingw32-g++-posix >/dev/null || need+=(g++-mingw-w64-x86-64-posix)
  [ ${#need[@]} -eq 0 ] || install_packages "${need[@]}"
  cmake -S . -B "$win" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
    -DVARN_TESTS=OFF >/dev/null
  cmake --build "$win" -j"$(nproc)"
fi
cmake -S . -B "$linux" -DCMAKE_BUILD_TYPE=Release >/dev/null
linux_targets=(Varn504 varn-perft)
[ -f tools/bench.cpp ] && linux_targets+=(varn-bench)
[ -d host ] && linux_targets+=(varn)
cmake --build "$linux" -j"$(nproc)" --target "${linux_targets[@]}"

# A private prefix inside the build tree, without the Mono and Gecko add-ons
# (nothing here needs them) and without Wine's debug chatter.
export WINEPREFIX="$PWD/$win/wineprefix" WINEARCH="$mode" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
# Runs a program of the Windows build from its directory; output without CRs.
runwin() { (cd "$win" && timeout 300 "$wine_cmd" "$@" 2>/dev/null | tr -d '\r'); }
# Report lines without the figures that depend on the machine's speed.
normalise() { sed -E 's/ (time|nps|hashfull) [0-9]+//g; s/ +[0-9.]+ (s|nps)( |$)/ /g; /^(time|nps) /d'; }

failed=0
fail() { echo "test-windows: FAIL: $*" >&2; failed=1; }
echo "test-windows: running the $mode build in $win under $wine_cmd"

# 1. The DLL as a Windows host sees it.
out=$(runwin varn-dllcheck.exe Varn504.dll 6 </dev/null || true)
echo "$out"
grep -q '^0 failed$' <<<"$out" || fail "varn-dllcheck.exe"

# 2. Move generation and search count the same trees on both platforms: perft
# of the six standard positions and the benchmark at depth 8.
# The six standard perft positions and depths, one "FEN|depth" a line.
mapfile -t perft_positions < scripts/perft-positions.txt
for entry in "${perft_positions[@]}"; do
  fen=${entry%|*} depth=${entry##*|}
  want=$("$linux/varn-perft" "$fen" "$depth" | grep '^nodes')
  have=$(runwin varn-perft.exe "$fen" "$depth" </dev/null | grep '^nodes' || true)
  if [ "$want" = "$have" ]; then echo "perft $depth $fen: $want on both"; else fail "perft $depth $fen: Linux '$want', Windows '$have'"; fi
done
if [ -f "$win/varn-bench.exe" ] && [ -x "$linux/varn-bench" ]; then
  want=$("$linux/varn-bench" 8 | normalise)
  have=$(runwin varn-bench.exe 8 </dev/null | normalise)
  if [ "$want" = "$have" ]; then
    echo "bench depth 8: $(grep '^signature' <<<"$want") on both"
  else
    fail "bench depth 8 differs:"; diff <(echo "$want") <(echo "$have") >&2 || true
  fi
fi

# 3. The UCI host: the same reports (times and speeds aside) and best move.
if [ -f "$win/varn.exe" ]; then
  uci=$(printf 'uci\nisready\nquit\n' | runwin varn.exe || true)
  if grep -q '^uciok' <<<"$uci" && grep -q '^readyok' <<<"$uci"; then
    echo "varn.exe answers uci ($(grep -c '^option' <<<"$uci") options)"
  else
    echo "$uci"; fail "varn.exe does not answer uci"
  fi
  search_positions=(
    "startpos"
    "fen r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3"
    "fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1P/PPPBBPPP/R3K2R w KQkq - 0 1"
  )
  for position in "${search_positions[@]}"; do
    # shellcheck disable=SC2086
    want=$("$linux/varn" position $position go depth 8 </dev/null | normalise)
    # shellcheck disable=SC2086
    have=$(runwin varn.exe position $position go depth 8 </dev/null | normalise)
    best=$(grep '^bestmove' <<<"$want" || true)
    nodes=$(grep -o ' nodes [0-9]*' <<<"$want" | tail -n 1)
    if [ -n "$best" ] && [ "$want" = "$have" ]; then
      echo "depth 8 $position: $best,$nodes on both"
    else
      fail "depth 8 $position differs (or no best move):"
      diff <(echo "$want") <(echo "$have") >&2 || true
    fi
  done
elif [ -d host ]; then
  fail "no varn.exe in $win"
else
  echo "test-windows: no host sources yet; varn.exe checks skipped"
fi

[ "$failed" -eq 0 ] || exit 1
if [ -n "$not_run" ]; then
  echo "test-windows: the 64-bit Windows build passed; the shipped 32-bit build was NOT run: $not_run" >&2
  exit 2
fi
echo "test-windows: all checks passed ($mode)"
