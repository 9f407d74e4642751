#!/usr/bin/env bash
# Configures this folder's project, which add_subdirectory()s the checkout, in
# a scratch folder, and checks what a parent project gets: no tests, no build
# type or install rules imposed, none of GTest, libxml2, benchmark or pybind11
# looked for, and programs linking xmldsig::xmldsig_static and xmldsig::xmldsig
# that find DOCUMENT VALID and a copy with its total changed INVALID.
#   run.sh CHECKOUT DOCUMENT   (CMAKE_COMMAND, CTEST_COMMAND and CXX may name the tools)
set -euo pipefail
checkout=$1
document=$2
here=$(cd "$(dirname "$0")" && pwd)
cmake=${CMAKE_COMMAND:-cmake}
ctest=${CTEST_COMMAND:-ctest}
cxx=${CXX:-c++}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
build=$scratch/build
tampered=$scratch/tampered.xml
sed 's|>188.70<|>188.71<|' "$document" >"$tampered"
cmp -s "$document" "$tampered" && { echo "$document: nothing to tamper with" >&2; exit 1; }
fail() { echo "$*" >&2; exit 1; }

"$cmake" -S "$here" -B "$build" -DXMLDSIG_CHECKOUT="$checkout" -DCMAKE_CXX_COMPILER="$cxx" >"$scratch/log" 2>&1 ||
  { cat "$scratch/log" >&2; exit 1; }
cache=$build/CMakeCache.txt
grep -qx 'CMAKE_BUILD_TYPE:STRING=' "$cache" || fail "the build type was set: $(grep '^CMAKE_BUILD_TYPE:' "$cache")"
for option in XMLDSIG_TESTS XMLDSIG_BENCH XMLDSIG_PYTHON XMLDSIG_INSTALL; do
  grep -qx "$option:BOOL=OFF" "$cache" || fail "$option is not OFF: $(grep "^$option:" "$cache")"
done
for found in GTest_DIR GTEST_INCLUDE_DIR LIBXML2_INCLUDE_DIR benchmark_DIR pybind11_DIR; do
  ! grep -q "^$found:" "$cache" || fail "looked for a package of the checks: $(grep "^$found:" "$cache")"
done
tests=$("$ctest" --test-dir "$build" -N)
grep -qx 'Total Tests: 0' <<<"$tests" || fail "the parent project has tests: $tests"
! grep -rq 'file(INSTALL' "$build/xmldsig/cmake_install.cmake" || fail "the checkout added install rules"

"$cmake" --build "$build" -j2 --target embedded_xmldsig embedded_xmldsig_static >"$scratch/log" 2>&1 ||
  { cat "$scratch/log" >&2; exit 1; }
for variant in xmldsig xmldsig_static; do
  status=0
  out=$("$build/embedded_$variant" "$document") || status=$?
  [ $status -eq 0 ] && grep -q ' VALID' <<<"$out" || fail "xmldsig::$variant: exit $status: $out"
  status=0
  out=$("$build/embedded_$variant" "$tampered") || status=$?
  [ $status -eq 1 ] && grep -q ' INVALID' <<<"$out" || fail "xmldsig::$variant, tampered: exit $status: $out"
  echo "xmldsig::$variant: ok"
done
