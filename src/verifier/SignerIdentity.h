#pragma once

#include "companion/crypto/OpensslPtr.h"

#include <string>
#include <vector>

// Where the key that verified a signature came from.
enum class KeySource : int {
    None,
    KeyInfoCertificate,
    KeyValue,
    StoreByIssuerSerial,
    StoreBySubjectName,
    StoreBySki,
    WsSecurityToken,
    CallerKey,
    HmacSecret,
    DerEncodedKeyValue,
    StoreByX509Digest,
    StoreByKeyName,
    RetrievedCertificate,
    // The certificate XAdES SigningCertificate names, found by its digest
    // among CertificateValues and the store.
    NamedBySigningCertificate,
};

// "certificate in KeyInfo", "KeyValue in KeyInfo", ...
const char* keySourceText(KeySource source);
// The KeyInfo form a key of that source was read from, as a step of its
// path: "X509Data", "DEREncodedKeyValue", "X509Digest lookup in the store".
const char* keyPathStep(KeySource source);

// Who signed: the key that verified the selected signature, where it came
// from and, when it was taken from a certificate, that certificate; with the
// certificates key resolution read, which a chain to a trust anchor may need.
struct SignerIdentity {
    KeySource source = KeySource::None;
    std::string signatureMethod;
    int keyType = 0; // key_type, 0 for an HMAC secret
    // How KeyInfo led to the key: "KeyInfoReference → X509Data"; the source's
    // own step for a key found directly.
    std::string keyPath;
    int keyBits = 0;
    X509Ptr certificate;
    std::vector<X509Ptr> keyInfoCertificates;
    // When the signature says it was made, as xsd:dateTime: the time of a
    // verified signature timestamp, or a SigningTime that a matched reference
    // covers; empty when it says nothing that was verified.
    std::string signingTime;
    std::string signingTimeSource; // "signature timestamp" or "SigningTime"

    bool known() const { return source != KeySource::None; }
    // "rsa-sha256": the fragment of the SignatureMethod URI.
    std::string algorithmName() const;
};

// A new reference to `cert` (OpenSSL counts them).
X509Ptr sharedX509(X509* cert);
