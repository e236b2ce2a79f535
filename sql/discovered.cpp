// Discovered computers (DISCOVER): the machines found on the network by name, domain and
// address, and which of them have no asset of their name yet.
#include <unordered_set>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

ULong CNorvikSql::daEnum(CDynaList<ULong>& entries, int unauditedOnly) {
    const char* statement =
        "select DISCOVER._ID,ASSET._ID from DISCOVER LEFT JOIN ASSET ON ASSET._NAME = DISCOVER._ASSET";
    entries.RemoveAll();
    try {
        // The join repeats an entry for every asset of its name; the list holds it once.
        std::unordered_set<ULong> taken;
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            if (unauditedOnly && rs.NumberAt(1) != 0) continue;
            const ULong entry = rs.NumberAt(0);
            if (taken.insert(entry).second) entries.Add(entry);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return entries.GetCount();
}

CString CNorvikSql::daGetName(ULong entry) { return SelectTextReported("DISCOVER", "_ASSET", entry); }

CString CNorvikSql::daGetDomain(ULong entry) { return SelectTextReported("DISCOVER", "_DOMAIN", entry); }

CIPAddress CNorvikSql::daGetIPAddress(ULong entry) {
    return CIPAddress(SelectTextReported("DISCOVER", "_IPADDR", entry));
}

ULong CNorvikSql::daAdd(const char* name, const char* domain, CIPAddress ip) {
    const CString wantedDomain = domain ? domain : "";
    CString statement =
        CString::Formatted("select _ID,_DOMAIN,_IPADDR from DISCOVER where _ASSET=%s", SqlQuote(name).c_str());
    try {
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                const CString rowDomain = rs.TextAt(1);
                const ULong rowAddress = CIPAddress(rs.TextAt(2)).GetAsNumber();
                const bool domainMatches = rowDomain.IsEmpty() || wantedDomain.IsEmpty() || rowDomain == wantedDomain;
                const bool addressMatches = rowAddress == 0 || ip.GetAsNumber() == 0 || rowAddress == ip.GetAsNumber();
                if (domainMatches && addressMatches) return rs.NumberAt(0);
            }
        }
        statement = CString::Formatted("%s,%s,%s", SqlQuote(wantedDomain).c_str(), SqlQuote(name).c_str(),
                                       SqlQuote(ip.GetAsText()).c_str());
        return InsertRecord("DISCOVER", "_DOMAIN,_ASSET,_IPADDR", statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::daDelete(ULong entry) {
    const CString statement = entry == 0
                                  ? CString("delete from DISCOVER")
                                  : CString::Formatted("delete from DISCOVER where _ID=%d", static_cast<int>(entry));
    return ExecuteReported(statement) ? 1 : 0;
}
