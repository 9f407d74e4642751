#include "transforms/RelationshipTransform.h"

#include "companion/log/LogBase.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlDocument.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kRelationshipsNamespace = "http://schemas.openxmlformats.org/package/2006/relationships";
constexpr std::string_view kDefaultTargetMode = "Internal";
constexpr std::string_view kRelationship = "Relationship";
constexpr std::string_view kTargetMode = "TargetMode";

struct Relationship {
    std::string id, type, target, targetMode;
};

std::string attribute(const ClsXml& element, const char* name) {
    StringBuffer value;
    element.getAttrValue(name, value);
    return std::string(value.view());
}

std::string_view prefixOf(std::string_view tag) {
    const size_t colon = tag.find(':');
    return colon == std::string_view::npos ? std::string_view{} : tag.substr(0, colon);
}

std::string_view localNameOf(std::string_view tag) {
    const size_t colon = tag.find(':');
    return colon == std::string_view::npos ? tag : tag.substr(colon + 1);
}

// The namespace a prefix has on the element, or else on the root.
std::string namespaceOf(const ClsXml& element, const ClsXml& root) {
    const std::string_view prefix = prefixOf(element.tag());
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
    if (element.hasAttribute(declaration.c_str()))
        return attribute(element, declaration.c_str());
    return attribute(root, declaration.c_str());
}

bool isRelationship(const ClsXml& element, const ClsXml& root) {
    return localNameOf(element.tag()) == kRelationship && namespaceOf(element, root) == kRelationshipsNamespace;
}

// The selectors of the transform: Ids and Types.
void selectors(const ClsXml& transform, const char* tag, const char* attr, std::set<std::string>& out) {
    ExtPtrArrayRc children;
    transform.childrenWithTag(tag, children);
    for (int i = 0; i < children.getSize(); ++i)
        out.insert(attribute(*static_cast<const ClsXml*>(children.elementAt(i)), attr));
}

void appendEscaped(std::string& out, std::string_view value) {
    for (char c : value) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
}

void appendAttribute(std::string& out, std::string_view name, std::string_view value) {
    out += ' ';
    out += name;
    out += "=\"";
    appendEscaped(out, value);
    out += '"';
}

std::string standardOutput(const ClsXml& root, const std::set<std::string>& ids, const std::set<std::string>& types) {
    std::vector<Relationship> selected;
    for (int i = 0; i < root.get_NumChildren(); ++i) {
        RefPtr<ClsXml> child(root.getChild(i));
        if (!child || !isRelationship(*child, root))
            continue;
        Relationship r{attribute(*child, "Id"), attribute(*child, "Type"), attribute(*child, "Target"),
                       attribute(*child, "TargetMode")};
        if (!ids.contains(r.id) && !types.contains(r.type))
            continue;
        if (r.targetMode.empty())
            r.targetMode = kDefaultTargetMode;
        selected.push_back(std::move(r));
    }
    std::sort(selected.begin(), selected.end(),
              [](const Relationship& a, const Relationship& b) { return a.id < b.id; });

    std::string out = "<Relationships xmlns=\"" + std::string(kRelationshipsNamespace) + "\">";
    for (const Relationship& r : selected) {
        out += "<Relationship";
        appendAttribute(out, "Id", r.id);
        appendAttribute(out, "Type", r.type);
        appendAttribute(out, "Target", r.target);
        appendAttribute(out, "TargetMode", r.targetMode);
        out += "/>";
    }
    out += "</Relationships>";
    return out;
}

bool isNamespaceDeclaration(std::string_view name) {
    return name == "xmlns" || name.starts_with("xmlns:");
}

// Old xmlsec's output of a relationships part, refused (false) wherever it
// would let one thing pass for another.
class OldXmlsecOutput {
public:
    OldXmlsecOutput(const XmlDocument& doc, const std::set<std::string>& ids) : m_doc(doc), m_ids(ids) {}

    bool write(std::string& out) {
        const uint32_t root = m_doc.root();
        if (!startTag(root, false) || !content(root, true))
            return false;
        m_out += "</Relationships>";
        out = std::move(m_out);
        return true;
    }

private:
    bool isRelationshipElement(uint32_t node) const {
        std::string uri;
        const std::string_view name = m_doc.name(node);
        return m_doc.isElement(node) && XmlDocument::localName(name) == kRelationship &&
               m_doc.namespaceUri(node, XmlDocument::prefix(name), uri) && uri == kRelationshipsNamespace;
    }

    // The local name, the first namespace declared as the default one, the
    // other attributes in document order, and TargetMode on a relationship.
    bool startTag(uint32_t element, bool relationship) {
        m_out += '<';
        m_out += XmlDocument::localName(m_doc.name(element));
        const auto attributes = m_doc.attributes(element);
        const auto declaration = std::find_if(attributes.begin(), attributes.end(), [&](const auto& a) {
            return isNamespaceDeclaration(m_doc.attributeName(a));
        });
        std::string value;
        if (declaration != attributes.end()) {
            m_doc.appendAttributeValue(*declaration, value);
            appendAttribute(m_out, "xmlns", value);
        }
        bool targetMode = false;
        for (const XmlDocument::Attribute& a : attributes) {
            const std::string_view name = m_doc.attributeName(a);
            if (isNamespaceDeclaration(name))
                continue;
            if (!XmlDocument::prefix(name).empty())
                return false;
            targetMode = targetMode || name == kTargetMode;
            value.clear();
            m_doc.appendAttributeValue(a, value);
            appendAttribute(m_out, name, value);
        }
        if (relationship && !targetMode)
            appendAttribute(m_out, kTargetMode, kDefaultTargetMode);
        m_out += '>';
        return true;
    }

    // Text and comments as empty elements, then (in the root) the selected
    // relationships by Id.
    bool content(uint32_t element, bool root) {
        bool writable = true;
        std::vector<std::pair<std::string, uint32_t>> relationships;
        m_doc.forEachContent(element, [&](uint32_t child, std::string_view) {
            if (child == kNoNode) {
                m_out += "<text></text>";
            } else if (m_doc.node(child).kind == XmlNodeKind::Comment) {
                m_out += "<comment></comment>";
            } else if (root && isRelationshipElement(child)) {
                const XmlDocument::Attribute* id = m_doc.findAttribute(child, "Id");
                std::string value;
                if (id)
                    m_doc.appendAttributeValue(*id, value);
                writable = writable && id;
                relationships.emplace_back(std::move(value), child);
            } else {
                writable = false;
            }
        });
        std::stable_sort(relationships.begin(), relationships.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [id, child] : relationships) {
            if (!writable)
                break;
            if (!m_ids.contains(id))
                continue;
            writable = startTag(child, true) && content(child, false);
            m_out += "</Relationship>";
        }
        return writable;
    }

    const XmlDocument& m_doc;
    const std::set<std::string>& m_ids;
    std::string m_out;
};

} // namespace

bool applyRelationshipTransform(const ClsXml& transform, StringBuffer& data, RelationshipOutput output, LogBase& log) {
    RefPtr<ClsXml> root(ClsXml::createNewCls());
    if (!root || !root->loadXml(data.view(), false, log) || localNameOf(root->tag()) != "Relationships" ||
        namespaceOf(*root, *root) != kRelationshipsNamespace) {
        log.LogError("The relationship transform's data is not a relationships part.");
        return false;
    }
    std::set<std::string> ids, types;
    selectors(transform, "*:RelationshipReference", "SourceId", ids);
    selectors(transform, "*:RelationshipsGroupReference", "SourceType", types);
    if (output == RelationshipOutput::Standard) {
        data.setString(standardOutput(*root, ids, types));
        return true;
    }
    std::string out;
    if (!types.empty() || !OldXmlsecOutput(*root->parsedDocument(), ids).write(out)) {
        log.LogError("Old xmlsec's relationship output would not name each selected relationship alone here: not "
                     "tried.");
        return false;
    }
    data.setString(out);
    return true;
}
