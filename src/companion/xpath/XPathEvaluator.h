#pragma once

#include "companion/base/WorkBudget.h"
#include "companion/xpath/XPathExpression.h"
#include "companion/xpath/XPathTree.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct XPathValue {
    enum class Type : uint8_t { NodeSet, Number, String, Boolean };
    Type type = Type::Boolean;
    std::vector<uint32_t> nodes; // in document order, no duplicates
    double number = 0;
    std::string string;
    bool boolean = false;

    static XPathValue ofBoolean(bool b);
    static XPathValue ofNumber(double d);
    static XPathValue ofString(std::string s);
    static XPathValue ofNodeSet(std::vector<uint32_t> nodes);
};

// Evaluates parsed XPath 1.0 expressions over an XPathTree. Every node an
// axis walks over, a predicate tests or a union merges counts against a
// budget of its own and, when given, a caller's work budget; once either is
// spent, evaluation stops and exhausted() says so (the values returned are
// then meaningless).
class XPathEvaluator {
public:
    XPathEvaluator(const XPathTree& tree, uint64_t budget, WorkBudget* work = nullptr)
        : m_tree(tree), m_budget(budget), m_work(work) {}

    // The node here() returns (the element that bears the expression).
    void setHere(uint32_t node) { m_here = node; }

    XPathValue evaluate(const XPathExpr& e, uint32_t contextNode);
    bool evaluateBoolean(const XPathExpr& e, uint32_t contextNode);
    // Counts nodes that a caller visits on the evaluator's behalf.
    void charge(uint64_t nodes);
    bool exhausted() const { return m_exhausted; }
    uint64_t visited() const { return m_visited; }

private:
    struct Context {
        uint32_t node;
        uint32_t position;
        uint32_t size;
    };

    XPathValue eval(const XPathExpr& e, const Context& c);
    XPathValue evalPath(const XPathExpr& e, const Context& c);
    XPathValue evalFunction(const XPathExpr& e, const Context& c);
    XPathValue compare(XPathExpr::Op op, const XPathValue& a, const XPathValue& b);
    void applyStep(const XPathStep& step, const std::vector<uint32_t>& from, std::vector<uint32_t>& out);
    void collectAxis(const XPathStep& step, uint32_t node, std::vector<uint32_t>& out);
    bool matches(const XPathStep& step, uint32_t node) const;
    void filter(const std::vector<XPathExprPtr>& predicates, std::vector<uint32_t>& nodes);
    std::vector<uint32_t> idLookup(const XPathValue& arg);

    bool toBoolean(const XPathValue& v) const;
    double toNumber(const XPathValue& v);
    std::string toString(const XPathValue& v);
    std::string stringValue(uint32_t node);

    const XPathTree& m_tree;
    const uint64_t m_budget;
    WorkBudget* m_work;
    uint64_t m_visited = 0;
    bool m_exhausted = false;
    uint32_t m_here = kNoXPathNode;
    std::unordered_map<std::string, uint32_t> m_ids;
    bool m_idsIndexed = false;
};

double xpathStringToNumber(std::string_view s);
std::string xpathNumberToString(double d);
