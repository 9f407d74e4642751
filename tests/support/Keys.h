#pragma once

// Keys and certificates made by the openssl command in a scratch directory,
// and openssl's own reading of them, which the tests take as the reference.
// Header-only, so that any test file can use it without a build change.

#include "TestSupport.h"
#include "companion/log/LogBase.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/pki/X509Certificate.h"
#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace test_support {

class Workshop {
public:
    // What to make: a subject in openssl's -subj form ("/C=EE/O=Bar/CN=Foo"),
    // self-signed with serial 1, an EC P-256 key and a subjectKeyIdentifier
    // unless told.
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
        // A key of a kind makeKey takes, or the key of an earlier certificate.
        Request& key(std::string kind) {
            m_key = std::move(kind);
            return *this;
        }
        Request& keyOf(std::string name) {
            m_keyOf = std::move(name);
            return *this;
        }
        // A section of the workshop's configuration: with_ski (the default),
        // without_ski, tsa (a time-stamping authority).
        Request& extensions(std::string section) {
            m_extensions = std::move(section);
            return *this;
        }

    private:
        friend class Workshop;
        std::string m_subject;
        std::string m_serial = "1";
        std::string m_issuer;
        std::string m_key = "ec:P-256";
        std::string m_keyOf;
        std::string m_extensions = "with_ski";
    };

    Workshop() { writeFile(dir() / "openssl.cnf", kConfig); }

    const std::filesystem::path& dir() const { return m_dir.path(); }
    std::filesystem::path path(const std::string& name) const { return dir() / name; }
    std::filesystem::path pemPath(const std::string& name) const { return dir() / (name + ".pem"); }
    std::filesystem::path derPath(const std::string& name) const { return dir() / (name + ".der"); }
    std::filesystem::path keyPath(const std::string& name) const { return dir() / (name + ".key"); }

    // Runs "openssl <args>" in the directory and returns its stdout; a test
    // failure that shows stderr when it exits non-zero.
    std::string openssl(const std::string& args) const { return runOpenssl(dir(), args).out; }
    bool run(const std::string& args) const { return runOpenssl(dir(), args).exitCode == 0; }

    // name.key (private), name.pub.pem and name.pub.der. The kind is "rsa"
    // (2048 bits), "rsa:BITS", "ec:CURVE", "dsa:BITS" (1024 with a 160-bit
    // q), or genpkey arguments starting with '-'.
    bool makeKey(const std::string& name, const std::string& kind) const {
        std::string gen = kind;
        if (kind == "rsa" || kind.starts_with("rsa:"))
            gen = "-algorithm RSA -pkeyopt rsa_keygen_bits:" + (kind == "rsa" ? "2048" : kind.substr(4));
        else if (kind.starts_with("ec:"))
            gen = "-algorithm EC -pkeyopt ec_paramgen_curve:" + kind.substr(3);
        else if (kind.starts_with("dsa:")) {
            const std::string bits = kind.substr(4);
            if (!run("genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:" + bits +
                     (bits == "1024" ? " -pkeyopt dsa_paramgen_q_bits:160" : " -pkeyopt dsa_paramgen_q_bits:256") +
                     " -out " + name + ".params"))
                return false;
            gen = "-paramfile " + name + ".params";
        }
        return run("genpkey " + gen + " -out " + name + ".key") &&
               run("pkey -in " + name + ".key -pubout -out " + name + ".pub.pem") &&
               run("pkey -in " + name + ".key -pubout -outform DER -out " + name + ".pub.der");
    }

    // name.key and the request name.csr, for an openssl ca of the caller's.
    bool request(const std::string& name, const std::string& subject, const std::string& keyKind) const {
        return makeKey(name, keyKind) && run("req -new -config openssl.cnf -key " + name + ".key -subj " +
                                             shellQuote(subject) + " -utf8 -out " + name + ".csr");
    }

    // name.key, name.pem and name.der; false (with a test failure that shows
    // openssl's stderr) when a command fails.
    bool make(const std::string& name, const Request& r) const {
        const std::string key = (r.m_keyOf.empty() ? name : r.m_keyOf) + ".key";
        if (r.m_keyOf.empty() && !makeKey(name, r.m_key))
            return false;
        const std::string extensions = " -extensions " + r.m_extensions;
        const std::string subj = " -subj " + shellQuote(r.m_subject) + " -utf8";
        const std::string serial = " -set_serial " + r.m_serial + " -days 30";
        if (r.m_issuer.empty()) {
            openssl("req -x509 -new -config openssl.cnf" + extensions + " -key " + key + subj + serial + " -out " +
                    name + ".pem");
        } else {
            openssl("req -new -config openssl.cnf -key " + key + subj + " -out " + name + ".csr");
            openssl("x509 -req -in " + name + ".csr -CA " + r.m_issuer + ".pem -CAkey " + r.m_issuer + ".key" + serial +
                    " -extfile openssl.cnf" + extensions + " -out " + name + ".pem");
        }
        openssl("x509 -in " + name + ".pem -outform DER -out " + name + ".der");
        return !::testing::Test::HasFailure();
    }

    void write(const std::string& name, std::string_view bytes) const { writeFile(path(name), std::string(bytes)); }
    DataBuffer read(const std::string& name) const { return bufferOf(readFile(path(name))); }
    DataBuffer der(const std::string& name) const { return read(name + ".der"); }
    // The certificate's DER, base64 on one line.
    std::string base64(const std::string& name) const { return base64Of(der(name).view()); }
    X509Certificate load(const std::string& name) const {
        LogBase log;
        X509Certificate cert;
        EXPECT_TRUE(cert.loadX509Der(der(name), log)) << log.renderText();
        return cert;
    }

    // openssl x509's serial of a certificate file (PEM or DER).
    std::string serial(const std::filesystem::path& cert) const {
        std::string out = openssl("x509 -noout -inform " + std::string(cert.extension() == ".pem" ? "PEM" : "DER") +
                                  " -in " + shellQuote(cert.string()) + " -serial");
        if (out.starts_with("serial="))
            out.erase(0, 7);
        while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
            out.pop_back();
        return out;
    }

private:
    // The extensions a test certificate may carry; req -x509 and x509 -req
    // both read them from here, so openssl's defaults do not add any.
    static constexpr const char* kConfig = "[req]\n"
                                           "distinguished_name = dn\n"
                                           "[dn]\n"
                                           "[with_ski]\n"
                                           "basicConstraints = CA:true\n"
                                           "subjectKeyIdentifier = hash\n"
                                           "[without_ski]\n"
                                           "basicConstraints = CA:true\n"
                                           "subjectKeyIdentifier = none\n"
                                           "authorityKeyIdentifier = none\n"
                                           "[tsa]\n"
                                           "basicConstraints = CA:FALSE\n"
                                           "keyUsage = critical,digitalSignature,nonRepudiation\n"
                                           "extendedKeyUsage = critical,timeStamping\n"
                                           "subjectKeyIdentifier = hash\n"
                                           "authorityKeyIdentifier = keyid\n";

    TempDir m_dir;
};

// The canonical DN key of a text, or "" when it has none.
inline std::string dnKey(const std::string& dn) {
    LogNull log;
    StringBuffer key;
    DistinguishedName::toTvCanonHashKey(StringBuffer(dn), key, log);
    return std::string(key.view());
}

} // namespace test_support
