// The security switch: the one SECURITY row (_ID 1) that says whether the console asks its
// users to log on.
#include "sql/norvik_sql.h"

int CNorvikSql::IsSecurityEnabled() { return SelectNumberReported("SECURITY", "_ENABLED", 1) != 0 ? 1 : 0; }

int CNorvikSql::EnableSecurity(int enable) {
    return ExecuteReported(CString::Formatted("update SECURITY set _ENABLED=%d where _ID=1", enable != 0 ? 1 : 0)) ? 1
                                                                                                                   : 0;
}
