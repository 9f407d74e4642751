#include "keys/ParsedNameLookups.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertificateStore.h"
#include "companion/pki/Rfc4514Name.h"
#include "keys/KeyInfoReading.h"

#include <algorithm>

namespace {

// The name in the encoded order; XML signers write the most specific RDN first.
X509NamePtr encodedName(const StringBuffer& text, LogBase& log) {
    std::optional<std::vector<Rfc4514Rdn>> rdns = Rfc4514Name::parse(text.view());
    if (!rdns || rdns->empty()) {
        log.LogInfo("The name is not an RFC 4514 distinguished name.");
        return nullptr;
    }
    std::reverse(rdns->begin(), rdns->end());
    X509NamePtr name = Rfc4514Name::toX509Name(*rdns);
    if (!name)
        log.LogInfo("The name has an attribute type or value that cannot be compared.");
    return name;
}

X509Certificate* reportMatch(X509Certificate* cert, LogBase& log) {
    log.LogInfo(cert ? "The certificate matched the parsed RDN sequence." : "No certificate has that RDN sequence.");
    return cert;
}

} // namespace

namespace key_info {

X509Certificate* certBySubjectRdns(CertificateStore& store, const StringBuffer& subjectName, LogBase& log) {
    if (store.getNumCerts() == 0)
        return nullptr;
    log.LogInfo("Retry the subject name lookup with the name compared as a parsed RDN sequence...");
    const X509NamePtr name = encodedName(subjectName, log);
    return name ? reportMatch(store.findBySubjectName(*name), log) : nullptr;
}

X509Certificate* certByIssuerRdnsAndSerial(CertificateStore& store, const IssuerSerial& issuerSerial, LogBase& log) {
    if (store.getNumCerts() == 0)
        return nullptr;
    log.LogInfo("Retry the issuer and serial lookup with the whole issuer name compared as a parsed RDN sequence...");
    const X509NamePtr name = encodedName(issuerSerial.issuerName, log);
    return name ? reportMatch(store.findByIssuerNameAndSerial(*name, issuerSerial.serialHex), log) : nullptr;
}

} // namespace key_info
