#!/usr/bin/env python3
"""Writes a signed document whose one signature has COUNT references
(exclusive C14N, SHA-256, RSA-SHA256 with the PEM private key KEY).

    make_many_references.py COUNT KIND KEY OUT [ITEMS]
KIND is "ids" (each reference names its own small element by Id) or "whole"
(every reference is URI="" with the enveloped and exclusive C14N transforms,
so all of them digest the same text: ITEMS elements, 10 by default).

The markup is written in canonical form (no empty-element tags, no
namespaces on the items), so the digests and the canonical SignedInfo are
the text itself and no XML library is needed; `openssl dgst` signs."""
import base64
import hashlib
import subprocess
import sys

count, kind, key, out = int(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4]
whole_items = int(sys.argv[5]) if len(sys.argv) > 5 else 10
if kind not in ("ids", "whole"):
    sys.exit("KIND must be ids or whole")
DS = "http://www.w3.org/2000/09/xmldsig#"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"
ENVELOPED = DS + "enveloped-signature"
SHA256 = "http://www.w3.org/2001/04/xmlenc#sha256"
RSA_SHA256 = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"


def digest(text):
    return base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()


def transform(algorithm):
    return f'<ds:Transform Algorithm="{algorithm}"></ds:Transform>'


items = [f'<item Id="e{i}">value {i}</item>' for i in range(count if kind == "ids" else whole_items)]
head = "<doc>\n" + "".join(f"  {item}\n" for item in items)
tail = "\n</doc>"
whole_digest = digest(head + tail)

references = []
for i in range(count):
    if kind == "ids":
        uri, transforms, value = f"#e{i}", transform(EXC), digest(items[i])
    else:
        uri, transforms, value = "", transform(ENVELOPED) + transform(EXC), whole_digest
    references.append(f'<ds:Reference URI="{uri}"><ds:Transforms>{transforms}</ds:Transforms>'
                      f'<ds:DigestMethod Algorithm="{SHA256}"></ds:DigestMethod>'
                      f"<ds:DigestValue>{value}</ds:DigestValue></ds:Reference>\n")
signed_info_body = (f'<ds:CanonicalizationMethod Algorithm="{EXC}"></ds:CanonicalizationMethod>'
                    f'<ds:SignatureMethod Algorithm="{RSA_SHA256}"></ds:SignatureMethod>\n' + "".join(references))
# Exclusive C14N declares the ds prefix on SignedInfo, where it is first used.
canonical_signed_info = f'<ds:SignedInfo xmlns:ds="{DS}">{signed_info_body}</ds:SignedInfo>'
signature_value = base64.b64encode(
    subprocess.run(["openssl", "dgst", "-sha256", "-sign", key, "-binary"], input=canonical_signed_info.encode(),
                   capture_output=True, check=True).stdout).decode()

with open(out, "w", encoding="utf-8") as f:
    f.write('<?xml version="1.0" encoding="UTF-8"?>\n' + head)
    f.write(f'<ds:Signature xmlns:ds="{DS}"><ds:SignedInfo>{signed_info_body}</ds:SignedInfo>'
            f"<ds:SignatureValue>{signature_value}</ds:SignatureValue></ds:Signature>")
    f.write(tail + "\n")
