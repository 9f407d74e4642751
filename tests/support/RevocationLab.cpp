#include "support/RevocationLab.h"

#include "support/TrustFixtures.h"

#include <gtest/gtest.h>

namespace revocation_test {

using test_support::LoopbackHttpServer;

namespace {

constexpr const char* kSubjectPrefix = "/C=EE/O=Revocation Test/CN=";
constexpr const char* kKey = "ec:P-256";
// The trust fixture's intermediate, in openssl's -subj form.
constexpr const char* kIntermediateSubject = "/C=EE/O=Trust Test/CN=Trust Test Intermediate";
constexpr const char* kCaFiles[] = {"intermediate.cnf",       "intermediate.index", "intermediate.serial",
                                    "intermediate.crlnumber", "intermediate.pem",   "intermediate.key",
                                    "intermediate.index.attr"};
constexpr const char* kServedCrlPath = "/intermediate.crl";

std::string extensionSections(int ocspPort, int crlPort, int downPort) {
    const auto loopback = [](int port) { return "URI:http://127.0.0.1:" + std::to_string(port); };
    const std::string endEntity = "basicConstraints = CA:FALSE\nkeyUsage = critical,digitalSignature\n";
    return "[ocsp_aia]\n" + endEntity + "authorityInfoAccess = OCSP;" + loopback(ocspPort) + "/\n" + "[crl_cdp]\n" +
           endEntity + "crlDistributionPoints = " + loopback(crlPort) + kServedCrlPath + "\n" + "[ocsp_down]\n" +
           endEntity + "authorityInfoAccess = OCSP;" + loopback(downPort) + "/\n" + "[ocsp_responder]\n" + endEntity +
           "extendedKeyUsage = OCSPSigning\n";
}

} // namespace

RevocationLab::RevocationLab()
    : m_crlServer([this](const std::string& headers, const std::string&) {
          return headers.starts_with(std::string("GET ") + kServedCrlPath + " ")
                     ? LoopbackHttpServer::ok("application/pkix-crl", test_support::readFile(crl()))
                     : "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
      }) {
    copyCa();
    m_ocspPort = LoopbackHttpServer::closedPort();
    int downPort = LoopbackHttpServer::closedPort();
    while (downPort == m_ocspPort)
        downPort = LoopbackHttpServer::closedPort();
    const std::string config = test_support::readFile(m_ws.path("intermediate.cnf"));
    test_support::writeFile(m_ws.path("intermediate.cnf"),
                            config + extensionSections(m_ocspPort, m_crlServer.port(), downPort));
    for (const char* name : {"ocsp-good", "ocsp-revoked"})
        issue(name, "ocsp_aia");
    issueOutsideDatabase("ocsp-unknown", "ocsp_aia");
    issue("crl-revoked", "crl_cdp");
    issue("ocsp-down", "ocsp_down");
    issue("responder", "ocsp_responder");
    EXPECT_TRUE(m_ws.make("rogue", test_support::Workshop::Request(kIntermediateSubject)));
    m_ws.openssl("ca -batch -config intermediate.cnf -revoke ocsp-revoked.pem -crl_reason keyCompromise");
    m_ws.openssl("ca -batch -config intermediate.cnf -revoke crl-revoked.pem");
    m_ws.openssl("ca -batch -config intermediate.cnf -gencrl -crldays 1 -out " + crl().filename().string());
    m_responder = std::make_unique<test_support::OcspResponderProcess>(
        dir(), m_ocspPort,
        std::vector<std::string>{"-index", "intermediate.index", "-CA", "intermediate.pem", "-rsigner", "responder.pem",
                                 "-rkey", "responder.key", "-nmin", "10", "-ignore_err"});
    EXPECT_TRUE(m_responder->ready()) << "openssl ocsp did not start on port " << m_ocspPort;
}

void RevocationLab::copyCa() const {
    const auto& from = trust_test::TrustFixtures::shared().dir();
    for (const char* file : kCaFiles) {
        if (std::filesystem::exists(from / file))
            std::filesystem::copy_file(from / file, m_ws.path(file));
    }
    std::filesystem::copy_file(from / "root.pem", m_ws.path("root.pem"));
}

void RevocationLab::issue(const std::string& name, const std::string& extensions) const {
    EXPECT_TRUE(m_ws.request(name, kSubjectPrefix + name, kKey));
    m_ws.openssl("ca -batch -notext -config intermediate.cnf -days 30 -extensions " + extensions + " -in " + name +
                 ".csr -out " + name + ".pem");
}

void RevocationLab::issueOutsideDatabase(const std::string& name, const std::string& extensions) const {
    EXPECT_TRUE(m_ws.request(name, kSubjectPrefix + name, kKey));
    m_ws.openssl("x509 -req -in " + name +
                 ".csr -CA intermediate.pem -CAkey intermediate.key -set_serial 0x7777 "
                 "-days 30 -extfile intermediate.cnf -extensions " +
                 extensions + " -out " + name + ".pem");
}

std::string RevocationLab::response(const std::string& cert, const std::string& signer, const std::string& hash) const {
    const std::string out = cert + "-by-" + signer + "-" + hash + ".ocsp";
    m_ws.openssl("ocsp -index intermediate.index -CA intermediate.pem -rsigner " + signer + ".pem -rkey " + signer +
                 ".key -issuer intermediate.pem -" + hash + " -cert " + cert + ".pem -ndays 1 -noverify -respout " +
                 out);
    return test_support::readFile(m_ws.path(out));
}

} // namespace revocation_test
