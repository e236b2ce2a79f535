// Connection handling and message display shared by the verbs.
#include "cli/cli_context.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "platform/sqlite_file.h"
#include "platform/ui_hooks.h"

namespace cli {

std::string Context::ConnectionString() const {
    if (!options.dsn.empty()) return options.dsn;
    return SqliteFileConnection(options.dbFile);
}

std::string Context::DatabaseName() const { return options.dsn.empty() ? options.dbFile : "the data source"; }

bool Context::WantsHelp() const {
    for (const auto& word : args)
        if (word == "--help" || word == "-h") return true;
    return false;
}

bool Context::PrintHelpIfAsked(const char* help) const {
    if (!WantsHelp()) return false;
    std::cout << help;
    return true;
}

namespace {

// The user callback of an opened database: code 1 carries a status line of an upgrade.
int PrintStatusLine(int code, CallbackValue value, CallbackValue context) {
    if (code == 1 && value != 0)
        *reinterpret_cast<std::ostream*>(context) << reinterpret_cast<const char*>(value) << std::endl;
    return 1;
}

// `path` as the path of a "file:" URI: the bytes that end or escape it are percent-encoded.
std::string UriPath(const std::string& path) {
    std::string uri;
    for (const char c : path) {
        if (c == '?' || c == '#' || c == '%' || c == '&' || c == '=') {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
            uri += escaped;
        } else {
            uri += c;
        }
    }
    return uri;
}

bool Writable(const std::string& path) { return ::access(path.c_str(), W_OK) == 0; }

// The folder of `file` ("." for a bare name).
std::string FolderOf(const std::string& file) {
    const std::string folder = std::filesystem::path(file).parent_path().string();
    return folder.empty() ? "." : folder;
}

}  // namespace

std::string Context::ReadOnlyConnectionString() const {
    const std::string& file = options.dbFile;
    std::error_code ec;
    const bool writerConnected = std::filesystem::exists(file + "-wal", ec);
    // With no "-wal" file there is nothing but the main file to read: read as immutable, SQLite
    // creates no "-wal" or "-shm" file, which a read-only connection would leave behind.
    const bool immutable = !writerConnected;
    return "Driver=SQLite3;Database=file:" + UriPath(file) + "?mode=ro" + (immutable ? "&immutable=1" : "") +
           ";Timeout=10000;";
}

CNorvikSql* Context::OpenDatabaseToRead() {
    if (!options.dsn.empty()) return Open(options.dsn, 0x1 | 0x4, nullptr);
    return Open(ReadOnlyConnectionString(), 0x1 | 0x4, nullptr);
}

CNorvikSql* Context::OpenDatabase(std::ostream* statusOut) {
    if (options.dsn.empty() && std::filesystem::exists(options.dbFile)) {
        // SQLite would open the file read-only, create "-wal" and "-shm" files the owner cannot
        // write, and then refuse the change anyway.
        if (!Writable(options.dbFile)) {
            PrintError("cannot change " + options.dbFile +
                       ": this user may not write it (commands that only read work)");
            return nullptr;
        }
        std::error_code missing;
        if (!Writable(FolderOf(options.dbFile)) && !std::filesystem::exists(options.dbFile + "-wal", missing)) {
            PrintError("cannot change " + options.dbFile + ": its folder is not writable, and SQLite needs to create " +
                       options.dbFile + "-wal there (commands that only read work)");
            return nullptr;
        }
        // Files left by another user's reader: SQLite would open them read-only and then refuse
        // every write with "attempt to write a readonly database", which does not say why.
        for (const char* suffix : {"-wal", "-shm"}) {
            const std::string side = options.dbFile + suffix;
            std::error_code ec;
            if (std::filesystem::exists(side, ec) && !Writable(side) && Writable(options.dbFile)) {
                PrintError("cannot write " + side +
                           ", which another user's program left: when no one is using "
                           "the database, give it to the owner of " +
                           options.dbFile + " (chown), or remove it if it is the -shm file or an empty -wal file");
                return nullptr;
            }
        }
    }
    return Open(ConnectionString(), 0x4, statusOut);
}

CNorvikSql* Context::Open(const std::string& connect, ULong flags, std::ostream* statusOut) {
    if (options.dsn.empty()) {
        if (options.dbFile.find_first_of(";{}") != std::string::npos) {
            PrintError("the database file name may not contain ';', '{' or '}': " + options.dbFile);
            return nullptr;
        }
        // The SQLite driver would quietly create an empty file; a missing one is a mistake.
        if (!std::filesystem::exists(options.dbFile)) {
            PrintError("no audit database at " + options.dbFile + " (create one with: norvik init --db " +
                       options.dbFile + ")");
            return nullptr;
        }
    }
    m_db = std::make_unique<CNorvikSql>(m_kb);
    m_db->SetMsgBoxCallback(TerminalMessageBox, reinterpret_cast<CallbackValue>(&options));
    if (statusOut) m_db->SetCallback(PrintStatusLine, reinterpret_cast<CallbackValue>(statusOut));
    if (!m_db->Open(connect.c_str(), nullptr, flags)) {
        m_db.reset();
        return nullptr;
    }
    return m_db.get();
}

bool ReadSecret(const char* prompt, std::string* secret) {
    const bool terminal = isatty(STDIN_FILENO) != 0;
    termios saved{};
    if (terminal) {
        std::cerr << prompt << std::flush;
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    const bool read = static_cast<bool>(std::getline(std::cin, *secret));
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::cerr << '\n';
    }
    if (!secret->empty() && secret->back() == '\r') secret->pop_back();
    return read;
}

int HelpForVerbWithoutWords(const Context& context, const char* help) {
    if (context.PrintHelpIfAsked(help)) return kExitOk;
    if (!context.args.empty()) {
        std::cerr << help;
        return kExitUsage;
    }
    return -1;
}

std::string SchemaVersionText(int version) {
    return std::to_string(version / 100) + "." + (version % 100 < 10 ? "0" : "") + std::to_string(version % 100);
}

void PrintError(const std::string& text) {
    std::string line;
    bool lastBlank = false;
    for (char c : text) {
        if (c == '\n' || c == '\r') c = ' ';
        if (c == ' ' && lastBlank) continue;
        lastBlank = c == ' ';
        line += c;
    }
    std::cerr << "norvik: " << TerminalText(line) << '\n';
}

int Fail(const std::string& problem) {
    PrintError(problem);
    return kExitFailed;
}

int UsageError(const std::string& problem) {
    PrintError(problem);
    return kExitUsage;
}

int TerminalMessageBox(const char* text, unsigned int style, CallbackValue context) {
    const auto* options = reinterpret_cast<const GlobalOptions*>(context);
    if ((style & 0x0F) != platform::kMbYesNo) {
        PrintError(text ? text : "");
        return platform::kIdOk;
    }
    if (options && options->assumeYes) return platform::kIdYes;
    if (!isatty(STDIN_FILENO)) {
        PrintError(std::string(text ? text : "") + " [answered No: not a terminal; use --yes]");
        return platform::kIdNo;
    }
    std::cerr << (text ? text : "") << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return (!answer.empty() && (answer[0] == 'y' || answer[0] == 'Y')) ? platform::kIdYes : platform::kIdNo;
}

MessageWatch::MessageWatch(CNorvikSql& db, const GlobalOptions& options) : m_db(db), m_options(options) {
    m_db.SetMsgBoxCallback(Show, reinterpret_cast<CallbackValue>(this));
}

MessageWatch::~MessageWatch() {
    m_db.SetMsgBoxCallback(TerminalMessageBox, reinterpret_cast<CallbackValue>(&m_options));
}

int MessageWatch::Show(const char* text, unsigned int style, CallbackValue context) {
    auto* self = reinterpret_cast<MessageWatch*>(context);
    self->m_shown = true;
    return TerminalMessageBox(text, style, reinterpret_cast<CallbackValue>(&self->m_options));
}

int WithDatabase(Context& context, Access access,
                 const std::function<int(CNorvikSql& db, const MessageWatch& watch)>& body) {
    CNorvikSql* db = access == Access::kRead ? context.OpenDatabaseToRead() : context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const int result = body(*db, watch);
    return result == kExitOk && watch.Shown() ? kExitFailed : result;
}

}  // namespace cli
