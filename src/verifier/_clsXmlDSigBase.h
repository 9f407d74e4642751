#pragma once

#include "companion/base/ClsBase.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <cstdint>
#include <string_view>

class CanonSink;
class ClsXml;
class DSigReference;
class LogBase;
class XmlDocument;
struct DigestAttempt;

// Shortcuts for a canonicalization that ends a reference's processing: the
// output goes to a sink (and the text is emptied) instead of replacing the
// text, an element still to be cut is left out instead, and the loaded
// document's tree is read instead of the text when the text is still the
// loaded one.
struct CanonShortcut {
    CanonSink* sink = nullptr;
    unsigned excludedStart = 0;
    unsigned excludedLength = 0;
    const XmlDocument* parsed = nullptr;
};

// The document-profile flags and the transform state shared by the
// verifier's operations.
class _clsXmlDSigBase : public ClsBase, public _clsCades {
public:
    ~_clsXmlDSigBase() override = default;

    // Text adjustments that reproduce what particular signers digested.
    void extract_sii_cl_dte(StringBuffer& xml, const char* id, bool keepCopy, LogBase& log);
    // `ownDocument`: the text an attempt resolves the reference in instead.
    bool preprocessXmlToTransform(StringBuffer& uri, DSigReference& ref, StringBuffer& xml,
                                  std::string_view ownDocument, LogBase& log);
    bool postProcessTransformedXml(StringBuffer& uri, DSigReference& ref, StringBuffer& xml, LogBase& log);
    bool removeXmlChunk(const char* start, const char* end, StringBuffer& xml, LogBase& log);
    bool removeXmlChunkContaining(const char* start, const char* end, const char* mustContain, StringBuffer& xml,
                                  LogBase& log);
    bool zatcaTransformInvoice(StringBuffer& xml, LogBase& log);

    // Transforms of a reference, applied to its text in place.
    // `recognised`, when given, is cleared for an expression none of the
    // known forms matches (the text is then left as it was).
    bool transformXPath(ClsXml* transform, StringBuffer& xml, StringBuffer& algorithm, StringBuffer& xPath,
                        LogBase& log, bool* recognised = nullptr);
    bool transformCanonicalize(ClsXml* transform, StringBuffer& xml, StringBuffer& algorithm, StringBuffer& uri,
                               const DigestAttempt& attempt, LogBase& log,
                               const CanonShortcut& shortcut = CanonShortcut{});

protected:
    // Profile flags: which signer family's deviations to accommodate.
    uint32_t m_specialProfile = 0;
    bool m_isSiiCl = false;
    uint32_t m_siiDteOffset = 0;
    StringBuffer m_siiDteXml;
    // Reset together whenever a document is loaded.
    bool m_isDoda = false;
    bool m_isCsioz = false;
    bool m_isSunat = false;
    bool m_isZatca = false;
    bool m_isMyInvois = false;
    bool m_dupC14nSortBug = false;
    bool m_noSortBugRetry = false;
    bool m_isSignedDocSkXml = false;
    bool m_isCmaStp = false;
    // The loaded text has a LAU element, which the SWIFT Alliance
    // post-processing may cut from the canonical text (found with the profile
    // markers, not searched per reference).
    bool m_mayRemoveSwiftLau = false;
    // The invoice document digest that MyInvois signatures sign.
    DataBuffer m_docDigest;
};
