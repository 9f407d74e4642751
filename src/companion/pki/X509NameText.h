#pragma once

#include <openssl/x509.h>

#include <string>

// Distinguished names of certificates as text.
//
// The form: "CN=Alice, OU=Unit, O=Example, C=US": attributes as label=value,
// relative names separated by ", ", the attributes of a multi-valued
// relative name by " + ". Labels are those of DnAttributeTypes (CN, SN,
// SERIALNUMBER, C, L, ST, STREET, O, OU, T, G, E, DC, UID,
// ORGANIZATIONIDENTIFIER, ...), a dotted OID for other types. Values are
// UTF-8 and escaped as RFC 4514 asks; a value that is not a string is
// written "#" + the hex of its DER.
class X509NameText {
public:
    enum Flags : int {
        kOidTypes = 1, // every type as its dotted OID, never a label
    };

    // mostSpecificFirst: the reverse of the encoded order, as RFC 4514 and
    // XML signers write DNs (CN first); false keeps the encoded order.
    static std::string format(const X509_NAME* name, bool mostSpecificFirst, int flags);
    // The UTF-8 value of the most specific (last encoded) attribute with that
    // NID, which is the first one that a DN in RFC 4514 order shows; false
    // when there is none or it does not convert.
    static bool lastValueOf(const X509_NAME* name, int nid, std::string& out);
};
