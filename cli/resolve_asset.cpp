// Resolution of asset names given on the command line.
#include "cli/resolve_asset.h"

#include <cstdlib>

#include "sql/sql_recordset.h"

namespace cli {

Resolved ResolveAsset(CNorvikSql& db, const std::string& word) {
    try {
        // Nine digits at most: ids are written into statements with "%d".
        if (!word.empty() && word.size() <= 9 && word.find_first_not_of("0123456789") == std::string::npos) {
            const ULong id = static_cast<ULong>(std::strtoul(word.c_str(), nullptr, 10));
            if (id != 0 && db.SelectNumber("ASSET", "_ID", id) == id) return Resolved{id, kExitOk, std::string()};
        }
        CDynaList<ULong> named;
        const CString statement = "select _ID from ASSET where _NAME = " + CNorvikSql::SqlQuote(word.c_str());
        for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) named.Add(rs.NumberAt(0));
        if (named.GetCount() == 1) return Resolved{named[0], kExitOk, std::string()};
        if (named.GetCount() == 0) return Resolved{0, kExitFailed, "no asset '" + word + "'"};
        return Resolved{0, kExitFailed,
                        std::to_string(named.GetCount()) + " assets are named '" + word + "'; name one by its id"};
    } catch (const CDBException& e) {
        return Resolved{0, kExitFailed, "cannot read the assets: " + e.m_strError.str()};
    }
}

}  // namespace cli
