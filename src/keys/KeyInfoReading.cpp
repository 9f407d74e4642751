#include "keys/KeyInfoReading.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/TextCodec.h"
#include "companion/text/XString.h"
#include "companion/xml/ClsXml.h"
#include "keys/KeyResolver.h"
#include "keys/SeenCertificates.h"

namespace key_info {

bool readIssuerSerial(ClsXml& parent, IssuerSerial& out, LogBase& log) {
    RefPtr<ClsXml> x509Data(parent.getChildWithTagUtf8("*:X509Data"));
    if (!x509Data)
        return false;
    RefPtr<ClsXml> issuerSerial(x509Data->getChildWithTagUtf8("*:X509IssuerSerial"));
    if (!issuerSerial)
        return false;
    StringBuffer serial;
    if (!issuerSerial->getChildContentUtf8("*:X509IssuerName", out.issuerName, false) ||
        !issuerSerial->getChildContentUtf8("*:X509SerialNumber", serial, false) || out.issuerName.isEmpty() ||
        serial.isEmpty())
        return false;
    log.LogDataSb("sbSerialNumber_dec", serial);
    XString hex(serial.view());
    out.serialWrittenInHex.clear();
    if (!hex.reencode("decimal", "hex")) {
        if (TextCodec::isHexText(serial.view()))
            out.serialWrittenInHex.setString(serial.view());
        // Read as decimal, such a serial names no certificate.
        hex.clear();
    }
    out.serialHex.setString(hex.view());
    log.LogDataSb("sbSerialNumber_hex", out.serialHex);
    out.hasCommonName = DistinguishedName::getDnPart(out.issuerName, "CN", out.issuerCN, log);
    out.issuerCN.trim2();
    out.key.clear();
    out.key.append3(out.issuerCN.view(), ":", out.serialHex.view());
    return true;
}

bool readSerialAsHex(IssuerSerial& issuerSerial, LogBase& log) {
    if (issuerSerial.serialWrittenInHex.isEmpty())
        return false;
    log.LogInfo("serial read as hexadecimal");
    issuerSerial.serialHex.setString(issuerSerial.serialWrittenInHex.view());
    issuerSerial.serialHex.toUpperCase();
    issuerSerial.serialWrittenInHex.clear();
    return true;
}

bool unseenSubjectName(ClsXml& parent, SeenCertificates& seen, StringBuffer& subject, LogBase& log) {
    if (!parent.getChildContentUtf8("*:X509Data|*:X509SubjectName", subject, false) || subject.isEmpty())
        return false;
    StringBuffer canonKey;
    DistinguishedName::toTvCanonHashKey(subject, canonKey, log);
    return !seen.contains(canonKey, log);
}

bool readTokenReference(ClsXml& reference, TokenReference& out, LogBase& log) {
    const bool hasUri = reference.getAttrValue("URI", out.uri);
    const bool hasValueType = reference.getAttrValue("ValueType", out.valueType);
    if (hasUri && hasValueType && out.uri.beginsWith("#") && out.valueType.containsSubstring("#X509"))
        return true;
    log.LogError("Unhandled security token reference.");
    log.LogDataSb("uri", out.uri);
    log.LogDataSb("valueType", out.valueType);
    return false;
}

ClsXml* findTokenById(ClsXml& root, const StringBuffer& uri) {
    const std::string id(uri.view().substr(1));
    for (RefPtr<ClsXml> token(root.searchForTag(nullptr, "*:BinarySecurityToken")); token;
         token.reset(root.searchForTag(token.get(), "*:BinarySecurityToken"))) {
        StringBuffer value;
        if (token->getAttrValue("*:Id", value) && value.equals(id))
            return token.release();
    }
    return nullptr;
}

bool tokenCertificate(ClsXml& token, const StringBuffer& valueType, StringBuffer& certBase64, KeyResolver& resolver,
                      LogBase& log) {
    token.get_Content(certBase64);
    if (!valueType.containsSubstring("X509PKIPathv1"))
        return true;
    StringBuffer signerCert;
    if (!resolver.pkiPathV1_to_cert(certBase64, signerCert, log))
        return false;
    certBase64.takeSb(signerCert);
    return true;
}

bool referencedTokenCertificate(ClsXml& reference, ClsXml* document, const TokenSearch& search,
                                StringBuffer& certBase64, KeyResolver& resolver, LogBase& log) {
    TokenReference token;
    if (!readTokenReference(reference, token, log))
        return false;
    log.LogInfo(search.lookingMessage);
    log.LogDataSb("URI", token.uri);
    if (!document)
        return false;
    RefPtr<ClsXml> bst(findTokenById(*document, token.uri));
    if (!bst && search.anyTokenIfMissing) {
        log.LogInfo("Did not find a BinarySecurityToken with the specified URI.  Looking for any "
                    "BinarySecurityToken...");
        bst.reset(document->searchForTag(nullptr, "*:BinarySecurityToken"));
    }
    if (!bst) {
        log.LogError("Failed to find the wsse:BinarySecurityToken element");
        return false;
    }
    return tokenCertificate(*bst, token.valueType, certBase64, resolver, log);
}

} // namespace key_info
