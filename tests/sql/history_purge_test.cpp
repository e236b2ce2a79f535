// The purges in batches: the same rows go as with the one-statement purge and the purge list,
// writers are not held between batches, and a cancel keeps the batches done.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

const CTime kBound(2009, 5, 1, 0, 0, 0);

CTime Day(int month, int day) { return CTime(2009, month, day, 9, 30, 0); }

class HistoryPurge : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    // Five assets whose rows interleave, so that _ID ranges cut across assets and across the
    // rows of one audit: each asset has an initial audit, audits on several dates (some after
    // the bound, none for asset 3) and an event on every row.
    void AddSite() {
        const CTime dates[] = {Day(1, 10), Day(2, 10), Day(3, 10), Day(4, 10), Day(5, 10), Day(6, 10)};
        for (int d = 0; d < 6; ++d) {
            for (ULong asset = 1; asset <= 5; ++asset) {
                if (asset == 3 && d >= 4) continue;  // only old history: keepAudits decides alone
                if (asset == 5 && d % 2 == 1) continue;
                const CString audit = CString::Formatted("a%u d%d", asset, d);
                if (d == 0) AddRow(asset, dates[d], 1, 3, audit + " initial");
                AddRow(asset, dates[d], 1, 13, audit + " app");
                AddRow(asset, dates[d], 4, 14, audit + " hw");
            }
        }
    }
    void AddRow(ULong asset, CTime date, ULong operation, int kind, const CString& key) {
        const ULong row = db_->historyAdd(asset, date, operation, kind, key, nullptr, nullptr, "test");
        ASSERT_NE(db_->AddEvent(key, row), 0u) << AllMessages();
    }
    // The keys of the rows left, and the texts of the events left (each names its row's key).
    std::set<std::string> Left(const char* statement) {
        std::set<std::string> keys;
        for (CSqlRecordset rs(db_.get(), statement); !rs.IsEOF(); rs.MoveNext()) keys.insert(rs.TextAt(0).str());
        return keys;
    }
    std::tuple<std::set<std::string>, std::set<std::string>> Remaining() {
        return {Left("select _KEY from HISTORY"), Left("select _EVENT from EVENTLOG")};
    }
    void Empty() {
        db_->ExecuteStatement("delete from EVENTLOG");
        db_->ExecuteStatement("delete from HISTORY");
    }
};

TEST_P(HistoryPurge, BatchesDeleteExactlyWhatTheOneStatementPurgeDeletes) {
    const std::tuple<int, int, ULong> cases[] = {{1, 0, 1}, {0, 0, 4}, {1, 2, 7}, {0, 1, 3}, {1, 9, 0}};
    for (const auto& [keepInitial, keepAudits, batch] : cases) {
        SCOPED_TRACE(testing::Message() << "keepInitial " << keepInitial << ", keepAudits " << keepAudits << ", batch "
                                        << batch);
        AddSite();
        const int expected = db_->PurgeAssetHistory(0, kBound, keepInitial, keepAudits);
        EXPECT_EQ(expected == 0, keepAudits == 9) << "no asset has nine dates: all is kept";
        const auto kept = Remaining();
        Empty();
        AddSite();
        EXPECT_EQ(db_->historyPurgeInBatches(kBound, keepInitial, keepAudits, batch), static_cast<ULong>(expected));
        EXPECT_EQ(Remaining(), kept);
        EXPECT_EQ(db_->historyPurgeInBatches(kBound, keepInitial, keepAudits, batch), 0u) << "a second run";
        Empty();
    }
}

TEST_P(HistoryPurge, KeepAuditsKeepsTheLatestDatesOfAnAssetWithOnlyOldHistory) {
    AddSite();
    db_->historyPurgeInBatches(kBound, 1, 2, 3);
    const std::set<std::string> left = Left("select _KEY from HISTORY where _ASSET = 3");
    EXPECT_EQ(left, (std::set<std::string>{"a3 d0 initial", "a3 d2 app", "a3 d2 hw", "a3 d3 app", "a3 d3 hw"}));
    EXPECT_EQ(Left("select _EVENT from EVENTLOG where _EVENT like 'a3 %'"), left);
}

// Between batches the purge holds no lock: another connection writes new history and changes
// rows of the asset whose old rows the last batch deleted, without waiting (a held lock would
// fail it at once: SQLite is given a busy timeout of a fifth of a second, PostgreSQL a lock
// timeout as short). The counts show the writer ran at every step and the purge kept its rows.
TEST_P(HistoryPurge, AnotherConnectionWritesBetweenBatchesWithoutWaiting) {
    AddSite();
    std::string connect = scratch_->ConnectionString();
    if (IsSqlite()) connect.replace(connect.find("Timeout=10000"), 13, "Timeout=200");
    CSqlDatabase writer;
    ASSERT_TRUE(writer.OpenEx(connect.c_str(), CDatabase::noOdbcDialog));
    if (!IsSqlite()) writer.ExecuteStatement("set lock_timeout = '200ms'");
    struct Agent {
        CSqlDatabase* writer;
        int steps = 0;
        std::vector<std::string> failures;
        static int Step(int code, CallbackValue, CallbackValue context) {
            if (code != CNorvik::kProgStep) return 1;
            auto* self = reinterpret_cast<Agent*>(context);
            ++self->steps;
            try {
                self->writer->ExecuteStatement(
                    "insert into HISTORY (_ASSET,_DATE,_CODE,_KEY) values (1,'20090701 08:00:00',65549,'new')");
                self->writer->ExecuteStatement("update HISTORY set _USERNAME = 'agent' where _ASSET = 1");
            } catch (const CDBException& e) {
                self->failures.push_back(e.m_strError.str());
            }
            return 1;
        }
    } agent{&writer, 0, {}};
    db_->ProgSetCallback(&Agent::Step, reinterpret_cast<CallbackValue>(&agent));
    const ULong removed = db_->historyPurgeInBatches(kBound, 1, 0, 6);
    EXPECT_TRUE(agent.failures.empty()) << agent.failures.front();
    EXPECT_GT(agent.steps, 3);
    EXPECT_GT(removed, 0u);
    EXPECT_EQ(Number("select count(*) from HISTORY where _KEY = 'new'"), static_cast<ULong>(agent.steps));
    EXPECT_EQ(Left("select distinct _USERNAME from HISTORY where _ASSET = 1"), std::set<std::string>{"agent"});
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    writer.Close();
}

TEST_P(HistoryPurge, ACancelKeepsTheBatchesDoneAndStops) {
    AddSite();
    const ULong all = Number("select count(*) from HISTORY");
    int steps = 0;
    db_->ProgSetCallback(
        [](int code, CallbackValue, CallbackValue context) {
            if (code != CNorvik::kProgStep) return 1;
            ++*reinterpret_cast<int*>(context);
            return CNorvik::kProgCancel;
        },
        reinterpret_cast<CallbackValue>(&steps));
    // The first range of ten _IDs holds old rows only (the January audits, initial ones kept).
    const ULong removed = db_->historyPurgeInBatches(kBound, 1, 0, 10);
    EXPECT_EQ(steps, 1);
    EXPECT_GT(removed, 0u);
    EXPECT_EQ(Number("select count(*) from HISTORY"), all - removed);
    EXPECT_EQ(Number("select count(*) from HISTORY where _ID > 10"), all - 10);
}

TEST_P(HistoryPurge, InternetHistoryGoesAsThePurgeListsNameIt) {
    const CTime before(2009, 3, 11, 0, 0, 0);
    for (ULong asset = 1; asset <= 3; ++asset) {
        for (int day = 8; day <= 12; ++day) {
            db_->ieHistAdd(asset, CTime(2009, 3, day, 10, 0, 0), "www.example.com", 0);
            db_->ieCookieAdd(asset, CTime(2009, 3, day, 10, 0, 0), "cookie");
        }
    }
    db_->ieHistAdd(1, before, "at the bound", 0);  // dated exactly `before`: stays
    db_->ieCookieAdd(1, before, "at the bound");
    CDynaList<ULong> pages, cookies;
    db_->ieEnumPurge(before, pages, cookies);
    ASSERT_EQ(std::pair(pages.GetCount(), cookies.GetCount()), std::pair(9u, 9u));
    ULong pagesGone = 0, cookiesGone = 0;
    EXPECT_EQ(db_->iePurgeInBatches(before, 4, &pagesGone, &cookiesGone), 18u);
    EXPECT_EQ(std::pair(pagesGone, cookiesGone), std::pair(9u, 9u));
    CDynaList<ULong> after, afterCookies;
    EXPECT_EQ(db_->ieEnumPurge(before, after, afterCookies), 0u);
    EXPECT_EQ(db_->ieHistGetCount(1), 3u);
    EXPECT_EQ(db_->ieCookieGetCount(2), 2u);
}

// A failing batch is reported, rolled back whole (its events stay with its rows) and stops the
// purge; the batches before it stay purged.
TEST_P(HistoryPurge, AFailingBatchIsReportedAndRolledBack) {
    AddSite();
    const ULong all = Number("select count(*) from HISTORY");
    // A row whose event cannot be deleted: the second range fails at its first statement.
    if (IsSqlite()) {
        db_->ExecuteStatement(
            "create trigger NO_DELETE before delete on EVENTLOG when old._HISTID = 12 begin select raise(abort, "
            "'kept'); end");
    } else {
        db_->ExecuteStatement(
            "create function no_delete() returns trigger language plpgsql as $$ begin if old._HISTID = 12 then "
            "raise exception 'kept'; end if; return old; end; $$");
        db_->ExecuteStatement(
            "create trigger NO_DELETE before delete on EVENTLOG for each row execute function no_delete()");
    }
    const ULong removed = db_->historyPurgeInBatches(kBound, 1, 0, 10);
    const std::vector<std::string> shown = TakeMessages();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("kept"), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find("delete from EVENTLOG where _HISTID between 11 and 20"), std::string::npos) << shown[0];
    EXPECT_EQ(Number("select count(*) from HISTORY"), all - removed);
    EXPECT_EQ(Number("select count(*) from HISTORY where _ID > 10"), all - 10);
    EXPECT_EQ(Number("select count(*) from EVENTLOG where _HISTID > 10"), all - 10);
}

NORVIK_ON_BOTH_ENGINES(HistoryPurge);

}  // namespace
