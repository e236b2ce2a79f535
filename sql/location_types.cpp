// Location types: the chain of levels (site, building, floor, room ...) in table LOCTYPE.
// Deleting a level re-parents what hung below it, in LOCTYPE, LOCDATA and ASSET alike.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

// One location of a level being deleted, read before anything is changed.
struct LevelLocation {
    ULong id = 0;
    ULong parent = 0;
};

}  // namespace

// ---- Reads ----

ULong CNorvikSql::EnumLocTypes(CDynaList<ULong>& types) {
    try {
        return EnumIds("LOCTYPE", "", types);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from LOCTYPE");
        return 0;
    }
}

CString CNorvikSql::GetLocTypeName(ULong type) { return SelectTextReported("LOCTYPE", "_LABEL", type); }

ULong CNorvikSql::GetLocTypeParent(ULong type) { return SelectNumberReported("LOCTYPE", "_PARENT", type); }

ULong CNorvikSql::GetChildLocType(ULong type) {
    const CString statement = CString::Formatted("select _ID from LOCTYPE where _PARENT = %d", static_cast<int>(type));
    return FirstNumberReported(statement);
}

// ---- Writes ----

int CNorvikSql::SetLocTypeName(ULong type, const char* name) {
    const CString statement = CString::Formatted("update LOCTYPE set _LABEL = %s where _ID = %d",
                                                 SqlQuote(name).c_str(), static_cast<int>(type));
    try {
        return ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::DeleteLocType(ULong type) {
    CString statement = CString::Formatted("select _PARENT from LOCTYPE where _ID = %d", static_cast<int>(type));
    try {
        // One transaction: a failure or an interruption leaves the type and its level as they were.
        TransactionScope transaction(*this);
        const ULong parent = SelectNumber("LOCTYPE", "_PARENT", type);
        statement = CString::Formatted("delete from LOCTYPE where _ID = %d", static_cast<int>(type));
        ExecuteStatement(statement);
        statement = CString::Formatted("update LOCTYPE set _PARENT = %d where _PARENT = %d", static_cast<int>(parent),
                                       static_cast<int>(type));
        ExecuteStatement(statement);

        // Read the whole level first: the cursor holds the connection until it is closed.
        CDynaList<LevelLocation> level;
        statement = CString::Formatted("select _ID,_PARENT from LOCDATA where _TYPE = %d", static_cast<int>(type));
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) level.Add(LevelLocation{rs.NumberAt(0), rs.NumberAt(1)});
        }
        for (const LevelLocation& location : level) {
            statement = CString::Formatted("update ASSET set _LOCATION = %d where _LOCATION = %d",
                                           static_cast<int>(location.parent), static_cast<int>(location.id));
            ExecuteStatement(statement);
            m_assetCacheId = 0;
            statement = CString::Formatted("update LOCDATA set _PARENT = %d where _PARENT = %d",
                                           static_cast<int>(location.parent), static_cast<int>(location.id));
            ExecuteStatement(statement);
        }
        statement = CString::Formatted("delete from LOCDATA where _TYPE = %d", static_cast<int>(type));
        const int result = ExecuteStatement(statement);
        transaction.Commit();
        return result;
    } catch (const CDBException& e) {
        m_assetCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::AddLocType(const char* name, ULong parent) {
    CString statement = CString::Formatted("%s,%d", SqlQuote(name).c_str(), static_cast<int>(parent));
    try {
        const ULong id = InsertRecord("LOCTYPE", "_LABEL,_PARENT", statement);
        // The new level slides in between the parent and the levels that were below it.
        statement = CString::Formatted("update LOCTYPE set _PARENT = %d where _PARENT = %d and _ID <> %d",
                                       static_cast<int>(id), static_cast<int>(parent), static_cast<int>(id));
        ExecuteStatement(statement);
        return id;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
