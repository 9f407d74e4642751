#include "support/Keys.h"

#include "companion/log/LogBase.h"
#include "companion/pki/Asn1XmlCodec.h"
#include "companion/pki/CertFileReader.h"
#include "companion/pki/CertificateSummary.h"
#include "companion/pki/DistinguishedName.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using test_support::dnKey;
using test_support::Workshop;

namespace {

std::vector<std::filesystem::path> corpusCertificateFiles() {
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::exists(test_support::corpusDir()))
        return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(test_support::corpusDir())) {
        const std::string ext = entry.path().extension().string();
        if (entry.is_regular_file() && (ext == ".pem" || ext == ".der" || ext == ".crt"))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

struct OpensslView {
    std::string serial;
    std::string issuer;
    std::string subject;
    std::string fingerprint;
    std::string notBefore;
    std::string notAfter;
};

// openssl x509's reading of the file in the format its name suggests (a
// .crt may be either); nullopt when openssl does not read it.
std::optional<OpensslView> opensslView(const std::filesystem::path& file) {
    const std::vector<std::string> formats = file.extension() == ".pem"   ? std::vector<std::string>{"PEM"}
                                             : file.extension() == ".der" ? std::vector<std::string>{"DER"}
                                                                          : std::vector<std::string>{"PEM", "DER"};
    for (const std::string& format : formats) {
        const auto r = test_support::runProcess("openssl x509 -noout -inform " + format + " -in " +
                                                test_support::shellQuote(file.string()) +
                                                " -serial -issuer -subject -nameopt RFC2253,-esc_msb"
                                                " -fingerprint -sha256 -startdate -enddate -dateopt iso_8601");
        if (r.exitCode != 0)
            continue;
        OpensslView view;
        std::istringstream lines(r.out);
        for (std::string line; std::getline(lines, line);) {
            for (auto [prefix, field] :
                 {std::pair{"serial=", &view.serial}, std::pair{"issuer=", &view.issuer},
                  std::pair{"subject=", &view.subject}, std::pair{"sha256 Fingerprint=", &view.fingerprint},
                  std::pair{"notBefore=", &view.notBefore}, std::pair{"notAfter=", &view.notAfter}}) {
                if (line.starts_with(prefix))
                    *field = line.substr(std::string_view(prefix).size());
            }
        }
        // iso_8601 prints "2024-05-01 12:00:00Z".
        for (std::string* date : {&view.notBefore, &view.notAfter})
            std::replace(date->begin(), date->end(), ' ', 'T');
        return view;
    }
    return std::nullopt;
}

// Our reading of every corpus certificate, and its summary, must agree with
// openssl's, and the ASN.1 codec must give its bytes back.
TEST(CorpusCertificates, AgreeWithOpenssl) {
    const std::vector<std::filesystem::path> files = corpusCertificateFiles();
    if (files.empty())
        GTEST_SKIP() << "no corpus at " << test_support::corpusDir();
    int checked = 0;
    for (const std::filesystem::path& file : files) {
        const std::optional<OpensslView> expected = opensslView(file);
        if (!expected)
            continue;
        SCOPED_TRACE(file.string());
        LogBase log;
        std::vector<TavixX509> certs;
        ASSERT_TRUE(CertFileReader::readFile(file, certs, log)) << log.renderText();
        const TavixX509& cert = certs.front();

        StringBuffer ours;
        ASSERT_TRUE(cert.get_SerialNumber(ours));
        EXPECT_EQ(ours.view(), expected->serial);

        StringBuffer expectedCn;
        const bool hasCn = DistinguishedName::getDnPart(StringBuffer(expected->issuer), "CN", expectedCn, log);
        EXPECT_EQ(cert.get_IssuerCN(ours), hasCn);
        EXPECT_EQ(ours.view(), expectedCn.view());

        ASSERT_TRUE(cert.getDN(true, true, ours, log, 0));
        EXPECT_EQ(dnKey(std::string(ours.view())), dnKey(expected->subject));

        const CertificateSummary summary = summarizeCertificate(cert.x509());
        EXPECT_EQ(dnKey(summary.subject), dnKey(expected->subject));
        EXPECT_EQ(dnKey(summary.issuer), dnKey(expected->issuer));
        EXPECT_EQ(summary.serialNumber, expected->serial);
        EXPECT_EQ(summary.sha256Fingerprint, expected->fingerprint);
        EXPECT_EQ(summary.notBefore, expected->notBefore);
        EXPECT_EQ(summary.notAfter, expected->notAfter);

        DataBuffer der;
        ASSERT_TRUE(cert.getCertDer(der));
        StringBuffer xml;
        ASSERT_TRUE(Asn1XmlCodec::derToXml(der, false, true, xml, nullptr, log)) << log.renderText();
        const RefPtr<ClsXml> root(ClsXml::createNewCls());
        ASSERT_TRUE(root->loadXml(xml, false, log));
        DataBuffer back;
        ASSERT_TRUE(Asn1XmlCodec::xmlToDer(*root, back, log));
        EXPECT_TRUE(back.equals(der));
        ++checked;
    }
    EXPECT_GT(checked, 0);
    std::cout << "[ corpus   ] " << checked << " certificate files checked\n";
}

} // namespace
