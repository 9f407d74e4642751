// A signature's positions read from the tree of its text: the search by Id
// walks a token stream and follows every element that could start a
// signature; when the tree shows that only the selected element can, its
// parts are read from its children directly, by the same rules.
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlSigLocate.h"
#include "companion/xml/XmlSigNames.h"

#include <string>
#include <vector>

namespace {

using namespace xml_sig_names;

// The decoded value of the element's first attribute with exactly this name.
bool attributeValue(const XmlDocument& doc, uint32_t element, std::string_view name, std::string& value) {
    for (const XmlDocument::Attribute& a : doc.attributes(element)) {
        if (doc.attributeName(a) != name)
            continue;
        value.clear();
        doc.appendAttributeValue(a, value);
        return true;
    }
    return false;
}

std::string_view localNameOf(const XmlDocument& doc, uint32_t element) {
    return XmlDocument::localName(doc.name(element));
}

bool inSignatureNamespace(const XmlDocument& doc, uint32_t element) {
    std::string uri;
    return doc.namespaceUri(element, XmlDocument::prefix(doc.name(element)), uri) && uri == kNamespace;
}

// Named Signature in the XML-DSig namespace, or with an XML-DSig SignedInfo
// and SignatureValue among its children.
bool isSignature(const XmlDocument& doc, uint32_t element) {
    if (localNameOf(doc, element) == kSignature && inSignatureNamespace(doc, element))
        return true;
    bool signedInfo = false;
    bool signatureValue = false;
    for (uint32_t c = doc.firstChildElement(element); c != kNoNode; c = doc.nextSiblingElement(c)) {
        const std::string_view name = localNameOf(doc, c);
        if ((name == kSignedInfo || name == kSignatureValue) && inSignatureNamespace(doc, c))
            (name == kSignedInfo ? signedInfo : signatureValue) = true;
    }
    return signedInfo && signatureValue;
}

// Whether an element after `element` inside it has the Id: the search would
// take it for a signature of its own and not read it as a part.
bool idRepeatedInside(const XmlDocument& doc, uint32_t element, std::string_view id) {
    std::string value;
    const uint32_t end = doc.subtreeEnd(element);
    for (uint32_t n = element + 1; n < end; ++n)
        if (doc.isElement(n) && attributeValue(doc, n, kIdAttribute, value) && value == id)
            return true;
    return false;
}

// The parts of one signature, each the first of its kind, as the search
// records them.
class PartReader {
public:
    PartReader(const XmlDocument& doc, XmlSigPositions& at) : m_doc(doc), m_at(at) {}

    void read(uint32_t signature) {
        m_at = XmlSigPositions{};
        m_at.m_signatureLoc = m_doc.startTagBegin(signature);
        m_at.m_signatureLen = m_doc.endTagEnd(signature) - m_at.m_signatureLoc;
        for (uint32_t c = m_doc.firstChildElement(signature); c != kNoNode; c = m_doc.nextSiblingElement(c)) {
            signatureChild(c);
            m_at.m_newObjectLoc = m_doc.startTagBegin(c);
            m_at.m_newObjectLen = m_doc.endTagEnd(c) - m_at.m_newObjectLoc;
        }
        if (m_qualifyingObjectLoc)
            m_at.m_objectLoc = m_qualifyingObjectLoc;
    }

private:
    void signatureChild(uint32_t c) {
        const std::string_view name = localNameOf(m_doc, c);
        if (name == kSignedInfo && takeFirst(kSeenSignedInfo, c, m_at.m_signedInfoLoc)) {
            m_at.m_signedInfoLen = m_doc.endTagEnd(c) - m_at.m_signedInfoLoc;
            noteReferencedIds(c);
        } else if (name == kSignatureValue) {
            takeFirst(kSeenSignatureValue, c, m_at.m_signatureValueLoc);
        } else if (name == kObject) {
            if (!isReferencedObject(c))
                takeFirst(kSeenFreeObject, c, m_at.m_objectLoc);
            objectChildren(c);
        }
    }

    void noteReferencedIds(uint32_t signedInfo) {
        std::string uri;
        for (uint32_t r = m_doc.firstChildElement(signedInfo); r != kNoNode; r = m_doc.nextSiblingElement(r))
            if (localNameOf(m_doc, r) == kReference && attributeValue(m_doc, r, kUriAttribute, uri))
                m_referencedIds.emplace_back(referencedId(uri));
    }

    bool isReferencedObject(uint32_t object) const {
        std::string id;
        for (std::string_view name : kIdAttributeSpellings) {
            if (!attributeValue(m_doc, object, name, id) || id.empty())
                continue;
            for (const std::string& referenced : m_referencedIds)
                if (referenced == id)
                    return true;
        }
        return false;
    }

    void objectChildren(uint32_t object) {
        for (uint32_t q = m_doc.firstChildElement(object); q != kNoNode; q = m_doc.nextSiblingElement(q)) {
            if (localNameOf(m_doc, q) == kQualifyingProperties &&
                takeFirst(kSeenQualifyingProperties, q, m_at.m_qualifyingPropertiesLoc)) {
                m_qualifyingObjectLoc = m_doc.startTagBegin(object);
                qualifyingChildren(q);
            }
        }
    }

    void qualifyingChildren(uint32_t qualifying) {
        for (uint32_t p = m_doc.firstChildElement(qualifying); p != kNoNode; p = m_doc.nextSiblingElement(p)) {
            const std::string_view name = localNameOf(m_doc, p);
            if (name == kSignedProperties && takeFirst(kSeenSignedProperties, p, m_at.m_signedPropertiesLoc))
                m_at.m_signedPropertiesLen = m_doc.endTagEnd(p) - m_at.m_signedPropertiesLoc;
            else if (name == kUnsignedProperties && takeFirst(kSeenUnsignedProperties, p, m_at.m_unsignedPropertiesLoc))
                unsignedChildren(p);
        }
    }

    void unsignedChildren(uint32_t unsignedProperties) {
        for (uint32_t u = m_doc.firstChildElement(unsignedProperties); u != kNoNode; u = m_doc.nextSiblingElement(u))
            if (localNameOf(m_doc, u) == kUnsignedSignatureProperties)
                takeFirst(kSeenUnsignedSignatureProperties, u, m_at.m_unsignedSignaturePropertiesLoc);
    }

    bool takeFirst(SeenPart part, uint32_t element, uint32_t& loc) {
        if (m_seen & part)
            return false;
        m_seen |= part;
        loc = m_doc.startTagBegin(element);
        return true;
    }

    const XmlDocument& m_doc;
    XmlSigPositions& m_at;
    uint8_t m_seen = 0;
    uint32_t m_qualifyingObjectLoc = 0;
    std::vector<std::string> m_referencedIds;
};

} // namespace

bool XmlSigLocate::FindXmlSigByIdInTree(std::string_view id, uint32_t offset, std::string_view xml) {
    static_cast<XmlSigPositions&>(*this) = XmlSigPositions{};
    if (id.empty() || !m_parsed || !m_parsed->canStandFor(xml))
        return false;
    const XmlDocument& doc = *m_parsed;
    const uint32_t element = doc.elementAt(offset);
    const std::span<const uint32_t> candidates = doc.signatureCandidates();
    std::string own;
    if (element == kNoNode || candidates.empty() || candidates.front() != element ||
        !attributeValue(doc, element, kIdAttribute, own) || own != id || !isSignature(doc, element) ||
        idRepeatedInside(doc, element, id))
        return false;
    PartReader(doc, *this).read(element);
    return true;
}
