#pragma once

#include "companion/xml/XmlDocument.h"
#include "verifier/ReferenceOutcome.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// The parts of one signature that AdES validation reads, found once: its
// XML-DSig elements, its QualifyingProperties (the one whose Target names
// the signature) and the SignedProperties that a matched reference covers.
struct XadesElements {
    uint32_t signature = kNoNode;
    uint32_t signedInfo = kNoNode;
    uint32_t signatureValue = kNoNode;
    uint32_t keyInfo = kNoNode;
    std::vector<uint32_t> objects; // the signature's ds:Object children

    uint32_t qualifyingProperties = kNoNode;
    std::string xadesNamespace; // of QualifyingProperties
    // Every SignedProperties of the signature's QualifyingProperties; the
    // one covered, and those no matched reference covers.
    std::vector<uint32_t> signedPropertiesFound;
    uint32_t signedProperties = kNoNode;
    std::vector<uint32_t> unsignedCopies;
    uint32_t signedSignatureProperties = kNoNode;
    uint32_t signedDataObjectProperties = kNoNode;
    uint32_t unsignedSignatureProperties = kNoNode;

    bool hasXades() const { return qualifyingProperties != kNoNode; }

    // `references`: the signature's checked references, whose covered
    // elements (by start offset) tell which SignedProperties is signed.
    static XadesElements find(const XmlDocument& doc, uint32_t signature, std::span<const ReferenceOutcome> references);
};

// Whether a matched reference covers the element (names it, whole).
bool coveredByMatchedReference(const XmlDocument& doc, uint32_t element, std::span<const ReferenceOutcome> references);
