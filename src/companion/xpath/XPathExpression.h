#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

enum class XPathAxis : uint8_t {
    Child,
    Descendant,
    DescendantOrSelf,
    Parent,
    Ancestor,
    AncestorOrSelf,
    FollowingSibling,
    PrecedingSibling,
    Following,
    Preceding,
    Attribute,
    Namespace,
    Self,
};

struct XPathExpr;
using XPathExprPtr = std::unique_ptr<XPathExpr>;

struct XPathStep {
    enum class Test : uint8_t { Name, AnyName, NamespaceAny, AnyNode, Text, Comment, ProcessingInstruction };
    XPathAxis axis = XPathAxis::Child;
    Test test = Test::AnyNode;
    std::string namespaceUri; // Name and NamespaceAny: resolved from the prefix
    std::string localName;    // Name; ProcessingInstruction: the target asked for, if any
    std::vector<XPathExprPtr> predicates;
};

// A parsed XPath 1.0 expression. Prefixes are resolved while parsing.
struct XPathExpr {
    enum class Op : uint8_t {
        Or,
        And,
        Equal,
        NotEqual,
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        Add,
        Subtract,
        Multiply,
        Divide,
        Modulo,
        Negate,
        Union,
        Literal,
        Number,
        Function,
        Path,
    };
    Op op = Op::Literal;
    std::vector<XPathExprPtr> operands; // operators; a function's arguments
    std::string text;                   // a literal; a function's name
    double number = 0;
    // Path: an optional filter (a primary expression and its predicates),
    // then the steps; absolute paths start at the root.
    XPathExprPtr filter;
    std::vector<XPathExprPtr> filterPredicates;
    bool absolute = false;
    std::vector<XPathStep> steps;
};

// Resolves a prefix of the expression to a namespace URI; false when unbound.
using XPathPrefixResolver = std::function<bool(std::string_view prefix, std::string& uri)>;

// Parses an expression; null with a reason when it is not XPath 1.0 or
// names an unbound prefix, an unknown function or a variable.
XPathExprPtr parseXPath(std::string_view text, const XPathPrefixResolver& resolve, std::string& error);
