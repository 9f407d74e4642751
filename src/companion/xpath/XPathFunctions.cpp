#include "companion/xml/XmlDocument.h"
#include "companion/xpath/XPathEvaluator.h"

#include <cmath>

// The core function library and here().
namespace {

using Type = XPathValue::Type;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string normalizeSpace(std::string_view s) {
    std::string out;
    bool pendingSpace = false;
    for (char c : s) {
        if (isSpace(c)) {
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace)
            out.push_back(' ');
        pendingSpace = false;
        out.push_back(c);
    }
    return out;
}

// UTF-8 aware: positions and lengths count characters.
std::vector<std::string_view> characters(std::string_view s) {
    std::vector<std::string_view> out;
    for (size_t i = 0; i < s.size();) {
        const auto lead = static_cast<unsigned char>(s[i]);
        const size_t len = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        out.push_back(s.substr(i, len));
        i += len;
    }
    return out;
}

double xpathRound(double d) {
    if (std::isnan(d) || std::isinf(d))
        return d;
    return std::floor(d + 0.5);
}

std::string substring(std::string_view s, double start, double length, bool hasLength) {
    const std::vector<std::string_view> chars = characters(s);
    const double first = xpathRound(start);
    const double last = hasLength ? first + xpathRound(length) : std::numeric_limits<double>::infinity();
    std::string out;
    for (size_t i = 0; i < chars.size(); ++i) {
        const auto pos = static_cast<double>(i + 1);
        if (pos >= first && pos < last)
            out.append(chars[i]);
    }
    return out;
}

std::string translate(std::string_view s, std::string_view from, std::string_view to) {
    const std::vector<std::string_view> f = characters(from);
    const std::vector<std::string_view> t = characters(to);
    std::string out;
    for (std::string_view c : characters(s)) {
        const auto it = std::find(f.begin(), f.end(), c);
        if (it == f.end())
            out.append(c);
        else if (static_cast<size_t>(it - f.begin()) < t.size())
            out.append(t[static_cast<size_t>(it - f.begin())]);
    }
    return out;
}

} // namespace

std::vector<uint32_t> XPathEvaluator::idLookup(const XPathValue& arg) {
    if (!m_idsIndexed) {
        // Identifiers as the rest of the verifier reads them: an attribute
        // declared ID, or one named Id, ID or id with any prefix.
        m_idsIndexed = true;
        charge(m_tree.size());
        for (uint32_t n = 0; n < m_tree.size(); ++n) {
            if (m_tree.kind(n) != XPathNodeKind::Attribute)
                continue;
            uint8_t flags = 0;
            m_tree.rawAttributeValue(n, flags);
            const std::string_view local = m_tree.localName(n);
            if ((flags & kAttrDeclaredId) || local == "Id" || local == "ID" || local == "id")
                m_ids.try_emplace(stringValue(n), m_tree.parent(n));
        }
    }
    std::string tokens;
    if (arg.type == Type::NodeSet) {
        for (uint32_t n : arg.nodes)
            tokens.append(stringValue(n)).push_back(' ');
    } else {
        tokens = toString(arg);
    }
    std::vector<uint32_t> out;
    for (size_t i = 0; i < tokens.size();) {
        while (i < tokens.size() && isSpace(tokens[i]))
            ++i;
        size_t j = i;
        while (j < tokens.size() && !isSpace(tokens[j]))
            ++j;
        if (j > i)
            if (const auto it = m_ids.find(tokens.substr(i, j - i)); it != m_ids.end())
                out.push_back(it->second);
        i = j;
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

XPathValue XPathEvaluator::evalFunction(const XPathExpr& e, const Context& c) {
    const std::string& f = e.text;
    std::vector<XPathValue> args;
    args.reserve(e.operands.size());
    for (const XPathExprPtr& operand : e.operands)
        args.push_back(eval(*operand, c));
    auto stringArg = [&](size_t i) { return i < args.size() ? toString(args[i]) : stringValue(c.node); };
    // The node a name function reads: the first of its argument, or the context.
    auto nameNode = [&]() -> uint32_t {
        if (args.empty())
            return c.node;
        return args[0].type == Type::NodeSet && !args[0].nodes.empty() ? args[0].nodes.front() : kNoXPathNode;
    };

    if (f == "last")
        return XPathValue::ofNumber(c.size);
    if (f == "position")
        return XPathValue::ofNumber(c.position);
    if (f == "count")
        return XPathValue::ofNumber(args.empty() ? 0 : static_cast<double>(args[0].nodes.size()));
    if (f == "id")
        return XPathValue::ofNodeSet(args.empty() ? std::vector<uint32_t>{} : idLookup(args[0]));
    if (f == "here")
        return XPathValue::ofNodeSet(m_here == kNoXPathNode ? std::vector<uint32_t>{} : std::vector<uint32_t>{m_here});
    if (f == "local-name" || f == "namespace-uri" || f == "name") {
        const uint32_t n = nameNode();
        if (n == kNoXPathNode)
            return XPathValue::ofString({});
        if (f == "local-name")
            return XPathValue::ofString(std::string(m_tree.localName(n)));
        if (f == "namespace-uri")
            return XPathValue::ofString(std::string(m_tree.namespaceUri(n)));
        return XPathValue::ofString(std::string(m_tree.qualifiedName(n)));
    }
    if (f == "string")
        return XPathValue::ofString(stringArg(0));
    if (f == "concat") {
        std::string s;
        for (size_t i = 0; i < args.size(); ++i)
            s += toString(args[i]);
        return XPathValue::ofString(std::move(s));
    }
    if (f == "starts-with")
        return XPathValue::ofBoolean(stringArg(0).starts_with(stringArg(1)));
    if (f == "contains")
        return XPathValue::ofBoolean(stringArg(0).find(stringArg(1)) != std::string::npos);
    if (f == "substring-before" || f == "substring-after") {
        const std::string s = stringArg(0);
        const std::string t = stringArg(1);
        const size_t at = s.find(t);
        if (at == std::string::npos)
            return XPathValue::ofString({});
        return XPathValue::ofString(f == "substring-before" ? s.substr(0, at) : s.substr(at + t.size()));
    }
    if (f == "substring")
        return XPathValue::ofString(substring(stringArg(0), args.size() > 1 ? toNumber(args[1]) : 1,
                                              args.size() > 2 ? toNumber(args[2]) : 0, args.size() > 2));
    if (f == "string-length")
        return XPathValue::ofNumber(static_cast<double>(characters(stringArg(0)).size()));
    if (f == "normalize-space")
        return XPathValue::ofString(normalizeSpace(stringArg(0)));
    if (f == "translate")
        return XPathValue::ofString(translate(stringArg(0), stringArg(1), stringArg(2)));
    if (f == "boolean")
        return XPathValue::ofBoolean(!args.empty() && toBoolean(args[0]));
    if (f == "not")
        return XPathValue::ofBoolean(args.empty() || !toBoolean(args[0]));
    if (f == "true" || f == "false")
        return XPathValue::ofBoolean(f == "true");
    if (f == "lang") {
        // The nearest xml:lang above the context node.
        const std::string wanted = stringArg(0);
        for (uint32_t n = c.node; n != kNoXPathNode; n = m_tree.parent(n)) {
            if (m_tree.kind(n) != XPathNodeKind::Element)
                continue;
            const uint32_t first = m_tree.firstAttribute(n);
            for (uint32_t a = first; a < first + m_tree.node(n).attributeCount; ++a) {
                if (m_tree.qualifiedName(a) != "xml:lang")
                    continue;
                std::string lang = stringValue(a);
                auto lower = [](std::string s) {
                    for (char& ch : s)
                        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
                    return s;
                };
                lang = lower(lang);
                const std::string w = lower(wanted);
                return XPathValue::ofBoolean(lang == w ||
                                             (lang.starts_with(w) && lang.size() > w.size() && lang[w.size()] == '-'));
            }
        }
        return XPathValue::ofBoolean(false);
    }
    if (f == "number")
        return XPathValue::ofNumber(args.empty() ? xpathStringToNumber(stringValue(c.node)) : toNumber(args[0]));
    if (f == "sum") {
        double total = 0;
        if (!args.empty())
            for (uint32_t n : args[0].nodes)
                total += xpathStringToNumber(stringValue(n));
        return XPathValue::ofNumber(total);
    }
    const double d = args.empty() ? std::nan("") : toNumber(args[0]);
    if (f == "floor")
        return XPathValue::ofNumber(std::floor(d));
    if (f == "ceiling")
        return XPathValue::ofNumber(std::ceil(d));
    return XPathValue::ofNumber(xpathRound(d));
}
