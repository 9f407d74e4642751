#pragma once

#include <string>
#include <string_view>

// The attribute types of distinguished names, as labels and object
// identifiers. A type can be written as a label ("CN"), an alias
// ("commonName"), a dotted OID ("2.5.4.3") or an "OID."-prefixed OID; all of
// them resolve to one canonical name, so that DN texts from different
// producers compare equal.
class DnAttributeTypes {
public:
    // The canonical name of a type as written: our label when the type is
    // one we know (by label, alias, OID or OpenSSL's name for it), else the
    // dotted OID when it has one, else the text upper-cased.
    static std::string canonicalName(std::string_view writtenType);
    // The dotted OID of a type as written (by label, alias, OID or OpenSSL's
    // name for it); empty when it names no type we or OpenSSL know.
    static std::string oidOf(std::string_view writtenType);
    // The label that DN texts use for a dotted OID: ours when we know the
    // type, else the OID itself.
    static std::string labelForOid(std::string_view dottedOid);
};
