// CRecSet: what a query shows (filters on numbers and texts), the messages of bad queries, the
// moves with deleted rows about, FindID, and writes bracketed by the busy counter.
#include "kb/recset.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "kb_test_support.h"

namespace {

using kbtest::MakeTable;
using kbtest::MessageCapture;

// SYSFILE rows (NAME, CRC, FLAGS), IDs 1 to 6.
void AddSysFile(CTableDatabase& db) {
    db.AddTable(MakeTable("SYSFILE", {{"NAME", 0}, {"CRC", 1}, {"FLAGS", 1}},
                          {{"a.dll", "0", "2"},
                           {"b.dll", "17", "2"},
                           {"c.dll", "4294967295", "0"},
                           {"O'Brien", "0", "1"},
                           {"", "9", "3"},
                           {"B.dll", "5", "2"}}));
}

// The IDs a record set shows walking forwards from MoveFirst.
std::vector<ULong> Forward(CRecSet& rs) {
    std::vector<ULong> ids;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) ids.push_back(rs.GetID());
    return ids;
}

std::vector<ULong> Backward(CRecSet& rs) {
    std::vector<ULong> ids;
    for (rs.MoveLast(); !rs.IsEOF(); rs.MovePrev()) ids.push_back(rs.GetID());
    return ids;
}

class RecSet : public ::testing::Test {
protected:
    void SetUp() override { AddSysFile(db); }
    CTable& Table() { return db[0]; }
    CTableDatabase db;
};

TEST_F(RecSet, FiltersShowTheMatchingLiveRowsInTableOrder) {
    const struct {
        const char* where;
        std::vector<ULong> ids;
    } cases[] = {
        {"", {1, 2, 3, 4, 5, 6}},
        {"where CRC > 0 and FLAGS != 2", {3, 5}},
        {"where CRC = 0", {1, 4}},
        {"where CRC < 17", {1, 4, 5, 6}},  // 4294967295 is the largest number, not -1
        {"where NAME = 'O''Brien'", {4}},
        {"where NAME = Smith", {5}},  // no quotes: the empty text
        {"where NAME != 'a.dll' and FLAGS = 2", {2, 6}},
        {"where NAME < 'a.dll'", {4, 5, 6}},  // byte order: "", "B.dll" and "O'Brien" sort before "a"
        {"where NAME > 'b'", {2, 3}},
        {"where NAME = 'nowhere'", {}},
    };
    for (const auto& c : cases) {
        CRecSet rs(&db, (std::string("select * from SYSFILE ") + c.where).c_str());
        EXPECT_TRUE(rs.IsOpen()) << c.where;
        EXPECT_EQ(Forward(rs), c.ids) << c.where;
        std::vector<ULong> reversed(c.ids.rbegin(), c.ids.rend());
        EXPECT_EQ(Backward(rs), reversed) << c.where;
    }
}

TEST_F(RecSet, MalformedQueriesShowTheirMessageAndReadAsEmpty) {
    const struct {
        const char* query;
        const char* message;
    } cases[] = {
        {"select NAME from SYSFILE", "Unsupported verb in query:\nselect NAME from SYSFILE"},
        {"select * from CAT", "Unknown table CAT in query:\nselect * from CAT"},
        {"select * from SYSFILE where SIZE = 3",
         "Invalid filter column name 'SIZE' in query\n'select * from SYSFILE "
         "where SIZE = 3'"},
        {"select * from SYSFILE where CRC => 0",
         "Invalid operator '=>' in query\n'select * from SYSFILE where CRC => 0'"},
    };
    for (const auto& c : cases) {
        MessageCapture shown;
        CRecSet rs(&db);
        EXPECT_EQ(rs.Open(c.query), 0) << c.query;
        EXPECT_EQ(shown.texts, std::vector<std::string>{c.message});
        EXPECT_EQ(shown.styles, std::vector<unsigned>{0x30}) << "exclamation icon";
        EXPECT_FALSE(rs.IsOpen());
        EXPECT_TRUE(rs.IsEOF());
    }
}

TEST_F(RecSet, FailedOpenKeepsTheTableAndTheConditionsReadBeforeTheError) {
    MessageCapture shown;
    CRecSet rs(&db, "select * from SYSFILE where NAME = 'kept' and SIZE = 3");
    EXPECT_EQ(rs.GetTable(), &Table());
    ASSERT_EQ(rs.GetConditions().GetCount(), 1u);
    const ULong kept = Table().GetStrings().Find("kept");
    EXPECT_EQ(Table().GetStrings().GetRefCount(kept), 1u);
    rs.Close();
    EXPECT_EQ(Table().GetStrings().GetRefCount(kept), 0u) << "Close releases the filter texts";
}

TEST_F(RecSet, OpenAgainReleasesTheEarlierFilterTexts) {
    CRecSet rs(&db, "select * from SYSFILE where NAME = 'first'");
    const ULong first = Table().GetStrings().Find("first");
    ASSERT_EQ(rs.Open("select * from SYSFILE where NAME = 'second'"), 1);
    EXPECT_EQ(Table().GetStrings().GetRefCount(first), 0u);
    EXPECT_EQ(rs.GetConditions().GetCount(), 1u);
}

TEST_F(RecSet, UnknownColumnTypeShowsItsMessageAndMatchesNothing) {
    CTableDatabase odd;
    odd.AddTable(MakeTable("ODD", {{"WEIRD", 7}}, {{"1"}}));
    MessageCapture shown;
    CRecSet rs(&odd, "select * from ODD where WEIRD = 1");
    EXPECT_TRUE(rs.IsEOF());
    EXPECT_EQ(shown.texts, std::vector<std::string>{"Invalid Column type in CRecSet::CurrentRowMatches"});
}

TEST_F(RecSet, MoveLastStartsBelowTheEndWhileDeletedRowsAreUnpurged) {
    CRecSet rs(&db, "select * from SYSFILE");
    Table().DeleteRow(0);
    Table().DeleteRow(1);
    // Six rows, two deleted: the walk back starts below row 4, so IDs 5 and 6 are not reached.
    EXPECT_EQ(Backward(rs), (std::vector<ULong>{4, 3}));
    EXPECT_EQ(Forward(rs), (std::vector<ULong>{3, 4, 5, 6}));
    Table().Purge();
    EXPECT_EQ(Backward(rs), (std::vector<ULong>{6, 5, 4, 3}));
}

TEST_F(RecSet, DeleteStepsToTheNextRowEvenWhenItDoesNotMatch) {
    CRecSet rs(&db, "select * from SYSFILE where FLAGS = 2");
    ASSERT_EQ(rs.GetID(), 1u);
    rs.MoveNext();
    ASSERT_EQ(rs.GetID(), 2u);
    rs.Delete();
    EXPECT_EQ(rs.GetRow(), 2u);
    EXPECT_EQ(rs.GetID(), 3u) << "row 2 (FLAGS 0) is current although the filter rejects it";
    EXPECT_FALSE(rs.CurrentRowMatches());
    EXPECT_EQ(Table().GetDeletedCount(), 1u);
    rs.MoveNext();
    EXPECT_EQ(rs.GetID(), 6u);
    rs.Delete();
    EXPECT_TRUE(rs.IsEOF());
    rs.Delete();  // past the end: nothing
    EXPECT_EQ(Table().GetDeletedCount(), 2u);
}

TEST_F(RecSet, FindIdPositionsOnlyOnMatchingLiveRows) {
    CRecSet rs(&db, "select * from SYSFILE where FLAGS = 2");
    EXPECT_EQ(rs.FindID(6), 1);
    EXPECT_EQ(rs.GetText(1).str(), "B.dll");
    EXPECT_EQ(rs.FindID(6), 1);
    EXPECT_EQ(rs.FindID(3), 0) << "ID 3 has FLAGS 0";
    EXPECT_TRUE(rs.IsEOF());
    EXPECT_EQ(rs.FindID(99), 0);
    Table().DeleteRow(1);
    EXPECT_EQ(rs.FindID(2), 0);
    EXPECT_EQ(Table().GetDeletedCount(), 0u) << "the search purged first";
    EXPECT_EQ(rs.FindID(6), 1);
    EXPECT_EQ(rs.GetRow(), 4u);
}

TEST_F(RecSet, TextFilterFollowsItsTextWhenAPurgeRenumbersThePool) {
    CRecSet rs(&db, "select * from SYSFILE where NAME = 'c.dll'");
    const ULong before = rs.GetConditions()[0].value;
    Table().DeleteRow(0);  // "a.dll" goes, so every later id moves down
    Table().DeleteRow(1);
    Table().Purge();
    EXPECT_NE(rs.GetConditions()[0].value, before);
    EXPECT_EQ(Forward(rs), (std::vector<ULong>{3}));
    rs.Close();
    EXPECT_EQ(Table().GetIndexCount(), 0u);
}

TEST_F(RecSet, AddNewAppendsAndMakesTheRowCurrentWhateverTheFilter) {
    CRecSet rs(&db, "select * from SYSFILE where FLAGS = 1");
    EXPECT_EQ(rs.AddNew(), 7u);
    EXPECT_EQ(rs.GetRow(), 6u);
    rs.SetText(1, "new.exe");
    rs.SetValue(2, 99);
    EXPECT_EQ(Table().GetText(6, 1).str(), "new.exe");
    EXPECT_EQ(Table().GetValue(6, 2), 99u);
    EXPECT_EQ(Forward(rs), (std::vector<ULong>{4}));
}

TEST_F(RecSet, WritesWaitForTheRunningWrite) {
    CRecSet rs(&db, "select * from SYSFILE");
    db.EnterWrite();
    int pumped = 0;
    platform::SetMessagePumpHook([&] {
        if (++pumped == 2) db.LeaveWrite();
    });
    rs.SetValue(2, 1234);
    rs.Delete();
    platform::SetMessagePumpHook({});
    EXPECT_EQ(pumped, 2) << "SetValue waited for the busy counter";
    EXPECT_EQ(db.GetBusyCount(), 0);
    EXPECT_EQ(Table().GetValue(0, 2), 1234u);
    EXPECT_EQ(Table().GetDeletedCount(), 1u);
}

TEST_F(RecSet, RecordSetOnATableIsOpenOnItsFirstLiveRowAndWritesWithoutADatabase) {
    Table().DeleteRow(0);
    CRecSet rs(Table());
    EXPECT_TRUE(rs.IsOpen());
    EXPECT_EQ(rs.GetID(), 2u);
    rs.SetValue(2, 7);
    EXPECT_EQ(Table().GetValue(1, 2), 7u);
    MessageCapture shown;
    EXPECT_EQ(rs.Open("select * from SYSFILE"), 0) << "no database to find tables in";
    EXPECT_EQ(shown.texts, std::vector<std::string>{"Unknown table SYSFILE in query:\nselect * from SYSFILE"});
    EXPECT_EQ(rs.GetTable(), &Table()) << "and stays on its table, past the end";
    EXPECT_EQ(rs.GetID(), 0u);
    const ULong changes = Table().GetChangeCount();
    rs.SetValue(2, 9);
    rs.Delete();
    EXPECT_EQ(Table().GetChangeCount(), changes) << "no write past the end";
}

}  // namespace
