// What a handler may use besides its request: the worker's own connection to the Audit
// Database and importer, and the server's settings. One context per worker thread, never shared.
#pragma once

#include <string>

#include "import/inventory_import.h"
#include "sql/norvik_sql.h"

struct ServerSettings;  // server/server_settings.h
struct ConsoleState;    // server/console/console.h

// Owned by one worker thread for the server's lifetime; `db` and `importer` are that worker's
// alone (the library is used from one thread per object).
struct WorkerContext {
    CNorvikSql& db;
    CInventoryImporter& importer;
    const ServerSettings& settings;
    // The console's sessions and settings, shared by every worker; null: the process's default.
    ConsoleState* console = nullptr;
};
