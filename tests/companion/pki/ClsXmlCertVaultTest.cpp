#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/ClsXmlCertVault.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/text/XString.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

using test_support::Workshop;
using Cert = test_support::Workshop::Request;
using test_support::writeFile;

namespace {

class ClsXmlCertVaultTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"a", "b", "c"})
            ASSERT_TRUE(m_ws.make(name, Cert(std::string("/O=Vault/CN=Cert ") + name)));
    }

    bool addFile(const std::filesystem::path& path) {
        XString p(path.string());
        return m_vault->AddCertFile(p);
    }

    bool addDir(const std::filesystem::path& path) {
        XString p(path.string());
        return m_vault->AddCertDir(p);
    }

    // The subject common names of the vault's certificates.
    std::set<std::string> names() {
        std::set<std::string> out;
        CertMgr* mgr = m_vault->getCertMgr();
        for (int i = 0; mgr && i < mgr->getNumCerts(); ++i) {
            StringBuffer cn;
            EXPECT_TRUE(mgr->certAt(i)->get_SubjectCN(cn));
            out.insert(std::string(cn.view()));
        }
        return out;
    }

    Workshop m_ws;
    RefPtr<ClsXmlCertVault> m_vault{ClsXmlCertVault::createNewCls()};
};

TEST_F(ClsXmlCertVaultTest, EmptyVaultHasNoCertificateManager) {
    EXPECT_EQ(m_vault->getCertMgr(), nullptr);
    EXPECT_EQ(m_vault->get_NumCerts(), 0);
    EXPECT_FALSE(addFile(m_ws.dir() / "missing.pem"));
    EXPECT_EQ(m_vault->getCertMgr(), nullptr);
    EXPECT_NE(m_vault->lastErrorText().find("Failed to open the file."), std::string::npos);
}

TEST_F(ClsXmlCertVaultTest, AddsTheCertificateFilesOfADirectory) {
    const std::filesystem::path dir = m_ws.dir() / "certs";
    std::filesystem::create_directories(dir / "sub");
    std::filesystem::copy_file(m_ws.pemPath("a"), dir / "a.crt");
    std::filesystem::copy_file(m_ws.derPath("b"), dir / "b.cer");
    std::filesystem::copy_file(m_ws.dir() / "c.key", dir / "c.key");
    std::filesystem::copy_file(m_ws.pemPath("c"), dir / "sub" / "c.pem");
    writeFile(dir / "notes.txt", "not a certificate");
    ASSERT_TRUE(addDir(dir));
    EXPECT_EQ(names(), (std::set<std::string>{"Cert a", "Cert b"}));

    EXPECT_FALSE(addDir(dir / "sub" / "missing"));
    std::filesystem::create_directories(m_ws.dir() / "empty");
    EXPECT_FALSE(addDir(m_ws.dir() / "empty"));
}

} // namespace
