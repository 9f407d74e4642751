#include "companion/xml/ClsXml.h"

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlMatch.h"
#include "companion/xml/XmlSigNames.h"

#include <algorithm>
#include <vector>

using xml_sig_names::kSignature;
using xml_sig_names::kSignatureValue;
using xml_sig_names::kSignedInfo;

uint32_t ClsXml::searchStart(const ClsXml* after) const {
    return (after && after->m_doc == m_doc) ? after->m_node + 1 : m_doc->root();
}

ClsXml* ClsXml::searchForTag(const ClsXml* after, const char* tag) const {
    if (!m_doc || !tag)
        return nullptr;
    for (uint32_t n = searchStart(after); n < m_doc->nodeCount(); ++n)
        if (m_doc->isElement(n) && xml_match::tagMatches(tag, m_doc->name(n)))
            return handleOn(n);
    return nullptr;
}

ClsXml* ClsXml::findDescendant(const char* tag) const {
    if (!m_doc || !tag)
        return nullptr;
    const uint32_t end = m_doc->subtreeEnd(m_node);
    for (uint32_t n = m_node + 1; n < end; ++n)
        if (m_doc->isElement(n) && xml_match::tagMatches(tag, m_doc->name(n)))
            return handleOn(n);
    return nullptr;
}

ClsXml* ClsXml::searchForAttribute(const ClsXml* after, const char* tag, const char* attr, bool caseSensitive,
                                   const char* valuePattern) const {
    if (!m_doc || !attr)
        return nullptr;
    std::string value;
    for (uint32_t n = searchStart(after); n < m_doc->nodeCount(); ++n) {
        if (!m_doc->isElement(n) || (tag && !xml_match::tagMatches(tag, m_doc->name(n))))
            continue;
        const XmlDocument::Attribute* a = m_doc->findAttribute(n, attr);
        if (!a)
            continue;
        value.clear();
        m_doc->appendAttributeValue(*a, value);
        if (!valuePattern || xml_match::valueMatches(valuePattern, value, caseSensitive))
            return handleOn(n);
    }
    return nullptr;
}

bool ClsXml::inSignatureNamespace(uint32_t element) const {
    std::string uri;
    return m_doc->namespaceUri(element, XmlDocument::prefix(m_doc->name(element)), uri) &&
           uri == xml_sig_names::kNamespace;
}

// A Signature element of XML-DSig, or any element that holds an XML-DSig
// SignedInfo and SignatureValue (EBICS signs with its own element names).
bool ClsXml::isSignature(uint32_t element) const {
    const std::string_view local = XmlDocument::localName(m_doc->name(element));
    if (local == kSignature && inSignatureNamespace(element))
        return true;
    bool signedInfo = false;
    bool signatureValue = false;
    for (uint32_t c = m_doc->firstChildElement(element); c != kNoNode; c = m_doc->nextSiblingElement(c)) {
        const std::string_view childLocal = XmlDocument::localName(m_doc->name(c));
        if (childLocal == kSignedInfo && !signedInfo)
            signedInfo = inSignatureNamespace(c);
        else if (childLocal == kSignatureValue && !signatureValue)
            signatureValue = inSignatureNamespace(c);
    }
    return signedInfo && signatureValue;
}

bool ClsXml::findSignatures(ExtPtrArrayRc& out, LogBase&) const {
    if (!m_doc)
        return false;
    // Only elements named Signature, or parents of a SignedInfo, can qualify.
    const std::span<const uint32_t> candidates = m_doc->signatureCandidates();
    for (uint32_t n : candidates)
        if (isSignature(n))
            out.appendRefCounted(handleOn(n));
    return true;
}
