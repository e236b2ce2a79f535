// Display texts of dates, sizes, speeds and processor names.
#include "common/formatting.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "platform/locale_info.h"

namespace {

TEST(DateFormatting, FollowsEachLocaleOrder) {
    const auto useOrder = [](int order) {
        TEST_ForceShortDateOrder(order);
        TEST_ForgetDateOrder();
    };
    struct Case {
        int order;
        int year, month, day;
        char separator;
        const char* expected;
    };
    const Case cases[] = {
        {kDateOrderDayMonthYear, 2009, 3, 7, '/', "07/03/2009"},
        {kDateOrderYearMonthDay, 2009, 3, 7, '-', "2009-03-07"},
        {kDateOrderMonthDayYear, 2009, 3, 7, '/', "03/07/2009"},
        {kDateOrderMonthDayYear, 2009, 12, 31, '.', "12.31.2009"},
        {kDateOrderYearMonthDay, 99, 1, 2, '/', "0099/01/02"},
        {3, 2009, 3, 7, '/', ""},
    };
    for (const Case& c : cases) {
        useOrder(c.order);
        EXPECT_EQ(FormatDate(c.year, c.month, c.day, c.separator), c.expected) << "order " << c.order;
    }
    useOrder(-1);  // back to the locale's order
}

TEST(SizeFormatting, BytesTruncateToTheLargestUnitReachedAndMegahertzAreUnsigned) {
    const std::pair<ULong, const char*> cases[] = {
        {0, "0 Bytes"},    {1023, "1023 Bytes"},    {1024, "1 KB"},       {1048575, "1023 KB"},
        {1048576, "1 MB"}, {0x3FFFFFFF, "1023 MB"}, {0x40000000, "1 GB"}, {0xFFFFFFFF, "3 GB"},
    };
    for (const auto& [bytes, expected] : cases) EXPECT_EQ(FormatBytes(bytes), expected) << bytes;
    EXPECT_EQ(FormatMHz(2800), "2800 MHz");
    EXPECT_EQ(FormatMHz(0xFFFFFFFF), "4294967295 MHz");
}

TEST(SizeFormatting, MegabytesRoundIntoGigabytesWithBareHundredths) {
    const std::pair<std::int32_t, const char*> cases[] = {
        {0, "0 MB"},
        {1014, "1 GB"},
        {1066, "1.5 GB"},  // five hundredths, written without the leading zero
        {1536, "1.50 GB"},
        {-10, "-10 MB"},
        {-11, "4194303.99 GB"},  // wraps as an unsigned sum
        {INT32_MAX, "2097152 GB"},
    };
    for (const auto& [megabytes, expected] : cases) EXPECT_EQ(FormatMegabytes(megabytes), expected) << megabytes;
}

TEST(CpuNameFormatting, StripCpuClockRemovesSpeedAndSuffixes) {
    const std::pair<const char*, const char*> cases[] = {
        {"Pentium III 2.80GHz", "Pentium III"},
        {"Pentium 4 2.80GHz", "Pentium"},  // the walk back takes the model digit too
        {"Celeron 566MHz 128K", "Celeron 128K"},
        {"Core 2 Duo @ 2.4GHz", "Core 2 Duo "},
        {"2.8GHz", "2.8GHz"},  // nothing before the speed: left whole
        // The rating-suffix arithmetic as databases already hold it.
        {"AMD Athlon XP 2400+", "AMD AthAMD Athlon XP 2400+"},
    };
    for (const auto& [input, expected] : cases) {
        CString text = input;
        EXPECT_EQ(StripCpuClock(text), expected) << input;
        EXPECT_EQ(text, expected) << input;
    }
}

TEST(CpuNameFormatting, NormaliseCpuName) {
    const std::pair<const char*, const char*> cases[] = {
        {"Intel(R) Pentium(R) 4 CPU 2.80GHz", "Intel Pentium 4"},
        {"AMD Athlon(tm) 64 Processor", "AMD Athlon 64"},
        {"Intel(R) Core(TM)2 CPU 6600 @ 2.40GHz", "Intel Core2 6600"},
        {"Pentium III", "Intel Pentium III"},
        {"PentiumIII", "Intel Pentium II"},
        {"pentium 4", "pentium 4"},
        {"Athlon 1200 MHz", "AMD Athlon"},
        {"x86 Family 6 Model 8", "x86 Family 6 Model 8"},
        {"3.2GHz", "3.2"},
        {"", ""},
    };
    for (const auto& [input, expected] : cases) EXPECT_EQ(NormaliseCpuName(input), expected) << input;
}

TEST(CpuSpeedRounding, MeasuredClocksLandOnTheMarketedStep) {
    const std::pair<ULong, ULong> cases[] = {
        {99, 99},                                              // below the stepped range: kept
        {132, 133},   {167, 166},                              // 33 1/3 steps are truncated
        {183, 200},   {798, 800},                              // halfway goes up; 50 MHz steps
        {2660, 2666}, {3508, 3500}, {0xFFFFFFFF, 0xFFFFFFFF},  // the step above would not fit: left as it is
    };
    for (const auto& [measured, expected] : cases) EXPECT_EQ(RoundCpuSpeed(measured), expected) << measured;
}

}  // namespace
