#pragma once

class LogBase;
class StringBuffer;
class XString;

// Operations on distinguished names as text (see DnSyntax for the forms
// read). Attribute types are compared through DnAttributeTypes, so "CN",
// "commonName", "2.5.4.3" and "OID.2.5.4.3" are one type.
class DistinguishedName {
public:
    // The value of the first attribute of that type in text order
    // (unescaped, unquoted), replacing out; false, with out empty, when the
    // DN has none.
    static bool getDnPart(const StringBuffer& dn, const char* type, StringBuffer& out, LogBase& log);

    // The values alone, in text order, separated by ", " and escaped as in
    // a DN ("CN=Foo\, Inc., C=EE" gives "Foo\, Inc., EE"); replaces out.
    static void removeDnTags(const XString& dn, XString& out);

    // A comparison key, replacing out, that is equal for DNs naming the same
    // attributes: types by their canonical name, values with ASCII letter
    // case folded and white space runs collapsed and trimmed, attributes
    // sorted (so RDN order and multi-valued grouping do not count). False
    // when the text holds no attribute (a certificate may have an empty
    // subject, so that is not an error).
    static bool toTvCanonHashKey(const StringBuffer& dn, StringBuffer& out, LogBase& log);

    // The same key over the values of removeDnTags' output, for DNs whose
    // types a producer wrote in a form we do not know.
    static bool toValuesKey(const XString& dnWithoutTags, StringBuffer& out);
};
