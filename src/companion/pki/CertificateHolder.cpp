#include "companion/pki/CertificateHolder.h"

#include "companion/log/LogBase.h"
#include "companion/pki/CertificateStore.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"

#include <string_view>

std::unique_ptr<CertificateHolder> CertificateHolder::createFromBase64(const char* text, unsigned len,
                                                                       CertificateStore* store, LogBase& log) {
    DataBuffer der;
    if (!text || !ContentCoding::decodeBase64ToDb(std::string_view(text, len), der)) {
        log.LogError("The certificate text is not base64.");
        return nullptr;
    }
    auto holder = std::make_unique<CertificateHolder>();
    if (const X509Certificate* known = store ? store->findByDer(der) : nullptr) {
        *holder->getX509Ptr() = *known;
        return holder;
    }
    if (!holder->getX509Ptr()->loadX509Der(der, log))
        return nullptr;
    return holder;
}

X509Certificate* CertificateHolder::getCertPtr(LogBase& log) {
    X509Certificate* cert = getX509Ptr();
    if (cert->isLoaded())
        return cert;
    log.LogError("The holder has no certificate.");
    return nullptr;
}
