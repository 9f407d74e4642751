#include "companion/canon/XmlCanon.h"
#include "companion/crypto/Digest.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/ContentCoding.h"
#include "companion/xml/ClsXml.h"
#include "transforms/CanonicalizationMethod.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"
#include "verifier/ProfileMarkers.h"
#include "verifier/SignatureMethodMapping.h"

#include <string>

namespace {

constexpr std::string_view kDodaStart = "<doda>";
constexpr std::string_view kDodaEnd = "</doda>";

// An unknown URI is logged and canonicalized inclusively.
void configureCanonicalizer(const StringBuffer& algorithm, const StringBuffer& prefixList, XmlCanon& canon,
                            LogBase& log) {
    if (!prefixList.isEmpty())
        prefixList.split(canon.inclusivePrefixes(), ' ', false, false);
    const CanonicalizationMethod method = canonicalizationMethodOf(algorithm.view());
    if (!method.recognised) {
        log.LogError("Unrecognized canonicalization method.");
        log.LogDataSb("canonicalizationMethod", algorithm);
    }
    canon.setMode(method.mode);
    canon.setWithComments(method.withComments);
}

} // namespace

bool ClsXmlDSig::VerifySignature(bool verifyReferenceDigests) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "VerifySignature");
    m_log.clearLastJsonData();
    return verifySignature(verifyReferenceDigests, m_log);
}

bool ClsXmlDSig::verifySignature(bool verifyReferenceDigests, LogBase& log) {
    log.LogDataSb("uncommonOptions", m_uncommonOptions);
    readPolicy();
    checkSetZatca(log);
    checkSetMyInvois(log);
    log.LogDataLong("verifyReferenceDigests", verifyReferenceDigests ? 1 : 0);
    log.LogDataLong("selector", m_selector);
    m_report = VerificationReport{};
    m_timestampTime.clear();
    startWorkBudget();

    ClsXml* sig = selectedSignature();
    if (m_document.signatures.getSize() == 0 || !sig)
        return fail(VerificationStage::Selection, "There are no signatures.", log);
    StringBuffer sigId;
    sig->getAttrValue("Id", sigId);
    log.LogDataSb("SignatureId", sigId);
    if (numReferences(*sig, log) == 0)
        return fail(VerificationStage::Selection, "There are no references.", log);
    if (!withinVerificationLimits(*sig, log)) {
        m_report.stage = VerificationStage::Limits;
        return false;
    }
    // The MyInvois document digest belongs to this run. The SII DTE stays
    // as the last reference stage of this document extracted it.
    m_docDigest.clear();
    if (verifyReferenceDigests && !verifyReferenceStage(log)) {
        // A method never verified here is the reason to give, whatever the
        // references say.
        refuseUnsupportedMethod(log);
        return false;
    }

    RefPtr<ClsXml> firstReference(getReference(0, log));
    if (!firstReference)
        return fail(VerificationStage::Selection, "No Reference at index 0", log);
    // Without an Id, the signature is confirmed by its first reference's digest.
    StringBuffer firstDigest;
    if (sigId.isEmpty())
        DSigReference::readDigestValue(*firstReference, firstDigest);

    XmlSigPositions locate;
    if (!locateSelectedSignature(m_document.text.view(), sigId, firstDigest, locate, log)) {
        if (sigId.isEmpty())
            return fail(VerificationStage::Location, "Unable to find the Signature.", log);
        log.LogInfo("Unable to find the Signature by Id.");
        log.LogDataSb("signatureId", sigId);
        m_report.stage = VerificationStage::Location;
        m_report.reason = "Unable to find the Signature by Id.";
        return false;
    }
    if (m_policy.profile.verifyEncapsulatedTimeStamp && !verifyTimeStampStage(locate, log))
        return false;

    SignedInfoCheck check;
    if (!signedInfoToCheck(locate, check, log))
        return false;
    if (!signatureValueToCheck(check, log))
        return false;

    bool ended = false;
    bool valid = verifySignatureValue(check, ended, log);
    if (!valid && !ended && verifySignatureValueInSiiDteOwnContext(locate, check, ended, log)) {
        valid = true;
        m_report.attempts.push_back({AttemptUsed::kSignatureValue, FurtherAttempt::SignedInfoInSiiDteOwnContext});
    }
    if (valid) {
        noteSigningTime();
        m_report.valid = true;
        m_report.reason.clear();
        m_report.valueMismatch = false;
    }
    if (!ended)
        logSuccessFailure(valid);
    return valid;
}

void ClsXmlDSig::refuseUnsupportedMethod(LogBase& log) {
    StringBuffer method;
    if (getSignedInfoField("SignatureMethod", "Algorithm", method, log) && isUnsupportedSignatureMethod(method))
        fail(VerificationStage::SignedInfo,
             std::string(signature_method::kUnsupportedMethod) + std::string(method.view()), log);
}

bool ClsXmlDSig::fail(VerificationStage stage, std::string_view reason, LogBase& log) {
    log.LogError(reason);
    m_report.stage = stage;
    m_report.reason = reason;
    return false;
}

bool ClsXmlDSig::signedInfoToCheck(const XmlSigPositions& locate, SignedInfoCheck& check, LogBase& log) {
    const std::string_view signedInfo = m_document.text.view().substr(locate.m_signedInfoLoc, locate.m_signedInfoLen);
    if (!m_profile.isZatca)
        log.LogBracketed("signedInfo", signedInfo);

    XmlCanon canon;
    canon.setWorkBudget(&m_work);
    canon.setParsedDocument(loadedTree());
    if (!signedInfoCanonicalizer(canon, check.canonicalizationMethod, log))
        return false;
    if (!canonicalSignedInfo(canon, locate.m_signedInfoLoc, check.canonical, log))
        return false;
    if (log.verbose())
        log.LogBracketed("canonicalizedSignedInfo", check.canonical.view());
    return true;
}

bool ClsXmlDSig::signedInfoCanonicalizer(XmlCanon& canon, StringBuffer& method, LogBase& log) {
    StringBuffer prefixList;
    if (!getCanonicalizationMethod(method, prefixList, log))
        return fail(VerificationStage::SignedInfo, "Unable to get SignedInfo CanonicalizationMethod.", log);
    configureCanonicalizer(method, prefixList, canon, log);
    if (m_profile.isCsioz || m_profile.dupC14nSortBug) {
        log.LogInfo("Will duplicate the XML canonicalization attribute sorting bug...");
        canon.setSortBugEmulation(true);
    }
    // SK-XML signers canonicalized SignedInfo as a document of its own.
    if (m_profile.isSignedDocSkXml)
        canon.setInheritAncestorContext(false);
    return true;
}

bool ClsXmlDSig::canonicalSignedInfo(XmlCanon& canon, unsigned signedInfoLoc, StringBuffer& out, LogBase& log) {
    if (m_profile.isSiiCl && !m_siiDteXml.isEmpty() && m_siiDteOffset != 0 && m_siiDteOffset < signedInfoLoc) {
        if (canon.xmlCanonicalize(m_siiDteXml, nullptr, signedInfoLoc - m_siiDteOffset, out, log))
            return true;
        return fail(VerificationStage::SignedInfo,
                    std::string("Failed to canonicalize ") + std::string(profile_markers::kSiiChile) +
                        " SignedInfo fragment.",
                    log);
    }
    if (m_profile.isDoda) {
        StringBuffer doda;
        m_document.text.getDelimited(kDodaStart, kDodaEnd, true, doda);
        const int dodaLoc = m_document.text.findSubstr(kDodaStart);
        if (dodaLoc >= 0 && static_cast<unsigned>(dodaLoc) < signedInfoLoc &&
            canon.xmlCanonicalize(doda, nullptr, signedInfoLoc - static_cast<unsigned>(dodaLoc), out, log))
            return true;
        return fail(VerificationStage::SignedInfo, "Failed to canonicalize doda SignedInfo fragment.", log);
    }
    if (m_profile.isZatca) {
        // ZATCA signs the invoice hash that reference 0 carries.
        RefPtr<ClsXml> reference(getReference(0, log));
        if (!reference)
            return fail(VerificationStage::SignedInfo, "Failed to get first reference for signature verification.",
                        log);
        if (!reference->getChildContentUtf8("*:DigestValue", out, false))
            return fail(VerificationStage::SignedInfo, "Failed to get invoiceHash for signature verification.", log);
        return true;
    }
    if (canon.xmlCanonicalize(m_document.text, nullptr, signedInfoLoc, out, log))
        return true;
    return fail(VerificationStage::SignedInfo, "Failed to canonicalize SignedInfo fragment.", log);
}

bool ClsXmlDSig::signatureValueToCheck(SignedInfoCheck& check, LogBase& log) {
    if (!getSignatureValue(check.signatureBase64, log))
        return fail(VerificationStage::SignedInfo, "Unable to find the SignatureValue element.", log);
    if (!ContentCoding::decodeBase64ToDb(check.signatureBase64.view(), check.signatureValue))
        return fail(VerificationStage::SignedInfo, "Failed to decode base64 SignatureValue.", log);
    if (!getSignedInfoField("SignatureMethod", "Algorithm", check.method, log))
        return fail(VerificationStage::SignedInfo,
                    "Unable to location the SignatureMethod algorithm within the SignedInfo.", log);
    log.LogDataSb("SignatureMethod", check.method);
    check.hashAlg = signatureMethodToHashAlg(check.method, log);
    check.keyType = signatureMethodToKeyType(check.method, log);
    // Never read as another algorithm: what is not verified here is named.
    if (isUnsupportedSignatureMethod(check.method))
        return fail(VerificationStage::SignedInfo,
                    std::string(signature_method::kUnsupportedMethod) + std::string(check.method.view()), log);
    if (!signatureMethodParamsToCheck(check, log))
        return false;
    if (check.hashAlg != 0)
        signedHash(check);
    return true;
}

// HMACOutputLength of an HMAC method, and the RSAPSSParams of the "#rsa-pss"
// method, which names its hash there instead of in its URI.
bool ClsXmlDSig::signatureMethodParamsToCheck(SignedInfoCheck& check, LogBase& log) {
    const bool pssWithParams = isPssWithParams(check.method);
    if (check.keyType != signature_method::kHmac && check.keyType != signature_method::kEddsa && !pssWithParams)
        return true;
    RefPtr<ClsXml> method(signedInfoChild("SignatureMethod", log));
    if (!method)
        return fail(VerificationStage::SignedInfo, "No SignatureMethod in SignedInfo.", log);
    std::string error;
    if (check.keyType == signature_method::kEddsa) {
        check.eddsa = signatureMethodToEddsaForm(check.method).value_or(EddsaForm{});
        if (signature_method::readEddsaContext(*method, check.eddsa, error, log))
            return true;
        return fail(VerificationStage::SignedInfo, error, log);
    }
    if (check.keyType == signature_method::kHmac) {
        if (signature_method::readHmacOutputLength(*method, check.hmacOutputBits, error, log))
            return true;
        return fail(VerificationStage::SignedInfo, error, log);
    }
    if (!signature_method::readPssParams(*method, check.pss, error, log))
        return fail(VerificationStage::SignedInfo, error, log);
    check.hashAlg = check.pss.hashAlg;
    log.LogInfo("RSASSA-PSS parameters are read from RSAPSSParams.");
    log.LogDataStr("pssDigest", Digest::hashName(check.pss.hashAlg));
    log.LogDataStr("pssMgf1Digest", Digest::hashName(check.pss.mgf1HashAlg));
    log.LogDataLong("pssSaltLength", check.pss.saltLength);
    return true;
}

void ClsXmlDSig::signedHash(SignedInfoCheck& check) {
    if (m_profile.isZatca) {
        DataBuffer invoiceHash;
        invoiceHash.appendEncoded(check.canonical.view(), "base64");
        Digest::doHash(invoiceHash.getData(), invoiceHash.getSize(), check.hashAlg, check.hash);
    } else if (m_profile.isMyInvois) {
        check.hash = m_docDigest;
    } else {
        Digest::doHash(check.canonical.getString(), check.canonical.getSize(), check.hashAlg, check.hash);
    }
}
