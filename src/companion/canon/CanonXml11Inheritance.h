#pragma once

#include "companion/canon/CanonAttribute.h"

#include <span>
#include <string>
#include <vector>

class XmlDtd;

// What a fragment's apex inherits from its left-out ancestors in Canonical
// XML 1.1: xml:lang and xml:space as they stand, xml:base joined with its
// own, xml:id not at all. Kept out of the pass's file: only the apex needs
// it, and there it would use up the inlining that the pass's loop relies on.
namespace canon_xml11_inheritance {

// `ancestors` are outermost first. A joined xml:base is added as an
// attribute flagged kCanonComputedValue whose value is `joinedBase`.
void addInherited(std::vector<CanonAttribute>& attributes, std::span<const CanonXmlAttributeInScope> ancestors,
                  const XmlDtd& dtd, std::string& joinedBase);

} // namespace canon_xml11_inheritance
