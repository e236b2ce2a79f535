// CTable in memory.
#include "kb/table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kb_files.h"

namespace {

using kbtest::MakeTable;

std::vector<ULong> IDs(const CTable& table) {
    std::vector<ULong> ids;
    for (ULong row = 0; row < table.GetRowCount(); ++row) ids.push_back(table.GetValue(row, 0));
    return ids;
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
    CTable table = MakeTable("T", {{"NAME", CTable::typeText}}, {{"a"}, {"b"}, {"c"}});
    table.DeleteRow(1);
    EXPECT_EQ(table.FindRow(2), -1);
    EXPECT_EQ(table.GetDeletedCount(), 0u);
    EXPECT_EQ(table.GetRowCount(), 2u);
    EXPECT_EQ(table.FindRow(3), 1);
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
    CTable table = MakeTable("T", {{"NAME", CTable::typeText}}, {{"shared"}, {"shared"}, {"later"}});
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

}  // namespace
