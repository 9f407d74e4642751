#pragma once

#include "TestSupport.h"
#include "companion/base/ClsBinData.h"
#include "companion/crypto/ClsPublicKey.h"
#include "companion/crypto/Digest.h"
#include "verifier/ClsXmlDSig.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

inline constexpr std::string_view kDsigNs = "http://www.w3.org/2000/09/xmldsig#";
inline constexpr std::string_view kEnveloped = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
inline constexpr std::string_view kC14n = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
inline constexpr std::string_view kExcC14n = "http://www.w3.org/2001/10/xml-exc-c14n#";
inline constexpr std::string_view kSha256 = "http://www.w3.org/2001/04/xmlenc#sha256";
inline constexpr std::string_view kRsaSha256 = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
inline constexpr std::string_view kHmacSha256 = "http://www.w3.org/2001/04/xmldsig-more#hmac-sha256";
inline constexpr std::string_view kXPath = "http://www.w3.org/TR/1999/REC-xpath-19991116";
inline constexpr std::string_view kFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";

inline bool loadXml(ClsXmlDSig& dsig, const std::string& xml) {
    XString text(xml);
    return dsig.LoadSignature(text);
}

// The reference indexes the last VerifySignature found failing, in order.
inline std::vector<int> failedIndexes(const ClsXmlDSig& dsig) {
    std::vector<int> out;
    for (const VerificationReport::FailedReference& f : dsig.report().failedReferences)
        out.push_back(f.index);
    return out;
}

// Whether the last VerifySignature used that further attempt for that
// reference (AttemptUsed::kSignatureValue: for the value).
inline bool usedAttempt(const ClsXmlDSig& dsig, FurtherAttempt attempt, int reference) {
    for (const AttemptUsed& a : dsig.report().attempts)
        if (a.attempt == attempt && a.reference == reference)
            return true;
    return false;
}

// The HMAC secret for a loaded verifier.
inline void useHmacSecret(ClsXmlDSig& dsig, const std::string& secret) {
    XString key(secret), encoding("ascii");
    EXPECT_TRUE(dsig.SetHmacKey(key, encoding));
}

inline bool usePublicKeyFile(ClsXmlDSig& dsig, const std::string& path) {
    RefPtr<ClsPublicKey> key(ClsPublicKey::createNewCls());
    XString p(path);
    return key->LoadFromFile(p) && dsig.SetPublicKey(*key);
}

inline void setBytes(ClsXmlDSig& dsig, int index, const std::string& bytes, bool expectOk = true) {
    ClsBinData bd;
    bd.m_data.append(bytes);
    EXPECT_EQ(dsig.SetRefDataBd(index, bd), expectOk);
}

// Replaces the first occurrence of `from` (which must occur) after `pos`.
inline std::string replaced(std::string s, std::string_view from, std::string_view to, size_t pos = 0) {
    const size_t at = s.find(from, pos);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos)
        s.replace(at, from.size(), to);
    return s;
}

// SHA-256 of the bytes, base64 or lower-case hex.
inline std::string sha256Of(const std::string& bytes, const char* encoding = "base64") {
    DataBuffer digest;
    Digest::doHash(bytes.data(), bytes.size(), 7, digest);
    StringBuffer out;
    digest.encodeDB(encoding, out);
    return std::string(out.view());
}

// A Reference with a SHA-256 DigestMethod and the given transform algorithms
// (an entry starting with '<' is a whole Transform element).
inline std::string referenceXml(const std::string& uri, const std::string& digest,
                                const std::vector<std::string>& transforms = {}) {
    std::string r = "<Reference URI=\"" + uri + "\">";
    if (!transforms.empty()) {
        r += "<Transforms>";
        for (const std::string& t : transforms)
            r += t.front() == '<' ? t : "<Transform Algorithm=\"" + t + "\"></Transform>";
        r += "</Transforms>";
    }
    return r + "<DigestMethod Algorithm=\"" + std::string(kSha256) + "\"></DigestMethod><DigestValue>" + digest +
           "</DigestValue></Reference>";
}

// An XPath transform, and an XPath Filter 2.0 transform of one step; the
// declarations (" xmlns:p=...") go on the XPath element.
inline std::string xpathTransform(const std::string& expression, const std::string& declarations = "") {
    return "<Transform Algorithm=\"" + std::string(kXPath) + "\"><XPath" + declarations + ">" + expression +
           "</XPath></Transform>";
}
inline std::string filter2Transform(const std::string& filter, const std::string& expression,
                                    const std::string& declarations = "") {
    return "<Transform Algorithm=\"" + std::string(kFilter2) + "\"><XPath xmlns=\"" + std::string(kFilter2) + "\"" +
           declarations + " Filter=\"" + filter + "\">" + expression + "</XPath></Transform>";
}

// A document <doc>content Signature</doc> whose Signature (no Id, default
// XML-DSig namespace, placeholder value) carries the given references.
inline std::string documentWithReferences(const std::string& content, const std::string& references) {
    return "<doc>" + content + "<Signature xmlns=\"" + std::string(kDsigNs) +
           "\"><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(kC14n) +
           "\"></CanonicalizationMethod><SignatureMethod Algorithm=\"" + std::string(kRsaSha256) +
           "\"></SignatureMethod>" + references +
           "</SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></doc>";
}

// Signs template.xml in `dir` with xmlsec1 (run from `dir`, so relative
// URIs resolve there) and returns the signed text, or "" on failure.
inline std::string xmlsecSign(const std::filesystem::path& dir, const std::string& tmpl, const std::string& args,
                              std::string* diagnostics = nullptr) {
    writeFile(dir / "template.xml", tmpl);
    const ProcessResult r = runProcess("(cd " + shellQuote(dir.string()) + " && xmlsec1 --sign " + args +
                                       " --output signed.xml template.xml)");
    if (diagnostics)
        *diagnostics = r.out + r.err;
    return r.exitCode == 0 ? readFile(dir / "signed.xml") : std::string();
}

// Signs with a private key and its certificate (PEM files) in a scratch
// folder; "" with a test failure when xmlsec1 fails.
inline std::string xmlsecSignWithKey(const std::filesystem::path& key, const std::filesystem::path& cert,
                                     const std::string& tmpl, const std::string& args = "") {
    const TempDir dir;
    std::string diagnostics;
    const std::string doc = xmlsecSign(
        dir.path(), tmpl, "--privkey-pem " + shellQuote(key.string() + "," + cert.string()) + " " + args, &diagnostics);
    EXPECT_FALSE(doc.empty()) << diagnostics;
    return doc;
}

// A <doc> holding `content` and an HMAC-SHA256 Signature template (its
// attributes, canonicalization method and references given), for xmlsec1.
inline std::string hmacTemplate(const std::string& content, const std::string& references,
                                const std::string& signatureAttributes = "", std::string_view c14n = kC14n) {
    return "<doc>" + content + "<Signature xmlns=\"" + std::string(kDsigNs) + "\"" + signatureAttributes +
           "><SignedInfo><CanonicalizationMethod Algorithm=\"" + std::string(c14n) +
           "\"/><SignatureMethod Algorithm=\"" + std::string(kHmacSha256) + "\"/>" + references +
           "</SignedInfo><SignatureValue/></Signature></doc>";
}

// A scratch folder where xmlsec1 signs with an HMAC secret, and verifiers of
// what it signed: the secret set, the folder listed for external data.
class HmacSigning {
public:
    explicit HmacSigning(std::string secret = "secret") : m_secret(std::move(secret)) {
        writeFile(dir.path() / "hmac.key", m_secret);
    }
    // The signed text ("" with a test failure when xmlsec1 fails).
    std::string sign(const std::string& tmpl, const std::string& args = "", std::string* diagnostics = nullptr) const {
        std::string out;
        const std::string doc = xmlsecSign(dir.path(), tmpl, "--hmackey hmac.key " + args, &out);
        EXPECT_FALSE(doc.empty()) << out;
        if (diagnostics)
            *diagnostics = out;
        return doc;
    }
    std::unique_ptr<ClsXmlDSig> verifier(const std::string& doc, bool withDirs = true) const {
        auto dsig = std::make_unique<ClsXmlDSig>();
        EXPECT_TRUE(loadXml(*dsig, doc));
        XString key(m_secret), encoding("ascii"), dirs(withDirs ? dir.path().string() : "");
        dsig->SetHmacKey(key, encoding);
        dsig->put_ExternalRefDirs(dirs);
        return dsig;
    }

    TempDir dir;

private:
    std::string m_secret;
};

// The canonical SignedInfo that xmlsec1 --store-signatures printed.
inline std::string preSignedData(const std::string& diagnostics) {
    const std::string begin = "== PreSigned data - start buffer:\n";
    const size_t a = diagnostics.find(begin);
    const size_t b = diagnostics.find("\n== PreSigned data - end buffer");
    EXPECT_TRUE(a != std::string::npos && b != std::string::npos) << diagnostics;
    return a == std::string::npos || b == std::string::npos
               ? std::string()
               : diagnostics.substr(a + begin.size(), b - a - begin.size());
}

// The document with the first SignatureValue's content replaced.
inline std::string withSignatureValue(std::string doc, const std::string& value) {
    const size_t v = doc.find("<SignatureValue>") + 16;
    return doc.replace(v, doc.find("</SignatureValue>") - v, value);
}

} // namespace test_support
