// What every verb of the norvik tool receives: the global options, the remaining words,
// and the way to reach the Audit Database.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cli/output.h"
#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"

namespace cli {

// Exit codes of the tool.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;  // the operation failed (database, missing record, bad data)
constexpr int kExitUsage = 2;   // the command line was wrong

struct GlobalOptions {
    std::string dbFile = "audit.db";  // SQLite file, when no --dsn is given
    std::string dsn;                  // complete ODBC connection string
    std::string traceFile;
    bool assumeYes = false;
    bool json = false;
};

class Context {
public:
    GlobalOptions options;
    std::vector<std::string> args;  // the words after the verb

    // The connection string for the chosen database; for --db FILE it carries the SQLite
    // settings that keep one statement per operation fast and let two consoles share a file.
    std::string ConnectionString() const;
    // A line naming the database for messages.
    std::string DatabaseName() const;

    // Opens the Audit Database; prints one line on stderr and returns null when it cannot.
    // An upgrade run by the open writes its status lines to `statusOut` when it is set.
    // A SQLite file whose "-wal" or "-shm" file this user cannot write is refused with a
    // line saying what to do (the writes would fail with "attempt to write a readonly database").
    CNorvikSql* OpenDatabase(std::ostream* statusOut = nullptr);
    // The same for a command that only reads: the connection is read-only, and a SQLite file is
    // opened with mode=ro, so that it can be read when the file or its folder is not writable.
    // When the file has no "-wal" file (no writer is connected) it is read as immutable: the
    // reader then leaves no "-wal" or "-shm" file behind, which another user might not be able
    // to use. A writer that starts meanwhile can make such a read fail; it never harms the file.
    CNorvikSql* OpenDatabaseToRead();

    // Prints `help` on stdout when the words ask for it, and says whether they did.
    bool PrintHelpIfAsked(const char* help) const;

private:
    bool WantsHelp() const;
    CNorvikSql* Open(const std::string& connect, ULong flags, std::ostream* statusOut);
    // The connection string of a read-only open of the SQLite file.
    std::string ReadOnlyConnectionString() const;

    CAuditDBSys m_kb;
    std::unique_ptr<CNorvikSql> m_db;
};

// For a verb that takes no words: prints `help` and returns the exit code when the words
// ask for help (0) or when there are any (2, on stderr); -1 when the verb should run.
int HelpForVerbWithoutWords(const Context& context, const char* help);

// One line from the terminal with echo off (prompted on stderr), or from standard input.
// False at the end of the input.
bool ReadSecret(const char* prompt, std::string* secret);

// "7.14" of a version number major × 100 + minor.
std::string SchemaVersionText(int version);

// Prints "norvik: <text>" on stderr, with the message's line breaks folded into one line.
void PrintError(const std::string& text);
// PrintError, then the exit code of a failed operation or of a wrong command line.
int Fail(const std::string& problem);
int UsageError(const std::string& problem);
// The message-box callback of the tool: errors to stderr; questions answered by --yes, by the
// terminal when there is one, else No.
int TerminalMessageBox(const char* text, unsigned int style, CallbackValue context);

// Passes every message of the library on to the terminal, as the tool's default callback does,
// and remembers that one was shown: the library reports its failures only that way. The
// default callback is back in place when the watch ends.
class MessageWatch {
public:
    MessageWatch(CNorvikSql& db, const GlobalOptions& options);
    ~MessageWatch();
    MessageWatch(const MessageWatch&) = delete;
    MessageWatch& operator=(const MessageWatch&) = delete;

    bool Shown() const { return m_shown; }

private:
    static int Show(const char* text, unsigned int style, CallbackValue context);

    CNorvikSql& m_db;
    const GlobalOptions& m_options;
    bool m_shown = false;
};

// How a sub-command uses the database.
enum class Access { kRead, kWrite };

// Opens the database (read-only for kRead) and runs `body` on it with a MessageWatch in place;
// 1 when it cannot be opened. A body that returns 0 after the library showed a message fails
// (1): the library reports its failures that way only.
int WithDatabase(Context& context, Access access,
                 const std::function<int(CNorvikSql& db, const MessageWatch& watch)>& body);

// The verbs.
int RunInit(Context& context);
int RunInfo(Context& context);
int RunOption(Context& context);
int RunLocType(Context& context);        // cmd_loctype.cpp
int RunLocation(Context& context);       // cmd_location.cpp
int RunAsset(Context& context);          // cmd_asset.cpp
int RunHistory(Context& context);        // cmd_history.cpp
int RunKb(Context& context);             // cmd_kb.cpp
int RunHw(Context& context);             // cmd_hw.cpp
int RunSw(Context& context);             // cmd_sw.cpp
int RunCapture(Context& context);        // cmd_capture.cpp
int RunUpgrade(Context& context);        // cmd_upgrade.cpp
int RunWeb(Context& context);            // cmd_web.cpp
int RunUser(Context& context);           // cmd_user.cpp
int RunSecurity(Context& context);       // cmd_security.cpp
int RunDiscover(Context& context);       // cmd_discover.cpp
int RunNote(Context& context);           // cmd_note.cpp
int RunSchedule(Context& context);       // cmd_schedule.cpp
int RunApp(Context& context);            // cmd_app.cpp
int RunImport(Context& context);         // cmd_import.cpp
int RunLicence(Context& context);        // cmd_licence.cpp
int RunSerial(Context& context);         // cmd_serial.cpp
int RunPicklist(Context& context);       // cmd_picklist.cpp
int RunField(Context& context);          // cmd_field.cpp
int RunOverview(Context& context);       // cmd_report.cpp
int RunServe(Context& context);          // cmd_serve.cpp
int RunAgentPassword(Context& context);  // cmd_serve.cpp

}  // namespace cli
