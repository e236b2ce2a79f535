// The purges of a long-running site in batches: old HISTORY rows with their events, and old
// internet history and cookies. Each table is walked by _ID range, one short transaction per
// range, so an agent that writes meanwhile waits for one range at most, never for the purge.
#include "sql/history_purge.h"

#include <algorithm>
#include <cstdint>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

CString HistoryPurgeCondition(long asset, const CString& bound, long keepInitial, long keepAudits) {
    return CString::Formatted(
        "(%ld = 0 or _ASSET = %ld) and _DATE < %s and (%ld = 0 or _CODE <> 65539) and (%ld <= 0 or (select "
        "count(distinct H._DATE) from HISTORY H where H._ASSET = HISTORY._ASSET and H._DATE > HISTORY._DATE) >= %ld)",
        asset, asset, bound.c_str(), keepInitial, keepAudits, keepAudits);
}

namespace {

// The lowest and highest _ID of a table when the purge starts. A row added later has a higher
// _ID and is newer than the purge: it is left for the next one.
struct IdSpan {
    ULong first = 0;
    ULong last = 0;
    bool empty() const { return last == 0 || last < first; }
    ULong Ranges(ULong batch) const { return empty() ? 0 : (last - first) / batch + 1; }
};

IdSpan ReadIdSpan(CNorvikSql& db, const char* table, CString& statement) {
    statement = CString::Formatted("select min(_ID),max(_ID) from %s", table);
    CSqlRecordset rs(&db, statement);
    IdSpan span;
    if (!rs.IsEOF()) {
        span.first = rs.NumberAt(0);
        span.last = rs.NumberAt(1);
    }
    return span;
}

CString Between(const char* column, ULong low, ULong high) {
    return CString::Formatted("%s between %u and %u", column, static_cast<unsigned>(low), static_cast<unsigned>(high));
}

}  // namespace

ULong CNorvikSql::DeleteCounted(const char* table, const CString& condition, CString& statement) {
    if (GetEngine() == SqlEngine::PostgreSql) {
        // psqlODBC does not hand the row count of a delete through our statement helpers; the
        // deleted rows counted by the statement itself are exact, also under concurrent writers.
        statement = CString::Formatted("with gone as (delete from %s where %s returning 1) select count(*) from gone",
                                       table, condition.c_str());
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    }
    statement = CString::Formatted("delete from %s where %s", table, condition.c_str());
    ExecuteStatement(statement);
    statement = "select changes()";  // SQLite: the rows the connection's last statement changed
    CSqlRecordset rs(this, statement);
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

bool CNorvikSql::PurgeIdRanges(ULong first, ULong last, ULong batch, const std::function<ULong(ULong, ULong)>& purge,
                               ULong& removed) {
    for (std::uint64_t low = first; low <= last; low += batch) {
        const ULong high = static_cast<ULong>(std::min<std::uint64_t>(low + batch - 1, last));
        TransactionScope transaction(*this);
        const ULong gone = purge(static_cast<ULong>(low), high);
        transaction.Commit();
        removed += gone;  // counted once committed: a failing commit takes its rows back
        if (!ProgCheck()) return false;
    }
    return true;
}

ULong CNorvikSql::historyPurgeInBatches(const CTime& date, int keepInitial, int keepAudits, ULong batch) {
    if (batch == 0) batch = kPurgeBatch;
    const CString rule = HistoryPurgeCondition(0, SqlTime(date), keepInitial, keepAudits);
    CString statement;
    ULong removed = 0;
    try {
        const IdSpan span = ReadIdSpan(*this, "HISTORY", statement);
        ProgStart(span.Ranges(batch), "Purging History...", 1);
        if (!span.empty()) {
            PurgeIdRanges(
                span.first, span.last, batch,
                [&](ULong low, ULong high) {
                    const CString rows = Between("_ID", low, high) + " and " + rule;
                    // The events first, while their rows still tell which they are; the _HISTID
                    // range keeps the lookup on the events' index whatever the engine plans.
                    statement = "delete from EVENTLOG where " + Between("_HISTID", low, high) +
                                " and _HISTID in (select _ID from HISTORY where " + rows + ")";
                    ExecuteStatement(statement);
                    return DeleteCounted("HISTORY", rows, statement);
                },
                removed);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    ProgComplete();
    return removed;
}

ULong CNorvikSql::iePurgeInBatches(CTime before, ULong batch, ULong* histRows, ULong* cookieRows) {
    if (batch == 0) batch = kPurgeBatch;
    const CString rule = "_DATE < " + SqlTime(before);
    CString statement;
    ULong pages = 0;
    ULong cookies = 0;
    try {
        const IdSpan pageSpan = ReadIdSpan(*this, "IEHIST", statement);
        const IdSpan cookieSpan = ReadIdSpan(*this, "IECOOKIE", statement);
        ProgStart(pageSpan.Ranges(batch) + cookieSpan.Ranges(batch), "Purging Internet History...", 1);
        const auto purgeOf = [&](const char* table) {
            return [&, table](ULong low, ULong high) {
                return DeleteCounted(table, Between("_ID", low, high) + " and " + rule, statement);
            };
        };
        const bool going =
            pageSpan.empty() || PurgeIdRanges(pageSpan.first, pageSpan.last, batch, purgeOf("IEHIST"), pages);
        if (going && !cookieSpan.empty())
            PurgeIdRanges(cookieSpan.first, cookieSpan.last, batch, purgeOf("IECOOKIE"), cookies);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    ProgComplete();
    if (histRows) *histRows = pages;
    if (cookieRows) *cookieRows = cookies;
    return pages + cookies;
}
