#pragma once

#include "companion/text/StringBuffer.h"

class ClsXml;
class KeyResolver;
class SeenCertificates;
class LogBase;

// Readers of KeyInfo parts shared by key resolution and certificate listing.
namespace key_info {

// Bucket count of a resolution's dedupe set.
inline constexpr unsigned kDedupeBuckets = 79;

struct IssuerSerial {
    StringBuffer issuerName; // as written
    StringBuffer issuerCN;   // empty when the name has none
    bool hasCommonName = false;
    StringBuffer serialHex;
    StringBuffer key; // issuer CN + ":" + hex serial, as the dedupe set holds it
    // Set when the serial as written is not decimal but hex digits: read as
    // decimal it matches nothing, read as hex it may name the certificate.
    StringBuffer serialWrittenInHex;
};

// X509Data/X509IssuerSerial of `parent` (KeyInfo, or a SecurityTokenReference
// that holds X509Data) with a non-empty name and serial. The serial is always
// read as decimal, as written by the standard.
bool readIssuerSerial(ClsXml& parent, IssuerSerial& out, LogBase& log);
// The further reading of a serial written in hex (some signers do): false
// when the serial was decimal or is not hex either.
bool readSerialAsHex(IssuerSerial& issuerSerial, LogBase& log);

// X509Data/X509SubjectName of `parent` when present, non-empty and not
// already seen.
bool unseenSubjectName(ClsXml& parent, SeenCertificates& seen, StringBuffer& subject, LogBase& log);

struct TokenReference {
    StringBuffer uri;
    StringBuffer valueType;
};

// A SecurityTokenReference/Reference to an X.509 token in this document;
// false (logged) for any other kind.
bool readTokenReference(ClsXml& reference, TokenReference& out, LogBase& log);

// The first BinarySecurityToken whose Id (any prefix) is the URI without '#'.
ClsXml* findTokenById(ClsXml& root, const StringBuffer& uri);

// The base64 certificate a token carries: the signer's (last) certificate
// of a PkiPath token.
bool tokenCertificate(ClsXml& token, const StringBuffer& valueType, StringBuffer& certBase64, KeyResolver& resolver,
                      LogBase& log);

// How a caller looks for the token a Reference names: the line it logs, and
// whether any token of the document stands in for one not found by Id.
struct TokenSearch {
    std::string_view lookingMessage;
    bool anyTokenIfMissing;
};

// The base64 certificate of the BinarySecurityToken that a
// SecurityTokenReference/Reference names in `document`; false (logged) when
// the reference, the token or its certificate cannot be read.
bool referencedTokenCertificate(ClsXml& reference, ClsXml* document, const TokenSearch& search,
                                StringBuffer& certBase64, KeyResolver& resolver, LogBase& log);

} // namespace key_info
