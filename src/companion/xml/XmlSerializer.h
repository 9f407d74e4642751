#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class XmlDocument;

// Writes an element and its subtree as XML text that parses back to the same
// tree: values are written decoded and escaped again, so the text needs no
// DTD; defaulted attributes are written out.
class XmlSerializer {
public:
    static void appendElement(const XmlDocument& doc, uint32_t element, std::string& out);

private:
    static void appendEscapedText(std::string_view text, std::string& out);
    static void appendEscapedAttribute(std::string_view value, std::string& out);
};
