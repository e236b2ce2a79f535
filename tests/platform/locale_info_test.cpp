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
        {"%m/%d/%y", kDateOrderMonthDayYear},    {"%d.%m.%Y", kDateOrderDayMonthYear},
        {"%Y-%m-%d", kDateOrderYearMonthDay},    {"%Y\xE5\xB9\xB4%m\xE6\x9C\x88%d\xE6\x97\xA5", kDateOrderYearMonthDay},
        {"%D", kDateOrderMonthDayYear},          {"%e %b %Y", kDateOrderDayMonthYear},
        {"%Ey/%Om/%Od", kDateOrderYearMonthDay}, {"%y/%d/%m", kDateOrderYearMonthDay},
        {"%%Y %d.%m", kDateOrderDayMonthYear},  // "%%" is a literal, not a year
        {"%", kDateOrderMonthDayYear},           {nullptr, kDateOrderMonthDayYear},
    };
    for (const auto& [format, order] : cases) {
        EXPECT_EQ(ShortDateOrderFromFormat(format), order) << (format ? format : "(null)");
    }
}

}  // namespace
