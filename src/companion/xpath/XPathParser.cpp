#include "companion/xpath/XPathExpression.h"

#include <array>
#include <charconv>
#include <cstdlib>

// A recursive-descent parser over a token list, one function per grammar
// production of XPath 1.0.
namespace {

enum class Tok : uint8_t { Name, Literal, Number, Operator, End };

constexpr int kMaxNesting = 200;

struct Token {
    Tok kind = Tok::End;
    std::string text;
    double number = 0;
};

constexpr std::array kFunctions = {
    "last",
    "position",
    "count",
    "id",
    "local-name",
    "namespace-uri",
    "name",
    "string",
    "concat",
    "starts-with",
    "contains",
    "substring-before",
    "substring-after",
    "substring",
    "string-length",
    "normalize-space",
    "translate",
    "boolean",
    "not",
    "true",
    "false",
    "lang",
    "number",
    "sum",
    "floor",
    "ceiling",
    "round",
    "here",
};

bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool isNameChar(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

class Lexer {
public:
    explicit Lexer(std::string_view text) : m_text(text) {}

    bool run(std::vector<Token>& out, std::string& error) {
        while (true) {
            while (m_pos < m_text.size() && isSpace(m_text[m_pos]))
                ++m_pos;
            if (m_pos >= m_text.size())
                break;
            Token t;
            if (!next(t, error))
                return false;
            out.push_back(std::move(t));
        }
        out.push_back(Token{});
        return true;
    }

private:
    bool next(Token& t, std::string& error) {
        const char c = m_text[m_pos];
        if (c == '"' || c == '\'') {
            const size_t close = m_text.find(c, m_pos + 1);
            if (close == std::string_view::npos) {
                error = "unterminated literal";
                return false;
            }
            t.kind = Tok::Literal;
            t.text = m_text.substr(m_pos + 1, close - m_pos - 1);
            m_pos = close + 1;
            return true;
        }
        if (isDigit(c) || (c == '.' && m_pos + 1 < m_text.size() && isDigit(m_text[m_pos + 1]))) {
            const size_t start = m_pos;
            while (m_pos < m_text.size() && (isDigit(m_text[m_pos]) || m_text[m_pos] == '.'))
                ++m_pos;
            t.kind = Tok::Number;
            t.text = m_text.substr(start, m_pos - start);
            t.number = std::strtod(t.text.c_str(), nullptr);
            return true;
        }
        if (isNameStart(c)) {
            // An NCName, "p:local", "p:*"; "::" is left for the axis operator.
            const size_t start = m_pos;
            while (m_pos < m_text.size() && isNameChar(m_text[m_pos]))
                ++m_pos;
            if (m_pos + 1 < m_text.size() && m_text[m_pos] == ':' && m_text[m_pos + 1] != ':') {
                if (m_text[m_pos + 1] == '*') {
                    m_pos += 2;
                } else if (isNameStart(m_text[m_pos + 1])) {
                    ++m_pos;
                    while (m_pos < m_text.size() && isNameChar(m_text[m_pos]))
                        ++m_pos;
                }
            }
            t.kind = Tok::Name;
            t.text = m_text.substr(start, m_pos - start);
            return true;
        }
        static constexpr std::array kTwoChar = {"//", "::", "..", "!=", "<=", ">="};
        for (std::string_view op : kTwoChar)
            if (m_text.substr(m_pos, 2) == op) {
                t.kind = Tok::Operator;
                t.text = op;
                m_pos += 2;
                return true;
            }
        if (std::string_view("/()[].@,|+-=<>*$").find(c) == std::string_view::npos) {
            error = std::string("unexpected character '") + c + "'";
            return false;
        }
        t.kind = Tok::Operator;
        t.text = std::string(1, c);
        ++m_pos;
        return true;
    }

    std::string_view m_text;
    size_t m_pos = 0;
};

struct AxisName {
    std::string_view name;
    XPathAxis axis;
};
constexpr std::array kAxes = {
    AxisName{"child", XPathAxis::Child},
    AxisName{"descendant", XPathAxis::Descendant},
    AxisName{"descendant-or-self", XPathAxis::DescendantOrSelf},
    AxisName{"parent", XPathAxis::Parent},
    AxisName{"ancestor", XPathAxis::Ancestor},
    AxisName{"ancestor-or-self", XPathAxis::AncestorOrSelf},
    AxisName{"following-sibling", XPathAxis::FollowingSibling},
    AxisName{"preceding-sibling", XPathAxis::PrecedingSibling},
    AxisName{"following", XPathAxis::Following},
    AxisName{"preceding", XPathAxis::Preceding},
    AxisName{"attribute", XPathAxis::Attribute},
    AxisName{"namespace", XPathAxis::Namespace},
    AxisName{"self", XPathAxis::Self},
};

bool isNodeType(std::string_view name) {
    return name == "node" || name == "text" || name == "comment" || name == "processing-instruction";
}

class Parser {
public:
    Parser(std::vector<Token> tokens, const XPathPrefixResolver& resolve, std::string& error)
        : m_tokens(std::move(tokens)), m_resolve(resolve), m_error(error) {}

    XPathExprPtr parse() {
        XPathExprPtr e = orExpr();
        if (e && peek().kind != Tok::End)
            return fail("unexpected '" + peek().text + "'");
        return e;
    }

private:
    const Token& peek(size_t ahead = 0) const {
        const size_t i = std::min(m_pos + ahead, m_tokens.size() - 1);
        return m_tokens[i];
    }
    bool isOp(std::string_view op, size_t ahead = 0) const {
        return peek(ahead).kind == Tok::Operator && peek(ahead).text == op;
    }
    bool isName(std::string_view name) const { return peek().kind == Tok::Name && peek().text == name; }
    bool accept(std::string_view op) {
        if (!isOp(op))
            return false;
        ++m_pos;
        return true;
    }
    XPathExprPtr fail(std::string reason) {
        if (m_error.empty())
            m_error = std::move(reason);
        return nullptr;
    }
    static XPathExprPtr binary(XPathExpr::Op op, XPathExprPtr a, XPathExprPtr b) {
        auto e = std::make_unique<XPathExpr>();
        e->op = op;
        e->operands.push_back(std::move(a));
        e->operands.push_back(std::move(b));
        return e;
    }

    // Parentheses, predicates, arguments and unary minus nest; the depth is
    // bounded so that an expression cannot exhaust the stack.
    struct Nesting {
        explicit Nesting(Parser& p) : parser(p) { ++parser.m_depth; }
        ~Nesting() { --parser.m_depth; }
        Parser& parser;
    };
    bool tooDeep() {
        if (m_depth <= kMaxNesting)
            return false;
        fail("the expression nests too deeply");
        return true;
    }

    XPathExprPtr orExpr() {
        const Nesting nesting(*this);
        if (tooDeep())
            return nullptr;
        XPathExprPtr e = andExpr();
        while (e && isName("or")) {
            ++m_pos;
            XPathExprPtr rhs = andExpr();
            if (!rhs)
                return nullptr;
            e = binary(XPathExpr::Op::Or, std::move(e), std::move(rhs));
        }
        return e;
    }
    XPathExprPtr andExpr() {
        XPathExprPtr e = equalityExpr();
        while (e && isName("and")) {
            ++m_pos;
            XPathExprPtr rhs = equalityExpr();
            if (!rhs)
                return nullptr;
            e = binary(XPathExpr::Op::And, std::move(e), std::move(rhs));
        }
        return e;
    }
    XPathExprPtr equalityExpr() {
        XPathExprPtr e = relationalExpr();
        while (e && (isOp("=") || isOp("!="))) {
            const auto op = isOp("=") ? XPathExpr::Op::Equal : XPathExpr::Op::NotEqual;
            ++m_pos;
            XPathExprPtr rhs = relationalExpr();
            if (!rhs)
                return nullptr;
            e = binary(op, std::move(e), std::move(rhs));
        }
        return e;
    }
    XPathExprPtr relationalExpr() {
        XPathExprPtr e = additiveExpr();
        while (e && (isOp("<") || isOp(">") || isOp("<=") || isOp(">="))) {
            const std::string& t = peek().text;
            const auto op = t == "<"    ? XPathExpr::Op::Less
                            : t == ">"  ? XPathExpr::Op::Greater
                            : t == "<=" ? XPathExpr::Op::LessOrEqual
                                        : XPathExpr::Op::GreaterOrEqual;
            ++m_pos;
            XPathExprPtr rhs = additiveExpr();
            if (!rhs)
                return nullptr;
            e = binary(op, std::move(e), std::move(rhs));
        }
        return e;
    }
    XPathExprPtr additiveExpr() {
        XPathExprPtr e = multiplicativeExpr();
        while (e && (isOp("+") || isOp("-"))) {
            const auto op = isOp("+") ? XPathExpr::Op::Add : XPathExpr::Op::Subtract;
            ++m_pos;
            XPathExprPtr rhs = multiplicativeExpr();
            if (!rhs)
                return nullptr;
            e = binary(op, std::move(e), std::move(rhs));
        }
        return e;
    }
    // After an operand, "*" multiplies and a name "div" or "mod" is an operator.
    XPathExprPtr multiplicativeExpr() {
        XPathExprPtr e = unaryExpr();
        while (e && (isOp("*") || isName("div") || isName("mod"))) {
            const auto op = isOp("*")       ? XPathExpr::Op::Multiply
                            : isName("div") ? XPathExpr::Op::Divide
                                            : XPathExpr::Op::Modulo;
            ++m_pos;
            XPathExprPtr rhs = unaryExpr();
            if (!rhs)
                return nullptr;
            e = binary(op, std::move(e), std::move(rhs));
        }
        return e;
    }
    XPathExprPtr unaryExpr() {
        const Nesting nesting(*this);
        if (tooDeep())
            return nullptr;
        if (accept("-")) {
            XPathExprPtr operand = unaryExpr();
            if (!operand)
                return nullptr;
            auto e = std::make_unique<XPathExpr>();
            e->op = XPathExpr::Op::Negate;
            e->operands.push_back(std::move(operand));
            return e;
        }
        XPathExprPtr e = pathExpr();
        while (e && accept("|")) {
            XPathExprPtr rhs = pathExpr();
            if (!rhs)
                return nullptr;
            e = binary(XPathExpr::Op::Union, std::move(e), std::move(rhs));
        }
        return e;
    }

    bool startsFilter() const {
        const Token& t = peek();
        if (t.kind == Tok::Literal || t.kind == Tok::Number || isOp("(") || isOp("$"))
            return true;
        return t.kind == Tok::Name && isOp("(", 1) && !isNodeType(t.text);
    }

    XPathExprPtr pathExpr() {
        auto path = std::make_unique<XPathExpr>();
        path->op = XPathExpr::Op::Path;
        if (startsFilter()) {
            path->filter = primaryExpr();
            if (!path->filter || !predicates(path->filterPredicates))
                return nullptr;
            if (isOp("/") || isOp("//")) {
                if (!relativePath(*path))
                    return nullptr;
            } else if (path->filterPredicates.empty()) {
                return std::move(path->filter);
            }
            return path;
        }
        if (isOp("/")) {
            path->absolute = true;
            ++m_pos;
            if (!startsStep())
                return path;
            return relativePathSteps(*path) ? std::move(path) : nullptr;
        }
        if (isOp("//")) {
            path->absolute = true;
            return relativePath(*path) ? std::move(path) : nullptr;
        }
        return relativePathSteps(*path) ? std::move(path) : nullptr;
    }

    bool startsStep() const { return peek().kind == Tok::Name || isOp("*") || isOp("@") || isOp(".") || isOp(".."); }

    static XPathStep descendantOrSelfNode() {
        XPathStep s;
        s.axis = XPathAxis::DescendantOrSelf;
        s.test = XPathStep::Test::AnyNode;
        return s;
    }

    // A separator ("/" or "//") and the steps after it.
    bool relativePath(XPathExpr& path) {
        if (accept("//"))
            path.steps.push_back(descendantOrSelfNode());
        else if (!accept("/"))
            return fail("expected '/'") != nullptr;
        return relativePathSteps(path);
    }

    bool relativePathSteps(XPathExpr& path) {
        if (!step(path))
            return false;
        while (isOp("/") || isOp("//")) {
            if (accept("//"))
                path.steps.push_back(descendantOrSelfNode());
            else
                ++m_pos;
            if (!step(path))
                return false;
        }
        return true;
    }

    bool step(XPathExpr& path) {
        XPathStep s;
        if (accept(".")) {
            s.axis = XPathAxis::Self;
            path.steps.push_back(std::move(s));
            return true;
        }
        if (accept("..")) {
            s.axis = XPathAxis::Parent;
            path.steps.push_back(std::move(s));
            return true;
        }
        if (accept("@")) {
            s.axis = XPathAxis::Attribute;
        } else if (peek().kind == Tok::Name && isOp("::", 1)) {
            const auto it =
                std::find_if(kAxes.begin(), kAxes.end(), [&](const AxisName& a) { return a.name == peek().text; });
            if (it == kAxes.end())
                return fail("unknown axis " + peek().text) != nullptr;
            s.axis = it->axis;
            m_pos += 2;
        }
        if (!nodeTest(s) || !predicates(s.predicates))
            return false;
        // "//x" selects what descendant::x does when no predicate counts
        // positions among the children; one step instead of two saves
        // sorting the children of every node back into document order.
        if (s.axis == XPathAxis::Child && s.predicates.empty() && !path.steps.empty() &&
            path.steps.back().axis == XPathAxis::DescendantOrSelf &&
            path.steps.back().test == XPathStep::Test::AnyNode && path.steps.back().predicates.empty()) {
            path.steps.pop_back();
            s.axis = XPathAxis::Descendant;
        }
        path.steps.push_back(std::move(s));
        return true;
    }

    bool resolvePrefix(std::string_view prefix, std::string& uri) {
        if (m_resolve && m_resolve(prefix, uri))
            return true;
        fail("unbound prefix " + std::string(prefix));
        return false;
    }

    bool nodeTest(XPathStep& s) {
        if (accept("*")) {
            s.test = XPathStep::Test::AnyName;
            return true;
        }
        if (peek().kind != Tok::Name)
            return fail("expected a node test") != nullptr;
        const std::string name = peek().text;
        ++m_pos;
        if (isNodeType(name) && accept("(")) {
            if (name == "processing-instruction" && peek().kind == Tok::Literal) {
                s.localName = peek().text;
                ++m_pos;
            }
            if (!accept(")"))
                return fail("expected ')'") != nullptr;
            s.test = name == "node"      ? XPathStep::Test::AnyNode
                     : name == "text"    ? XPathStep::Test::Text
                     : name == "comment" ? XPathStep::Test::Comment
                                         : XPathStep::Test::ProcessingInstruction;
            return true;
        }
        const size_t colon = name.find(':');
        if (colon == std::string::npos) {
            s.test = XPathStep::Test::Name;
            s.localName = name;
            return true;
        }
        if (!resolvePrefix(std::string_view(name).substr(0, colon), s.namespaceUri))
            return false;
        if (name.substr(colon + 1) == "*") {
            s.test = XPathStep::Test::NamespaceAny;
        } else {
            s.test = XPathStep::Test::Name;
            s.localName = name.substr(colon + 1);
        }
        return true;
    }

    bool predicates(std::vector<XPathExprPtr>& out) {
        while (accept("[")) {
            XPathExprPtr e = orExpr();
            if (!e)
                return false;
            if (!accept("]"))
                return fail("expected ']'") != nullptr;
            out.push_back(std::move(e));
        }
        return true;
    }

    XPathExprPtr primaryExpr() {
        const Token t = peek();
        auto e = std::make_unique<XPathExpr>();
        if (t.kind == Tok::Literal) {
            ++m_pos;
            e->op = XPathExpr::Op::Literal;
            e->text = t.text;
            return e;
        }
        if (t.kind == Tok::Number) {
            ++m_pos;
            e->op = XPathExpr::Op::Number;
            e->number = t.number;
            return e;
        }
        if (isOp("$"))
            return fail("variables are not supported");
        if (accept("(")) {
            XPathExprPtr inner = orExpr();
            if (!inner || !accept(")"))
                return fail("expected ')'");
            return inner;
        }
        // A function call.
        if (std::find(kFunctions.begin(), kFunctions.end(), t.text) == kFunctions.end())
            return fail("unknown function " + t.text);
        m_pos += 2;
        e->op = XPathExpr::Op::Function;
        e->text = t.text;
        if (!accept(")")) {
            do {
                XPathExprPtr arg = orExpr();
                if (!arg)
                    return nullptr;
                e->operands.push_back(std::move(arg));
            } while (accept(","));
            if (!accept(")"))
                return fail("expected ')' after the arguments of " + t.text);
        }
        return e;
    }

    std::vector<Token> m_tokens;
    size_t m_pos = 0;
    int m_depth = 0;
    const XPathPrefixResolver& m_resolve;
    std::string& m_error;
};

} // namespace

XPathExprPtr parseXPath(std::string_view text, const XPathPrefixResolver& resolve, std::string& error) {
    error.clear();
    std::vector<Token> tokens;
    if (!Lexer(text).run(tokens, error))
        return nullptr;
    XPathExprPtr e = Parser(std::move(tokens), resolve, error).parse();
    if (!e && error.empty())
        error = "not an XPath expression";
    return e;
}
