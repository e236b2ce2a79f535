// norvik import: agent inventory files into the Audit Database, one transaction per inventory.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/local_file.h"
#include "cli/resolve_location.h"
#include "cli/words.h"
#include "import/import_transactions.h"
#include "import/inventory_import.h"
#include "import/inventory_reader.h"
#include "import/read_ahead.h"
#include "platform/ui_hooks.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik import [--location LOCATION] [--kb FILE] [--json] PATH...\n"
    "Imports agent inventories (XML <REQUEST> documents, .xml or .ocs, and JSON inventories;\n"
    "the format is told from the content). A PATH is a file, a folder (every .xml, .ocs and\n"
    ".json file below it, in name order) or - for standard input. Each inventory is one\n"
    "transaction: its asset, record, hardware, applications with their history, and software\n"
    "folders and files. An inventory belongs to the asset with its device id, else its serial\n"
    "number or system UUID, else its host name (unless that asset's serial or UUID differs), else\n"
    "to a new asset (named \"HOST (2)\" when HOST is taken); a partial inventory replaces only\n"
    "the sections it holds and is refused for a machine not known yet. One line is printed per\n"
    "inventory, ending with the rule that found its asset (\"matched by device id\", \"... serial\n"
    "number\", \"... system UUID\", \"... host name\" or \"no machine matched\"; --json: \"matchedBy\"\n"
    "deviceId, serialNumber, systemUuid, hostName or none), then the licence check: after all\n"
    "files, every per-PC licence is compared with its installations once and an alert raised\n"
    "for each newly over-used application (--json: {\"inventories\": [one object each],\n"
    "\"overUsedApplications\": N, \"licenceAlerts\": N}). A damaged file changes nothing and is\n"
    "reported; the others are still imported and the exit code is then 1. A lost connection to\n"
    "the database server stops the import at once (exit code 1). An inventory may be at most\n"
    "32 MiB: a larger one is refused before it is read. A PATH that is a device, a FIFO or a\n"
    "socket is refused as such.\n"
    "LOCATION (an id or a path) places assets that no address range claims.\n"
    "FILE, a Knowledge Base, recognises applications among the inventories' files and answers\n"
    "first for category, make and model (the site's own entries otherwise).\n";

bool ImportableName(const std::filesystem::path& path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext == ".xml" || ext == ".ocs" || ext == ".json";
}

std::string Duration(double seconds) {
    const long whole = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

struct Result {
    std::string file, name, host, status, line, error;
    ImportOutcome outcome;
};

std::string JsonOf(const Result& r) {
    std::string json = "{\"file\": " + JsonText(r.file) + ", \"status\": " + JsonText(r.status);
    if (r.status == "failed") return json + ", \"error\": " + JsonText(r.error) + "}";
    const ImportOutcome& o = r.outcome;
    json += ", \"name\": " + JsonText(r.name) + ", \"asset\": " + std::to_string(o.asset) +
            ", \"matchedBy\": " + JsonText(IdentityRuleKey(o.rule)) +
            ", \"partial\": " + (o.partial ? "true" : "false") +
            ", \"applications\": " + std::to_string(o.applications) +
            ", \"applicationsAdded\": " + std::to_string(o.applicationsAdded) +
            ", \"applicationsRemoved\": " + std::to_string(o.applicationsRemoved) +
            ", \"hardwareValues\": " + std::to_string(o.hardwareValues) +
            ", \"hardwareChanges\": " + std::to_string(o.hardwareChanges) +
            ", \"recordChanged\": " + (o.recordChanged ? "true" : "false") +
            ", \"renamedFrom\": " + (o.renamedFrom.empty() ? "null" : JsonText(o.renamedFrom));
    return json + "}";
}

// Standard input, up to the size of the largest inventory.
bool ReadStandardInput(std::string& text, std::string& error) {
    char buffer[64 * 1024];
    while (std::cin.read(buffer, sizeof buffer) || std::cin.gcount() > 0) {
        if (text.size() + static_cast<std::size_t>(std::cin.gcount()) > kInventoryMaxBytes) {
            error = "(standard input): line 1, column 1: " + InventoryTooLarge();
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(std::cin.gcount()));
    }
    if (std::cin.bad()) {
        error = "(standard input): cannot be read";
        return false;
    }
    return true;
}

class Progress {
public:
    Progress(std::size_t total, bool shown)
        : m_total(total), m_shown(shown), m_start(std::chrono::steady_clock::now()) {}
    void Clear() const {
        if (m_shown) std::cerr << "\r\033[K" << std::flush;
    }
    void Show(std::size_t done) const {
        if (!m_shown) return;
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
        const double rate = elapsed > 0 ? done / elapsed : 0;
        const std::size_t width = 30, filled = m_total ? done * width / m_total : width;
        char line[160];
        std::snprintf(line, sizeof line, "\r[%s%s] %zu/%zu  %.1f/s  %s left", std::string(filled, '#').c_str(),
                      std::string(width - filled, '.').c_str(), done, m_total, rate,
                      rate > 0 ? Duration((m_total - done) / rate).c_str() : "?");
        std::cerr << line << std::flush;
    }

private:
    std::size_t m_total;
    bool m_shown;
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace

int RunImport(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const std::string problem = SplitWords(
        context.args, WordRules{{"--json"}, {"--location", "--kb"}, 1, static_cast<std::size_t>(-1)}, &words);
    if (!problem.empty()) {
        PrintError(problem + " (see norvik import --help)");
        return kExitUsage;
    }
    const bool json = context.options.json || words.Has("--json");

    // The files, in command-line order; a folder's files in name order.
    bool failed = false;
    std::vector<std::string> files;
    for (const std::string& path : words.positional) {
        std::error_code error;
        if (path == "-" || std::filesystem::is_regular_file(path, error)) {
            files.push_back(path);
        } else if (std::filesystem::is_directory(path, error)) {
            std::vector<std::string> found;
            for (auto it = std::filesystem::recursive_directory_iterator(path, error);
                 !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error))
                if (it->is_regular_file(error) && ImportableName(it->path())) found.push_back(it->path().string());
            std::sort(found.begin(), found.end());
            files.insert(files.end(), found.begin(), found.end());
        } else {
            PrintError(path + ": " + NotARegularFile(path));
            failed = true;
        }
    }

    CNorvikSql* db = context.OpenDatabase();
    if (db == nullptr) return kExitFailed;
    ImportPlacement placement;
    if (words.Has("--location")) {
        const Resolved location = ResolveLocation(*db, words.Value("--location"), true);
        if (!location.ok()) return Fail(location);
        placement = {true, location.id};
    }
    if (words.Has("--kb")) {
        // An older Knowledge Base asks before it is upgraded: the tool's own answers (--yes, the
        // terminal) apply.
        platform::SetMessageBoxHook([&context](const char* text, unsigned style) {
            return TerminalMessageBox(text, style, reinterpret_cast<CallbackValue>(&context.options));
        });
        const int opened = db->kb().Open(words.Value("--kb").c_str());
        platform::SetMessageBoxHook(nullptr);
        if (!opened) {
            const CString& why = db->kb().GetLastError();
            return Fail("cannot read the Knowledge Base " + words.Value("--kb") +
                        (why.IsEmpty() ? "" : ": " + why.str()));
        }
    }
    SqlImportTransactions transactions(*db);
    CInventoryImporter importer(*db, transactions, placement);

    const Progress progress(files.size(), files.size() > 1 && isatty(STDERR_FILENO));
    std::vector<std::string> names;
    for (const std::string& file : files) names.push_back(file == "-" ? "(standard input)" : file);
    // The next files are read and parsed while this one is written.
    InventoryReadAhead reader(names, [&files](std::size_t index, std::string& text, std::string& error) {
        if (files[index] == "-") return ReadStandardInput(text, error);
        return ReadLocalFile(files[index], kInventoryMaxBytes, text, error, "line 1, column 1: " + InventoryTooLarge());
    });
    std::vector<Result> results;
    for (std::size_t i = 0; i < files.size(); ++i) {
        progress.Show(i);
        Result result;
        result.file = names[i];
        const ReadAheadItem read = reader.Next();
        result.error = read.error;
        bool applied = false;
        if (read.parsed) {
            const InventoryImportResult imported = importer.Apply(read.inventory);
            if (imported.status == InventoryImportStatus::kConnectionLost) {
                // Every later file, the licence check and the summary would fail the same way.
                progress.Clear();
                return Fail("the connection to the database was lost while importing " + result.file +
                            "; stopped after " + CountedText(i, "earlier file", "earlier files") +
                            " (nothing of this one was written)");
            }
            applied = imported.status == InventoryImportStatus::kImported;
            result.name = imported.outcome.assetName.empty() ? imported.hostName : imported.outcome.assetName;
            result.host = imported.hostName;
            result.outcome = imported.outcome;
            result.error = imported.error;
        }
        progress.Clear();
        if (!applied) {
            failed = true;
            result.status = "failed";
            PrintError(result.error);
        } else {
            result.status = ImportStatusWord(result.outcome);
            if (!json)
                std::cout << TerminalText(result.name) << ": " << DescribeImport(result.outcome) << "; "
                          << TerminalText(DescribeMatch(result.outcome, result.host)) << std::endl;
        }
        results.push_back(std::move(result));
    }
    progress.Clear();

    // Once per run, after every inventory: the counts are final and each alert is raised once.
    CDynaList<ULong> alerts;
    ULong overUsed = 0;
    {
        const MessageWatch watch(*db, context.options);
        overUsed = db->licensealertCheckOverUse(CTime::GetCurrentTime(), &alerts);
        if (watch.Shown()) {
            PrintError("the licence check failed");
            failed = true;
        }
    }
    if (json) {
        std::cout << "{\"inventories\": [";
        for (std::size_t i = 0; i < results.size(); ++i) std::cout << (i ? ",\n " : "") << JsonOf(results[i]);
        std::cout << "],\n \"overUsedApplications\": " << overUsed << ", \"licenceAlerts\": " << alerts.GetCount()
                  << "}\n";
    } else {
        std::cout << "Licences: " << CountedText(overUsed, "over-used application", "over-used applications") << ", "
                  << CountedText(alerts.GetCount(), "new alert", "new alerts") << std::endl;
    }
    return failed ? kExitFailed : kExitOk;
}

}  // namespace cli
