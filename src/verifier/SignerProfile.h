#pragma once

#include <cstdint>

// What the loaded document's signer family needs accommodated: found from
// markers in its text when it is loaded, and from UncommonOptions. Each flag
// says what it changes; a run may turn some on as it learns (ZATCA rules
// from a digest that only they match, the sorting bug from a retry that
// matched with it).
struct SignerProfile {
    // 3 for a SUNAT (Peru) UBL document; read by nothing else.
    uint32_t specialProfile = 0;
    // Chilean SII: each reference is digested within its DTE, extracted from
    // the envelope; no sorting-bug retry.
    bool isSiiCl = false;
    // SAT doda documents: references and SignedInfo canonicalized within the
    // <doda> element.
    bool isDoda = false;
    // Polish CSIOZ e-health: canonicalization always with the sorting bug.
    bool isCsioz = false;
    bool isSunat = false;
    // ZATCA invoices: the invoice transform, exclusive C14N by default, the
    // SignedProperties digest as hex text, SignedInfo signed as the invoice hash.
    bool isZatca = false;
    // MyInvois: SignedProperties digested standing alone; the document digest
    // is what the value signs.
    bool isMyInvois = false;
    // Canonicalization with the attribute-sorting bug, and whether the retry
    // with the other choice is off.
    bool dupC14nSortBug = false;
    bool noSortBugRetry = false;
    // DigiDoc SK-XML: SignedInfo canonicalized as a document of its own.
    bool isSignedDocSkXml = false;
    // CMA STP: a whole-document reference covers the STP Document element.
    bool isCmaStp = false;
    // The text has a SWIFT LAU element, which post-processing may cut from
    // the canonical text (found with the markers, not searched per reference).
    bool mayRemoveSwiftLau = false;
};
