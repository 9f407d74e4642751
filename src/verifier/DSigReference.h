#pragma once

#include "companion/text/StringBuffer.h"

class ClsXml;
class LogBase;

// One Reference element of a SignedInfo, parsed.
class DSigReference {
public:
    DSigReference() = default;
    virtual ~DSigReference() = default;

    // Reads the Reference element's fields; always succeeds (missing parts
    // leave their fields empty).
    bool parseReference(ClsXml& reference, LogBase& log);
    // The DigestValue's text without white space (empty when there is none).
    static void readDigestValue(ClsXml& reference, StringBuffer& out);
    // The hash identifier of the digest method (SHA-1 when unrecognised).
    int getHashAlg() const;
    // The hash identifier of a DigestMethod URI, or 0 when unrecognised.
    static int digestMethodHashAlg(const StringBuffer& uri);
    void logReference(LogBase& log) const;
    // Removes the elements addressed to the next SOAP or ebXML actor.
    void removeEbXmlFragments(StringBuffer& xml, LogBase& log);

    bool m_uriOmitted = true;
    StringBuffer m_uri;
    StringBuffer m_id;
    StringBuffer m_digestMethod;
    StringBuffer m_transformsXml;
    StringBuffer m_digestValue;
};
