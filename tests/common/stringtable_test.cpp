// CStringTable (its file form is exercised through the table file tests).
#include "common/stringtable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(CStringTable, AddReleaseAndIndexOrder) {
    CStringTable table;
    const ULong abc = table.Add("abc");
    EXPECT_EQ(table.Add("xyz"), abc + 1);
    EXPECT_EQ(table.Add("abc"), abc);
    EXPECT_EQ(table.GetRefCount(abc), 2u);
    EXPECT_EQ(table.Add("ABC"), 2u) << "texts compare with case";
    for (int i = 0; i < 3; ++i) table.Release(abc);
    EXPECT_EQ(table.GetRefCount(abc), 0u) << "release stops at zero";
    table.Release(12345);
    EXPECT_EQ(table.GetCount(), 3u);

    CStringTable sorted;
    for (const char* text : {"a", "\xE9t\xE9", "B", "", "ab", "A"}) sorted.Add(text);
    std::vector<std::string> ordered;
    for (ULong i = 0; i < sorted.GetCount(); ++i) ordered.push_back(sorted.GetText(sorted.GetIndex(i)).str());
    EXPECT_EQ(ordered, (std::vector<std::string>{"", "A", "B", "a", "ab", "\xE9t\xE9"}));
    EXPECT_EQ(sorted.GetIndex(6), CStringTable::kNotFound);
}

TEST(CStringTable, CompactDropsUnreferencedTextsAndMapsIds) {
    CStringTable table;
    for (const char* text : {"d", "a", "c", "b", "e"}) table.Add(text);
    table.Add("c");
    table.Release(table.Find("a"));
    table.Release(table.Find("e"));
    EXPECT_EQ(table.Compact(), (std::vector<ULong>{0, CStringTable::kNotFound, 1, 2, CStringTable::kNotFound}));
    const std::vector<std::string> texts = {"d", "c", "b"};
    const std::vector<ULong> refs = {1, 2, 1}, index = {2, 1, 0};
    ASSERT_EQ(table.GetCount(), 3u);
    for (ULong id = 0; id < 3; ++id) {
        EXPECT_EQ(table.GetText(id), texts[id]) << id;
        EXPECT_EQ(table.GetRefCount(id), refs[id]) << id;
        EXPECT_EQ(table.GetIndex(id), index[id]) << id;
    }
    EXPECT_EQ(table.GetCapacity(), 3u);
    EXPECT_EQ(table.Add("a"), 3u) << "a full compacted pool grows again";
    EXPECT_EQ(table.GetIndex(0), 3u) << "\"a\" sorts first";
}

}  // namespace
