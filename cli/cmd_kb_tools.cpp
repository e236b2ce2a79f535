// norvik kb build|check-common|recognise: the tools that make a Knowledge Base file from CSV, mark
// its common files, and recognise the applications of a list of files (or of a folder) with it.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "kb/auditdbsys.h"
#include "kb/file_signature.h"
#include "kb/kb_csv.h"
#include "platform/archive.h"
#include "platform/atomic_file.h"
#include "platform/exceptions.h"
#include "platform/file.h"
#include "platform/ui_hooks.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik kb build OUT --from DIR\n"
    "       norvik kb check-common FILE\n"
    "       norvik kb recognise FILE (--files LIST | --scan DIR)\n"
    "check-common marks the known files of FILE that another application's file shadows, and saves.\n"
    "recognise prints \"file<TAB>application\" for every file it recognises: LIST holds one file a\n"
    "line, name,size,crc,date (numbers decimal or 0x...; date YYYY-MM-DD[ hh:mm:ss] or the packed\n"
    "number); --scan reads every file below DIR (CRC-32 of the contents, modification date) and\n"
    "prints its path below DIR; an entry that cannot be read is named in a warning and skipped,\n"
    "and the run then ends with exit code 1 after printing what it recognised. An older FILE is\n"
    "upgraded first when you agree (--yes agrees).\n"
    "\n"
    "Makes a version 4.0 Knowledge Base file OUT (replaced when it exists) from the CSV files of DIR:\n"
    "  categories.csv    name,type                (type 1 for computers; \"PC|Base Unit\" answers to\n"
    "                                               either part)\n"
    "  makes.csv         category,name\n"
    "  models.csv        category,make,name\n"
    "  applications.csv  publisher,application,version   (a row per version; later levels may be empty)\n"
    "  files.csv         publisher,application,version,name,size,size_max,crc,date,key\n"
    "                    size 0 = any size; size_max 0 = exactly size; crc 0 = not known;\n"
    "                    date YYYY-MM-DD[ hh:mm:ss] or a packed number, empty = any; key 1 = key file\n"
    "  serials.csv       application,regkey,regitem\n"
    "Each file starts with its header line; numbers are decimal or 0x...; '#' lines are comments.\n"
    "kb/README.md in the source tree describes the layout in full.\n";

// Writes `db` to `path`; one line on stderr and false when it cannot.
bool WriteFile(CTableDatabase& db, const std::string& path) {
    try {
        CAtomicFile file(path.c_str());
        CArchive ar(file, CArchive::store, CTableDatabase::kFileBufferSize);
        db.Serialize(ar);
        ar.Close();
        file.Commit();
        return true;
    } catch (const CException& e) {
        PrintError("cannot write " + path + ": " + e.GetErrorMessage().str());
    }
    return false;
}

int Build(const std::vector<std::string>& args) {
    if (args.size() != 4 || args[2] != "--from") {
        std::cerr << kHelp;
        return kExitUsage;
    }
    CTableDatabase db;
    std::string error;
    if (!BuildKbFromCsv(args[3].c_str(), db, error)) {
        PrintError(error);
        return kExitFailed;
    }
    if (!WriteFile(db, args[1])) return kExitFailed;
    std::cout << "Knowledge Base " << args[1] << " written:";
    for (const CTable& table : db) std::cout << ' ' << table.GetName().str() << ' ' << table.GetRowCount();
    std::cout << '\n';
    return kExitOk;
}

// Answers the Knowledge Base's questions as the rest of the tool does, for as long as it lives.
class KbMessages {
public:
    explicit KbMessages(const GlobalOptions& options) {
        platform::SetMessageBoxHook([&options](const char* text, unsigned style) {
            return TerminalMessageBox(text, style, reinterpret_cast<CallbackValue>(&options));
        });
    }
    ~KbMessages() { platform::SetMessageBoxHook(nullptr); }
    KbMessages(const KbMessages&) = delete;
    KbMessages& operator=(const KbMessages&) = delete;
};

bool OpenKb(CAuditDBSys& kb, const std::string& path) {
    if (kb.Open(path.c_str())) return true;
    // A refusal has been shown already; a read failure has only its reason.
    if (!kb.GetLastError().IsEmpty()) PrintError("cannot read the Knowledge Base file: " + kb.GetLastError().str());
    return false;
}

int CheckCommon(Context& context, const std::vector<std::string>& args) {
    if (args.size() != 2) {
        std::cerr << kHelp;
        return kExitUsage;
    }
    KbMessages messages(context.options);
    CAuditDBSys kb;
    if (!OpenKb(kb, args[1])) return kExitFailed;
    const int index = kb.FindTable("SYSFILE");
    std::vector<ULong> ids;
    if (index >= 0) {
        const CTable& files = kb[static_cast<ULong>(index)];
        for (ULong row = 0; row < files.GetRowCount(); ++row)
            if (files.GetValue(row, 0) != 0) ids.push_back(files.GetValue(row, 0));
    }
    for (const ULong id : ids) kb.CheckCommonFile(id);
    ULong marked = 0;
    if (index >= 0) {
        const CTable& files = kb[static_cast<ULong>(index)];
        for (ULong row = 0; row < files.GetRowCount(); ++row)
            if (files.GetValue(row, 0) != 0 && (files.GetValue(row, 7) & 1) != 0) ++marked;
    }
    kb.Close();
    if (!kb.GetLastError().IsEmpty()) {
        PrintError("cannot write " + args[1] + ": " + kb.GetLastError().str());
        return kExitFailed;
    }
    std::cout << ids.size() << " known files checked, " << marked << " marked common\n";
    return kExitOk;
}

// Reads a file list into `audit`; one line on stderr and false for a bad line.
bool ReadFileList(const std::string& path, CAudBase& audit, std::vector<std::string>& names) {
    std::ifstream in(path);
    if (!in) {
        PrintError("cannot read the file list " + path);
        return false;
    }
    std::string line;
    std::vector<std::string> fields;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        const std::string where = path + ":" + std::to_string(number) + ": ";
        std::string error;
        ULong size = 0, crc = 0, date = 0;
        if (!SplitCsvLine(line, fields, error)) {
            PrintError(where + error);
            return false;
        }
        if (fields.size() != 4 || fields[0].empty() || !ParseKbNumber(fields[1], size) ||
            !ParseKbNumber(fields[2], crc) || !ParseKbDate(fields[3], date)) {
            PrintError(where + "expected name,size,crc,date (numbers decimal or 0x..., date YYYY-MM-DD or a number)");
            return false;
        }
        audit.AddFile(fields[0].c_str(), size, crc, date);
        names.push_back(fields[0]);
    }
    return true;
}

void WarnSkipped(const std::filesystem::path& path, const std::string& reason, int& skipped) {
    PrintError("warning: skipped " + path.string() + ": " + reason);
    ++skipped;
}

// Appends the regular files below `folder` (symbolic links to folders are not followed). A
// folder or entry that cannot be read is named in a warning, counted in `skipped` and passed over.
void CollectFiles(const std::filesystem::path& folder, std::vector<std::filesystem::path>& paths, int& skipped) {
    std::error_code ec;
    std::filesystem::directory_iterator it(folder, ec);
    if (ec) return WarnSkipped(folder, ec.message(), skipped);
    for (const std::filesystem::directory_iterator end; it != end; it.increment(ec)) {
        if (ec) return WarnSkipped(folder, ec.message(), skipped);
        const std::filesystem::directory_entry& entry = *it;
        std::error_code kind;
        if (entry.is_directory(kind) && !entry.is_symlink(kind)) {
            CollectFiles(entry.path(), paths, skipped);
        } else if (entry.is_regular_file(kind)) {
            paths.push_back(entry.path());
        } else if (kind) {
            WarnSkipped(entry.path(), kind.message(), skipped);
        }
    }
    if (ec) WarnSkipped(folder, ec.message(), skipped);
}

// Adds every regular file below `dir`, in path order, with its CRC-32 and modification date.
// An entry that cannot be read is named in a warning, counted in `skipped` and passed over;
// false (with a message) only when `dir` itself cannot be read.
bool ScanFolder(const std::string& dir, CAudBase& audit, std::vector<std::string>& names, int& skipped) {
    std::error_code ec;
    std::filesystem::directory_iterator top(dir, ec);
    if (ec) {
        PrintError("cannot scan " + dir + ": " + ec.message());
        return false;
    }
    std::vector<std::filesystem::path> paths;
    CollectFiles(dir, paths, skipped);
    std::sort(paths.begin(), paths.end());
    for (const std::filesystem::path& path : paths) {
        struct stat info {};
        std::uint32_t crc = 0;
        CString error;
        if (::stat(path.c_str(), &info) != 0) {
            WarnSkipped(path, std::strerror(errno), skipped);
            continue;
        }
        if (!Crc32OfFile(path.c_str(), crc, error)) {
            WarnSkipped(path, error.str(), skipped);
            continue;
        }
        audit.AddFile(path.filename().c_str(), static_cast<ULong>(info.st_size), crc, PackFileDate(info.st_mtime));
        names.push_back(std::filesystem::relative(path, dir).string());
    }
    return true;
}

int Recognise(Context& context, const std::vector<std::string>& args) {
    if (args.size() != 4 || (args[2] != "--files" && args[2] != "--scan")) {
        std::cerr << kHelp;
        return kExitUsage;
    }
    CAudBase audit;
    std::vector<std::string> names;
    int skipped = 0;
    if (!(args[2] == "--files" ? ReadFileList(args[3], audit, names) : ScanFolder(args[3], audit, names, skipped)))
        return kExitFailed;
    KbMessages messages(context.options);
    CAuditDBSys kb;
    if (!OpenKb(kb, args[1])) return kExitFailed;
    std::vector<unsigned long> results(names.size() + 1, 0);
    kb.RecogniseAsset(audit, results.data());
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (results[i] != 0) std::cout << names[i] << '\t' << kb.GetAppName(results[i] >> 16, 1).str() << '\n';
    }
    if (skipped != 0) return Fail(std::to_string(skipped) + " entries could not be read (named above)");
    return kExitOk;
}

}  // namespace

// The verbs of this file, or -1 when args[0] is none of them (cmd_kb.cpp goes on then).
int RunKbTools(Context& context) {
    const std::vector<std::string>& args = context.args;
    if (args.empty()) return -1;
    const std::string& verb = args[0];
    if (verb != "build" && verb != "check-common" && verb != "recognise") return -1;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    if (verb == "build") return Build(args);
    if (verb == "check-common") return CheckCommon(context, args);
    return Recognise(context, args);
    return -1;
}

}  // namespace cli
