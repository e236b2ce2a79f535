// User data: the values of user-defined fields in table USERDATA, one per (group, owner, key),
// and the built-in field names that stand for columns of ASSET, read and written as text.
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/odbc_prepared.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// The history kind (icon code "Asset Data") of user-data records.
constexpr int kKindAssetData = 4;

enum class BuiltIn { None, Category, Make, Model, Serial, MacAddr, IpAddr, AuditDate, Location };

struct BuiltInName {
    const char* name;
    BuiltIn field;
    const char* column;
};

constexpr BuiltInName kBuiltIns[] = {
    {"Category", BuiltIn::Category, "_CAT"},
    {"Make", BuiltIn::Make, "_MAKE"},
    {"Model", BuiltIn::Model, "_MODEL"},
    {"Serial Number", BuiltIn::Serial, "_SERIAL"},
    {"MAC Address", BuiltIn::MacAddr, "ASSET._MACADDR"},
    {"IP Address", BuiltIn::IpAddr, "ASSET._IPADDR"},
    {"Audit Date", BuiltIn::AuditDate, "ASSET._AUDDATE"},
    {"Location", BuiltIn::Location, "ASSET._LOCATION,ASSET._STATUS"},
};

const BuiltInName* BuiltInOf(const char* key) {
    if (!key) return nullptr;
    for (const auto& entry : kBuiltIns)
        if (CString(key) == entry.name) return &entry;
    return nullptr;
}

BuiltIn FieldOf(const char* key) {
    const BuiltInName* entry = BuiltInOf(key);
    return entry ? entry->field : BuiltIn::None;
}

CString DateText(CTime time) {
    if (time.GetTime() == 0) return CString();
    const DateTimeParts p = time.GetLocal();
    return CString::Formatted("%4.4d-%2.2d-%2.2d %2.2d:%2.2d:%2.2d", p.year, p.month, p.day, p.hour, p.minute,
                              p.second);
}

// Adds field 0 of each row of `statement` to `texts`, each text once, skipping rows whose field 1
// is not `owner` when `owner` is not 0. Returns the number added; a failure is reported.
ULong AddDistinctTexts(CNorvikSql& db, const CString& statement, CStringTable& texts, ULong owner) {
    ULong added = 0;
    try {
        std::set<std::string> seen;
        for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) {
            if (owner != 0 && rs.NumberAt(1) != owner) continue;
            const CString text = rs.TextAt(0);
            if (!seen.insert(text.str()).second) continue;
            texts.Add(text);
            ++added;
        }
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
    }
    return added;
}

// A row of USERDATA as the writes of one value need it.
struct ValueRow {
    ULong owner = 0;
    CString key;
    CString value;
    ULong flags = 0;
};

// Reads value `id` into `row`; false when there is no such row. Throws CDBException, the
// statement sent left in `statement`.
bool ReadValueRow(CNorvikSql& db, ULong id, ValueRow& row, CString& statement) {
    statement = CString::Formatted("select _OWNER,_KEY,_VAL,_FLAGS from USERDATA where _ID=%d", AsInt(id));
    CSqlRecordset rs(&db, statement);
    if (rs.IsEOF()) return false;
    row = ValueRow{rs.NumberAt(0), rs.TextAt(1), rs.TextAt(2), rs.NumberAt(3)};
    return true;
}

}  // namespace

// ---- Built-in names ----

CString CNorvikSql::GetBuiltInField(ULong asset, const char* key) {
    if (!LoadAssetCache(asset)) return CString();
    // Copied: the name lookups below may refill the cache with another asset.
    const AssetCacheEntry row = m_assetCache;
    switch (FieldOf(key)) {
        case BuiltIn::Category: return row.category ? GetCategoryName(row.category) : CString();
        case BuiltIn::Make: return row.make ? GetMakeName(row.make) : CString();
        case BuiltIn::Model: return row.model ? GetModelName(row.model) : CString();
        case BuiltIn::Serial: return row.serial;
        case BuiltIn::MacAddr: return row.macAddr;
        case BuiltIn::IpAddr: return row.ipAddr;
        case BuiltIn::AuditDate: return DateText(row.auditDate);
        case BuiltIn::Location:
            if (row.status & kAssetChild) return "child of " + GetAssetName(row.location);
            return row.location ? locGetFullName(row.location, '\\') : CString();
        case BuiltIn::None: break;
    }
    return CString();
}

ULong CNorvikSql::SetBuiltInField(ULong asset, const char* key, const char* value, bool clearEmpty, int recordHistory,
                                  CTime when) {
    const CString text = value ? value : "";
    if (!LoadAssetCache(asset)) return 0;
    if (text.IsEmpty() && !clearEmpty) return asset;
    const AssetCacheEntry row = m_assetCache;
    // A value the column cannot take is reported as any failure is, and nothing is written.
    auto refuse = [&](const char* format) {
        HandleException(CException(), CString::Formatted(format, text.c_str(), key));
        return ULong{0};
    };
    const BuiltIn field = FieldOf(key);
    switch (field) {
        case BuiltIn::MacAddr: return SetAssetMacAddr(asset, text, recordHistory, when) ? asset : 0;
        case BuiltIn::IpAddr: {
            const CIPAddress ip(text);
            if (!text.IsEmpty() && ip.GetAsText() != text) return refuse("'%s' is not an IP address for the field %s");
            return SetAssetIPAddr(asset, ip, recordHistory, when) ? asset : 0;
        }
        case BuiltIn::Location: {
            const ULong location = text.IsEmpty() ? 0 : locFind(text);
            if (location == 0 && !text.IsEmpty()) return refuse("No location is found at '%s' for the field %s");
            return SetAssetParent(asset, location, 0, recordHistory, when) ? asset : 0;
        }
        case BuiltIn::AuditDate: {
            DateTimeParts parts;
            if (!text.IsEmpty() && !DateTimeParts::Parse(text, &parts))
                return refuse("'%s' is not a date (YYYY-MM-DD hh:mm:ss) for the field %s");
            const CTime date = text.IsEmpty() ? CTime() : CTime(parts);
            if (date.GetTime() == row.auditDate.GetTime()) return asset;
            if (!SetLastAuditDate(asset, date)) return 0;
            if (recordHistory)
                historyAdd(asset, when, kHistChanged, kKindAssetData, key, DateText(row.auditDate), DateText(date),
                           nullptr);
            return asset;
        }
        default: break;
    }
    // The remaining names are plain columns: the serial number's text, or a catalogue entry found
    // by name under the asset's own category (makes) and make (models).
    CString literal = SqlQuote(text);
    CString oldText = row.serial;
    if (field != BuiltIn::Serial) {
        ULong id = 0;
        if (!text.IsEmpty()) {
            if (field == BuiltIn::Category) id = FindCategory(text);
            if (field == BuiltIn::Make) id = FindMake(row.category, text);
            if (field == BuiltIn::Model) {
                // Not FindModel: it hands site models out shifted right, which no read takes back.
                CSortList models;
                EnumModels(row.make, models, 1);
                for (const CSortItem& model : models)
                    if (model.text == text) {
                        id = model.id;
                        break;
                    }
            }
            if (id == 0) return refuse("'%s' is not a known name for the field %s");
        }
        const ULong old = field == BuiltIn::Category ? row.category : field == BuiltIn::Make ? row.make : row.model;
        if (old == id) return asset;
        oldText = GetBuiltInField(asset, key);
        literal = CString::Formatted("%d", AsInt(id));
    } else if (oldText == text) {
        return asset;
    }
    const CString statement = CString::Formatted("update ASSET set %s=%s where _ID=%d", BuiltInOf(key)->column,
                                                 literal.c_str(), AsInt(asset));
    if (!ExecuteReported(statement)) return 0;
    m_assetCacheId = 0;
    if (recordHistory) historyAdd(asset, when, kHistChanged, kKindAssetData, key, oldText, text, nullptr);
    return asset;
}

CString CNorvikSql::GetBuiltInFieldValue(ULong asset, const char* name) {
    return IsBuiltInField(name) ? GetBuiltInField(asset, name) : CString();
}

int CNorvikSql::SetBuiltInFieldValue(ULong asset, const char* name, const char* text, int recordHistory, CTime when) {
    if (!IsBuiltInField(name)) {
        HandleException(CException(), CString::Formatted("%s is not a built-in field", name ? name : ""));
        return 0;
    }
    return SetBuiltInField(asset, name, text, true, recordHistory, when) ? 1 : 0;
}

// ---- Reads ----

ULong CNorvikSql::userDataEnum(ULong group, ULong owner, CSortList& list, ULong mask, int wholeTree) {
    if (group == 0 && (mask & kUserDataAsset))
        for (const char* name : {"Category", "Make", "Model", "Serial Number"}) list.Add(name, owner, 0);
    const CString statement =
        CString::Formatted(wholeTree ? "select _ID,_KEY,_FLAGS,_PARENT from USERDATA where _PARENT>=%d and _OWNER=%d"
                                     : "select _ID,_KEY,_FLAGS,_PARENT from USERDATA where _PARENT=%d and _OWNER=%d",
                           AsInt(group), AsInt(owner));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            if (rs.NumberAt(2) & mask) list.Add(rs.TextAt(1), rs.NumberAt(0), rs.NumberAt(2));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::userDataEnumFieldNames(ULong group, ULong owner, CStringTable& names, ULong mask) {
    return AddDistinctTexts(
        *this,
        CString::Formatted("select _KEY,_OWNER from USERDATA where _PARENT=%d and (_FLAGS & %d) > 0", AsInt(group),
                           AsInt(mask)),
        names, owner);
}

ULong CNorvikSql::userDataEnumFieldValues(ULong group, const char* key, CSortList& list, ULong mask) {
    CString statement;
    try {
        if (const BuiltInName* builtIn = BuiltInOf(key)) {
            // The column is converted to its text form asset by asset, as userdataGetValue gives it.
            statement = CString::Formatted("select ASSET._ID, %s from ASSET %s", builtIn->column, "order by ASSET._ID");
            CDynaList<ULong> assets;
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) assets.Add(rs.NumberAt(0));
            for (ULong asset : assets) list.Add(GetBuiltInField(asset, key), asset, 0);
            return list.GetCount();
        }
        statement = CString::Formatted("select _VAL,_OWNER,_FLAGS from USERDATA where _PARENT=%d and _KEY=%s",
                                       AsInt(group), SqlQuote(key).c_str());
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            if (rs.NumberAt(2) & mask) list.Add(rs.TextAt(0), rs.NumberAt(1), rs.NumberAt(2));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::userDataEnumGlobal(ULong group, const char* key, CSortList& list, char separator) {
    const int mask = AsInt(kUserDataAsset);
    CString field = key ? key : "";
    CString wanted;
    const bool byValue = separator != 0 && field.Find(separator) >= 0;
    if (byValue) {
        const int at = field.Find(separator);
        wanted = field.Mid(at + 1);
        field = field.Left(at);
        if (wanted == m_szBlank) wanted.Empty();
    }
    CString statement;
    try {
        if (field.IsEmpty()) {
            // The value rows first: a group that holds none is answered without reading names.
            statement = CString::Formatted("select _ID from USERDATA where _PARENT=%d and (_FLAGS & %d) > 0",
                                           AsInt(group), mask);
            {
                CSqlRecordset rs(this, statement);
                if (rs.IsEOF()) return list.GetCount();
            }
            statement = CString::Formatted("select _KEY from USERDATA where _PARENT=%d and (_FLAGS & %d) > 0",
                                           AsInt(group), mask);
            std::set<std::string> seen;
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
                if (seen.insert(rs.TextAt(0).str()).second) list.Add(rs.TextAt(0), 0);
            return list.GetCount();
        }
        if (const BuiltInName* builtIn = BuiltInOf(field)) {
            EnumBuiltInGlobal(static_cast<int>(builtIn->field), builtIn->column, byValue, wanted, list, statement);
            return list.GetCount();
        }
        if (!byValue) {
            statement = CString::Formatted(
                "select _OWNER,_VAL from USERDATA where _PARENT=%d and (_FLAGS & %d) > 0 and _KEY=%s", AsInt(group),
                mask, SqlQuote(field).c_str());
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
                const CString value = rs.TextAt(1);
                list.Add(value.IsEmpty() ? CString(m_szBlank) : value, rs.NumberAt(0));
            }
            return list.GetCount();
        }
        statement = CString::Formatted(
            "select _OWNER from USERDATA where _PARENT=%d and (_FLAGS & %d) > 0 and _KEY=%s and _VAL=%s", AsInt(group),
            mask, SqlQuote(field).c_str(), SqlQuote(wanted).c_str());
        CDynaList<ULong> owners;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) owners.Add(rs.NumberAt(0));
        if (owners.GetCount() == 0) return list.GetCount();
        // The holders' names in one statement rather than one per holder.
        statement = CString::Formatted("select _ID,%s from ASSET", "_NAME");
        std::unordered_map<ULong, CString> names;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) names.emplace(rs.NumberAt(0), rs.TextAt(1));
        for (ULong owner : owners) list.Add(names[owner], owner);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

void CNorvikSql::EnumBuiltInGlobal(int which, const char* column, bool byValue, const CString& wanted, CSortList& list,
                                   CString& statement) {
    const auto field = static_cast<BuiltIn>(which);
    // A text column is matched by the database; the others are compared in their text form, so
    // that catalogue names and full location names are matched as they are shown.
    const bool textColumn = field == BuiltIn::Serial || field == BuiltIn::MacAddr || field == BuiltIn::IpAddr;
    if (byValue && textColumn) {
        statement = CString::Formatted("select _ID,_NAME from ASSET where %s=%s", column, SqlQuote(wanted).c_str());
        if (wanted.IsEmpty()) statement += CString::Formatted(" or %s is null", column);
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), rs.NumberAt(0));
        return;
    }
    struct Row {
        ULong asset;
        CString name;
        CString text;  // the text columns and the audit date as shown
        ULong id;      // the catalogue entry or the location
        ULong status;
    };
    CDynaList<Row> rows;
    statement = CString::Formatted("select _ID,%s from ASSET", byValue ? ("_NAME," + CString(column)).c_str() : column);
    const short first = byValue ? 2 : 1;
    for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
        Row row{rs.NumberAt(0), byValue ? rs.TextAt(1) : CString(), CString(), 0, 0};
        if (textColumn)
            row.text = rs.TextAt(first);
        else if (field == BuiltIn::AuditDate)
            row.text = DateText(rs.TimeAt(first));
        else
            row.id = rs.NumberAt(first);
        if (field == BuiltIn::Location) row.status = rs.NumberAt(first + 1);
        rows.Add(row);
    }
    // Each catalogue entry, location and parent asset is named once per call.
    std::unordered_map<ULong, CString> names;
    std::unordered_map<ULong, CString> parents;
    auto named = [](std::unordered_map<ULong, CString>& known, ULong id, auto lookUp) -> CString {
        if (id == 0) return CString();
        const auto found = known.find(id);
        if (found != known.end()) return found->second;
        return known.emplace(id, lookUp(id)).first->second;
    };
    for (const Row& row : rows) {
        CString text = row.text;
        switch (field) {
            case BuiltIn::Category: text = named(names, row.id, [&](ULong id) { return GetCategoryName(id); }); break;
            case BuiltIn::Make: text = named(names, row.id, [&](ULong id) { return GetMakeName(id); }); break;
            case BuiltIn::Model: text = named(names, row.id, [&](ULong id) { return GetModelName(id); }); break;
            case BuiltIn::Location:
                text = row.status & kAssetChild
                           ? "child of " + named(parents, row.id, [&](ULong id) { return GetAssetName(id); })
                           : named(names, row.id, [&](ULong id) { return locGetFullName(id, '\\'); });
                break;
            default: break;
        }
        if (!byValue)
            list.Add(text.IsEmpty() ? CString(m_szBlank) : text, row.asset);
        else if (text == wanted)
            list.Add(row.name, row.asset);
    }
}

ULong CNorvikSql::userDataFind(ULong group, ULong owner, const char* key, ULong mask) {
    if (IsBuiltInField(key)) return LoadAssetCache(owner) ? owner : 0;
    const CString statement =
        CString::Formatted("select _ID from USERDATA where _PARENT=%d and _OWNER=%d and (_FLAGS & %d)>0 and _KEY=%s",
                           AsInt(group), AsInt(owner), AsInt(mask), SqlQuote(key).c_str());
    return FirstNumberReported(statement);
}

CString CNorvikSql::userDataGetKey(ULong value, int withGroup, char separator) {
    const CString statement = CString::Formatted("select _PARENT,_KEY from USERDATA where _ID=%d", AsInt(value));
    ULong group = 0;
    CString key;
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return CString();
        group = rs.NumberAt(0);
        key = rs.TextAt(1);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString();
    }
    if (!withGroup || group == 0) return key;
    return CString::Formatted("%s%c%s", userDefGetKey(group).c_str(), separator, key.c_str());
}

CString CNorvikSql::userdataGetValue(ULong value) { return SelectTextReported("USERDATA", "_VAL", value); }

ULong CNorvikSql::userdataEnumFieldValues(const char* key, CStringTable& values) {
    return AddDistinctTexts(*this,
                            CString::Formatted("select _VAL from USERDATA where ((_FLAGS & %d) <> 0) and _KEY=%s",
                                               AsInt(kUserDataAsset), SqlQuote(key).c_str()),
                            values, 0);
}

CString CNorvikSql::userdataGetApplicationFieldValue(ULong app, const char* key) {
    return userdataGetValue(0, app, key, kUserDataApplication);
}

// ---- Writes ----

ULong CNorvikSql::userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags,
                              int recordHistory, CTime when) {
    if (IsBuiltInField(key)) return SetBuiltInField(owner, key, value, false, recordHistory, when);
    const ULong ownerBits = flags & kUserDataOwnerMask;
    if (ownerBits == 0) return 0;
    const bool history = recordHistory && (ownerBits & kUserDataAsset);
    CString statement =
        CString::Formatted("select _ID from USERDATA where _PARENT=%d and _OWNER=%d and (_FLAGS & %d) > 0 and _KEY=%s",
                           AsInt(group), AsInt(owner), AsInt(ownerBits), SqlQuote(key).c_str());
    try {
        ULong id = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) id = rs.NumberAt(0);
        }
        if (id != 0) {
            // An existing value is only ever replaced by a given one: the empty values AddAsset
            // hands every field must not erase what a user entered.
            if (value == nullptr || *value == 0) return id;
            statement = CString::Formatted("select _VAL from USERDATA where _ID = %d", AsInt(id));
            const CString old = SelectText("USERDATA", "_VAL", id);
            if (old == value) return id;
            statement =
                CString::Formatted("update USERDATA set _VAL=%s where _ID=%d", SqlQuote(value).c_str(), AsInt(id));
            ExecuteStatement(statement);
            if (history) historyAdd(owner, when, kHistChanged, kKindAssetData, key, old, value, nullptr);
            return id;
        }
        const CString values =
            CString::Formatted("%d,%d,%s,%d", AsInt(group), AsInt(owner), SqlQuote(key).c_str(), AsInt(ownerBits));
        statement = "insert into USERDATA (_PARENT,_OWNER,_KEY,_FLAGS) values (" + values + ")";
        id = InsertRecord("USERDATA", "_PARENT,_OWNER,_KEY,_FLAGS", values);
        const CString stored = value ? value : m_szNull;
        // The insert leaves _VAL at its default, the empty text: only other values need writing.
        if (!stored.IsEmpty()) {
            statement =
                CString::Formatted("update USERDATA set _VAL=%s where _ID=%d", SqlQuote(stored).c_str(), AsInt(id));
            ExecuteStatement(statement);
        }
        if (history) historyAdd(owner, when, kHistAdded, kKindAssetData, key, stored, nullptr, nullptr);
        return id;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::userDataDelete(ULong value, int deleteGroup, CTime when) {
    CString statement;
    try {
        if (deleteGroup) {
            // A group's values and definitions move up to the group's own parent, then it goes.
            const ULong parent = SelectNumber("USERDEF", "_PARENT", value);
            InvalidateAssetFields();
            TransactionScope transaction(*this);
            statement =
                CString::Formatted("update USERDATA set _PARENT=%d where _PARENT=%d", AsInt(parent), AsInt(value));
            ExecuteStatement(statement);
            statement =
                CString::Formatted("update USERDEF set _PARENT=%d where _PARENT=%d", AsInt(parent), AsInt(value));
            ExecuteStatement(statement);
            statement = CString::Formatted("delete from USERDEF where _ID=%d", AsInt(value));
            ExecuteStatement(statement);
            transaction.Commit();
            return 1;
        }
        ValueRow row;
        if (!ReadValueRow(*this, value, row, statement)) return 1;
        statement = CString::Formatted("delete from USERDATA where _ID=%d", AsInt(value));
        ExecuteStatement(statement);
        if (when.GetTime() != 0 && (row.flags & kUserDataAsset))
            historyAdd(row.owner, when, kHistDeleted, kKindAssetData, row.key, row.value, nullptr, nullptr);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::userDataSetKey(ULong value, const char* key) {
    return ExecuteReported(
        CString::Formatted("update USERDATA set _KEY=%s where _ID=%d", SqlQuote(key).c_str(), AsInt(value)));
}

int CNorvikSql::userDataSetVal(ULong value, const char* text, int recordHistory, CTime when) {
    const CString stored = text ? text : m_szNull;
    CString statement;
    try {
        ValueRow row;
        if (!ReadValueRow(*this, value, row, statement)) return 0;
        if (row.value == stored) return 1;
        statement =
            CString::Formatted("update USERDATA set _VAL=%s where _ID=%d", SqlQuote(stored).c_str(), AsInt(value));
        ExecuteStatement(statement);
        if (recordHistory && (row.flags & kUserDataAsset))
            historyAdd(row.owner, when, kHistChanged, kKindAssetData, row.key, row.value, stored, nullptr);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::userDataSetFlags(ULong value, ULong flags) {
    return ExecuteReported(
        CString::Formatted("update USERDATA set _FLAGS=%d where _ID=%d", AsInt(flags), AsInt(value)));
}

ULong CNorvikSql::userdataSetAppFieldValue(ULong app, const char* key, const char* value) {
    return userDataSetVal(0, app, key, value, kUserDataApplication, 0, CTime());
}

// ---- The user-field step of AddAsset ----

void CNorvikSql::AddAssetUserFields(ULong asset, bool added, long version, CString& statement) {
    // Every audit import runs this for every asset. A field is an asset-level definition that is
    // neither a group nor a built-in name; two definitions of one name in one group share one
    // value row (the first one's flags), as userDataAdd has it. The rows are inserted empty, as
    // userDataAdd leaves an empty value, without usp_Insert since no _ID is needed.
    if (GetEngine() != SqlEngine::Sqlite) {
        // One statement, one round trip, against the definitions as they are now; prepared, so
        // that the server plans it once per connection (planning costs more than running it).
        static const std::string text = [] {
            auto field = [](const std::string& row) {
                std::string condition = "(" + row + "._FLAGS & 3) = 2";
                for (const auto& entry : kBuiltIns) condition += " and " + row + "._KEY <> '" + entry.name + "'";
                return condition;
            };
            return "insert into USERDATA (_PARENT,_OWNER,_KEY,_FLAGS) select d._PARENT, ?, d._KEY, d._FLAGS & " +
                   std::to_string(kUserDataOwnerMask) + " from USERDEF d where " + field("d") +
                   " and not exists (select 1 from USERDEF e where e._PARENT = d._PARENT and e._KEY = d._KEY and "
                   "e._ID < d._ID and " +
                   field("e") +
                   ") and not exists (select 1 from USERDATA u where u._OWNER = ? and u._PARENT = d._PARENT and "
                   "u._KEY = d._KEY and (u._FLAGS & 2) <> 0) order by d._ID";
        }();
        statement = text.c_str();
        COdbcPrepared& insert = Prepared(text.c_str());
        insert.SetLong(1, AsInt(asset));
        insert.SetLong(2, AsInt(asset));
        insert.Execute();
        return;
    }
    // SQLite: the driver compiles a statement on every execution, prepared or not, and compiling
    // the statement above costs more than the rows it writes. So the fields are kept per
    // connection and the rows sent as values. The database's data_version moves when another
    // connection has committed (maybe new definitions); this connection's own definition writes
    // drop the fields themselves. Only an asset that was there before can have rows already.
    static_assert(kUserDataAsset == 2 && kUserDefGroup == 1, "the statements spell the flags out");
    std::set<std::pair<ULong, std::string>> present;
    if (!added) {
        statement = CString::Formatted("select _PARENT, _KEY from USERDATA where _OWNER=%d and (_FLAGS & 2) <> 0",
                                       AsInt(asset));
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            present.emplace(rs.NumberAt(0), rs.TextAt(1).str());
    }
    if (!m_assetFieldsLoaded || version != m_assetFieldsVersion) {
        m_assetFields.clear();
        std::set<std::pair<ULong, std::string>> seen;
        statement = "select _PARENT,_KEY,_FLAGS from USERDEF where (_FLAGS & 3) = 2 order by _ID";
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const CString key = rs.TextAt(1);
            if (IsBuiltInField(key) || !seen.emplace(rs.NumberAt(0), key.str()).second) continue;
            m_assetFields.push_back(AssetField{rs.NumberAt(0), key, rs.NumberAt(2) & kUserDataOwnerMask});
        }
        m_assetFieldsLoaded = !m_assetFieldsUnsettled;
        m_assetFieldsVersion = version;
    }
    CString rows;
    for (const AssetField& field : m_assetFields) {
        if (present.count({field.group, field.key.str()})) continue;
        if (!rows.IsEmpty()) rows += ",";
        rows += CString::Formatted("(%d,%d,%s,%d)", AsInt(field.group), AsInt(asset), SqlQuote(field.key).c_str(),
                                   AsInt(field.flags));
    }
    if (rows.IsEmpty()) return;
    statement = "insert into USERDATA (_PARENT,_OWNER,_KEY,_FLAGS) values " + rows;
    ExecuteStatement(statement);
}
