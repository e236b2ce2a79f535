// Pick lists: the named lists of allowed texts (PICKTYPE) and their items (PICKDATA) that
// "Picklist" fields offer. Plain record operations; identifiers are the tables' own _IDs.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

// ---- Reads ----

ULong CNorvikSql::EnumPicklists(CDynaList<ULong>& lists) const {
    // The reads are const for callers; the connection's busy flag is the only state they touch.
    auto* self = const_cast<CNorvikSql*>(this);
    try {
        return self->EnumIds("PICKTYPE", "", lists);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from PICKTYPE");
        return lists.GetCount();
    }
}

CString CNorvikSql::GetPicklistName(ULong list) { return SelectTextReported("PICKTYPE", "_NAME", list); }

ULong CNorvikSql::FindPicklist(const char* name) const {
    // The blanks around "=" differ from the other statements of the family; kept as written.
    return const_cast<CNorvikSql*>(this)->FirstNumberReported(
        CString::Formatted("select _ID from PICKTYPE where _NAME = %s", SqlQuote(name).c_str()));
}

ULong CNorvikSql::EnumPickItems(ULong list, CDynaList<ULong>& items) const {
    auto* self = const_cast<CNorvikSql*>(this);
    const CString condition = CString::Formatted("_LISTID=%d", AsInt(list));
    try {
        return self->EnumIds("PICKDATA", condition, items);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from PICKDATA where " + condition);
        return items.GetCount();
    }
}

CString CNorvikSql::GetPickItemValue(ULong item) const {
    return const_cast<CNorvikSql*>(this)->SelectTextReported("PICKDATA", "_DATA", item);
}

// ---- Writes ----

void CNorvikSql::SetPicklistName(ULong list, const char* name) {
    ExecuteReported(
        CString::Formatted("update PICKTYPE set _NAME=%s where _ID=%d", SqlQuote(name).c_str(), AsInt(list)));
}

ULong CNorvikSql::AddPicklist(const char* name) {
    const CString value = SqlQuote(name);
    try {
        return InsertRecord("PICKTYPE", "_NAME", value);
    } catch (const CDBException& e) {
        HandleSqlException(e, "insert into PICKTYPE (_NAME) values (" + value + ")");
        return 0;
    }
}

void CNorvikSql::DeletePicklist(ULong list) {
    // The list row goes first, as every cascade of the library runs parent first.
    if (ExecuteReported(CString::Formatted("delete from PICKTYPE where _ID = %d", AsInt(list))))
        ExecuteReported(CString::Formatted("delete from PICKDATA where _LISTID = %d", AsInt(list)));
}

ULong CNorvikSql::AddPickItem(ULong list, const char* text) {
    const CString values = CString::Formatted("%d,%s", AsInt(list), SqlQuote(text).c_str());
    try {
        return InsertRecord("PICKDATA", "_LISTID,_DATA", values);
    } catch (const CDBException& e) {
        HandleSqlException(e, "insert into PICKDATA (_LISTID,_DATA) values (" + values + ")");
        return 0;
    }
}

void CNorvikSql::DeletePickItem(ULong item) {
    ExecuteReported(CString::Formatted("delete from PICKDATA where _ID=%d", AsInt(item)));
}

void CNorvikSql::SetPickItemValue(ULong item, const char* text) {
    ExecuteReported(
        CString::Formatted("update PICKDATA set _DATA=%s where _ID=%d", SqlQuote(text).c_str(), AsInt(item)));
}
