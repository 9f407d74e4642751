#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/DsaVerifier.h"
#include "companion/crypto/EccVerifier.h"
#include "companion/crypto/EddsaVerifier.h"
#include "companion/crypto/Hmac.h"
#include "companion/crypto/RsaVerifier.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/HmacComparison.h"
#include "verifier/SignatureMethodMapping.h"

namespace {

// Why no candidate verified the value: under some key the value itself did
// not verify, or a check could not be carried out at all.
struct ValueRefusal {
    bool mismatch = false;
    std::string error;

    void refuse(std::string_view text, LogBase& log) {
        log.LogError(text);
        error = text;
    }
    void mismatched(std::string_view text, LogBase& log) {
        log.LogError(text);
        mismatch = true;
    }
};

// Signature-value encodings the DSA-style primitives accept.
constexpr int kEcdsaAnyFormat = 0;
constexpr int kDsaRawFormat = 1;

// Some signers wrap the base64 text over lines or truncate the MAC to
// HMACOutputLength: the bytes decide once the text does not match as a whole.
bool decodedHmacMatches(const ClsXmlDSig::SignedInfoCheck& check, const DataBuffer& mac, ValueRefusal& refusal,
                        LogBase& log) {
    switch (hmac_comparison::compare(mac, check.signatureValue, check.hmacOutputBits)) {
    case hmac_comparison::Outcome::Match:
        log.LogInfo("HMAC matched on the decoded SignatureValue");
        if (check.hmacOutputBits != signature_method::kNoHmacOutputLength)
            log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return true;
    case hmac_comparison::Outcome::BelowMinimum:
        refusal.refuse("HMAC output length below the allowed minimum", log);
        log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return false;
    case hmac_comparison::Outcome::NotByteLength:
        refusal.refuse("HMAC output length is not a whole number of bytes within the MAC", log);
        log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return false;
    case hmac_comparison::Outcome::Mismatch:
        break;
    }
    refusal.mismatched("HMAC validation failed.", log);
    return false;
}

bool verifyHmac(const ClsXmlDSig::SignedInfoCheck& check, const DataBuffer& key, ValueRefusal& refusal, LogBase& log) {
    DataBuffer mac;
    if (!Hmac::doHMAC(check.canonical.getString(), check.canonical.getSize(), key.getData(), key.getSize(),
                      check.hashAlg, mac, log)) {
        refusal.refuse("HMAC verify failed.", log);
        return false;
    }
    // The declared length is judged first: a value that happens to be the
    // whole MAC does not excuse a declaration below the floor.
    if (hmac_comparison::checkOutputLength(mac.getSize(), check.hmacOutputBits) != hmac_comparison::Outcome::Match)
        return decodedHmacMatches(check, mac, refusal, log);
    StringBuffer computed, stored(check.signatureBase64);
    mac.encodeDB("base64", computed);
    stored.trim2();
    if (computed.equals(stored.view()))
        return true;
    return decodedHmacMatches(check, mac, refusal, log);
}

ClsPublicKey* keyAt(const ExtPtrArrayRc& keys, int i) {
    return static_cast<ClsPublicKey*>(keys.elementAt(i));
}

// ECDSA and DSA: the first candidate that verifies wins. A null candidate
// ends the check.
template <class Key, class GetKey, class Verify>
ClsPublicKey* verifyDsaStyle(const ExtPtrArrayRc& keys, GetKey getKey, Verify verify, bool& ended) {
    for (int i = 0; i < keys.getSize(); ++i) {
        ClsPublicKey* candidate = keyAt(keys, i);
        if (!candidate) {
            ended = true;
            return nullptr;
        }
        const Key* key = getKey(*candidate);
        bool valid = false;
        if (key && verify(*key, valid) && valid)
            return candidate;
    }
    return nullptr;
}

// The candidate that verified, or null.
ClsPublicKey* verifyRsa(const ClsXmlDSig::SignedInfoCheck& check, const ExtPtrArrayRc& keys, ValueRefusal& refusal,
                        LogBase& log) {
    const int padding = signatureMethodToRsaPadding(check.method);
    const bool pssWithParams = isPssWithParams(check.method);
    const int mgf1HashAlg = pssWithParams ? check.pss.mgf1HashAlg : check.hashAlg;
    const int saltLength = pssWithParams ? check.pss.saltLength : rsa_padding::kAnySaltLength;
    for (int i = 0; i < keys.getSize(); ++i) {
        ClsPublicKey* candidate = keyAt(keys, i);
        if (!candidate)
            continue;
        const RsaKey* rsa = candidate->getRsaKey();
        if (!rsa) {
            refusal.refuse("Public key is not an RSA key.", log);
            continue;
        }
        bool valid = false, keyMismatch = false;
        if (!RsaVerifier::verifyHashExt(check.signatureValue, check.hash, check.hashAlg, padding, mgf1HashAlg, valid,
                                        *rsa, false, true, keyMismatch, log, saltLength)) {
            if (keyMismatch) {
                log.LogInfo("Not the correct key.");
                refusal.mismatch = true;
            } else {
                refusal.refuse("RSA verify hash failed.", log);
            }
            continue;
        }
        if (valid) {
            log.LogInfo("The RSA signature was verified.");
            return candidate;
        }
        refusal.mismatched("RSA verify hash found the signature to be invalid.", log);
        StringBuffer hashHex;
        check.hash.encodeDB("hex", hashHex);
        log.LogDataSb("signedInfoHash", hashHex);
        log.LogDataSb("canonicalizationMethod", check.canonicalizationMethod);
        log.LogDataSb("canonicalizedSignedInfo", check.canonical);
        return nullptr;
    }
    return nullptr;
}

} // namespace

namespace {

// The candidate of `keys` that verifies the signature value, or null.
ClsPublicKey* verifyingKey(const ClsXmlDSig::SignedInfoCheck& check, const ExtPtrArrayRc& keys, bool& ended,
                           ValueRefusal& refusal, LogBase& log) {
    switch (check.keyType) {
    case signature_method::kEcdsa: {
        log.LogDataLong("numEcdsaKeys", keys.getSize());
        ClsPublicKey* signer = verifyDsaStyle<EccKey>(
            keys, [](const ClsPublicKey& k) { return k.getEccKey(); },
            [&check](const EccKey& key, bool& v) {
                return EccVerifier::eccVerifyHash(key, check.signatureValue, kEcdsaAnyFormat, check.hash, v, nullptr);
            },
            ended);
        if (!signer && !ended && keys.getSize() > 0)
            refusal.mismatched("ECDSA verify hash found the signature to be invalid.", log);
        return signer;
    }
    case signature_method::kDsa: {
        log.LogDataLong("numDsaKeys", keys.getSize());
        ClsPublicKey* signer = verifyDsaStyle<DsaKey>(
            keys, [](const ClsPublicKey& k) { return k.getDsaKey(); },
            [&check](const DsaKey& key, bool& v) {
                return DsaVerifier::dsaVerifyHash(key, check.signatureValue, kDsaRawFormat, check.hash, v, nullptr);
            },
            ended);
        if (!signer && !ended && keys.getSize() > 0)
            refusal.mismatched("DSA verify hash failed.", log);
        return signer;
    }
    case signature_method::kRsa:
        log.LogDataLong("numRsaKeys", keys.getSize());
        return verifyRsa(check, keys, refusal, log);
    case signature_method::kEddsa: {
        log.LogDataLong("numEddsaKeys", keys.getSize());
        ClsPublicKey* signer = verifyDsaStyle<EdwardsKey>(
            keys, [](const ClsPublicKey& k) { return k.getEdwardsKey(); },
            [&check, &log](const EdwardsKey& key, bool& v) {
                return eddsa_verifier::verify(key, check.eddsa, check.canonical.view(), check.signatureValue.view(), v,
                                              log);
            },
            ended);
        if (!signer && !ended && keys.getSize() > 0)
            refusal.mismatched("EdDSA verify found the signature to be invalid.", log);
        return signer;
    }
    default:
        log.LogInfo("Unknown key type...");
        refusal.refuse("Invalid key type", log);
        return nullptr;
    }
}

} // namespace

bool ClsXmlDSig::verifySignatureValue(const SignedInfoCheck& check, bool& ended, LogBase& log) {
    ended = false;
    ValueRefusal refusal;
    if (check.keyType == signature_method::kHmac) {
        if (m_hmacKey.isEmpty()) {
            ended = true;
            return fail(VerificationStage::KeyResolution, "No HMAC key available to verify signature.", log);
        }
        m_report.stage = VerificationStage::SignatureValue;
        if (verifyHmac(check, m_hmacKey, refusal, log)) {
            noteSigner(check, nullptr, {});
            logSigner(log);
            return true;
        }
        return noteRefusal(refusal.mismatch, refusal.error);
    }

    ExtPtrArrayRc keys;
    if (!getPublicKey(false, keys, log)) {
        ended = true;
        return fail(VerificationStage::KeyResolution, "No public key available to verify signature.", log);
    }
    m_report.stage = VerificationStage::SignatureValue;
    ClsPublicKey* signer = verifyingKey(check, keys, ended, refusal, log);
    if (!signer)
        return noteRefusal(refusal.mismatch, refusal.error);
    noteSigner(check, signer, keys);
    logSigner(log);
    return true;
}

void ClsXmlDSig::logSigner(LogBase& log) const {
    log.LogDataStr("signatureAlgorithm", m_report.signer.algorithmName());
    log.LogDataStr("keyPath", m_report.signer.keyPath);
}

// A check that could not be carried out names its error; otherwise the value
// did not verify under any candidate.
bool ClsXmlDSig::noteRefusal(bool mismatch, const std::string& error) {
    m_report.valueMismatch = mismatch || error.empty();
    m_report.reason = m_report.valueMismatch ? std::string() : error;
    return false;
}

namespace {

bool sameKey(const ClsPublicKey& a, const ClsPublicKey& b) {
    DataBuffer derA, derB;
    LogNull quiet;
    return a.getDer(derA, quiet) && b.getDer(derB, quiet) && derA.equals(derB);
}

// The certificate of the verifying key: its own, or that of a candidate
// with the same key (a KeyValue next to its certificate).
X509* certificateOf(const ClsPublicKey& key, const ExtPtrArrayRc& candidates) {
    if (key.certificate())
        return key.certificate();
    for (int i = 0; i < candidates.getSize(); ++i)
        if (const ClsPublicKey* candidate = keyAt(candidates, i); candidate && candidate->certificate())
            if (sameKey(key, *candidate))
                return candidate->certificate();
    return nullptr;
}

} // namespace

// Who signed: the verifying key (null for the HMAC secret), where it was
// found, its certificate, and the certificates among the candidates for a
// chain.
void ClsXmlDSig::noteSigner(const SignedInfoCheck& check, const ClsPublicKey* key, const ExtPtrArrayRc& candidates) {
    m_report.signer = SignerIdentity{};
    m_report.signer.signatureMethod = std::string(check.method.view());
    if (!key) {
        m_report.signer.source = KeySource::HmacSecret;
        m_report.signer.keyPath = keySourceText(KeySource::HmacSecret);
        return;
    }
    bool callerKey = key == static_cast<const ClsPublicKey*>(m_publicKeys.elementAt(m_selector));
    for (int i = 0; i < m_callerKeys.getSize(); ++i)
        callerKey = callerKey || key == keyAt(m_callerKeys, i);
    m_report.signer.source = callerKey ? KeySource::CallerKey : static_cast<KeySource>(key->originTag());
    m_report.signer.keyPath = callerKey || key->path().empty() ? keySourceText(m_report.signer.source) : key->path();
    m_report.signer.keyType = key->keyType();
    m_report.signer.keyBits = key->bitLength();
    m_report.signer.certificate = sharedX509(certificateOf(*key, candidates));
    for (int i = 0; i < candidates.getSize(); ++i)
        if (const ClsPublicKey* candidate = keyAt(candidates, i); candidate && candidate->certificate())
            m_report.signer.keyInfoCertificates.push_back(sharedX509(candidate->certificate()));
}
