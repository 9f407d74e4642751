// The peers' rows that fail on certificate path validation give their
// expected outcome through the API's trust check: xmlsec's trusted
// certificates as anchors, its other certificates, CRLs and verification
// time as given; except the rows listed below.
#include "TestSupport.h"

#include "xmldsig/DocumentInfo.h"
#include "xmldsig/Verifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// Rows we knowingly decide otherwise, with the reason.
const std::map<std::string, const char*> kKnownDifferent = {
    {"xmlsec:aleksey-xmldsig-01/enveloping-sha256-rsa2048-retrieval-method-x509-data@cert-is-not-trusted-should-fail",
     "no trust anchor is given: trust is judged only against anchors"},
    {"xmlsec:aleksey-xmldsig-01/enveloping-sha256-rsa-sha256@missing-trusted-cert",
     "no trust anchor is given: trust is judged only against anchors"},
    {"xmlsec:aleksey-xmldsig-01/enveloped-sha1-rsa-sha1@key-cannot-be-verified",
     "a key the caller gives is trusted by the caller's word"},
    {"xmlsec:aleksey-xmldsig-01/enveloped-sha1-rsa-sha1@key-cannot-be-verified-cert-is-not-yet-valid",
     "a key the caller gives is trusted by the caller's word"},
};

// xmlsec writes its times "YYYY-MM-DD+HH:MM:SS", UTC.
std::string isoTime(std::string xmlsecTime) {
    std::replace(xmlsecTime.begin(), xmlsecTime.end(), '+', 'T');
    return xmlsecTime + "Z";
}

// The settings the row's xmlsec arguments stand for.
xmldsig::Settings settingsOf(const std::string& args, const fs::path& peers, const fs::path& document) {
    xmldsig::Settings settings;
    settings.addExternalRefDir(document.parent_path().string());
    std::map<std::string, std::string> urlData;
    const auto w = words(args);
    for (size_t i = 0; i + 1 < w.size(); ++i) {
        const std::string& opt = w[i];
        const std::string file = (peers / w[i + 1]).string();
        if (opt == "--trusted-der")
            EXPECT_TRUE(settings.addTrustAnchors(file).ok()) << file;
        else if (opt == "--untrusted-der")
            EXPECT_TRUE(settings.addCertificates(file).ok()) << file;
        else if (opt == "--crl-der")
            EXPECT_TRUE(settings.addCrls(file).ok()) << file;
        else if (opt.rfind("--pubkey-", 0) == 0)
            EXPECT_TRUE(settings.addKeyFile(file).ok()) << file;
        else if (opt == "--verification-gmt-time")
            EXPECT_TRUE(settings.setVerificationTime(isoTime(w[i + 1])).ok()) << w[i + 1];
        else if (opt.rfind("--url-map:", 0) == 0)
            urlData[opt.substr(10)] = corpusDataFile(file).string();
    }
    const xmldsig::DocumentInfo info = xmldsig::describeFile(document);
    for (const xmldsig::ReferenceInfo& ref :
         info.signatures.empty() ? std::vector<xmldsig::ReferenceInfo>{} : info.signatures[0].references)
        if (auto data = urlData.find(ref.uri.value_or("")); data != urlData.end())
            settings.setRefDataFile(ref.index, data->second);
    return settings;
}

TEST(PeerTrust, EveryTrustRowGivesItsExpectedOutcome) {
    const fs::path peers = corpusDir() / "peers";
    int rows = 0;
    std::string unexpected;
    for (const auto& row : manifestRows(peers / "MANIFEST.tsv")) {
        if (row.size() < 6 || row[1] != "dsig" || row[4] != "trust")
            continue;
        ++rows;
        const fs::path document = peers / row[2];
        const xmldsig::Result result = xmldsig::verifyFile(document, settingsOf(row[5], peers, document));
        const bool asExpected = result.valid() == (row[3] == "valid");
        const bool listed = kKnownDifferent.contains(row[0]);
        if (asExpected == listed)
            unexpected += row[0] + (listed ? ": listed but now as expected\n" : ": not as expected\n");
    }
    EXPECT_GT(rows, 10);
    EXPECT_EQ(unexpected, "");
}

} // namespace
