// Local time conversions and parsing of the date-time texts databases return.
#include "platform/ctime.h"

#include <gtest/gtest.h>

#include <vector>

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
        {"1900-01-01 00:00:00", true, {1900, 1, 1, 0, 0, 0}},
        {"2009-13-01 00:00:00", false, {}},
        {"", false, {}},
        {"2009-01-01 25:00:00", false, {}},
    };
    const auto fields = [](const DateTimeParts& p) {
        return std::vector<int>{p.year, p.month, p.day, p.hour, p.minute, p.second};
    };
    for (const auto& c : cases) {
        DateTimeParts parts;
        EXPECT_EQ(DateTimeParts::Parse(c.text, &parts), c.ok) << c.text;
        if (!c.ok) continue;
        EXPECT_EQ(fields(parts), fields(c.expected)) << c.text;
    }
}

}  // namespace
