// User data: the values of user-defined fields in table USERDATA, one per (group, owner, key),
// and the built-in field names that stand for columns of ASSET.
#include <cstdlib>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// The history kind (icon code "Asset Data") of user-data records.
constexpr int kKindAssetData = 4;

enum class BuiltIn { None, Category, Make, Model, Serial, MacAddr, IpAddr, AuditDate, Location };

BuiltIn BuiltInOf(const char* key) {
    static const struct {
        const char* name;
        BuiltIn field;
    } kNames[] = {
        {"Category", BuiltIn::Category},    {"Make", BuiltIn::Make},           {"Model", BuiltIn::Model},
        {"Serial Number", BuiltIn::Serial}, {"MAC Address", BuiltIn::MacAddr}, {"IP Address", BuiltIn::IpAddr},
        {"Audit Date", BuiltIn::AuditDate}, {"Location", BuiltIn::Location},
    };
    if (!key) return BuiltIn::None;
    for (const auto& entry : kNames)
        if (CString(key) == entry.name) return entry.field;
    return BuiltIn::None;
}

// A decimal identifier of up to ten digits that fits 32 bits; the empty text is 0.
bool ParseIdentifier(const CString& text, ULong* value) {
    if (text.GetLength() > 10) return false;
    unsigned long long number = 0;
    for (char c : text.str()) {
        if (c < '0' || c > '9') return false;
        number = number * 10 + static_cast<unsigned>(c - '0');
    }
    if (number > 0xFFFFFFFFull) return false;
    *value = static_cast<ULong>(number);
    return true;
}

}  // namespace

ULong CNorvikSql::SetBuiltInField(ULong asset, const char* key, const char* value, int recordHistory, CTime when) {
    const CString text = value ? value : "";
    if (!LoadAssetCache(asset)) return 0;
    // A value the column cannot take is reported as any failure is, and nothing is written.
    auto refuse = [&](const char* format) {
        HandleException(CException(), CString::Formatted(format, text.c_str(), key));
        return ULong{0};
    };
    const BuiltIn field = BuiltInOf(key);
    switch (field) {
        case BuiltIn::MacAddr: return SetAssetMacAddr(asset, text, recordHistory, when) ? asset : 0;
        case BuiltIn::IpAddr: return SetAssetIPAddr(asset, CIPAddress(text), recordHistory, when) ? asset : 0;
        case BuiltIn::Location: {
            const ULong location = text.IsEmpty() ? 0 : locFind(text);
            if (location == 0 && !text.IsEmpty()) return refuse("No location is found at '%s' for the field %s");
            return SetAssetParent(asset, location, 0, recordHistory, when) ? asset : 0;
        }
        case BuiltIn::AuditDate: {
            DateTimeParts parts;
            if (!text.IsEmpty() && !DateTimeParts::Parse(text, &parts))
                return refuse("'%s' is not a date (YYYY-MM-DD hh:mm:ss) for the field %s");
            return SetLastAuditDate(asset, text.IsEmpty() ? CTime() : CTime(parts)) ? asset : 0;
        }
        default: break;
    }
    // The remaining names are plain columns whose old value the cache holds for the record.
    const char* column = "_SERIAL";
    CString oldValue = m_assetCache.serial;
    CString newValue = text;
    CString literal = SqlQuote(text);
    if (field != BuiltIn::Serial) {
        ULong number = 0;
        if (!ParseIdentifier(text, &number)) return refuse("'%s' is not an identifier for the field %s");
        column = field == BuiltIn::Category ? "_CAT" : field == BuiltIn::Make ? "_MAKE" : "_MODEL";
        const ULong old = field == BuiltIn::Category ? m_assetCache.category
                          : field == BuiltIn::Make   ? m_assetCache.make
                                                     : m_assetCache.model;
        oldValue = CString::Formatted("%u", old);
        newValue = CString::Formatted("%u", number);
        literal = CString::Formatted("%d", AsInt(number));
    }
    if (oldValue == newValue) return asset;
    const CString statement =
        CString::Formatted("update ASSET set %s=%s where _ID=%d", column, literal.c_str(), AsInt(asset));
    try {
        ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
    m_assetCacheId = 0;
    if (recordHistory) historyAdd(asset, when, kHistChanged, kKindAssetData, key, oldValue, newValue, nullptr);
    return asset;
}

ULong CNorvikSql::userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags,
                              int recordHistory, CTime when) {
    if (BuiltInOf(key) != BuiltIn::None) return SetBuiltInField(owner, key, value, recordHistory, when);
    const ULong ownerBits = flags & kUserDataOwnerMask;
    if (ownerBits == 0) return 0;
    CString statement =
        CString::Formatted("select _ID from USERDATA where _PARENT=%d and _OWNER=%d and (_FLAGS & %d) > 0 and _KEY=%s",
                           AsInt(group), AsInt(owner), AsInt(ownerBits), SqlQuote(key).c_str());
    try {
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) return rs.NumberAt(0);
        }
        const CString values =
            CString::Formatted("%d,%d,%s,%d", AsInt(group), AsInt(owner), SqlQuote(key).c_str(), AsInt(ownerBits));
        statement = CString::Formatted("{?=call usp_Insert('USERDATA','_PARENT,_OWNER,_KEY,_FLAGS',%s,?)}",
                                       SqlQuote(values).c_str());
        const ULong id = InsertRecord("USERDATA", "_PARENT,_OWNER,_KEY,_FLAGS", values);
        const CString stored = value ? value : "<NULL>";
        // The insert leaves _VAL at its default, the empty text: only other values need writing.
        if (!stored.IsEmpty()) {
            statement =
                CString::Formatted("update USERDATA set _VAL=%s where _ID=%d", SqlQuote(stored).c_str(), AsInt(id));
            ExecuteStatement(statement);
        }
        // Only asset-level values belong to an asset's history.
        if (recordHistory && (ownerBits & kUserDataAsset))
            historyAdd(owner, when, kHistAdded, kKindAssetData, key, stored, nullptr, nullptr);
        return id;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::userDataFind(ULong group, ULong owner, const char* key, ULong mask) {
    const CString statement =
        CString::Formatted("select _ID from USERDATA where _PARENT=%d and _OWNER=%d and (_FLAGS & %d)>0 and _KEY=%s",
                           AsInt(group), AsInt(owner), AsInt(mask), SqlQuote(key).c_str());
    return FirstNumberReported(statement);
}
