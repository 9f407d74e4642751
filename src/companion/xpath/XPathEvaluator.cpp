#include "companion/xpath/XPathEvaluator.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

using Op = XPathExpr::Op;
using Type = XPathValue::Type;

void sortUnique(std::vector<uint32_t>& nodes) {
    if (std::is_sorted(nodes.begin(), nodes.end()) && std::adjacent_find(nodes.begin(), nodes.end()) == nodes.end())
        return;
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
}

bool compareNumbers(Op op, double a, double b) {
    switch (op) {
    case Op::Equal:
        return a == b;
    case Op::NotEqual:
        return a != b;
    case Op::Less:
        return a < b;
    case Op::LessOrEqual:
        return a <= b;
    case Op::Greater:
        return a > b;
    default:
        return a >= b;
    }
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

double xpathStringToNumber(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && isSpace(s[b]))
        ++b;
    while (e > b && isSpace(s[e - 1]))
        --e;
    s = s.substr(b, e - b);
    const bool negative = !s.empty() && s[0] == '-';
    const std::string_view digits = negative ? s.substr(1) : s;
    if (digits.empty() || digits.find_first_not_of("0123456789.") != std::string_view::npos ||
        std::count(digits.begin(), digits.end(), '.') > 1 || digits == ".")
        return std::numeric_limits<double>::quiet_NaN();
    double d = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), d);
    return negative ? -d : d;
}

std::string xpathNumberToString(double d) {
    if (std::isnan(d))
        return "NaN";
    if (std::isinf(d))
        return d > 0 ? "Infinity" : "-Infinity";
    if (d == 0)
        return "0";
    char buf[400];
    const auto r = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::fixed);
    return std::string(buf, r.ptr);
}

void XPathEvaluator::charge(uint64_t nodes) {
    m_visited += nodes;
    const bool workLeft = !m_work || m_work->charge(nodes);
    if (m_visited > m_budget || !workLeft)
        m_exhausted = true;
}

XPathValue XPathEvaluator::evaluate(const XPathExpr& e, uint32_t contextNode) {
    return eval(e, Context{contextNode, 1, 1});
}

bool XPathEvaluator::evaluateBoolean(const XPathExpr& e, uint32_t contextNode) {
    return toBoolean(evaluate(e, contextNode));
}

XPathValue XPathEvaluator::eval(const XPathExpr& e, const Context& c) {
    if (m_exhausted)
        return XPathValue::ofBoolean(false);
    switch (e.op) {
    case Op::Or:
        return XPathValue::ofBoolean(toBoolean(eval(*e.operands[0], c)) || toBoolean(eval(*e.operands[1], c)));
    case Op::And:
        return XPathValue::ofBoolean(toBoolean(eval(*e.operands[0], c)) && toBoolean(eval(*e.operands[1], c)));
    case Op::Equal:
    case Op::NotEqual:
    case Op::Less:
    case Op::LessOrEqual:
    case Op::Greater:
    case Op::GreaterOrEqual:
        return compare(e.op, eval(*e.operands[0], c), eval(*e.operands[1], c));
    case Op::Add:
        return XPathValue::ofNumber(toNumber(eval(*e.operands[0], c)) + toNumber(eval(*e.operands[1], c)));
    case Op::Subtract:
        return XPathValue::ofNumber(toNumber(eval(*e.operands[0], c)) - toNumber(eval(*e.operands[1], c)));
    case Op::Multiply:
        return XPathValue::ofNumber(toNumber(eval(*e.operands[0], c)) * toNumber(eval(*e.operands[1], c)));
    case Op::Divide:
        return XPathValue::ofNumber(toNumber(eval(*e.operands[0], c)) / toNumber(eval(*e.operands[1], c)));
    case Op::Modulo:
        return XPathValue::ofNumber(std::fmod(toNumber(eval(*e.operands[0], c)), toNumber(eval(*e.operands[1], c))));
    case Op::Negate:
        return XPathValue::ofNumber(-toNumber(eval(*e.operands[0], c)));
    case Op::Union: {
        XPathValue a = eval(*e.operands[0], c);
        XPathValue b = eval(*e.operands[1], c);
        if (a.type != Type::NodeSet || b.type != Type::NodeSet) {
            XPathValue empty;
            empty.type = Type::NodeSet;
            return empty;
        }
        charge(a.nodes.size() + b.nodes.size());
        a.nodes.insert(a.nodes.end(), b.nodes.begin(), b.nodes.end());
        sortUnique(a.nodes);
        return a;
    }
    case Op::Literal: {
        XPathValue v;
        v.type = Type::String;
        v.string = e.text;
        return v;
    }
    case Op::Number:
        return XPathValue::ofNumber(e.number);
    case Op::Function:
        return evalFunction(e, c);
    case Op::Path:
        return evalPath(e, c);
    }
    return XPathValue::ofBoolean(false);
}

XPathValue XPathEvaluator::evalPath(const XPathExpr& e, const Context& c) {
    XPathValue result;
    result.type = Type::NodeSet;
    if (e.filter) {
        XPathValue base = eval(*e.filter, c);
        if (base.type != Type::NodeSet)
            return e.steps.empty() && e.filterPredicates.empty() ? base : result;
        result.nodes = std::move(base.nodes);
        filter(e.filterPredicates, result.nodes);
    } else {
        result.nodes.push_back(e.absolute ? 0 : c.node);
    }
    std::vector<uint32_t> next;
    for (const XPathStep& step : e.steps) {
        next.clear();
        applyStep(step, result.nodes, next);
        result.nodes.swap(next);
        if (m_exhausted)
            break;
    }
    return result;
}

void XPathEvaluator::applyStep(const XPathStep& step, const std::vector<uint32_t>& from, std::vector<uint32_t>& out) {
    std::vector<uint32_t> selected;
    for (uint32_t node : from) {
        selected.clear();
        collectAxis(step, node, selected);
        if (!step.predicates.empty())
            filter(step.predicates, selected);
        out.insert(out.end(), selected.begin(), selected.end());
        if (m_exhausted)
            return;
    }
    sortUnique(out);
}

// Predicates see positions in the axis' own direction; `nodes` is in that
// order when it comes from an axis and in document order otherwise.
void XPathEvaluator::filter(const std::vector<XPathExprPtr>& predicates, std::vector<uint32_t>& nodes) {
    for (const XPathExprPtr& predicate : predicates) {
        std::vector<uint32_t> kept;
        const auto size = static_cast<uint32_t>(nodes.size());
        charge(size);
        for (uint32_t i = 0; i < size && !m_exhausted; ++i) {
            const Context c{nodes[i], i + 1, size};
            const XPathValue v = eval(*predicate, c);
            const bool keep = v.type == Type::Number ? v.number == static_cast<double>(i + 1) : toBoolean(v);
            if (keep)
                kept.push_back(nodes[i]);
        }
        nodes.swap(kept);
    }
}

bool XPathEvaluator::matches(const XPathStep& step, uint32_t node) const {
    const XPathNodeKind kind = m_tree.kind(node);
    const XPathNodeKind principal = step.axis == XPathAxis::Attribute   ? XPathNodeKind::Attribute
                                    : step.axis == XPathAxis::Namespace ? XPathNodeKind::Namespace
                                                                        : XPathNodeKind::Element;
    switch (step.test) {
    case XPathStep::Test::AnyNode:
        return true;
    case XPathStep::Test::Text:
        return kind == XPathNodeKind::Text;
    case XPathStep::Test::Comment:
        return kind == XPathNodeKind::Comment;
    case XPathStep::Test::ProcessingInstruction:
        return kind == XPathNodeKind::ProcessingInstruction &&
               (step.localName.empty() || m_tree.localName(node) == step.localName);
    case XPathStep::Test::AnyName:
        return kind == principal;
    case XPathStep::Test::NamespaceAny:
        return kind == principal && m_tree.namespaceUri(node) == step.namespaceUri;
    case XPathStep::Test::Name:
        return kind == principal && m_tree.localName(node) == step.localName &&
               m_tree.namespaceUri(node) == step.namespaceUri;
    }
    return false;
}

void XPathEvaluator::collectAxis(const XPathStep& step, uint32_t node, std::vector<uint32_t>& out) {
    uint64_t walked = 0;
    auto consider = [&](uint32_t n) {
        ++walked;
        if (matches(step, n))
            out.push_back(n);
    };
    const XPathTree::Node& self = m_tree.node(node);
    const bool content = m_tree.isContent(node);
    switch (step.axis) {
    case XPathAxis::Self:
        consider(node);
        break;
    case XPathAxis::Child:
        for (uint32_t c = m_tree.firstChild(node); c != kNoXPathNode; c = m_tree.node(c).nextSibling)
            consider(c);
        break;
    case XPathAxis::DescendantOrSelf:
        consider(node);
        [[fallthrough]];
    case XPathAxis::Descendant:
        if (content)
            for (uint32_t d = node + 1; d < self.end; ++d)
                if (m_tree.isContent(d))
                    consider(d);
        break;
    case XPathAxis::Parent:
        if (self.parent != kNoXPathNode)
            consider(self.parent);
        break;
    case XPathAxis::AncestorOrSelf:
        consider(node);
        [[fallthrough]];
    case XPathAxis::Ancestor:
        for (uint32_t a = self.parent; a != kNoXPathNode; a = m_tree.parent(a))
            consider(a);
        break;
    case XPathAxis::FollowingSibling:
        if (content)
            for (uint32_t s = self.nextSibling; s != kNoXPathNode; s = m_tree.node(s).nextSibling)
                consider(s);
        break;
    case XPathAxis::PrecedingSibling:
        if (content && self.parent != kNoXPathNode) {
            std::vector<uint32_t> before;
            for (uint32_t s = m_tree.firstChild(self.parent); s != node && s != kNoXPathNode;
                 s = m_tree.node(s).nextSibling)
                before.push_back(s);
            for (auto it = before.rbegin(); it != before.rend(); ++it)
                consider(*it);
        }
        break;
    case XPathAxis::Following: {
        // An attribute's or namespace node's following nodes start with its element's content.
        uint32_t from =
            content ? self.end : m_tree.firstAttribute(self.parent) + m_tree.node(self.parent).attributeCount;
        for (uint32_t f = from; f < m_tree.size(); ++f)
            if (m_tree.isContent(f))
                consider(f);
        break;
    }
    case XPathAxis::Preceding: {
        const uint32_t start = content ? node : self.parent;
        uint32_t ancestor = m_tree.parent(start);
        for (uint32_t p = start; p-- > 0;) {
            if (p == ancestor) {
                ancestor = m_tree.parent(p);
                continue;
            }
            if (m_tree.isContent(p))
                consider(p);
        }
        break;
    }
    case XPathAxis::Attribute:
        if (self.kind == XPathNodeKind::Element)
            for (uint32_t a = m_tree.firstAttribute(node); a < m_tree.firstAttribute(node) + self.attributeCount; ++a)
                consider(a);
        break;
    case XPathAxis::Namespace:
        if (self.kind == XPathNodeKind::Element)
            for (uint32_t n = m_tree.firstNamespace(node); n < m_tree.firstNamespace(node) + self.namespaceCount; ++n)
                consider(n);
        break;
    }
    charge(walked);
}

XPathValue XPathEvaluator::compare(Op op, const XPathValue& a, const XPathValue& b) {
    const bool equality = op == Op::Equal || op == Op::NotEqual;
    if (a.type == Type::NodeSet && b.type == Type::NodeSet) {
        std::vector<std::string> right;
        right.reserve(b.nodes.size());
        for (uint32_t n : b.nodes)
            right.push_back(stringValue(n));
        for (uint32_t n : a.nodes) {
            charge(right.size());
            if (m_exhausted)
                break;
            const std::string left = stringValue(n);
            for (const std::string& r : right) {
                const bool hit = equality ? ((left == r) == (op == Op::Equal))
                                          : compareNumbers(op, xpathStringToNumber(left), xpathStringToNumber(r));
                if (hit)
                    return XPathValue::ofBoolean(true);
            }
        }
        return XPathValue::ofBoolean(false);
    }
    if (a.type == Type::NodeSet || b.type == Type::NodeSet) {
        const bool setOnLeft = a.type == Type::NodeSet;
        const XPathValue& set = setOnLeft ? a : b;
        const XPathValue& other = setOnLeft ? b : a;
        if (other.type == Type::Boolean) {
            const bool l = setOnLeft ? toBoolean(set) : other.boolean;
            const bool r = setOnLeft ? other.boolean : toBoolean(set);
            return XPathValue::ofBoolean(equality ? ((l == r) == (op == Op::Equal)) : compareNumbers(op, l, r));
        }
        for (uint32_t n : set.nodes) {
            const std::string s = stringValue(n);
            bool hit;
            if (other.type == Type::Number || !equality) {
                const double x = xpathStringToNumber(s);
                const double y = toNumber(other);
                hit = setOnLeft ? compareNumbers(op, x, y) : compareNumbers(op, y, x);
            } else {
                hit = (s == other.string) == (op == Op::Equal);
            }
            if (hit)
                return XPathValue::ofBoolean(true);
        }
        return XPathValue::ofBoolean(false);
    }
    if (equality) {
        bool same;
        if (a.type == Type::Boolean || b.type == Type::Boolean)
            same = toBoolean(a) == toBoolean(b);
        else if (a.type == Type::Number || b.type == Type::Number)
            same = toNumber(a) == toNumber(b);
        else
            same = a.string == b.string;
        return XPathValue::ofBoolean(same == (op == Op::Equal));
    }
    return XPathValue::ofBoolean(compareNumbers(op, toNumber(a), toNumber(b)));
}

bool XPathEvaluator::toBoolean(const XPathValue& v) const {
    switch (v.type) {
    case Type::NodeSet:
        return !v.nodes.empty();
    case Type::Number:
        return v.number != 0 && !std::isnan(v.number);
    case Type::String:
        return !v.string.empty();
    case Type::Boolean:
        return v.boolean;
    }
    return false;
}

double XPathEvaluator::toNumber(const XPathValue& v) {
    switch (v.type) {
    case Type::Number:
        return v.number;
    case Type::Boolean:
        return v.boolean ? 1 : 0;
    default:
        return xpathStringToNumber(toString(v));
    }
}

std::string XPathEvaluator::toString(const XPathValue& v) {
    switch (v.type) {
    case Type::NodeSet:
        return v.nodes.empty() ? std::string() : stringValue(v.nodes.front());
    case Type::Number:
        return xpathNumberToString(v.number);
    case Type::String:
        return v.string;
    case Type::Boolean:
        return v.boolean ? "true" : "false";
    }
    return {};
}

// An element's string value reads its whole subtree, which counts.
std::string XPathEvaluator::stringValue(uint32_t node) {
    if (!m_tree.isContent(node) || m_tree.kind(node) == XPathNodeKind::Root ||
        m_tree.kind(node) == XPathNodeKind::Element)
        charge(m_tree.node(node).end - node);
    std::string s;
    m_tree.appendStringValue(node, s);
    return s;
}

XPathValue XPathValue::ofBoolean(bool b) {
    XPathValue v;
    v.type = Type::Boolean;
    v.boolean = b;
    return v;
}

XPathValue XPathValue::ofNumber(double d) {
    XPathValue v;
    v.type = Type::Number;
    v.number = d;
    return v;
}

XPathValue XPathValue::ofString(std::string s) {
    XPathValue v;
    v.type = Type::String;
    v.string = std::move(s);
    return v;
}

XPathValue XPathValue::ofNodeSet(std::vector<uint32_t> nodes) {
    XPathValue v;
    v.type = Type::NodeSet;
    v.nodes = std::move(nodes);
    return v;
}
