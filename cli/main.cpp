// The norvik tool: the Audit Database and the Knowledge Base from the command line.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "cli/cli_context.h"
#include "common/trace.h"

namespace {

const char kUsage[] =
    "usage: norvik [global options] COMMAND [arguments]\n"
    "\n"
    "Global options:\n"
    "  --db FILE          the SQLite audit database (default: audit.db in this folder)\n"
    "  --dsn CONNECTION   a complete ODBC connection string instead, e.g.\n"
    "                     \"Driver={PostgreSQL ANSI};Server=host;Database=audit;Uid=me;Pwd=...\"\n"
    "                     (default: $NORVIK_DSN when set)\n"
    "  --trace FILE       append a diagnostic trace to FILE\n"
    "  --yes              answer Yes to every question (upgrades)\n"
    "  --json             machine-readable output where a command supports it\n"
    "  --help             this text; COMMAND --help tells about one command\n"
    "  --version          the tool's version\n"
    "\n"
    "Commands:\n"
    "  init [--schema-version V]   create a new audit database (V: 7.14, or 7.08 7.10 7.12)\n"
    "  info                        schema version, engine and rows per table\n"
    "  option get KEY              print a site option\n"
    "  option set KEY VALUE        store a site option\n"
    "  loctype list|add|rename|delete ...        the levels of the location tree\n"
    "  location list|add|find|find-ip|rename|delete|ranges|export ...\n"
    "                              the location tree and its address ranges\n"
    "  asset list|add|show|set|rename|move|delete|count ...   assets, places, fields\n"
    "  history ASSET [--details] | history purge --before DATE\n"
    "                              the change history of assets\n"
    "  hw ASSET [--path P] | hw set ASSET PATH KEY VALUE [--flags F] | hw history ASSET\n"
    "                              an asset's hardware tree, one value, its hardware changes\n"
    "  sw ASSET [--folder PATH] | sw add-file ASSET PATH --size N ...\n"
    "                              an asset's software folders and files, adding a file\n"
    "  capture list|show|add|delete ...   an asset's captured files\n"
    "  kb info|dump|query FILE ... a Knowledge Base table file: versions and tables, the rows\n"
    "                              of a table, or those a query selects\n"
    "  kb build|check-common|recognise ...  make a Knowledge Base from CSV files, mark its common\n"
    "                              files, name the applications of a list or a folder of files\n"
    "  picklist list|add|rename|delete|items|add-item|delete-item ...\n"
    "                              the pick lists that Picklist fields offer\n"
    "  field list|add|rename|delete|values ...   user-defined fields and their values\n"
    "  upgrade                     bring a 7.08, 7.10 or 7.12 database to 7.14 (asks; --yes)\n"
    "  web ASSET [--date DAY] | web search|cookies|purge ...\n"
    "                              internet history and cookies of assets\n"
    "  user list|add|delete|set|password|check ...   console users and their passwords\n"
    "  security on|off|status      the site-wide console log-on switch\n"
    "  discover list|add|delete|merge ...   computers found on the network\n"
    "  note add|list|show|delete ...   notes attached to records\n"
    "  schedule                    the assets due for audit\n"
    "  app list|add|install|remove|alias|rename-publisher|publishers|delete|duplicates|\n"
    "      merge-duplicates|purge-unreferenced|orphans ...  the application catalogue and\n"
    "                              each asset's application instances\n"
    "  import [--location L] [--kb FILE] PATH...\n"
    "                              agent inventory files, folders or - into the database\n"
    "  licence type|set|report|check|alerts ...  licence types, each application's licence,\n"
    "                              the compliance report, over-use alerts\n"
    "  serial list|add|delete ...  where audits read applications' serial numbers\n"
    "  report                      the site at a glance: categories, operating systems, top\n"
    "                              applications and publishers, licences, assets not audited\n"
    "  serve [--listen HOST:PORT] [--workers N] [--tls-cert FILE --tls-key FILE] [--log FILE] ...\n"
    "                              the inventory server agents report to over HTTP(S)\n"
    "  agent-password              set the password agents log on to the server with\n"
    "\n"
    "Exit codes: 0 done, 1 the operation failed, 2 the command line was wrong.\n";

struct Verb {
    const char* name;
    int (*run)(cli::Context&);
};

const Verb kVerbs[] = {
    {"init", cli::RunInit},
    {"info", cli::RunInfo},
    {"option", cli::RunOption},
    {"loctype", cli::RunLocType},
    {"location", cli::RunLocation},
    {"asset", cli::RunAsset},
    {"history", cli::RunHistory},
    {"kb", cli::RunKb},
    {"hw", cli::RunHw},
    {"sw", cli::RunSw},
    {"capture", cli::RunCapture},
    {"upgrade", cli::RunUpgrade},
    {"web", cli::RunWeb},
    {"user", cli::RunUser},
    {"security", cli::RunSecurity},
    {"discover", cli::RunDiscover},
    {"note", cli::RunNote},
    {"schedule", cli::RunSchedule},
    {"app", cli::RunApp},
    {"import", cli::RunImport},
    {"licence", cli::RunLicence},
    {"serial", cli::RunSerial},
    {"picklist", cli::RunPicklist},
    {"field", cli::RunField},
    {"report", cli::RunOverview},
    {"serve", cli::RunServe},
    {"agent-password", cli::RunAgentPassword},
};

// Reads the value of an option that takes one; false (with a message) when it is missing.
bool TakeValue(int argc, char** argv, int& i, std::string* value) {
    if (i + 1 >= argc) {
        cli::PrintError(std::string(argv[i]) + " needs a value (see norvik --help)");
        return false;
    }
    *value = argv[++i];
    return true;
}

// True when standard output was closed when the tool started: it then writes to a memory file.
bool g_stdoutClosed = false;

// A closed standard descriptor gets a stand-in before anything is opened, so that no file the
// tool opens (a database, a Knowledge Base, a trace) takes its number and receives the output
// or the messages. Standard output gets a memory file, so that output sent to it is noticed.
void GuardStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
        int standIn = fd == STDOUT_FILENO ? ::memfd_create("norvik-closed-stdout", 0) : -1;
        if (standIn < 0) standIn = ::open("/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY);
        if (standIn < 0) continue;
        if (standIn != fd) {
            ::dup2(standIn, fd);
            ::close(standIn);
        }
        if (fd == STDOUT_FILENO) g_stdoutClosed = true;
    }
}

// Puts out what is left of standard output. A write that failed (a full disk, a closed or
// broken output) fails the run as the standard tools do: what the user asked for is not there.
int FinishOutput(int code) {
    errno = 0;
    std::cout.flush();
    const bool flushed = std::fflush(stdout) == 0 && std::cout.good();
    const int error = errno;
    struct stat written {};
    const bool lost = g_stdoutClosed && ::fstat(STDOUT_FILENO, &written) == 0 && written.st_size > 0;
    if (flushed && !std::ferror(stdout) && !lost) return code;
    std::string reason = "write error";
    if (lost)
        reason = std::strerror(EBADF);
    else if (error != 0)
        reason = std::strerror(error);
    cli::PrintError("cannot write the output: " + reason);
    return code == cli::kExitOk ? cli::kExitFailed : code;
}

}  // namespace

int main(int argc, char** argv) {
    GuardStandardDescriptors();
    cli::Context context;
    if (const char* dsn = std::getenv("NORVIK_DSN"); dsn && *dsn) context.options.dsn = dsn;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const std::string option = argv[i];
        if (option == "--help" || option == "-h") {
            std::cout << kUsage;
            return FinishOutput(cli::kExitOk);
        } else if (option == "--version") {
            std::cout << "norvik " NORVIK_VERSION "\n";
            return FinishOutput(cli::kExitOk);
        } else if (option == "--db") {
            if (!TakeValue(argc, argv, i, &context.options.dbFile)) return cli::kExitUsage;
            context.options.dsn.clear();
        } else if (option == "--dsn") {
            if (!TakeValue(argc, argv, i, &context.options.dsn)) return cli::kExitUsage;
        } else if (option == "--trace") {
            if (!TakeValue(argc, argv, i, &context.options.traceFile)) return cli::kExitUsage;
        } else if (option == "--yes" || option == "-y") {
            context.options.assumeYes = true;
        } else if (option == "--json") {
            context.options.json = true;
        } else {
            cli::PrintError("unknown option " + option + " (see norvik --help)");
            return cli::kExitUsage;
        }
    }
    if (i >= argc) {
        std::cerr << kUsage;
        return cli::kExitUsage;
    }
    const std::string verb = argv[i++];
    for (; i < argc; ++i) {
        const std::string word = argv[i];
        // Global options are accepted after the verb too.
        if (word == "--json") {
            context.options.json = true;
        } else if (word == "--yes" || word == "-y") {
            context.options.assumeYes = true;
        } else if (word == "--db" || word == "--dsn" || word == "--trace") {
            std::string value;
            if (!TakeValue(argc, argv, i, &value)) return cli::kExitUsage;
            if (word == "--db") {
                context.options.dbFile = value;
                context.options.dsn.clear();
            } else if (word == "--dsn") {
                context.options.dsn = value;
            } else {
                context.options.traceFile = value;
            }
        } else {
            context.args.push_back(word);
        }
    }
    if (!context.options.traceFile.empty() && !TraceOpen(context.options.traceFile.c_str())) {
        cli::PrintError("cannot open the trace file " + context.options.traceFile);
        return cli::kExitFailed;
    }
    for (const auto& entry : kVerbs)
        if (verb == entry.name) return FinishOutput(entry.run(context));
    cli::PrintError("unknown command " + verb + " (see norvik --help)");
    return cli::kExitUsage;
}
