#pragma once

#include "companion/xml/XmlDocument.h"
#include "companion/xml/XmlTokenSource.h"

#include <cstdint>
#include <string>
#include <vector>

// The tokens a scanner would give for a replayable document (see
// XmlDocument::isReplayable), produced from its tree without reading the
// markup again: no name is scanned and nothing is checked twice. Character
// data between nodes comes as Text tokens flagged for references and line
// ends, which readers of raw text decode anyway.
//
// From the root it replays the root element. From an apex it replays the
// start tags of the apex's ancestors, outermost first (so that a reader
// learns the namespaces in scope), then the apex's subtree, and stops there
// or goes on to the end of the document.
class XmlTreeReplay final : public XmlTokenSource {
public:
    enum class Extent : uint8_t { Subtree, ToDocumentEnd };

    explicit XmlTreeReplay(const XmlDocument& doc) : XmlTreeReplay(doc, doc.root()) {}
    XmlTreeReplay(const XmlDocument& doc, uint32_t apex, Extent extent = Extent::Subtree);

    bool next() override;
    const XmlToken& token() const override { return m_token; }
    bool failed() const override { return false; }
    std::string errorMessage() const override { return {}; }
    uint32_t depth() const override { return static_cast<uint32_t>(m_open.size()); }
    bool inEntity() const override { return false; }
    XmlSpan entityReference() const override { return {}; }

private:
    bool emitAncestor();
    bool emitText(uint32_t end);
    void emitNode(uint32_t n);
    void emitEndTag();
    void setToken(XmlTokenKind kind, uint32_t begin, uint32_t end);

    const XmlDocument& m_doc;
    std::vector<uint32_t> m_ancestors; // innermost first; emitted from the back
    std::vector<uint32_t> m_open;
    std::vector<XmlAttribute> m_attributes;
    uint32_t m_next;
    uint32_t m_limit;
    uint32_t m_stopDepth = 0; // the ancestors stay open: the replay ends with the apex
    uint32_t m_textFrom = 0;  // where character data not yet emitted begins
    XmlToken m_token;
};
