// CIPAddress: dotted text in and out, the 32-bit number, and the octet arithmetic.
#include "common/ipaddress.h"

#include <gtest/gtest.h>

namespace {

struct TextCase {
    const char* text;
    ULong number;
    const char* printed;
};

TEST(CIPAddress, ParsesDottedTextIntoOctets) {
    const TextCase cases[] = {
        {"10.0.0.1", 0x0A000001u, "10.0.0.1"},
        {"192.168.1.254", 0xC0A801FEu, "192.168.1.254"},
        {"255.255.255.255", 0xFFFFFFFFu, "255.255.255.255"},
        {"0.0.0.0", 0, ""},
        {"", 0, ""},
        {"300.1.2.3", 0x2C010203u, "44.1.2.3"},
        {"-1.0.0.0", 0xFF000000u, "255.0.0.0"},
        {"1.2", 0x01020000u, "1.2.0.0"},
        {"1.2.3.4.5", 0x01020304u, "1.2.3.4"},
        {" 7.8.9.10 ", 0x0708090Au, "7.8.9.10"},
        {"\"1\".2.3.4", 0x01020304u, "1.2.3.4"},
        {"x.1.y.2", 0x00010002u, "0.1.0.2"},
        {"99999999999.0.0.1", 0xFF000001u, "255.0.0.1"},
    };
    for (const TextCase& c : cases) {
        const CIPAddress address{CString(c.text)};
        EXPECT_EQ(address.GetAsNumber(), c.number) << c.text;
        EXPECT_EQ(address.GetAsText(), c.printed) << c.text;
    }
}

TEST(CIPAddress, NumberPutsTheMostSignificantByteFirst) {
    const CIPAddress address(0xC0A80102u);
    EXPECT_EQ(address.GetOctet(0), 192);
    EXPECT_EQ(address.GetOctet(3), 2);
    EXPECT_EQ(address.GetAsText(), "192.168.1.2");
    EXPECT_EQ(CIPAddress(address.GetAsText()).GetAsNumber(), 0xC0A80102u);
    EXPECT_EQ(CIPAddress().GetAsText(), "");
}

TEST(CIPAddress, RangesCompareAsUnsignedNumbers) {
    const CIPAddress low(CString("10.0.0.0"));
    const CIPAddress high(CString("200.0.0.0"));
    const CIPAddress inside(CString("150.1.1.1"));
    EXPECT_LT(low.GetAsNumber(), inside.GetAsNumber());
    EXPECT_LT(inside.GetAsNumber(), high.GetAsNumber()) << "addresses above 128.0.0.0 must not turn negative";
}

TEST(CIPAddress, AssignmentCopiesTheOctets) {
    CIPAddress target(CString("1.1.1.1"));
    const CIPAddress source(0x7F000001u);
    target = source;
    EXPECT_EQ(target.GetAsText(), "127.0.0.1");
}

}  // namespace
