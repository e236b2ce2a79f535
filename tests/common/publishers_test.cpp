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

// Every key finds its own name, "INTEL" is scanned before "INSTALLSHIELD" (first match wins), and
// empty pairs end the table.
TEST(PublisherTable, FindsEveryKeyInTableOrderBeforeEmptyPairs) {
    const PublisherName* table = PublisherTable();
    for (int i = 0; i < kPublisherCount; ++i) EXPECT_EQ(FindPublisherName(table[i].key), table[i].name) << i;
    EXPECT_STREQ(table[13].key, "INTEL");
    EXPECT_STREQ(table[14].key, "INSTALLSHIELD");
    for (int i = kPublisherCount; i < kPublisherTableSize; ++i)
        EXPECT_EQ(std::string(table[i].key) + table[i].name, "") << i;
}

}  // namespace
