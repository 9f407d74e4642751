#include "ades/SignedDataCoverage.h"

#include "ades/XadesNames.h"

#include <algorithm>

using namespace xades_names;

namespace {

// A matched reference covers something inside the element (or the element).
bool containsCovered(const XmlDocument& doc, uint32_t element, std::span<const ReferenceOutcome> references) {
    const uint32_t begin = doc.startTagBegin(element), end = doc.endTagEnd(element);
    const auto inside = [&](uint32_t offset) { return offset >= begin && offset < end; };
    return std::any_of(references.begin(), references.end(), [&](const ReferenceOutcome& r) {
        if (!r.matched)
            return false;
        if (r.target == ReferenceOutcome::Target::Element)
            return inside(r.offset);
        return r.target == ReferenceOutcome::Target::Selection &&
               std::any_of(r.selection.elements.begin(), r.selection.elements.end(),
                           [&](const ReferenceSelection::Element& s) { return s.inLoadedText && inside(s.offset); });
    });
}

std::string described(const XmlDocument& doc, uint32_t element, const char* what) {
    return std::string(what) + " " + std::string(doc.name(element)) + " at byte " +
           std::to_string(doc.startTagBegin(element)) + " is not covered by any reference";
}

} // namespace

std::vector<std::string> unsignedSignatureContent(const XmlDocument& doc, const XadesElements& e,
                                                  std::span<const ReferenceOutcome> references) {
    std::vector<std::string> found;
    for (uint32_t copy : e.unsignedCopies)
        found.push_back(described(doc, copy, "the copy of SignedProperties"));
    for (uint32_t object : e.objects) {
        if (coveredByMatchedReference(doc, object, references))
            continue;
        for (uint32_t c = doc.firstChildElement(object); c != kNoNode; c = doc.nextSiblingElement(c))
            if (!isXadesElement(doc, c, "QualifyingProperties") && !containsCovered(doc, c, references))
                found.push_back(described(doc, c, "the Object's content"));
    }
    return found;
}
