// The event log on both engines: events tied to history rows, their lookup and enumeration,
// and the delete-all statement that both engines refuse.
#include <gtest/gtest.h>

#include <set>

#include "support/engine_test.h"

namespace {

const CTime kWhen(2010, 6, 1, 12, 0, 0);

class Events : public EngineTest {
protected:
    ULong History(ULong asset) { return db_->historyAdd(asset, kWhen, 5, 31, "site", nullptr, nullptr, nullptr); }
};

TEST_P(Events, EventRoundTripsWithQuotesPercentsAndEightBitText) {
    const ULong hist = History(1);
    const char* texts[] = {"Visited O'Neil's site", "100% of the disk", "caf\xE9 \x80", "''"};
    for (const char* text : texts) {
        const ULong event = db_->AddEvent(text, hist);
        ASSERT_NE(event, 0u) << text << AllMessages();
        EXPECT_EQ(db_->FindEvent(text, hist), event) << text;
        CString read;
        ULong readHist = 0;
        db_->GetEventDetails(event, read, &readHist);
        EXPECT_STREQ(read, text);
        EXPECT_EQ(readHist, hist);
    }
    EXPECT_EQ(db_->GetEventCount(), 4u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Events, FindNeedsTheSameTextOnTheSameHistoryRow) {
    const ULong first = History(1);
    const ULong second = History(1);
    const ULong event = db_->AddEvent("Alert", first);
    EXPECT_EQ(db_->FindEvent("Alert", first), event);
    EXPECT_EQ(db_->FindEvent("Alert", second), 0u);
    EXPECT_EQ(db_->FindEvent("alert", first), 0u);
    EXPECT_EQ(db_->FindEvent("Al%", first), 0u);
}

TEST_P(Events, DeleteRemovesOneEventAndUnknownDetailsStayAsTheyWere) {
    const ULong hist = History(1);
    const ULong keep = db_->AddEvent("keep", hist);
    const ULong drop = db_->AddEvent("drop", hist);
    db_->DeleteEvent(drop);
    EXPECT_EQ(db_->GetEventCount(), 1u);
    EXPECT_EQ(db_->FindEvent("keep", hist), keep);
    CString text = "untouched";
    ULong readHist = 77;
    db_->GetEventDetails(drop, text, &readHist);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(readHist, 77u);
    db_->GetEventDetails(keep, text, nullptr);
    EXPECT_STREQ(text, "keep");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Events, DeleteAllSendsTheStarStatementAndReportsItsFailure) {
    db_->AddEvent("one", History(1));
    db_->DeleteAllEvents();
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].rfind("ODBC Error code ", 0), 0u) << messages_[0];
    const std::string tail = "\nSQL String : delete * from EVENTLOG";
    EXPECT_EQ(messages_[0].substr(messages_[0].size() - tail.size()), tail) << messages_[0];
    EXPECT_EQ(styles_[0], 48u);
    EXPECT_EQ(db_->GetEventCount(), 1u);  // nothing was deleted
}

TEST_P(Events, GlobalEnumerationFiltersByAssetOrListsEverything) {
    const ULong e1 = db_->AddEvent("a", History(1));
    const ULong e2 = db_->AddEvent("b", History(2));
    const ULong e3 = db_->AddEvent("c", History(3));
    db_->AddEvent("orphan", 999);  // no history row: only the full list holds it

    CDynaList<ULong> assets;
    CDynaList<ULong> ids;
    ids.Add(12345);
    // Without assets the list starts afresh and holds every event.
    EXPECT_EQ(db_->EnumGlobalEvents(assets, ids), 4u);
    EXPECT_EQ(std::set<ULong>(ids.begin(), ids.end()).count(12345), 0u);

    assets.Add(3);
    assets.Add(1);
    assets.Add(42);
    ids.RemoveAll();
    ids.Add(12345);
    // With assets the matches are appended.
    EXPECT_EQ(db_->EnumGlobalEvents(assets, ids), 3u);
    EXPECT_EQ(std::set<ULong>(ids.begin(), ids.end()), (std::set<ULong>{12345, e1, e3}));
    EXPECT_EQ(std::set<ULong>(ids.begin(), ids.end()).count(e2), 0u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Events, ReadFailuresAreReportedWithTheStatement) {
    db_->ExecuteStatement("drop table EVENTLOG");
    EXPECT_EQ(db_->GetEventCount(), 0u);
    EXPECT_EQ(db_->FindEvent("x", 1), 0u);
    EXPECT_EQ(db_->AddEvent("x", 1), 0u);
    ASSERT_EQ(messages_.size(), 3u) << AllMessages();
    EXPECT_NE(messages_[0].find("\nSQL String : select * from EVENTLOG"), std::string::npos) << messages_[0];
    EXPECT_NE(messages_[1].find("\nSQL String : select _ID from EVENTLOG where _HISTID=1 and _EVENT='x'"),
              std::string::npos)
        << messages_[1];
}

NORVIK_ON_BOTH_ENGINES(Events);

}  // namespace
