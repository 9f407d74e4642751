#pragma once

#include <string>
#include <string_view>
#include <vector>

// One attribute of a distinguished name as written in text.
struct DnAva {
    std::string type;  // as written, trimmed; empty when the text had no "type="
    std::string value; // unescaped and unquoted; a "#hex" value decoded when it holds a string
    int rdn = 0;       // index of the relative name it belongs to (AVAs joined by '+' share one)
};

// The text form of distinguished names: RFC 4514 and the older RFC 1779 and
// RFC 2253 forms that signers write ("CN=Foo, O=Bar", "CN=Foo;O=Bar",
// O="Foo, Inc.", "1.2.3=#0C03616263", escapes such as "\," and "\C3\A9").
// A ',' ';' or '+' separates attributes only when "type=" follows it, so an
// organisation name with an unescaped comma ("O=Foo, Inc.") stays whole.
class DnSyntax {
public:
    // The attributes in text order.
    static std::vector<DnAva> parse(std::string_view dn);
    // The values of a DN whose types were removed ("Foo, Bar"): every
    // unescaped ',' ';' or '+' outside quotes separates.
    static std::vector<std::string> parseValues(std::string_view values);
    // Appends a value escaped so that parse() gives it back.
    static void appendEscaped(std::string_view value, std::string& out);
};
