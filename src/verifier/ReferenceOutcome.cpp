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
    case Target::Unresolved:
        break;
    }
    return "unresolved";
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
