// norvik serve: the inventory server agents report to; norvik agent-password: the password
// they log on with. The verb only wires the server layer to the command line.
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "cli/cli_context.h"
#include "cli/words.h"
#include "server/access_log.h"
#include "server/console/console.h"
#include "server/http_edge.h"
#include "server/router.h"
#include "server/server_settings.h"
#include "sql/password_hash.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik [--db FILE | --dsn CONNECTION] serve [--listen HOST:PORT] [--workers N]\n"
    "       [--tls-cert FILE --tls-key FILE] [--log FILE] [--agent-user NAME]\n"
    "       [--max-body BYTES] [--max-connections N] [--read-timeout SECONDS] [--open-console]\n"
    "The inventory server: agents (FusionInventory and OCS agents with the XML protocol, GLPI\n"
    "agents with JSON) post their inventories to it, each imported as `norvik import` imports a\n"
    "file and answered once it is committed. Agents may post to /, /ocsinventory,\n"
    "/front/inventory.php, /plugins/fusioninventory/ or /marketplace/glpiinventory/.\n"
    "GET /health answers 200 while the database answers, 503 otherwise.\n"
    "  --listen HOST:PORT     where to listen (default 127.0.0.1:8080; port 0: a free port)\n"
    "  --workers N            worker threads, each with its own database connection (default 4)\n"
    "  --tls-cert, --tls-key  serve HTTPS with this PEM certificate (chain) and key\n"
    "  --log FILE             append the access log to FILE instead of standard error\n"
    "  --agent-user NAME      agents must log on (HTTP Basic) as NAME with the password set by\n"
    "                         norvik agent-password\n"
    "  --max-body BYTES       largest request body, and largest inflated inventory is 4 times it\n"
    "                         (default 16777216); larger ones get 413\n"
    "  --max-connections N    connections served and waiting (default 64); more get 503\n"
    "  --read-timeout SECONDS a client silent this long is dropped (default 20)\n"
    "  --open-console         serve the web console on a non-loopback address while the site's\n"
    "                         security switch is off (anyone who reaches it sees the whole site)\n"
    "GET / is the web console (log-on by console users when security is on; see the README).\n"
    "Site options read at start: AgentPrologFreq (hours between an agent's reports, default 24),\n"
    "AgentPassword (set by norvik agent-password). Prints \"listening on URL\" when ready;\n"
    "SIGTERM or SIGINT stops it after the requests in flight (at most 30 seconds), exit code 0.\n";

const char kPasswordHelp[] =
    "usage: norvik agent-password\n"
    "Sets the password agents log on to norvik serve with (its --agent-user option): asks for it\n"
    "twice on the terminal, or reads one line from standard input when that is not a terminal.\n"
    "Only its Argon2id hash is kept, in the site option AgentPassword.\n";

bool ParsePositive(const std::string& text, const char* option, long long most, long long* value) {
    char* end = nullptr;
    const long long number = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || number < 1 || number > most) {
        PrintError(std::string(option) + " needs a number from 1 to " + std::to_string(most) + ": " + text);
        return false;
    }
    *value = number;
    return true;
}

// Reads the site options the server needs; false (after a message) when it cannot go on.
// `secured`: the site's security switch (the console asks for a log-on); off when the database
// cannot be read now.
bool ReadSiteOptions(Context& context, ServerSettings& settings, bool& secured) {
    secured = false;
    CNorvikSql* db = context.OpenDatabase();
    if (!db) {
        // A missing SQLite file is a mistake on the command line, not an outage to wait out
        // (and the workers' driver would create an empty file).
        if (context.options.dsn.empty() && !std::filesystem::exists(context.options.dbFile)) return false;
        if (!settings.agentUser.empty()) {
            PrintError("cannot read the agents' password from the database");
            return false;
        }
        PrintError("starting anyway: agents get 503 until the database answers");
        return true;
    }
    secured = db->IsSecurityEnabled() != 0;
    const std::string freq = db->GetOption(kOptionPrologFreq).str();
    if (!freq.empty()) {
        int hours = 0;
        if (!ParseInt(freq, &hours) || hours < 1) {
            PrintError(std::string("the site option ") + kOptionPrologFreq + " is not a number of hours: " + freq);
            return false;
        }
        settings.prologFreqHours = hours;
    }
    if (!settings.agentUser.empty()) {
        settings.agentPasswordHash = db->GetOption(kOptionAgentPassword).str();
        if (!IsPasswordHash(settings.agentPasswordHash.c_str())) {
            PrintError("no agent password is set (set one with: norvik agent-password)");
            return false;
        }
    }
    return true;
}

// 127.0.0.0/8, ::1 and "localhost": only this machine reaches them.
bool IsLoopbackHost(const std::string& host) {
    return host == "localhost" || host == "::1" || host == "[::1]" || host.rfind("127.", 0) == 0;
}

}  // namespace

int RunServe(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const std::string problem =
        SplitWords(context.args,
                   WordRules{{"--open-console"},
                             {"--listen", "--workers", "--tls-cert", "--tls-key", "--log", "--agent-user", "--max-body",
                              "--max-connections", "--read-timeout"},
                             0,
                             0},
                   &words);
    if (!problem.empty()) return UsageError(problem + " (see norvik serve --help)");

    ServerSettings settings;
    std::string error;
    if (words.Has("--listen") && !ParseListen(words.Value("--listen"), settings, error))
        return UsageError("--listen: " + error);
    long long number = 0;
    if (words.Has("--workers")) {
        if (!ParsePositive(words.Value("--workers"), "--workers", 256, &number)) return kExitUsage;
        settings.workers = static_cast<int>(number);
    }
    if (words.Has("--max-body")) {
        if (!ParsePositive(words.Value("--max-body"), "--max-body", 1LL << 32, &number)) return kExitUsage;
        settings.maxBodyBytes = static_cast<std::size_t>(number);
        settings.maxInflatedBytes = static_cast<std::size_t>(number) * 4;
    }
    if (words.Has("--max-connections")) {
        if (!ParsePositive(words.Value("--max-connections"), "--max-connections", 100000, &number)) return kExitUsage;
        settings.maxConnections = static_cast<int>(number);
    }
    if (words.Has("--read-timeout")) {
        if (!ParsePositive(words.Value("--read-timeout"), "--read-timeout", 3600, &number)) return kExitUsage;
        settings.readTimeoutSeconds = settings.writeTimeoutSeconds = static_cast<int>(number);
    }
    settings.tlsCert = words.Value("--tls-cert");
    settings.tlsKey = words.Value("--tls-key");
    if (settings.tlsCert.empty() != settings.tlsKey.empty())
        return UsageError("--tls-cert and --tls-key go together (see norvik serve --help)");
    settings.agentUser = words.Value("--agent-user");
    if (words.Has("--agent-user") && settings.agentUser.empty()) return UsageError("--agent-user needs a name");
    settings.connection = context.ConnectionString();

    bool secured = false;
    if (!ReadSiteOptions(context, settings, secured)) return kExitFailed;
    // With the security switch off the console shows the whole site to whoever reaches it.
    if (!secured && !IsLoopbackHost(settings.host) && !words.Has("--open-console"))
        return Fail(
            "the console needs no log-on while security is off: listen on a loopback address, "
            "switch security on (norvik security on), or give --open-console");
    ConsoleSettings console;
    if (settings.port != 0)
        console.agentUrl = std::string(settings.tlsCert.empty() ? "http" : "https") + "://" + settings.host + ":" +
                           std::to_string(settings.port) + "/";
    ConsoleState consoleState(console);
    settings.console = &consoleState;

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> logFile(nullptr, std::fclose);
    if (words.Has("--log")) {
        logFile.reset(std::fopen(words.Value("--log").c_str(), "a"));
        if (!logFile) return Fail("cannot open the log file " + words.Value("--log"));
    }
    AccessLog log(logFile ? logFile.get() : stderr);
    Router router;
    RegisterServerRoutes(router);
    RegisterConsole(router);

    // The signals are taken by one thread of their own (every thread started from here on
    // inherits the mask), which then stops the server.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    HttpEdge edge(settings, router, log);
    if (!edge.Bind(error)) return Fail(error);
    std::cout << "listening on " << edge.Url() << std::endl;

    std::mutex doneLock;
    bool done = false;
    std::thread watcher([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        {
            const std::lock_guard<std::mutex> hold(doneLock);
            if (done) return;
        }
        std::cerr << "norvik: stopping: finishing the requests in flight" << std::endl;
        edge.Stop();
        // Bounded: a client that holds its request past the drain time is not waited for.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(settings.drainSeconds);
        while (std::chrono::steady_clock::now() < deadline) {
            {
                const std::lock_guard<std::mutex> hold(doneLock);
                if (done) return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        std::cerr << "norvik: requests still in flight after " << settings.drainSeconds << " s; exiting" << std::endl;
        std::_Exit(kExitOk);
    });
    edge.Run();
    {
        const std::lock_guard<std::mutex> hold(doneLock);
        done = true;
    }
    // Wakes the watcher when the server ended without a signal.
    pthread_kill(watcher.native_handle(), SIGTERM);
    watcher.join();
    std::cerr << "norvik: stopped" << std::endl;
    return kExitOk;
}

int RunAgentPassword(Context& context) {
    const int help = HelpForVerbWithoutWords(context, kPasswordHelp);
    if (help >= 0) return help;
    std::string password, again;
    if (!ReadSecret("New agent password: ", &password)) return Fail("no password was given");
    if (isatty(STDIN_FILENO)) {
        if (!ReadSecret("Again: ", &again)) return Fail("no password was given");
        if (again != password) return Fail("the two passwords differ; nothing was changed");
    }
    if (password.empty()) return Fail("the password is empty; nothing was changed");
    return WithDatabase(context, Access::kWrite, [&](CNorvikSql& db, const MessageWatch&) {
        db.SetOption(kOptionAgentPassword, HashPassword(password.c_str()).str().c_str());
        std::cout << "agent password set" << std::endl;
        return kExitOk;
    });
}

}  // namespace cli
