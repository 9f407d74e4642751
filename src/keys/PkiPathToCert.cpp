#include "companion/log/LogContextExitor.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/xml/ClsXml.h"
#include "keys/KeyResolver.h"
#include "verifier/ClsXmlDSig.h"

// A PkiPath runs from the trust anchor to the signer, so the signer's
// certificate is the last element of the sequence.
bool KeyResolver::pkiPathV1_to_cert(const StringBuffer& tokenBase64, StringBuffer& outBase64, LogBase& log) {
    LogContextExitor ctx(log, "pkiPathV1_to_cert");
    outBase64.clear();
    if (!certificateWithinLimit(tokenBase64, log))
        return false;
    DataBuffer der;
    der.appendEncoded(tokenBase64.view(), "base64");
    StringBuffer xml;
    if (!Asn1XmlCodec::derToXml(der, false, true, xml, nullptr, log)) {
        log.LogError("Invalid binary security token content.");
        return false;
    }
    RefPtr<ClsXml> path(ClsXml::createNewCls());
    if (!path || !path->loadXml(xml, false, log) || path->get_NumChildren() == 0) {
        log.LogError("Invalid binary security token content..");
        return false;
    }
    path->getChild2(path->get_NumChildren() - 1);
    log.LogInfo("Getting last cert from X509PKIPathv1...");
    Asn1XmlCodec::xmlToDer(*path, der, log);
    outBase64.clear();
    return der.encodeDB("base64", outBase64);
}
