#include "companion/base/ClsJsonObject.h"
#include "companion/canon/XmlCanon.h"
#include "companion/log/FirstErrorLog.h"
#include "companion/log/LogContextExitor.h"
#include "companion/net/ClsHttp.h"
#include "companion/pki/CmsSignedData.h"
#include "companion/xml/ClsXml.h"
#include "companion/xml/XmlSigPositions.h"
#include "transforms/SignatureTimeStampFragment.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"

namespace {

namespace tsf = timestamp_fragment;

void logPositions(const XmlSigPositions& at, LogBase& log) {
    log.LogDataLong("m_signatureValueLoc", at.m_signatureValueLoc);
    log.LogDataLong("m_qualifyingPropertiesLoc", at.m_qualifyingPropertiesLoc);
    log.LogDataLong("m_unsignedPropertiesLoc", at.m_unsignedPropertiesLoc);
    log.LogDataLong("m_unsignedSignaturePropertiesLoc", at.m_unsignedSignaturePropertiesLoc);
    log.LogDataLong("m_signedPropertiesLoc", at.m_signedPropertiesLoc);
    log.LogDataLong("m_signedPropertiesLen", at.m_signedPropertiesLen);
}

// The selected signature's SignatureValue Id, which names the element the
// timestamp covers; empty after a logged failure.
bool signatureValueId(ClsXml& sig, const XmlSigPositions& at, StringBuffer& id, LogBase& log) {
    RefPtr<ClsXml> value(sig.findChild("*:SignatureValue"));
    if (!value) {
        log.LogError("No SignatureValue found.");
        return false;
    }
    if (!at.m_signatureValueLoc) {
        log.LogError("No SignatureValue location found.");
        return false;
    }
    if (!value->getAttrValue("Id", id)) {
        log.LogError("No SignatureValue Id attribute found.");
        return false;
    }
    return true;
}

// Finds the selected signature in the raw text where it stands, confirmed
// by its Id or, without one, by the digest of its first reference.
bool locateSignature(ClsXmlDSig& dsig, ClsXml& sig, std::string_view xml, XmlSigPositions& at, LogBase& log) {
    StringBuffer sigId;
    sig.getAttrValue("Id", sigId);
    log.LogDataSb("SignatureId", sigId);
    DSigReference ref;
    if (sigId.isEmpty()) {
        RefPtr<ClsXml> reference(dsig.getReference(0, log));
        if (!reference) {
            log.LogError("No Reference at index 0");
            return false;
        }
        ref.parseReference(*reference, log);
    }
    if (dsig.locateSelectedSignature(xml, sigId, ref.m_digestValue, at, log))
        return true;
    if (sigId.isEmpty()) {
        log.LogError("Unable to find the Signature.");
    } else {
        log.LogInfo("Unable to find the Signature by Id.");
        log.LogDataSb("signatureId", sigId);
    }
    return false;
}

} // namespace

void ClsXmlDSig::SetHttpObj(ClsHttp& http) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "SetHttpObj");
    m_log.clearLastJsonData();
    setTsaHttpObj(http, m_log);
}

bool ClsXmlDSig::AddEncapsulatedTimeStamp(ClsJsonObject& tsaOptions, ClsStringBuilder& out) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "AddEncapsulatedTimeStamp");
    m_log.clearLastJsonData();
    out.m_str.clear();
    m_log.LogDataLong("numSignatures", m_document.signatures.getSize());
    m_log.LogDataLong("selector", m_selector);
    m_timestampRequestError.clear();
    // The presence check logs an error when there is none, which is the
    // case that goes on: it is not a reason this call could fail for.
    FirstErrorLog errors(m_log);
    if (hasEncapsulatedTimeStamp(m_log)) {
        errors.LogError("Already has an EncapsulatedTimeStamp.");
        return noteFailure(false, errors);
    }
    XString result;
    const bool ok = addEncapsulatedTimeStamp(tsaOptions, result, errors);
    out.m_str.setString(result.view());
    return noteFailure(ok, errors);
}

bool ClsXmlDSig::addEncapsulatedTimeStamp(ClsJsonObject& tsaOptions, XString& out, LogBase& log) {
    LogContextExitor ctx(log, "addEncapsulatedTimeStamp");
    out.clear();
    ClsXml* sig = selectedSignature();
    if (!sig) {
        log.LogError("No signature at the selector.");
        return false;
    }
    XmlSigPositions at;
    if (!locateSignature(*this, *sig, m_document.text.view(), at, log))
        return false;
    logPositions(at, log);
    StringBuffer valueId;
    if (!signatureValueId(*sig, at, valueId, log))
        return false;

    StringBuffer prefix, sigId, objectId, stampId;
    sig->getTagNamespace(prefix);
    sig->getAttrValue("Id", sigId);
    const tsf::Placement placement = tsf::place(at, m_document.text.view());
    if (placement.wrapping == tsf::Wrapping::Object)
        appendXmlAttrId(objectId);
    appendXmlAttrId(stampId);
    std::string fragment = tsf::build(placement.wrapping, {prefix.view(), sig->hasAttribute("xmlns:xades"),
                                                           sigId.view(), objectId.view(), stampId.view()});

    // The token covers the SignatureValue element as the block's
    // CanonicalizationMethod (exclusive) renders it.
    XmlCanon canon;
    canon.setMode(XmlCanon::Mode::Exclusive);
    StringBuffer canonical;
    canon.xmlCanonicalize(m_document.text, valueId.getString(), 0, canonical, log);
    canonical.toLF();
    DataBuffer data, token;
    data.append(canonical.view());
    // A failed request leaves the token empty; the fragment is written all
    // the same, and the request's own lines say what went wrong.
    FirstErrorLog requestErrors(log);
    CmsSignedData::getTimestampToken(tsaOptions, data, *this, token, requestErrors);
    m_timestampRequestError = requestErrors.firstErrorLine();
    StringBuffer tokenBase64;
    token.encodeDB("base64", tokenBase64);
    if (const size_t p = fragment.find(tsf::kTokenPlaceholder); p != std::string::npos)
        fragment.replace(p, tsf::kTokenPlaceholder.size(), tokenBase64.view());

    StringBuffer& text = out.getUtf8Sb_rw();
    text.setString(m_document.text.view());
    if (placement.offset)
        text.insertAt(placement.offset, fragment);
    logSuccessFailure(true);
    return true;
}
