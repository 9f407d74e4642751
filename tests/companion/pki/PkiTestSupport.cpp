#include "PkiTestSupport.h"

#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

namespace pki_test {

namespace {

// The extensions a test certificate may carry; req -x509 and x509 -req both
// read them from here, so openssl's defaults do not add any.
constexpr const char* kConfig = "[req]\n"
                                "distinguished_name = dn\n"
                                "[dn]\n"
                                "[with_ski]\n"
                                "basicConstraints = CA:true\n"
                                "subjectKeyIdentifier = hash\n"
                                "[without_ski]\n"
                                "basicConstraints = CA:true\n"
                                "subjectKeyIdentifier = none\n"
                                "authorityKeyIdentifier = none\n";

std::string q(const std::filesystem::path& p) {
    return test_support::shellQuote(p.string());
}

std::string readFormat(const std::filesystem::path& cert) {
    return cert.extension() == ".pem" ? "PEM" : "DER";
}

} // namespace

CertWorkshop::CertWorkshop() {
    test_support::writeFile(dir() / "openssl.cnf", kConfig);
}

std::string CertWorkshop::openssl(const std::string& args) const {
    return test_support::runOpenssl(dir(), args).out;
}

bool CertWorkshop::make(const std::string& name, const Request& r) {
    const std::string extensions = std::string(" -extensions ") + (r.m_subjectKeyId ? "with_ski" : "without_ski");
    const std::string key = name + ".key";
    const std::string subj = " -subj " + test_support::shellQuote(r.m_subject) + " -utf8";
    const std::string serial = " -set_serial " + r.m_serial + " -days 30";
    openssl("genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out " + key);
    if (r.m_issuer.empty()) {
        openssl("req -x509 -new -config openssl.cnf" + extensions + " -key " + key + subj + serial + " -out " + name +
                ".pem");
    } else {
        openssl("req -new -config openssl.cnf -key " + key + subj + " -out " + name + ".csr");
        openssl("x509 -req -in " + name + ".csr -CA " + r.m_issuer + ".pem -CAkey " + r.m_issuer + ".key" + serial +
                " -extfile openssl.cnf" + extensions + " -out " + name + ".pem");
    }
    openssl("x509 -in " + name + ".pem -outform DER -out " + name + ".der");
    return !::testing::Test::HasFailure();
}

DataBuffer CertWorkshop::der(const std::string& name) const {
    DataBuffer out;
    out.append(test_support::readFile(derPath(name)));
    return out;
}

X509Certificate CertWorkshop::load(const std::string& name) const {
    LogBase log;
    X509Certificate cert;
    EXPECT_TRUE(cert.loadX509Der(der(name), log)) << log.renderText();
    return cert;
}

std::string CertWorkshop::field(const std::filesystem::path& cert, const std::string& option,
                                const std::string& prefix) const {
    std::string out = openssl("x509 -noout -inform " + readFormat(cert) + " -in " + q(cert) + " " + option +
                              " -nameopt RFC2253,-esc_msb");
    if (out.starts_with(prefix))
        out.erase(0, prefix.size());
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
        out.pop_back();
    return out;
}

std::string CertWorkshop::serial(const std::filesystem::path& cert) const {
    return field(cert, "-serial", "serial=");
}

std::string dnKey(const std::string& dn) {
    LogNull log;
    StringBuffer key;
    DistinguishedName::toTvCanonHashKey(StringBuffer(dn), key, log);
    return std::string(key.view());
}

} // namespace pki_test
