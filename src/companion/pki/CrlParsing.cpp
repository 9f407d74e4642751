#include "companion/pki/CrlParsing.h"

#include <openssl/err.h>
#include <openssl/pem.h>

std::vector<X509CrlPtr> parseCrls(std::string_view bytes) {
    std::vector<X509CrlPtr> crls;
    const BioPtr bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
    while (bio) {
        X509CrlPtr crl(PEM_read_bio_X509_CRL(bio.get(), nullptr, nullptr, nullptr));
        if (!crl)
            break;
        crls.push_back(std::move(crl));
    }
    if (crls.empty()) {
        const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
        if (X509CrlPtr crl{d2i_X509_CRL(nullptr, &p, static_cast<long>(bytes.size()))})
            crls.push_back(std::move(crl));
    }
    // The PEM loop ends on the "no more blocks" error, which is expected.
    ERR_clear_error();
    return crls;
}
