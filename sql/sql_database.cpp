// The statement helpers: quoting, direct execution, procedure calls, inserts and single reads.
#include "sql/sql_database.h"

#include <cstdio>

#include "platform/odbc_statement.h"
#include "platform/ui_hooks.h"
#include "sql/sql_recordset.h"
#include "sql/sqlite_procedures.h"

void CSqlDatabase::HandleSqlException(const CDBException& e, const char* statement) const {
    std::fprintf(stderr, "ODBC Error code %d\nError : %s\nOrigin : %s\n", e.m_nRetCode, e.m_strError.c_str(),
                 e.m_strStateNativeOrigin.c_str());
    if (statement) std::fprintf(stderr, "SQL String : %s\n", statement);
}

CString CSqlDatabase::SqlQuote(const char* text, int maxLength) {
    std::string out;
    out.reserve(32);
    out += '\'';
    int taken = 0;
    for (const char* p = text ? text : ""; *p; ++p) {
        if (maxLength != 0 && taken == maxLength) break;
        out += *p;
        if (*p == '\'') out += '\'';
        ++taken;
    }
    out += '\'';
    return CString(std::move(out));
}

CString CSqlDatabase::SqlTime(CTime time) {
    const DateTimeParts t = time.GetLocal();
    return CString::Formatted("'%4.4d%2.2d%2.2d %2.2d:%2.2d:%2.2d'", t.year, t.month, t.day, t.hour, t.minute,
                              t.second);
}

void CSqlDatabase::AcquireBusy() {
    if (m_bBusy) {
        // Only a message handler run from the wait loop can be waiting here, and only the
        // statement it interrupted can clear the flag. Without a pump nothing ever would.
        if (!platform::HasMessagePump())
            throw CDBException(-1, "A statement was started while another was still running on this connection",
                               "State:HY010,Native:0,Origin:Connection");
        while (m_bBusy) {
            platform::SleepMilliseconds(100);
            platform::PumpMessages();
        }
    }
    m_bBusy = 1;
}

int CSqlDatabase::ExecuteStatement(const char* statement) {
    BusyScope busy(*this);
    ExecuteSQL(statement);
    return 1;
}

void CSqlDatabase::AppendArrayText(std::string& array, const char* text) {
    if (!array.empty()) array += ',';
    array += '"';
    for (const char* p = text ? text : ""; *p != '\0'; ++p) {
        if (*p == '"' || *p == '\\') array += '\\';
        array += *p;
    }
    array += '"';
}

std::int32_t CSqlDatabase::RunProcedure(const char* callText, const char* name, const char* args, std::int32_t* out) {
    BusyScope busy(*this);
    std::int32_t ret = 0;
    if (GetEngine() == SqlEngine::Sqlite) {
        ret = RunSqliteProcedure(*this, name, args, out);
        if (ret != 0) throw CDBException(0, CString::Formatted("%s returned %d", name, static_cast<int>(ret)), "0");
    } else {
        COdbcStatement stmt(*this);
        stmt.BindOutputLong(1, &ret);
        if (out) stmt.BindOutputLong(2, out);
        const int rc = stmt.ExecDirect(callText);
        if (rc == COdbcStatement::kError || ret != 0) {
            CString message;
            int native = 0;
            stmt.FirstDiagnostic(&message, &native);
            // A procedure that reports failure only through its value leaves no diagnostic.
            if (message.IsEmpty()) message.Format("%s returned %d", name, static_cast<int>(ret));
            throw CDBException(rc, message, CString::Formatted("%d", native));
        }
        stmt.DiscardResults();
    }
    return ret;
}

void CSqlDatabase::CallProcedure(const char* name, const char* args) {
    const bool noArgs = !args || !*args;
    const CString call =
        noArgs ? CString::Formatted("{?=call %s}", name) : CString::Formatted("{?=call %s(%s)}", name, args);
    RunProcedure(call, name, noArgs ? "" : args, nullptr);
}

void CSqlDatabase::CallProcedureOut(const char* name, const char* args, std::int32_t& out) {
    const CString call = CString::Formatted("{?=call %s(%s,?)}", name, args ? args : "");
    RunProcedure(call, name, args ? args : "", &out);
}

ULong CSqlDatabase::InsertRecord(const char* table, const char* columns, const char* values) {
    const CString args = SqlQuote(table) + "," + SqlQuote(columns) + "," + SqlQuote(values);
    std::int32_t id = 0;
    RunProcedure(CString::Formatted("{?=call usp_Insert(%s,?)}", args.c_str()), "usp_Insert", args, &id);
    return static_cast<ULong>(id);
}

CString CSqlDatabase::SelectText(const char* table, const char* column, ULong id) {
    CSqlRecordset rs(this, CString::Formatted("select %s from %s where _ID = %d", column, table, static_cast<int>(id)));
    return rs.IsEOF() ? CString() : rs.TextAt(0);
}

ULong CSqlDatabase::SelectNumber(const char* table, const char* column, ULong id) {
    CSqlRecordset rs(this, CString::Formatted("select %s from %s where _ID = %d", column, table, static_cast<int>(id)));
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

CTime CSqlDatabase::SelectTime(const char* table, const char* column, ULong id) {
    CSqlRecordset rs(this, CString::Formatted("select %s from %s where _ID=%d", column, table, static_cast<int>(id)));
    return rs.IsEOF() ? CTime() : rs.TimeAt(0);
}

ULong CSqlDatabase::EnumIds(const char* table, const char* condition, CDynaList<ULong>& list) {
    list.RemoveAll();
    CString statement = CString::Formatted("select _ID from %s", table);
    if (condition && *condition) statement += CString(" where ") + condition;
    CSqlRecordset rs(this, statement);
    for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.NumberAt(0));
    return list.GetCount();
}
