// norvik sw: an asset's software folders and the files of one folder, and adding a file found
// on an asset (its folders through MergeFolder, the file through MergeFile).
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_app.h"
#include "cli/resolve_asset.h"
#include "cli/words.h"
#include "kb/file_signature.h"
#include "kb/table.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik sw ASSET [--folder PATH] [--unassigned] [--json]\n"
    "       norvik sw add-file ASSET PATH --size N [--crc X] [--date D] [--maker M] [--product P]\n"
    "                          [--version V]\n"
    "       norvik sw assign FILE APP | norvik sw unassign FILE\n"
    "An ASSET is an id or an exact name. A PATH names folders from the top down joined by \"\\\"\n"
    "(or \"/\"), as \"C:\\Program Files\\Acme\"; names compare exactly.\n"
    "  (none)    the asset's folder tree; --unassigned keeps only the folders that hold, at any\n"
    "            depth, a file not assigned to an application. With --folder, the files of that\n"
    "            folder with size, CRC, date and application (--unassigned: those without one)\n"
    "  add-file  records that the asset holds the file PATH (its last piece is the file name):\n"
    "            missing folders are created, and a file with the same name, size, CRC and\n"
    "            version texts elsewhere on the site is shared. N is the size in bytes, X the\n"
    "            CRC-32 in hexadecimal (default 0, not known), D the file's date as\n"
    "            YYYY-MM-DD[ hh:mm:ss] or as the auditor's packed number (default 0); M, P, V are\n"
    "            the maker, product and version texts of its version resource\n";

int Usage(const std::string& problem) {
    PrintError(problem + " (see norvik sw --help)");
    return kExitUsage;
}

// The pieces of a path cut at "\" and "/"; a trailing separator is allowed, other empty pieces
// are not (false).
bool SplitPath(const std::string& path, std::vector<std::string>* pieces) {
    std::string piece;
    for (std::size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || path[i] == '\\' || path[i] == '/') {
            if (piece.empty() && i != path.size()) return false;
            if (!piece.empty()) pieces->push_back(piece);
            piece.clear();
        } else {
            piece += path[i];
        }
    }
    return !pieces->empty();
}

// The asset's folder called `name` directly below `parent`; 0 when it has none.
ULong ChildFolder(CNorvikSql& db, ULong asset, ULong parent, const std::string& name) {
    CSortList children;
    db.folderEnum(asset, parent, children, 0, 0);
    for (const CSortItem& child : children)
        if (child.text.str() == name) return child.id;
    return 0;
}

// An unsigned 32-bit number in `base` (16 takes an optional 0x); false for anything else.
bool ParseNumber(const std::string& text, int base, ULong* value) {
    std::string digits = text;
    if (base == 16 && digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
        digits = digits.substr(2);
    const char* allowed = base == 16 ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 10 || digits.find_first_not_of(allowed) != std::string::npos) return false;
    const unsigned long long number = std::strtoull(digits.c_str(), nullptr, base);
    if (number > 0xFFFFFFFFull) return false;
    *value = static_cast<ULong>(number);
    return true;
}

bool ParseDate(const std::string& text, ULong* date) {
    if (ParseNumber(text, 10, date)) return true;
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    char tail = 0;
    const int read = std::sscanf(text.c_str(), "%4d-%2d-%2d %2d:%2d:%2d%c", &y, &mo, &d, &h, &mi, &s, &tail);
    if (read != 3 && read != 6) return false;
    if (mo < 1 || mo > 12 || d < 1 || d > DaysInMonth(y, mo) || h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0 || s > 59)
        return false;
    *date = PackFileDate(y, mo, d, h, mi, s);
    return *date != 0;
}

struct FolderNode {
    ULong id;
    std::string name;
    std::vector<FolderNode> children;
};

std::vector<FolderNode> ReadFolders(CNorvikSql& db, ULong asset, ULong parent, int unassigned, int depth) {
    CSortList list;
    db.folderEnum(asset, parent, list, unassigned, unassigned);
    list.Sort();
    std::vector<FolderNode> nodes;
    for (const CSortItem& item : list) {
        // Deeper than any real tree: a cycle written by hand.
        nodes.push_back(
            {item.id, db.GetFolderName(item.id).str(),
             depth < 64 ? ReadFolders(db, asset, item.id, unassigned, depth + 1) : std::vector<FolderNode>()});
    }
    return nodes;
}

void PrintFolders(const std::vector<FolderNode>& nodes, int depth) {
    for (const FolderNode& node : nodes) {
        std::cout << std::string(static_cast<std::size_t>(depth) * 2, ' ') << node.name << "\\  (" << node.id << ")\n";
        PrintFolders(node.children, depth + 1);
    }
}

void PrintFoldersJson(const std::vector<FolderNode>& nodes) {
    std::cout << '[';
    const char* separator = "";
    for (const FolderNode& node : nodes) {
        std::cout << separator << "{\"id\": " << node.id << ", \"name\": " << JsonText(node.name) << ", \"children\": ";
        PrintFoldersJson(node.children);
        std::cout << '}';
        separator = ", ";
    }
    std::cout << ']';
}

// "Publisher Name" of a catalogue row; "" for none.
std::string ApplicationText(CNorvikSql& db, ULong app) {
    if (app == 0) return "";
    const std::string name = db.applicationGetName(app, 0, 1).str();
    return name.empty() ? std::string("#").append(std::to_string(app)) : name;
}

int ShowFiles(Context& context, CNorvikSql& db, ULong asset, const std::string& path, bool unassigned) {
    std::vector<std::string> pieces;
    if (!SplitPath(path, &pieces)) return Usage("the folder path needs names joined by '\\': '" + path + "'");
    ULong folder = 0;
    for (const std::string& piece : pieces) {
        folder = ChildFolder(db, asset, folder, piece);
        if (folder == 0) return Fail("the asset has no folder '" + piece + "' in '" + path + "'");
    }
    CTable table;
    db.filesEnum(asset, folder, table);
    TextTable text({"Id", "Name", "Size", "CRC", "Date", "Application"});
    std::cout << (context.options.json ? "{\"asset\": " + std::to_string(asset) +
                                             ", \"folder\": " + std::to_string(folder) + ", \"files\": ["
                                       : "");
    const char* separator = "";
    for (ULong row = 0; row < table.GetRowCount(); ++row) {
        const ULong app = table.GetValue(row, 9);
        if (unassigned && app != 0) continue;
        const ULong file = db.GetLinkedFile(table.GetValue(row, 1));
        const std::string name = table.GetText(row, 2).str();
        const ULong size = table.GetValue(row, 3), crc = table.GetValue(row, 4), date = table.GetValue(row, 5);
        const std::string dateText = PackedFileDateText(date);
        const std::string crcText = CString::Formatted("%08X", static_cast<unsigned>(crc)).str();
        if (context.options.json) {
            std::cout << separator << "{\"file\": " << file << ", \"name\": " << JsonText(name)
                      << ", \"size\": " << size << ", \"crc\": " << JsonText(crcText) << ", \"date\": " << date
                      << ", \"dateText\": " << JsonText(dateText)
                      << ", \"maker\": " << JsonText(table.GetText(row, 6).str())
                      << ", \"product\": " << JsonText(table.GetText(row, 7).str())
                      << ", \"version\": " << JsonText(table.GetText(row, 8).str()) << ", \"app\": " << app
                      << ", \"application\": " << JsonText(ApplicationText(db, app)) << '}';
            separator = ", ";
        } else {
            text.AddRow({std::to_string(file), name, std::to_string(size), crcText,
                         dateText.empty() ? std::to_string(date) : dateText,
                         app == 0 ? std::string("-") : ApplicationText(db, app)});
        }
    }
    if (context.options.json)
        std::cout << "]}\n";
    else
        text.Print(std::cout, {0, 2});
    return kExitOk;
}

int Show(Context& context, const std::vector<std::string>& words) {
    Words args;
    if (auto error = SplitWords(words, {{"--unassigned"}, {"--folder"}, 1, 1}, &args); !error.empty())
        return Usage(error == "wrong number of arguments" ? "name one asset" : error);
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved asset = ResolveAsset(*db, args.positional[0]);
    if (!asset.ok()) return Fail(asset);
    const bool unassigned = args.Has("--unassigned");
    if (args.Has("--folder")) {
        const int code = ShowFiles(context, *db, asset.id, args.Value("--folder"), unassigned);
        return watch.Shown() ? kExitFailed : code;
    }
    const std::vector<FolderNode> tree = ReadFolders(*db, asset.id, 0, unassigned ? 1 : 0, 0);
    if (watch.Shown()) return kExitFailed;
    if (context.options.json) {
        std::cout << "{\"asset\": " << asset.id << ", \"folders\": ";
        PrintFoldersJson(tree);
        std::cout << "}\n";
    } else {
        PrintFolders(tree, 0);
    }
    return kExitOk;
}

int AddFile(Context& context, const std::vector<std::string>& words) {
    Words args;
    if (auto error =
            SplitWords(words, {{}, {"--size", "--crc", "--date", "--maker", "--product", "--version"}, 2, 2}, &args);
        !error.empty())
        return Usage(error == "wrong number of arguments" ? "sw add-file takes ASSET PATH" : error);
    const std::string& path = args.positional[1];
    std::vector<std::string> pieces;
    if (!SplitPath(path, &pieces) || path.back() == '\\' || path.back() == '/')
        return Usage("the path needs folder names and a file name joined by '\\': '" + path + "'");
    if (pieces.size() < 2) return Usage("a file lies in a folder: name at least one folder before the file");
    ULong size = 0, crc = 0, date = 0;
    if (!args.Has("--size")) return Usage("--size is required");
    if (!ParseNumber(args.Value("--size"), 10, &size))
        return Usage("--size takes a number of bytes from 0 to 4294967295: " + args.Value("--size"));
    if (args.Has("--crc") && !ParseNumber(args.Value("--crc"), 16, &crc))
        return Usage("--crc takes a 32-bit hexadecimal number: " + args.Value("--crc"));
    if (args.Has("--date") && !ParseDate(args.Value("--date"), &date))
        return Usage("--date takes YYYY-MM-DD[ hh:mm:ss] (1980 to 2107) or a packed number: " + args.Value("--date"));

    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const Resolved asset = ResolveAsset(*db, args.positional[0]);
    if (!asset.ok()) return Fail(asset);
    ULong folder = 0;
    const std::string& name = pieces.back();
    const std::string maker = args.Value("--maker"), product = args.Value("--product"),
                      version = args.Value("--version");
    {
        // One audit's worth of work: all of it lands, or none.
        TransactionScope transaction(*db);
        for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
            folder = db->MergeFolder(asset.id, pieces[i].c_str(), folder);
            if (folder == 0 || watch.Shown()) return kExitFailed;
        }
        db->MergeFile(asset.id, folder, crc, name.c_str(), size, date, maker.c_str(), product.c_str(), version.c_str(),
                      0);
        if (watch.Shown()) return kExitFailed;
        try {
            transaction.Commit();
        } catch (const CDBException& e) {
            return Fail("cannot store the file: " + e.m_strError.str());
        }
    }
    ULong file = 0;
    CTable table;
    db->filesEnum(asset.id, folder, table);
    for (ULong row = 0; row < table.GetRowCount() && file == 0; ++row)
        if (table.GetText(row, 2).str() == name && table.GetValue(row, 3) == size && table.GetValue(row, 4) == crc &&
            table.GetText(row, 6).str() == maker && table.GetText(row, 7).str() == product &&
            table.GetText(row, 8).str() == version)
            file = db->GetLinkedFile(table.GetValue(row, 1));
    const std::string folderPath = db->GetFolderPath(folder).str();
    if (context.options.json) {
        std::cout << "{\"asset\": " << asset.id << ", \"folder\": " << folder << ", \"file\": " << file
                  << ", \"path\": " << JsonText(folderPath + name) << "}\n";
    } else {
        std::cout << file << "  " << folderPath << name << '\n';
    }
    return watch.Shown() ? kExitFailed : kExitOk;
}

// The SWFILE row named by `word` (decimal digits); 0 when there is none.
ULong ResolveFile(CNorvikSql& db, const std::string& word) {
    if (word.empty() || word.size() > 9 || word.find_first_not_of("0123456789") != std::string::npos) return 0;
    const ULong id = static_cast<ULong>(std::strtoul(word.c_str(), nullptr, 10));
    return id != 0 && db.SelectNumber("SWFILE", "_ID", id) == id ? id : 0;
}

int Assign(Context& context, const std::vector<std::string>& words, bool assign) {
    Words args;
    const std::size_t count = assign ? 2 : 1;
    if (auto error = SplitWords(words, {{}, {}, count, count}, &args); !error.empty())
        return Usage(error == "wrong number of arguments"
                         ? (assign ? "sw assign takes FILE APP" : "sw unassign takes FILE")
                         : error);
    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    ULong file = 0;
    try {
        file = ResolveFile(*db, args.positional[0]);
    } catch (const CDBException& e) {
        return Fail("cannot read the files: " + e.m_strError.str());
    }
    if (file == 0) return Fail("no file with id '" + args.positional[0] + "'");
    const ULong current = db->GetFileAppID(file);
    const std::string name = db->GetFileName(file).str();
    if (assign) {
        const Resolved app = ResolveApp(*db, args.positional[1]);
        if (!app.ok()) return Fail(app);
        if (current != 0)
            return Fail(name + " already belongs to " + ApplicationText(*db, current) + "; unassign it first");
        if (db->AssignFile(file, app.id) == 0 || watch.Shown()) return kExitFailed;
        std::cout << "assigned " << name << " to " << ApplicationText(*db, app.id) << '\n';
        return kExitOk;
    }
    if (current == 0) return Fail(name + " belongs to no application");
    db->UnAssignFile(file);
    if (watch.Shown()) return kExitFailed;
    std::cout << "unassigned " << name << " from " << ApplicationText(*db, current) << '\n';
    return kExitOk;
}

}  // namespace

int RunSw(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const auto& args = context.args;
    if (args.empty()) return Usage("name an asset");
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "add-file") return AddFile(context, rest);
    if (args[0] == "assign" || args[0] == "unassign") return Assign(context, rest, args[0] == "assign");
    return Show(context, args);
}

}  // namespace cli
