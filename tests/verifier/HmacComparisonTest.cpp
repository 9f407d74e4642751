// Which HMACOutputLength values allow a truncated MAC, and that the bytes
// then decide.
#include "verifier/HmacComparison.h"
#include "TestSupport.h"
#include "verifier/SignatureMethodParams.h"

#include <gtest/gtest.h>

namespace {

using hmac_comparison::compare;
using hmac_comparison::Outcome;
using test_support::bufferOf;
using test_support::flipBit;

DataBuffer macOf(size_t bytes) {
    std::string mac;
    for (size_t i = 0; i < bytes; ++i)
        mac += static_cast<char>(0x31 + i);
    return bufferOf(mac);
}

DataBuffer leading(const DataBuffer& mac, size_t bytes) {
    return bufferOf(mac.view().substr(0, bytes));
}

} // namespace

TEST(HmacComparison, OutputLengthBetweenTheMinimumAndTheWholeMac) {
    struct Row {
        size_t macBytes;
        int bits;
        Outcome expected;
    };
    const Row rows[] = {
        {20, 80, Outcome::Match},         {20, 160, Outcome::Match},         {16, 80, Outcome::Match},
        {48, 192, Outcome::Match},        {20, 72, Outcome::BelowMinimum},   {20, 40, Outcome::BelowMinimum},
        {20, 0, Outcome::BelowMinimum},   {32, 80, Outcome::BelowMinimum},   {64, 248, Outcome::BelowMinimum},
        {20, 84, Outcome::NotByteLength}, {20, 168, Outcome::NotByteLength},
    };
    for (const Row& r : rows) {
        const DataBuffer mac = macOf(r.macBytes);
        const size_t bytes =
            r.bits > 0 && r.bits % 8 == 0 && r.bits / 8 <= static_cast<int>(r.macBytes) ? r.bits / 8 : 10;
        EXPECT_EQ(compare(mac, leading(mac, bytes), r.bits), r.expected) << r.macBytes << " bytes, " << r.bits;
    }
}

TEST(HmacComparison, EveryByteOfTheComparedLengthCounts) {
    const DataBuffer mac = macOf(20);
    const int none = signature_method::kNoHmacOutputLength;
    EXPECT_EQ(compare(mac, mac, none), Outcome::Match);
    EXPECT_EQ(compare(mac, leading(mac, 10), none), Outcome::Mismatch);
    EXPECT_EQ(compare(mac, mac, 80), Outcome::Mismatch); // more bytes than HMACOutputLength states
    EXPECT_EQ(compare(mac, leading(mac, 12), 80), Outcome::Mismatch);
    for (size_t i : {0, 9})
        EXPECT_EQ(compare(mac, flipBit(leading(mac, 10), i), 80), Outcome::Mismatch) << i;
    EXPECT_EQ(compare(mac, flipBit(mac, 19), none), Outcome::Mismatch);
}
