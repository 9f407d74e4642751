#include "transforms/CanonicalizationMethod.h"

#include "companion/text/StringBuffer.h"
#include "verifier/AlgorithmUris.h"

namespace {

// C14N 1.0 and 1.1 both carry it; exclusive C14N does not.
constexpr std::string_view kInclusiveFamilyMarker = "xml-c14n";

} // namespace

CanonicalizationMethod canonicalizationMethodOf(std::string_view uri) {
    const StringBuffer text(uri);
    CanonicalizationMethod method;
    method.withComments = text.containsSubstringNoCase("WithComments");
    method.recognised = true;
    if (text.containsSubstring(algorithm_uri::kExclusiveC14nMarker))
        method.mode = XmlCanon::Mode::Exclusive;
    else if (text.containsSubstring(algorithm_uri::kC14n11Marker))
        method.mode = XmlCanon::Mode::Inclusive11;
    else
        method.recognised = text.containsSubstring(kInclusiveFamilyMarker);
    return method;
}
