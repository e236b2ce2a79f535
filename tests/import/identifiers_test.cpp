// The value rules of the inventory mapping.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "import/identifiers.h"

namespace {

TEST(Identifiers, PlaceholdersNeverIdentifyAMachine) {
    for (const char* text : {"", "  ", "To Be Filled By O.E.M.", " To be filled by O.E.M. ", "Default string",
                             "System Serial Number", "0", "0000000000", "00000000-0000-0000-0000-000000000000",
                             "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF", "@@@@@@@@@@@@", "@@@ unreadable @@@", "N/A",
                             "Not Specified", "03000200-0400-0500-0006-000700080009", "..........", "xxxxxxxxxxxx"})
        EXPECT_TRUE(IsPlaceholderIdentifier(text)) << '"' << text << '"';
    for (const char* text : {"CZC1234XYZ", "4c4c4544-0034-3010-8048-b6c04f503732", "640HP72", "10", "@@@", "0x0"})
        EXPECT_FALSE(IsPlaceholderIdentifier(text)) << '"' << text << '"';
}

TEST(Identifiers, MacAddressesTakeOneFormAndRefuseNoAddresses) {
    const std::pair<const char*, const char*> cases[] = {
        // "": refused
        {"00:1e:4f:12:34:56", "00:1E:4F:12:34:56"},
        {"00-1E-4F-12-34-56", "00:1E:4F:12:34:56"},
        {" 9c:b6:d0:00:11:22 ", "9C:B6:D0:00:11:22"},
        {"00:00:00:00:00:00", ""},
        {"ff:ff:ff:ff:ff:ff", ""},
        {"00:1e:4f:12:34", ""},
        {"00:1e:4f:12:34:5g", ""},
        {"001e4f123456", ""},
        {"00:1e:4f:12:34:56:78", ""},
    };
    for (const auto& [text, mac] : cases) EXPECT_EQ(NormalizeMac(text).value_or(""), mac) << text;
}

TEST(Identifiers, Ipv4AddressesParseToTheirNumberAndNothingElseDoes) {
    EXPECT_EQ(ParseIPv4("10.1.2.33").value_or(0), 0x0A010221u);
    EXPECT_EQ(ParseIPv4("255.255.255.255").value_or(0), 0xFFFFFFFFu);
    EXPECT_EQ(ParseIPv4(" 0.0.0.0 ").value_or(1), 0u);
    for (const char* text : {"", "fe80::1", "256.1.1.1", "1.2.3", "1.2.3.4.5", "1.2.3.4x", "1..2.3", "0001.2.3.4"})
        EXPECT_FALSE(ParseIPv4(text).has_value()) << text;
}

TEST(Identifiers, AgentDateFormsBecomeOneForm) {
    const std::pair<const char*, const char*> cases[] = {
        // "": not a date
        {"2011-03-02 10:44:46", "2011-03-02 10:44:46"},
        {"2016-01-07", "2016-01-07 00:00:00"},
        {"2009-02-04T00:00:00Z", "2009-02-04 00:00:00"},
        {"06/23/2009", "2009-06-23 00:00:00"},
        {"not a date", ""},
        {"2011-13-02", ""},
        {"", ""},
    };
    for (const auto& [text, date] : cases) EXPECT_EQ(NormalizeDate(text).value_or(""), date) << text;
}

TEST(Identifiers, NumbersAreReadOnlyInTheirOwnUnit) {
    EXPECT_EQ(NumberInUnit("1333 MHz", "MHz").value_or(0), 1333u);
    EXPECT_EQ(NumberInUnit("1333 mhz", "MHz").value_or(0), 1333u);
    EXPECT_EQ(NumberInUnit("4096", "MB").value_or(0), 4096u);
    EXPECT_EQ(NumberInUnit("2147483647", "MB").value_or(0), 2147483647u);
    for (const char* text : {"3 GB", "4.19", "", "MB", "2147483648", "-5", "12 MB extra"})
        EXPECT_FALSE(NumberInUnit(text, "MB").has_value()) << text;
}

TEST(Identifiers, CuttingToAColumnNeverSplitsACharacter) {
    EXPECT_EQ(CutToColumn("abcdef", 4), "abcd");
    EXPECT_EQ(CutToColumn("abc", 4), "abc");
    EXPECT_EQ(CutToColumn("ab\xC3\xA9z", 3), "ab");                         // é is two bytes: not cut in half
    EXPECT_EQ(CutToColumn("ab\xC3\xA9z", 4), "ab\xC3\xA9");                 // ... kept whole when it fits
    EXPECT_EQ(CutToColumn("\xE2\x82\xAC\xE2\x82\xAC", 5), "\xE2\x82\xAC");  // a three-byte euro sign
    EXPECT_EQ(CutToColumn("\x80\x80\x80", 2), "");                          // stray continuation bytes
}

}  // namespace
