// The fixed publisher table and its first-match lookup.
#include "common/publishers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(PublisherTable, LooksUpWholeKeysIgnoringCase) {
    const std::pair<const char*, const char*> cases[] = {
        {"halvorn", "Halvorn Technology, Inc."},
        {"Computer Associates", "Computer Associates International, Inc."},
        {"INTE", ""},
        {"INTEL CORP", ""},
        {"", ""},
        {nullptr, ""},
    };
    for (const auto& [key, name] : cases) EXPECT_EQ(FindPublisherName(key), name) << (key ? key : "(null)");
}

// The order is the table's own, not alphabetical: scans that stop at the first match rely on it.
// Every key is found, and empty pairs end the table.
TEST(PublisherTable, HoldsItsPairsInTheFixedOrderBeforeEmptyPairs) {
    const std::pair<const char*, const char*> expected[kPublisherCount] = {
        {"3COM", "3Com Corporation, Inc."},
        {"ADOBE", "Adobe Systems, Inc."},
        {"APPLE", "Apple Computer, Inc."},
        {"ATI", "ATI Technologies, Inc."},
        {"BELKIN", "Belkin, Inc."},
        {"CANON", "Canon Inc."},
        {"CISCO", "Cisco Systems, Inc."},
        {"CITRIX", "Citrix Systems, Inc."},
        {"COMPUTER ASSOCIATES", "Computer Associates International, Inc."},
        {"COREL", "Corel Corporation, Inc."},
        {"DELL", "Dell Computer Corporation, Inc."},
        {"HEWLETT", "Hewlett-Packard Company"},
        {"IBM", "IBM Corporation, Inc."},
        {"INTEL", "Intel Corporation"},
        {"INSTALLSHIELD", "Installshield Corporation, Inc."},
        {"IOMEGA", "Iomega Corporation, Inc."},
        {"JASC", "Jasc Software, Inc."},
        {"HALVORN", "Halvorn Technology, Inc."},
        {"LOTUS DEVELOPMENT", "Lotus Development, Inc."},
        {"MACROVISION", "Macrovision Corporation, Inc."},
        {"MACROMEDIA", "Macromedia Corporation, Inc."},
        {"MICROSOFT", "Microsoft Corporation, Inc."},
        {"ROXIO", "Roxio, Inc."},
        {"SYMANTEC", "Symantec Corporation, Inc."},
        {"ULEAD", "ULead Systems, Inc."},
        {"VERITAS", "Veritas Software, Inc."},
        {"WINZIP", "WinZip Computing, Inc."},
    };
    const PublisherName* table = PublisherTable();
    for (int i = 0; i < kPublisherCount; ++i) {
        EXPECT_STREQ(table[i].key, expected[i].first) << i;
        EXPECT_STREQ(table[i].name, expected[i].second) << i;
        EXPECT_EQ(FindPublisherName(table[i].key), table[i].name) << i;
    }
    for (int i = kPublisherCount; i < kPublisherTableSize; ++i)
        EXPECT_EQ(std::string(table[i].key) + table[i].name, "") << i;
}

}  // namespace
