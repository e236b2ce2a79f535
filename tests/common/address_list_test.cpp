// Stored address lists: split and converted exactly as the tokenizer and CIPAddress would.
#include "common/address_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/token.h"

namespace {

// The definition the fast conversion must match: split with the shared tokenizer, convert
// each entry with CIPAddress.
std::vector<ULong> Reference(const char* text) {
    std::vector<ULong> numbers;
    CString rest = text;
    while (!rest.IsEmpty()) numbers.push_back(CIPAddress(ExtractToken(rest, ';', true, false, false)).GetAsNumber());
    return numbers;
}

std::vector<ULong> Converted(const char* text) {
    CDynaList<CIPAddress> list;
    const ULong added = AppendAddressList(text, list);
    std::vector<ULong> numbers;
    for (const CIPAddress& address : list) numbers.push_back(address.GetAsNumber());
    EXPECT_EQ(added, numbers.size()) << text;
    return numbers;
}

TEST(AddressList, EveryFormConvertsAsTheTokenizerAndCIPAddressDo) {
    const char* const cases[] = {
        "",
        "10.0.0.1;10.0.1.1;192.168.255.254",
        "255.255.255.255;0.0.0.0",
        "1.1.1.1;",
        ";;2.2.2.2",
        "300.1.2.3",
        "1.2.3.4.5",
        "9999999999.1.1.1",
        "-1.0.0.0;+2.0.0.0",
        " 7.8.9.10 ;7.8.9.10 ",
        "\"1\".2.3.4;\"5.6.7.8\"",
        "x.1.y.2;10.0.0.1x",
    };
    for (const char* text : cases) EXPECT_EQ(Converted(text), Reference(text)) << '"' << text << '"';
}

}  // namespace
