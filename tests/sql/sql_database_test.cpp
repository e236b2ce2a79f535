// The statement helpers on both engines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

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

NORVIK_ON_BOTH_ENGINES(SqlHelpers);

}  // namespace
