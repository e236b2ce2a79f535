// Internet history and cookies: one row per asset, site and day, the 1,024 cut, searches, deletes.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/engine_test.h"

namespace {

const CTime kMorning(2009, 3, 10, 9, 0, 0);
const CTime kEvening(2009, 3, 10, 17, 0, 0);
const CTime kNextDay(2009, 3, 11, 0, 30, 0);

class InternetHistory : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
};

TEST_P(InternetHistory, PagesOfOneDayShareARowAndTheNextDayStartsAnother) {
    const ULong first = db_->ieHistAdd(1, kMorning, "www.example.com", 0);
    ASSERT_NE(first, 0u) << AllMessages();
    EXPECT_EQ(db_->ieHistAdd(1, kEvening, "www.example.com", 0), first);
    EXPECT_EQ(std::pair(db_->ieHistGetPageCount(first), db_->ieHistGetDate(first)), std::pair(2u, kMorning));
    const ULong nextDay = db_->ieHistAdd(1, kNextDay, "www.example.com", 0);
    EXPECT_NE(db_->ieHistAdd(2, kEvening, "www.example.com", 0), first);
    const ULong otherSite = db_->ieHistAdd(1, kEvening, "www.example.org", 0);
    EXPECT_EQ(db_->ieHistGetPageCount(nextDay), 1u);
    EXPECT_EQ(db_->ieHistGetCount(1), 3u) << "another day and another site are other rows";
    CDynaList<CTime> dates;
    EXPECT_EQ(db_->ieHistEnumDates(1, dates), 3u);  // distinct stored dates, oldest first
    EXPECT_EQ(std::pair(dates[0], dates[2]), std::pair(kMorning, kNextDay));
    CDynaList<ULong> sites;
    db_->ieHistEnumSites(1, CTime(2009, 3, 10, 23, 59, 59), sites);
    EXPECT_EQ(Ids(sites), std::vector<ULong>({first, otherSite}));
}

TEST_P(InternetHistory, SitesAreStoredAndComparedByTheirFirst1024Characters) {
    const std::string site = "http://" + std::string(1493, 's');  // 1,500 characters
    const ULong row = db_->ieHistAdd(1, kMorning, site.c_str(), 0);
    ASSERT_NE(row, 0u) << AllMessages();
    EXPECT_EQ(db_->ieHistGetSite(row).str(), site.substr(0, 1024));
    const std::string otherTail = site.substr(0, 1024) + "different tail";
    EXPECT_EQ(db_->ieHistAdd(1, kEvening, otherTail.c_str(), 0), row);
    EXPECT_EQ(db_->ieHistGetPageCount(row), 2u);
    // A quote at the cut is doubled after the cut, so the row stays within the column.
    const std::string quoted = std::string(1023, 'q') + "'x";
    const ULong quotedRow = db_->ieHistAdd(1, kMorning, quoted.c_str(), 0);
    EXPECT_EQ(db_->ieHistGetSite(quotedRow).str(), quoted.substr(0, 1024));
}

TEST_P(InternetHistory, AKnownPageTotalIsRefusedByTheDatabaseAndReported) {
    EXPECT_EQ(db_->ieHistAdd(1, kMorning, "www.example.com", 7), 0u);
    const std::vector<std::string> shown = TakeMessages();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("ODBC Error code"), std::string::npos) << shown[0];
    EXPECT_EQ(db_->ieHistGetCount(1), 0u);
}

TEST_P(InternetHistory, SearchesEmptyTheListAndMatchWholeTextsCaseSensitively) {
    const ULong a = db_->ieHistAdd(1, kMorning, "www.example.com", 0);
    const ULong b = db_->ieHistAdd(2, kMorning, "mail.example.com", 0);
    db_->ieHistAdd(2, kMorning, "www.EXAMPLE.com", 0);
    db_->ieHistAdd(2, kMorning, "www.example.com.evil", 0);
    CDynaList<ULong> rows;
    rows.Add(999);
    EXPECT_EQ(db_->ieHistSearch("*.example.com", 0, rows), 2u);
    EXPECT_EQ(Ids(rows), std::vector<ULong>({a, b}));
    EXPECT_EQ(db_->ieHistSearch("*.example.com", 2, rows), 1u);
    EXPECT_EQ(Ids(rows), std::vector<ULong>({b}));
    EXPECT_EQ(db_->ieHistSearch("www.exampl?.com", 0, rows), 1u);
    const ULong cookie = db_->ieCookieAdd(1, kMorning, "user@Example'[1].txt");
    db_->ieCookieAdd(2, kMorning, "user@other[1].txt");
    rows.Add(999);
    EXPECT_EQ(db_->ieCookieSearch("*@Example'*", 0, rows), 1u);
    EXPECT_EQ(Ids(rows), std::vector<ULong>({cookie}));
    EXPECT_EQ(db_->ieCookieSearch("*@example'*", 0, rows), 0u);
}

TEST_P(InternetHistory, CookiesAreListedReadAndDeletedPerAsset) {
    const ULong first = db_->ieCookieAdd(1, kMorning, "a\xE9");
    EXPECT_NE(db_->ieCookieAdd(1, kMorning, "a\xE9"), first) << "no duplicate test";
    EXPECT_EQ(db_->ieCookieGetDate(db_->ieCookieAdd(2, kEvening, "b")), kEvening);
    EXPECT_EQ(db_->ieCookieGetName(first).str(), "a\xE9");
    CDynaList<ULong> rows;
    rows.Add(999);
    EXPECT_EQ(db_->ieCookieEnum(1, rows), 2u);
    EXPECT_EQ(db_->ieCookieDeleteAll(1), 1);
    EXPECT_EQ(std::pair(db_->ieCookieGetCount(1), db_->ieCookieGetCount(2)), std::pair(0u, 1u));
    db_->ieHistAdd(1, kMorning, "x", 0);
    EXPECT_EQ(db_->ieHistDelete(db_->ieHistAdd(2, kMorning, "x", 0)), 1);
    EXPECT_EQ(db_->ieHistDeleteAll(1), 1);
    EXPECT_EQ(db_->ieHistGetCount(1) + db_->ieHistGetCount(2), 0u);
}

NORVIK_ON_BOTH_ENGINES(InternetHistory);

}  // namespace
