#include "support/Keys.h"

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

namespace {

// The subject common names of the vault's certificates.
std::set<std::string> names(ClsXmlCertVault& vault) {
    std::set<std::string> out;
    CertMgr* mgr = vault.getCertMgr();
    for (int i = 0; mgr && i < mgr->getNumCerts(); ++i) {
        StringBuffer cn;
        EXPECT_TRUE(mgr->certAt(i)->get_SubjectCN(cn));
        out.insert(std::string(cn.view()));
    }
    return out;
}

// A vault gets its certificate manager with its first certificate; a
// folder adds the certificate files directly in it, and one without any
// fails.
TEST(ClsXmlCertVault, AddsTheCertificateFilesOfADirectory) {
    Workshop ws;
    for (const char* name : {"a", "b", "c"})
        ASSERT_TRUE(ws.make(name, Cert(std::string("/O=Vault/CN=Cert ") + name)));
    RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
    auto addDir = [&](const std::filesystem::path& p) {
        XString text(p.string());
        return vault->AddCertDir(text);
    };
    XString missing((ws.dir() / "missing.pem").string());
    EXPECT_FALSE(vault->AddCertFile(missing));
    EXPECT_EQ(vault->getCertMgr(), nullptr);
    EXPECT_NE(vault->lastErrorText().find("Failed to open the file."), std::string::npos);

    const std::filesystem::path dir = ws.dir() / "certs";
    std::filesystem::create_directories(dir / "sub");
    std::filesystem::copy_file(ws.pemPath("a"), dir / "a.crt");
    std::filesystem::copy_file(ws.derPath("b"), dir / "b.cer");
    std::filesystem::copy_file(ws.dir() / "c.key", dir / "c.key");
    std::filesystem::copy_file(ws.pemPath("c"), dir / "sub" / "c.pem");
    test_support::writeFile(dir / "notes.txt", "not a certificate");
    ASSERT_TRUE(addDir(dir));
    EXPECT_EQ(names(*vault), (std::set<std::string>{"Cert a", "Cert b"}));

    EXPECT_FALSE(addDir(dir / "sub" / "missing"));
    std::filesystem::create_directories(ws.dir() / "empty");
    EXPECT_FALSE(addDir(ws.dir() / "empty"));
}

} // namespace
