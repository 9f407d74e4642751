#pragma once

#include "companion/pki/PkiHandles.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One attribute of a distinguished name read as RFC 4514 writes it.
struct Rfc4514Ava {
    std::string type;  // as written ("CN", "2.5.4.3", "OID.2.5.4.3")
    std::string value; // unescaped UTF-8, or the BER bytes of a "#hex" value
    bool ber = false;
};
using Rfc4514Rdn = std::vector<Rfc4514Ava>;

// Distinguished names as RFC 4514 strings, read strictly enough to compare
// them RDN by RDN with certificate names: every unescaped ',' (or ';') ends
// a relative name and every unescaped '+' an attribute of a multi-valued
// one. Escapes ("\,", "\+", "\"", "\\", "\<", "\>", "\;", "\=", "\#", "\ ")
// and hex pairs ("\C3\A9") are resolved, a leading '#' starts hex-encoded BER.
// Blanks around separators and '=', and quoted values, as the older RFCs
// wrote them, are read too.
class Rfc4514Name {
public:
    // The relative names in text order (most specific first); nullopt when
    // the text is not a DN (a type without '=', a dangling escape, bad hex).
    static std::optional<std::vector<Rfc4514Rdn>> parse(std::string_view text);

    // The X509_NAME of relative names given in encoded order (the reverse of
    // the text order), string values as UTF8String; null when a type is
    // unknown or a BER value does not decode.
    static X509NamePtr toX509Name(const std::vector<Rfc4514Rdn>& encodedOrder);
};
