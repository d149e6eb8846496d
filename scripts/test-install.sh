#!/usr/bin/env bash
# Checks what users install: builds the Debian package, unpacks it into a
# scratch root (the machine's own system is not touched), then
#  - checks its dependencies, its files, the library's SONAME and that apt
#    would accept it;
#  - builds the C example in examples/ against the unpacked files only, once
#    through pkg-config and once through CMake's find_package(Varn504);
#  - runs both and the unpacked varn on one position and depth, and compares
#    their best moves;
#  - compares the unpacked varn's "bench 6" node total with the build tree's
#    signature;
#  - when a Windows build exists (build-win32/), makes its zip and checks it.
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$PWD
fen="r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -"
depth=9
failed=0
fail() { echo "test-install: $*" >&2; failed=1; }

deb=$(bash scripts/package.sh deb | tail -n 1)
build=$(dirname "$deb")
command -v pkg-config >/dev/null || bash -c 'sudo_cmd=""; [ "$(id -u)" -ne 0 ] && sudo_cmd=sudo;
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends pkgconf'
work=$(mktemp -d "${TMPDIR:-/tmp}/varn-install.XXXXXX")
trap 'rm -rf "$work"' EXIT
root=$work/root
dpkg-deb -x "$deb" "$root"

# The package: dependencies found by dpkg-shlibdeps, the multiarch library
# directory, and a control file apt accepts on this machine.
depends=$(dpkg-deb -f "$deb" Depends)
for library in libc6 libstdc++6; do
  grep -q "$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)
libdir=$root/usr/lib/$multiarch
for file in usr/bin/varn usr/bin/varn-perft usr/bin/varn-eval usr/bin/varn-bench usr/include/varn504.h \
  "usr/lib/$multiarch/libVarn504.so.1" "usr/lib/$multiarch/pkgconfig/varn504.pc" \
  "usr/lib/$multiarch/cmake/Varn504/Varn504Config.cmake" usr/share/man/man6/varn.6 usr/share/doc/varn/copyright; do
  [ -e "$root/$file" ] || fail "the package lacks /$file"
done
soname=$(objdump -p "$libdir/libVarn504.so.1" | awk '$1 == "SONAME" {print $2}')
[ "$soname" = libVarn504.so.1 ] || fail "SONAME is '$soname', not libVarn504.so.1"
apt-get install -s "$PWD/$deb" >"$work/apt.log" 2>&1 || { cat "$work/apt.log" >&2; fail "apt-get would not install $deb"; }

# The example through pkg-config, seeing only the unpacked .pc file, whose
# /usr paths are read below the scratch root.
export PKG_CONFIG_LIBDIR=$libdir/pkgconfig PKG_CONFIG_PATH= PKG_CONFIG_SYSROOT_DIR=$root
mkdir -p "$work/pc"
make -s -f "$source_dir/examples/Makefile" -C "$work/pc" VPATH="$source_dir/examples" \
  LDFLAGS="-Wl,-rpath,$(pkg-config --variable=libdir varn504)" analyse

# The example through find_package, with the scratch root as the only prefix.
cmake -S examples -B "$work/cmake" -DCMAKE_PREFIX_PATH="$root/usr" -DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF >/dev/null
cmake --build "$work/cmake" >/dev/null
found=$(sed -n 's/^Varn504_DIR:PATH=//p' "$work/cmake/CMakeCache.txt")
[[ "$found" == "$root"/* ]] || fail "find_package(Varn504) found $found, not the unpacked package"

# The same search three ways: both examples and the unpacked host, which must
# load the unpacked library (the loader's own log names the file).
varn=$root/usr/bin/varn
LD_DEBUG=files "$varn" uci 2>"$work/loader.log" >/dev/null
loaded=$(sed -n 's/.*calling init: \(.*libVarn504[^ ]*\).*/\1/p' "$work/loader.log" | head -n 1)
[ -n "$loaded" ] && [ "$(realpath "$loaded")" = "$(realpath "$libdir/libVarn504.so.1")" ] ||
  fail "the unpacked varn loaded '$loaded', not $libdir/libVarn504.so.1"
best_pc=$("$work/pc/analyse" "$fen" "$depth" | awk '$1 == "bestmove" {print $2}')
best_cmake=$("$work/cmake/analyse" "$fen" "$depth" | awk '$1 == "bestmove" {print $2}')
best_varn=$("$varn" position fen "$fen" go depth "$depth" | awk '$1 == "bestmove" {print $2}')
if [ -z "$best_varn" ] || [ "$best_pc" != "$best_varn" ] || [ "$best_cmake" != "$best_varn" ]; then
  fail "best moves differ: example (pkg-config) '$best_pc', example (CMake) '$best_cmake', varn '$best_varn'"
fi

# The installed library searches exactly as the build tree's core.
installed=$("$varn" bench 6 | awk '$1 == "nodes" {print $2}')
built=$("$build/varn-bench" 6 | awk '$1 == "signature" {print $2}')
[ -n "$built" ] && [ "$installed" = "$built" ] || fail "bench 6: installed varn $installed nodes, build tree signature $built"

if [ -f "${VARN_WIN32_BUILD:-build-win32}/Varn504.dll" ]; then
  zip=$(bash scripts/package.sh windows | tail -n 1)
  listing=$(cmake -E tar tf "$zip")
  for file in Varn504.dll varn.exe varn504.h LICENSE.txt README.txt; do
    grep -q "/$file\$" <<<"$listing" || fail "$zip lacks $file"
  done
fi

if [ "$failed" -ne 0 ]; then exit 1; fi
echo "test-install: $deb installs, the example builds through pkg-config and CMake and plays $best_varn as varn does; bench 6 signature $built"
