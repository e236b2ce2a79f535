// The statement helpers on both engines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "sql/sqlite_procedures.h"
#include "support/engine_test.h"

namespace {

class SqlHelpers : public EngineTest {};

TEST(SqlQuote, DoublesQuotesAndCutsTheInputNotTheOutput) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"O'Neil", 0, "'O''Neil'"}, {"abcdef", 3, "'abc'"},   {"", 0, "''"}, {nullptr, 0, "''"}, {"''", 1, "''''"},
        {"a'b'c", 3, "'a''b'"},     {"100%_*", 0, "'100%_*'"}};
    for (const auto& [text, max, expected] : cases)
        EXPECT_STREQ(CSqlDatabase::SqlQuote(text, max).c_str(), expected) << text;
}

TEST_P(SqlHelpers, DatesReadBackAndYear1900OrNullIsNever) {
    db_->ExecuteStatement(
        IsSqlite() ? "create table TVALUES (_ID integer primary key, _F real, _T text, _D datetime)"
                   : "create table TVALUES (_ID integer primary key, _F real, _T varchar(50), _D timestamp)");
    for (const char* row : {"(1,12.5,'42abc','20090715 13:14:15')", "(2,0,'','19000101 00:00:00')", "(3,0,'',null)"})
        db_->ExecuteStatement(CString("insert into TVALUES (_ID,_F,_T,_D) values ") + row);
    EXPECT_EQ(db_->SelectTime("TVALUES", "_D", 1), CTime(2009, 7, 15, 13, 14, 15));
    EXPECT_STREQ(db_->SelectText("TVALUES", "_D", 1).c_str(), "15/7/2009");
    EXPECT_TRUE(db_->SelectTime("TVALUES", "_D", 2).IsNever());
    EXPECT_TRUE(db_->SelectTime("TVALUES", "_D", 3).IsNever());
}

TEST_P(SqlHelpers, ProcedureReturningNonZeroThrowsAlthoughItRan) {
    if (IsSqlite()) {
        TEST_RegisterSqliteProcedure(
            "usp_TestFails", [](CDatabase&, const std::vector<CString>&, std::int32_t*) { return std::int32_t{3}; });
    } else {
        db_->ExecuteStatement(
            "create function usp_TestFails(out ret integer) language plpgsql as $$ begin ret := 3; end; $$");
    }
    try {
        db_->CallProcedure("usp_TestFails", "");
        FAIL() << "no exception";
    } catch (const CDBException& e) {
        EXPECT_GE(e.m_nRetCode, 0);  // execution itself succeeded
        EXPECT_NE(e.m_strError.Find("returned 3"), -1) << e.m_strError.c_str();
    }
    EXPECT_FALSE(db_->IsBusy());
}

// The literal is the local time as 'YYYYMMDD hh:mm:ss', which both engines read back unchanged.
TEST_P(SqlHelpers, TimeLiteralIsCompactDateBlankAndColonTime) {
    const std::pair<CTime, const char*> cases[] = {{CTime(2024, 2, 29, 7, 5, 3), "'20240229 07:05:03'"}};
    db_->ExecuteStatement(IsSqlite() ? "create table TVALUES (_ID integer primary key, _D datetime)"
                                     : "create table TVALUES (_ID integer primary key, _D timestamp)");
    int id = 0;
    for (const auto& [time, literal] : cases) {
        EXPECT_STREQ(CSqlDatabase::SqlTime(time).c_str(), literal);
        db_->ExecuteStatement(CString::Formatted("insert into TVALUES (_ID,_D) values (%d,%s)", ++id,
                                                 CSqlDatabase::SqlTime(time).c_str()));
        EXPECT_EQ(db_->SelectTime("TVALUES", "_D", id), time) << literal;
    }
}

// Inside the caller's transaction an operation's own transaction joins it: its commit leaves
// the work to the caller's commit or rollback, and its failure does not end the caller's.
TEST_P(SqlHelpers, OperationsJoinTheCallersTransaction) {
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, CTime());
    db_->BeginTrans();
    EXPECT_EQ(db_->assetDelete(pc), 1);
    EXPECT_TRUE(db_->InTransaction()) << "the operation's commit did not end it";
    db_->Rollback();
    EXPECT_EQ(db_->FindAsset("PC", 0, 0), pc) << "rolled back with the caller's";

    db_->BeginTrans();
    {
        TransactionScope scope(*db_);
        db_->ExecuteStatement("update ASSET set _SERIAL='joined'");
    }  // left without Commit: a joined scope leaves the decision to the caller
    EXPECT_TRUE(db_->InTransaction());
    db_->CommitTrans();
    EXPECT_EQ(db_->SelectText("ASSET", "_SERIAL", pc).str(), "joined");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(SqlHelpers);

}  // namespace
