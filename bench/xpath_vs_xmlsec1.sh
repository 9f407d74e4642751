#!/bin/sh
# The XPath evaluator on the 20 MB invoice: the document's reference is
# re-signed by xmlsec1 (HMAC-SHA256) with an XPath transform whose
# expression no recognised form matches,
#     count(ancestor-or-self::ds:Signature) = 0
# followed by exclusive C14N, and `xmldsig verify` is timed beside
# `xmlsec1 --verify` on the same file. A twin signed with the recognised
# form not(ancestor-or-self::ds:Signature) shows the text-edit route. Best
# wall-clock time of RUNS runs each, and peak resident memory.
#
#   bench/xpath_vs_xmlsec1.sh [BUILD_DIR] [RUNS] [DOCUMENT]
#   DOCUMENT defaults to /tmp/xmldsig-bench-data/inv-20m.xml (made by the
#   shared bench's gen.sh)
set -eu

build_dir=${1:-build}
runs=${2:-3}
source_doc=${3:-/tmp/xmldsig-bench-data/inv-20m.xml}
tool="$build_dir/xmldsig"
[ -x "$tool" ] || { echo "no $tool: build first" >&2; exit 2; }
[ -f "$source_doc" ] || { echo "no $source_doc: run the shared bench's gen.sh" >&2; exit 2; }
command -v xmlsec1 >/dev/null || { echo "xmlsec1 is not installed" >&2; exit 2; }

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
printf 'xpath bench secret' >"$tmp/hmac.key"

# Writes $tmp/NAME.xml: the document with its first reference's transforms
# replaced by the expression and exclusive C14N, signed with the HMAC key.
make_document() {
    name=$1 expression=$2
    python3 - "$source_doc" "$tmp/$name.tmpl.xml" "$expression" <<'PY'
import re, sys
src, out, expression = sys.argv[1], sys.argv[2], sys.argv[3]
text = open(src, encoding="utf-8").read()
transforms = ('<ds:Transforms><ds:Transform Algorithm="http://www.w3.org/TR/1999/REC-xpath-19991116">'
              '<ds:XPath>' + expression + '</ds:XPath></ds:Transform>'
              '<ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/></ds:Transforms>')
text = re.sub(r'<ds:Transforms>.*?</ds:Transforms>', transforms, text, count=1, flags=re.S)
text = re.sub(r'(<ds:SignatureMethod Algorithm=")[^"]*', r'\1http://www.w3.org/2001/04/xmldsig-more#hmac-sha256',
              text, count=1)
text = re.sub(r'<ds:DigestValue>[^<]*</ds:DigestValue>', '<ds:DigestValue></ds:DigestValue>', text, count=1)
text = re.sub(r'<ds:SignatureValue>[^<]*</ds:SignatureValue>', '<ds:SignatureValue></ds:SignatureValue>', text,
              count=1)
text = re.sub(r'<ds:KeyInfo>.*?</ds:KeyInfo>', '', text, count=1, flags=re.S)
open(out, "w", encoding="utf-8").write(text)
PY
    xmlsec1 --sign --hmackey "$tmp/hmac.key" --output "$tmp/$name.xml" "$tmp/$name.tmpl.xml"
    rm -f "$tmp/$name.tmpl.xml"
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
secret=$(od -An -tx1 "$tmp/hmac.key" | tr -d ' \n')

printf '%-11s | %-20s | %-20s | %s\n' route "xmldsig (s, peak KB)" "xmlsec1 (s, peak KB)" "xmlsec1 time / xmldsig time"
for name in evaluated recognised; do
    : >"$tmp/ours"
    : >"$tmp/theirs"
    r=0
    while [ "$r" -lt "$runs" ]; do
        measure "$tool" verify --hmac-key "$secret" --hmac-encoding hex "$tmp/$name.xml" >>"$tmp/ours"
        measure xmlsec1 --verify --hmackey "$tmp/hmac.key" "$tmp/$name.xml" >>"$tmp/theirs"
        r=$((r + 1))
    done
    set -- $(best "$tmp/ours") $(best "$tmp/theirs")
    printf '%-11s | %8s s %9s | %8s s %9s | %.2f\n' "$name" "$1" "$2" "$3" "$4" "$(echo "$3 $1" | awk '{ print $1 / $2 }')"
done
