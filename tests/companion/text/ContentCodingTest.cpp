#include "companion/text/ContentCoding.h"
#include "companion/text/DataBuffer.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string encode(std::string_view bytes) {
    std::string out;
    ContentCoding::encodeBase64(bytes.data(), bytes.size(), out);
    return out;
}

// Whether the text decoded, and the bytes.
std::pair<bool, std::string> decode(std::string_view text) {
    std::string out;
    const bool ok = ContentCoding::decodeBase64(text, out);
    return {ok, out};
}

} // namespace

TEST(Base64, WhiteSpaceAnywhereIsSkipped) {
    EXPECT_EQ(decode("Zm9v\r\nYmFy\n"), std::make_pair(true, std::string("foobar")));
    EXPECT_EQ(decode("  Z m\t9 v\nY\r\nm E =  \n"), std::make_pair(true, std::string("fooba")));
    EXPECT_EQ(decode("Zg=\n="), std::make_pair(true, std::string("f")));
    EXPECT_EQ(decode(" \r\n\t"), std::make_pair(true, std::string()));
}

TEST(Base64, MissingPaddingIsAccepted) {
    EXPECT_EQ(decode("Zg"), std::make_pair(true, std::string("f")));
    EXPECT_EQ(decode("Zm9vYmE"), std::make_pair(true, std::string("fooba")));
}

TEST(Base64, GarbageIsRejectedAndOutputLeftAlone) {
    const std::vector<std::string> bad = {
        "Zm9v!YmFy", // foreign character
        "Zm9v-_",    // base64url alphabet
        "Zm9vY",     // one symbol left over
        "Zg===",     // too much padding
        "Zm8==",     // padding does not fit the group
        "Zg==Zm8=",  // data after padding
        "=",         // padding alone
    };
    for (const std::string& text : bad) {
        std::string out = "kept";
        EXPECT_FALSE(ContentCoding::decodeBase64(text, out)) << text;
        EXPECT_EQ(out, "kept") << text;
    }
    EXPECT_FALSE(decode(std::string_view("Zm9v\0YmFy", 9)).first); // an embedded NUL
}

TEST(Base64, DecodeToDbAppends) {
    DataBuffer db;
    db.append("ab");
    ASSERT_TRUE(ContentCoding::decodeBase64ToDb("Zm9v", db));
    EXPECT_EQ(db.view(), "abfoo");
    EXPECT_FALSE(ContentCoding::decodeBase64ToDb("Zm9v*", db));
    EXPECT_EQ(db.view(), "abfoo");
}

// OpenSSL's block encoder is the oracle for every tail length and all byte values.
TEST(Base64, MatchesOpenSslOnRandomDataAndRoundTrips) {
    std::mt19937 rng(4648);
    for (size_t len : {0u, 1u, 2u, 3u, 4u, 5u, 57u, 58u, 59u, 1000u, 1u << 20}) {
        std::string bytes(len, '\0');
        for (char& c : bytes)
            c = static_cast<char>(rng());
        std::string expected(4 * ((len + 2) / 3) + 1, '\0');
        const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()),
                                      reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(len));
        expected.resize(static_cast<size_t>(n));

        const std::string encoded = encode(bytes);
        ASSERT_EQ(encoded, expected) << len;

        // Wrapped at 76 columns with CRLF, as XML signers write it.
        std::string wrapped;
        for (size_t i = 0; i < encoded.size(); i += 76)
            wrapped.append(encoded.substr(i, 76)).append("\r\n");
        EXPECT_EQ(decode(wrapped), std::make_pair(true, bytes)) << len;
    }
}
