// norvik capture: the captured files of an asset (copies of configuration files and the like):
// list them, print one, capture one from a local file, delete them all.
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/local_file.h"
#include "cli/resolve_asset.h"
#include "cli/words.h"

namespace cli {

namespace {

// The largest file `capture add` stores: captured files are configuration files and logs of a
// few kilobytes, and the whole text is held in memory and in one database value.
constexpr std::size_t kCapturedFileMaxBytes = 8 * 1024 * 1024;

const char kHelp[] =
    "usage: norvik capture list ASSET [--json]\n"
    "       norvik capture show ASSET NAME\n"
    "       norvik capture add ASSET NAME --from FILE\n"
    "       norvik capture delete ASSET\n"
    "An ASSET is an id or an exact name; NAME is the captured file's name as stored\n"
    "(\"C:\\boot.ini\"), compared exactly.\n"
    "  list    the asset's captured files with their sizes\n"
    "  show    prints the content of one, unchanged\n"
    "  add     stores the text of the local FILE under NAME; an earlier capture of that name\n"
    "          is replaced. Captured files are text: a FILE holding a zero byte is refused,\n"
    "          and so is one larger than 8 MiB (checked before it is read), a folder, a\n"
    "          device or a FIFO\n"
    "  delete  deletes every captured file of the asset\n";

int Usage(const std::string& problem) {
    PrintError(problem + " (see norvik capture --help)");
    return kExitUsage;
}

struct Capture {
    ULong id;
    std::string name;
};

std::vector<Capture> Captures(CNorvikSql& db, ULong asset) {
    CSortList list;
    db.EnumCapFiles(asset, list);
    std::vector<Capture> captures;
    for (const CSortItem& item : list) captures.push_back({item.id, item.text.str()});
    return captures;
}

int List(Context& context, CNorvikSql& db, ULong asset) {
    TextTable table({"Id", "Bytes", "Name"});
    std::string json = "[";
    for (const Capture& capture : Captures(db, asset)) {
        const std::size_t bytes = db.GetCapFileContent(capture.id).str().size();
        table.AddRow({std::to_string(capture.id), std::to_string(bytes), capture.name});
        if (json.size() > 1) json += ", ";
        json += "{\"id\": " + std::to_string(capture.id) + ", \"name\": " + JsonText(capture.name) +
                ", \"bytes\": " + std::to_string(bytes) + "}";
    }
    if (context.options.json)
        std::cout << json << "]\n";
    else
        table.Print(std::cout, {0, 1});
    return kExitOk;
}

int Show(CNorvikSql& db, ULong asset, const std::string& name) {
    for (const Capture& capture : Captures(db, asset)) {
        if (capture.name != name) continue;
        std::cout << db.GetCapFileContent(capture.id).str();
        return kExitOk;
    }
    return Fail("the asset has no captured file '" + name + "'");
}

int Add(Context& context, CNorvikSql& db, ULong asset, const std::string& name, const std::string& from) {
    std::string content, error;
    if (!ReadLocalFile(from, kCapturedFileMaxBytes, content, error)) return Fail(error);
    if (content.find('\0') != std::string::npos) return Fail(from + " holds a zero byte; captured files are text");
    const ULong capture = db.AddCapFile(asset, name.c_str(), content.c_str());
    if (capture == 0) return kExitFailed;
    if (context.options.json)
        std::cout << "{\"id\": " << capture << ", \"name\": " << JsonText(name) << ", \"bytes\": " << content.size()
                  << "}\n";
    else
        std::cout << capture << "  " << name << "  (" << content.size() << " bytes)\n";
    return kExitOk;
}

}  // namespace

int RunCapture(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const auto& args = context.args;
    if (args.empty()) return Usage("name a sub-command: list, show, add or delete");
    const std::string& sub = args[0];
    Words words;
    if (sub == "list" || sub == "delete") {
        if (!SplitSubCommandWords(args, {{}, {}, 1, 1}, "capture " + sub + " ASSET", &words)) return kExitUsage;
    } else if (sub == "show") {
        if (!SplitSubCommandWords(args, {{}, {}, 2, 2}, "capture show ASSET NAME", &words)) return kExitUsage;
    } else if (sub == "add") {
        if (!SplitSubCommandWords(args, {{}, {"--from"}, 2, 2}, "capture add ASSET NAME --from FILE", &words))
            return kExitUsage;
        if (!words.Has("--from")) return Usage("capture add needs --from FILE");
        if (words.positional[1].empty()) return Usage("the captured file needs a name");
    } else {
        return Usage("unknown sub-command " + sub);
    }
    const bool reads = sub == "list" || sub == "show";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        const Resolved asset = ResolveAsset(db, words.positional[0]);
        if (!asset.ok()) return Fail(asset);
        int code = kExitOk;
        if (sub == "list") {
            code = List(context, db, asset.id);
        } else if (sub == "show") {
            code = Show(db, asset.id, words.positional[1]);
        } else if (sub == "add") {
            code = Add(context, db, asset.id, words.positional[1], words.Value("--from"));
        } else {
            const std::size_t count = Captures(db, asset.id).size();
            db.DeleteCapFiles(asset.id);
            if (!watch.Shown())
                std::cout << "deleted " << count << " captured file(s) of " << words.positional[0] << '\n';
        }
        return code;
    });
}

}  // namespace cli
