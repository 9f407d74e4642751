#pragma once

#include <cstdint>
#include <string>

class XmlDocument;

// The path of an element from the root by expanded names, so that it names
// one element however the document writes its prefixes. A step is
// "{namespace}local" for an element in a namespace and "local" for one in
// none; below the root it ends in "[n]", the element's 1-based position among
// its parent's child elements of the same expanded name:
// "/{urn:r}root/{urn:b}Item[1]". A '%', '{' or '}' in a namespace name is
// written "%25", "%7B" or "%7D", so that a step's namespace ends at its
// first '}'.
std::string xmlElementPath(const XmlDocument& doc, uint32_t element);
