#include "TestSupport.h"

#include "xmldsig/xmldsig.h"

#include <gtest/gtest.h>

using namespace test_support;

namespace {

// Past the size from which a document file is mapped rather than read.
constexpr size_t kPaddingBytes = 40u << 20;
// The checks over a mapped text work in pieces of this size.
constexpr size_t kPiece = 8u << 20;
const std::string kTwoByteChar = "\xC3\xA9";

// The signed example followed by a long comment of two-byte characters, one
// of which straddles every piece boundary: the signature covers none of it.
std::string paddedExample() {
    std::string text = readFile(examplesDir() / "enveloped-rsa-x509.xml") + "<!--";
    if (text.size() % 2 == 0)
        text += ' ';
    text.reserve(text.size() + kPaddingBytes + 4);
    while (text.size() < kPaddingBytes)
        text += kTwoByteChar;
    return text + "-->\n";
}

xmldsig::Result verifyAsFile(const std::string& text) {
    const TempDir dir;
    writeFile(dir.path() / "large.xml", text);
    return xmldsig::verifyFile(dir.path() / "large.xml", xmldsig::Settings());
}

} // namespace

// A large file is mapped and its pages given back as each pass goes: the
// verdict and the errors must be those of the same bytes verified in memory.
TEST(LargeDocument, MappedFileVerifiesAsItsBytes) {
    const std::string text = paddedExample();
    EXPECT_TRUE(verifyAsFile(text).valid());
    EXPECT_TRUE(xmldsig::verify(text, xmldsig::Settings()).valid());

    std::string tampered = text;
    tampered.replace(tampered.find("Socket wrench"), 13, "Socket wrenck");
    EXPECT_FALSE(verifyAsFile(tampered).valid());

    // A character cut by an invalid byte exactly where a piece ends.
    std::string broken = text;
    broken[2 * kPiece] = 'A';
    ASSERT_EQ(static_cast<unsigned char>(broken[2 * kPiece - 1]), 0xC3u);
    const xmldsig::Result fromFile = verifyAsFile(broken);
    const xmldsig::Result fromBytes = xmldsig::verify(broken, xmldsig::Settings());
    EXPECT_EQ(fromFile.status.code, xmldsig::Errc::not_xml);
    EXPECT_NE(fromFile.status.message.find("invalid UTF-8"), std::string::npos) << fromFile.status.message;
    EXPECT_EQ(fromFile.status.message.substr(fromFile.status.message.find(':')),
              fromBytes.status.message.substr(fromBytes.status.message.find(':')));
}
