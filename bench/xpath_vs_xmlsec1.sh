#!/bin/sh
# The XPath evaluator on the 20 MB invoice. The document's reference gets an
# XPath transform whose expression no recognised form matches,
#     count(ancestor-or-self::ds:Signature) = 0
# then exclusive C14N, and an HMAC-SHA256 signature; `xmldsig verify` is
# timed beside `xmlsec1 --verify` on the same file (best of RUNS runs, peak
# resident memory). A twin with the recognised form
# not(ancestor-or-self::ds:Signature) times the text-edit route.
#
# xmlsec1's own XPath transform takes many minutes on this document, so the
# reference digest is computed by xmlsec1 through the enveloped-signature
# transform, which selects the same nodes here (the document holds one
# signature); the SignedInfo with the XPath transform is then HMAC-signed
# with the openssl command over its exclusive canonical form. xmlsec1
# --verify runs once, stopped after XMLSEC_TIMEOUT seconds (default 1200).
#
#   bench/xpath_vs_xmlsec1.sh [BUILD_DIR] [RUNS] [DOCUMENT]
#   DOCUMENT defaults to /tmp/xmldsig-bench-data/inv-20m.xml (made by the
#   shared bench's gen.sh)
set -eu

build_dir=${1:-build}
runs=${2:-3}
source_doc=${3:-/tmp/xmldsig-bench-data/inv-20m.xml}
xmlsec_timeout=${XMLSEC_TIMEOUT:-1200}
tool="$build_dir/xmldsig"
[ -x "$tool" ] || { echo "no $tool: build first" >&2; exit 2; }
[ -f "$source_doc" ] || { echo "no $source_doc: run the shared bench's gen.sh" >&2; exit 2; }
command -v xmlsec1 >/dev/null || { echo "xmlsec1 is not installed" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
printf 'xpath bench secret' >"$tmp/hmac.key"
secret=$(od -An -tx1 "$tmp/hmac.key" | tr -d ' \n')

# template SOURCE OUT EXPRESSION DIGEST: the first reference's transforms
# replaced (EXPRESSION empty: enveloped-signature), HMAC-SHA256, no KeyInfo,
# the DigestValue set to DIGEST, SignedInfo given the Id "si".
template() {
    python3 - "$@" <<'PY'
import re, sys
src, out, expression, digest = sys.argv[1:5]
text = open(src, encoding="utf-8").read()
first = ('<ds:Transform Algorithm="http://www.w3.org/TR/1999/REC-xpath-19991116"><ds:XPath>' + expression +
         '</ds:XPath></ds:Transform>' if expression else
         '<ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/>')
transforms = ('<ds:Transforms>' + first +
              '<ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/></ds:Transforms>')
text = re.sub(r'<ds:Transforms>.*?</ds:Transforms>', transforms, text, count=1, flags=re.S)
text = re.sub(r'(<ds:SignatureMethod Algorithm=")[^"]*', r'\1http://www.w3.org/2001/04/xmldsig-more#hmac-sha256',
              text, count=1)
text = text.replace('<ds:SignedInfo>', '<ds:SignedInfo Id="si">', 1)
text = re.sub(r'<ds:DigestValue(/>|>[^<]*</ds:DigestValue>)', '<ds:DigestValue>' + digest + '</ds:DigestValue>',
              text, count=1)
text = re.sub(r'<ds:SignatureValue(/>|>[^<]*</ds:SignatureValue>)', '<ds:SignatureValue></ds:SignatureValue>', text,
              count=1)
text = re.sub(r'<ds:KeyInfo>.*?</ds:KeyInfo>', '', text, count=1, flags=re.S)
open(out, "w", encoding="utf-8").write(text)
PY
}

# Writes $tmp/NAME.xml for the expression.
make_document() {
    name=$1 expression=$2
    template "$source_doc" "$tmp/enveloped.xml" "" ""
    xmlsec1 --sign --hmackey "$tmp/hmac.key" --output "$tmp/enveloped.signed.xml" "$tmp/enveloped.xml"
    digest=$(sed -n 's|.*<ds:DigestValue>\([^<]*\)</ds:DigestValue>.*|\1|p' "$tmp/enveloped.signed.xml" | head -n 1)
    template "$source_doc" "$tmp/$name.unsigned.xml" "$expression" "$digest"
    "$tool" c14n --exclusive --fragment si "$tmp/$name.unsigned.xml" >"$tmp/si.c14n"
    value=$(openssl dgst -sha256 -mac HMAC -macopt "hexkey:$secret" -binary "$tmp/si.c14n" | base64 -w0)
    sed "s|<ds:SignatureValue></ds:SignatureValue>|<ds:SignatureValue>$value</ds:SignatureValue>|" \
        "$tmp/$name.unsigned.xml" >"$tmp/$name.xml"
    rm -f "$tmp/enveloped.xml" "$tmp/enveloped.signed.xml" "$tmp/$name.unsigned.xml"
}

# Prints "seconds peak_kb" of one run of a command that must succeed.
measure() {
    start=$(date +%s%N)
    /usr/bin/time -f '%M' -o "$tmp/time" "$@" >"$tmp/out" 2>&1 || { cat "$tmp/out" >&2; echo "failed: $*" >&2; exit 1; }
    end=$(date +%s%N)
    echo "$(( (end - start) / 1000 )) $(cat "$tmp/time")" | awk '{ printf "%.3f %d\n", $1 / 1e6, $2 }'
}

best() { sort -n "$1" | head -n 1; }

make_document evaluated 'count(ancestor-or-self::ds:Signature) = 0'
make_document recognised 'not(ancestor-or-self::ds:Signature)'

printf '%-11s | %-22s\n' route "xmldsig verify (s, peak KB)"
for name in evaluated recognised; do
    : >"$tmp/ours"
    r=0
    while [ "$r" -lt "$runs" ]; do
        measure "$tool" verify --hmac-key "$secret" --hmac-encoding hex "$tmp/$name.xml" >>"$tmp/ours"
        r=$((r + 1))
    done
    set -- $(best "$tmp/ours")
    printf '%-11s | %8s s %10s\n' "$name" "$1" "$2"
    [ "$name" = evaluated ] && ours_evaluated=$1
done

start=$(date +%s%N)
if timeout "$xmlsec_timeout" xmlsec1 --verify --hmackey "$tmp/hmac.key" "$tmp/evaluated.xml" >"$tmp/out" 2>&1; then
    end=$(date +%s%N)
    seconds=$(echo "$(( (end - start) / 1000 ))" | awk '{ printf "%.3f", $1 / 1e6 }')
    printf 'xmlsec1 --verify, evaluated route: %s s; xmlsec1 / xmldsig = %.1f\n' "$seconds" \
        "$(echo "$seconds $ours_evaluated" | awk '{ print $1 / $2 }')"
else
    printf 'xmlsec1 --verify, evaluated route: did not finish in %s s (or failed); xmlsec1 / xmldsig > %.1f\n' \
        "$xmlsec_timeout" "$(echo "$xmlsec_timeout $ours_evaluated" | awk '{ print $1 / $2 }')"
    tail -n 3 "$tmp/out" >&2
fi
