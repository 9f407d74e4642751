#pragma once

#include <cstdint>

// Where a signature and the parts that callers edit or canonicalize lie in
// the raw text of its document, as byte offsets into that text. The
// signature's own start may be 0 (it can be the root); every other position
// is 0 when the part is absent. Lengths run from '<' of the start tag
// through '>' of the end tag.
struct XmlSigPositions {
    uint32_t m_signatureLoc = 0;
    uint32_t m_signatureLen = 0;
    uint32_t m_signedInfoLoc = 0;
    uint32_t m_signedInfoLen = 0;
    uint32_t m_signatureValueLoc = 0;
    uint32_t m_qualifyingPropertiesLoc = 0;
    uint32_t m_unsignedPropertiesLoc = 0;
    uint32_t m_unsignedSignaturePropertiesLoc = 0;
    uint32_t m_signedPropertiesLoc = 0;
    uint32_t m_signedPropertiesLen = 0;
    // Start tag of the Object that can take XAdES properties: the one that
    // holds QualifyingProperties, else the first Object that no Reference of
    // the SignedInfo names by its Id (adding to a signed Object would break
    // its digest).
    uint32_t m_objectLoc = 0;
    // The signature's last child, behind which a new Object goes (Object
    // comes last among a signature's children). For a child written in an
    // entity's text: the entity reference.
    uint32_t m_newObjectLoc = 0;
    uint32_t m_newObjectLen = 0;

    bool operator==(const XmlSigPositions&) const = default;
};
