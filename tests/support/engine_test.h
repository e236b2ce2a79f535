// The fixture of every database test: run once per engine, each test on a fresh database,
// with the message-box callback recording what the library shows.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/scratch_database.h"

// Opens the protected members of the back end to the tests.
class TestableNorvikSql : public CNorvikSql {
public:
    using CNorvikSql::CNorvikSql;
    using CNorvikSql::GetVer;
    using CNorvikSql::historyAdd;
    using CNorvikSql::m_bCleanNeeded;
    using CNorvikSql::SetVer;
};

class EngineTest : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override;
    void TearDown() override;

    // A new, unopened back end whose messages are recorded.
    std::unique_ptr<TestableNorvikSql> MakeBackEnd();
    // Opens `db` on the scratch database; true when open.
    bool OpenBackEnd(TestableNorvikSql& db);

    bool IsSqlite() const { return GetParam() == Engine::Sqlite; }
    // Everything shown through the message box so far, joined.
    std::string AllMessages() const;
    // The first number `statement` selects; 0 when it selects no row.
    ULong Number(const std::string& statement);
    // The ids of `list`, in its order.
    static std::vector<ULong> Ids(const CDynaList<ULong>& list) { return std::vector<ULong>(list.begin(), list.end()); }
    // How many rows of `table` meet `condition` (every row when it is empty).
    ULong Rows(const char* table, const CString& condition = "") {
        CDynaList<ULong> ids;
        return db_->EnumIds(table, condition, ids);
    }

    // Counts every UPDATE of a row of `table` from now on, whoever sends it (a trigger writing
    // into table UPDLOG); CountedUpdates tells how many there were. One table per test.
    void CountUpdates(const char* table);
    ULong CountedUpdates();

    // The schema version the scratch database is created at.
    virtual const char* SchemaVersion() const { return "7.14"; }
    // Whether SetUp opens db_ (tests of Open itself say no).
    virtual bool OpenInSetUp() const { return true; }
    // Whether every test of the fixture must end with nothing shown by message box (TearDown
    // checks); a test that expects a message takes it with TakeMessages.
    virtual bool EndsQuiet() const { return false; }
    // The messages shown so far, which then no longer count as shown.
    std::vector<std::string> TakeMessages() { return std::exchange(messages_, {}); }

    CAuditDBSys kb_;
    std::unique_ptr<ScratchDatabase> scratch_;
    std::unique_ptr<TestableNorvikSql> db_;  // open on the scratch database
    std::vector<std::string> messages_;
    std::vector<unsigned> styles_;
    int answer_ = 7;  // the answer to questions: No

private:
    static int RecordMessage(const char* text, unsigned style, CallbackValue context);
};

#define NORVIK_ON_BOTH_ENGINES(Suite)                                                        \
    INSTANTIATE_TEST_SUITE_P(, Suite, ::testing::Values(Engine::Sqlite, Engine::PostgreSql), \
                             [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); })
