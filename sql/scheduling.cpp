// Audit scheduling: which assets are due for their next audit, by the site's interval.
#include <cstdlib>
#include <string>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

ULong CNorvikSql::EnumScheduledAssets(CDynaList<ULong>& assets, CTime now) {
    // Child assets (peripherals) are audited with their computer; the uncounted bits mark
    // assets that are gone or kept out of the inventory.
    const ULong skipped = kAssetChild | kAssetUncounted;
    const CString statement = CString::Formatted(
        "select _ID,_NAME,_STATUS,_AUDDATE from ASSET where (_STATUS & %d = 0)", static_cast<int>(skipped));
    const std::int64_t interval = static_cast<std::int64_t>(GetAuditInterval()) * 24 * 60 * 60;
    const std::int64_t at = now.IsNever() ? CTime::GetCurrentTime().GetTime() : now.GetTime();
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const CTime audited = rs.TimeAt(3);
            // Due once strictly more than the interval has passed: an asset audited exactly one
            // interval ago is still current.
            if (audited.IsNever() || at - audited.GetTime() > interval) assets.Add(rs.NumberAt(0));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return assets.GetCount();
}

int CNorvikSql::GetAuditInterval() {
    const std::string text = GetOption(kOptionAuditInterval).str();
    if (text.empty() || text.size() > 4 || text.find_first_not_of("0123456789") != std::string::npos)
        return kDefaultAuditInterval;
    const int days = std::atoi(text.c_str());
    return days >= 1 && days <= 3650 ? days : kDefaultAuditInterval;
}
