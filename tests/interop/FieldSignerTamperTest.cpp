// One valid real-signer document per family, the documents that only the
// further attempts for field signers verify, and those whose key is found by
// a reading of KeyInfo that real signers need (a SecurityTokenReference
// holding X509Data, given the certificate with --cert; a SAML
// X509Certificate that is the base64 of PEM text): each verifies, with the
// further attempt and key source the JSON report names, and a copy with one
// character of signed content, or one of SignedInfo, changed is INVALID.
#include "support/Signing.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

struct TamperRow {
    const char* file;
    const char* args; // key material and options, relative to the corpus
    const char* content;
    const char* changed;
    const char* attempt;   // the further attempt that verified it; null: the literal one
    const char* keySource; // where the key came from, when the row is about that
    // ZATCA signs the invoice hash, not SignedInfo's text: change a digest there.
    bool signedInfoByDigest = false;
};

constexpr const char* kSiiDte = "SII DTE as its own document";
constexpr const char* kSiiSignedInfo = "SignedInfo in the SII DTE's own context";
constexpr const char* kSignedDoc = "DigiDoc SignedDoc rules";
constexpr const char* kByIssuerSerial = "certificate store, by issuer and serial";
constexpr const char* kInKeyInfo = "certificate in KeyInfo";

const TamperRow kRows[] = {
    {"zatca/zatca-01.xml", "--options ZATCA", "<cbc:ID>SME00010<", "<cbc:ID>SME00011<", nullptr, nullptr, true},
    {"sunat/sunat-06.xml", "", "<cbc:ID>1001<", "<cbc:ID>1002<", nullptr, nullptr},
    {"ebics/ebics-01-hpb-ebicsNoPubKeyDigestsRequest.xml", "--key ebics/ebics-01-X002-user-auth.pub.pem",
     "<HostID>CRSISOTB<", "<HostID>CRSISOTC<", nullptr, nullptr},
    {"ebxml/ebxml-01-oppgjorsmelding-2023_08_29T12_56_58_328.xml",
     "--ref-data 1=ebxml/ebxml-01-attachment-cid-3CTGI8UKUKU4.ADHEUDMDCY3Q3.p7m", "nav:qass:35065", "nav:qass:35066",
     nullptr, nullptr},
    {"wss/cxf-signed_x509_direct_ref.xml", "", "<in0>A<", "<in0>B<", nullptr, nullptr},
    {"saml/rubysaml-inclusive_namespaces.xml", "", "admin@kluglabs.com", "admin@kluglabs.con", nullptr, nullptr},
    {"xades/xades4j-document.signed.bes.xml", "", "Questions, unanswered", "Questions, unanswerex", nullptr, nullptr},
    {"sii/sii-15-odoo-EnvioDTE-BASICO_762352915.xml", "", "<Folio>17<", "<Folio>18<", kSiiDte, nullptr},
    {"sii/sii-16-odoo-EnvioDTE-EXPORTACION1_762352915.xml", "", "<Folio>13<", "<Folio>14<", kSiiSignedInfo, nullptr},
    {"skxml/digidoc4j-SK-XML1.0.ddoc", "", "0M8R4KGxGuEAAAAA", "1M8R4KGxGuEAAAAA", kSignedDoc, nullptr},
    {"skxml/digidoc4j-SK-XML1.0.ddoc", "", "MimeType=\"application/msword\"", "MimeType=\"application/msworc\"",
     kSignedDoc, nullptr},
    {"skxml/digidoc4j-SK-XML1_0_hashcode.ddoc", "", "DigestValue=\"+YfzM3", "DigestValue=\"+YfzM4", kSignedDoc,
     nullptr},
    {"skxml/digidoc4j-ddoc_for_testing.ddoc", "", "<SigningTime>2014-09-05T13:08:07Z",
     "<SigningTime>2014-09-05T13:08:08Z", kSignedDoc, nullptr},
    {"wss/cxf-signed_x509_issuer_serial.xml", "--cert wss/cxf-myAlias.pem", ">A</in0>", ">B</in0>", nullptr,
     kByIssuerSerial},
    {"wss/springws-wss4j2-signed-soap.xml", "--cert wss/springws-rsakey.pem", ">Hello<", ">Hellp<", nullptr,
     kByIssuerSerial},
    {"wss/springws-wss4j-signed-soap-crlf.xml", "--cert wss/springws-rsakey.pem", ">Hello<", ">Hellp<", nullptr,
     kByIssuerSerial},
    {"saml/rubysaml-adfs_response_sha1.xml", "", "hello@example.com", "hellp@example.com", nullptr, kInKeyInfo},
    {"saml/rubysaml-adfs_response_sha512.xml", "", "hello@example.com", "hellp@example.com", nullptr, kInKeyInfo},
    {"saml/rubysaml-adfs_response_xmlns.xml", "", "hello@example.com", "hellp@example.com", nullptr, kInKeyInfo},
};

// One character of the first SignedInfo: whitespace between its elements
// where it has some (canonical SignedInfo keeps it, the references do not
// see it), else a character of its first DigestValue.
std::string signedInfoChanged(std::string doc, bool byDigest) {
    const size_t begin = doc.find('>', doc.find("SignedInfo")) + 1;
    const size_t end = doc.find("SignedInfo>", begin);
    bool inTag = false;
    for (size_t i = begin; !byDigest && i < end; ++i) {
        const char c = doc[i];
        inTag = c == '<' || (inTag && c != '>');
        if (!inTag && (c == ' ' || c == '\n' || c == '\r' || c == '\t')) {
            doc[i] = c == ' ' ? '\t' : ' ';
            return doc;
        }
    }
    const size_t digestAt = doc.find('>', doc.find("DigestValue", begin)) + 1;
    doc[digestAt + 4] = doc[digestAt + 4] == 'A' ? 'B' : 'A';
    return doc;
}

class FieldSignerTamper : public testing::TestWithParam<TamperRow> {};

TEST_P(FieldSignerTamper, VerifiesAndTamperedCopiesDoNot) {
    const TamperRow& row = GetParam();
    const fs::path real = corpusDir() / "real";
    const std::string doc = readFile(real / row.file);
    ASSERT_NE(doc.find(row.content), std::string::npos);

    TempDir tmp;
    // Key material and attachments are named relative to the corpus.
    const std::string cmd = "cd " + shellQuote(real.string()) + " && " + shellQuote(toolPath().string()) +
                            " verify --all --json " + row.args + " ";
    auto verify = [&](const std::string& text) {
        const fs::path file = tmp.path() / fs::path(row.file).filename();
        writeFile(file, text);
        return runProcess(cmd + shellQuote(file.string()));
    };
    const ProcessResult valid = verify(doc);
    ASSERT_EQ(valid.exitCode, 0) << valid.out << valid.err;
    std::vector<std::string> attempts, keySources;
    const nlohmann::json report = nlohmann::json::parse(valid.out);
    for (const auto& sig : report.at("files").at(0).at("signatures")) {
        for (const auto& attempt : sig.value("furtherAttempts", nlohmann::json::array()))
            attempts.push_back(attempt.at("attempt"));
        keySources.push_back(sig.at("signer").at("keySource"));
    }
    if (row.attempt) {
        EXPECT_NE(std::find(attempts.begin(), attempts.end(), row.attempt), attempts.end()) << valid.out;
    } else {
        EXPECT_TRUE(attempts.empty()) << valid.out;
    }
    if (row.keySource) {
        EXPECT_EQ(keySources, std::vector<std::string>(keySources.size(), row.keySource));
    }

    std::string contentChanged = doc;
    contentChanged.replace(contentChanged.find(row.content), std::string_view(row.content).size(), row.changed);
    EXPECT_EQ(verify(contentChanged).exitCode, 1) << "signed content changed";
    EXPECT_EQ(verify(signedInfoChanged(doc, row.signedInfoByDigest)).exitCode, 1) << "SignedInfo changed";
}

INSTANTIATE_TEST_SUITE_P(RealCorpus, FieldSignerTamper, testing::ValuesIn(kRows), [](const auto& info) {
    std::string name = fs::path(info.param.file).stem().string() + "_" + std::to_string(info.index);
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
});

} // namespace
