#pragma once

#include "companion/pki/Asn1TypeNames.h"

#include <optional>
#include <string>
#include <string_view>

// The value of a primitive ASN.1 node as the text of its XML element.
struct Asn1ValueText {
    std::string text;
    std::optional<unsigned> unusedBits; // Bits form only
};

// Converts content octets to and from their text in a value form. A text
// is rendered only when parsing it gives the same octets back, and text
// forms only when the text survives XML unchanged: legal XML characters, no
// control character other than tab and line feed (a carriage return would
// become a line feed), no white space at either end (readers may trim).
class Asn1ValueCodec {
public:
    // The text of the content; nullopt when the form cannot show it exactly
    // (the caller then writes the octets in hex).
    static std::optional<Asn1ValueText> render(Asn1ValueForm form, std::string_view content);
    // The content octets of a text; false when the text is not valid in the
    // form. Appends to out.
    static bool parse(Asn1ValueForm form, const Asn1ValueText& value, std::string& out);
};
