// The statement helpers on both engines: quoting, reads and their conversions, inserts,
// procedure calls and the failures they report.
#include <gtest/gtest.h>

#include "sql/sql_recordset.h"
#include "sql/sqlite_procedures.h"
#include "support/engine_test.h"

namespace {

class SqlHelpers : public EngineTest {
protected:
    // A table of every kind of value the reads convert.
    void MakeValueTable() {
        db_->ExecuteStatement(
            IsSqlite() ? "create table TVALUES (_ID integer primary key, _F real, _T text, _D datetime)"
                       : "create table TVALUES (_ID integer primary key, _F real, _T varchar(50), _D timestamp)");
    }
};

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
    EXPECT_STREQ(CSqlDatabase::SqlTime(CTime(2009, 1, 1, 0, 0, 0)).c_str(), "'20090101 00:00:00'");
    EXPECT_STREQ(CSqlDatabase::SqlTime(CTime(2009, 7, 15, 23, 5, 9)).c_str(), "'20090715 23:05:09'");
}

TEST_P(SqlHelpers, FloatsReadAsPaddedTextAndTruncatedNumbers) {
    MakeValueTable();
    db_->ExecuteStatement("insert into TVALUES (_ID,_F,_T) values (1,12.5,'x')");
    db_->ExecuteStatement("insert into TVALUES (_ID,_F,_T) values (2,-3.75,'x')");
    EXPECT_STREQ(db_->SelectText("TVALUES", "_F", 1).c_str(), "     12.50");
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_F", 1), 12u);
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_F", 2), static_cast<ULong>(-3));
}

TEST_P(SqlHelpers, TextsReadAsTheirLeadingNumber) {
    MakeValueTable();
    db_->ExecuteStatement("insert into TVALUES (_ID,_T) values (1,'42abc')");
    db_->ExecuteStatement("insert into TVALUES (_ID,_T) values (2,'abc')");
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_T", 1), 42u);
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_T", 2), 0u);
    EXPECT_STREQ(db_->SelectText("TVALUES", "_T", 1).c_str(), "42abc");
}

TEST_P(SqlHelpers, DatesReadAsLocalTimeTextAndNever) {
    MakeValueTable();
    db_->ExecuteStatement("insert into TVALUES (_ID,_D) values (1,'20090715 13:14:15')");
    db_->ExecuteStatement("insert into TVALUES (_ID,_D) values (2,'19000101 00:00:00')");
    db_->ExecuteStatement("insert into TVALUES (_ID) values (3)");
    EXPECT_EQ(db_->SelectTime("TVALUES", "_D", 1), CTime(2009, 7, 15, 13, 14, 15));
    EXPECT_STREQ(db_->SelectText("TVALUES", "_D", 1).c_str(), "15/7/2009");
    EXPECT_EQ(db_->SelectNumber("TVALUES", "_D", 1), 0u);
    EXPECT_TRUE(db_->SelectTime("TVALUES", "_D", 2).IsNever());
    EXPECT_TRUE(db_->SelectTime("TVALUES", "_D", 3).IsNever());
    EXPECT_STREQ(db_->SelectText("TVALUES", "_D", 3).c_str(), "");
}

TEST_P(SqlHelpers, TimeLiteralsRoundTripAcrossDaylightSaving) {
    MakeValueTable();
    const CTime winter(2009, 1, 1, 0, 0, 0);
    const CTime summer(2009, 7, 1, 12, 30, 0);
    db_->ExecuteStatement(CString("insert into TVALUES (_ID,_D) values (1,") + CSqlDatabase::SqlTime(winter) + ")");
    db_->ExecuteStatement(CString("insert into TVALUES (_ID,_D) values (2,") + CSqlDatabase::SqlTime(summer) + ")");
    EXPECT_EQ(db_->SelectTime("TVALUES", "_D", 1), winter);
    EXPECT_EQ(db_->SelectTime("TVALUES", "_D", 2), summer);
}

TEST_P(SqlHelpers, MissingRowsReadAsNullResults) {
    EXPECT_STREQ(db_->SelectText("OPTIONS", "_VAL", 999).c_str(), "");
    EXPECT_EQ(db_->SelectNumber("OPTIONS", "_ID", 999), 0u);
    EXPECT_TRUE(db_->SelectTime("HISTORY", "_DATE", 999).IsNever());
}

TEST_P(SqlHelpers, InsertRecordReturnsIncreasingIds) {
    ULong last = 0;
    for (int i = 0; i < 5; ++i) {
        const ULong id = db_->InsertRecord("OPTIONS", "_KEY,_VAL", CString::Formatted("'k%d','it''s'", i));
        EXPECT_GT(id, last);
        last = id;
    }
    EXPECT_STREQ(db_->SelectText("OPTIONS", "_VAL", last).c_str(), "it's");
    EXPECT_STREQ(db_->SelectText("OPTIONS", "_KEY", last).c_str(), "k4");
}

TEST_P(SqlHelpers, InsertRecordOfABadColumnThrowsAndInsertsNothing) {
    EXPECT_THROW(db_->InsertRecord("OPTIONS", "_NOSUCH", "'x'"), CDBException);
    CDynaList<ULong> ids;
    EXPECT_EQ(db_->EnumIds("OPTIONS", "", ids), 0u);
    EXPECT_FALSE(db_->IsBusy());
}

TEST_P(SqlHelpers, EnumIdsReplacesTheListAndFilters) {
    for (int i = 0; i < 3; ++i) db_->InsertRecord("OPTIONS", "_KEY,_VAL", CString::Formatted("'k%d','v'", i));
    CDynaList<ULong> ids;
    ids.Add(12345);
    EXPECT_EQ(db_->EnumIds("OPTIONS", "", ids), 3u);
    EXPECT_EQ(ids.GetCount(), 3u);
    EXPECT_EQ(db_->EnumIds("OPTIONS", "_KEY = 'k1'", ids), 1u);
    EXPECT_EQ(db_->SelectText("OPTIONS", "_KEY", ids[0]), "k1");
}

TEST_P(SqlHelpers, FailingStatementThrowsWithTheDriverMessage) {
    try {
        db_->ExecuteStatement("update NOSUCHTABLE set _X=1");
        FAIL() << "no exception";
    } catch (const CDBException& e) {
        EXPECT_EQ(e.m_nRetCode, -1);
        EXPECT_NE(e.m_strError.Find("NOSUCHTABLE") >= 0 || e.m_strError.Find("nosuchtable") >= 0, false)
            << e.m_strError.c_str();
    }
    EXPECT_FALSE(db_->IsBusy());
    EXPECT_EQ(db_->ExecuteStatement("update OPTIONS set _VAL='x' where _ID=0"), 1);
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

TEST_P(SqlHelpers, CallProcedureOutReceivesTheOutputValue) {
    std::int32_t id = 0;
    db_->CallProcedureOut("usp_Insert", "'OPTIONS','_KEY,_VAL','''a'',''b'''", id);
    EXPECT_GT(id, 0);
    EXPECT_STREQ(db_->SelectText("OPTIONS", "_VAL", static_cast<ULong>(id)).c_str(), "b");
}

TEST_P(SqlHelpers, StatementWhileARecordsetIsOpenIsRefusedNotHung) {
    CSqlRecordset rs(db_.get(), "select _ID from VERSION");
    EXPECT_THROW(db_->ExecuteStatement("update VERSION set _MINOR=14"), CDBException);
    rs.Close();
    EXPECT_EQ(db_->ExecuteStatement("update VERSION set _MINOR=14"), 1);
}

TEST_P(SqlHelpers, CleanRunsOnlyWhenAsked) {
    db_->Clean();  // nothing asked: no statement at all
    db_->m_bCleanNeeded = 1;
    db_->Clean();
    EXPECT_EQ(db_->m_bCleanNeeded, 0);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(SqlHelpers, NonAsciiBytesRoundTrip) {
    const char name[] = "Caf\xE9 \x80\x9F\xFF 'q' 100%";
    const ULong id = db_->InsertRecord("OPTIONS", "_KEY,_VAL", CString("'k',") + CSqlDatabase::SqlQuote(name));
    EXPECT_STREQ(db_->SelectText("OPTIONS", "_VAL", id).c_str(), name);
}

NORVIK_ON_BOTH_ENGINES(SqlHelpers);

}  // namespace

namespace {

class CleanUp : public EngineTest {};

TEST_P(CleanUp, RemovesRowsOfDeletedAssetsAndKeepsTheRest) {
    const ULong kept = db_->InsertRecord("ASSET", "_NAME", "'kept'");
    const ULong gone = db_->InsertRecord("ASSET", "_NAME", "'gone'");
    const ULong keptHistory = db_->InsertRecord("HISTORY", "_ASSET,_CODE", CString::Formatted("%d,1", kept));
    const ULong goneHistory = db_->InsertRecord("HISTORY", "_ASSET,_CODE", CString::Formatted("%d,1", gone));
    const ULong keptHw = db_->InsertRecord("HW", "_ASSET,_KEY", CString::Formatted("%d,'CPU'", kept));
    const ULong goneHw = db_->InsertRecord("HW", "_ASSET,_KEY", CString::Formatted("%d,'CPU'", gone));
    const ULong skeleton = db_->InsertRecord("HW", "_ASSET,_KEY", "0,'Hardware'");
    db_->ExecuteStatement(CString::Formatted("delete from ASSET where _ID = %d", gone));
    db_->m_bCleanNeeded = 1;
    db_->Clean();
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    EXPECT_EQ(db_->SelectNumber("HISTORY", "_ID", keptHistory), keptHistory);
    EXPECT_EQ(db_->SelectNumber("HISTORY", "_ID", goneHistory), 0u);
    EXPECT_EQ(db_->SelectNumber("HW", "_ID", keptHw), keptHw);
    EXPECT_EQ(db_->SelectNumber("HW", "_ID", goneHw), 0u);
    EXPECT_EQ(db_->SelectNumber("HW", "_ID", skeleton), skeleton) << "rows of no asset are shared, never orphans";
}

NORVIK_ON_BOTH_ENGINES(CleanUp);

}  // namespace
