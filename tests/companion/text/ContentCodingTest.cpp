#include "companion/text/ContentCoding.h"

#include <gtest/gtest.h>

#include <string>

TEST(Base64, GarbageIsRejectedAndOutputLeftAlone) {
    const std::string bad[] = {
        "Zm9v!YmFy",                  // foreign character
        "Zm9v-_",                     // base64url alphabet
        "Zm9vY",                      // one symbol left over
        "Zg===",                      // too much padding
        "Zm8==",                      // padding does not fit the group
        "Zg==Zm8=",                   // data after padding
        "=",                          // padding alone
        std::string("Zm9v\0YmFy", 9), // an embedded NUL
    };
    for (const std::string& text : bad) {
        std::string out = "kept";
        EXPECT_FALSE(ContentCoding::decodeBase64(text, out)) << text;
        EXPECT_EQ(out, "kept") << text;
    }
}
