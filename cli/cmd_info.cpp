// norvik info: what a database is: schema version, engine, rows per table.
#include <iostream>

#include "cli/cli_context.h"
#include "sql/schema_installer.h"
#include "sql/sql_recordset.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik [--db FILE | --dsn CONNECTION] info [--json]\n"
    "Prints the schema version, the database engine and the number of rows in each table.\n";

}  // namespace

int RunInfo(Context& context) {
    if (const int exit = HelpForVerbWithoutWords(context, kHelp); exit >= 0) return exit;
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const int version = db->GetVer();
    const std::string versionText = SchemaVersionText(version);
    TextTable table({"Table", "Rows"});
    std::string jsonTables;
    try {
        for (const auto& name : AuditTableNames()) {
            CSqlRecordset rs(db, ("select count(*) from " + name).c_str());
            const std::string rows = std::to_string(rs.NumberAt(0));
            table.AddRow({name, rows});
            jsonTables += (jsonTables.empty() ? "" : ", ") + JsonText(name) + ": " + rows;
        }
    } catch (const CDBException& e) {
        PrintError("cannot count the rows: " + e.m_strError.str());
        return kExitFailed;
    }
    if (context.options.json) {
        std::cout << "{\"database\": " << JsonText(context.DatabaseName())
                  << ", \"engine\": " << JsonText(db->GetDbmsName().str()) << ", \"schema\": " << JsonText(versionText)
                  << ", \"tables\": {" << jsonTables << "}}\n";
        return kExitOk;
    }
    std::cout << "Database: " << context.DatabaseName() << "\nEngine:   " << db->GetDbmsName().c_str()
              << "\nSchema:   " << versionText << "\n\n";
    table.Print(std::cout, {1});
    return kExitOk;
}

}  // namespace cli
