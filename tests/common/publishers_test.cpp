// The fixed publisher table and its first-match lookup.
#include "common/publishers.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(PublisherTable, EveryKeyIsFoundInItsFixedOrderBeforeThreeEmptyPairs) {
    const PublisherName* table = PublisherTable();
    for (int i = 0; i < kPublisherTableSize; ++i) {
        EXPECT_EQ(*table[i].key != '\0' && *table[i].name != '\0', i < kPublisherCount) << i;
        if (i < kPublisherCount) {
            EXPECT_EQ(FindPublisherName(table[i].key), table[i].name) << i;
        }
    }
    // Rows a sort would move: the order is part of the contract.
    const std::pair<int, const char*> rows[] = {
        {0, "3COM"},         {13, "INTEL"},      {14, "INSTALLSHIELD"}, {17, "HALVORN"},
        {19, "MACROVISION"}, {20, "MACROMEDIA"}, {26, "WINZIP"},
    };
    for (const auto& [index, key] : rows) EXPECT_STREQ(table[index].key, key) << index;
}

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

}  // namespace
