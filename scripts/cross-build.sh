#!/usr/bin/env bash
# Cross-compiles the engine for 32-bit Windows (Varn504.dll, varn.exe and the
# developer tools as .exe files) into build-win32/, then checks the DLL: the
# eighteen exports by name with ordinals 1 to 18, undecorated cdecl names, no
# static constructors (nothing would run them), and imports only from the
# list in scripts/windows-imports.txt, which it prints. The programs import
# from Windows system DLLs only (their compiler runtime is linked in).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${VARN_WIN32_BUILD:-build-win32}

need=()
command -v cmake >/dev/null || need+=(cmake)
command -v make >/dev/null || need+=(make)
command -v i686-w64-mingw32-g++-posix >/dev/null || need+=(g++-mingw-w64-i686-posix)
command -v i686-w64-mingw32-objdump >/dev/null || need+=(binutils-mingw-w64-i686)
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq || echo "apt-get update reported errors; trying the install anyway" >&2
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${need[@]}"
fi

cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake -DCMAKE_BUILD_TYPE=Release \
  -DVARN_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

dll="$build/Varn504.dll"
failed=0
fail() { echo "cross-build: $*" >&2; failed=1; }

# A 32-bit PE image. (objdump's output is read whole: grep -q would close the
# pipe early and pipefail would take that for a failure.)
header=$(i686-w64-mingw32-objdump -f "$dll")
grep -q 'file format pei-i386' <<<"$header" || fail "$dll is not a 32-bit Windows image"
private=$(i686-w64-mingw32-objdump -p "$dll")

# Exports: exactly the names of the module-definition file (which the tests
# hold to the header's list), ordinal n for the n-th name. objdump prints the
# name table either with the unbiased index or with the biased ordinal
# ("+base[n]"); both are read.
want=$(awk '$2 ~ /^@[0-9]+$/ { print substr($2, 2), $1 }' Native/Varn504.def | sort -n)
have=$(awk '
  /Ordinal Base/ { for (i = 1; i <= NF; i++) if ($i == "Base") base = $(i + 1) }
  /^\[Ordinal\/Name Pointer\] Table/ { names = 1; next }
  names && NF == 0 { names = 0 }
  names && /^\t\[/ {
    line = $0
    if (match(line, /\+base\[ *[0-9]+\]/)) {
      ordinal = substr(line, RSTART, RLENGTH); gsub(/[^0-9]/, "", ordinal)
    } else {
      match(line, /\[ *[0-9]+\]/); ordinal = substr(line, RSTART, RLENGTH); gsub(/[^0-9]/, "", ordinal)
      ordinal += base
    }
    print ordinal + 0, $NF
  }' <<<"$private" | sort -n)
if [ "$have" != "$want" ]; then
  fail "exports of $dll differ from Native/Varn504.def:"
  diff <(echo "$want") <(echo "$have") >&2 || true
fi

# cdecl: the object file defines each export as _Name, never _Name@bytes.
interface_obj=$(find "$build" -name 'interface.cpp.obj' | head -n 1)
if [ -n "$interface_obj" ]; then
  decorated=$(i686-w64-mingw32-nm "$interface_obj" | awk '$2 == "T" && $3 ~ /^_Varn.*@/ {print $3}')
  [ -z "$decorated" ] || fail "exports with stdcall decoration: $decorated"
fi

# No static constructors: the DLL links no start-up code that would run them.
for object in "$build"/CMakeFiles/varn_objects.dir/Native/*.obj; do
  sections=$(i686-w64-mingw32-objdump -h "$object" | awk '$2 ~ /^\.(ctors|init_array|tls)/ {print $2}')
  [ -z "$sections" ] || fail "$(basename "$object") needs start-up code: $sections"
done

# The DLL's imports, "DLL function" a line, each on the allowed list.
imports=$(awk '/^\tDLL Name:/ { dll = $3; next } /^$/ { dll = "" }
  dll && /^\t[0-9a-f]+\t/ { print dll, $NF }' <<<"$private")
echo "cross-build: $dll imports $(wc -l <<<"$imports") functions:"
awk '{ print "  " $0 }' <<<"$imports"
allowed=$(grep -v '^#' scripts/windows-imports.txt)
outside=$(grep -Fvxf <(echo "$allowed") <<<"$imports" || true)
[ -z "$outside" ] || fail "$dll imports what scripts/windows-imports.txt does not allow: $(tr '\n' ' ' <<<"$outside")"
grep -qx 'KERNEL32.dll DisableThreadLibraryCalls' <<<"$imports" || fail "$dll does not call DisableThreadLibraryCalls"

# The programs: Windows system DLLs only.
system='^(KERNEL32|msvcrt|ucrtbase|api-ms-win-[a-z0-9-]+|ADVAPI32|USER32|ntdll)\.dll$'
for image in "$build"/*.exe; do
  [ -f "$image" ] || continue
  while read -r name; do
    echo "$name" | grep -Eiq "$system" || fail "$image imports $name (not a Windows system DLL)"
  done < <(i686-w64-mingw32-objdump -p "$image" | awk '/DLL Name:/ {print $3}')
done

if [ "$failed" -ne 0 ]; then exit 1; fi
echo "cross-build: $dll exports the eighteen functions (ordinals 1-18) and imports only the allowed list"
