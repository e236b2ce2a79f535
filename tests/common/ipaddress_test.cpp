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
        {"255.255.255.255", 0xFFFFFFFFu, "255.255.255.255"},
        {"0.0.0.0", 0, ""},
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
        EXPECT_EQ(CIPAddress(c.number).GetAsText(), c.printed) << c.text;
    }
    EXPECT_EQ(CIPAddress(0xC0A80102u).GetOctet(0), 192);
}

}  // namespace
