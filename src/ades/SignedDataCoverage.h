#pragma once

#include "ades/XadesElements.h"

#include <span>
#include <string>
#include <vector>

// What the signature carries that a reader may take for signed but that no
// matched reference covers: a SignedProperties beside the signed one, and
// the content of ds:Object elements (an Object, a Manifest) outside every
// reference. One line each, naming the element and where it is.
std::vector<std::string> unsignedSignatureContent(const XmlDocument& doc, const XadesElements& e,
                                                  std::span<const ReferenceOutcome> references);
