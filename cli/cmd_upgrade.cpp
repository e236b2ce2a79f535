// norvik upgrade: brings an older Audit Database (7.08, 7.10, 7.12) to the schema this tool
// works with, asking first, and shows the upgrade's status lines as it goes.
#include <iostream>

#include "cli/cli_context.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik [--db FILE | --dsn CONNECTION] upgrade [--yes]\n"
    "Opens the database and, when it is at schema 7.08, 7.10 or 7.12, offers to upgrade it to 7.14\n"
    "(asked on the terminal; --yes accepts). A database at 7.14 gets the indexes a new one has,\n"
    "created when missing (writers wait while one is built). Prints the upgrade's status lines,\n"
    "then the schema.\n"
    "Exits 0 when the database is at 7.14 afterwards, 1 when it is not (declined, or an upgrade that\n"
    "found no processor data to convert and left the version as it was).\n";

}  // namespace

int RunUpgrade(Context& context) {
    if (const int exit = HelpForVerbWithoutWords(context, kHelp); exit >= 0) return exit;
    // Open makes the offer and runs the upgrade; every refusal or failure has been shown by then.
    CNorvikSql* db = context.OpenDatabase(&std::cout);
    if (!db) return kExitFailed;
    // A database created at 7.14 by an earlier release may lack indexes added since; the step is
    // the one every version upgrade ends with, and changes nothing when there is nothing to do.
    if (db->UpgradeIndexes() < 0) return kExitFailed;
    const int version = db->GetVer();
    std::cout << "Schema: " << SchemaVersionText(version) << '\n';
    return kExitOk;
}

}  // namespace cli
