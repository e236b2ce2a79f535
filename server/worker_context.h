// What a handler may use besides its request: the worker's own connection to the Audit
// Database and importer, and the server's settings. One context per worker thread, never shared.
#pragma once

#include <mutex>
#include <string>

#include "import/inventory_import.h"
#include "sql/norvik_sql.h"

struct ServerSettings;  // server/server_settings.h
struct ConsoleState;    // server/console/console.h

// The worker's hold on its connection: a handler asks for it before it uses `db`, and reports
// a connection that stopped answering so that the next request opens it again.
class WorkerConnection {
public:
    virtual ~WorkerConnection() = default;
    // True when `db` is open (opening it now when it is not).
    virtual bool Ready() = 0;
    // True when the open database answers a statement; closes it when it does not.
    virtual bool Answers() = 0;
    // The connection failed: close it; the next Ready() opens it again.
    virtual void Lost() = 0;
};

// Owned by one worker thread for the server's lifetime; `db` and `importer` are that worker's
// alone (the library is used from one thread per object).
struct WorkerContext {
    CNorvikSql& db;
    CInventoryImporter& importer;
    const ServerSettings& settings;
    WorkerConnection* connection = nullptr;  // null: `db` is open for the context's lifetime
    // Held by every import when set: the workers of a SQLite database take turns at writing
    // (the engine allows one writer; waiting on the engine's busy timeout instead costs seconds).
    std::mutex* writerGate = nullptr;
    // The last agent Authorization header this worker verified against the agents' password
    // hash (an Argon2id check per request would cost more than the import).
    std::string verifiedAgentAuthorization;

    bool DatabaseReady() { return connection == nullptr || connection->Ready(); }
    // The console's sessions and settings, shared by every worker; null: the process's default.
    ConsoleState* console = nullptr;
};
