#include "companion/xml/ClsXml.h"

#include "companion/log/LogBase.h"
#include "companion/text/XString.h"
#include "companion/xml/XmlChars.h"
#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlMatch.h"
#include "companion/xml/XmlPath.h"
#include "companion/xml/XmlSerializer.h"

#include <new>

namespace {

constexpr std::string_view kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

void trimXmlSpace(std::string& s) {
    size_t begin = 0;
    while (begin < s.size() && xml_chars::isSpace(s[begin]))
        ++begin;
    size_t end = s.size();
    while (end > begin && xml_chars::isSpace(s[end - 1]))
        --end;
    s.erase(end);
    s.erase(0, begin);
}

// Gives the caller's buffer a fresh string to fill.
std::string& emptied(StringBuffer& out) {
    out.clear();
    return out.raw();
}

} // namespace

ClsXml* ClsXml::createNewCls() {
    return new (std::nothrow) ClsXml();
}

ClsXml* ClsXml::handleOn(uint32_t node) const {
    if (node == kNoNode)
        return nullptr;
    return new (std::nothrow) ClsXml(m_doc, node);
}

bool ClsXml::loadXml(StringBuffer& text, bool autoTrim, LogBase& log) {
    try {
        return load(text.share(), autoTrim, log);
    } catch (const std::bad_alloc&) {
        log.LogError("Out of memory loading XML.");
        return false;
    }
}

bool ClsXml::loadXml(std::string_view text, bool autoTrim, LogBase& log) {
    try {
        return load(SharedText::ofString(std::string(text)), autoTrim, log);
    } catch (const std::bad_alloc&) {
        log.LogError("Out of memory loading XML.");
        return false;
    }
}

bool ClsXml::load(SharedText text, bool autoTrim, LogBase& log) {
    m_doc.reset();
    m_node = 0;
    try {
        std::string error;
        std::shared_ptr<XmlDocument> doc = XmlDocument::parse(std::move(text), autoTrim, error);
        if (!doc) {
            log.LogError(error);
            return false;
        }
        m_doc = std::move(doc);
        m_node = m_doc->root();
        return true;
    } catch (const std::bad_alloc&) {
        log.LogError("Out of memory loading XML.");
        return false;
    }
}

std::string_view ClsXml::tag() const {
    return m_doc ? m_doc->name(m_node) : std::string_view{};
}

void ClsXml::getTagNamespace(StringBuffer& out) const {
    out.setString(XmlDocument::prefix(tag()));
}

bool ClsXml::tagEquals(const char* tagPattern) const {
    return m_doc && tagPattern && xml_match::tagMatches(tagPattern, tag());
}

void ClsXml::get_Content(StringBuffer& out) const {
    std::string& s = emptied(out);
    if (!m_doc)
        return;
    m_doc->appendContent(m_node, s);
    if (m_doc->autoTrim())
        trimXmlSpace(s);
}

bool ClsXml::getAttrValue(const char* name, StringBuffer& out) const {
    std::string& s = emptied(out);
    const XmlDocument::Attribute* a = (m_doc && name) ? m_doc->findAttribute(m_node, name) : nullptr;
    if (!a)
        return false;
    m_doc->appendAttributeValue(*a, s);
    return true;
}

bool ClsXml::hasAttribute(const char* name) const {
    return m_doc && name && m_doc->findAttribute(m_node, name);
}

int ClsXml::get_NumAttributes() const {
    return m_doc ? static_cast<int>(m_doc->attributes(m_node).size()) : 0;
}

bool ClsXml::getAttributeName(int index, StringBuffer& out) const {
    out.clear();
    if (!m_doc || index < 0 || static_cast<size_t>(index) >= m_doc->attributes(m_node).size())
        return false;
    out.setString(m_doc->attributeName(m_doc->attributes(m_node)[static_cast<size_t>(index)]));
    return true;
}

bool ClsXml::getAttributeValue(int index, StringBuffer& out) const {
    std::string& s = emptied(out);
    if (!m_doc || index < 0 || static_cast<size_t>(index) >= m_doc->attributes(m_node).size())
        return false;
    m_doc->appendAttributeValue(m_doc->attributes(m_node)[static_cast<size_t>(index)], s);
    return true;
}

int ClsXml::get_NumChildren() const {
    return m_doc ? XmlPath::countChildren(*m_doc, m_node, "*") : 0;
}

ClsXml* ClsXml::GetChild(int index) const {
    return m_doc ? handleOn(XmlPath::nthChild(*m_doc, m_node, "*", index)) : nullptr;
}

bool ClsXml::getChild2(int index) {
    const uint32_t child = m_doc ? XmlPath::nthChild(*m_doc, m_node, "*", index) : kNoNode;
    if (child == kNoNode)
        return false;
    m_node = child;
    return true;
}

ClsXml* ClsXml::getParent() const {
    return m_doc ? handleOn(m_doc->parent(m_node)) : nullptr;
}

ClsXml* ClsXml::getChildWithTagUtf8(const char* tagPath) const {
    return handleOn(resolve(tagPath));
}

ClsXml* ClsXml::getNthChildWithTagUtf8(const char* tag, int index, LogBase&) const {
    return (m_doc && tag) ? handleOn(XmlPath::nthChild(*m_doc, m_node, tag, index)) : nullptr;
}

int ClsXml::numChildrenHavingTagUtf8(const char* tag, LogBase&) const {
    return (m_doc && tag) ? XmlPath::countChildren(*m_doc, m_node, tag) : 0;
}

void ClsXml::childrenWithTag(const char* tag, ExtPtrArrayRc& out) const {
    if (!m_doc || !tag)
        return;
    for (uint32_t c = m_doc->firstChildElement(m_node); c != kNoNode; c = m_doc->nextSiblingElement(c))
        if (xml_match::tagMatches(tag, m_doc->name(c)))
            out.appendRefCounted(handleOn(c));
}

bool ClsXml::getChildContentUtf8(const char* tagPath, StringBuffer& out, bool autoTrim) const {
    std::string& s = emptied(out);
    const uint32_t child = resolve(tagPath);
    if (child == kNoNode)
        return false;
    m_doc->appendContent(child, s);
    if (autoTrim || m_doc->autoTrim())
        trimXmlSpace(s);
    return true;
}

bool ClsXml::getChildAttrValue(const char* tagPath, const char* attr, StringBuffer& out) const {
    std::string& s = emptied(out);
    const uint32_t child = resolve(tagPath);
    const XmlDocument::Attribute* a = (child != kNoNode && attr) ? m_doc->findAttribute(child, attr) : nullptr;
    if (!a)
        return false;
    m_doc->appendAttributeValue(*a, s);
    return true;
}

uint32_t ClsXml::resolve(const char* tagPath) const {
    return (m_doc && tagPath) ? XmlPath::resolve(*m_doc, m_node, tagPath, m_i) : kNoNode;
}

bool ClsXml::getXml(bool emitXmlDecl, StringBuffer& out, LogBase& log) const {
    std::string& s = emptied(out);
    if (!m_doc) {
        log.LogError("No XML document is loaded.");
        return false;
    }
    try {
        if (emitXmlDecl)
            s.append(kXmlDeclaration);
        XmlSerializer::appendElement(*m_doc, m_node, s);
        return true;
    } catch (const std::bad_alloc&) {
        out.clear();
        log.LogError("Out of memory serializing XML.");
        return false;
    }
}

void ClsXml::GetXml(XString& out) const {
    LogNull log;
    getXml(false, out.getUtf8Sb_rw(), log);
}

uint32_t ClsXml::startTagBegin() const {
    return m_doc ? m_doc->startTagBegin(m_node) : 0;
}
uint32_t ClsXml::startTagEnd() const {
    return m_doc ? m_doc->startTagEnd(m_node) : 0;
}
uint32_t ClsXml::endTagBegin() const {
    return m_doc ? m_doc->endTagBegin(m_node) : 0;
}
uint32_t ClsXml::endTagEnd() const {
    return m_doc ? m_doc->endTagEnd(m_node) : 0;
}

std::string_view ClsXml::sourceText() const {
    return m_doc ? m_doc->source() : std::string_view{};
}
