#!/usr/bin/env bash
# Plays a match of varn against an engine from Debian's packages, driven by
# xboard's match mode without its window (inside a virtual X display), with
# varn attached through polyglot as any UCI engine is. Every opening position
# is played twice, once with each colour. Prints the result from varn's side
# and fails on a loss by time, an illegal move, a crash or a game that did not
# finish.
#
# Usage: scripts/match.sh [games] [opponent] [base seconds] [increment seconds]
#   defaults: 20 games against fairymax at 10 s + 0.1 s per move.
#   The games and logs go to build/match/ (MATCH_DIR overrides); MATCH_PONDER=1
#   lets both engines think on the opponent's time.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
games=${1:-20}
opponent=${2:-fairymax}
base=${3:-10}
increment=${4:-0.1}
out=${MATCH_DIR:-$root/build/match}
ponder=-xponder
[ "${MATCH_PONDER:-0}" = 1 ] && ponder=-ponder

need=()
command -v xboard >/dev/null || [ -x /usr/games/xboard ] || need+=(xboard)
command -v polyglot >/dev/null || [ -x /usr/games/polyglot ] || need+=(polyglot)
command -v xvfb-run >/dev/null || need+=(xvfb xauth)
command -v "$opponent" >/dev/null || [ -x "/usr/games/$opponent" ] || need+=("$opponent")
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${need[@]}"
fi
export PATH="$PATH:/usr/games"

bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target varn Varn504 >/dev/null

mkdir -p "$out"
pgn=$out/games.pgn
rm -f "$pgn" "$out"/polyglot.log "$out"/xboard.log "$out"/xboard.settings
# Ten common openings a few moves deep, one FEN a line.
cat >"$out/openings.fen" <<'EOF'
r1bqkbnr/pppp1ppp/2n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R b KQkq - 3 3
rnbqkbnr/pp2pppp/3p4/2p5/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 0 3
rnbqkbnr/ppp2ppp/4p3/3p4/3PP3/8/PPP2PPP/RNBQKBNR w KQkq - 0 3
rnbqkbnr/pp2pppp/2p5/3p4/3PP3/8/PPP2PPP/RNBQKBNR w KQkq - 0 3
rnbqkbnr/ppp2ppp/4p3/3p4/2PP4/8/PP2PPPP/RNBQKBNR w KQkq - 0 3
rnbqk2r/ppppppbp/5np1/8/2PP4/2N5/PP2PPPP/R1BQKBNR w KQkq - 2 4
rnbqkbnr/pppp1ppp/8/4p3/2P5/8/PP1PPPPP/RNBQKBNR w KQkq - 0 2
r1bqk1nr/pppp1ppp/2n5/2b1p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq - 4 4
rnbqkbnr/pp2pppp/2p5/3p4/2PP4/8/PP2PPPP/RNBQKBNR w KQkq - 0 3
rnb1kbnr/ppp1pppp/8/q7/8/2N5/PPPP1PPP/R1BQKBNR w KQkq - 2 4
EOF

echo "varn against $opponent: $games games at $base s + $increment s, games in $pgn"
setsid xvfb-run -a xboard -noGUI -mg "$games" \
  -fcp "$root/build/varn" -fd "$root/build" -fUCI \
  -adapterCommand "polyglot -noini -log true -lf $out/polyglot.log -ec \"%fcp\" -ed \"%fd\"" \
  -scp "$opponent" -sd "$out" \
  -tc "0:$base" -inc "$increment" "$ponder" -autoCallFlag true \
  -lpf "$out/openings.fen" -lpi -2 -sgf "$pgn" \
  -settingsFile "$out/xboard.settings" -saveSettingsOnExit false \
  >"$out/xboard.log" 2>&1 &
match=$!

# xboard stays open after its match: watch the saved games, then end it.
finished() {
  local n
  n=$(grep -cE '^\[Result "(1-0|0-1|1/2-1/2)"\]' "$pgn" 2>/dev/null) || true
  echo "${n:-0}"
}
limit=$(awk -v g="$games" -v b="$base" 'BEGIN { print int(g * (4 * b + 120)) }')
start=$SECONDS
while [ "$(finished)" -lt "$games" ] && [ $((SECONDS - start)) -lt "$limit" ] && kill -0 "$match" 2>/dev/null; do
  sleep 5
done
sleep 1
kill -- -"$match" 2>/dev/null || true
wait "$match" 2>/dev/null || true

# Results from varn's side, how the games ended, and every loss that was not
# a plain defeat on the board (time, illegal move, crash).
played=$(finished)
awk -v expected="$games" '
  /^\[Event / { white = ""; black = ""; reason = "" }
  /^\[White / { white = $0 }
  /^\[Black / { black = $0 }
  /^\[Result / { result = $2; gsub(/[]"]/, "", result) }
  /^[^[]/ {
    line = $0
    while (match(line, /\{[^}]*\}/)) {
      text = substr(line, RSTART + 1, RLENGTH - 2)
      if (text !~ /^[-+]?[0-9.]+\/[0-9]+/ && text !~ /^-----/) reason = text
      line = substr(line, RSTART + RLENGTH)
    }
    if ($0 ~ /(1-0|0-1|1\/2-1\/2|\*)[ \t]*$/) {
      varnWhite = white ~ /Varn/
      if (result == "*") unfinished++
      else if (result == "1/2-1/2") draws++
      else if ((result == "1-0") == varnWhite) wins++
      else {
        losses++
        if (reason !~ /[Cc]heckmate|mates|resign/) bad[++badCount] = reason
      }
      reasons[reason == "" ? "(no comment)" : reason]++
    }
  }
  END {
    printf "varn: %d wins, %d draws, %d losses", wins, draws, losses
    if (unfinished) printf ", %d unfinished", unfinished
    printf "\n"
    for (r in reasons) printf "  %3d x %s\n", reasons[r], r
    for (i = 1; i <= badCount; i++) printf "LOST: %s\n", bad[i]
    exit (badCount > 0 || unfinished > 0 || wins + draws + losses < expected) ? 1 : 0
  }' "$pgn" || { echo "match failed: $played of $games games finished; see $pgn and $out/polyglot.log"; exit 1; }
