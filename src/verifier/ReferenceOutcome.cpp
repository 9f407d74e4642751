#include "verifier/ReferenceOutcome.h"

std::string ReferenceOutcome::describeTarget() const {
    switch (target) {
    case Target::Element:
        return "element " + elementName + " at " + path + " (line " + std::to_string(line) + ", byte " +
               std::to_string(offset) + ")";
    case Target::WholeDocument:
        return "whole document";
    case Target::External:
        return "external: " + (externalFile.empty() ? std::string("caller data") : externalFile);
    case Target::Selection:
        return describeSelection();
    case Target::Unresolved:
        break;
    }
    return "unresolved";
}

std::string ReferenceOutcome::describeSelection() const {
    std::string s = "selection of " + std::to_string(selection.elementCount) + " element(s):";
    for (const ReferenceSelection::Element& e : selection.elements)
        s += " " + e.name + " at " + e.path + " (line " + std::to_string(e.line) + ", byte " +
             std::to_string(e.offset) + ")";
    if (selection.elementCount > selection.elements.size())
        s += " and " + std::to_string(selection.elementCount - selection.elements.size()) + " more";
    if (selection.excludesOutside)
        s += "; the rest of what the URI named is left out";
    return s;
}

std::string ReferenceOutcome::summary() const {
    std::string s = std::to_string(index) + ": URI \"" + uri + "\" -> " + describeTarget() + "; transforms:";
    if (transforms.empty())
        s += " none";
    for (const std::string& t : transforms)
        s += " " + t;
    s += "; digest " + digestMethod + (matched ? "; matched" : "; not matched");
    return s;
}
