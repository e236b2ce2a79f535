// Local time conversions and parsing of the date-time texts databases return.
#include "platform/ctime.h"

#include <gtest/gtest.h>

namespace {

struct ParseCase {
    const char* text;
    bool ok;
    DateTimeParts expected;
};

TEST(DateTimeParts, ParsesBothDatabaseForms) {
    const ParseCase cases[] = {
        {"20090101 00:00:00", true, {2009, 1, 1, 0, 0, 0}},
        {"2009-01-01 13:45:59", true, {2009, 1, 1, 13, 45, 59}},
        {"2009-01-01 13:45:59.123", true, {2009, 1, 1, 13, 45, 59}},
        {"2009-01-01T13:45:59", true, {2009, 1, 1, 13, 45, 59}},
        {"2009-07-15", true, {2009, 7, 15, 0, 0, 0}},
        {"20090715", true, {2009, 7, 15, 0, 0, 0}},
        {"1900-01-01 00:00:00", true, {1900, 1, 1, 0, 0, 0}},
        {"2009-13-01 00:00:00", false, {}},
        {"2009/01/01", false, {}},
        {"", false, {}},
        {"garbage", false, {}},
        {"2009-01-01 25:00:00", false, {}},
    };
    for (const auto& c : cases) {
        DateTimeParts parts;
        EXPECT_EQ(DateTimeParts::Parse(c.text, &parts), c.ok) << c.text;
        if (!c.ok) continue;
        EXPECT_EQ(parts.year, c.expected.year) << c.text;
        EXPECT_EQ(parts.month, c.expected.month) << c.text;
        EXPECT_EQ(parts.day, c.expected.day) << c.text;
        EXPECT_EQ(parts.hour, c.expected.hour) << c.text;
        EXPECT_EQ(parts.minute, c.expected.minute) << c.text;
        EXPECT_EQ(parts.second, c.expected.second) << c.text;
    }
}

TEST(CTime, LocalBreakdownRoundTripsAcrossDaylightSaving) {
    for (int month : {1, 7}) {
        const CTime t(2009, month, 15, 10, 20, 30);
        const auto parts = t.GetLocal();
        EXPECT_EQ(parts.year, 2009);
        EXPECT_EQ(parts.month, month);
        EXPECT_EQ(parts.hour, 10);
        EXPECT_EQ(parts.second, 30);
    }
    EXPECT_EQ(CTime(2009, 7, 15, 12, 0, 0).GetTime() - CTime(2009, 1, 15, 12, 0, 0).GetTime(),
              181 * 86400 - 3600);  // Europe/Berlin gains an hour in summer
}

TEST(CTime, ZeroMeansNever) {
    EXPECT_TRUE(CTime().IsNever());
    EXPECT_FALSE(CTime::GetCurrentTime().IsNever());
}

}  // namespace
