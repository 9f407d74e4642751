// Every dsig row of the peers' manifest gives its expected outcome with the
// key material the row names, except the rows listed below.
#include "companion/pki/ClsXmlCertVault.h"
#include "support/Signing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>

namespace {

using namespace test_support;
namespace fs = std::filesystem;

// Rows we knowingly decide otherwise, with the reason, by peer directory
// (row id "xmlsec:<directory>/<name>"). Each must still end cleanly, and must
// still differ from the manifest (so the list stays true).
struct KnownDifferent {
    const char* reason;
    std::vector<std::pair<std::string, std::vector<std::string>>> rowsByDirectory;
};
const std::vector<KnownDifferent> kKnownDifferent = {
    {"ML-DSA and SLH-DSA are not in OpenSSL 3.0: refused as unsupported signature methods",
     {{"aleksey-xmldsig-01",
       {"enveloped-sha512-mldsa44", "enveloped-sha512-mldsa44-with-context-string", "enveloped-sha512-mldsa65",
        "enveloped-sha512-mldsa65-with-context-string", "enveloped-sha512-mldsa87",
        "enveloped-sha512-mldsa87-with-context-string", "enveloped-sha512-slhdsa-sha2-128f",
        "enveloped-sha512-slhdsa-sha2-128f-with-context-string", "enveloped-sha512-slhdsa-sha2-128s",
        "enveloped-sha512-slhdsa-sha2-128s-with-context-string", "enveloped-sha512-slhdsa-sha2-192f",
        "enveloped-sha512-slhdsa-sha2-192f-with-context-string", "enveloped-sha512-slhdsa-sha2-192s",
        "enveloped-sha512-slhdsa-sha2-192s-with-context-string", "enveloped-sha512-slhdsa-sha2-256f",
        "enveloped-sha512-slhdsa-sha2-256f-with-context-string", "enveloped-sha512-slhdsa-sha2-256s",
        "enveloped-sha512-slhdsa-sha2-256s-with-context-string"}}}},
    {"XSLT transforms are not applied, nor the XPath transforms of external references",
     {{"phaos-xmldsig-three", {"signature-big"}}, {"merlin-xmldsig-twenty-three", {"signature"}}}},
    {"an HMACOutputLength below 80 bits or below half the hash output is refused (CVE-2009-0217), though the "
     "source accepts these",
     {{"aleksey-xmldsig-01",
       {"enveloping-sha224-hmac-sha224-64", "enveloping-sha256-hmac-sha256-64", "enveloping-sha384-hmac-sha384-64",
        "enveloping-sha512-hmac-sha512-64"}},
      {"xmldsig11-interop-2012", {"signature-enveloping-hmac-sha1-truncated40"}}}},
    {"GOST methods and digests are not in the mappings",
     {{"aleksey-xmldsig-01", {"enveloped-gost2001", "enveloped-gost2012-256", "enveloped-gost2012-512"}}}},
    {"an external reference's XSLT transform is not run", {{"xmldsig2ed-tests", {"defCan-2"}}}},
    {"xmlsec 1.3.13 signed a foreign element named Relationship as one of the relationships namespace (its prefix "
     "and namespace dropped): a look-alike of a selected relationship would then verify in its place, and "
     "ECMA-376 leaves such content out (ignorable) or refuses it; later xmlsec leaves it out too",
     {{"aleksey-xmldsig-01", {"enveloping-sha256-rsa-sha256-relationship-foreign"}}}},
};

std::string knownReason(const std::string& id) {
    for (const KnownDifferent& known : kKnownDifferent)
        for (const auto& [directory, names] : known.rowsByDirectory)
            for (const std::string& name : names)
                if (id == "xmlsec:" + directory + "/" + name)
                    return known.reason;
    return {};
}

// Applies the xmlsec driver arguments that carry key material or data.
void applyArgs(ClsXmlDSig& dsig, const std::string& args, const fs::path& peers) {
    RefPtr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
    bool haveVault = false;
    const auto w = words(args);
    for (size_t i = 0; i + 1 < w.size(); ++i) {
        const std::string& opt = w[i];
        const std::string file = (peers / w[i + 1]).string();
        if (opt.rfind("--pubkey-", 0) == 0) {
            usePublicKeyFile(dsig, file); // keys of unsupported types are refused here
        } else if (opt == "--hmackey") {
            std::string hex;
            for (unsigned char c : readFile(file))
                hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
            XString key(hex), encoding("hex");
            EXPECT_TRUE(dsig.SetHmacKey(key, encoding));
        } else if (opt == "--trusted-der" || opt == "--untrusted-der") {
            XString path(file);
            EXPECT_TRUE(vault->AddCertFile(path)) << file;
            haveVault = true;
        } else if (opt.rfind("--url-map:", 0) == 0) {
            // The mapped URL's data is given to the reference that names it.
            const std::string url = opt.substr(10);
            for (int r = 0; r < dsig.get_NumReferences(); ++r) {
                XString uri;
                if (dsig.ReferenceUri(r, uri) && std::string(uri.view()) == url) {
                    XString path(corpusDataFile(file).string());
                    dsig.SetRefDataFile(r, path);
                }
            }
        }
    }
    if (haveVault)
        dsig.UseCertVault(*vault);
}

// What a verifier that checks signature bytes but no certificate paths or
// key-usage policy must say: rows whose failure the manifest grounds in
// trust or in a verifier policy verify here. The 40-bit HMAC kept invalid by
// policy stays invalid: a MAC truncated that far is never accepted here.
bool expectedVerdict(const std::vector<std::string>& row) {
    const std::string& expected = row[3];
    const std::string& basis = row[4];
    if (expected == "invalid" && (basis == "trust" || basis == "policy") &&
        row[0].find("hmac-sha1-40") == std::string::npos)
        return true;
    return expected == "valid";
}

TEST(PeerManifest, EveryDsigRowGivesItsExpectedOutcome) {
    const fs::path peers = corpusDir() / "peers";
    int rows = 0, asExpected = 0;
    std::vector<std::string> unexpected;
    for (const auto& row : manifestRows(peers / "MANIFEST.tsv")) {
        if (row.size() < 6 || row[1] != "dsig")
            continue;
        ++rows;
        const fs::path file = peers / row[2];
        ClsXmlDSig dsig;
        ClsBinData bytes;
        XString path(file.string());
        bool verdict = false;
        if (bytes.LoadFile(path) && dsig.LoadSignatureBd(bytes)) {
            // Beside the document's folder, the one holding what the peer's
            // driver reads from elsewhere, under the paths documents name.
            XString dirs(file.parent_path().string() + ";" + (peers / "xmlsec" / "external-data").string());
            dsig.put_ExternalRefDirs(dirs);
            applyArgs(dsig, row[5], peers);
            verdict = dsig.VerifySignature(true);
        }
        const bool expected = expectedVerdict(row);
        const bool listed = !knownReason(row[0]).empty();
        if (verdict == expected)
            ++asExpected;
        if ((verdict == expected) == listed)
            unexpected.push_back(row[0] + (listed ? ": listed but now as expected" : ": expected ") +
                                 (listed ? "" : (expected ? "valid" : "invalid")) + "\n" +
                                 (verdict ? "" : dsig.lastErrorText().substr(0, 3000)));
    }
    std::cout << "peer manifest: " << asExpected << " of " << rows << " dsig rows as expected\n";
    EXPECT_GT(rows, 200);
    EXPECT_TRUE(unexpected.empty()) << unexpected.size() << " rows:\n"
                                    << [&] {
                                           std::string all;
                                           for (const auto& u : unexpected)
                                               all += u + "\n";
                                           return all;
                                       }();
}

} // namespace
