#!/usr/bin/env bash
# Installs a build into a scratch prefix and checks what an application gets
# from it: the installed tree, the tool run from there, and this folder's
# program built through find_package (shared and static library) and through
# pkg-config on a plain compiler command line. Each build must find DOCUMENT
# VALID and a copy with its total changed INVALID.
#   run.sh BUILD_DIR LIBDIR DOCUMENT   (CMAKE_COMMAND and CXX may name the tools)
set -euo pipefail
build=$1
libdir=$2
document=$3
here=$(cd "$(dirname "$0")" && pwd)
cmake=${CMAKE_COMMAND:-cmake}
cxx=${CXX:-c++}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
tampered=$scratch/tampered.xml
sed 's|>188.70<|>188.71<|' "$document" >"$tampered"
cmp -s "$document" "$tampered" && { echo "$document: nothing to tamper with" >&2; exit 1; }

# NAME PROGRAM...: VALID with exit 0 on the document, INVALID with exit 1 on
# the tampered copy.
check() {
  local name=$1 out status
  shift
  status=0
  out=$("$@" "$document") || status=$?
  [ $status -eq 0 ] && grep -q ' VALID' <<<"$out" || { echo "$name: exit $status: $out" >&2; return 1; }
  status=0
  out=$("$@" "$tampered") || status=$?
  [ $status -eq 1 ] && grep -q ' INVALID' <<<"$out" || { echo "$name, tampered: exit $status: $out" >&2; return 1; }
  echo "$name: ok"
}

"$cmake" --install "$build" --prefix "$prefix" >/dev/null
for file in include/xmldsig/xmldsig.h "$libdir/libxmldsig.a" "$libdir/libxmldsig.so.1.0.0" \
  "$libdir/cmake/xmldsig/xmldsigConfig.cmake" "$libdir/cmake/xmldsig/xmldsigConfigVersion.cmake" \
  "$libdir/pkgconfig/xmldsig.pc" bin/xmldsig share/man/man1/xmldsig.1; do
  [ -e "$prefix/$file" ] || { echo "not installed: $file" >&2; exit 1; }
done
[ "$(readlink "$prefix/$libdir/libxmldsig.so")" = libxmldsig.so.1 ] &&
  [ "$(readlink "$prefix/$libdir/libxmldsig.so.1")" = libxmldsig.so.1.0.0 ] ||
  { echo "libxmldsig.so links are not so -> so.1 -> so.1.0.0" >&2; exit 1; }
check "installed tool" "$prefix/bin/xmldsig" verify

"$cmake" -S "$here" -B "$scratch/cmake" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
found=$(sed -n 's/^xmldsig_DIR:PATH=//p' "$scratch/cmake/CMakeCache.txt")
[ "$found" = "$prefix/$libdir/cmake/xmldsig" ] || { echo "find_package found $found" >&2; exit 1; }
"$cmake" --build "$scratch/cmake" -j2 >/dev/null
check "find_package, xmldsig::xmldsig" "$scratch/cmake/consumer_xmldsig"
check "find_package, xmldsig::xmldsig_static" "$scratch/cmake/consumer_xmldsig_static"

export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
# shellcheck disable=SC2046 # the flags are meant to split into words
"$cxx" -std=c++20 -Wall -Wextra -Werror -pedantic "$here/main.cpp" -o "$scratch/consumer_pc" \
  $(pkg-config --cflags --libs xmldsig)
check "pkg-config" env LD_LIBRARY_PATH="$prefix/$libdir" "$scratch/consumer_pc"
