#include "references/StreamedDigest.h"
#include "companion/canon/XmlCanon.h"
#include "companion/crypto/Digest.h"
#include "companion/crypto/HashIds.h"
#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

DataBuffer digestOf(std::string_view text) {
    DataBuffer out;
    Digest::doHash(text.data(), text.size(), hash_alg::kSha256, out);
    return out;
}

// A document big enough that the canonicalizer hands its output over in
// many pieces.
std::string largeDocument(std::string_view middle) {
    std::string doc = "<a xmlns:p=\"urn:p\">";
    for (int i = 0; i < 40000; ++i)
        doc += "<p:item n=\"" + std::to_string(i) + "\">t &amp; u</p:item>\n";
    doc += middle;
    doc += "</a>";
    return doc;
}

} // namespace

TEST(StreamedDigest, HashesExactlyWhatTheCanonicalizerWouldReturn) {
    for (const XmlCanon::Mode mode : {XmlCanon::Mode::Inclusive, XmlCanon::Mode::Exclusive}) {
        const StringBuffer doc(largeDocument("<b/>"));
        LogBase log;
        XmlCanon whole;
        whole.setMode(mode);
        StringBuffer canonical;
        ASSERT_TRUE(whole.xmlCanonicalize(doc, nullptr, 0, canonical, log));

        StreamedDigest streamed(hash_alg::kSha256, "SignedProperties");
        XmlCanon piecewise;
        piecewise.setMode(mode);
        piecewise.setOutputSink(&streamed);
        StringBuffer untouched("kept");
        ASSERT_TRUE(piecewise.xmlCanonicalize(doc, nullptr, 0, untouched, log));
        EXPECT_TRUE(untouched.equals("kept"));
        DataBuffer digest;
        ASSERT_TRUE(streamed.final(digest));
        EXPECT_TRUE(digest.equals(digestOf(canonical.view())));
        EXPECT_FALSE(streamed.sawMarker());
    }
}

TEST(StreamedDigest, SeesAMarkerSplitBetweenPieces) {
    for (size_t split = 1; split < 16; ++split) {
        const std::string text = "xxSignedPropertiesyy";
        StreamedDigest streamed(hash_alg::kSha256, "SignedProperties");
        streamed.write(std::string_view(text).substr(0, split));
        streamed.write(std::string_view(text).substr(split, 1));
        streamed.write(std::string_view(text).substr(split + 1));
        EXPECT_TRUE(streamed.sawMarker()) << split;
        DataBuffer digest;
        ASSERT_TRUE(streamed.final(digest));
        EXPECT_TRUE(digest.equals(digestOf(text)));
    }
    // Output long enough to be hashed on the second thread.
    std::string piece;
    std::string all;
    StreamedDigest threaded(hash_alg::kSha256, "SignedProperties");
    for (int i = 0; i < 12; ++i) {
        piece.assign(200000, static_cast<char>('a' + i));
        all += piece;
        threaded.handOver(piece);
        EXPECT_TRUE(piece.empty());
    }
    for (const char* part : {"Signed", "Prop", "erties"}) {
        piece = part;
        all += piece;
        threaded.handOver(piece);
    }
    threaded.write("tail");
    EXPECT_TRUE(threaded.sawMarker());
    DataBuffer digest;
    ASSERT_TRUE(threaded.final(digest));
    EXPECT_TRUE(digest.equals(digestOf(all + "tail")));

    StreamedDigest none(hash_alg::kSha256, "SignedProperties");
    none.write("SignedPropertie");
    none.write("s_no");
    EXPECT_TRUE(none.sawMarker());
    StreamedDigest absent(hash_alg::kSha256, "SignedProperties");
    absent.write("SignedPropertie");
    absent.write("S");
    EXPECT_FALSE(absent.sawMarker());
}
