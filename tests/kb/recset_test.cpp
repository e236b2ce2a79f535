// CRecSet: filters, bad queries and moves around deleted rows.
#include "kb/recset.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "kb_files.h"

namespace {

using kbtest::MakeTable;
using kbtest::MessageCapture;

// SYSFILE rows (NAME, CRC, FLAGS), IDs 1 to 6.
class RecSet : public ::testing::Test {
protected:
    RecSet() {
        db.AddTable(MakeTable("SYSFILE", {{"NAME", 0}, {"CRC", 1}, {"FLAGS", 1}},
                              {{"a.dll", "0", "2"},
                               {"b.dll", "17", "2"},
                               {"c.dll", "4294967295", "0"},
                               {"O'Brien", "0", "1"},
                               {"", "9", "3"},
                               {"B.dll", "5", "2"}}));
    }
    CTableDatabase db;
};

TEST_F(RecSet, FiltersShowTheMatchingLiveRowsInTableOrder) {
    const struct {
        const char* where;
        std::vector<ULong> ids;
    } cases[] = {
        {"", {1, 2, 3, 4, 5, 6}},
        {"where CRC > 0 and FLAGS != 2", {3, 5}},
        {"where CRC < 17", {1, 4, 5, 6}},  // 4294967295 is the largest number, not -1
        {"where NAME = 'O''Brien'", {4}},
        {"where NAME = Smith", {5}},  // no quotes: the empty text
        {"where NAME != 'a.dll' and FLAGS = 2", {2, 6}},
        {"where NAME < 'a.dll'", {4, 5, 6}},  // byte order: "", "B.dll" and "O'Brien" sort before "a"
        {"where NAME = 'nowhere'", {}},
    };
    for (const auto& c : cases) {
        CRecSet rs(&db, (std::string("select * from SYSFILE ") + c.where).c_str());
        EXPECT_TRUE(rs.IsOpen()) << c.where;
        std::vector<ULong> forward, backward;
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) forward.push_back(rs.GetID());
        for (rs.MoveLast(); !rs.IsEOF(); rs.MovePrev()) backward.insert(backward.begin(), rs.GetID());
        EXPECT_EQ(forward, c.ids) << c.where;
        EXPECT_EQ(backward, c.ids) << c.where << " backwards";
    }
}

TEST_F(RecSet, AMalformedQueryShowsItsMessageAndReadsAsEmpty) {
    MessageCapture shown;
    CRecSet rs(&db);
    EXPECT_EQ(rs.Open("select * from CAT"), 0);
    EXPECT_EQ(shown.texts, std::vector<std::string>{"Unknown table CAT in query:\nselect * from CAT"});
    EXPECT_EQ(shown.styles, std::vector<unsigned>{0x30}) << "exclamation icon";
    EXPECT_FALSE(rs.IsOpen());
    EXPECT_TRUE(rs.IsEOF());
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
    EXPECT_EQ(db[0].GetDeletedCount(), 1u);
    rs.MoveNext();
    EXPECT_EQ(rs.GetID(), 6u);
    rs.Delete();
    EXPECT_TRUE(rs.IsEOF());
    rs.Delete();  // past the end: nothing
    EXPECT_EQ(db[0].GetDeletedCount(), 2u);
}

}  // namespace
