#pragma once

#include "TestSupport.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/DataBuffer.h"

#include <filesystem>
#include <string>

namespace pki_test {

// Certificates made by the openssl command in a scratch directory, and
// openssl's own reading of them, which the tests take as the reference.
class CertWorkshop {
public:
    // What to make: a subject in openssl's -subj form ("/C=EE/O=Bar/CN=Foo"),
    // self-signed with serial 1 and a subjectKeyIdentifier unless told.
    class Request {
    public:
        explicit Request(std::string subject) : m_subject(std::move(subject)) {}
        // Decimal, or hex with a 0x prefix.
        Request& serial(std::string serial) {
            m_serial = std::move(serial);
            return *this;
        }
        // Signed by an earlier certificate of the workshop.
        Request& issuer(std::string name) {
            m_issuer = std::move(name);
            return *this;
        }
        Request& withoutSubjectKeyId() {
            m_subjectKeyId = false;
            return *this;
        }

    private:
        friend class CertWorkshop;
        std::string m_subject;
        std::string m_serial = "1";
        std::string m_issuer;
        bool m_subjectKeyId = true;
    };

    CertWorkshop();
    const std::filesystem::path& dir() const { return m_dir.path(); }
    std::filesystem::path pemPath(const std::string& name) const { return dir() / (name + ".pem"); }
    std::filesystem::path derPath(const std::string& name) const { return dir() / (name + ".der"); }

    // Makes name.key, name.pem and name.der; false (with a test failure
    // that shows openssl's stderr) when a command fails.
    bool make(const std::string& name, const Request& request);
    // Runs "openssl <args>" in the directory and returns its stdout.
    std::string openssl(const std::string& args) const;

    DataBuffer der(const std::string& name) const;
    X509Certificate load(const std::string& name) const;

    // openssl x509's view of a certificate file (PEM or DER).
    std::string serial(const std::filesystem::path& cert) const;

private:
    std::string field(const std::filesystem::path& cert, const std::string& option, const std::string& prefix) const;

    test_support::TempDir m_dir;
};

// The canonical DN key of a text, or "" when it has none.
std::string dnKey(const std::string& dn);

} // namespace pki_test
