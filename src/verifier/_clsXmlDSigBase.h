#pragma once

#include "companion/base/ClsBase.h"
#include "companion/base/WorkBudget.h"
#include "companion/pki/_clsCades.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "verifier/SignerProfile.h"

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
    bool preprocessXmlToTransform(StringBuffer& uri, StringBuffer& xml, std::string_view ownDocument, LogBase& log);
    bool postProcessTransformedXml(StringBuffer& xml, LogBase& log);
    bool removeXmlChunk(const char* start, const char* end, StringBuffer& xml);
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
    SignerProfile m_profile;
    // The SII DTE the last reference stage extracted, and where it starts.
    uint32_t m_siiDteOffset = 0;
    StringBuffer m_siiDteXml;
    // The invoice document digest that MyInvois signatures sign.
    DataBuffer m_docDigest;
    // What the verification under way may still spend on canonicalization
    // and XPath across all its references and attempts (unlimited outside).
    WorkBudget m_work;
};
