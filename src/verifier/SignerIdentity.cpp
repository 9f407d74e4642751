#include "verifier/SignerIdentity.h"

const char* keySourceText(KeySource source) {
    switch (source) {
    case KeySource::KeyInfoCertificate:
        return "certificate in KeyInfo";
    case KeySource::KeyValue:
        return "KeyValue in KeyInfo";
    case KeySource::StoreByIssuerSerial:
        return "certificate store, by issuer and serial";
    case KeySource::StoreBySubjectName:
        return "certificate store, by subject name";
    case KeySource::StoreBySki:
        return "certificate store, by subject key identifier";
    case KeySource::WsSecurityToken:
        return "WS-Security token";
    case KeySource::CallerKey:
        return "caller's key";
    case KeySource::HmacSecret:
        return "HMAC secret";
    case KeySource::None:
        break;
    }
    return "none";
}

std::string SignerIdentity::algorithmName() const {
    const size_t hash = signatureMethod.rfind('#');
    return hash == std::string::npos ? signatureMethod : signatureMethod.substr(hash + 1);
}

X509Ptr sharedX509(X509* cert) {
    if (cert)
        X509_up_ref(cert);
    return X509Ptr(cert);
}
