// A program outside the Norvik tree, built against the installed package: opens a SQLite audit
// database (creating it through the library when the file is missing), adds an asset and prints
// its id and name.   usage: consumer FILE NAME
#include <cstdio>
#include <filesystem>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/schema_installer.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: consumer FILE NAME\n");
        return 2;
    }
    const std::string dsn = std::string("Driver=SQLite3;Database=") + argv[1] + ";";
    try {
        if (!std::filesystem::exists(argv[1])) {
            CDatabase creator;
            creator.OpenEx(dsn.c_str(), CDatabase::noOdbcDialog);
            InstallSchema(creator, "7.14");
        }
    } catch (const CException& e) {
        std::fprintf(stderr, "consumer: cannot create %s: %s\n", argv[1], e.GetErrorMessage().c_str());
        return 1;
    }
    CAuditDBSys kb;
    CNorvikSql db(kb);
    if (!db.Open(dsn.c_str(), nullptr, 0x4)) return 1;
    const ULong id = db.AddAsset(argv[2], 0, 1, 1, CTime::GetCurrentTime());
    if (id == 0) return 1;
    std::printf("%u %s\n", id, db.GetAssetName(id).c_str());
    db.CloseDB();
    return 0;
}
