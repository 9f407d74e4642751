#include "companion/text/XmlDateTime.h"

#include <gtest/gtest.h>

namespace {

constexpr std::time_t kMay1st2024Noon = 1714564800; // 2024-05-01T12:00:00Z
constexpr std::time_t kHour = 3600;

TEST(XmlDateTime, ReadsDateTimesAsUtcSeconds) {
    EXPECT_EQ(parseXmlDateTime("2024-05-01T12:00:00Z"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01T12:00:00"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01T12:00:00.999Z"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01T15:00:00+03:00"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01T07:00:00-05:00"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01T00:00:00+14:00"), kMay1st2024Noon - 26 * kHour);
    EXPECT_EQ(parseXmlDateTime("\n  2024-05-01T12:00:00Z \n"), kMay1st2024Noon);
    EXPECT_EQ(parseXmlDateTime("2024-05-01"), kMay1st2024Noon - 12 * kHour);
    EXPECT_EQ(parseXmlDateTime("2024-04-30T24:00:00Z"), kMay1st2024Noon - 12 * kHour);
    EXPECT_EQ(parseXmlDateTime("2024-02-29T00:00:00Z"), 1709164800);
    EXPECT_EQ(parseXmlDateTime("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(parseXmlDateTime("1969-12-31T23:59:59Z"), -1);
}

TEST(XmlDateTime, RefusesMalformedText) {
    for (const char* text : {"",
                             "2024",
                             "2024-5-01",
                             "24-05-01",
                             "2024-05-01T12:00Z",
                             "2024-05-01 12:00:00Z",
                             "2024-05-01T12:00:00.Z",
                             "2024-05-01T12:00:00ZZ",
                             "2024-05-01T12:00:00+0300",
                             "2024-05-01T12:00:00+03",
                             "2024-05-01T12:00:00 Z",
                             "2024-13-01",
                             "2024-00-10",
                             "2023-02-29",
                             "2024-04-31",
                             "0000-01-01",
                             "2024-05-01T24:00:01Z",
                             "2024-05-01T23:60:00Z",
                             "2024-05-01T23:59:60Z",
                             "2024-05-01T12:00:00+14:30",
                             "2024-05-01T12:00:00+15:00",
                             "2024-05-01T-1:00:00Z",
                             "2024-05-01T+1:00:00Z",
                             "-024-05-01",
                             "2024-05-01T12:00:00Zjunk"}) {
        EXPECT_EQ(parseXmlDateTime(text), std::nullopt) << text;
    }
}

} // namespace
