// Treats arbitrary bytes as an RFC 3161 timestamp token, as the verifier does
// with the decoded text of an EncapsulatedTimeStamp: the CMS SignedData is
// parsed, its certificates collected and its signature checked with and
// without TSA chain validation. The bytes read as ASN.1 XML (and the TSTInfo
// of a token whose signature holds) must encode back to DER that reads as
// the same XML.
#include "FuzzRequire.h"

#include "companion/log/LogBase.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr int kSignedDataType = 2;

// The layout the verifier reads a TSTInfo in: declaration, one element a
// line, loaded with text trimmed.
bool asn1Xml(const DataBuffer& der, StringBuffer& xml, unsigned* used, LogBase& log) {
    return Asn1XmlCodec::derToXml(der, true, false, xml, used, log);
}

void requireStableXml(const DataBuffer& der) {
    LogNull log;
    StringBuffer xml;
    unsigned used = 0;
    if (!asn1Xml(der, xml, &used, log))
        return;
    RefPtr<ClsXml> dom(ClsXml::createNewCls());
    require(dom->loadXml(xml, true, log));
    DataBuffer again;
    require(Asn1XmlCodec::xmlToDer(*dom, again, log));
    StringBuffer xmlAgain;
    require(asn1Xml(again, xmlAgain, nullptr, log));
    require(xmlAgain.equals(xml.view()));
}

void verifyToken(const DataBuffer& token) {
    LogNull log;
    CmsSignedData cms;
    CertificateStore carried;
    bool detached = false;
    if (!cms.loadPkcs7Der(token, nullptr, kSignedDataType, detached, &carried, log))
        return;
    for (const bool validateChain : {false, true}) {
        DataBuffer tstInfo;
        if (cms.verifyOpaqueSignature(tstInfo, validateChain, carried, log))
            requireStableXml(tstInfo);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    DataBuffer token;
    token.append(data, size);
    verifyToken(token);
    requireStableXml(token);
    return 0;
}
