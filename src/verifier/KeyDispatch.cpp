#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/DsaVerifier.h"
#include "companion/crypto/EccVerifier.h"
#include "companion/crypto/Hmac.h"
#include "companion/crypto/RsaVerifier.h"
#include "verifier/ClsXmlDSig.h"
#include "verifier/HmacComparison.h"
#include "verifier/SignatureMethodMapping.h"

namespace {

// Signature-value encodings the DSA-style primitives accept.
constexpr int kEcdsaAnyFormat = 0;
constexpr int kDsaRawFormat = 1;

// Some signers wrap the base64 text over lines or truncate the MAC to
// HMACOutputLength: the bytes decide once the text does not match as a whole.
bool decodedHmacMatches(const ClsXmlDSig::SignedInfoCheck& check, const DataBuffer& mac, LogBase& log) {
    switch (hmac_comparison::compare(mac, check.signatureValue, check.hmacOutputBits)) {
    case hmac_comparison::Outcome::Match:
        log.LogInfo("HMAC matched on the decoded SignatureValue");
        if (check.hmacOutputBits != signature_method::kNoHmacOutputLength)
            log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return true;
    case hmac_comparison::Outcome::BelowMinimum:
        log.LogError("HMAC output length below the allowed minimum");
        log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return false;
    case hmac_comparison::Outcome::NotByteLength:
        log.LogError("HMAC output length is not a whole number of bytes within the MAC");
        log.LogDataLong("hmacOutputLength", check.hmacOutputBits);
        return false;
    case hmac_comparison::Outcome::Mismatch:
        break;
    }
    log.LogError("HMAC validation failed.");
    return false;
}

bool verifyHmac(const ClsXmlDSig::SignedInfoCheck& check, const DataBuffer& key, LogBase& log) {
    DataBuffer mac;
    if (!Hmac::doHMAC(check.canonical.getString(), check.canonical.getSize(), key.getData(), key.getSize(),
                      check.hashAlg, mac, log)) {
        log.LogError("HMAC verify failed.");
        return false;
    }
    StringBuffer computed, stored(check.signatureBase64);
    mac.encodeDB("base64", computed);
    stored.trim2();
    if (computed.equals(stored.view()))
        return true;
    return decodedHmacMatches(check, mac, log);
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
ClsPublicKey* verifyRsa(const ClsXmlDSig::SignedInfoCheck& check, const ExtPtrArrayRc& keys, LogBase& log) {
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
            log.LogError("Public key is not an RSA key.");
            continue;
        }
        bool valid = false, keyMismatch = false;
        if (!RsaVerifier::verifyHashExt(check.signatureValue, check.hash, check.hashAlg, padding, mgf1HashAlg, valid,
                                        *rsa, false, true, keyMismatch, log, saltLength)) {
            if (keyMismatch)
                log.LogInfo("Not the correct key.");
            else
                log.LogError("RSA verify hash failed.");
            continue;
        }
        if (valid) {
            log.LogInfo("The RSA signature was verified.");
            return candidate;
        }
        log.LogError("RSA verify hash found the signature to be invalid.");
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
                           LogBase& log) {
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
            log.LogError("ECDSA verify hash found the signature to be invalid.");
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
            log.LogError("DSA verify hash failed.");
        return signer;
    }
    case signature_method::kRsa:
        log.LogDataLong("numRsaKeys", keys.getSize());
        return verifyRsa(check, keys, log);
    default:
        log.LogInfo("Unknown key type...");
        log.LogError("Invalid key type");
        return nullptr;
    }
}

} // namespace

bool ClsXmlDSig::verifySignatureValue(const SignedInfoCheck& check, bool& ended, LogBase& log) {
    ended = false;
    if (check.keyType == signature_method::kHmac) {
        if (m_hmacKey.isEmpty()) {
            log.LogError("No HMAC key available to verify signature.");
            ended = true;
            return false;
        }
        const bool valid = verifyHmac(check, m_hmacKey, log);
        if (valid)
            noteSigner(check, nullptr, {});
        return valid;
    }

    ExtPtrArrayRc keys;
    if (!getPublicKey(false, keys, log)) {
        log.LogError("No public key available to verify signature.");
        ended = true;
        return false;
    }
    ClsPublicKey* signer = verifyingKey(check, keys, ended, log);
    if (signer)
        noteSigner(check, signer, keys);
    return signer != nullptr;
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
    m_signer = SignerIdentity{};
    m_signer.signatureMethod = std::string(check.method.view());
    if (!key) {
        m_signer.source = KeySource::HmacSecret;
        return;
    }
    bool callerKey = key == static_cast<const ClsPublicKey*>(m_publicKeys.elementAt(m_selector));
    for (int i = 0; i < m_callerKeys.getSize(); ++i)
        callerKey = callerKey || key == keyAt(m_callerKeys, i);
    m_signer.source = callerKey ? KeySource::CallerKey : static_cast<KeySource>(key->originTag());
    m_signer.keyType = key->keyType();
    m_signer.keyBits = key->bitLength();
    m_signer.certificate = sharedX509(certificateOf(*key, candidates));
    for (int i = 0; i < candidates.getSize(); ++i)
        if (const ClsPublicKey* candidate = keyAt(candidates, i); candidate && candidate->certificate())
            m_signer.keyInfoCertificates.push_back(sharedX509(candidate->certificate()));
}
