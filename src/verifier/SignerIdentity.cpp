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
    case KeySource::DerEncodedKeyValue:
        return "DEREncodedKeyValue in KeyInfo";
    case KeySource::StoreByX509Digest:
        return "certificate store, by X509Digest";
    case KeySource::StoreByKeyName:
        return "certificate store, by KeyName";
    case KeySource::RetrievedCertificate:
        return "certificate retrieved by RetrievalMethod";
    case KeySource::NamedBySigningCertificate:
        return "certificate named by SigningCertificate";
    case KeySource::None:
        break;
    }
    return "none";
}

const char* keyPathStep(KeySource source) {
    switch (source) {
    case KeySource::KeyInfoCertificate:
        return "X509Data";
    case KeySource::KeyValue:
        return "KeyValue";
    case KeySource::StoreByIssuerSerial:
        return "X509IssuerSerial lookup in the store";
    case KeySource::StoreBySubjectName:
        return "X509SubjectName lookup in the store";
    case KeySource::StoreBySki:
        return "X509SKI lookup in the store";
    case KeySource::WsSecurityToken:
        return "SecurityTokenReference";
    case KeySource::DerEncodedKeyValue:
        return "DEREncodedKeyValue";
    case KeySource::StoreByX509Digest:
        return "X509Digest lookup in the store";
    case KeySource::StoreByKeyName:
        return "KeyName lookup in the store";
    case KeySource::RetrievedCertificate:
        return "raw X.509 certificate";
    case KeySource::NamedBySigningCertificate:
        return "SigningCertificate digest lookup";
    case KeySource::CallerKey:
    case KeySource::HmacSecret:
    case KeySource::None:
        break;
    }
    return keySourceText(source);
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
