// SetAssetRecord: the record columns an audit writes, read once and updated in one statement.
// An import sets up to eight of them; one at a time that was a read and an update each, and on a
// server every statement is a round trip.
#include <string>
#include <vector>

#include "sql/norvik_sql.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// History kinds (icon codes) as the single-column writes record them.
constexpr int kKindAssetData = 4;
constexpr int kKindAddress = 15;

}  // namespace

int CNorvikSql::SetAssetRecord(ULong asset, const AssetRecordUpdate& update, int recordHistory, CTime when) {
    if (!LoadAssetCache(asset)) return 0;
    const AssetCacheEntry row = m_assetCache;
    AssetCacheEntry next = row;
    struct Change {
        int kind;
        const char* key;
        CString before, after;
    };
    std::vector<Change> changes;
    std::string sets;
    auto set = [&](const char* column, const CString& literal) {
        if (!sets.empty()) sets += ", ";
        sets += column;
        sets += '=';
        sets += literal.str();
    };
    auto text = [&](bool given, const CString& value, CString AssetCacheEntry::*field, const char* column, int kind,
                    const char* key) {
        if (!given || value == row.*field) return;
        set(column, SqlQuote(value));
        next.*field = value;
        changes.push_back({kind, key, row.*field, value});
    };
    text(update.setMacAddr, update.macAddr, &AssetCacheEntry::macAddr, "_MACADDR", kKindAddress, "Primary MAC Address");
    text(update.setIpAddr, update.ipAddr, &AssetCacheEntry::ipAddr, "_IPADDR", kKindAddress, "Primary IP Address");
    text(update.setSerial, update.serial, &AssetCacheEntry::serial, "_SERIAL", kKindAssetData, "Serial Number");
    if (update.setAuditDate && update.auditDate.GetTime() != row.auditDate.GetTime()) {
        // The time 0 means "never": stored as null, so that it reads back as 0.
        set("_AUDDATE", update.auditDate.IsNever() ? CString("null") : SqlTime(update.auditDate));
        next.auditDate = update.auditDate;
    }
    next.status = (row.status & ~update.kindMask) | (update.kind & update.kindMask);
    if (next.status != row.status) set("_STATUS", CString::Formatted("%d", AsInt(next.status)));
    // A catalogue change is recorded by name, as the built-in fields read them.
    const struct {
        ULong id;
        ULong AssetCacheEntry::*field;
        const char* column;
        const char* key;
        const CString& name;
    } catalogue[] = {{update.category, &AssetCacheEntry::category, "_CAT", "Category", update.categoryName},
                     {update.make, &AssetCacheEntry::make, "_MAKE", "Make", update.makeName},
                     {update.model, &AssetCacheEntry::model, "_MODEL", "Model", update.modelName}};
    for (const auto& entry : catalogue) {
        if (entry.id == 0 || entry.id == row.*entry.field) continue;
        set(entry.column, CString::Formatted("%d", AsInt(entry.id)));
        next.*entry.field = entry.id;
        CString before;
        if (recordHistory && row.*entry.field != 0) {
            const ULong old = row.*entry.field;
            before = entry.field == &AssetCacheEntry::category ? GetCategoryName(old)
                     : entry.field == &AssetCacheEntry::make   ? GetMakeName(old)
                                                               : GetModelName(old);
        }
        changes.push_back({kKindAssetData, entry.key, before, entry.name});
    }
    if (sets.empty()) return 1;
    const CString statement = CString::Formatted("update ASSET set %s where _ID=%d", sets.c_str(), AsInt(asset));
    try {
        TransactionScope transaction(*this);
        ExecuteStatement(statement);
        if (recordHistory)
            for (const Change& change : changes)
                if (!historyAdd(asset, when, kHistChanged, change.kind, change.key, change.before, change.after,
                                nullptr)) {
                    m_assetCacheId = 0;
                    return 0;  // historyAdd has reported the failure; the scope takes the update back
                }
        transaction.Commit();
    } catch (const CDBException& e) {
        m_assetCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
    m_assetCache = next;
    m_assetCacheId = asset;
    return 1;
}
