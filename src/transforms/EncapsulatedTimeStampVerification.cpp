#include "companion/canon/XmlCanon.h"
#include "companion/crypto/Digest.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/pki/TstInfoTime.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"

namespace {

constexpr const char* kEncapsulatedTimeStampTag = "*:EncapsulatedTimeStamp";
constexpr int kSignedDataType = 2;

// The message imprint that a timestamp token vouches for.
struct TokenImprint {
    StringBuffer hashOid;
    DataBuffer hash;
};

std::string hexOf(const DataBuffer& bytes) {
    StringBuffer hex;
    bytes.encodeDB("hex", hex);
    return std::string(hex.view());
}

// Verifies the token's CMS signature and returns its encapsulated TSTInfo.
bool verifiedTstInfo(const DataBuffer& token, const VerificationPolicy& policy, CertificateStore& certs,
                     DataBuffer& tstInfo, LogBase& log) {
    CmsSignedData cms;
    bool detached = false;
    if (!cms.loadPkcs7Der(token, nullptr, kSignedDataType, detached, nullptr, log)) {
        log.LogError("Failed to parse ASN.1 of encapsulated timestamp.");
        return false;
    }
    if (!policy.verifyOptionsReadable)
        log.LogError("The CMS options are not a JSON object.");
    if (!policy.verifyOptionsReadable || !cms.verifyOpaqueSignature(tstInfo, policy.validateTsaChain, certs, log)) {
        log.LogError("Verification of encapsulated timestamp failed.");
        return false;
    }
    log.LogDataStr("extractedAsn", hexOf(tstInfo));
    return true;
}

bool readImprint(const DataBuffer& tstInfo, TokenImprint& imprint, LogBase& log) {
    StringBuffer xml;
    if (!Asn1XmlCodec::derToXml(tstInfo, true, false, xml, nullptr, log)) {
        log.LogError("Failed to decoded ASN.1 extracted from the encapsulated timestamp signature.");
        return false;
    }
    RefPtr<ClsXml> dom(ClsXml::createNewCls());
    if (!dom)
        return false;
    if (!dom->loadXml(xml, true, log)) {
        log.LogError("Failed to load timestamp XML.");
        return false;
    }
    StringBuffer text;
    dom->getXml(false, text, log);
    log.LogDataSb("timestampPayloadXml", text);
    if (!dom->getChildContentUtf8("sequence|sequence|oid", imprint.hashOid, false)) {
        log.LogError("Failed to find hash OID");
        return false;
    }
    log.LogDataSb("hashOid", imprint.hashOid);
    if (!dom->getChildContentUtf8("sequence|octets", text, false)) {
        log.LogError("Failed to find hash data");
        return false;
    }
    imprint.hash.appendEncoded(text.view(), "base64");
    log.LogDataStr("expected_hash", hexOf(imprint.hash));
    return true;
}

// The canonicalization that the SignatureTimeStamp names; inclusive unless
// it says exclusive.
XmlCanon::Mode timestampCanonMode(ClsXml& sigDom, LogBase& log) {
    RefPtr<ClsXml> stamp(sigDom.searchForTag(nullptr, "*:SignatureTimeStamp"));
    if (!stamp) {
        log.LogInfo("Did not find SignatureTimeStamp tag.");
        return XmlCanon::Mode::Inclusive;
    }
    RefPtr<ClsXml> method(stamp->findChild("*:CanonicalizationMethod"));
    if (!method) {
        log.LogInfo("Did not find CanonicalizationMethod tag.");
        return XmlCanon::Mode::Inclusive;
    }
    StringBuffer algorithm;
    method->getAttrValue("Algorithm", algorithm);
    log.LogDataSb("encapsulatedTimestampCanonMethod", algorithm);
    return algorithm.containsSubstring("exc-") ? XmlCanon::Mode::Exclusive : XmlCanon::Mode::Inclusive;
}

// Signers on CRLF systems hash the canonical text with their own line ends,
// so a mismatch is tried once more in that form.
bool imprintMatches(StringBuffer& canonical, int hashAlg, const DataBuffer& expected, LogBase& log) {
    DataBuffer computed;
    Digest::doHash(canonical.getString(), canonical.getSize(), hashAlg, computed);
    log.LogDataStr("computed_hash", hexOf(computed));
    if (!computed.equals(expected)) {
        canonical.toCRLF();
        Digest::doHash(canonical.getString(), canonical.getSize(), hashAlg, computed);
        log.LogDataStr("computed_hash_with_CRLF", hexOf(computed));
        if (!computed.equals(expected)) {
            log.LogError("Computed hash not equal to the expected hash.");
            return false;
        }
    }
    log.LogInfo("The computed hash is equal to the expected hash.");
    return true;
}

} // namespace

bool ClsXmlDSig::HasEncapsulatedTimeStamp() {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "HasEncapsulatedTimeStamp");
    m_log.clearLastJsonData();
    return hasEncapsulatedTimeStamp(m_log);
}

bool ClsXmlDSig::hasEncapsulatedTimeStamp(LogBase& log) {
    LogContextExitor ctx(log, "hasEncapsulatedTimeStamp");
    log.LogDataLong("numSignatures", m_document.signatures.getSize());
    log.LogDataLong("selector", m_selector);
    ClsXml* sig = selectedSignature();
    if (!sig) {
        log.LogError("No signature at the selector index.");
        return false;
    }
    // The search runs on through the document; only a hit inside the
    // signature's own subtree counts.
    RefPtr<ClsXml> found(sig->searchForTag(sig, kEncapsulatedTimeStampTag));
    if (found && found->startTagBegin() < sig->endTagBegin())
        return true;
    log.LogError("No EncapsulatedTimestamp.");
    return false;
}

bool ClsXmlDSig::verifyEncapsulatedTimeStamp(StringBuffer& sigText, ClsXml& sigDom, LogBase& log) {
    LogContextExitor ctx(log, "verifyEncapsulatedTimeStamp");
    StringBuffer tokenBase64;
    if (!captureUniqueTagContent("EncapsulatedTimeStamp", sigText, tokenBase64))
        return true;
    DataBuffer token, tstInfo;
    token.appendEncoded(tokenBase64.view(), "base64");
    TokenImprint imprint;
    if (!verifiedTstInfo(token, m_policy, m_certificateStore, tstInfo, log) || !readImprint(tstInfo, imprint, log))
        return false;

    StringBuffer signatureValue, signatureValueId;
    if (!captureUniqueTagContent("SignatureValue", sigText, signatureValue))
        return true;
    log.LogDataSb("signatureValue", signatureValue);
    if (!captureUniqueAttrContent("SignatureValue", "Id", sigText, signatureValueId, log))
        return false;
    // The element canonicalized below is found by its Id in the whole document.
    if (!identifierIsUnique(signatureValueId.view(), log))
        return false;

    XmlCanon canon;
    canon.setWorkBudget(&m_work);
    canon.setMode(timestampCanonMode(sigDom, log));
    StringBuffer canonical;
    canon.xmlCanonicalize(m_document.text, signatureValueId.getString(), 0, canonical, log);
    canonical.toLF();
    log.LogDataSb("sbCanonSigValue", canonical);

    const int hashAlg = Digest::oidToHashAlg(imprint.hashOid.getString());
    log.LogDataLong("hashAlg", hashAlg);
    if (!imprintMatches(canonical, hashAlg, imprint.hash, log))
        return false;
    m_timestampTime = tstInfoGenTime(tstInfo);
    return true;
}
