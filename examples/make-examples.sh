#!/usr/bin/env bash
# Regenerates the signed examples with xmlsec1 and fresh throw-away keys.
# Only the public halves (certificates, the HMAC secret) are kept.
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p keys

openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj "/CN=Example RSA Signer/O=xmldsig examples" \
  -keyout "$work/rsa.key" -out keys/rsa-signer.pem 2>/dev/null
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 3650 \
  -subj "/CN=Example ECDSA Signer/O=xmldsig examples" -keyout "$work/ec.key" -out keys/ecdsa-signer.pem 2>/dev/null
printf 'example-hmac-secret' > keys/hmac-secret.txt

xmlsec1 --sign --privkey-pem "$work/rsa.key,keys/rsa-signer.pem" --output enveloped-rsa-x509.xml \
  templates/enveloped-rsa-x509.tmpl
xmlsec1 --sign --privkey-pem "$work/ec.key,keys/ecdsa-signer.pem" --id-attr:Id Body \
  --output exc-c14n-ecdsa.xml templates/exc-c14n-ecdsa.tmpl
xmlsec1 --sign --hmackey keys/hmac-secret.txt --output hmac-sha256.xml templates/hmac-sha256.tmpl
xmlsec1 --sign --privkey-pem "$work/rsa.key,keys/rsa-signer.pem" --output detached-external.xml \
  templates/detached-external.tmpl

xmlsec1 --verify --trusted-pem keys/rsa-signer.pem enveloped-rsa-x509.xml 2>/dev/null
xmlsec1 --verify --trusted-pem keys/ecdsa-signer.pem --id-attr:Id Body exc-c14n-ecdsa.xml 2>/dev/null
xmlsec1 --verify --trusted-pem keys/rsa-signer.pem detached-external.xml 2>/dev/null
xmlsec1 --verify --hmackey keys/hmac-secret.txt hmac-sha256.xml 2>/dev/null
echo "examples regenerated and checked with xmlsec1"
