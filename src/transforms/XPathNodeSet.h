#pragma once

#include "companion/base/WorkBudget.h"
#include "companion/canon/NodeSetCanon.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class LogBase;
class XmlDocument;
class XPathTree;
class XPathEvaluator;
struct XPathExpr;

// The node-set that XPath, XPath Filter 2.0 and XPointer transforms pass
// along a reference's chain: the document they read, its XPath tree, and one
// flag per node. It is rendered to text by the next canonicalization.
class XPathNodeSet {
public:
    // The default bound on the nodes one transform may visit.
    static constexpr uint64_t kDefaultBudget = 50'000'000;

    XPathNodeSet();
    ~XPathNodeSet();
    XPathNodeSet(const XPathNodeSet&) = delete;
    XPathNodeSet& operator=(const XPathNodeSet&) = delete;

    // The input node-set of a same-document URI over `text`: the whole
    // document without comments for "", the identified element's subtree
    // without comments for "#id", with comments for the xpointer forms.
    // `parsed` is used when it was parsed from exactly this text. An element
    // that an earlier transform cut (`targetMayBeCut`) leaves the set empty.
    bool load(std::string_view text, const XmlDocument* parsed, std::string_view uri, bool targetMayBeCut,
              LogBase& log);
    // The node-set an octet stream becomes when an expression reads it: the
    // whole document, comments included. Expressions are written in the
    // signed document, never in this data.
    bool loadOctets(std::string_view text, LogBase& log);

    void setBudget(uint64_t nodes) { m_budget = nodes; }
    // The verification's work budget, charged for the trees built, the nodes
    // evaluated and the text rendered; null: none.
    void setWorkBudget(WorkBudget* work) { m_work = work; }
    // Set once a step stopped because the work budget was spent.
    bool workSpent() const { return m_work && m_work->spent(); }
    uint64_t budget() const { return m_budget; }
    // Set once an evaluation stopped at the budget, with the nodes it visited.
    bool budgetExhausted() const { return m_exhausted; }
    uint64_t visited() const { return m_visited; }
    // Where the signature being verified starts, so that the expression's own
    // element (for here() and its namespaces) is looked for in it first.
    void setSignatureOffset(uint32_t offset) { m_signatureOffset = offset; }
    // The loaded document, where the expressions are looked for when an
    // earlier transform cut them out of the text read (the signature that
    // holds them was removed). here() is then empty.
    void setSignedDocument(const XmlDocument* doc) { m_signedDoc = doc; }

    // The XPath transform: keeps the nodes for which the expression is true.
    bool applyXPath(std::string_view expression, LogBase& log);
    // XPath Filter 2.0: the transform's XPath elements in order; the first
    // one's text is `expression`.
    bool applyFilter2(std::string_view expression, LogBase& log);
    // The XPointer transform: the subtrees that xpointer(...) selects.
    bool applyXPointer(std::string_view expression, LogBase& log);
    // Leaves out the elements whose start tags begin in the byte range (the
    // enveloped-signature transform).
    void subtractElementsIn(uint32_t start, uint32_t length);

    void render(const NodeSetCanon::Options& options, std::string& out) const;

    // What the node-set holds of what the reference first named: its top
    // elements (selected, their parent not), at most `max` of them as
    // elements of document(), how many there are, and whether it leaves out
    // an element, text or processing instruction outside them.
    struct Selection {
        std::vector<uint32_t> topElements;
        uint64_t topCount = 0;
        bool excludesOutside = false;
        // One top element, the one the reference named (or the document
        // element for ""), with nothing left out around it.
        bool coversInput = false;
    };
    Selection selection(size_t max) const;
    const XmlDocument& document() const { return *m_doc; }

private:
    // An element that bears an expression, in the tree it was found in.
    struct Bearer {
        const XPathTree* tree = nullptr;
        uint32_t node = UINT32_MAX;
        bool found() const { return tree != nullptr; }
        uint32_t here(const XPathTree& evaluated) const { return tree == &evaluated ? node : UINT32_MAX; }
    };
    Bearer expressionElement(std::string_view localName, std::string_view expression, LogBase& log);
    static uint32_t findBearer(const XPathTree& tree, uint32_t signature, std::string_view localName,
                               std::string_view expression);
    std::unique_ptr<XPathExpr> parse(std::string_view expression, const Bearer& bearer, LogBase& log) const;
    std::vector<uint8_t> subtrees(const std::vector<uint32_t>& roots) const;
    bool withinBudget(const XPathEvaluator& evaluator, LogBase& log) const;
    bool parseDocument(std::string_view text, const XmlDocument* parsed, LogBase& log);
    // A tree of `doc` within the work budget, or null (logged).
    std::unique_ptr<XPathTree> buildTree(const XmlDocument& doc, LogBase& log) const;

    std::shared_ptr<XmlDocument> m_owned;
    const XmlDocument* m_doc = nullptr;
    std::unique_ptr<XPathTree> m_tree;
    std::vector<uint8_t> m_selected;
    const XmlDocument* m_signedDoc = nullptr;
    std::unique_ptr<XPathTree> m_signedTree;
    uint64_t m_budget = kDefaultBudget;
    WorkBudget* m_work = nullptr;
    mutable bool m_exhausted = false;
    mutable uint64_t m_visited = 0;
    uint32_t m_signatureOffset = UINT32_MAX;
    // The nodes the reference's URI named, before any transform.
    uint32_t m_inputBegin = 0;
    uint32_t m_inputEnd = 0;
    bool m_expressionsInText = true;
};
