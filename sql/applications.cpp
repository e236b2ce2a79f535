// Applications and their instances: the site's catalogue in APPS, each asset's instances in
// APPINST with the one-entry instance cache, application flags and aliases.
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/odbc_prepared.h"
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

// One distinct application of applicationAddInstances with the number of its entries.
struct AppBatchEntry {
    const CNorvik::AppInstanceEntry* entry;
    int count;
};

// The steps of applicationAddInstances in process (SQLite), each run with V(M, A, C, VER) =
// (publisher, name, count, version) and @ASSET the asset: the catalogue rows first, then the
// instances that exist, then the missing ones, so that a new instance is not counted twice. The
// update is joined on (asset, application), so each entry is one index look-up; an asset without
// instances (a new machine) skips it at once. The server adds its missing names with the first
// step too. A missing name is asked as a scalar sub-select, not "not exists": PostgreSQL would
// answer that with a hash anti join over the whole catalogue, a cost that grows with the site.
const char* const kAppBatchSteps[] = {
    "insert into APPS (_MFR, _APP, _FLAGS) select M, A, 1 from V where (select min(_ID) from APPS where "
    "APPS._MFR = V.M and APPS._APP = V.A) is null",
    "update APPINST set _FILES = _FILES + T.C from T where APPINST._ASSET = @ASSET and APPINST._APP = T.APP and "
    "APPINST._ID = (select min(I._ID) from APPINST I where I._ASSET = @ASSET and I._APP = T.APP) and exists "
    "(select 1 from APPINST E where E._ASSET = @ASSET)",
    "insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS) select @ASSET, APP, '', VER, C - 1, 0 from "
    "T where not exists (select 1 from APPINST where _ASSET = @ASSET and _APP = T.APP)",
};

// A step of kAppBatchSteps over the rows `source` gives, with `asset` written for each @ASSET.
std::string AppBatchStatement(const std::string& source, const char* body, const std::string& asset) {
    std::string text = "with V(M, A, C, VER) as (" + source +
                       "), T(APP, C, VER) as (select (select min(_ID) from APPS where _MFR = V.M and _APP = V.A), "
                       "C, VER from V) ";
    for (const char* p = body; *p;) {
        if (std::strncmp(p, "@ASSET", 6) == 0) {
            text += asset;
            p += 6;
        } else {
            text += *p++;
        }
    }
    return text;
}

// The entries of a batch as the four array parameters (publisher, name, count, version) of the
// server's statements.
void SetBatchArrays(COdbcPrepared& step, const std::vector<const AppBatchEntry*>& entries) {
    std::string arrays[4];
    for (const AppBatchEntry* item : entries) {
        const bool first = arrays[0].empty();
        CSqlDatabase::AppendArrayText(arrays[0], item->entry->publisher);
        CSqlDatabase::AppendArrayText(arrays[1], item->entry->name);
        if (!first) arrays[2].append(",");
        arrays[2].append(std::to_string(item->count));
        CSqlDatabase::AppendArrayText(arrays[3], item->entry->version);
    }
    for (int i = 0; i < 4; ++i) step.SetText(i + 1, std::string("{").append(arrays[i]).append("}").c_str());
}

const char* const kServerBatchSource =
    "with V(M, A, C, VER, N) as (select * from unnest(cast(? as text[]), cast(? as text[]), cast(? as integer[]), "
    "cast(? as text[])) with ordinality) ";

// One statement does the whole batch of entries whose application is in the catalogue: each
// name is looked up once, the instances the asset has take the counts (an asset without any
// skips that at once), the others are inserted. It answers the positions of the entries whose
// name the catalogue lacks; their rows are left for the caller.
void StoreInstancesOnServer(CNorvikSql& db, const std::vector<const AppBatchEntry*>& entries, ULong asset,
                            std::vector<const AppBatchEntry*>& missing, CString& statement) {
    statement =
        CString(kServerBatchSource) +
        ", T as materialized (select (select min(_ID) from APPS where _MFR = V.M and _APP = V.A) as APP, C, VER, "
        "N from V), U as (update APPINST set _FILES = _FILES + T.C from T where APPINST._ASSET = cast(? as "
        "integer) and APPINST._APP = T.APP and APPINST._ID = (select min(I._ID) from APPINST I where "
        "I._ASSET = APPINST._ASSET and I._APP = T.APP) and exists (select 1 from APPINST E where E._ASSET = "
        "cast(? as integer))), I as (insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS) "
        "select cast(? as integer), APP, '', VER, C - 1, 0 from T where APP is not null and not exists "
        "(select 1 from APPINST where _ASSET = cast(? as integer) and _APP = T.APP)) select N from T where "
        "APP is null";
    COdbcPrepared& step = db.Prepared(statement);
    SetBatchArrays(step, entries);
    for (int number = 5; number <= 8; ++number) step.SetLong(number, AsInt(asset));
    BusyScope busy(db);
    step.Execute();
    missing.clear();
    while (step.Fetch()) {
        const std::int32_t position = step.LongAt(1);
        if (position >= 1 && static_cast<std::size_t>(position) <= entries.size())
            missing.push_back(entries[position - 1]);
    }
    step.CloseCursor();
}

// Adds the catalogue rows of `entries`. The names are locked first as usp_AddApp locks one, in
// one order so that two batches cannot wait for each other; the insert, a statement of its own,
// then sees the rows of a batch that held a lock first.
void AddMissingAppsOnServer(CNorvikSql& db, const std::vector<const AppBatchEntry*>& entries, CString& statement) {
    const std::string lock = std::string(kServerBatchSource) +
                             ", K as (select distinct hashtext(upper(M) || chr(9) || upper(A)) as K from V) select "
                             "count(pg_advisory_xact_lock(hashtext('APPS'), K)) from (select K from K order by K) O";
    const std::string insert = std::string(kServerBatchSource) + kAppBatchSteps[0];
    for (const std::string* text : {&lock, &insert}) {
        statement = text->c_str();
        COdbcPrepared& step = db.Prepared(statement);
        SetBatchArrays(step, entries);
        BusyScope busy(db);
        step.Execute();
        step.CloseCursor();
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

int CNorvikSql::applicationAddInstances(ULong asset, const CDynaList<AppInstanceEntry>& entries) {
    // Entries of one application are sent once with their number: the first creates the
    // instance and each further one adds to its _FILES, as repeated calls of the pair would.
    std::vector<AppBatchEntry> wanted;
    std::map<std::pair<std::string, std::string>, std::size_t> seen;
    for (const AppInstanceEntry& entry : entries) {
        const auto [at, added] = seen.emplace(std::make_pair(entry.publisher.str(), entry.name.str()), wanted.size());
        if (added)
            wanted.push_back(AppBatchEntry{&entry, 1});
        else
            ++wanted[at->second].count;
    }
    if (wanted.empty()) return 1;
    CString statement;
    try {
        TransactionScope transaction(*this);
        if (GetEngine() == SqlEngine::PostgreSql) {
            std::vector<const AppBatchEntry*> all;
            for (const AppBatchEntry& item : wanted) all.push_back(&item);
            std::vector<const AppBatchEntry*> missing;
            StoreInstancesOnServer(*this, all, asset, missing, statement);
            if (!missing.empty()) {
                // Names the catalogue lacked: locked, added, then their instances, as a second
                // pass over those entries only (the first pass stored every other entry).
                AddMissingAppsOnServer(*this, missing, statement);
                std::vector<const AppBatchEntry*> still;
                StoreInstancesOnServer(*this, missing, asset, still, statement);
                if (!still.empty())
                    throw CDBException(0, CString("an application cannot be added to the catalogue"), "0");
            }
        } else {
            // In process the rows go through one prepared insert into a table of the connection's
            // own; the steps, prepared once, read them from there (a VALUES list would be parsed,
            // and copied for each reference, on every call).
            COdbcPrepared& stage = StagingTable("APPBATCH", "M text, A text, C integer, VER text", statement);
            for (const AppBatchEntry& item : wanted) {
                stage.SetText(1, item.entry->publisher.c_str());
                stage.SetText(2, item.entry->name.c_str());
                stage.SetLong(3, item.count);
                stage.SetText(4, item.entry->version.c_str());
                stage.Execute();
            }
            for (const char* body : kAppBatchSteps) {
                statement = AppBatchStatement("select M, A, C, VER from APPBATCH", body, "?");
                COdbcPrepared& step = Prepared(statement);
                int number = 1;
                for (const char* at = body; (at = std::strstr(at, "@ASSET")) != nullptr; ++at)
                    step.SetLong(number++, AsInt(asset));
                step.Execute();
                step.CloseCursor();
            }
        }
        transaction.Commit();
        m_appInstCacheId = 0;
        return 1;
    } catch (const CDBException& e) {
        m_appInstCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
}

// ---- Instances: enumerations ----

ULong CNorvikSql::EnumApplicationInstances(ULong asset, int withVersion, CSortList& list, ULong mask, int /*unused*/) {
    struct Row {
        CString version;
        ULong instance;
        ULong app;
    };
    CDynaList<Row> rows;
    CString statement = CString::Formatted(
        "select APPINST._VERSION, APPINST._ID ,APPS._ID ,APPS._FLAGS from APPINST ,APPS where _ASSET=%d and "
        "APPINST._APP=APPS._ID",
        AsInt(asset));
    AppNames names;
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            if ((rs.NumberAt(3) & mask) == mask) rows.Add(Row{rs.TextAt(0), rs.NumberAt(1), rs.NumberAt(2)});
        if (rows.GetCount() == 0) return list.GetCount();
        // An import reads every instance of an asset on each re-audit: the names of the asset's
        // applications and of their aliases come in one statement, and applicationGetName
        // answers from them for the rest of this call (one that names no row is still asked).
        statement = CString::Formatted(
            "select _ID,_MFR,_APP,_ALIAS from APPS where _ID in (select _APP from APPINST where _ASSET=%d) or _ID in "
            "(select APPS._ALIAS from APPINST ,APPS where _ASSET=%d and APPINST._APP=APPS._ID)",
            AsInt(asset), AsInt(asset));
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            names.emplace(rs.NumberAt(0), AppNameRow{rs.TextAt(1), rs.TextAt(2), rs.NumberAt(3)});
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        if (rows.GetCount() == 0) return list.GetCount();
    }
    const AppNameScope scope(m_appNames, names);
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
    const AppNameRow* row = nullptr;
    if (m_appNames) {
        const auto cached = m_appNames->find(app);
        if (cached != m_appNames->end()) row = &cached->second;
    }
    if (aliasDepth != 0) {
        if (const ULong alias = row ? row->alias : applicationGetAlias(app))
            return applicationGetName(alias, aliasDepth - 1, withPublisher);
    }
    if (row) return AppDisplayName(withPublisher ? row->publisher.c_str() : "", row->name, "", false);
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
