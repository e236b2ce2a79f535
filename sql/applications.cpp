// Applications and their instances: the site's catalogue in APPS, each asset's instances in
// APPINST with the one-entry instance cache, application flags and aliases.
#include <algorithm>
#include <initializer_list>

#include "platform/ui_hooks.h"
#include "sql/app_names.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

bool Contains(const CDynaList<ULong>& list, ULong id) { return std::find(list.begin(), list.end(), id) != list.end(); }

// The output value of a procedure that answers an _ID; 0 after a failure, which is reported
// with the call sent.
ULong ProcedureId(CNorvikSql& db, const char* procedure, const CString& args) {
    try {
        std::int32_t id = 0;
        db.CallProcedureOut(procedure, args, id);
        return static_cast<ULong>(id);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, CString::Formatted("{?=call %s(%s,?)}", procedure, args.c_str()));
        return 0;
    }
}

// Runs the statements in order inside one transaction, so that all of them happen or none.
// 1; 0 after a failure, which is reported with the statement that failed.
int ExecuteTogether(CNorvikSql& db, std::initializer_list<CString> statements) {
    const CString* current = nullptr;
    try {
        TransactionScope transaction(db);
        for (const CString& statement : statements) {
            current = &statement;
            db.ExecuteStatement(statement);
        }
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        db.HandleSqlException(e, current ? current->c_str() : nullptr);
        return 0;
    }
}

}  // namespace

CString AppDisplayName(const char* publisher, const char* name, const char* extra, bool withExtra) {
    CString text = publisher ? publisher : "";
    if (!text.IsEmpty()) text += ' ';
    text += name ? name : "";
    if (!text.IsEmpty()) text += ' ';
    if (withExtra) text += extra ? extra : "";
    return text.TrimRight();
}

// ---- Instance cache ----

void CNorvikSql::LoadAppInstCache(ULong instance) {
    if (m_appInstCacheId == instance) return;
    if (ReadFirstRow(
            *this,
            CString::Formatted("select _ASSET,_APP,_SERIAL,_FILES,_FLAGS from APPINST where _ID=%d", AsInt(instance)),
            [&](CSqlRecordset& rs) {
                m_appInstCache =
                    AppInstCacheEntry{rs.NumberAt(0), rs.NumberAt(1), rs.TextAt(2), rs.NumberAt(3), rs.NumberAt(4)};
            }))
        m_appInstCacheId = instance;
}

// ---- Instances: reads ----

ULong CNorvikSql::applicationFindInst(ULong asset, ULong app) {
    const CString statement =
        CString::Formatted("select _ID,_ASSET,_APP,_SERIAL,_FILES,_FLAGS from APPINST where _ASSET=%d and _APP=%d",
                           AsInt(asset), AsInt(app));
    try {
        CSqlRecordset rs(this, statement);
        if (!rs.IsEOF()) {
            m_appInstCache =
                AppInstCacheEntry{rs.NumberAt(1), rs.NumberAt(2), rs.TextAt(3), rs.NumberAt(4), rs.NumberAt(5)};
            m_appInstCacheId = rs.NumberAt(0);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    // Callers read the instance through the cache; the answer has always been 0.
    return 0;
}

CString CNorvikSql::newGetAppInstSerial(ULong instance) {
    try {
        LoadAppInstCache(instance);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("select _ASSET,_APP,_SERIAL,_FILES,_FLAGS from APPINST where _ID=%d",
                                                 AsInt(instance)));
    }
    return m_appInstCache.serial;
}

ULong CNorvikSql::newGetAppInstFlags(ULong instance) {
    newGetAppInstSerial(instance);
    return m_appInstCache.flags;
}

ULong CNorvikSql::newGetAppInstFiles(ULong instance) {
    newGetAppInstSerial(instance);
    return m_appInstCache.files;
}

ULong CNorvikSql::newGetAppInstAppID(ULong instance) {
    newGetAppInstSerial(instance);
    return m_appInstCache.app;
}

int CNorvikSql::applicationIsInstalled(ULong asset, ULong app) {
    const CString statement =
        CString::Formatted("select * from APPINST where _ASSET=%d and _APP=%d", AsInt(asset), AsInt(app));
    try {
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? 0 : 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

CString CNorvikSql::applicationGetVersion(ULong instance) {
    return SelectTextReported("APPINST", "_VERSION", instance);
}

// ---- Instances: writes ----

ULong CNorvikSql::applicationAddInstance(ULong asset, ULong app, const char* serial, const char* version, ULong flags) {
    return ProcedureId(*this, "usp_AddAppInst",
                       CString::Formatted("%d,%d,%s,%s,%d", AsInt(asset), AsInt(app), SqlQuote(serial).c_str(),
                                          SqlQuote(version).c_str(), AsInt(flags)));
}

int CNorvikSql::applicationRemove(ULong asset, ULong app) {
    m_appInstCacheId = 0;
    return ExecuteReported(
               CString::Formatted("delete from APPINST where _ASSET=%d and _APP=%d", AsInt(asset), AsInt(app)))
               ? 1
               : 0;
}

int CNorvikSql::DeleteSw(ULong asset) {
    return ExecuteTogether(*this, {CString::Formatted("delete from APPINST where _ASSET=%d", AsInt(asset)),
                                   CString::Formatted("delete from SWLINK where _ASSET=%d", AsInt(asset))});
}

// ---- Instances: enumerations ----

ULong CNorvikSql::EnumApplicationInstances(ULong asset, int withVersion, CSortList& list, ULong mask, int /*unused*/) {
    struct Row {
        CString version;
        ULong instance;
        ULong app;
    };
    CDynaList<Row> rows;
    const CString statement = CString::Formatted(
        "select APPINST._VERSION, APPINST._ID ,APPS._ID ,APPS._FLAGS from APPINST ,APPS where _ASSET=%d and "
        "APPINST._APP=APPS._ID",
        AsInt(asset));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            if ((rs.NumberAt(3) & mask) == mask) rows.Add(Row{rs.TextAt(0), rs.NumberAt(1), rs.NumberAt(2)});
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return list.GetCount();
    }
    for (const Row& row : rows) {
        CString text = applicationGetName(row.app, 1, 0);
        if (withVersion && !row.version.IsEmpty()) text += " [" + row.version + "]";
        list.Add(text, row.instance, 0);
    }
    return list.GetCount();
}

ULong CNorvikSql::newEnumAppInstByApp(ULong app, CSortList& list, const char* label) {
    CDynaList<ULong> apps;
    newEnumAppAliases(app, apps);
    apps.Add(app);
    CString statement;
    try {
        for (const ULong each : apps) {
            statement = CString::Formatted("select _ID,_ASSET,_SERIAL from APPINST where _APP=%d", AsInt(each));
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
                const CString serial = rs.TextAt(2);
                CString text = serial;
                if (label)
                    text = serial.IsEmpty() ? CString(label) : CString::Formatted("%s [%s]", label, serial.c_str());
                list.Add(text, rs.NumberAt(1), rs.NumberAt(0));
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

// ---- Catalogue ----

ULong CNorvikSql::applicationAdd(const char* publisher, const char* name, ULong flags) {
    return ProcedureId(
        *this, "usp_AddApp",
        CString::Formatted("%s,%s,%d", SqlQuote(publisher).c_str(), SqlQuote(name).c_str(), AsInt(flags)));
}

int CNorvikSql::applicationDelete(ULong app) {
    platform::CWaitCursor wait;
    // The row and its instances go together: no instance is left naming a deleted row.
    return ExecuteTogether(*this, {CString::Formatted("delete from APPS where _ID = %d", AsInt(app)),
                                   CString::Formatted("delete from %s where _APP=%d", "APPINST", AsInt(app))});
}

ULong CNorvikSql::applicationFind(const char* name) {
    CSortList list;
    EnumGlobalSwApplications(0, list, 3, 1, 1, 1, nullptr, 0);
    list.Sort();
    for (const auto& item : list)
        if (item.text == name) return item.id;
    return 0;
}

CString CNorvikSql::applicationGetName(ULong app, unsigned int aliasDepth, int withPublisher) {
    if (aliasDepth != 0) {
        if (const ULong alias = applicationGetAlias(app))
            return applicationGetName(alias, aliasDepth - 1, withPublisher);
    }
    const CString statement = CString::Formatted("select _MFR,_APP from APPS where _ID=%d", AsInt(app));
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return CString();
        return AppDisplayName(withPublisher ? rs.TextAt(0).c_str() : "", rs.TextAt(1), "", false);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString();
    }
}

ULong CNorvikSql::applicationEnumLicenceCounts(CSortList& list) {
    const char* statement =
        "select APPS._ID,APPS._LICCOUNT from APPS,LICTYPE where APPS._LICTYPE=LICTYPE._ID and ((LICTYPE._FLAGS & 1) > "
        "0) order by APPS._ID";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            list.Add("", rs.NumberAt(0), rs.NumberAt(1));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

// ---- Flags and aliases ----

ULong CNorvikSql::applicationGetFlags(ULong app) { return SelectNumberReported("APPS", "_FLAGS", app); }

int CNorvikSql::applicationGetFlag(ULong app, ULong mask) { return (applicationGetFlags(app) & mask) > 0 ? 1 : 0; }

int CNorvikSql::applicationSetFlag(ULong app, ULong mask, int set) {
    const ULong flags = applicationGetFlags(app);
    const ULong changed = set ? (flags | mask) : (flags & ~mask);
    return ExecuteReported(CString::Formatted("update APPS set _FLAGS=%d where _ID=%d", AsInt(changed), AsInt(app)))
               ? 1
               : 0;
}

int CNorvikSql::applicationSetAlias(ULong app, ULong alias) {
    return ExecuteReported(CString::Formatted("update APPS set _ALIAS=%d where _ID=%d", AsInt(alias), AsInt(app))) ? 1
                                                                                                                   : 0;
}

ULong CNorvikSql::applicationGetAlias(ULong app) { return SelectNumberReported("APPS", "_ALIAS", app); }

ULong CNorvikSql::newEnumAppAliases(ULong app, CDynaList<ULong>& list) {
    const CString statement = CString::Formatted("select _ID from APPS where _ALIAS=%d", AsInt(app));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const ULong id = rs.NumberAt(0);
            if (!Contains(list, id)) list.Add(id);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return list.GetCount();
    }
    // Every item already in the list is searched again, earlier contents included, and what is
    // found below is appended without a duplicate test: the order callers have always seen.
    CDynaList<ULong> below;
    const CDynaList<ULong> current(list);
    for (const ULong id : current) {
        CDynaList<ULong> found;
        newEnumAppAliases(id, found);
        for (const ULong each : found) below.Add(each);
    }
    for (const ULong each : below) list.Add(each);
    return list.GetCount();
}
