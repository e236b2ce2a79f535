// usp_MergeFolder and usp_MergeFile for SQLite: the statements of the PostgreSQL functions,
// prepared once per connection and run with bound values. An audit import calls these for
// every folder and file it stores, so no statement is compiled or text built per call.
#include <cstdint>
#include <vector>

#include "platform/odbc_prepared.h"
#include "sql/sql_arguments.h"
#include "sql/sqlite_procedures.h"

namespace {

CDBException BadArguments(const char* name, const char* expected) {
    return CDBException(-1, CString::Formatted("%s: expects %s", name, expected),
                        "State:42000,Native:0,Origin:Procedure");
}

// The first column of the first row of `statement`, run as it stands; false without a row.
bool FirstLong(COdbcPrepared& statement, std::int32_t* value) {
    statement.Execute();
    const bool found = statement.Fetch();
    if (found) *value = statement.LongAt(1);
    statement.CloseCursor();
    return found;
}

std::int32_t LastInsertId(CDatabase& db) {
    std::int32_t id = 0;
    FirstLong(db.Prepared("select last_insert_rowid()"), &id);
    return id;
}

}  // namespace

std::int32_t SqliteMergeFolder(CDatabase& db, const std::vector<CString>& args, std::int32_t* out) {
    long asset = 0, parent = 0;
    if (args.size() != 3 || !IntegerArgument(args[0], &asset) || !IntegerArgument(args[1], &parent))
        throw BadArguments("usp_MergeFolder", "an asset, a parent folder and a name");
    const char* name = args[2].c_str();
    COdbcPrepared& find = db.Prepared("select _ID from SWFOLDER where _PARENT = ? and _NAME = ? order by _ID limit 1");
    find.SetLong(1, static_cast<std::int32_t>(parent));
    find.SetText(2, name);
    std::int32_t folder = 0;
    if (!FirstLong(find, &folder)) {
        COdbcPrepared& insert = db.Prepared("insert into SWFOLDER (_NAME, _PARENT) values (?, ?)");
        insert.SetText(1, name);
        insert.SetLong(2, static_cast<std::int32_t>(parent));
        insert.Execute();
        folder = LastInsertId(db);
    }
    COdbcPrepared& link = db.Prepared(
        "insert into SWLINK (_ASSET, _FOLDER, _FILE, _FDATE) select ?, ?, 0, 0 where not exists (select 1 "
        "from SWLINK where _ASSET = ? and _FOLDER = ? and _FILE = 0)");
    for (int first : {1, 3}) {
        link.SetLong(first, static_cast<std::int32_t>(asset));
        link.SetLong(first + 1, folder);
    }
    link.Execute();
    if (out) *out = folder;
    return 0;
}

std::int32_t SqliteMergeFile(CDatabase& db, const std::vector<CString>& args, std::int32_t* /*out*/) {
    long asset = 0, folder = 0, crc = 0, size = 0, date = 0, app = 0;
    if (args.size() != 10 || !IntegerArgument(args[0], &asset) || !IntegerArgument(args[1], &folder) ||
        !IntegerArgument(args[2], &crc) || !IntegerArgument(args[4], &size) || !IntegerArgument(args[5], &date) ||
        !IntegerArgument(args[9], &app))
        throw BadArguments("usp_MergeFile",
                           "an asset, a folder, a CRC, a name, a size, a date, three texts and an application");
    COdbcPrepared& find = db.Prepared(
        "select _ID, _APPID from SWFILE where _NAME = ? and _SIZE = ? and _CRC = ? and _RESMFR = ? and _RESAPP = ? "
        "and _RESVER = ? order by _ID limit 1");
    find.SetText(1, args[3].c_str());
    find.SetLong(2, static_cast<std::int32_t>(size));
    find.SetLong(3, static_cast<std::int32_t>(crc));
    for (int i = 0; i < 3; ++i) find.SetText(4 + i, args[6 + static_cast<std::size_t>(i)].c_str());
    find.Execute();
    std::int32_t file = 0;
    std::int32_t fileApp = 0;
    const bool found = find.Fetch();
    if (found) {
        file = find.LongAt(1);
        fileApp = find.LongAt(2);
    }
    find.CloseCursor();
    if (!found) {
        COdbcPrepared& insert = db.Prepared(
            "insert into SWFILE (_NAME, _SIZE, _CRC, _RESMFR, _RESAPP, _RESVER, _APPID) values (?, ?, ?, ?, ?, ?, ?)");
        insert.SetText(1, args[3].c_str());
        insert.SetLong(2, static_cast<std::int32_t>(size));
        insert.SetLong(3, static_cast<std::int32_t>(crc));
        for (int i = 0; i < 3; ++i) insert.SetText(4 + i, args[6 + static_cast<std::size_t>(i)].c_str());
        insert.SetLong(7, static_cast<std::int32_t>(app));
        insert.Execute();
        file = LastInsertId(db);
    } else if (fileApp == 0 && app != 0) {
        COdbcPrepared& assign = db.Prepared("update SWFILE set _APPID = ? where _ID = ?");
        assign.SetLong(1, static_cast<std::int32_t>(app));
        assign.SetLong(2, file);
        assign.Execute();
    }
    COdbcPrepared& redate = db.Prepared("update SWLINK set _FDATE = ? where _ASSET = ? and _FOLDER = ? and _FILE = ?");
    redate.SetLong(1, static_cast<std::int32_t>(date));
    redate.SetLong(2, static_cast<std::int32_t>(asset));
    redate.SetLong(3, static_cast<std::int32_t>(folder));
    redate.SetLong(4, file);
    redate.Execute();
    if (redate.RowCount() == 0) {
        COdbcPrepared& link = db.Prepared("insert into SWLINK (_ASSET, _FOLDER, _FILE, _FDATE) values (?, ?, ?, ?)");
        link.SetLong(1, static_cast<std::int32_t>(asset));
        link.SetLong(2, static_cast<std::int32_t>(folder));
        link.SetLong(3, file);
        link.SetLong(4, static_cast<std::int32_t>(date));
        link.Execute();
    }
    return 0;
}
