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
