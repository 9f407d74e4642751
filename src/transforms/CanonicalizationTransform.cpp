#include "companion/canon/XmlCanon.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/ClsXml.h"
#include "references/DigestAttempt.h"
#include "transforms/CanonicalizationMethod.h"
#include "verifier/AlgorithmUris.h"
#include "verifier/_clsXmlDSigBase.h"

namespace {

using algorithm_uri::kExclusiveC14nMarker;

constexpr const char* kSortBugMessage = "Will duplicate the XML canonicalization attribute sorting bug...";
// Each pass emits one authenticated element; a document has far fewer.
constexpr unsigned kMaxEbicsPasses = 100;

bool isEbicsReference(const StringBuffer& uri) {
    return uri.equals("EBICS") || (uri.containsSubstring("xpointer") && uri.containsSubstring("authenticate") &&
                                   uri.containsSubstring("true"));
}

// STP signers canonicalize the Document element alone.
void keepOnlyStpDocument(StringBuffer& xml) {
    std::string& text = xml.raw();
    const size_t start = text.find("<Document ");
    if (start != std::string::npos)
        text.erase(0, start);
    const std::string_view endTag = "</Document>";
    const size_t end = text.find(endTag);
    if (end != std::string::npos)
        text.resize(end + endTag.size());
}

} // namespace

bool _clsXmlDSigBase::transformCanonicalize(ClsXml* transform, StringBuffer& xml, StringBuffer& algorithm,
                                            StringBuffer& uri, const DigestAttempt& attempt, LogBase& log,
                                            const CanonShortcut& shortcut) {
    LogContextExitor ctx(log, "transformCanonicalize");
    StringBuffer prefixList;
    if (transform && algorithm.containsSubstring(kExclusiveC14nMarker)) {
        RefPtr<ClsXml> inclusive(transform->getNthChildWithTagUtf8("*:InclusiveNamespaces", 0, log));
        if (inclusive) {
            inclusive->getAttrValue("PrefixList", prefixList);
            if (log.verbose())
                log.LogDataSb("inclusiveNamespacesPrefixList", prefixList);
        }
    }

    XmlCanon canon;
    canon.setWorkBudget(&m_work);
    canon.setOutputSink(shortcut.sink);
    canon.setParsedDocument(shortcut.parsed);
    canon.setExcludedRange(shortcut.excludedStart, shortcut.excludedLength);
    // An XPointer URI keeps the comments that "" and "#id" leave out.
    const bool dropComments = attempt.commentsLeftOut && !uri.beginsWith("xpointer(");
    const CanonicalizationMethod method = canonicalizationMethodOf(algorithm.view());
    canon.setWithComments(method.withComments && !dropComments);
    canon.setMode(method.mode);
    if (method.mode == XmlCanon::Mode::Exclusive && !prefixList.isEmpty())
        prefixList.split(canon.inclusivePrefixes(), ' ', false, false);
    if (attempt.sortBugEmulation) {
        log.LogInfo(kSortBugMessage);
        canon.setSortBugEmulation(true);
    }

    StringBuffer out;
    bool ok;
    if (isEbicsReference(uri)) {
        log.LogInfo("Canonicalizing for EBICS...");
        canon.setEbicsMode(true);
        canon.setFragmentCounter(0);
        canon.setAuthenticatedOrdinal(0);
        ok = canon.xmlCanonicalize(xml, uri.getString(), 0, out, log);
        // Later passes fail once the authenticated elements run out.
        for (unsigned ordinal = 1; ok && ordinal < kMaxEbicsPasses; ++ordinal) {
            canon.setFragmentCounter(0);
            canon.setAuthenticatedOrdinal(ordinal);
            LogNull quiet;
            if (!canon.xmlCanonicalize(xml, uri.getString(), 0, out, quiet))
                break;
        }
    } else {
        if (attempt.stpDocumentOnly && uri.isEmpty())
            keepOnlyStpDocument(xml);
        ok = canon.xmlCanonicalize(xml, uri.getString(), 0, out, log);
    }
    if (!ok) {
        log.LogError("Failed to canonicalize XML fragment.");
        return false;
    }
    xml.takeSb(out);
    return true;
}
