// The statement helpers on both engines: quoting, reads and their conversions, procedure calls
// and the failures they report, transaction scopes, and the page size of new SQLite files.
#include <gtest/gtest.h>

#include <string>

#include "sql/sql_recordset.h"
#include "sql/sqlite_procedures.h"
#include "support/engine_test.h"

namespace {

class SqlHelpers : public EngineTest {
protected:
    bool HasOption(const char* key) {
        CSqlRecordset rs(db_.get(), CString::Formatted("select _ID from OPTIONS where _KEY='%s'", key));
        return !rs.IsEOF();
    }
};

// The first value a statement reads, as text.
std::string FirstText(CSqlDatabase& db, const char* statement) {
    CSqlRecordset rs(&db, statement);
    return rs.IsEOF() ? "" : rs.TextAt(0).str();
}

TEST(SqlQuote, DoublesQuotesAndCutsTheInputNotTheOutput) {
    struct Case {
        const char* text;
        int max;
        const char* expected;
    };
    const Case cases[] = {
        {"O'Neil", 0, "'O''Neil'"}, {"abcdef", 3, "'abc'"},    {"", 0, "''"}, {nullptr, 0, "''"}, {"''", 1, "''''"},
        {"a'b'c", 3, "'a''b'"},     {"100%_*", 0, "'100%_*'"},
    };
    for (const auto& c : cases) EXPECT_STREQ(CSqlDatabase::SqlQuote(c.text, c.max).c_str(), c.expected) << c.text;
}

TEST(SqlTime, WritesTheLocalTimeAsOneLiteral) {
    EXPECT_STREQ(CSqlDatabase::SqlTime(CTime(2009, 7, 15, 23, 5, 9)).c_str(), "'20090715 23:05:09'");
}

TEST_P(SqlHelpers, ReadsConvertFloatsTextsAndDates) {
    db_->ExecuteStatement(
        IsSqlite() ? "create table TVALUES (_ID integer primary key, _F real, _T text, _D datetime)"
                   : "create table TVALUES (_ID integer primary key, _F real, _T varchar(50), _D timestamp)");
    for (const char* row : {"(1,12.5,'42abc','20090715 13:14:15')", "(2,0,'','19000101 00:00:00')", "(3,0,'',null)"})
        db_->ExecuteStatement(CString("insert into TVALUES (_ID,_F,_T,_D) values ") + row);
    EXPECT_STREQ(db_->SelectText("TVALUES", "_F", 1).c_str(), "     12.50");
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_T", 1), 42u);
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

TEST_P(SqlHelpers, ATransactionScopeJoinsTheCallersTransactionAndRollsBackAlone) {
    db_->BeginTrans();
    {
        TransactionScope inner(*db_);
        db_->InsertRecord("OPTIONS", "_KEY,_VAL", "'joined',''");
        inner.Commit();
    }
    EXPECT_TRUE(db_->InTransaction()) << "the inner commit leaves the caller's transaction open";
    db_->Rollback();
    EXPECT_FALSE(HasOption("joined"));

    try {
        TransactionScope own(*db_);
        db_->InsertRecord("OPTIONS", "_KEY,_VAL", "'dropped',''");
        throw CDBException(-1, "stop", "");
    } catch (const CDBException&) {
    }
    EXPECT_FALSE(db_->InTransaction());
    EXPECT_FALSE(HasOption("dropped"));
}

NORVIK_ON_BOTH_ENGINES(SqlHelpers);

TEST(SqliteFile, NewDatabasesUseSmallPagesAndKeepTheAskedJournalMode) {
    const ScratchDatabase scratch(Engine::Sqlite);
    CSqlDatabase db;
    db.OpenEx(scratch.ConnectionString().c_str(), CDatabase::noOdbcDialog);
    EXPECT_EQ(FirstText(db, "pragma page_size"), "2048");
    EXPECT_EQ(FirstText(db, "pragma journal_mode"), "wal");
}

}  // namespace
