#include "RandomXmlDocument.h"

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <string_view>
#include <utility>

namespace {

constexpr int kMaxDepth = 5;
constexpr int kMaxChildren = 4;
constexpr int kManyNamespaces = 40;

constexpr std::array<std::string_view, 4> kPrefixes = {"", "a", "b", "c"};
constexpr std::array<std::string_view, 5> kUris = {"http://example.com/a", "http://example.com/b", "urn:c",
                                                   "http://example.com/a", "http://example.com/q?x=1;y=2"};
constexpr std::array<std::string_view, 5> kElementNames = {"e0", "e1", "e2", "e3", "e4"};
constexpr std::array<std::string_view, 4> kAttributeNames = {"x", "y", "z", "w"};
constexpr std::array<std::string_view, 13> kAttributeValues = {"v",
                                                               "",
                                                               "a &amp; b &lt; c",
                                                               "x > y",
                                                               "it's",
                                                               "tab\tand\nnewline",
                                                               "&#9;&#10;&#13;",
                                                               "&quot;q&quot;",
                                                               "&word;",
                                                               "&amp2;",
                                                               "\xC3\xA9\xE2\x82\xAC",
                                                               "  padded  ",
                                                               "&#x20AC;&#65;"};
constexpr std::array<std::string_view, 12> kTexts = {"plain",
                                                     " spaced  text ",
                                                     "a &amp; b",
                                                     "&lt;tag&gt;",
                                                     "x > y ]] >",
                                                     "quote \" and '",
                                                     "tab\there",
                                                     "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                                                     "&#x20AC;&#65;&#13;&#10;&#x9;",
                                                     "line1\nline2\n",
                                                     "&word;&amp2;",
                                                     "&markup;"};
constexpr std::array<std::string_view, 3> kCData = {"<![CDATA[ <not> & markup > ]]>", "<![CDATA[]]>",
                                                    "<![CDATA[a ]] > b\nc]]>"};
constexpr std::array<std::string_view, 3> kComments = {"<!-- c -->", "<!---->", "<!-- multi\nline -->"};
constexpr std::array<std::string_view, 3> kPis = {"<?pi?>", "<?pi data?>", "<?pi   spaced  data ?>"};
constexpr std::array<std::string_view, 3> kXmlAttributes = {"xml:lang", "xml:space", "xml:base"};
constexpr std::array<std::string_view, 3> kXmlAttributeValues = {"en", "preserve", "http://example.com/base/"};
// Relative bases, for the joins of Canonical XML 1.1.
constexpr std::array<std::string_view, 4> kRelativeBases = {"sub/dir/", "../up/x", "a/./b/../c", "/abs/path/"};

constexpr std::string_view kDoctype = "<!DOCTYPE e0 [\n"
                                      "<!ENTITY word \"word\">\n"
                                      "<!ENTITY amp2 \"&#38;#38; and &#62;\">\n"
                                      "<!ENTITY markup \"<m:i xmlns:m='urn:m' m:k='1'>in &word; <!--ec--></m:i>\">\n"
                                      "<!ATTLIST e2 dflt CDATA \"default &word;\" tok NMTOKENS #IMPLIED>\n"
                                      "<!ATTLIST e3 xml:lang CDATA \"de\">\n"
                                      "]>\n";

class Generator {
public:
    explicit Generator(uint32_t seed) : m_rng(seed) {}

    RandomXmlDocument run() {
        if (chance(2))
            m_doc.text += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        m_withDtd = chance(2);
        if (m_withDtd)
            m_doc.text += kDoctype;
        outsideRoot();
        element(0, {});
        outsideRoot();
        if (chance(4))
            crlf();
        return std::move(m_doc);
    }

private:
    using Scope = std::map<std::string, std::string>;

    uint32_t pick(uint32_t bound) { return static_cast<uint32_t>(m_rng() % bound); }
    bool chance(uint32_t oneIn) { return pick(oneIn) == 0; }
    template <class A> std::string_view any(const A& items) { return items[pick(static_cast<uint32_t>(items.size()))]; }

    void outsideRoot() {
        for (uint32_t i = pick(3); i > 0; --i) {
            m_doc.text += chance(2) ? any(kComments) : any(kPis);
            m_doc.text += chance(2) ? "\n" : "  \n ";
        }
    }

    void crlf() {
        std::string out;
        for (char c : m_doc.text) {
            if (c == '\n')
                out += '\r';
            out += c;
        }
        m_doc.text = std::move(out);
    }

    void element(int depth, Scope scope) {
        const std::string indent(static_cast<size_t>(depth) * 2, ' ');
        std::string tag;
        std::string declarations = namespaceDeclarations(depth, scope);
        std::string name(any(kElementNames));
        std::vector<std::string> prefixed;
        for (const auto& [prefix, uri] : scope)
            if (!prefix.empty())
                prefixed.push_back(prefix);
        if (!prefixed.empty() && chance(2))
            name = prefixed[pick(static_cast<uint32_t>(prefixed.size()))] + ":" + name;
        tag = "<" + name + declarations + attributes(name, scope, prefixed);
        const uint32_t children = depth < kMaxDepth ? pick(kMaxChildren + 1) : 0;
        if (children == 0 && chance(2)) {
            m_doc.text += tag + "/>";
            return;
        }
        m_doc.text += tag + ">";
        for (uint32_t i = 0; i < children; ++i) {
            if (chance(2))
                m_doc.text += "\n" + indent + "  ";
            switch (pick(6)) {
            case 0:
            case 1:
                element(depth + 1, scope);
                break;
            case 2:
                m_doc.text += m_withDtd ? any(kTexts) : kTexts[pick(10)];
                break;
            case 3:
                m_doc.text += any(kCData);
                break;
            case 4:
                m_doc.text += any(kComments);
                break;
            default:
                m_doc.text += any(kPis);
                break;
            }
        }
        if (children > 0 && chance(2))
            m_doc.text += "\n" + indent;
        m_doc.text += "</" + name + ">";
    }

    std::string namespaceDeclarations(int depth, Scope& scope) {
        std::string out;
        std::set<std::string_view> declared;
        for (uint32_t i = pick(3); i > 0; --i) {
            const std::string_view prefix = any(kPrefixes);
            if (!declared.insert(prefix).second)
                continue;
            // xmlns="" undeclares the default namespace; a prefix cannot be undeclared.
            std::string uri = prefix.empty() && depth > 0 && chance(3) ? "" : std::string(any(kUris));
            out += prefix.empty() ? " xmlns=\"" : " xmlns:" + std::string(prefix) + "=\"";
            out += uri + "\"";
            scope[std::string(prefix)] = uri;
            if (std::find(m_doc.prefixes.begin(), m_doc.prefixes.end(), prefix) == m_doc.prefixes.end())
                m_doc.prefixes.emplace_back(prefix);
        }
        // Enough bindings on some roots that the canonicalizer indexes them.
        if (depth == 0 && chance(2))
            for (int i = 0; i < kManyNamespaces; ++i) {
                const std::string prefix = "f" + std::to_string(i);
                const std::string uri(any(kUris));
                out += " xmlns:" + prefix + "=\"" + uri + "\"";
                scope[prefix] = uri;
            }
        return out;
    }

    std::string attributes(std::string_view element, const Scope& scope, const std::vector<std::string>& prefixed) {
        std::string out;
        std::set<std::pair<std::string, std::string>> expanded; // (namespace URI, local name)
        auto add = [&](const std::string& qname, const std::string& uri, const std::string& local,
                       std::string_view value) {
            if (!expanded.insert({uri, local}).second)
                return;
            const bool singleQuoted = value.find('"') != std::string_view::npos;
            out += " " + qname + "=" + (singleQuoted ? "'" : "\"") + std::string(value) + (singleQuoted ? "'" : "\"");
        };
        for (uint32_t i = pick(5); i > 0; --i) {
            std::string_view value = m_withDtd ? any(kAttributeValues) : kAttributeValues[pick(8)];
            if (value.find('\'') != std::string_view::npos && value.find('"') != std::string_view::npos)
                value = "v";
            const std::string local(any(kAttributeNames));
            if (!prefixed.empty() && chance(2)) {
                const std::string& prefix = prefixed[pick(static_cast<uint32_t>(prefixed.size()))];
                add(prefix + ":" + local, scope.at(prefix), local, value);
            } else {
                add(local, "", local, value);
            }
        }
        if (chance(4)) {
            const uint32_t which = pick(static_cast<uint32_t>(kXmlAttributes.size()));
            const std::string qname(kXmlAttributes[which]);
            const bool relative = qname == "xml:base" && chance(2);
            add(qname, "xml", qname.substr(4), relative ? any(kRelativeBases) : kXmlAttributeValues[which]);
        }
        if (m_withDtd && element == "e2" && chance(2))
            out += " tok=\"  a   b\tc  \"";
        if (chance(3)) {
            const std::string id = "id" + std::to_string(m_doc.ids.size() + 1);
            static constexpr std::array<std::string_view, 4> kIdNames = {"Id", "ID", "id", "xml:id"};
            std::string name(any(kIdNames));
            std::string uri = name == "xml:id" ? "xml" : "";
            if (!prefixed.empty() && chance(3)) {
                const std::string& prefix = prefixed[pick(static_cast<uint32_t>(prefixed.size()))];
                name = prefix + ":Id";
                uri = scope.at(prefix);
            }
            if (expanded.insert({uri, name.substr(name.find(':') + 1)}).second) {
                out += " " + name + "=\"" + id + "\"";
                m_doc.ids.push_back(id);
            }
        }
        return out;
    }

    std::mt19937 m_rng;
    RandomXmlDocument m_doc;
    bool m_withDtd = false;
};

} // namespace

RandomXmlDocument RandomXmlDocument::generate(uint32_t seed) {
    return Generator(seed).run();
}
