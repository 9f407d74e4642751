#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Deterministic random documents for the differential tests: default and
// prefixed namespaces with redeclarations and xmlns="", attributes in
// several namespaces, xml:* attributes, Id attributes, an internal DTD
// subset (entities with and without markup, attribute defaults, a
// tokenized type), references, CDATA, comments and PIs inside and outside
// the root, pretty-printing whitespace, and CRLF line ends in some.
struct RandomXmlDocument {
    std::string text;
    std::vector<std::string> ids;      // Id values, in document order
    std::vector<std::string> prefixes; // every prefix declared somewhere

    static RandomXmlDocument generate(uint32_t seed);
};
