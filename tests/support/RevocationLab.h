#pragma once

#include "support/Keys.h"
#include "support/LoopbackHttpServer.h"
#include "support/OcspResponderProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace revocation_test {

// End-entity certificates of the trust fixture's intermediate CA (its files copied into a directory of
// their own), each naming where its status is published:
//   ocsp-good, ocsp-revoked (keyCompromise), ocsp-unknown (not in the CA's database): AIA at responder()
//   crl-revoked: a CRL distribution point at crlServer(), no AIA
//   ocsp-down: AIA at a loopback port nothing listens on
//   responder: the intermediate's delegated OCSP responder (id-kp-OCSPSigning)
//   rogue: self-signed, with the intermediate's subject and a key of its own
// The responder is `openssl ocsp` signing as "responder", which the intermediate issued with
// id-kp-OCSPSigning; the CRL server serves the intermediate's CRL as PEM. Both run from construction to
// destruction.
class RevocationLab {
public:
    RevocationLab();

    const std::filesystem::path& dir() const { return m_ws.dir(); }
    std::filesystem::path pem(const std::string& name) const { return m_ws.pemPath(name); }
    std::filesystem::path crl() const { return m_ws.path("intermediate-now.crl"); }
    std::string responderUrl() const { return "http://127.0.0.1:" + std::to_string(m_ocspPort) + "/"; }
    const test_support::LoopbackHttpServer& crlServer() const { return m_crlServer; }
    const test_support::OcspResponderProcess& responder() const { return *m_responder; }

    // A DER OCSP response for `cert` made offline by `openssl ocsp -respout`, signed by `signer` (a
    // certificate of this lab with its key), its CertID hashed with `hash` ("sha1", "sha256").
    std::string response(const std::string& cert, const std::string& signer, const std::string& hash = "sha1") const;

private:
    void copyCa() const;
    void issue(const std::string& name, const std::string& extensions) const;
    void issueOutsideDatabase(const std::string& name, const std::string& extensions) const;

    test_support::Workshop m_ws;
    test_support::LoopbackHttpServer m_crlServer;
    int m_ocspPort = 0;
    std::unique_ptr<test_support::OcspResponderProcess> m_responder;
};

} // namespace revocation_test
