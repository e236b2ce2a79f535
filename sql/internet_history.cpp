// Internet history and cookies: pages seen per asset, site and day (IEHIST) and the cookies
// found (IECOOKIE), with their wildcard searches and purge lists.
#include "sql/name_pattern.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

// The local calendar day as "YYYYMMDD"; a time never set is the empty text, so undated rows
// fall on one day of their own.
CString DayKey(CTime time) {
    if (time.IsNever()) return CString();
    const DateTimeParts day = time.GetLocal();
    return CString::Formatted("%4.4d%2.2d%2.2d", day.year, day.month, day.day);
}

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

ULong CNorvikSql::SearchIdsByPattern(const char* statement, const char* pattern, CDynaList<ULong>& rows) {
    rows.RemoveAll();
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext())
            if (MatchTextPattern(pattern, rs.TextAt(1))) rows.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return rows.GetCount();
}

// ---- Internet history ----

ULong CNorvikSql::ieHistAdd(ULong asset, CTime date, const char* site, ULong pageCount) {
    const CString quotedSite = SqlQuote(site, kIeSiteLength);
    CString statement;
    try {
        if (pageCount != 0) {
            // A known total goes in as it stands. The column list names _DATA, which IEHIST does
            // not have: the insert fails and the caller sees it reported. Callers count pages one
            // at a time (page count 0), the path that keeps one row per day.
            statement = CString::Formatted("%s,%s,%s,%d", CString::Formatted("%d", AsInt(asset)).c_str(),
                                           SqlTime(date).c_str(), quotedSite.c_str(), AsInt(pageCount));
            return InsertRecord("IEHIST", "_ASSET,_DATA,_SITE,_PAGECOUNT", statement);
        }
        statement = CString::Formatted("select _ID,_DATE from IEHIST where _ASSET=%d and _SITE=%s", AsInt(asset),
                                       quotedSite.c_str());
        const CString day = DayKey(date);
        ULong row = 0;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                if (DayKey(rs.TimeAt(1)) == day) {
                    row = rs.NumberAt(0);
                    break;
                }
            }
        }
        if (row == 0) {
            statement = CString::Formatted("%d,%s,%s,1", AsInt(asset), SqlTime(date).c_str(), quotedSite.c_str());
            return InsertRecord("IEHIST", "_ASSET,_DATE,_SITE,_PAGECOUNT", statement);
        }
        statement = CString::Formatted("select _PAGECOUNT from IEHIST where _ID = %d", AsInt(row));
        const ULong pages = SelectNumber("IEHIST", "_PAGECOUNT", row);
        statement = CString::Formatted("update IEHIST set _PAGECOUNT=%d where _ID=%d", AsInt(pages + 1), AsInt(row));
        ExecuteStatement(statement);
        return row;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::ieHistGetCount(ULong asset) {
    return FirstNumberReported(CString::Formatted("select count(*) from IEHIST where _ASSET=%d", AsInt(asset)));
}

ULong CNorvikSql::ieHistEnumDates(ULong asset, CDynaList<CTime>& dates) {
    return EnumDatesReported(
        *this, CString::Formatted("select distinct(_DATE) from IEHIST where _ASSET=%d order by _DATE", AsInt(asset)),
        dates);
}

ULong CNorvikSql::ieHistEnumSites(ULong asset, CTime day, CDynaList<ULong>& rows) {
    const CString statement = CString::Formatted("select _DATE,_ID from IEHIST where _ASSET=%d", AsInt(asset));
    // Compared here rather than in the statement: the engines store and compare date-times
    // differently, and a day is a local-time notion the program owns.
    const CString wanted = DayKey(day);
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext())
            if (DayKey(rs.TimeAt(0)) == wanted) rows.Add(rs.NumberAt(1));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return rows.GetCount();
}

ULong CNorvikSql::ieHistSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) {
    const CString statement = asset != 0
                                  ? CString::Formatted("select _ID,_SITE from IEHIST where _ASSET=%d", AsInt(asset))
                                  : CString("select _ID,_SITE from IEHIST");
    return SearchIdsByPattern(statement, pattern, rows);
}

CTime CNorvikSql::ieHistGetDate(ULong row) {
    try {
        return SelectTime("IEHIST", "_DATE", row);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("select _DATE from IEHIST where _ID = %d", AsInt(row)));
        return CTime();
    }
}

CString CNorvikSql::ieHistGetSite(ULong row) { return SelectTextReported("IEHIST", "_SITE", row); }

ULong CNorvikSql::ieHistGetPageCount(ULong row) { return SelectNumberReported("IEHIST", "_PAGECOUNT", row); }

int CNorvikSql::ieHistDeleteAll(ULong asset) {
    return ExecuteReported(CString::Formatted("delete from IEHIST where _ASSET=%d", AsInt(asset))) ? 1 : 0;
}

int CNorvikSql::ieHistDelete(ULong row) {
    return ExecuteReported(CString::Formatted("delete from IEHIST where _ID=%d", AsInt(row))) ? 1 : 0;
}

ULong CNorvikSql::ieEnumPurge(CTime before, CDynaList<ULong>& histRows, CDynaList<ULong>& cookieRows) {
    const CString limit = SqlTime(before);
    const ULong histStart = histRows.GetCount();
    const ULong cookieStart = cookieRows.GetCount();
    CString statement = CString::Formatted("select _ID from IEHIST where _DATE < %s", limit.c_str());
    try {
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) histRows.Add(rs.NumberAt(0));
        }
        statement = CString::Formatted("select _ID from IECOOKIE where _DATE < %s", limit.c_str());
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) cookieRows.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return (histRows.GetCount() - histStart) + (cookieRows.GetCount() - cookieStart);
}

// ---- Cookies ----

ULong CNorvikSql::ieCookieAdd(ULong asset, CTime date, const char* name) {
    const CString values = CString::Formatted("%d,%s,%s", AsInt(asset), SqlTime(date).c_str(), SqlQuote(name).c_str());
    return InsertReported(*this, "IECOOKIE", "_ASSET,_DATE,_NAME", values);
}

ULong CNorvikSql::ieCookieGetCount(ULong asset) {
    return FirstNumberReported(CString::Formatted("select count(*) from IECOOKIE where _ASSET=%d", AsInt(asset)));
}

ULong CNorvikSql::ieCookieEnum(ULong asset, CDynaList<ULong>& rows) {
    const CString condition = CString::Formatted("_ASSET=%d", AsInt(asset));
    try {
        return EnumIds("IECOOKIE", condition, rows);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("select _ID from IECOOKIE where %s", condition.c_str()));
        return rows.GetCount();
    }
}

ULong CNorvikSql::ieCookieSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) {
    const CString statement = asset != 0
                                  ? CString::Formatted("select _ID,_NAME from IECOOKIE where _ASSET=%d", AsInt(asset))
                                  : CString("select _ID,_NAME from IECOOKIE");
    return SearchIdsByPattern(statement, pattern, rows);
}

CString CNorvikSql::ieCookieGetName(ULong row) { return SelectTextReported("IECOOKIE", "_NAME", row); }

CTime CNorvikSql::ieCookieGetDate(ULong row) {
    try {
        return SelectTime("IECOOKIE", "_DATE", row);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("select _DATE from IECOOKIE where _ID = %d", AsInt(row)));
        return CTime();
    }
}

int CNorvikSql::ieCookieDeleteAll(ULong asset) {
    return ExecuteReported(CString::Formatted("delete from IECOOKIE where _ASSET=%d", AsInt(asset))) ? 1 : 0;
}

int CNorvikSql::ieCookieDelete(ULong row) {
    return ExecuteReported(CString::Formatted("delete from IECOOKIE where _ID=%d", AsInt(row))) ? 1 : 0;
}
