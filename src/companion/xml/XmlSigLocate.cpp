#include "companion/xml/XmlSigLocate.h"

#include "companion/log/LogBase.h"
#include "companion/log/LogContextExitor.h"
#include "companion/xml/XmlSigNames.h"
#include "companion/xml/XmlSigWalker.h"

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace xml_sig_names;
constexpr std::string_view kDigestValue = "DigestValue";
constexpr std::string_view kXPointerIdOpen = "xpointer(id(";
constexpr std::string_view kXPointerIdClose = "))";

bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool equalIgnoringXmlSpace(std::string_view a, std::string_view b) {
    size_t i = 0;
    size_t j = 0;
    for (;;) {
        while (i < a.size() && isXmlSpace(a[i]))
            ++i;
        while (j < b.size() && isXmlSpace(b[j]))
            ++j;
        if (i == a.size() || j == b.size())
            return i == a.size() && j == b.size();
        if (a[i++] != b[j++])
            return false;
    }
}

} // namespace

std::string_view xml_sig_names::referencedId(std::string_view uri) {
    if (!uri.starts_with('#'))
        return uri.find_first_of(":/") == std::string_view::npos ? uri : std::string_view{};
    std::string_view id = uri.substr(1);
    if (id.starts_with(kXPointerIdOpen) && id.ends_with(kXPointerIdClose)) {
        id = id.substr(kXPointerIdOpen.size(), id.size() - kXPointerIdOpen.size() - kXPointerIdClose.size());
        if (id.size() >= 2 && (id.front() == '\'' || id.front() == '"') && id.back() == id.front())
            id = id.substr(1, id.size() - 2);
    }
    return id;
}

// Follows every signature that may be the one sought (signatures nest, and
// an EBICS-style signature is known as one only when its end tag is read),
// recording the positions of each, and keeps the first that qualifies.
class XmlSigLocate::Search {
public:
    Search(Mode mode, std::string_view key, uint32_t offset) : m_mode(mode), m_key(key), m_offset(offset) {}

    // Takes the walker's current event; true once the answer is final.
    bool take(const XmlSigWalker& walker);
    const std::optional<XmlSigPositions>& result() const { return m_result; }

private:
    // What an open element is to the signature that encloses it.
    enum class Role : uint8_t {
        None,
        Signature,
        SignedInfo,
        Reference,
        DigestValue,
        Object,
        QualifyingProperties,
        SignedProperties,
        UnsignedProperties,
    };
    struct Open {
        Role role = Role::None;
        size_t capture = 0; // index into m_captures unless Role::None
    };
    struct Capture {
        XmlSigPositions at;
        bool matched = false;
        uint8_t seen = 0;
        uint32_t qualifyingObjectLoc = 0;
        std::vector<std::string> referencedIds;
        std::string digest;
    };

    void start(const XmlSigWalker& walker);
    void end(const XmlSigWalker& walker);
    void text(const XmlSigWalker& walker);
    bool startsCapture(const XmlSigWalker& walker);
    void adoptParentAsSignature(const XmlSigWalker& walker);
    void openCapture(bool matched, uint32_t begin);
    Role childRole(const Open& parent, const XmlSigWalker& walker);
    Role signatureChildRole(Capture& c, const XmlSigWalker& walker);
    Role qualifyingChildRole(Capture& c, const XmlSigWalker::Element& e);
    bool takeFirst(Capture& c, SeenPart part, const XmlSigWalker::Element& e, uint32_t& loc);
    bool isReferencedObject(const Capture& c, const XmlSigWalker& walker) const;
    void closeCapture(const XmlSigWalker::Element& e);

    Mode m_mode;
    std::string_view m_key;
    uint32_t m_offset;
    std::vector<Open> m_open;
    std::vector<Capture> m_captures;
    std::optional<XmlSigPositions> m_result;
    std::string m_scratch;
};

bool XmlSigLocate::Search::take(const XmlSigWalker& walker) {
    switch (walker.event()) {
    case XmlSigWalker::Event::Start:
        start(walker);
        return false;
    case XmlSigWalker::Event::Text:
        text(walker);
        return false;
    case XmlSigWalker::Event::End:
        end(walker);
        return m_result && m_captures.empty();
    }
    return false;
}

void XmlSigLocate::Search::start(const XmlSigWalker& walker) {
    if (startsCapture(walker)) {
        openCapture(m_mode != Mode::ByRefDigest, walker.element().begin);
        return;
    }
    if (m_mode == Mode::ByRefDigest)
        adoptParentAsSignature(walker);
    m_open.push_back(Open{m_open.empty() ? Role::None : childRole(m_open.back(), walker), 0});
    if (m_open.back().role != Role::None && m_open.size() > 1)
        m_open.back().capture = m_open[m_open.size() - 2].capture;
}

bool XmlSigLocate::Search::startsCapture(const XmlSigWalker& walker) {
    const XmlSigWalker::Element& e = walker.element();
    if (!e.inDocument)
        return false;
    if (m_mode == Mode::ByRefDigest)
        return e.inSignatureNamespace && e.localName == kSignature;
    if (m_mode == Mode::AtOffset)
        return e.begin == m_offset;
    return walker.attribute(kIdAttribute, m_scratch) && m_scratch == m_key;
}

// An XML-DSig SignedInfo under an element not named Signature makes that
// element a signature candidate (EBICS); it has had no other child that
// matters before its SignedInfo.
void XmlSigLocate::Search::adoptParentAsSignature(const XmlSigWalker& walker) {
    const XmlSigWalker::Element& e = walker.element();
    const XmlSigWalker::Element* parent = walker.parent();
    if (!parent || !parent->inDocument || !e.inSignatureNamespace || e.localName != kSignedInfo ||
        m_open.back().role == Role::Signature)
        return;
    m_open.pop_back();
    openCapture(false, parent->begin);
}

void XmlSigLocate::Search::openCapture(bool matched, uint32_t begin) {
    Capture& c = m_captures.emplace_back();
    c.matched = matched;
    c.at.m_signatureLoc = begin;
    m_open.push_back(Open{Role::Signature, m_captures.size() - 1});
}

XmlSigLocate::Search::Role XmlSigLocate::Search::childRole(const Open& parent, const XmlSigWalker& walker) {
    if (parent.role == Role::None)
        return Role::None;
    Capture& c = m_captures[parent.capture];
    const XmlSigWalker::Element& e = walker.element();
    switch (parent.role) {
    case Role::Signature:
        return signatureChildRole(c, walker);
    case Role::SignedInfo:
        if (e.localName == kReference) {
            if (walker.attribute(kUriAttribute, m_scratch))
                c.referencedIds.emplace_back(referencedId(m_scratch));
            return Role::Reference;
        }
        return Role::None;
    case Role::Reference:
        if (e.localName != kDigestValue)
            return Role::None;
        c.digest.clear();
        return Role::DigestValue;
    case Role::Object:
        if (e.localName == kQualifyingProperties &&
            takeFirst(c, kSeenQualifyingProperties, e, c.at.m_qualifyingPropertiesLoc)) {
            c.qualifyingObjectLoc = walker.parent()->inDocument ? walker.parent()->begin : 0;
            return Role::QualifyingProperties;
        }
        return Role::None;
    case Role::QualifyingProperties:
        return qualifyingChildRole(c, e);
    case Role::UnsignedProperties:
        if (e.localName == kUnsignedSignatureProperties)
            takeFirst(c, kSeenUnsignedSignatureProperties, e, c.at.m_unsignedSignaturePropertiesLoc);
        return Role::None;
    default:
        return Role::None;
    }
}

XmlSigLocate::Search::Role XmlSigLocate::Search::signatureChildRole(Capture& c, const XmlSigWalker& walker) {
    const XmlSigWalker::Element& e = walker.element();
    if (e.localName == kSignedInfo)
        return takeFirst(c, kSeenSignedInfo, e, c.at.m_signedInfoLoc) ? Role::SignedInfo : Role::None;
    if (e.localName == kSignatureValue)
        takeFirst(c, kSeenSignatureValue, e, c.at.m_signatureValueLoc);
    else if (e.localName == kObject) {
        if (!isReferencedObject(c, walker))
            takeFirst(c, kSeenFreeObject, e, c.at.m_objectLoc);
        return Role::Object;
    }
    return Role::None;
}

XmlSigLocate::Search::Role XmlSigLocate::Search::qualifyingChildRole(Capture& c, const XmlSigWalker::Element& e) {
    if (e.localName == kSignedProperties)
        return takeFirst(c, kSeenSignedProperties, e, c.at.m_signedPropertiesLoc) ? Role::SignedProperties : Role::None;
    if (e.localName == kUnsignedProperties)
        return takeFirst(c, kSeenUnsignedProperties, e, c.at.m_unsignedPropertiesLoc) ? Role::UnsignedProperties
                                                                                      : Role::None;
    return Role::None;
}

// The first element of a kind counts; it has a position only when its bytes
// are the document's own.
bool XmlSigLocate::Search::takeFirst(Capture& c, SeenPart part, const XmlSigWalker::Element& e, uint32_t& loc) {
    if (c.seen & part)
        return false;
    c.seen |= part;
    if (e.inDocument)
        loc = e.begin;
    return true;
}

bool XmlSigLocate::Search::isReferencedObject(const Capture& c, const XmlSigWalker& walker) const {
    std::string id;
    for (std::string_view name : kIdAttributeSpellings) {
        if (!walker.attribute(name, id) || id.empty())
            continue;
        for (const std::string& referenced : c.referencedIds)
            if (referenced == id)
                return true;
    }
    return false;
}

void XmlSigLocate::Search::text(const XmlSigWalker& walker) {
    if (!m_open.empty() && m_open.back().role == Role::DigestValue)
        walker.appendText(m_captures[m_open.back().capture].digest);
}

void XmlSigLocate::Search::end(const XmlSigWalker& walker) {
    const XmlSigWalker::Element& e = walker.element();
    const Open open = m_open.back();
    m_open.pop_back();
    if (!m_open.empty() && m_open.back().role == Role::Signature) {
        XmlSigPositions& at = m_captures[m_open.back().capture].at;
        at.m_newObjectLoc = e.begin;
        at.m_newObjectLen = e.length();
    }
    if (open.role == Role::None)
        return;
    Capture& c = m_captures[open.capture];
    switch (open.role) {
    case Role::SignedInfo:
        c.at.m_signedInfoLen = c.at.m_signedInfoLoc ? e.length() : 0;
        break;
    case Role::SignedProperties:
        c.at.m_signedPropertiesLen = c.at.m_signedPropertiesLoc ? e.length() : 0;
        break;
    case Role::DigestValue:
        c.matched = c.matched || (m_mode == Mode::ByRefDigest && equalIgnoringXmlSpace(c.digest, m_key));
        break;
    case Role::Signature:
        closeCapture(e);
        break;
    default:
        break;
    }
}

// Captures nest like their elements, so the one closing is the last.
void XmlSigLocate::Search::closeCapture(const XmlSigWalker::Element& e) {
    Capture& c = m_captures.back();
    if (c.matched && e.isSignature() && (!m_result || c.at.m_signatureLoc < m_result->m_signatureLoc)) {
        c.at.m_signatureLen = e.length();
        if (c.qualifyingObjectLoc)
            c.at.m_objectLoc = c.qualifyingObjectLoc;
        m_result = c.at;
    }
    m_captures.pop_back();
}

bool XmlSigLocate::FindXmlSigById(const char* id, const char* xml, _tvXmlDtd& dtd, LogBase& log) {
    return FindXmlSigById(std::string_view(id ? id : ""), std::string_view(xml ? xml : ""), dtd, log);
}

bool XmlSigLocate::FindXmlSigById(std::string_view id, std::string_view xml, _tvXmlDtd& dtd, LogBase& log) {
    LogContextExitor ctx(log, "FindXmlSigById");
    return find(Mode::ById, id, 0, xml, dtd, log);
}

bool XmlSigLocate::FindXmlSigByRefDigest(const char* digestValue, const char* xml, _tvXmlDtd& dtd, LogBase& log) {
    return FindXmlSigByRefDigest(std::string_view(digestValue ? digestValue : ""), std::string_view(xml ? xml : ""),
                                 dtd, log);
}

bool XmlSigLocate::FindXmlSigByRefDigest(std::string_view digestValue, std::string_view xml, _tvXmlDtd& dtd,
                                         LogBase& log) {
    LogContextExitor ctx(log, "FindXmlSigByRefDigest");
    return find(Mode::ByRefDigest, digestValue, 0, xml, dtd, log);
}

bool XmlSigLocate::FindXmlSigAt(uint32_t offset, std::string_view xml, _tvXmlDtd& dtd, LogBase& log) {
    LogContextExitor ctx(log, "FindXmlSigAt");
    return find(Mode::AtOffset, {}, offset, xml, dtd, log);
}

bool XmlSigLocate::find(Mode mode, std::string_view key, uint32_t offset, std::string_view xml, _tvXmlDtd& dtd,
                        LogBase& log) {
    static_cast<XmlSigPositions&>(*this) = XmlSigPositions{};
    if (mode != Mode::AtOffset && key.empty())
        return false;
    XmlSigWalker walker(dtd.bind(xml), m_parsed, mode == Mode::AtOffset ? offset : 0);
    Search search(mode, key, offset);
    while (walker.next()) {
        if (search.take(walker)) {
            static_cast<XmlSigPositions&>(*this) = *search.result();
            return true;
        }
    }
    if (walker.failed())
        log.LogError(walker.errorMessage());
    return false;
}
