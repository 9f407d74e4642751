#include "companion/pki/RevocationLocations.h"

#include <openssl/x509v3.h>

#include <memory>
#include <string_view>

namespace {

struct OcspUrlsFree {
    void operator()(STACK_OF(OPENSSL_STRING) * p) const { X509_email_free(p); }
};
struct DistPointsFree {
    void operator()(STACK_OF(DIST_POINT) * p) const { sk_DIST_POINT_pop_free(p, DIST_POINT_free); }
};

bool fetchable(std::string_view url) {
    return url.starts_with("http://") || url.starts_with("https://");
}

void addUri(const GENERAL_NAME* name, std::vector<std::string>& urls) {
    if (name->type != GEN_URI)
        return;
    const ASN1_IA5STRING* uri = name->d.uniformResourceIdentifier;
    const std::string url(reinterpret_cast<const char*>(ASN1_STRING_get0_data(uri)), ASN1_STRING_length(uri));
    if (fetchable(url))
        urls.push_back(url);
}

} // namespace

std::vector<std::string> ocspResponderUrls(X509* cert) {
    std::vector<std::string> urls;
    const std::unique_ptr<STACK_OF(OPENSSL_STRING), OcspUrlsFree> found(X509_get1_ocsp(cert));
    for (int i = 0; i < sk_OPENSSL_STRING_num(found.get()); ++i) {
        const std::string_view url = sk_OPENSSL_STRING_value(found.get(), i);
        if (fetchable(url))
            urls.emplace_back(url);
    }
    return urls;
}

std::vector<std::string> crlDistributionUrls(X509* cert) {
    std::vector<std::string> urls;
    const std::unique_ptr<STACK_OF(DIST_POINT), DistPointsFree> points(
        static_cast<STACK_OF(DIST_POINT)*>(X509_get_ext_d2i(cert, NID_crl_distribution_points, nullptr, nullptr)));
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT_NAME* name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        if (!name || name->type != 0) // 0: fullName; a name relative to the issuer gives no URL
            continue;
        for (int j = 0; j < sk_GENERAL_NAME_num(name->name.fullname); ++j)
            addUri(sk_GENERAL_NAME_value(name->name.fullname, j), urls);
    }
    return urls;
}
