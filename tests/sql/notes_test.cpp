// Notes on both engines.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/engine_test.h"

namespace {

class Notes : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    // The engines return rows in index or heap order; the tests care about the set.
    static std::vector<ULong> Ids(const CDynaList<ULong>& list) {
        std::vector<ULong> ids(list.begin(), list.end());
        std::sort(ids.begin(), ids.end());
        return ids;
    }
};

TEST_P(Notes, AddingTwiceForOneRecordUpdatesTheFirstNote) {
    const ULong note = db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 7, 1, "first");
    ASSERT_NE(note, 0u) << AllMessages();
    EXPECT_EQ(db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 7, -2, "it's \xE9"), note);
    int data = 0;
    CString text;
    EXPECT_EQ(db_->notesGetDetails(note, &data, &text), note);
    EXPECT_EQ(data, -2);
    EXPECT_EQ(text.str(), "it's \xE9");
    // Another kind or another record is another note.
    EXPECT_NE(db_->notesAdd(CNorvik::noteWarning, CNorvik::tableAsset, 7, 0, "x"), note);
    EXPECT_NE(db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 8, 0, "x"), note);
    EXPECT_EQ(db_->notesGetDetails(note + 100, &data, &text), 0u);
}

TEST_P(Notes, EnumerationTakesEveryGivenCriterionAndNeedsOne) {
    const ULong a = db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 1, 0, "a");
    const ULong b = db_->notesAdd(CNorvik::noteWarning, CNorvik::tableAsset, 1, 0, "b");
    const ULong c = db_->notesAdd(CNorvik::noteComment, CNorvik::tableLocation, 1, 0, "c");
    const int comment = CNorvik::noteComment;
    const int assets = CNorvik::tableAsset;
    const ULong record = 1;
    CDynaList<ULong> notes;
    EXPECT_EQ(db_->enumNotes(&comment, nullptr, nullptr, notes), 2u);
    EXPECT_EQ(Ids(notes), std::vector<ULong>({a, c}));
    notes.RemoveAll();
    EXPECT_EQ(db_->enumNotes(nullptr, &assets, &record, notes), 2u);
    EXPECT_EQ(Ids(notes), std::vector<ULong>({a, b}));
    // Appends: the list keeps what it held.
    EXPECT_EQ(db_->enumNotes(&comment, &assets, &record, notes), 3u);
    EXPECT_EQ(Ids(notes), std::vector<ULong>({a, a, b}));
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    // Without a criterion the statement fails, and that is reported.
    notes.RemoveAll();
    EXPECT_EQ(db_->enumNotes(nullptr, nullptr, nullptr, notes), 0u);
    const std::vector<std::string> shown = TakeMessages();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("select _ID from NOTES where "), std::string::npos) << shown[0];
}

TEST_P(Notes, DeletionTakesOnlyThatNote) {
    const ULong a = db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 1, 0, "a");
    const ULong b = db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 2, 0, "b");
    EXPECT_EQ(db_->notesDelete(a), 1);
    EXPECT_EQ(db_->notesDelete(a), 1) << "a missing note";
    int data = 0;
    CString text;
    EXPECT_EQ(db_->notesGetDetails(a, &data, &text), 0u);
    EXPECT_EQ(db_->notesGetDetails(b, &data, &text), b);
    // The record's next note is a new one.
    EXPECT_NE(db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, 1, 0, "again"), a);
}

NORVIK_ON_BOTH_ENGINES(Notes);

}  // namespace
