// The xml:base arithmetic of Canonical XML 1.1: rows of the recommendation's
// table for its remove_dot_segments and the joins its text works through.
#include "companion/canon/CanonBaseUri.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(CanonBaseUri, JoinCombinesRelativeBasesAndResolvesAbsoluteOnes) {
    EXPECT_EQ(canon_base_uri::join("abc/", "../"), "");
    EXPECT_EQ(canon_base_uri::join("../", "../"), "../../");
    EXPECT_EQ(canon_base_uri::join("..", ".."), "../../");
    // Two omitted ancestors with "..", below one with "foo/bar", over "x".
    EXPECT_EQ(canon_base_uri::join("..", canon_base_uri::join("..", "x")), "../../x");
    EXPECT_EQ(canon_base_uri::join("something/else", "bar/"), "something/bar/");
    EXPECT_EQ(canon_base_uri::join("a/", "b#fragment"), "a/b");
    EXPECT_EQ(canon_base_uri::join("a/?q", ""), "a/?q");
    EXPECT_EQ(canon_base_uri::join("http://example.org/x/y", "/xmlbase1/"), "http://example.org/xmlbase1/");
    EXPECT_EQ(canon_base_uri::join("http://example.org", "z"), "http://example.org/z");
    EXPECT_EQ(canon_base_uri::join("http://example.org/x/", "//other.example/p/../q"), "http://other.example/q");
    EXPECT_EQ(canon_base_uri::join("ignored/base", "urn:x"), "urn:x");
}

} // namespace
