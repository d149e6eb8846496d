#!/usr/bin/env bash
# Packages Varn for users.
#   package.sh [deb]    the Debian package, build-package/varn_<version>_<arch>.deb
#   package.sh windows  a zip of the 32-bit Windows build (Varn504.dll, varn.exe,
#                       the header, the licence and a short text), cross-building
#                       first when build-win32/ holds no DLL
# The path of the file made is the last line printed.
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:-deb}
version=$(sed -n 's/^project(Varn504 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

need_packages() {
  local need=() tool package
  for pair in "$@"; do
    tool=${pair%%:*}; package=${pair#*:}
    command -v "$tool" >/dev/null || need+=("$package")
  done
  if [ ${#need[@]} -gt 0 ]; then
    local sudo_cmd=""
    [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
    $sudo_cmd apt-get update -qq || echo "apt-get update reported errors; trying the install anyway" >&2
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${need[@]}"
  fi
}

case "$kind" in
deb)
  # dpkg-shlibdeps (dpkg-dev) and file give the package its dependencies.
  need_packages cmake:cmake g++:g++ make:make dpkg-shlibdeps:dpkg-dev file:file readelf:binutils
  build=${VARN_PACKAGE_BUILD:-build-package}
  # The profile-guided, link-time optimised build: the same search, faster.
  bash scripts/build-pgo.sh "$build" -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
  rm -f "$build"/varn_*.deb
  (cd "$build" && cpack -G DEB >/dev/null)
  ls "$build"/varn_"$version"_*.deb
  ;;
windows)
  build=${VARN_WIN32_BUILD:-build-win32}
  [ -f "$build/Varn504.dll" ] || bash scripts/cross-build.sh
  name=varn-$version-win32
  stage="$build/$name"
  rm -rf "$stage" "$stage.zip"
  mkdir -p "$stage"
  cp "$build/Varn504.dll" "$build/varn.exe" Native/varn504.h "$stage/"
  if command -v i686-w64-mingw32-strip >/dev/null; then i686-w64-mingw32-strip "$stage/varn.exe"; fi
  # Windows line ends, so that any editor shows the texts as written.
  sed 's/$/\r/' LICENSE >"$stage/LICENSE.txt"
  sed 's/$/\r/' >"$stage/README.txt" <<TEXT
Varn $version for 32-bit Windows

Varn504.dll  the chess engine library: eighteen exported C functions (cdecl,
             by name, ordinals 1 to 18), declared in varn504.h
varn.exe     the UCI host: register it as a UCI engine in a chess program,
             or run it with commands, e.g.  varn.exe go depth 12
varn504.h    the C header for programs that call the library

Keep Varn504.dll beside varn.exe: the host loads it from its own folder.
Neither needs any other file; both run on 32-bit and 64-bit Windows.
MIT licence: LICENSE.txt.
TEXT
  (cd "$build" && cmake -E tar cf "$name.zip" --format=zip "$name")
  ls "$build/$name.zip"
  ;;
*)
  echo "usage: $0 [deb|windows]" >&2
  exit 2
  ;;
esac
