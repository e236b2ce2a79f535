// Hardware tree, writes: creating category paths, storing and changing values (with their
// history records), deleting an asset's values, and recording a whole audit's differences.
#include <string>
#include <unordered_map>

#include "common/token.h"
#include "common/trace.h"
#include "platform/odbc_prepared.h"
#include "sql/find_or_insert_lock.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

// HW's text columns as the value form of hwAdd writes them.
constexpr int kHwTextWidth = 255;

// The trace options of the diagnostic scope that hwAdd opens for parent 9 of asset 0.
constexpr ULong kHwDiagnosticTrace = 13;

// The first column of the first row `statement` gives, run as it stands; 0 without a row.
std::int32_t FirstLong(COdbcPrepared& statement) {
    statement.Execute();
    const std::int32_t value = statement.Fetch() ? statement.LongAt(1) : 0;
    statement.CloseCursor();
    return value;
}

}  // namespace

ULong CNorvikSql::hwAdd(const char* path, char delimiter, ULong flags) {
    CString statement;
    try {
        ULong parent = 0;
        CString rest = path ? path : "";
        while (!rest.IsEmpty()) {
            const CString token = ExtractToken(rest, delimiter, true, false, false);
            ULong found = FindChildCategory(parent, token, statement);
            if (found == 0) {
                // Looked for again under the node's lock: of two importers creating one path, the
                // second waits for the first and takes its node.
                FindOrInsertLock lock(*this, "HW",
                                      CString::Formatted("%d\t%s", static_cast<int>(parent), token.c_str()));
                found = FindChildCategory(parent, token, statement);
                if (found == 0) {
                    // _ASSET is left to its default, 0: categories belong to no asset.
                    statement = CString::Formatted("%d,%d,%s", static_cast<int>(parent), static_cast<int>(flags),
                                                   SqlQuote(token).c_str());
                    found = InsertRecord("HW", "_PARENT,_FLAGS,_KEY", statement);
                }
                lock.Commit();
            }
            parent = found;
        }
        return parent;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::hwAdd(ULong parent, ULong asset, ULong flags, const char* key, const char* value) {
    CString statement;
    if (parent == 9 && asset == 0) {
        // A diagnostic hook kept from the tool's history: it marks the trace file (when one is
        // open) and flushes it, and changes nothing else.
        EnterTraceScope(kHwDiagnosticTrace);
        LeaveTraceScope();
        TraceFlush();
        statement = "xy\\s";
    }
    statement = CString::Formatted("select _ID from HW where _PARENT=%d and _ASSET=%d and _KEY=%s",
                                   static_cast<int>(parent), static_cast<int>(asset), SqlQuote(key).c_str());
    // An import stores hundreds of values per asset: the statements are prepared once per
    // connection, and a server gets the find and the write as one statement (one round trip).
    const std::string fullKey = key ? key : "";
    const std::string fullValue = value ? value : "";
    const std::string cutKey = fullKey.substr(0, kHwTextWidth);
    const std::string cutValue = fullValue.substr(0, kHwTextWidth);
    try {
        BusyScope busy(*this);
        if (GetEngine() == SqlEngine::PostgreSql) {
            COdbcPrepared& store = Prepared(
                "with F as (select _ID from HW where _PARENT = cast(? as integer) and _ASSET = cast(? as integer) and "
                "_KEY = cast(? as text) limit 1), U as (update HW set _VAL = cast(? as text) where _ID in (select _ID "
                "from F) returning _ID), I as (insert into HW (_PARENT, _ASSET, _FLAGS, _KEY, _VAL) select cast(? as "
                "integer), cast(? as integer), cast(? as integer), cast(? as text), cast(? as text) where not exists "
                "(select 1 from F) returning _ID) select _ID from U union all select _ID from I");
            store.SetLong(1, static_cast<std::int32_t>(parent));
            store.SetLong(2, static_cast<std::int32_t>(asset));
            store.SetText(3, fullKey.c_str());
            store.SetText(4, fullValue.c_str());
            store.SetLong(5, static_cast<std::int32_t>(parent));
            store.SetLong(6, static_cast<std::int32_t>(asset));
            store.SetLong(7, static_cast<std::int32_t>(flags));
            store.SetText(8, cutKey.c_str());
            store.SetText(9, cutValue.c_str());
            return static_cast<ULong>(FirstLong(store));
        }
        COdbcPrepared& find = Prepared("select _ID from HW where _PARENT = ? and _ASSET = ? and _KEY = ? limit 1");
        find.SetLong(1, static_cast<std::int32_t>(parent));
        find.SetLong(2, static_cast<std::int32_t>(asset));
        find.SetText(3, fullKey.c_str());
        const std::int32_t node = FirstLong(find);
        if (node != 0) {
            COdbcPrepared& update = Prepared("update HW set _VAL = ? where _ID = ?");
            update.SetText(1, fullValue.c_str());
            update.SetLong(2, node);
            update.Execute();
            return static_cast<ULong>(node);
        }
        COdbcPrepared& insert = Prepared("insert into HW (_PARENT, _ASSET, _FLAGS, _KEY, _VAL) values (?, ?, ?, ?, ?)");
        insert.SetLong(1, static_cast<std::int32_t>(parent));
        insert.SetLong(2, static_cast<std::int32_t>(asset));
        insert.SetLong(3, static_cast<std::int32_t>(flags));
        insert.SetText(4, cutKey.c_str());
        insert.SetText(5, cutValue.c_str());
        insert.Execute();
        return static_cast<ULong>(FirstLong(Prepared("select last_insert_rowid()")));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

// hwAddValues in process: the same two steps as the server's statement (found nodes take the
// value, the others are inserted cut to the column); the last of two values of one (category,
// key) wins. The values go through one prepared insert into a table of the connection's own, and
// the steps, prepared once, read them from there.
int CNorvikSql::StoreHwValuesInProcess(ULong asset, const CHwList& values) {
    static const char* const kLatest = "with L as (select P, K, VAL, CK, CV, F, max(N) from HWBATCH group by P, K) ";
    CString statement;
    try {
        TransactionScope transaction(*this);
        COdbcPrepared& stage =
            StagingTable("HWBATCH", "P integer, K text, VAL text, CK text, CV text, F integer, N integer", statement);
        for (ULong i = 0; i < values.GetCount(); ++i) {
            const CHwItem& item = values[i];
            const std::string key = item.key.str(), value = item.value.str();
            stage.SetLong(1, static_cast<std::int32_t>(item.parent));
            stage.SetText(2, key.c_str());
            stage.SetText(3, value.c_str());
            stage.SetText(4, key.substr(0, kHwTextWidth).c_str());
            stage.SetText(5, value.substr(0, kHwTextWidth).c_str());
            stage.SetLong(6, static_cast<std::int32_t>(item.flags));
            stage.SetLong(7, static_cast<std::int32_t>(i));
            stage.Execute();
        }
        statement = CString(kLatest) +
                    "update HW set _VAL = L.VAL from L where HW._PARENT = L.P and HW._ASSET = ? and HW._KEY = L.K";
        COdbcPrepared& update = Prepared(statement);
        update.SetLong(1, static_cast<std::int32_t>(asset));
        update.Execute();
        statement = CString(kLatest) +
                    "insert into HW (_PARENT, _ASSET, _FLAGS, _KEY, _VAL) select P, ?, F, CK, CV from L where not "
                    "exists (select 1 from HW where HW._PARENT = L.P and HW._ASSET = ? and HW._KEY = L.K)";
        COdbcPrepared& insert = Prepared(statement);
        insert.SetLong(1, static_cast<std::int32_t>(asset));
        insert.SetLong(2, static_cast<std::int32_t>(asset));
        insert.Execute();
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::hwAddValues(ULong asset, const CHwList& values) {
    if (values.GetCount() == 0) return 1;
    if (GetEngine() != SqlEngine::PostgreSql) return StoreHwValuesInProcess(asset, values);
    // The statement of hwAdd over arrays: nodes found by (category, key) take the value, the
    // others are inserted with key and value cut to the column, as hwAdd writes them.
    std::string parents, keys, texts, cutKeys, cutTexts, flags;
    for (const CHwItem& item : values) {
        if (!parents.empty()) {
            parents += ',';
            flags += ',';
        }
        parents += std::to_string(static_cast<std::int32_t>(item.parent));
        flags += std::to_string(static_cast<std::int32_t>(item.flags));
        AppendArrayText(keys, item.key.c_str());
        AppendArrayText(texts, item.value.c_str());
        AppendArrayText(cutKeys, item.key.str().substr(0, kHwTextWidth).c_str());
        AppendArrayText(cutTexts, item.value.str().substr(0, kHwTextWidth).c_str());
    }
    const char* const statement =
        "with V(P, K, VAL, CK, CV, F, N) as (select * from unnest(cast(? as integer[]), cast(? as text[]), cast(? as "
        "text[]), cast(? as text[]), cast(? as text[]), cast(? as integer[])) with ordinality), L as (select distinct "
        "on (P, K) * from V order by P, K, N desc), U as (update HW set _VAL = L.VAL from L where HW._PARENT = L.P and "
        "HW._ASSET = cast(? as integer) and HW._KEY = L.K returning HW._ID) insert into HW (_PARENT, _ASSET, _FLAGS, "
        "_KEY, _VAL) select P, cast(? as integer), F, CK, CV from L where not exists (select 1 from HW where "
        "HW._PARENT = L.P and HW._ASSET = cast(? as integer) and HW._KEY = L.K)";
    try {
        TransactionScope transaction(*this);
        COdbcPrepared& store = Prepared(statement);
        int number = 1;
        for (const std::string* array : {&parents, &keys, &texts, &cutKeys, &cutTexts, &flags})
            store.SetText(number++, ("{" + *array + "}").c_str());
        for (int i = 0; i < 3; ++i) store.SetLong(number++, static_cast<std::int32_t>(asset));
        BusyScope busy(*this);
        store.Execute();
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::hwSetVal(ULong node, const char* value, int history, CTime when) {
    CString statement;
    try {
        CString oldValue;
        if (history) {
            statement = CString::Formatted("select _VAL from HW where _ID = %d", static_cast<int>(node));
            oldValue = SelectText("HW", "_VAL", node);
        }
        statement =
            CString::Formatted("update HW set _VAL=%s where _ID=%d", SqlQuote(value).c_str(), static_cast<int>(node));
        ExecuteStatement(statement);
        if (!history) return 0;

        statement = CString::Formatted("select _KEY,_FLAGS,_ASSET from HW where _ID = %d", static_cast<int>(node));
        const CString key = SelectText("HW", "_KEY", node);
        const CString path = hwCatAsString(node, '|') + "|" + key;
        const int icon = hwIconFromFlags(SelectNumber("HW", "_FLAGS", node));
        const ULong asset = SelectNumber("HW", "_ASSET", node);
        return historyAdd(asset, when, kHistChanged, icon, path, oldValue, value, nullptr);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::hwDelete(ULong asset) {
    const CString statement = CString::Formatted("delete from HW where _ASSET=%d", static_cast<int>(asset));
    try {
        return ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::StoreHwHistory(ULong asset, const CHwList& oldList, const CHwList& newList, CTime date) {
    // The first item of a name wins, in both lists, so a snapshot that holds a name twice (a
    // key repeated under one category by hand) still gives one record per name.
    std::unordered_map<std::string, const CHwItem*> before;
    for (const CHwItem& item : oldList) before.emplace(item.Name().str(), &item);
    std::unordered_map<std::string, const CHwItem*> after;
    for (const CHwItem& item : newList) {
        if (!after.emplace(item.Name().str(), &item).second) continue;
        const auto old = before.find(item.Name().str());
        if (old == before.end())
            historyAdd(asset, date, kHistAdded, hwIconFromFlags(item.flags), item.HistoryKey(), item.value, nullptr,
                       nullptr);
        else if (old->second->value != item.value)
            historyAdd(asset, date, kHistChanged, hwIconFromFlags(item.flags), item.HistoryKey(), old->second->value,
                       item.value, nullptr);
    }
    for (const CHwItem& item : oldList) {
        const auto first = before.find(item.Name().str());
        if (first->second != &item || after.count(item.Name().str())) continue;
        historyAdd(asset, date, kHistDeleted, hwIconFromFlags(item.flags), item.HistoryKey(), item.value, nullptr,
                   nullptr);
    }
}
