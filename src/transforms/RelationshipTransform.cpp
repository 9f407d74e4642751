#include "transforms/RelationshipTransform.h"

#include "companion/log/LogBase.h"
#include "companion/text/ExtPtrArray.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kRelationshipsNamespace = "http://schemas.openxmlformats.org/package/2006/relationships";
constexpr std::string_view kDefaultTargetMode = "Internal";

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
    return localNameOf(element.tag()) == "Relationship" && namespaceOf(element, root) == kRelationshipsNamespace;
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

void appendAttribute(std::string& out, const char* name, std::string_view value) {
    out += ' ';
    out += name;
    out += "=\"";
    appendEscaped(out, value);
    out += '"';
}

} // namespace

bool applyRelationshipTransform(const ClsXml& transform, StringBuffer& data, LogBase& log) {
    RefPtr<ClsXml> root(ClsXml::createNewCls());
    if (!root || !root->loadXml(data.view(), false, log) || localNameOf(root->tag()) != "Relationships" ||
        namespaceOf(*root, *root) != kRelationshipsNamespace) {
        log.LogError("The relationship transform's data is not a relationships part.");
        return false;
    }
    std::set<std::string> ids, types;
    selectors(transform, "*:RelationshipReference", "SourceId", ids);
    selectors(transform, "*:RelationshipsGroupReference", "SourceType", types);

    std::vector<Relationship> selected;
    for (int i = 0; i < root->get_NumChildren(); ++i) {
        RefPtr<ClsXml> child(root->getChild(i));
        if (!child || !isRelationship(*child, *root))
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
    data.setString(out);
    return true;
}
