#!/usr/bin/env python3
"""Writes an unsigned UBL-like invoice of about SIZE bytes with an enveloped
signature template (exclusive C14N, SHA-256, METHOD) for xmlsec1 to sign.

    make_signed_invoice.py SIZE METHOD OUT
METHOD is rsa-sha256 or ecdsa-sha256."""
import random
import sys

size, method, out = int(sys.argv[1]), sys.argv[2], sys.argv[3]
method_uri = {
    "rsa-sha256": "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256",
    "ecdsa-sha256": "http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256",
}[method]
rng = random.Random(42)
head = ('<?xml version="1.0" encoding="UTF-8"?>\n'
        '<Invoice xmlns="urn:oasis:names:specification:ubl:schema:xsd:Invoice-2" '
        'xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2" '
        'xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2">\n'
        '  <cbc:ID>INV-2026-000042</cbc:ID>\n  <cbc:IssueDate>2026-11-23</cbc:IssueDate>\n')
sig = ('<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#"><ds:SignedInfo>'
       '<ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/>'
       f'<ds:SignatureMethod Algorithm="{method_uri}"/>'
       '<ds:Reference URI=""><ds:Transforms>'
       '<ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/>'
       '<ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/></ds:Transforms>'
       '<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><ds:DigestValue/>'
       '</ds:Reference></ds:SignedInfo><ds:SignatureValue/>'
       '<ds:KeyInfo><ds:KeyName>bench</ds:KeyName></ds:KeyInfo></ds:Signature>\n</Invoice>\n')
with open(out, "w", encoding="utf-8") as f:
    f.write(head)
    written, line = len(head) + len(sig), 0
    while written < size:
        line += 1
        item = (f'  <cac:InvoiceLine>\n    <cbc:ID>{line}</cbc:ID>\n'
                f'    <cbc:InvoicedQuantity unitCode="C62">{rng.randint(1, 99)}</cbc:InvoicedQuantity>\n'
                f'    <cbc:LineExtensionAmount currencyID="EUR">{rng.randint(1, 99999) / 100:.2f}'
                '</cbc:LineExtensionAmount>\n'
                f'    <cac:Item><cbc:Name>Müller &amp; Søn article {rng.randint(1000, 9999)}</cbc:Name></cac:Item>\n'
                '  </cac:InvoiceLine>\n')
        f.write(item)
        written += len(item.encode("utf-8"))
    f.write(sig)
