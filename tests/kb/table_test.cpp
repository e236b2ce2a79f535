// CTable in memory: IDs across deletion and purge, the search by ID, columns added to filled
// tables, shared texts and their renumbering, copies, and the dependants rebuilt after a purge.
#include "kb/table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<ULong> IDs(const CTable& table) {
    std::vector<ULong> ids;
    for (ULong row = 0; row < table.GetRowCount(); ++row) ids.push_back(table.GetValue(row, 0));
    return ids;
}

// A table "T" with ID and NAME (text), one row per name.
CTable NamedRows(const std::vector<std::string>& names) {
    CTable table("T");
    table.AddColumn("NAME", CTable::typeText);
    for (const std::string& name : names) table.SetText(table.AddRow(), 1, name.c_str());
    return table;
}

TEST(CTable, PurgeGivesBackTheIdsOfDeletedLastRowsOnly) {
    CTable table("T");
    for (int i = 0; i < 5; ++i) table.AddRow();
    table.DeleteRow(1);
    table.DeleteRow(1);  // already deleted: not counted twice
    table.DeleteRow(4);
    EXPECT_EQ(table.GetDeletedCount(), 2u);
    EXPECT_EQ(table.GetRowCount(), 5u) << "deleted rows stay until the purge";
    table.Purge();
    EXPECT_EQ(IDs(table), (std::vector<ULong>{1, 3, 4}));
    EXPECT_EQ(table.GetHighestID(), 4u);
    table.AddRow();
    EXPECT_EQ(IDs(table), (std::vector<ULong>{1, 3, 4, 5}));
}

TEST(CTable, FindRowOfADeletedIdPurgesFirstAndFindsNothing) {
    CTable table = NamedRows({"a", "b", "c"});
    table.DeleteRow(1);
    EXPECT_EQ(table.FindRow(2), -1);
    EXPECT_EQ(table.GetDeletedCount(), 0u);
    EXPECT_EQ(table.GetRowCount(), 2u);
    EXPECT_EQ(table.FindRow(3), 1);
}

TEST(CTable, FindRowFindsEveryIdAndNoGapAtAnySize) {
    // Sizes around powers of two are where a stride search goes wrong.
    for (ULong size : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 200u}) {
        CTable table("T");
        for (ULong i = 0; i < 2 * size; ++i) table.AddRow();
        for (ULong row = 0; row < 2 * size; row += 2) table.DeleteRow(row);
        table.Purge();  // IDs 2, 4, 6 ...: every odd value is a gap
        ASSERT_EQ(table.GetRowCount(), size);
        for (ULong row = 0; row < size; ++row) ASSERT_EQ(table.FindRow(2 * row + 2), static_cast<int>(row));
        for (ULong id = 1; id <= 2 * size + 1; id += 2) ASSERT_EQ(table.FindRow(id), -1) << size << " " << id;
        EXPECT_EQ(table.FindRow(0), -1);
        EXPECT_EQ(table.FindRow(0xFFFFFFFF), -1);
    }
}

TEST(CTable, TextColumnAddedToFilledTableReadsEmptyWithoutReferences) {
    CTable table("T");
    table.AddColumn("SIZE", CTable::typeNumber);
    for (ULong i = 0; i < 12; ++i) table.SetValue(table.AddRow(), 1, 100 + i);
    const ULong emptyRefs = table.GetStrings().GetRefCount(0);

    EXPECT_EQ(table.AddColumn("NAME", CTable::typeText), 3);
    for (ULong row = 0; row < 12; ++row) {
        EXPECT_EQ(table.GetValue(row, 1), 100 + row);
        EXPECT_EQ(table.GetValue(row, 2), 0u);
        EXPECT_EQ(table.GetText(row, 2), "");
    }
    EXPECT_EQ(table.GetStrings().GetRefCount(0), emptyRefs);
    // A cell of 0 holds no reference, so setting its text gives none back.
    table.SetText(0, 2, "x");
    EXPECT_EQ(table.GetStrings().GetRefCount(0), emptyRefs);
    // Rows added afterwards take one reference on "" per text cell.
    table.AddRow();
    EXPECT_EQ(table.GetStrings().GetRefCount(0), emptyRefs + 1);
}

TEST(CTable, EqualTextsShareOneIdUntilTheLastUserIsPurged) {
    CTable table = NamedRows({"shared", "shared", "later"});
    const CStringTable& strings = table.GetStrings();
    const ULong shared = table.GetValue(0, 1);
    EXPECT_EQ(table.GetValue(1, 1), shared);
    EXPECT_EQ(strings.GetRefCount(shared), 2u);
    const ULong later = table.GetValue(2, 1);

    table.DeleteRow(0);
    table.Purge();
    EXPECT_EQ(strings.GetRefCount(table.GetValue(0, 1)), 1u);
    EXPECT_EQ(table.GetValue(1, 1), later) << "nothing dropped, so nothing renumbered";

    table.DeleteRow(0);
    table.Purge();
    EXPECT_EQ(strings.Find("shared"), CStringTable::kNotFound);
    EXPECT_EQ(table.GetValue(0, 1), later - 1) << "ids after the dropped text move down";
    EXPECT_EQ(table.GetText(0, 1), "later");
    EXPECT_EQ(strings.GetText(0), "");

    table.SetText(0, 1, "new");
    EXPECT_EQ(strings.GetRefCount(strings.Find("later")), 0u) << "SetText releases the text it replaces";
    table.DeleteAll();
    EXPECT_EQ(strings.GetCount(), 1u) << "only the empty text is left";
}

TEST(CTable, AddColumnDropsDeletedRows) {
    CTable table = NamedRows({"a", "b"});
    table.DeleteRow(0);
    table.AddColumn("X", CTable::typeNumber);
    EXPECT_EQ(IDs(table), (std::vector<ULong>{2}));
    EXPECT_EQ(table.GetText(0, 1), "b");
    EXPECT_EQ(table.GetStrings().Find("a"), CStringTable::kNotFound);
}

TEST(CTable, CopyOfATableWithDeletedRowsIsPurgedButKeepsTheChangeCount) {
    CTable source = NamedRows({"a", "b", "c"});
    source.SetCompactStrings(1);
    source.DeleteRow(0);
    CTable copy("other");
    copy = source;
    EXPECT_EQ(copy.GetName(), "T");
    EXPECT_EQ(IDs(copy), (std::vector<ULong>{2, 3}));
    EXPECT_EQ(copy.GetStrings().Find("a"), CStringTable::kNotFound);
    EXPECT_EQ(copy.GetText(0, 1), "b");
    EXPECT_EQ(copy.GetChangeCount(), source.GetChangeCount());
    EXPECT_EQ(copy.GetCompactStrings(), 1u);
    EXPECT_EQ(source.GetDeletedCount(), 1u) << "the source is left alone";
}

TEST(CTable, DependantsAreRebuiltAfterAPurgeThatDroppedRows) {
    struct CountingIndex : CTableIndex {
        int rebuilds = 0;
        void RebuildIndex() override { ++rebuilds; }
    } index;
    CTable table = NamedRows({"a", "b", "c"});
    table.AddIndex(&index);
    table.AddIndex(&index);
    table.Purge();
    EXPECT_EQ(index.rebuilds, 0) << "nothing deleted, nothing moved";
    table.DeleteRow(0);
    EXPECT_EQ(table.FindRow(2), 0);
    EXPECT_EQ(index.rebuilds, 1) << "attached once, rebuilt once";

    CTable copy;
    copy = table;
    EXPECT_EQ(copy.GetIndexCount(), 0u) << "dependants belong to the object, not its content";
    table.RemoveIndex(&index);
    table.DeleteAll();
    EXPECT_EQ(index.rebuilds, 1);
}

}  // namespace
