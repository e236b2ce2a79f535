// User-defined field definitions: table USERDEF, fields and the groups that arrange them.
// Values (USERDATA) follow a definition by group and key, so renames and deletes carry them.
#include <set>
#include <vector>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

// ---- Reads ----

ULong CNorvikSql::userDefEnum(ULong group, CSortList& list, ULong mask, int recursive) {
    std::vector<ULong> pending{group};
    // Groups already walked: a cycle written into _PARENT by hand ends the walk.
    std::set<ULong> walked;
    CString statement;
    try {
        while (!pending.empty()) {
            const ULong current = pending.back();
            pending.pop_back();
            if (!walked.insert(current).second) continue;
            std::vector<ULong> groups;
            statement = CString::Formatted("select _ID,_KEY,_FLAGS from USERDEF where _PARENT=%d", AsInt(current));
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
                const ULong flags = rs.NumberAt(2);
                if (flags & kUserDefGroup)
                    groups.push_back(rs.NumberAt(0));
                else if (flags & mask)
                    list.Add(rs.TextAt(1), rs.NumberAt(0), flags);
            }
            if (!recursive) break;
            // Pushed in reverse so that the groups are walked in the order they were read.
            pending.insert(pending.end(), groups.rbegin(), groups.rend());
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::userDefFind(const char* key, ULong mask) {
    return FirstNumberReported(CString::Formatted("select _ID from USERDEF where (_FLAGS & %d) > 0 and _KEY=%s",
                                                  AsInt(mask), SqlQuote(key).c_str()));
}

ULong CNorvikSql::userDefGetParent(ULong def) { return SelectNumberReported("USERDEF", "_PARENT", def); }

CString CNorvikSql::userDefGetKey(ULong def) { return SelectTextReported("USERDEF", "_KEY", def); }

ULong CNorvikSql::userDefGetFlags(ULong def) { return SelectNumberReported("USERDEF", "_FLAGS", def); }

int CNorvikSql::userDefGetParams(ULong def, CString& first, CString& second) {
    const CString statement = CString::Formatted("select _VAL1,_VAL2 from USERDEF where _ID=%d", AsInt(def));
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return 0;
        first = rs.TextAt(0);
        second = rs.TextAt(1);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

// ---- Writes ----

int CNorvikSql::userDefSetParent(ULong def, ULong group) {
    InvalidateAssetFields();
    return ExecuteReported(CString::Formatted("update USERDEF set _PARENT=%d where _ID=%d", AsInt(group), AsInt(def)));
}

int CNorvikSql::userDefSetKey(ULong def, const char* key, int renameValues) {
    InvalidateAssetFields();
    CString statement = CString::Formatted("select _KEY,_PARENT from USERDEF where _ID=%d", AsInt(def));
    try {
        CString oldKey;
        ULong group = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) {
                oldKey = rs.TextAt(0);
                group = rs.NumberAt(1);
            }
        }
        const CString newKey = key ? key : "";
        // The definition and its values change together or not at all.
        TransactionScope transaction(*this);
        statement = CString::Formatted("update USERDEF set _KEY=%s where _ID=%d", SqlQuote(newKey).c_str(), AsInt(def));
        ExecuteStatement(statement);
        if (renameValues && oldKey != newKey) {
            statement = CString::Formatted("update USERDATA set _KEY=%s where _PARENT=%d and _KEY=%s",
                                           SqlQuote(newKey).c_str(), AsInt(group), SqlQuote(oldKey).c_str());
            ExecuteStatement(statement);
        }
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::userDefSetFlags(ULong def, ULong flags) {
    InvalidateAssetFields();
    return ExecuteReported(CString::Formatted("update USERDEF set _FLAGS=%d where _ID=%d", AsInt(flags), AsInt(def)));
}

int CNorvikSql::userDefSetParams(ULong def, const char* first, const char* second) {
    return ExecuteReported(CString::Formatted("update USERDEF set _VAL1=%s,_VAL2=%s where _ID=%d",
                                              SqlQuote(first).c_str(), SqlQuote(second).c_str(), AsInt(def)));
}

ULong CNorvikSql::userDefAdd(ULong flags) {
    InvalidateAssetFields();
    const CString values = CString::Formatted("%s,%d", SqlQuote("New Field Type").c_str(), AsInt(flags));
    try {
        return InsertRecord("USERDEF", "_KEY,_FLAGS", values);
    } catch (const CDBException& e) {
        HandleSqlException(e, "insert into USERDEF (_KEY,_FLAGS) values (" + values + ")");
        return 0;
    }
}

int CNorvikSql::userDefDelete(ULong def, int deleteValues) {
    InvalidateAssetFields();
    CString statement = CString::Formatted("select _FLAGS,_PARENT,_KEY from USERDEF where _ID=%d", AsInt(def));
    try {
        TransactionScope transaction(*this);
        if (deleteValues) {
            ULong flags = 0, group = 0;
            CString key;
            bool found = false;
            {
                CSqlRecordset rs(this, statement);
                if ((found = !rs.IsEOF())) {
                    flags = rs.NumberAt(0);
                    group = rs.NumberAt(1);
                    key = rs.TextAt(2);
                }
            }
            if (found) {
                statement = CString::Formatted("delete from USERDATA where (_FLAGS & %d)>0 and _PARENT=%d and _KEY=%s",
                                               AsInt(flags), AsInt(group), SqlQuote(key).c_str());
                ExecuteStatement(statement);
            }
        }
        statement = CString::Formatted("delete from USERDEF where _ID=%d", AsInt(def));
        ExecuteStatement(statement);
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
