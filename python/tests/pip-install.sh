#!/usr/bin/env bash
# Installs the package with pip, as a user would, into a fresh virtual
# environment that sees Debian's packages (for the [dask] extra), offline,
# from a copy of the checkout (the build writes into its source folder); then
# verifies DOCUMENT with the installed package, from outside the checkout, and
# type-checks the example against the installed stubs.
#   pip-install.sh CHECKOUT WORK DOCUMENT   (WORK is emptied first; CMAKE_ARGS
#   is passed on to the package's CMake configure)
set -euo pipefail
checkout=$1
work=$2
document=$3
python=${XMLDSIG_TEST_PYTHON:-/usr/bin/python3}
fail() { echo "$*" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$work/source"
# What the package's build reads; the tests and their corpus are left out.
for item in CMakeLists.txt pyproject.toml setup.py README.md cmake include src report cli python examples; do
  cp -r "$checkout/$item" "$work/source/"
done
rm -rf "$work/source/python/tests"

"$python" -m venv --system-site-packages "$work/venv"
venv_python=$work/venv/bin/python
start=$SECONDS
"$venv_python" -m pip install --quiet --no-build-isolation --no-index "$work/source[dask]"
echo "pip install: $((SECONDS - start)) s"

cd "$work"
example=$checkout/examples/verify_document.py
location=$("$venv_python" -c 'import xmldsig; print(xmldsig.__file__)')
[[ $location == "$work/venv/"* ]] || fail "xmldsig was imported from $location, not the venv"
"$venv_python" -c 'import xmldsig.dask' || fail "the [dask] extra does not import"
out=$("$venv_python" "$example" "$document" "$work/report.html") || fail "verification failed: $out"
grep -q ' VALID, signed by' <<<"$out" || fail "not VALID: $out"
grep -q '<html' "$work/report.html" || fail "no HTML report: $(head -c 200 "$work/report.html")"
"$venv_python" -m mypy --strict --cache-dir "$work/mypy-cache" "$example" || fail "mypy --strict fails on the example"
echo "$out"
