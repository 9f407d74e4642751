// A signature over an OPC relationships part through the relationship
// transform, made at test time by an independent signer (lxml, Python's
// hmac), verifies with the part as external data: the relationships it
// selects by Id and by Type are signed, in Id order, and the rest is not.
// A signature old xmlsec made verifies through its own output of the part,
// and only where that output still tells the selected relationships apart.
#include "support/Signing.h"

#include <gtest/gtest.h>

namespace {

using namespace test_support;

constexpr const char* kSecret = "opc secret";

// Writes signature.xml over part.rels, selecting rId1 by Id and the
// "urn:t/extended" relationships by Type.
constexpr const char* kSigner = R"(
import base64, hashlib, hmac, sys
from lxml import etree

folder, secret = sys.argv[1], sys.argv[2].encode()
RELS = "http://schemas.openxmlformats.org/package/2006/relationships"
part = etree.parse(folder + "/part.rels").getroot()
chosen = [r for r in part if r.tag == "{%s}Relationship" % RELS
          and (r.get("Id") == "rId1" or r.get("Type") == "urn:t/extended")]
out = etree.Element("{%s}Relationships" % RELS, nsmap={None: RELS})
for r in sorted(chosen, key=lambda r: r.get("Id")):
    e = etree.SubElement(out, "{%s}Relationship" % RELS)
    for name in ("Id", "Type", "Target"):
        e.set(name, r.get(name))
    e.set("TargetMode", r.get("TargetMode", "Internal"))
digest = base64.b64encode(hashlib.sha256(etree.tostring(out, method="c14n")).digest()).decode()
ns = ' xmlns="http://www.w3.org/2000/09/xmldsig#"'
mdssi = ' xmlns:mdssi="http://schemas.openxmlformats.org/package/2006/digital-signature"'
signed_info = ('<SignedInfo%s><CanonicalizationMethod Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315">'
    '</CanonicalizationMethod><SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#hmac-sha256">'
    '</SignatureMethod><Reference URI="part.rels"><Transforms><Transform '
    'Algorithm="http://schemas.openxmlformats.org/package/2006/RelationshipTransform">'
    '<mdssi:RelationshipReference%s SourceId="rId1"></mdssi:RelationshipReference>'
    '<mdssi:RelationshipsGroupReference%s SourceType="urn:t/extended"></mdssi:RelationshipsGroupReference>'
    '</Transform><Transform Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315"></Transform></Transforms>'
    '<DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"></DigestMethod><DigestValue>%s</DigestValue>'
    '</Reference></SignedInfo>') % (ns, mdssi, mdssi, digest)
value = base64.b64encode(hmac.new(secret, signed_info.encode(), hashlib.sha256).digest()).decode()
with open(folder + "/signature.xml", "w") as f:
    f.write('<Signature%s>%s<SignatureValue>%s</SignatureValue></Signature>'
            % (ns, signed_info.replace(ns, "", 1), value))
)";

constexpr const char* kStart = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                               "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
constexpr const char* kApp = "\n  <Relationship Id=\"rId3\" Type=\"urn:t/extended\" Target=\"docProps/app.xml\"/>";
constexpr const char* kCore = "\n  <Relationship Id=\"rId2\" Type=\"urn:t/core\" Target=\"docProps/core.xml\"/>";
constexpr const char* kDoc =
    "\n  <Relationship Id=\"rId1\" Type=\"urn:t/doc\" Target=\"word/a&amp;b.xml\" TargetMode=\"External\"/>";
constexpr const char* kEnd = "\n</Relationships>\n";
const std::string kPart = std::string(kStart) + kApp + kCore + kDoc + kEnd;

TEST(RelationshipTransform, SelectedRelationshipsAreSignedInIdOrder) {
    TempDir dir;
    writeFile(dir.path() / "sign.py", kSigner);
    writeFile(dir.path() / "part.rels", kPart);
    const ProcessResult r = runProcess("/usr/bin/python3 " + shellQuote((dir.path() / "sign.py").string()) + " " +
                                       shellQuote(dir.path().string()) + " " + shellQuote(kSecret));
    ASSERT_EQ(r.exitCode, 0) << r.out << r.err;
    const std::string signature = readFile(dir.path() / "signature.xml");

    const std::pair<std::string, bool> parts[] = {
        {kPart, true},
        {replaced(kPart, "docProps/core.xml", "docProps/other.xml"), true}, // not selected
        {replaced(kPart, "\n  ", "\n\n    "), true},                        // whitespace
        {std::string(kStart) + kDoc + kCore + kApp + kEnd, true},           // order
        {replaced(kPart, "word/a&amp;b.xml", "word/a&amp;c.xml"), false},
        {replaced(kPart, "docProps/app.xml", "docProps/App.xml"), false}, // selected by Type
        {replaced(kPart, " TargetMode=\"External\"", ""), false},
        {replaced(kPart, "Type=\"urn:t/core\"", "Type=\"urn:t/extended\""), false},
    };
    for (const auto& [part, valid] : parts) {
        SCOPED_TRACE(part);
        writeFile(dir.path() / "part.rels", part);
        auto dsig = std::make_unique<ClsXmlDSig>();
        ASSERT_TRUE(loadXml(*dsig, signature));
        useHmacSecret(*dsig, kSecret);
        XString dirs(dir.path().string());
        dsig->put_ExternalRefDirs(dirs);
        EXPECT_EQ(dsig->VerifySignature(true), valid) << dsig->report().reason;
    }
}

// xmlsec 1.2 wrote the part's whitespace as <text> elements; its signature
// verifies by that further attempt, and not once a selected relationship
// changes, or is replaced by a foreign look-alike (or an attribute by a
// prefixed one) that old xmlsec would have written alike.
TEST(RelationshipTransform, OldXmlsecOutputCoversTheSelectedRelationships) {
    const std::filesystem::path set = corpusDir() / "peers" / "xmlsec" / "aleksey-xmldsig-01";
    const std::string signature = readFile(set / "enveloping-sha256-rsa-sha256-relationship-whitespace-legacy.xml");
    const std::string part = readFile(set / "relationship" / "whitespace-input.xml");
    const std::string rId1 = "<Relationship Id=\"rId1\"";
    const std::string withX = replaced(part, "relationships\">", "relationships\" xmlns:x=\"urn:x\">");
    const std::pair<std::string, bool> parts[] = {
        {part, true},
        {replaced(part, "word/document.xml", "word/other.xml"), false},
        {replaced(withX, rId1, "<x:Relationship Id=\"rId1\""), false},
        {replaced(withX, rId1 + " Type", rId1 + " x:Type"), false},
    };
    TempDir dir;
    std::filesystem::create_directory(dir.path() / "relationship");
    for (const auto& [text, valid] : parts) {
        SCOPED_TRACE(text);
        writeFile(dir.path() / "relationship" / "whitespace-input.xml", text);
        ClsXmlDSig dsig;
        ASSERT_TRUE(loadXml(dsig, signature));
        XString dirs(dir.path().string());
        dsig.put_ExternalRefDirs(dirs);
        EXPECT_EQ(dsig.VerifySignature(true), valid) << dsig.report().reason;
        EXPECT_EQ(usedAttempt(dsig, FurtherAttempt::OldXmlsecRelationships, 0), valid);
    }
}

} // namespace
