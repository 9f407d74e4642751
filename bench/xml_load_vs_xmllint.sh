#!/bin/sh
# Whole-process comparison of loading the generated 20 MB invoice document:
# `xmllint --noout FILE` against a process that only loads FILE into ClsXml.
# Prints the best of RUNS wall-clock times and the peak resident memory.
#
#   bench/xml_load_vs_xmllint.sh [BUILD_DIR] [RUNS]
set -eu

build_dir=${1:-build}
runs=${2:-5}
bench="$build_dir/xmldsig_bench"
[ -x "$bench" ] || { echo "no $bench: build the xmldsig_bench target first" >&2; exit 2; }
command -v xmllint >/dev/null || { echo "xmllint is not installed" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
doc="$tmp/invoice.xml"
"$bench" --write-xml "$doc"
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

ours=$(measure "$bench" --load-file "$doc")
theirs=$(measure xmllint --noout "$doc")
echo "document: $size_kb KB"
echo "$ours" | awk -v kb="$size_kb" '{ printf "ClsXml:  %.2f s  peak %d KB (%.2fx the document)\n", $1, $2, $2 / kb }'
echo "$theirs" | awk -v kb="$size_kb" '{ printf "xmllint: %.2f s  peak %d KB (%.2fx the document)\n", $1, $2, $2 / kb }'
echo "$ours $theirs" | awk '{ if ($1 > 0) printf "speed-up: %.1fx\n", $3 / $1 }'
