#!/bin/sh
# Whole-process `xmldsig verify` against `xmlsec1 --verify` on the same
# generated documents (enveloped, exclusive C14N, SHA-256): 2 KB RSA-2048,
# 2 KB ECDSA P-256, 200 KB, 20 MB and 200 MB RSA-2048. The two verifiers run
# interleaved, RUNS times each; the best wall-clock time and its peak
# resident memory are reported, with `openssl dgst -sha256` over the same
# bytes as the floor. Then the in-process throughput on the 2 KB RSA
# document beside `openssl speed`'s RSA-2048 verifications per second.
#
#   bench/verify_vs_xmlsec1.sh [BUILD_DIR] [RUNS] [SIZES]
#   SIZES defaults to "2k 2k-ec 200k 20m 200m"
set -eu

build_dir=${1:-build}
runs=${2:-3}
sizes=${3:-"2k 2k-ec 200k 20m 200m"}
tool="$build_dir/xmldsig"
bench="$build_dir/xmldsig_bench"
here=$(cd "$(dirname "$0")" && pwd)
for need in "$tool" "$bench"; do
    [ -x "$need" ] || { echo "no $need: build first (scripts/build)" >&2; exit 2; }
done
command -v xmlsec1 >/dev/null || { echo "xmlsec1 is not installed" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$tmp/rsa.pem" 2>/dev/null
openssl pkey -in "$tmp/rsa.pem" -pubout -out "$tmp/rsa.pub"
openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$tmp/ec.pem"
openssl pkey -in "$tmp/ec.pem" -pubout -out "$tmp/ec.pub"

# Writes $tmp/NAME.xml signed with KEY; prints nothing.
make_document() {
    name=$1 bytes=$2 method=$3 key=$4
    python3 "$here/make_signed_invoice.py" "$bytes" "$method" "$tmp/$name.tmpl.xml"
    xmlsec1 --sign --privkey-pem "$tmp/$key.pem" --output "$tmp/$name.xml" "$tmp/$name.tmpl.xml" 2>/dev/null
    rm -f "$tmp/$name.tmpl.xml"
}

# Prints "seconds peak_kb" for a command that must succeed: the mean wall
# time of $repeat back-to-back runs (small documents finish within the
# timer's resolution otherwise) and the peak memory of one more.
measure_once() {
    /usr/bin/time -f '%M' -o "$tmp/time" "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
    start=$(date +%s%N)
    r=0
    while [ "$r" -lt "$repeat" ]; do
        "$@" >/dev/null 2>&1
        r=$((r + 1))
    done
    end=$(date +%s%N)
    echo "$(( (end - start) / repeat / 1000 )) $(cat "$tmp/time")" | awk '{ printf "%.4f %d\n", $1 / 1e6, $2 }'
}

best() { sort -n "$1" | head -n 1; }

printf '%-8s %10s | %-20s | %-20s | %s\n' document bytes "xmldsig (s, peak)" "xmlsec1 (s, peak)" "speed-up / memory"
for size in $sizes; do
    case $size in
    2k) make_document "$size" 2048 rsa-sha256 rsa; key=rsa ;;
    2k-ec) make_document "$size" 2048 ecdsa-sha256 ec; key=ec ;;
    200k) make_document "$size" 200000 rsa-sha256 rsa; key=rsa ;;
    20m) make_document "$size" 20000000 rsa-sha256 rsa; key=rsa ;;
    200m) make_document "$size" 200000000 rsa-sha256 rsa; key=rsa ;;
    *) echo "unknown size $size" >&2; exit 2 ;;
    esac
    doc="$tmp/$size.xml"
    bytes=$(wc -c <"$doc")
    repeat=1
    [ "$bytes" -lt 1000000 ] && repeat=20
    : >"$tmp/ours" && : >"$tmp/theirs" && : >"$tmp/dgst"
    i=0
    while [ "$i" -lt "$runs" ]; do
        measure_once "$tool" verify --key "$tmp/$key.pub" "$doc" >>"$tmp/ours"
        measure_once xmlsec1 --verify --pubkey-pem "$tmp/$key.pub" "$doc" >>"$tmp/theirs"
        measure_once openssl dgst -sha256 "$doc" >>"$tmp/dgst"
        i=$((i + 1))
    done
    echo "$size $bytes $(best "$tmp/ours") $(best "$tmp/theirs") $(best "$tmp/dgst")" | awk '{
        kb = $2 / 1024
        printf "%-8s %10d | %7.3f s %8d KB | %7.3f s %8d KB | %5.1fx faster, %.2fx vs %.2fx the document",
               $1, $2, $3, $4, $5, $6, ($3 > 0 ? $5 / $3 : 0), $4 / kb, $6 / kb
        if ($7 > 0.1) printf "; %.1fx openssl dgst (%.2f s), xmlsec1 %.1fx", $3 / $7, $7, $5 / $7
        printf "\n" }'
    [ "$size" = 2k ] && cp "$doc" "$tmp/small.xml"
    [ "$size" = 2k ] || rm -f "$doc"
done

if [ -f "$tmp/small.xml" ]; then
    echo
    XMLDSIG_VERIFY_FILE="$tmp/small.xml" XMLDSIG_VERIFY_KEY="$tmp/rsa.pub" \
        "$bench" --benchmark_filter='^verify/' --benchmark_min_time=2 2>/dev/null | grep '^verify/' |
        awk '{ for (i = 1; i <= NF; i++) if ($i ~ /^items_per_second=/) { v = $i; sub(/^items_per_second=/, "", v) }
               printf "in-process verify of the 2 KB RSA document: %s verifications (and their digests)\n", v }'
    openssl speed -seconds 2 rsa2048 2>/dev/null | awk '/^rsa 2048 bits/ { printf "openssl speed rsa2048: %s verify/s\n", $NF }'
fi
