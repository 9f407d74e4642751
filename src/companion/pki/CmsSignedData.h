#pragma once

#include "companion/crypto/OpensslPtr.h"
#include "companion/pki/CmsHandles.h"

#include <vector>

class ClsJsonObject;
class DataBuffer;
class LogBase;
class CertificateStore;
class _clsCades;

// A CMS (PKCS #7) SignedData, such as an RFC 3161 timestamp token, and the
// client side of the time-stamp protocol that obtains such tokens.
class CmsSignedData {
public:
    CmsSignedData() = default;
    virtual ~CmsSignedData() = default;
    CmsSignedData(const CmsSignedData&) = delete;
    CmsSignedData& operator=(const CmsSignedData&) = delete;

    // Parses DER. pkcs7Type is the PKCS #7 content type the outer
    // ContentInfo must have (the last arc of 1.2.840.113549.1.7: 2 is
    // signedData). eContentTypeOid, when not null, is the encapsulated
    // content type required (dotted). detached is set when the content is
    // not encapsulated. collectCerts, when given, receives the certificates
    // that the SignedData carries. False, with an error line, on failure.
    bool loadPkcs7Der(const DataBuffer& der, const char* eContentTypeOid, int pkcs7Type, bool& detached,
                      CertificateStore* collectCerts, LogBase& log);

    // Verifies every signer's signature (signed attributes included) with
    // its certificate, carried in the SignedData or found in certs, and
    // returns the encapsulated content. The signer's certificate chain is
    // validated against certs only when the CMS options ask for it (see
    // _clsCades).
    // `validateChain`: the signer certificate must chain to `certs` and be fit
    // for time stamping; otherwise only the signature is checked.
    bool verifyOpaqueSignature(DataBuffer& content, bool validateChain, CertificateStore& certs, LogBase& log);
    // After a verification that succeeded: the first signer's certificate
    // (null when none was found).
    X509Ptr signerCertificate() const;
    // The certificates the SignedData carries.
    std::vector<X509Ptr> certificates() const;

    // Asks a time-stamping authority for a token over the hash of data and
    // returns the token's DER. The request carries a random nonce and asks
    // for the TSA's certificate; the answer must grant the request and
    // carry the same nonce, message imprint and (when one was asked for)
    // policy. Option members:
    //   "TsaUrl"          (string, required) the TSA's http or https URL
    //   "HashAlgorithm"   (string, "sha256") sha1, sha256, sha384 or sha512
    //   "PolicyOid"       (string, none) the TSA policy to request
    //   "TsaUsername", "TsaPassword" (strings, none) HTTP basic authentication
    //   "TimeoutSeconds"  (integer, 30) limit for the whole exchange
    // The HTTP object of the _clsCades settings is used when one was set;
    // the options override its timeouts and authentication.
    static bool getTimestampToken(ClsJsonObject& options, DataBuffer& data, _clsCades& cades, DataBuffer& tokenDer,
                                  LogBase& log);

private:
    CmsContentInfoPtr m_cms;
};
