#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class XmlDtd;

// Turns raw text from the scanner into the characters it stands for.
class XmlTextDecoder {
public:
    // Character data: line ends become '\n', references are replaced. An
    // entity whose text holds markup is left out (the scanner expanded it
    // into tokens of its own), as are entities that are never read.
    static void appendContent(std::string_view raw, const XmlDtd& dtd, std::string& out);
    // An attribute value, normalized: whitespace characters become spaces,
    // references are replaced; a tokenized value (declared with a non-CDATA
    // type) also loses leading, trailing and repeated spaces.
    static void appendAttribute(std::string_view raw, const XmlDtd& dtd, bool tokenized, std::string& out);
    // A CDATA section's text: only line ends change.
    static void appendCData(std::string_view raw, std::string& out);

private:
    static void appendAttributeText(std::string_view raw, const XmlDtd& dtd, uint32_t nesting, std::string& out);
    static void collapseSpaces(std::string& out, size_t from);
};
