// Locations: the tree of places in table LOCDATA that holds the assets, its paths of names,
// its IPv4 address ranges, and the comma-separated export of the tree with its assets.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "common/address_list.h"
#include "platform/atomic_file.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

// Paths are cut into names in a zeroed buffer of this many characters; longer paths lose
// their tail, the last character always staying the terminator.
constexpr std::size_t kPathBuffer = 1024;

// A path as a list of its names, cut at ';' and '\' (empty names kept, in place).
CDynaList<CString> SplitPath(const char* path) {
    char buffer[kPathBuffer] = {};
    if (path) std::strncpy(buffer, path, kPathBuffer - 1);
    CDynaList<CString> names;
    const char* start = buffer;
    for (const char* p = buffer;; ++p) {
        if (*p == ';' || *p == '\\' || *p == '\0') {
            names.Add(CString(start, static_cast<int>(p - start)));
            if (*p == '\0') break;
            start = p + 1;
        }
    }
    return names;
}

bool Contains(const CDynaList<ULong>& list, ULong id) { return std::find(list.begin(), list.end(), id) != list.end(); }

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using OutputFile = std::unique_ptr<std::FILE, FileCloser>;

// Writes one location of the export and then, depth first, its children by name: a line per
// asset ("%s,%s,%s,%s": full name, low ends, high ends, asset name), or one line with an empty
// asset name for a location without assets. The root writes only its own assets, with three
// empty leading fields. Returns false when a step reported its own failure; throws
// CDBException for the asset read, its statement left in `statement`.
bool ExportLocation(CNorvikSql& db, std::FILE* out, ULong location, const CDynaList<ULong>& ancestors,
                    CString& statement) {
    CString fullName;
    CString from;
    CString to;
    if (location != 0) {
        fullName = db.locGetFullName(location, '\\');
        from = db.locGetIpRangesFrom(location);
        to = db.locGetIpRangesTo(location);
    }
    statement =
        CString::Formatted("select _NAME from ASSET where _LOCATION = %d order by _NAME", static_cast<int>(location));
    bool any = false;
    for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) {
        std::fprintf(out, "%s,%s,%s,%s\n", fullName.c_str(), from.c_str(), to.c_str(), rs.TextAt(0).c_str());
        any = true;
    }
    if (!any && location != 0) std::fprintf(out, "%s,%s,%s,\n", fullName.c_str(), from.c_str(), to.c_str());

    CDynaList<ULong> children;
    if (!db.locEnum(location, children, 0)) return false;
    CDynaList<ULong> path(ancestors);
    path.Add(location);
    for (ULong child : children) {
        if (Contains(path, child)) continue;  // a cycle written by hand
        if (!ExportLocation(db, out, child, path, statement)) return false;
    }
    return true;
}

}  // namespace

// ---- Reads ----

CString CNorvikSql::locGetName(ULong location) {
    if (location == 0) return GetCompanyName();
    return SelectTextReported("LOCDATA", "_NAME", location);
}

ULong CNorvikSql::locGetParent(ULong location) { return SelectNumberReported("LOCDATA", "_PARENT", location); }

ULong CNorvikSql::locGetType(ULong location) { return SelectNumberReported("LOCDATA", "_TYPE", location); }

CString CNorvikSql::locGetFullName(ULong location, char separator) {
    CString statement;
    try {
        CString fullName;
        CDynaList<ULong> visited;  // a hand-made cycle must not grow the name for ever
        while (location != 0 && !Contains(visited, location)) {
            visited.Add(location);
            statement =
                CString::Formatted("select _NAME, _PARENT from LOCDATA where _ID = %d", static_cast<int>(location));
            CSqlRecordset rs(this, statement);
            const CString name = rs.IsEOF() ? CString() : rs.TextAt(0);
            location = rs.IsEOF() ? 0 : rs.NumberAt(1);
            if (!fullName.IsEmpty()) fullName = CString(separator) + fullName;
            fullName = name + fullName;
        }
        return fullName.IsEmpty() ? CString("(None)") : fullName;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString("(None)");
    }
}

ULong CNorvikSql::locFind(const char* path) {
    CString statement;
    try {
        ULong parent = 0;
        for (const CString& name : SplitPath(path)) {
            if (name.IsEmpty()) break;
            statement = CString::Formatted("select * from LOCDATA where _PARENT = %d and _NAME = %s",
                                           static_cast<int>(parent), SqlQuote(name).c_str());
            CSqlRecordset rs(this, statement);
            if (rs.IsEOF()) return 0;
            parent = rs.NumberAt(0);
        }
        return parent;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::locFindByIP(CIPAddress ip) {
    const char* const statement = "select _ID,_IPFROM,_IPTO from LOCDATA";
    const ULong wanted = ip.GetAsNumber();
    try {
        // Every row's ranges are appended to the same two lists, so the scan allocates only
        // while the lists grow.
        CDynaList<CIPAddress> from;
        CDynaList<CIPAddress> to;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const CString fromText = rs.TextAt(1);
            if (fromText.IsEmpty()) continue;
            const ULong firstFrom = from.GetCount();
            const ULong firstTo = to.GetCount();
            const ULong pairs = std::min(AppendAddressList(fromText, from), AppendAddressList(rs.TextAt(2), to));
            for (ULong i = 0; i < pairs; ++i) {
                if (from[firstFrom + i].GetAsNumber() <= wanted && wanted <= to[firstTo + i].GetAsNumber()) {
                    return rs.NumberAt(0);
                }
            }
        }
        return 0;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

CString CNorvikSql::locGetIpRangesFrom(ULong location) { return SelectTextReported("LOCDATA", "_IPFROM", location); }

CString CNorvikSql::locGetIpRangesTo(ULong location) { return SelectTextReported("LOCDATA", "_IPTO", location); }

int CNorvikSql::IsChildLocation(ULong location, ULong ancestor) {
    if (ancestor == 0) return 1;
    CDynaList<ULong> visited;  // a hand-made cycle never reaches 0
    while (location != 0 && !Contains(visited, location)) {
        if (location == ancestor) return 1;
        visited.Add(location);
        location = locGetParent(location);
    }
    return 0;
}

// ---- Writes ----

int CNorvikSql::locSetName(ULong location, const char* name) {
    const CString statement = CString::Formatted("update LOCDATA set _NAME = %s where _ID = %d", SqlQuote(name).c_str(),
                                                 static_cast<int>(location));
    try {
        return ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::locAdd(const char* name, ULong parent, ULong type, CIPAddress from, CIPAddress to) {
    const CString values =
        CString::Formatted("%s,%d,%d,%s,%s", SqlQuote(name).c_str(), static_cast<int>(parent), static_cast<int>(type),
                           SqlQuote(from.GetAsText()).c_str(), SqlQuote(to.GetAsText()).c_str());
    return InsertReported(*this, "LOCDATA", "_NAME,_PARENT,_TYPE,_IPFROM,_IPTO", values);
}

ULong CNorvikSql::locAddFull(const char* path) {
    CString statement;
    try {
        ULong parent = 0;
        ULong type = 0;
        for (const CString& name : SplitPath(path)) {
            if (name.IsEmpty()) continue;
            statement = CString::Formatted("select _ID,_TYPE from LOCDATA where _PARENT = %d and _NAME = %s",
                                           static_cast<int>(parent), SqlQuote(name).c_str());
            bool found = false;
            {
                CSqlRecordset rs(this, statement);
                if (!rs.IsEOF()) {
                    found = true;
                    parent = rs.NumberAt(0);
                    type = rs.NumberAt(1);
                }
            }
            if (found) continue;
            ULong childType = GetChildLocType(type);
            if (childType == 0) childType = AddLocType("New Location Type", type);
            // The steps report their own failures; going on would hang the rest of the path
            // under the wrong parent.
            if (childType == 0) return 0;
            parent = locAdd(name, parent, childType, CIPAddress(), CIPAddress());
            if (parent == 0) return 0;
            type = childType;
        }
        return parent;
    } catch (const CDBException& e) {
        HandleException(e, statement);
        return 0;
    }
}

int CNorvikSql::locDelete(ULong location) {
    CString statement;
    try {
        // The whole tree goes in one transaction: interrupted or failed, nothing is deleted.
        TransactionScope transaction(*this);
        DeleteLocationTree(location, CDynaList<ULong>(), statement);
        transaction.Commit();
        return 1;
    } catch (const CDBException& e) {
        m_assetCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::DeleteLocationTree(ULong location, const CDynaList<ULong>& ancestors, CString& statement) {
    CDynaList<ULong> path(ancestors);
    path.Add(location);
    CDynaList<ULong> children;
    EnumLocationsBelow(location, children, 0, path, statement);
    for (ULong child : children) {
        if (!Contains(path, child)) DeleteLocationTree(child, path, statement);
    }
    statement = CString::Formatted("select _PARENT from LOCDATA where _ID = %d", static_cast<int>(location));
    const ULong parent = SelectNumber("LOCDATA", "_PARENT", location);
    statement = CString::Formatted("update ASSET set _LOCATION = %d where _LOCATION = %d", static_cast<int>(parent),
                                   static_cast<int>(location));
    ExecuteStatement(statement);
    m_assetCacheId = 0;
    statement = CString::Formatted("delete from LOCDATA where _ID = %d", static_cast<int>(location));
    ExecuteStatement(statement);
}

int CNorvikSql::locSetIpAddressRanges(ULong location, CString& from, CString& to) {
    const CString statement =
        CString::Formatted("update LOCDATA set _IPFROM=%s,_IPTO=%s where _ID=%d", SqlQuote(from).c_str(),
                           SqlQuote(to).c_str(), static_cast<int>(location));
    try {
        return ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::locationDeleteSamples() {
    const char* const statement = "select _ID from LOCDATA where _NAME like 'Sample %'";
    CDynaList<ULong> samples;
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) samples.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return;
    }
    for (ULong i = samples.GetCount(); i > 0; --i) locDelete(samples[i - 1]);
}

// ---- Enumerations ----

int CNorvikSql::locEnum(ULong parent, CDynaList<ULong>& locations, int recursive) {
    CString statement;
    try {
        CDynaList<ULong> path;
        path.Add(parent);
        EnumLocationsBelow(parent, locations, recursive, path, statement);
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::EnumLocationsBelow(ULong parent, CDynaList<ULong>& locations, int recursive,
                                    const CDynaList<ULong>& ancestors, CString& statement) {
    const ULong first = locations.GetCount();
    statement =
        CString::Formatted("select _ID from LOCDATA where _PARENT = %d order by _NAME", static_cast<int>(parent));
    {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) locations.Add(rs.NumberAt(0));
    }
    if (!recursive) return;
    // The list grows (and moves) while the subtrees are appended: index it, never iterate.
    const ULong last = locations.GetCount();
    for (ULong i = first; i < last; ++i) {
        const ULong child = locations[i];
        if (Contains(ancestors, child)) continue;
        CDynaList<ULong> path(ancestors);
        path.Add(child);
        EnumLocationsBelow(child, locations, recursive, path, statement);
    }
}

int CNorvikSql::locExport(const char* file) {
    if (!file) return 0;
    // The export is made in memory and then replaces the file whole: a failed read or a kill
    // leaves the old file as it was, never half an export.
    char* buffer = nullptr;
    std::size_t size = 0;
    OutputFile out(::open_memstream(&buffer, &size));
    if (!out) return 0;
    std::fputs("LOCATION,IP ADDRESS FROM,IP ADDRESS TO,ASSET NAME\n", out.get());
    CString statement;
    bool exported = false;
    try {
        exported = ExportLocation(*this, out.get(), 0, CDynaList<ULong>(), statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    exported = exported && std::ferror(out.get()) == 0;
    exported = std::fclose(out.release()) == 0 && exported;  // sets buffer and size
    const std::string text(buffer ? buffer : "", buffer ? size : 0);
    std::free(buffer);
    if (!exported) return 0;
    try {
        CAtomicFile::Replace(file, text);
        return 1;
    } catch (const CFileException&) {
        return 0;  // the caller says which file it could not write, as for a failed open
    }
}
