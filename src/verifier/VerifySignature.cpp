#include "companion/canon/XmlCanon.h"
#include "companion/crypto/_tvHash.h"
#include "companion/log/LogContextExitor.h"
#include "companion/text/ContentCoding.h"
#include "companion/xml/ClsXml.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/DSigReference.h"
#include "verifier/ProfileMarkers.h"
#include "verifier/SignatureMethodMapping.h"

#include <string>

namespace {

constexpr std::string_view kDodaStart = "<doda>";
constexpr std::string_view kDodaEnd = "</doda>";

// Inclusive unless the URI names exclusive C14N or C14N 1.1; an unknown URI
// is logged and canonicalized inclusively, which is what such signers mostly
// meant.
void configureCanonicalizer(const StringBuffer& algorithm, const StringBuffer& prefixList, XmlCanon& canon,
                            LogBase& log) {
    if (!prefixList.isEmpty())
        prefixList.split(canon.inclusivePrefixes(), ' ', false, false);
    if (algorithm.containsSubstring("xml-c14n11")) {
        canon.setMode(XmlCanon::Mode::Inclusive11);
    } else if (algorithm.containsSubstring("xml-c14n")) {
        canon.setMode(XmlCanon::Mode::Inclusive);
    } else if (algorithm.containsSubstring("xml-exc-c14n")) {
        canon.setMode(XmlCanon::Mode::Exclusive);
    } else {
        log.LogError("Unrecognized canonicalization method.");
        log.LogDataSb("canonicalizationMethod", algorithm);
        canon.setMode(XmlCanon::Mode::Inclusive);
    }
    canon.setWithComments(algorithm.containsSubstringNoCase("WithComments"));
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
    checkSetZatca(log);
    checkSetMyInvois(log);
    log.LogDataLong("verifyReferenceDigests", verifyReferenceDigests ? 1 : 0);
    log.LogDataLong("selector", m_selector);
    m_referenceOutcomes.clear();
    m_signer = SignerIdentity{};
    m_timestampTime.clear();

    ClsXml* sig = selectedSignature();
    if (m_signatures.getSize() == 0 || !sig) {
        log.LogError("There are no signatures.");
        return false;
    }
    StringBuffer sigId;
    sig->getAttrValue("Id", sigId);
    log.LogDataSb("SignatureId", sigId);
    if (numReferences(*sig, log) == 0) {
        log.LogError("There are no references.");
        return false;
    }
    if (!withinVerificationLimits(*sig, log))
        return false;
    // The MyInvois document digest belongs to this run. The SII DTE stays
    // as the last reference stage of this document extracted it.
    m_docDigest.clear();
    if (verifyReferenceDigests && !verifyReferenceStage(log))
        return false;

    RefPtr<ClsXml> firstReference(getReference(0, log));
    if (!firstReference) {
        log.LogError("No Reference at index 0");
        return false;
    }
    DSigReference ref;
    ref.parseReference(*firstReference, log);

    XmlSigPositions locate;
    if (!locateSelectedSignature(m_sigXml.view(), sigId, ref.m_digestValue, locate, log)) {
        if (!sigId.isEmpty()) {
            log.LogInfo("Unable to find the Signature by Id.");
            log.LogDataSb("signatureId", sigId);
        } else {
            log.LogError("Unable to find the Signature.");
        }
        return false;
    }
    if (m_uncommonOptions.containsSubstringNoCase("VerifyEncapsulatedTimeStamp") && !verifyTimeStampStage(locate, log))
        return false;

    SignedInfoCheck check;
    if (!signedInfoToCheck(locate, check, log))
        return false;
    if (!signatureValueToCheck(check, log))
        return false;

    bool ended = false;
    bool valid = verifySignatureValue(check, ended, log);
    if (!valid && !ended)
        valid = verifySignatureValueInSiiDteOwnContext(locate, check, ended, log);
    if (valid)
        noteSigningTime();
    if (!ended)
        logSuccessFailure(valid);
    return valid;
}

bool ClsXmlDSig::signedInfoToCheck(const XmlSigPositions& locate, SignedInfoCheck& check, LogBase& log) {
    const std::string_view signedInfo = m_sigXml.view().substr(locate.m_signedInfoLoc, locate.m_signedInfoLen);
    if (!m_isZatca)
        log.LogBracketed("signedInfo", signedInfo);

    XmlCanon canon;
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
    if (!getCanonicalizationMethod(method, prefixList, log)) {
        log.LogError("Unable to get SignedInfo CanonicalizationMethod.");
        return false;
    }
    configureCanonicalizer(method, prefixList, canon, log);
    if (m_isCsioz || m_dupC14nSortBug) {
        log.LogInfo("Will duplicate the XML canonicalization attribute sorting bug...");
        canon.setSortBugEmulation(true);
    }
    // SK-XML signers canonicalized SignedInfo as a document of its own.
    if (m_isSignedDocSkXml)
        canon.setInheritAncestorContext(false);
    return true;
}

bool ClsXmlDSig::canonicalSignedInfo(XmlCanon& canon, unsigned signedInfoLoc, StringBuffer& out, LogBase& log) {
    if (m_isSiiCl && !m_siiDteXml.isEmpty() && m_siiDteOffset != 0 && m_siiDteOffset < signedInfoLoc) {
        if (canon.xmlCanonicalize(m_siiDteXml, nullptr, signedInfoLoc - m_siiDteOffset, out, log))
            return true;
        log.LogError(std::string("Failed to canonicalize ") + std::string(profile_markers::kSiiChile) +
                     " SignedInfo fragment.");
        return false;
    }
    if (m_isDoda) {
        StringBuffer doda;
        m_sigXml.getDelimited(kDodaStart, kDodaEnd, true, doda);
        const int dodaLoc = m_sigXml.findSubstr(kDodaStart);
        if (dodaLoc >= 0 && static_cast<unsigned>(dodaLoc) < signedInfoLoc &&
            canon.xmlCanonicalize(doda, nullptr, signedInfoLoc - static_cast<unsigned>(dodaLoc), out, log))
            return true;
        log.LogError("Failed to canonicalize doda SignedInfo fragment.");
        return false;
    }
    if (m_isZatca) {
        // ZATCA signs the invoice hash that reference 0 carries.
        RefPtr<ClsXml> reference(getReference(0, log));
        if (!reference) {
            log.LogError("Failed to get first reference for signature verification.");
            return false;
        }
        if (!reference->getChildContentUtf8("*:DigestValue", out, false)) {
            log.LogError("Failed to get invoiceHash for signature verification.");
            return false;
        }
        return true;
    }
    if (canon.xmlCanonicalize(m_sigXml, nullptr, signedInfoLoc, out, log))
        return true;
    log.LogError("Failed to canonicalize SignedInfo fragment.");
    return false;
}

bool ClsXmlDSig::signatureValueToCheck(SignedInfoCheck& check, LogBase& log) {
    if (!getSignatureValue(check.signatureBase64, log)) {
        log.LogError("Unable to find the SignatureValue element.");
        return false;
    }
    if (!ContentCoding::decodeBase64ToDb(check.signatureBase64.view(), check.signatureValue)) {
        log.LogError("Failed to decode base64 SignatureValue.");
        return false;
    }
    if (!getSignedInfoField("SignatureMethod", "Algorithm", check.method, log)) {
        log.LogError("Unable to location the SignatureMethod algorithm within the SignedInfo.");
        return false;
    }
    log.LogDataSb("SignatureMethod", check.method);
    check.hashAlg = signatureMethodToHashAlg(check.method, log);
    check.keyType = signatureMethodToKeyType(check.method, log);
    if (!signatureMethodParamsToCheck(check, log))
        return false;
    if (check.hashAlg < 0) {
        log.LogError("Hash algorithm not implemented yet by Tavix.");
        return false;
    }
    if (check.keyType < 0) {
        log.LogError("Key type not implemented yet by Tavix.");
        return false;
    }
    if (check.hashAlg != 0)
        signedHash(check);
    return true;
}

// HMACOutputLength of an HMAC method, and the RSAPSSParams of the "#rsa-pss"
// method, which names its hash there instead of in its URI.
bool ClsXmlDSig::signatureMethodParamsToCheck(SignedInfoCheck& check, LogBase& log) {
    const bool pssWithParams = isPssWithParams(check.method);
    if (check.keyType != signature_method::kHmac && !pssWithParams)
        return true;
    RefPtr<ClsXml> method(signedInfoChild("SignatureMethod", log));
    if (!method)
        return false;
    if (check.keyType == signature_method::kHmac)
        return signature_method::readHmacOutputLength(*method, check.hmacOutputBits, log);
    if (!signature_method::readPssParams(*method, check.pss, log))
        return false;
    check.hashAlg = check.pss.hashAlg;
    log.LogInfo("RSASSA-PSS parameters are read from RSAPSSParams.");
    log.LogDataStr("pssDigest", _tvHash::hashName(check.pss.hashAlg));
    log.LogDataStr("pssMgf1Digest", _tvHash::hashName(check.pss.mgf1HashAlg));
    log.LogDataLong("pssSaltLength", check.pss.saltLength);
    return true;
}

void ClsXmlDSig::signedHash(SignedInfoCheck& check) {
    if (m_isZatca) {
        DataBuffer invoiceHash;
        invoiceHash.appendEncoded(check.canonical.view(), "base64");
        _tvHash::doHash(invoiceHash.getData(), invoiceHash.getSize(), check.hashAlg, check.hash);
    } else if (m_isMyInvois) {
        check.hash = m_docDigest;
    } else {
        _tvHash::doHash(check.canonical.getString(), check.canonical.getSize(), check.hashAlg, check.hash);
    }
}
