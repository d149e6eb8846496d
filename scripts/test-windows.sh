#!/usr/bin/env bash
# Runs the shipped 32-bit Windows DLL and compares it with the Linux build.
#
# 1. The loader check, on every run: varn-peload (wintest/) maps
#    build-win32/Varn504.dll into a 32-bit Linux process, natively where the
#    kernel runs 32-bit x86 programs and otherwise under qemu-i386, and drives
#    its eighteen exports as a Windows host does (wintest/drive.cpp).
#    varn-dllref runs the same checks on the Linux library: their "= " lines
#    (VarnInit results, report streams, benchmark nodes and signature) must be
#    the same, and the DLL's median stop latency, counted in node times of its
#    own speed, at most twice the Linux library's.
# 2. Under Wine, where 32-bit Wine is installed: varn-dllcheck.exe, perft and
#    the benchmark at depth 8, and varn.exe against the Linux varn.
#
#   scripts/test-windows.sh           the loader check, and Wine where installed
#   scripts/test-windows.sh --win64   the Wine part on a 64-bit Windows build (wine64)
#   VARN_I386_EMULATOR=qemu-i386      runs the loader under the emulator anyway
#
# Exits 0 when every check that ran passed, else 1.
set -euo pipefail
cd "$(dirname "$0")/.."
linux=${VARN_LINUX_BUILD:-build}
win=${VARN_WIN32_BUILD:-build-win32}
emulator=${VARN_I386_EMULATOR:-}
mode=win32
[ "${1:-}" = "--win64" ] && mode=win64
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
export PATH="/usr/lib/wine:$PATH"

# Installs packages quietly; false when apt-get cannot.
install_packages() {
  $sudo_cmd apt-get update -qq || echo "test-windows: apt-get update reported errors (see above)" >&2
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "$@"
}

# True when the kernel runs 32-bit x86 programs: a 93-byte static i386
# program that only exits with status 0.
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

failed=0
fail() { echo "test-windows: FAIL: $*" >&2; failed=1; }

# The DLL with its table checks, the Linux build, the loader (g++ -m32) and
# its counterpart on the Linux library.
bash scripts/cross-build.sh
echo 'int main() { return 0; }' | g++ -m32 -x c++ - -o /dev/null 2>/dev/null || install_packages gcc-multilib g++-multilib
cmake -S . -B "$linux" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$linux" -j"$(nproc)" --target Varn504 varn-bench varn varn-peload varn-dllref

# 1. The loader check.
if [ -z "$emulator" ] && ! kernel_runs_i386; then
  command -v qemu-i386 >/dev/null || install_packages qemu-user >/dev/null || true
  command -v qemu-i386 >/dev/null || { echo "test-windows: FAIL: this kernel runs no 32-bit programs and qemu-i386 could not be installed" >&2; exit 1; }
  emulator=qemu-i386
fi
run32=()
[ -z "$emulator" ] || run32=("$emulator")
start=$SECONDS
echo "test-windows: the loader check, ${emulator:-natively}: $linux/varn-peload $win/Varn504.dll"
status=0
dll=$(timeout 900 "${run32[@]}" "$linux/varn-peload" "$win/Varn504.dll" 7 40) || status=$?
grep -v '^= ' <<<"$dll" || true
{ [ "$status" -eq 0 ] && grep -q '^0 failed$' <<<"$dll"; } || fail "the loader check (exit status $status)"
status=0
ref=$(timeout 900 "$linux/varn-dllref" 7 40) || status=$?
grep -v '^= ' <<<"$ref" | grep -v '^ok ' | sed 's/^/Linux library: /' || true
[ "$status" -eq 0 ] || fail "the same checks on the Linux library (exit status $status)"
if diff <(grep '^= ' <<<"$ref") <(grep '^= ' <<<"$dll") >/dev/null; then
  echo "the same as the Linux library: $(grep -c '^= init' <<<"$dll") VarnInit results," \
    "$(grep -c '^= stream [0-9]* depth' <<<"$dll") line reports of $(grep -c '^= stream [0-9]* result' <<<"$dll") searches," \
    "$(grep '^= bench depth' <<<"$dll" | cut -c3-)"
else
  fail "the DLL's results differ from the Linux library's (Linux <, DLL >):"
  diff <(grep '^= ' <<<"$ref") <(grep '^= ' <<<"$dll") >&2 || true
fi
node_times() { sed -n 's/^stop latency.*median [0-9]* us (\([0-9]*\) node times).*/\1/p' <<<"$1"; }
dll_latency=$(node_times "$dll") ref_latency=$(node_times "$ref")
if [ -n "$dll_latency" ] && [ -n "$ref_latency" ] && [ "$dll_latency" -le $((2 * ref_latency)) ]; then
  echo "stop latency: median $dll_latency node times for the DLL, $ref_latency for the Linux library"
else
  fail "stop latency: median '$dll_latency' node times for the DLL, more than twice the Linux library's '$ref_latency'"
fi
echo "test-windows: the loader check took $((SECONDS - start)) s"

# 2. Wine.
wine_cmd=""
if [ "$mode" = win64 ]; then
  win=${VARN_WIN64_BUILD:-build-win64}
  wine_cmd=wine64
  need=()
  command -v wine64 >/dev/null || need+=(wine64)
  command -v x86_64-w64-mingw32-g++-posix >/dev/null || need+=(g++-mingw-w64-x86-64-posix)
  [ ${#need[@]} -eq 0 ] || install_packages "${need[@]}"
  cmake -S . -B "$win" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
    -DVARN_TESTS=OFF >/dev/null
  cmake --build "$win" -j"$(nproc)"
elif ! kernel_runs_i386; then
  echo "test-windows: Wine run NOT RUN: this kernel cannot run 32-bit x86 programs"
elif ! have_wine32; then
  echo "test-windows: Wine run NOT RUN: 32-bit Wine is not installed (wine and wine32:i386)"
else
  wine_cmd=wine
fi

if [ -n "$wine_cmd" ]; then
  # A private prefix inside the build tree, without the Mono and Gecko add-ons
  # (nothing here needs them) and without Wine's debug chatter.
  export WINEPREFIX="$PWD/$win/wineprefix" WINEARCH="$mode" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
  # Runs a program of the Windows build from its directory; output without CRs.
  runwin() { (cd "$win" && timeout 300 "$wine_cmd" "$@" 2>/dev/null | tr -d '\r'); }
  # Report lines without the figures that depend on the machine's speed.
  normalise() { sed -E 's/ (time|nps|hashfull) [0-9]+//g; s/ +[0-9.]+ (s|nps)( |$)/ /g; /^(time|nps) /d'; }
  echo "test-windows: running the $mode build in $win under $wine_cmd"

  # The DLL as a Windows host sees it.
  out=$(runwin varn-dllcheck.exe Varn504.dll 6 </dev/null || true)
  echo "$out"
  grep -q '^0 failed$' <<<"$out" || fail "varn-dllcheck.exe"

  # Move generation and search count the same trees on both platforms.
  # The standard positions, "name|FEN|counts at depth 1, 2, ..." a line.
  while IFS='|' read -r name fen counts; do
    depth=$(wc -w <<<"$counts")
    want="nodes ${counts##* }"
    have=$(runwin varn-perft.exe "$fen" "$depth" </dev/null | grep '^nodes' || true)
    if [ "$want" = "$have" ]; then echo "perft $depth $name: $want, the published count"; else fail "perft $depth $name: published '$want', Windows '$have'"; fi
  done < scripts/perft-positions.txt
  want=$("$linux/varn-bench" 8 | normalise)
  have=$(runwin varn-bench.exe 8 </dev/null | normalise)
  if [ "$want" = "$have" ]; then
    echo "bench depth 8: $(grep '^signature' <<<"$want") on both"
  else
    fail "bench depth 8 differs:"; diff <(echo "$want") <(echo "$have") >&2 || true
  fi

  # The UCI host: the same reports (times and speeds aside) and best move.
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
fi

[ "$failed" -eq 0 ] || exit 1
echo "test-windows: all checks passed (the loader check${wine_cmd:+ and $mode under $wine_cmd})"
