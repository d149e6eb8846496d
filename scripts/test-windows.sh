#!/usr/bin/env bash
# Runs the 32-bit Windows build for real under Wine and compares it with the
# Linux build: the DLL check program (exports by name and ordinal, calling
# convention, getters, VarnInit, a short search), perft node counts, and the
# Windows varn.exe answering uci and searching to depth 8 with the same best
# move and node counts as the Linux varn.
#
# Needs wine with its 32-bit part (Debian: wine and wine32:i386). When wine is
# missing the script tries to install it; if that fails (for instance while
# the mirror's i386 index is out of step) it says so and exits with status 2.
set -euo pipefail
cd "$(dirname "$0")/.."
win=${VARN_WIN32_BUILD:-build-win32}
linux=${VARN_LINUX_BUILD:-build}
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"

# Installs wine and wine32; undoes the i386 architecture again when it fails,
# so that a later apt-get update does not trip over a broken i386 index.
install_wine() {
  local added=0
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    $sudo_cmd dpkg --add-architecture i386
    added=1
  fi
  $sudo_cmd apt-get update -qq || echo "test-windows: apt-get update reported errors (see above)" >&2
  if ! DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends \
      wine wine32:i386; then
    if [ "$added" -eq 1 ] && ! dpkg -l | awk '$1 == "ii" {print $2}' | grep -q ':i386$'; then
      $sudo_cmd dpkg --remove-architecture i386 && $sudo_cmd apt-get update -qq || true
    fi
    return 1
  fi
}

# The 32-bit loader is what runs a 32-bit program; wine64 alone cannot.
have_wine32() { command -v wine >/dev/null && { [ -e /usr/lib/wine/wine ] || dpkg -s wine32:i386 >/dev/null 2>&1; }; }
if ! have_wine32; then
  if ! install_wine; then
    echo "test-windows: NOT RUN: wine32 could not be installed (apt-get failed above;" \
      "a mirror whose i386 index is out of step with amd64 causes this)" >&2
    exit 2
  fi
fi

bash scripts/cross-build.sh
cmake -S . -B "$linux" -DCMAKE_BUILD_TYPE=Release >/dev/null
linux_targets=(--target Varn504 varn-perft)
[ -d host ] && linux_targets+=(varn)
cmake --build "$linux" -j"$(nproc)" "${linux_targets[@]}"

# A private 32-bit prefix inside the build tree, without the Mono and Gecko
# add-ons (nothing here needs them) and without Wine's debug chatter.
export WINEPREFIX="$PWD/$win/wineprefix" WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
runwin() { timeout 300 wine "$@" </dev/null 2>/dev/null | tr -d '\r'; }

failed=0
fail() { echo "test-windows: FAIL: $*" >&2; failed=1; }

# 1. The DLL as a Windows host sees it.
if ! out=$(cd "$win" && timeout 300 wine varn-dllcheck.exe Varn504.dll 6 </dev/null 2>/dev/null | tr -d '\r'); then
  echo "$out"; fail "varn-dllcheck.exe"
else
  echo "$out"
fi
grep -q '^0 failed$' <<<"$out" || fail "varn-dllcheck.exe did not finish cleanly"

# 2. Move generation counts the same trees on both platforms.
perft_positions=(
  "startpos|5"
  "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1P/PPPBBPPP/R3K2R w KQkq - 0 1|4"
  "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1|5"
)
for entry in "${perft_positions[@]}"; do
  fen=${entry%|*} depth=${entry##*|}
  want=$("$linux/varn-perft" "$fen" "$depth" | grep '^nodes')
  have=$(runwin "$win/varn-perft.exe" "$fen" "$depth" | grep '^nodes' || true)
  if [ "$want" = "$have" ]; then echo "perft $depth $fen: $want on both"; else fail "perft $depth $fen: Linux '$want', Windows '$have'"; fi
done

# 3. The UCI host: same reports (less times and speeds) and the same best move.
if [ -f "$win/varn.exe" ]; then
  uci=$(printf 'uci\nisready\nquit\n' | (cd "$win" && timeout 120 wine varn.exe 2>/dev/null) | tr -d '\r' || true)
  if grep -q '^uciok' <<<"$uci" && grep -q '^readyok' <<<"$uci"; then echo "varn.exe answers uci"; else echo "$uci"; fail "varn.exe does not answer uci"; fi

  normalise() { sed -E 's/ (time|nps|hashfull) [0-9]+//g'; }
  search_positions=(
    "startpos"
    "fen r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3"
    "fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1P/PPPBBPPP/R3K2R w KQkq - 0 1"
  )
  for position in "${search_positions[@]}"; do
    # shellcheck disable=SC2086
    want=$("$linux/varn" position $position go depth 8 | normalise)
    # shellcheck disable=SC2086
    have=$(cd "$win" && timeout 300 wine varn.exe position $position go depth 8 </dev/null 2>/dev/null | tr -d '\r' | normalise)
    best=$(grep '^bestmove' <<<"$want" || true)
    nodes=$(grep -o ' nodes [0-9]*' <<<"$want" | tail -n 1)
    if [ -n "$best" ] && [ "$want" = "$have" ]; then
      echo "depth 8 $position: $best,$nodes on both"
    else
      fail "depth 8 $position differs (or no best move):"
      diff <(echo "$want") <(echo "$have") >&2 || true
    fi
  done
else
  echo "test-windows: no varn.exe in $win (host not built); host checks skipped"
fi

if [ "$failed" -ne 0 ]; then exit 1; fi
echo "test-windows: all checks passed"
