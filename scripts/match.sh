#!/usr/bin/env bash
# Plays varn against another UCI engine with the fastchess match runner, or
# two builds of varn against each other with a sequential probability ratio
# test. Every opening of the opening set is played twice, once with each
# colour. Prints Elo with its error bar and fails when varn loses on time,
# plays an illegal move, crashes or stalls.
#
# Usage:
#   scripts/match.sh OPPONENT [games] [time control] [option=value ...]
#       OPPONENT: a UCI engine's command (toga2, glaurung, ethereal-chess,
#       gnuchessu, stockfish, or a path: another varn plays a level against
#       varn's); options are set on the opponent, e.g. UCI_LimitStrength=true
#       UCI_Elo=1800, or on varn when written varn.NAME=VALUE
#       (varn.UCI_LimitStrength=true varn.UCI_Elo=1400). The opponent is
#       named after its command and the UCI_Elo it is given.
#       Defaults: 100 games, 10+0.1.
#   scripts/match.sh --sprt OLD_VARN [games] [time control] [elo0 elo1]
#       build/varn (new) against another varn binary (old) until the test
#       decides or the games run out. Defaults: 2000 games, 10+0.1, 0 5.
#
# fastchess comes from the PATH or from $FASTCHESS. It is MIT-licensed; build
# it from its source (https://github.com/Disservin/fastchess, `make -j`).
# Environment: MATCH_OPENINGS (the opening set: an .epd or .pgn file, default
# scripts/openings.epd), MATCH_OPENINGS_START (its first opening to play,
# counting from 1, default 1: a long measurement played in parts), MATCH_DIR
# (output folder, default build/match),
# MATCH_CONCURRENCY (games at once, default: the number of cores),
# MATCH_TIMEMARGIN (ms an engine may overstep its clock before it forfeits,
# default 0; for a machine whose other work delays the engines), VARN (the
# varn binary to play, which loads the library beside it; default: build/varn,
# built first).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

sprt=0
if [ "${1:-}" = --sprt ]; then sprt=1; shift; fi
[ $# -ge 1 ] || { awk 'NR > 1 && !/^#/ { exit } NR > 1 { sub(/^# ?/, ""); print }' "$0"; exit 2; }
opponent=$1
shift
games=${1:-$([ "$sprt" = 1 ] && echo 2000 || echo 100)}
[ $# -ge 1 ] && shift
tc=${1:-10+0.1}
[ $# -ge 1 ] && shift

fastchess=${FASTCHESS:-$(command -v fastchess || true)}
[ -x "$fastchess" ] || { echo "fastchess not found: put it on the PATH or set FASTCHESS to its path" >&2; exit 2; }
export PATH="$PATH:/usr/games"

# Debian's package for each engine command it knows.
package_of() {
  case "$1" in
    gnuchessu) echo gnuchess ;;
    toga2|glaurung|ethereal-chess|stockfish|phalanx|fairymax) echo "$1" ;;
  esac
}
if [ "$sprt" = 0 ] && ! command -v "$opponent" >/dev/null; then
  package=$(package_of "$opponent")
  [ -n "$package" ] || { echo "engine not found: $opponent" >&2; exit 2; }
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "$package" >/dev/null
fi

varn=${VARN:-}
if [ -z "$varn" ]; then
  bash scripts/setup.sh
  cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build build -j"$(nproc)" --target varn Varn504 >/dev/null
  varn=$root/build/varn
fi

out=${MATCH_DIR:-$root/build/match}
mkdir -p "$out"
pgn=$out/games.pgn
rm -f "$pgn" "$out/fastchess.log" "$out/config.json"
concurrency=${MATCH_CONCURRENCY:-$(nproc)}
rounds=$(( (games + 1) / 2 ))

args=(-engine "cmd=$(realpath "$varn")" name=varn)
if [ "$sprt" = 1 ]; then
  elo0=${1:-0}
  elo1=${2:-5}
  args+=(-engine "cmd=$(realpath "$opponent")" name=varn-old
         -sprt elo0="$elo0" elo1="$elo1" alpha=0.05 beta=0.05 model=normalized)
  name=varn-old
else
  name=$(basename "$opponent")
  engine=()
  for option in "$@"; do
    case "$option" in
      varn.*) option=${option#varn.}; args+=("option.${option%%=*}=${option#*=}") ;;
      UCI_Elo=*) name="$name-${option#*=}"; engine+=("option.${option%%=*}=${option#*=}") ;;
      *) engine+=("option.${option%%=*}=${option#*=}") ;;
    esac
  done
  [ "$name" = varn ] && name=varn-full
  args+=(-engine "cmd=$(realpath "$(command -v "$opponent")")" "name=$name" "${engine[@]}")
fi

openings=$(realpath "${MATCH_OPENINGS:-$root/scripts/openings.epd}")
case "$openings" in
  *.pgn) format=pgn ;;
  *) format=epd ;;
esac

echo "varn against $name: $games games at $tc, $concurrency at once, openings $openings; games in $pgn"
(cd "$out" && "$fastchess" "${args[@]}" -each proto=uci "tc=$tc" "timemargin=${MATCH_TIMEMARGIN:-0}" \
  -openings file="$openings" format="$format" order=sequential start="${MATCH_OPENINGS_START:-1}" \
  -rounds "$rounds" -repeat -concurrency "$concurrency" -ratinginterval 0 \
  -pgnout file="$pgn" notation=uci -log file="$out/fastchess.log" level=warn) | tee "$out/report.txt" |
  grep -E '^(Results of|Elo:|LLR:|Games:|Points:|Ptnml|SPRT)' || true

# Losses of varn that were not decided on the board.
awk '
  function value(line) { sub(/^\[[A-Za-z]+ "/, "", line); sub(/"\]$/, "", line); return line }
  /^\[White / { white = value($0) }
  /^\[Black / { black = value($0) }
  /^\[Result / { result = value($0) }
  /^\[Termination / {
    ending = value($0)
    lost = (white == "varn" && result == "0-1") || (black == "varn" && result == "1-0")
    if (result == "*" || (lost && ending != "normal" && ending != "adjudication")) {
      print "varn lost by " ending " (" white " - " black ", " result ")"; bad++
    }
  }
  END { exit bad > 0 }' "$pgn" || { echo "match failed: see $pgn and $out/fastchess.log" >&2; exit 1; }
