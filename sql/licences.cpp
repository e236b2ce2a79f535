// Licences: the licence types (LICTYPE), each application's type and declared count (APPS),
// and the licence totals kept by application text (SWLIC).
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

// The assets of `scope` holding `app` or a row aliased to it: what the statistics count.
int CountInstallations(CNorvik& db, ULong scope, ULong app) {
    CSortList assets;
    return static_cast<int>(db.EnumGlobalSwAssets(scope, app, 0, assets, 1));
}

}  // namespace

// ---- Reads ----

int CNorvikSql::GetAppLicenceStats(ULong scope, ULong app, ULong& type, ULong& flags, int& instances, int& difference) {
    type = 0;
    flags = 0;
    instances = 0;
    difference = 0;
    instances = CountInstallations(*this, scope, app);
    type = GetAppLicenceType(app);
    if (type == kLicenceNotSpecified) return 0;
    CString name;
    GetLicenceDetails(type, name, &flags);
    if (flags & kLicencePerPc) difference = static_cast<int>(GetAppLicenceCount(app)) - instances;
    return 1;
}

ULong CNorvikSql::GetApplicationLicenseDetails(ULong scope, ULong app, ULong* type, CString& description, ULong* flags,
                                               int* instances, int* declared, int* difference) {
    const int installed = instances ? CountInstallations(*this, scope, app) : 0;
    if (instances) *instances = installed;
    // Two blanks before "where", as the statement has always been stored.
    CString statement =
        CString::Formatted("select APPS._LICTYPE, APPS._LICCOUNT from APPS  where APPS._ID=%d", static_cast<int>(app));
    ULong licenceType = 0;
    int count = 0;
    CString name;
    ULong licenceFlags = 0;
    try {
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) {
                licenceType = rs.NumberAt(0);
                count = static_cast<int>(rs.NumberAt(1));
            }
        }
        if (licenceType == kLicenceNotSpecified) {
            name = kLicenceNotSpecifiedName;
        } else {
            statement = CString::Formatted("select LICTYPE._NAME ,LICTYPE._FLAGS from LICTYPE where LICTYPE._ID = %d",
                                           static_cast<int>(licenceType));
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) {
                name = rs.TextAt(0);
                licenceFlags = rs.NumberAt(1);
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    if (type) *type = licenceType;
    if (declared) *declared = count;
    if (flags) *flags = licenceFlags;
    if (difference) *difference = (licenceFlags & kLicencePerPc) ? count - installed : 0;
    description = LicenceDescription(name, licenceFlags, count);
    return 0;
}

ULong CNorvikSql::GetAppLicenceCount(ULong app) { return SelectNumberReported("APPS", "_LICCOUNT", app); }

ULong CNorvikSql::GetAppLicenceType(ULong app) { return SelectNumberReported("APPS", "_LICTYPE", app); }

ULong CNorvikSql::GetLicenceDetails(ULong type, CString& name, ULong* flags) {
    const CString statement =
        CString::Formatted("select LICTYPE._NAME ,LICTYPE._FLAGS from LICTYPE where _ID=%d", static_cast<int>(type));
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return 0;
        name = rs.TextAt(0);
        if (flags) *flags = rs.NumberAt(1);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

CString CNorvikSql::GetLicenceName(ULong type) { return SelectTextReported("LICTYPE", "_NAME", type); }

ULong CNorvikSql::EnumLicenceTypes(CSortList& list) {
    const char* statement = "select _ID,_NAME,_FLAGS from LICTYPE";
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), rs.NumberAt(0), rs.NumberAt(2));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

int CNorvikSql::GetLicenceTypeFlag(ULong type, ULong mask) {
    return (SelectNumberReported("LICTYPE", "_FLAGS", type) & mask) > 0 ? 1 : 0;
}

// ---- Writes ----

int CNorvikSql::SetLicenceTypeFlag(ULong type, ULong mask, int set) {
    const ULong flags = SelectNumberReported("LICTYPE", "_FLAGS", type);
    const int old = (flags & mask) > 0 ? 1 : 0;
    if ((set != 0) != (old != 0)) {
        const ULong changed = set ? (flags | mask) : (flags & ~mask);
        ExecuteReported(CString::Formatted("update LICTYPE set _FLAGS=%d where _ID=%d", static_cast<int>(changed),
                                           static_cast<int>(type)));
    }
    return old;
}

void CNorvikSql::SetLicenceTypeName(ULong type, const char* name) {
    // The flags go with the old name: a renamed type is taken for a different licence, whose
    // terms the administrator states afresh.
    ExecuteReported(CString::Formatted("update LICTYPE set _NAME=%s,_FLAGS=0 where _ID=%d", SqlQuote(name).c_str(),
                                       static_cast<int>(type)));
}

int CNorvikSql::DeleteLicenceType(ULong type) {
    CString statement = CString::Formatted("select * from APPS where _LICTYPE=%d", static_cast<int>(type));
    try {
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) return 0;
        }
        statement = CString::Formatted("delete from LICTYPE where _ID = %d", static_cast<int>(type));
        ExecuteStatement(statement);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::AddLicenceType(const char* name) {
    const CString values = CString::Formatted("%s,%d", SqlQuote(name).c_str(), 0);
    return InsertReported(*this, "LICTYPE", "_NAME,_FLAGS", values);
}

void CNorvikSql::SetAppLicence(ULong app, int type, int count) {
    if (type != -1) {
        ExecuteReported(CString::Formatted("update APPS set _LICTYPE=%d where _ID=%d", type, static_cast<int>(app)));
    }
    if (count != -1) {
        ExecuteReported(CString::Formatted("update APPS set _LICCOUNT=%d where _ID=%d", count, static_cast<int>(app)));
    }
}

// ---- Licence totals by application text (SWLIC) ----

ULong CNorvikSql::AddSwLicence(const char* app, int type, int total, int authorized) {
    const CString quoted = SqlQuote(app);
    CString statement = CString::Formatted("select _ID from SWLIC where _TYPE=%d and _APP=%s", type, quoted.c_str());
    try {
        ULong id = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) id = rs.NumberAt(0);
        }
        if (id != 0) {
            statement = CString::Formatted("update SWLIC set _TOTAL=%d,_AUTHORIZED=%d where _ID=%d", total, authorized,
                                           static_cast<int>(id));
            ExecuteStatement(statement);
            return id;
        }
        statement = CString::Formatted("%d,%s,%d,%d", type, quoted.c_str(), total, authorized);
        return InsertRecord("SWLIC", "_TYPE,_APP,_TOTAL,_AUTHORIZED", statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::GetLicenceDetails(CString& app, int type) {
    return FirstNumberReported(
        CString::Formatted("select _TOTAL from SWLIC where _APP=%s and _TYPE=%d", SqlQuote(app).c_str(), type));
}

int CNorvikSql::GetAuthorizedState(CString& app, int type) {
    return static_cast<int>(FirstNumberReported(
        CString::Formatted("select _AUTHORIZED from SWLIC where _TYPE=%d and _APP=%s", type, SqlQuote(app).c_str())));
}

ULong CNorvikSql::EnumAppLicence(int type, CDynaList<CString>& apps, CDynaList<ULong>& totals,
                                 CDynaList<ULong>& authorized) {
    const CString statement = CString::Formatted("select _APP,_TOTAL,_AUTHORIZED from SWLIC where _TYPE=%d", type);
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            apps.Add(rs.TextAt(0));
            totals.Add(rs.NumberAt(1));
            authorized.Add(rs.NumberAt(2));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return apps.GetCount();
}
