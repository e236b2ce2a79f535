// The short-date order taken from the locale's date format.
#include "platform/locale_info.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

TEST(LocaleDateOrder, FollowsTheFieldsOfTheDateFormat) {
    const std::pair<const char*, int> cases[] = {
        {"%m/%d/%y", kDateOrderMonthDayYear},
        {"%d.%m.%Y", kDateOrderDayMonthYear},
        {"%d/%m/%Y", kDateOrderDayMonthYear},
        {"%Y-%m-%d", kDateOrderYearMonthDay},
        {"%Y\xE5\xB9\xB4%m\xE6\x9C\x88%d\xE6\x97\xA5", kDateOrderYearMonthDay},
        {"%D", kDateOrderMonthDayYear},
        {"%F", kDateOrderYearMonthDay},
        {"%-d/%-m/%Y", kDateOrderDayMonthYear},
        {"%e %b %Y", kDateOrderDayMonthYear},
        {"%Ey/%Om/%Od", kDateOrderYearMonthDay},
        {"%y/%d/%m", kDateOrderYearMonthDay},
        {"%%Y %d.%m", kDateOrderDayMonthYear},  // "%%" is a literal, not a year
        {"%m/%d/%", kDateOrderMonthDayYear},
        {"%", kDateOrderMonthDayYear},
        {"", kDateOrderMonthDayYear},
        {nullptr, kDateOrderMonthDayYear},
    };
    for (const auto& [format, order] : cases) {
        EXPECT_EQ(ShortDateOrderFromFormat(format), order) << (format ? format : "(null)");
    }
}

// Only the C locales can be relied on to be installed; a locale that is missing must fall back
// to them rather than fail, and reading must leave the process's own locale alone.
TEST(LocaleDateOrder, CAndMissingLocalesGiveMonthDayYear) {
    const char* saved = std::getenv("LC_ALL");
    const std::string savedValue = saved ? saved : "";
    const std::string before = std::setlocale(LC_TIME, nullptr);
    for (const char* name : {"C", "POSIX", "xx_NOWHERE.UTF-8"}) {
        setenv("LC_ALL", name, 1);
        EXPECT_EQ(GetShortDateOrder(), kDateOrderMonthDayYear) << name;
    }
    TEST_ForceShortDateOrder(kDateOrderDayMonthYear);
    EXPECT_EQ(GetShortDateOrder(), kDateOrderDayMonthYear);
    TEST_ForceShortDateOrder(-1);
    EXPECT_EQ(GetShortDateOrder(), kDateOrderMonthDayYear);
    EXPECT_EQ(before, std::setlocale(LC_TIME, nullptr));
    if (saved)
        setenv("LC_ALL", savedValue.c_str(), 1);
    else
        unsetenv("LC_ALL");
}

}  // namespace
