#!/bin/sh
# Whole-process `xmldsig verify` of signatures with many references, to
# check that time grows linearly with their number: 1,000 and 10,000
# references, each naming its own element ("ids") or all naming the whole
# document with the same transforms ("whole", 10 small elements; "whole-1mb",
# 20,000 elements). 10,000 is over the default
# MaxReferences, so it is timed twice: refused with the limit's reason, and
# verified with the limit raised. Best of RUNS wall-clock times.
#
#   bench/many_references.sh [BUILD_DIR] [RUNS]
set -eu

build_dir=${1:-build}
runs=${2:-3}
tool="$build_dir/xmldsig"
here=$(cd "$(dirname "$0")" && pwd)
[ -x "$tool" ] || { echo "no $tool: build first" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$tmp/key.pem" 2>/dev/null
openssl pkey -in "$tmp/key.pem" -pubout -out "$tmp/pub.pem"

# best_of FILE [OPTIONS...]: the best wall-clock seconds and the verdict line.
best_of() {
    file=$1
    shift
    best=
    for _ in $(seq "$runs"); do
        start=$(date +%s.%N)
        verdict=$("$tool" verify --key "$tmp/pub.pem" "$@" "$file" || true)
        end=$(date +%s.%N)
        t=$(echo "$end - $start" | bc)
        if [ -z "$best" ] || [ "$(echo "$t < $best" | bc)" = 1 ]; then best=$t; fi
    done
    printf '%.3f s  %s\n' "$best" "${verdict#"$file": }"
}

printf '| references | kind | options | time | verdict |\n|---|---|---|---|---|\n'
for count in 1000 10000; do
    for kind in ids whole whole-1mb; do
        doc="$tmp/${kind}_$count.xml"
        case $kind in
        whole-1mb) python3 "$here/make_many_references.py" "$count" whole "$tmp/key.pem" "$doc" 20000 ;;
        *) python3 "$here/make_many_references.py" "$count" "$kind" "$tmp/key.pem" "$doc" ;;
        esac
        result=$(best_of "$doc")
        printf '| %s | %s | defaults | %s | %s |\n' "$count" "$kind" "${result%%  *}" "${result#*  }"
        if [ "$count" -gt 1000 ]; then
            result=$(best_of "$doc" --verify-options "{\"MaxReferences\": $count}")
            printf '| %s | %s | MaxReferences %s | %s | %s |\n' "$count" "$kind" "$count" "${result%%  *}" \
                "${result#*  }"
        fi
    done
done
