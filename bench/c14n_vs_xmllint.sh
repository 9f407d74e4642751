#!/bin/sh
# Whole-process comparison of canonicalizing one document (inclusive C14N
# 1.0 with comments, whole document): the bench binary's single XmlCanon
# pass against `xmllint --c14n FILE`. Prints the best of RUNS wall-clock
# times and the peak resident memory of each, against the document's size.
#
#   bench/c14n_vs_xmllint.sh [BUILD_DIR] [RUNS] [SIZE_MB | FILE]
#
# Without a FILE the benchmark's generated document of SIZE_MB (default 20)
# is written to a scratch directory first.
set -eu

build_dir=${1:-build}
runs=${2:-3}
what=${3:-20}
bench="$build_dir/xmldsig_bench"
[ -x "$bench" ] || { echo "no $bench: build the xmldsig_bench target first" >&2; exit 2; }
command -v xmllint >/dev/null || { echo "xmllint is not installed" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
if [ -f "$what" ]; then
    doc=$what
else
    doc="$tmp/c14n.xml"
    XMLDSIG_C14N_WRITE="$doc" XMLDSIG_C14N_WRITE_MB="$what" "$bench" --benchmark_filter='^write-c14n-document' >/dev/null 2>&1
fi
size_kb=$(( $(wc -c <"$doc") / 1024 ))

# Prints "best_seconds peak_kb" over the runs of a command.
measure() {
    i=0
    while [ "$i" -lt "$runs" ]; do
        /usr/bin/time -f '%e %M' -o "$tmp/time" "$@" >/dev/null 2>&1
        cat "$tmp/time"
        i=$((i + 1))
    done | sort -n | head -n 1
}

export XMLDSIG_C14N_FILE="$doc"
ours=$(measure "$bench" --benchmark_filter='^c14n-file')
theirs=$(measure xmllint --c14n "$doc")
echo "document: $size_kb KB"
echo "$ours" | awk -v kb="$size_kb" '{ printf "XmlCanon:       %.2f s  peak %d KB (%.2fx the document)\n", $1, $2, $2 / kb }'
echo "$theirs" | awk -v kb="$size_kb" '{ printf "xmllint --c14n: %.2f s  peak %d KB (%.2fx the document)\n", $1, $2, $2 / kb }'
echo "$ours $theirs" | awk '{ if ($1 > 0) printf "speed-up: %.1fx\n", $3 / $1 }'
