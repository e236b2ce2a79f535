// Display texts of dates, sizes, speeds and processor names, and the numeric-text check.
#include "common/formatting.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "platform/locale_info.h"

namespace {

// Each test starts and ends with the date order read from the locale again.
class DateFormatting : public ::testing::Test {
protected:
    void UseOrder(int order) {
        TEST_ForceShortDateOrder(order);
        TEST_ForgetDateOrder();
    }
    void TearDown() override { UseOrder(-1); }
};

TEST_F(DateFormatting, FollowsEachLocaleOrder) {
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
        UseOrder(c.order);
        EXPECT_EQ(FormatDate(c.year, c.month, c.day, c.separator), c.expected) << "order " << c.order;
    }
}

TEST_F(DateFormatting, OrderIsReadOnceAndKept) {
    UseOrder(kDateOrderDayMonthYear);
    EXPECT_EQ(FormatDate(2009, 3, 7, '/'), "07/03/2009");
    TEST_ForceShortDateOrder(kDateOrderYearMonthDay);
    EXPECT_EQ(FormatDate(2009, 3, 7, '/'), "07/03/2009");
    TEST_ForgetDateOrder();
    EXPECT_EQ(FormatDate(2009, 3, 7, '/'), "2009/03/07");
}

TEST_F(DateFormatting, TimesUseTheLocalClock) {
    UseOrder(kDateOrderDayMonthYear);
    const CTime afternoon(2009, 3, 7, 14, 5, 9);
    EXPECT_EQ(FormatDate(afternoon, '/'), "07/03/2009");
    EXPECT_EQ(FormatTime(afternoon, true), "14:05:09");
    EXPECT_EQ(FormatTime(afternoon, false), "14:05");
    EXPECT_EQ(FormatDateTime(afternoon, true, '.'), "07.03.2009 14:05:09");
    EXPECT_EQ(FormatDateTime(afternoon, false, '/'), "07/03/2009 14:05");
    // Still the previous day in UTC: the local date must win.
    const CTime afterMidnight(2009, 7, 15, 0, 30, 0);
    EXPECT_EQ(FormatDateTime(afterMidnight, false, '/'), "15/07/2009 00:30");
    EXPECT_EQ(FormatDate(CTime(), '/'), "");
    EXPECT_EQ(FormatDateTime(CTime(), true, '/'), "");
}

TEST_F(DateFormatting, DateOnlyKeepsTheLocalDateAtMidnight) {
    const CTime cases[][2] = {
        {CTime(2009, 3, 7, 14, 5, 9), CTime(2009, 3, 7, 0, 0, 0)},
        {CTime(2009, 3, 29, 15, 0, 0), CTime(2009, 3, 29, 0, 0, 0)},  // daylight saving starts
        {CTime(2009, 7, 15, 0, 30, 0), CTime(2009, 7, 15, 0, 0, 0)},
        {CTime(2009, 12, 31, 23, 59, 59), CTime(2009, 12, 31, 0, 0, 0)},
        {CTime(), CTime()},
    };
    for (const auto& c : cases) EXPECT_EQ(DateOnly(c[0]), c[1]) << c[0].GetTime();
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
        {1013, "1013 MB"},
        {1014, "1 GB"},
        {1066, "1.5 GB"},  // five hundredths, written without the leading zero
        {1536, "1.50 GB"},
        {2048, "2 GB"},
        {-10, "-10 MB"},
        {-11, "4194303.99 GB"},  // wraps as an unsigned sum
        {INT32_MAX, "2097152 GB"},
        {INT32_MIN, "2097152 GB"},
    };
    for (const auto& [megabytes, expected] : cases) EXPECT_EQ(FormatMegabytes(megabytes), expected) << megabytes;
}

TEST(CpuNameFormatting, CollapseBlanksTrimsInPlace) {
    const struct {
        const char* text;
        const char* trimmed;
        const char* collapsed;
    } cases[] = {
        {"  a   b  c ", "a   b  c", "a b c"},
        {"\tx  y\n", "x  y", "x y"},
        {"single", "single", "single"},
        {"    ", "", ""},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        CString text = c.text;
        EXPECT_EQ(CollapseBlanks(text), c.collapsed) << c.text;
        EXPECT_EQ(text, c.trimmed) << c.text;
    }
}

TEST(CpuNameFormatting, StripCpuClockRemovesSpeedAndSuffixes) {
    const std::pair<const char*, const char*> cases[] = {
        {"Pentium III 2.80GHz", "Pentium III"},
        {"Pentium 4 2.80GHz", "Pentium"},  // the walk back takes the model digit too
        {"Celeron 566MHz 128K", "Celeron 128K"},
        {"Core 2 Duo @ 2.4GHz", "Core 2 Duo "},
        {"2.8GHz", "2.8GHz"},  // nothing before the speed: left whole
        {"MHz", "MHz"},
        {"", ""},
        {"Model abc+", "Model abc+"},
        {"AB12+", "AB12+"},
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
        {"  Intel(R)   Xeon(TM) CPU 3.06GHz ", "Intel Xeon"},
        {"Intel(R) Core(TM)2 CPU 6600 @ 2.40GHz", "Intel Core2 6600"},
        {"Pentium III", "Intel Pentium III"},
        {"PentiumIII", "Intel Pentium II"},
        {"Pentium4", "Intel Pentium"},
        {"Celeron 1.70GHz", "Intel Celeron"},
        {"XEON 2.4 GHz", "Intel XEON"},
        {"pentium 4", "pentium 4"},
        {"Athlon 1200 MHz", "AMD Athlon"},
        {"Duron(tm) processor", "AMD Duron"},
        {"x86 Family 6 Model 8", "x86 Family 6 Model 8"},
        {"3.2GHz", "3.2"},
        {"CPU", ""},
        {"", ""},
    };
    for (const auto& [input, expected] : cases) EXPECT_EQ(NormaliseCpuName(input), expected) << input;
}

TEST(CpuSpeedRounding, MeasuredClocksLandOnTheMarketedStep) {
    const std::pair<ULong, ULong> cases[] = {
        {0, 0},
        {16, 16},
        {75, 75},
        {99, 99},  // below the stepped range: kept
        {100, 100},
        {132, 133},
        {166, 166},
        {167, 166},  // 33 1/3 steps are truncated
        {183, 200},
        {149, 150},
        {451, 450},
        {798, 800},  // halfway goes up; 50 MHz steps
        {1995, 2000},
        {2128, 2133},
        {2327, 2333},
        {2394, 2400},
        {2660, 2666},
        {2793, 2800},
        {2992, 3000},
        {3192, 3200},
        {3333, 3333},
        {3466, 3466},
        {3508, 3500},
        {4712, 4700},
        {0xFFFFFFFF, 0xFFFFFFFF},  // the step above would not fit: left as it is
    };
    for (const auto& [measured, expected] : cases) EXPECT_EQ(RoundCpuSpeed(measured), expected) << measured;
}

TEST(FormattingIsNumericText, AcceptsDigitsWithOptionalSignAndPoint) {
    const struct {
        const char* text;
        bool sign;
        bool point;
        bool expected;
    } cases[] = {
        {"-12", true, false, true},  {"+5", true, false, true},     {"-12", false, false, false},
        {"1-2", true, false, false}, {"--1", true, false, false},   {"1.5", false, false, false},
        {"1.5", false, true, true},  {".", false, true, true},      {"1.2.3", false, true, false},
        {"12a", true, true, false},  {" 1", true, true, false},     {"007", false, false, true},
        {"", false, false, true},    {nullptr, false, false, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsNumericText(c.text, c.sign, c.point), c.expected) << (c.text ? c.text : "(null)");
    }
}

}  // namespace
