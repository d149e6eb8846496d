#!/usr/bin/env bash
# Mutation run: applies each small source change of a mutant list one at a
# time, rebuilds the optimised build incrementally, runs the whole test suite
# and prints which tests caught the change. The source is always restored,
# also when the run is interrupted.
#
# Usage: scripts/mutants.sh [mutant list] [name filter]
#   The list (default scripts/mutants.txt) holds one mutant a line, fields
#   separated by one tab: name, file, exact original text, replacement. The
#   original text must occur exactly once in its file (a \n in either text
#   stands for a line break); otherwise the mutant is
#   reported as not applied. The filter, an extended grep pattern, picks mutants by name.
# Build and logs go to build-mutants/ (MUTANT_JOBS sets the parallel jobs, 2 by default).
# MUTANT_FIRST=1 ends each run at its first failing test: much quicker on a busy
# machine, but names only one catcher per mutant.
# A mutant of a JavaScript file is judged by the package's and the page's unit
# tests instead, which need no engine build (npm ci in npm/ and web/ first).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
list=$(realpath "${1:-scripts/mutants.txt}")
filter=${2:-}
jobs=${MUTANT_JOBS:-2}
stop_early=()
[ -n "${MUTANT_FIRST:-}" ] && stop_early=(--stop-on-failure)
work=$root/build-mutants
build=$work/build
mkdir -p "$work/logs"

if ! command -v cmake >/dev/null || ! command -v perl >/dev/null; then bash scripts/setup.sh; fi

backup=$work/original.txt
current=""
restore() {
  if [ -n "$current" ]; then
    cp "$backup" "$root/$current"
    current=""
  fi
}
trap restore EXIT
trap 'restore; exit 130' INT TERM

build_and_test() {
  local log=$1
  if ! cmake --build "$build" -j"$jobs" >"$log.build" 2>&1; then return 2; fi
  ctest --test-dir "$build" -j"$jobs" "${stop_early[@]}" >"$log" 2>&1 && return 0
  return 1
}

js_tests=(npm/test/units.test.js web/tests/logic.test.js)
js_checked=""
test_js() {
  node --test --test-concurrency=1 "${js_tests[@]}" >"$1" 2>&1
}

# The failed tests of a node --test log, innermost first, each once; at most three.
js_caught_by() {
  grep -E '^ *not ok [0-9]+ - ' "$1" | sort -r | sed 's/^ *not ok [0-9]* - //' | awk '!seen[$0]++' | head -n 3 |
    paste -sd, - | sed 's/,/, /g'
}

# The failed tests of a ctest log as Suite.Test, without the instantiation
# prefix and parameter suffix, each once; at most three and a count.
caught_by() {
  local failed count shown
  # The summary at the end, or the result lines of a run that was cut short.
  failed=$({ sed -n '/The following tests FAILED:/,$p' "$1" | sed -n 's/^[[:space:]]*[0-9]* - \(.*\) (.*$/\1/p'
    grep -q 'The following tests FAILED:' "$1" ||
      grep -E '\*\*\*(Failed|Timeout|Exception)|Not Run' "$1" | sed -n 's/^.*Test *#[0-9]*: \([^ ]*\).*/\1/p'; } |
    sed 's/ .*//; s/^[A-Za-z0-9_]*\/\([A-Za-z0-9_]*\.\)/\1/; s/^\([A-Za-z0-9_]*\.[A-Za-z0-9_]*\).*/\1/' | awk '!seen[$0]++')
  count=$(grep -c . <<<"$failed" || true)
  shown=$(head -n 3 <<<"$failed" | paste -sd, - | sed 's/,/, /g')
  [ "$count" -gt 3 ] && shown="$shown (+$((count - 3)) more)"
  echo "${shown:-failed without a test name; see the log}"
}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVARN_TEST_TIMEOUT=60 >/dev/null
if ! build_and_test "$work/logs/unchanged"; then
  echo "The unchanged source does not build or pass its tests; see $work/logs/unchanged*" >&2
  exit 1
fi

start=$(date +%s)
total=0 applied=0 caught=0 survived=0 unbuilt=0 skipped=0
printf '%-40s | %s\n' "mutant" "caught by"
printf '%-40s-+-%s\n' "----------------------------------------" "---------"
while IFS=$'\t' read -r name file original replacement; do
  case "$name" in '' | '#'*) continue ;; esac
  if [ -n "$filter" ] && ! grep -Eq -- "$filter" <<<"$name"; then continue; fi
  total=$((total + 1))
  original=${original//\\n/$'\n'}
  replacement=${replacement//\\n/$'\n'}
  target=$root/$file
  occurrences=0
  [ -f "$target" ] && occurrences=$(ORIGINAL=$original perl -0777 -ne 'print scalar(() = /\Q$ENV{ORIGINAL}\E/g)' "$target")
  if [ "$occurrences" -ne 1 ]; then
    printf '%-40s | not applied: original text found %s times in %s\n' "$name" "$occurrences" "$file"
    skipped=$((skipped + 1))
    continue
  fi
  if [[ $file == *.js && -z $js_checked ]]; then
    if ! test_js "$work/logs/unchanged-js"; then
      echo "The JavaScript unit tests do not pass unchanged; see $work/logs/unchanged-js" >&2
      exit 1
    fi
    js_checked=yes
  fi
  cp "$target" "$backup"
  current=$file
  ORIGINAL=$original REPLACEMENT=$replacement perl -0777 -i -pe 's/\Q$ENV{ORIGINAL}\E/$ENV{REPLACEMENT}/' "$target"
  applied=$((applied + 1))
  log=$work/logs/$name
  status=0
  if [[ $file == *.js ]]; then
    test_js "$log" || status=1
  else
    build_and_test "$log" || status=$?
  fi
  restore
  case $status in
    0)
      printf '%-40s | NOT CAUGHT\n' "$name"
      survived=$((survived + 1))
      ;;
    2)
      printf '%-40s | did not build\n' "$name"
      unbuilt=$((unbuilt + 1))
      ;;
    *)
      if [[ $file == *.js ]]; then by=$(js_caught_by "$log"); else by=$(caught_by "$log"); fi
      printf '%-40s | %s\n' "$name" "${by:-failed without a test name; see the log}"
      caught=$((caught + 1))
      ;;
  esac
done <"$list"

echo
echo "mutants: $total, applied: $applied, caught: $caught, not caught: $survived, did not build: $unbuilt, not applied: $skipped"
echo "time: $(($(date +%s) - start)) s"
