#!/bin/sh
# Many small documents, side by side in one run: `xmldsig verify -j 1` and
# `-j 2` over COPIES copies of the 2 KB bench invoices (RSA-2048 and ECDSA
# P-256, the certificate read from each document's KeyInfo) against the two
# in-process peers of ../shared/bench (the libxmlsec1 loop and the JDK warm
# loop) on the same documents, with the ratios; per core too, each pinned to
# one core with taskset (the JDK's compiler and collector threads otherwise
# run on the second core beside its loop); then the 200 KB invoice the
# same way, and the 20 MB and 200 MB invoices whole-process (median of RUNS
# wall-clock times, peak resident memory) beside `openssl dgst -sha256`.
#
#   bench/many_small_vs_peers.sh [BUILD_DIR] [COPIES] [RUNS]
#
# The documents come from ../shared/bench/gen.sh (BENCH_DATA, default
# /tmp/xmldsig-bench-data); the peers are built into /tmp as its README says.
# With BASELINE set to another build's xmldsig, the large documents are also
# timed with it, for a before-and-after.
set -eu

build_dir=${1:-build}
copies=${2:-5000}
runs=${3:-5}
here=$(cd "$(dirname "$0")" && pwd)
shared=$(cd "$here/../../shared/bench" && pwd)
data=${BENCH_DATA:-/tmp/xmldsig-bench-data}
tool="$build_dir/xmldsig"
[ -x "$tool" ] || { echo "no $tool: build first" >&2; exit 2; }
[ -f "$data/inv-2k.xml" ] || BENCH_DATA="$data" "$shared/gen.sh"
[ -x /tmp/xmlsec_loop ] ||
    cc -O2 -o /tmp/xmlsec_loop "$shared/xmlsec_loop.c" $(xmlsec1-config --cflags --libs)
[ -f /tmp/verify-java/Verify.class ] || javac -d /tmp/verify-java "$shared/Verify.java"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# The wall-clock seconds of a command that must succeed.
seconds() {
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
    end=$(date +%s%N)
    echo "$start $end" | awk '{ printf "%.4f\n", ($2 - $1) / 1e9 }'
}

# The median of RUNS timings of a command.
median_seconds() {
    : >"$tmp/times"
    r=0
    while [ "$r" -lt "$runs" ]; do
        seconds "$@" >>"$tmp/times"
        r=$((r + 1))
    done
    sort -n "$tmp/times" | awk '{ t[NR] = $1 } END { print t[int((NR + 1) / 2)] }'
}

# Files per second of `xmldsig verify -j JOBS` over COUNT copies of FILE,
# the best of three runs; with PIN set, on one core.
ours_rate() {
    jobs=$1 file=$2 count=$3
    : >"$tmp/rates"
    for _ in 1 2 3; do
        s=$(seconds ${PIN:-} "$tool" verify -j "$jobs" $(yes "$file" | head -n "$count"))
        echo "$count $s" | awk '{ printf "%.0f\n", $1 / $2 }' >>"$tmp/rates"
    done
    sort -n "$tmp/rates" | tail -n 1
}

xmlsec_rate() { ${PIN:-} /tmp/xmlsec_loop "$1" "$2" 3 | awk '{ print int($1) }'; }
jdk_rate() {
    ${PIN:-} java -cp /tmp/verify-java Verify --no-secure --loop 4 3 3 "$1" | awk '/^median:/ { print int($2) }'
}
one_core="taskset -c 0"

ratio() { echo "$1 $2" | awk '{ printf "%.2fx", $1 / $2 }'; }
max() { echo "$1 $2" | awk '{ print ($1 > $2) ? $1 : $2 }'; }

echo "machine: $(nproc) cores, load average $(cut -d' ' -f1-3 /proc/loadavg) at the start"
printf '%-20s %9s %9s %9s %9s | %9s %9s %9s | %-9s %-9s %s\n' document "-j 1" "-j 2" xmlsec JDK \
    "-j 1/core" "xmlsec/c" "JDK/core" "-j1:best" "per core" "-j2:-j1"
for row in "inv-2k.xml rsa2048.crt $copies" "inv-2k-ecdsa.xml ecp256.crt $copies" \
    "inv-200k.xml rsa2048.crt $((copies / 10))"; do
    set -- $row
    file="$data/$1"
    one=$(ours_rate 1 "$file" "$3")
    two=$(ours_rate 2 "$file" "$3")
    xmlsec=$(xmlsec_rate "$data/$2" "$file")
    jdk=$(jdk_rate "$file")
    one_pinned=$(PIN=$one_core ours_rate 1 "$file" "$3")
    xmlsec_pinned=$(PIN=$one_core xmlsec_rate "$data/$2" "$file")
    jdk_pinned=$(PIN=$one_core jdk_rate "$file")
    printf '%-20s %9s %9s %9s %9s | %9s %9s %9s | %-9s %-9s %s\n' "$1 x$3" "$one" "$two" "$xmlsec" "$jdk" \
        "$one_pinned" "$xmlsec_pinned" "$jdk_pinned" "$(ratio "$one" "$(max "$xmlsec" "$jdk")")" \
        "$(ratio "$one_pinned" "$(max "$xmlsec_pinned" "$jdk_pinned")")" "$(ratio "$two" "$one")"
done
echo "(files or verifications per second; /core: pinned to one core with taskset)"

echo
printf '%-14s %-26s %-26s %-26s %s\n' document "xmldsig (s, peak)" "JDK one run (s, peak)" "openssl dgst (s)" \
    "xmldsig vs dgst"
for name in inv-20m.xml inv-200m.xml; do
    file="$data/$name"
    bytes=$(stat -c %s "$file")
    /usr/bin/time -v "$tool" verify "$file" >/dev/null 2>"$tmp/v" || { echo "failed: $name" >&2; exit 1; }
    peak=$(awk -F': ' '/Maximum resident/ { print $2 * 1024 }' "$tmp/v")
    ours=$(median_seconds "$tool" verify "$file")
    /usr/bin/time -v java -cp /tmp/verify-java Verify --no-secure "$file" >/dev/null 2>"$tmp/j" || true
    jpeak=$(awk -F': ' '/Maximum resident/ { print $2 * 1024 }' "$tmp/j")
    jdk=$(awk -F': ' '/Elapsed \(wall/ { print $2 }' "$tmp/j")
    dgst=$(median_seconds openssl dgst -sha256 "$file")
    [ -z "${BASELINE:-}" ] || echo "$name with $BASELINE: $(median_seconds "$BASELINE" verify "$file") s"
    printf '%-14s %-26s %-26s %-26s %s\n' "$name" \
        "$ours s, $(ratio "$peak" "$bytes") file" "$jdk, $(ratio "$jpeak" "$bytes") file" "$dgst" \
        "$(ratio "$ours" "$dgst")"
done
echo "load average $(cut -d' ' -f1-3 /proc/loadavg) at the end"
