#pragma once

#include "support/TrustFixtures.h"
#include "xmldsig/Verifier.h"

#include <string>

namespace ades_test {

// What a XAdES signature made by the lab holds besides its enveloped
// reference and SignedProperties (SigningTime, SigningCertificateV2).
struct XadesParts {
    std::string signingCertificate;   // default: SigningCertificateV2 naming the signer
    std::string signedProperties;     // more SignedSignatureProperties children
    std::string dataObjectProperties; // SignedDataObjectProperties children; the enveloped reference is "#ref-0"
    std::string references;           // more SignedInfo references
    std::string objects;              // more ds:Object elements
    std::string unsignedProperties;   // UnsignedSignatureProperties children
    bool certificateInKeyInfo = true;
};

// A signer's private key and certificate (PEM), and its key's kind.
struct SignerFiles {
    std::filesystem::path key;
    std::filesystem::path certificate;
    bool ecdsa = false;
};

// Signs XAdES documents with xmlsec1 as the trust fixtures' signers
// (root -> intermediate -> signer), and verifies them under AdES validation
// with the root as anchor, the intermediate as a known certificate and the
// CRLs of both.
class AdesLab {
public:
    static const AdesLab& shared();
    const trust_test::TrustFixtures& pki() const { return trust_test::TrustFixtures::shared(); }

    // The signed document: an enveloped signature "sig-1" whose value is
    // "sv-1" and SignedProperties "sp-1".
    std::string sign(const SignerFiles& signer, const XadesParts& parts = {}) const;
    std::string sign(trust_test::Signer signer, const XadesParts& parts = {}) const {
        return sign(filesOf(signer), parts);
    }
    SignerFiles filesOf(trust_test::Signer signer) const;
    // An enveloping signature over the ds:Object "obj-1".
    std::string signEnveloping(trust_test::Signer signer) const;
    // The document with a counter-signature of the signature "sig-1" by
    // `signer`, referencing the element whose Id is `coveredId`.
    std::string counterSign(const std::string& signedXml, trust_test::Signer signer,
                            const std::string& coveredId) const;
    // SigningCertificateV2 naming the certificate in the PEM file.
    std::string signingCertificateV2(const std::filesystem::path& certificate) const;

    xmldsig::Settings settings() const;
    xmldsig::SignatureResult validate(const std::string& xml, const xmldsig::Settings& settings) const;
    xmldsig::SignatureResult validate(const std::string& xml) const { return validate(xml, settings()); }

private:
    std::string xmlsecSign(const SignerFiles& signer, const std::string& xml, const std::string& nodeId = {}) const;
};

// The SigningTime the lab's signatures state: when the tests started.
std::string signingTimeNow();

// "INDETERMINATE/NO_CERTIFICATE_CHAIN_FOUND", and the checks, for messages.
std::string verdictOf(const xmldsig::SignatureResult& result);
std::string indicationOf(const xmldsig::SignatureResult& result);

} // namespace ades_test
