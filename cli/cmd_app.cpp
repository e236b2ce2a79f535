// norvik app: the site's application catalogue, each asset's application instances, aliases
// and publishers, and the housekeeping of the catalogue (duplicates, unreferenced rows, orphans).
#include <algorithm>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/resolve_app.h"
#include "cli/resolve_asset.h"
#include "cli/words.h"
#include "import/identifiers.h"
#include "sql/id_lists.h"
#include "sql/sql_recordset.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik app list [--asset ASSET] [--publisher P] [--json]\n"
    "       norvik app add PUBLISHER NAME\n"
    "       norvik app install ASSET APP [--version V] [--serial S]\n"
    "       norvik app remove ASSET APP\n"
    "       norvik app alias APP TARGET\n"
    "       norvik app rename-publisher OLD NEW\n"
    "       norvik app publishers [--asset ASSET] [--json]\n"
    "       norvik app delete APP\n"
    "       norvik app duplicates [--json]\n"
    "       norvik app merge-duplicates\n"
    "       norvik app purge-unreferenced\n"
    "       norvik app orphans [--json]\n"
    "An ASSET is an id or an exact name. An APP is an id, a name with its publisher\n"
    "(\"Acme Editor\"), or a name alone when only one application has it.\n"
    "  list        the catalogue (id, publisher, name, instances, files), or with --asset the\n"
    "              asset's instances with their versions and serials; P \"Unknown\" selects the\n"
    "              applications without a publisher\n"
    "  add         finds or adds the application and prints its id\n"
    "  install     records an instance of APP on ASSET and prints its id\n"
    "  remove      deletes ASSET's instance of APP\n"
    "  alias       shows APP as TARGET from now on (TARGET 0 undoes it); cycles are refused\n"
    "  rename-publisher  gives every application of publisher OLD the publisher NEW\n"
    "  publishers  the publishers of the site's instances (with their number of instances), or\n"
    "              with --asset those of the asset's\n"
    "  delete      deletes APP and all its instances\n"
    "  duplicates  the applications held by several rows of one publisher and name, and the\n"
    "              assets holding more than one instance of one application\n"
    "  merge-duplicates  keeps the lowest id of each duplicated application and moves onto it\n"
    "              every later row's instances, assigned files, aliases and application data\n"
    "              (and its licence type when the kept row has none) before deleting that row,\n"
    "              all in one transaction. It does not use the library's FixupDuplicateApps,\n"
    "              which moves the kept row's instances the other way. An asset that held both\n"
    "              rows then holds two instances; `app duplicates` lists them\n"
    "  purge-unreferenced  deletes the applications without licence type that no instance and\n"
    "              no file refers to, and prints how many went\n"
    "  orphans     instances whose asset or application is gone and file links whose asset is\n"
    "              gone\n";

int Usage(const std::string& problem) {
    PrintError(problem + " (see norvik app --help)");
    return kExitUsage;
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {"--asset", "--publisher"}, 0, 0}, "app list [--asset ASSET] [--publisher P] [--json]"},
    {"add", {{}, {}, 2, 2}, "app add PUBLISHER NAME"},
    {"install", {{}, {"--version", "--serial"}, 2, 2}, "app install ASSET APP [--version V] [--serial S]"},
    {"remove", {{}, {}, 2, 2}, "app remove ASSET APP"},
    {"alias", {{}, {}, 2, 2}, "app alias APP TARGET"},
    {"rename-publisher", {{}, {}, 2, 2}, "app rename-publisher OLD NEW"},
    {"publishers", {{}, {"--asset"}, 0, 0}, "app publishers [--asset ASSET] [--json]"},
    {"delete", {{}, {}, 1, 1}, "app delete APP"},
    {"duplicates", {{}, {}, 0, 0}, "app duplicates [--json]"},
    {"merge-duplicates", {{}, {}, 0, 0}, "app merge-duplicates"},
    {"purge-unreferenced", {{}, {}, 0, 0}, "app purge-unreferenced"},
    {"orphans", {{}, {}, 0, 0}, "app orphans [--json]"},
};

struct AppRow {
    ULong id = 0;
    ULong instance = 0;
    std::string publisher;
    std::string name;
    std::string version;
    std::string serial;
    ULong instances = 0;
    ULong files = 0;
};

// The files counted into the instances of each application listed, site-wide: only theirs are
// read, so a publisher's few applications do not cost a pass over every installation.
std::map<ULong, ULong> FilesByApp(CNorvikSql& db, const CSortList& apps) {
    std::vector<ULong> ids;
    for (const CSortItem& item : apps) ids.push_back(item.id);
    std::map<ULong, ULong> files;
    for (const std::string& list : IdLists(ids)) {
        const CString statement =
            CString("select _APP ,sum(_FILES) from APPINST where _APP in (") + list.c_str() + ") group by _APP";
        for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) files[rs.NumberAt(0)] = rs.NumberAt(1);
    }
    return files;
}

void PrintRows(const std::vector<AppRow>& rows, bool perAsset, bool json) {
    if (json) {
        std::cout << '[';
        const char* separator = "";
        for (const AppRow& row : rows) {
            std::cout << separator << "{\"id\": " << row.id << ", \"publisher\": " << JsonText(row.publisher)
                      << ", \"name\": " << JsonText(row.name) << ", \"version\": " << JsonText(row.version)
                      << ", \"files\": " << row.files;
            if (perAsset)
                std::cout << ", \"instance\": " << row.instance << ", \"serial\": " << JsonText(row.serial);
            else
                std::cout << ", \"instances\": " << row.instances;
            std::cout << '}';
            separator = ", ";
        }
        std::cout << "]\n";
        return;
    }
    if (perAsset) {
        TextTable table({"Id", "Instance", "Publisher", "Name", "Version", "Serial", "Files"});
        for (const AppRow& row : rows)
            table.AddRow({std::to_string(row.id), std::to_string(row.instance), Shortened(row.publisher),
                          Shortened(row.name), Shortened(row.version), row.serial, std::to_string(row.files)});
        table.Print(std::cout, {0, 1, 6});
    } else {
        TextTable table({"Id", "Publisher", "Name", "Instances", "Files"});
        for (const AppRow& row : rows)
            table.AddRow({std::to_string(row.id), Shortened(row.publisher), Shortened(row.name),
                          std::to_string(row.instances), std::to_string(row.files)});
        table.Print(std::cout, {0, 3, 4});
    }
}

bool ByPublisherAndName(const AppRow& a, const AppRow& b) {
    if (a.publisher != b.publisher) return a.publisher < b.publisher;
    if (a.name != b.name) return a.name < b.name;
    return a.id < b.id;
}

int List(CNorvikSql& db, const Words& words, bool json) {
    const bool perAsset = words.Has("--asset");
    const bool filtered = words.Has("--publisher");
    const std::string wanted = words.Value("--publisher") == "Unknown" ? "" : words.Value("--publisher");
    std::vector<AppRow> rows;
    if (perAsset) {
        const Resolved asset = ResolveAsset(db, words.Value("--asset"));
        if (!asset.ok()) return Fail(asset);
        CSortList list;
        db.EnumApplicationInstances(asset.id, 0, list, 0, 0);
        for (const CSortItem& item : list) {
            AppRow row;
            row.instance = item.id;
            row.id = db.newGetAppInstAppID(item.id);
            row.serial = db.newGetAppInstSerial(item.id).str();
            row.files = db.newGetAppInstFiles(item.id);
            row.version = db.applicationGetVersion(item.id).str();
            row.publisher = db.GetAppPublisher(row.id, 0).str();
            row.name = item.text.str();  // through one alias level, as the asset shows it
            if (!filtered || row.publisher == wanted) rows.push_back(std::move(row));
        }
    } else {
        CSortList list;
        db.EnumGlobalSwApplications(0, list, 0, 0, 0, 0, filtered ? words.Value("--publisher").c_str() : nullptr, 0);
        const std::map<ULong, ULong> files = FilesByApp(db, list);
        for (const CSortItem& item : list) {
            AppRow row;
            row.id = item.id;
            row.name = item.text.str();
            row.publisher = db.GetAppPublisher(item.id, 0).str();
            row.instances = item.extra;
            if (auto it = files.find(item.id); it != files.end()) row.files = it->second;
            rows.push_back(std::move(row));
        }
    }
    std::sort(rows.begin(), rows.end(), ByPublisherAndName);
    PrintRows(rows, perAsset, json);
    return kExitOk;
}

// Whether TARGET's chain of aliases (or TARGET itself) reaches `app`: such an alias would make
// a cycle, which the library's walks never leave.
bool AliasWouldCycle(CNorvikSql& db, ULong app, ULong target) {
    std::vector<ULong> seen;
    for (ULong at = target; at != 0; at = db.applicationGetAlias(at)) {
        if (at == app) return true;
        if (std::find(seen.begin(), seen.end(), at) != seen.end()) return true;  // a cycle already
        seen.push_back(at);
    }
    return false;
}

int Publishers(CNorvikSql& db, const Words& words, bool json) {
    CSortList list;
    if (words.Has("--asset")) {
        const Resolved asset = ResolveAsset(db, words.Value("--asset"));
        if (!asset.ok()) return Fail(asset);
        db.EnumAppPublishers(asset.id, list, 0);
    } else {
        db.EnumGlobalSwAppPublishers(0, list, 0);
    }
    list.Sort();
    if (json) {
        std::cout << '[';
        const char* separator = "";
        for (const CSortItem& item : list) {
            std::cout << separator << "{\"publisher\": " << JsonText(item.text.str());
            if (!words.Has("--asset")) std::cout << ", \"instances\": " << item.extra;
            std::cout << '}';
            separator = ", ";
        }
        std::cout << "]\n";
    } else {
        for (const CSortItem& item : list) std::cout << item.text.c_str() << '\n';
    }
    return kExitOk;
}

int Duplicates(CNorvikSql& db, bool json) {
    CSortList apps, instances;
    db.enumDuplicateApps(apps);
    db.enumDuplicateAppInstances(instances);
    if (json) {
        std::cout << "{\"applications\": [";
        const char* separator = "";
        for (const CSortItem& item : apps) {
            std::cout << separator << "{\"id\": " << item.id << ", \"name\": " << JsonText(item.text.str())
                      << ", \"rows\": " << item.extra << '}';
            separator = ", ";
        }
        std::cout << "], \"instances\": [";
        separator = "";
        for (const CSortItem& item : instances) {
            std::cout << separator << "{\"instance\": " << item.id << ", \"what\": " << JsonText(item.text.str())
                      << ", \"count\": " << item.extra << '}';
            separator = ", ";
        }
        std::cout << "]}\n";
        return kExitOk;
    }
    TextTable table({"Kept id", "Rows", "Application"});
    for (const CSortItem& item : apps)
        table.AddRow({std::to_string(item.id), std::to_string(item.extra), item.text.str()});
    table.Print(std::cout, {0, 1});
    if (instances.GetCount() != 0) {
        std::cout << '\n';
        TextTable same({"First instance", "Count", "Instances of"});
        for (const CSortItem& item : instances)
            same.AddRow({std::to_string(item.id), std::to_string(item.extra), item.text.str()});
        same.Print(std::cout, {0, 1});
    }
    return kExitOk;
}

// Merges every group of duplicates onto its lowest id, losing nothing. Throws CDBException.
ULong MergeDuplicates(CNorvikSql& db) {
    CSortList groups;
    db.enumDuplicateApps(groups);
    ULong merged = 0;
    TransactionScope transaction(db);
    for (const CSortItem& group : groups) {
        const ULong kept = group.id;
        CString publisher, name;
        ULong keptLicType = 0;
        {
            CSqlRecordset rs(&db, CString::Formatted("select _MFR,_APP,_LICTYPE from APPS where _ID=%d", int(kept)));
            if (rs.IsEOF()) continue;
            publisher = rs.TextAt(0);
            name = rs.TextAt(1);
            keptLicType = rs.NumberAt(2);
        }
        struct Later {
            ULong id, licType, licCount;
        };
        std::vector<Later> later;
        for (CSqlRecordset rs(&db,
                              CString::Formatted("select _ID,_LICTYPE,_LICCOUNT from APPS where _ID>%d and _MFR=%s "
                                                 "and _APP=%s order by _ID",
                                                 int(kept), CNorvikSql::SqlQuote(publisher).c_str(),
                                                 CNorvikSql::SqlQuote(name).c_str()));
             !rs.IsEOF(); rs.MoveNext())
            later.push_back(Later{rs.NumberAt(0), rs.NumberAt(1), rs.NumberAt(2)});
        for (const Later& d : later) {
            const int from = static_cast<int>(d.id), to = static_cast<int>(kept);
            db.ExecuteStatement(CString::Formatted("update APPINST set _APP=%d where _APP=%d", to, from));
            db.ExecuteStatement(CString::Formatted("update SWFILE set _APPID=%d where _APPID=%d", to, from));
            db.ExecuteStatement(
                CString::Formatted("update APPS set _ALIAS=%d where _ALIAS=%d and _ID<>%d", to, from, to));
            db.ExecuteStatement(CString::Formatted(
                "update USERDATA set _OWNER=%d where _OWNER=%d and (_FLAGS & %d) > 0", to, from, 0x4));
            if (keptLicType <= 1 && d.licType > 1) {
                db.ExecuteStatement(CString::Formatted("update APPS set _LICTYPE=%d, _LICCOUNT=%d where _ID=%d",
                                                       int(d.licType), int(d.licCount), to));
                keptLicType = d.licType;
            }
            db.ExecuteStatement(CString::Formatted("delete from APPS where _ID=%d", from));
            ++merged;
        }
    }
    transaction.Commit();
    return merged;
}

int Orphans(CNorvikSql& db, bool json) {
    CSortList list;
    db.enumOrphans(list);
    if (json) {
        std::cout << '[';
        const char* separator = "";
        for (const CSortItem& item : list) {
            std::cout << separator << "{\"table\": " << JsonText(item.text.str()) << ", \"id\": " << item.id
                      << ", \"asset\": " << item.extra << '}';
            separator = ", ";
        }
        std::cout << "]\n";
        return kExitOk;
    }
    TextTable table({"Table", "Id", "Asset"});
    for (const CSortItem& item : list)
        table.AddRow({item.text.str(), std::to_string(item.id), std::to_string(item.extra)});
    table.Print(std::cout, {1, 2});
    return kExitOk;
}

}  // namespace

int RunApp(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("app", args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    if (sub == "add" && IsBlankName(p[1])) return Usage("an application needs a name, not only spaces");
    if (sub == "rename-publisher" && p[0] == p[1]) return Usage("the old and the new publisher are the same");

    const bool reads = sub == "list" || sub == "publishers" || sub == "duplicates" || sub == "orphans";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        const bool json = context.options.json;
        try {
            if (sub == "list" || sub == "publishers" || sub == "duplicates" || sub == "orphans") {
                const int rc = sub == "list"         ? List(db, words, json)
                               : sub == "publishers" ? Publishers(db, words, json)
                               : sub == "duplicates" ? Duplicates(db, json)
                                                     : Orphans(db, json);
                return rc;
            }
            if (sub == "add") {
                const ULong id = db.applicationAdd(p[0].c_str(), p[1].c_str(), 0);
                if (id == 0) return kExitFailed;
                std::cout << id << '\n';
                return kExitOk;
            }
            if (sub == "rename-publisher") {
                CSqlRecordset rs(&db, "select count(*) from APPS where _MFR=" + CNorvikSql::SqlQuote(p[0].c_str()));
                const ULong count = rs.IsEOF() ? 0 : rs.NumberAt(0);
                rs.Close();
                if (count == 0) return Fail("no application has the publisher '" + p[0] + "'");
                db.UpdateAppPublisher(0, p[0].c_str(), p[1].c_str(), 1);
                if (watch.Shown()) return kExitFailed;
                std::cout << "renamed the publisher of " << count << " application(s)\n";
                return kExitOk;
            }
            if (sub == "merge-duplicates") {
                const ULong merged = MergeDuplicates(db);
                std::cout << "merged " << merged << " duplicate row(s)\n";
                return kExitOk;
            }
            if (sub == "purge-unreferenced") {
                const ULong purged = db.PurgeUnreferencedApplications();
                if (watch.Shown()) return kExitFailed;
                std::cout << "deleted " << purged << " unreferenced application(s)\n";
                return kExitOk;
            }
            if (sub == "install" || sub == "remove") {
                const Resolved asset = ResolveAsset(db, p[0]);
                if (!asset.ok()) return Fail(asset);
                const Resolved app = ResolveApp(db, p[1]);
                if (!app.ok()) return Fail(app);
                const bool installed = db.applicationIsInstalled(asset.id, app.id) != 0;
                if (watch.Shown()) return kExitFailed;
                if (sub == "remove") {
                    if (!installed) return Fail("'" + p[0] + "' has no instance of '" + p[1] + "'");
                    return db.applicationRemove(asset.id, app.id) ? kExitOk : kExitFailed;
                }
                if (installed) return Fail("'" + p[0] + "' has an instance of '" + p[1] + "' already");
                const ULong instance = db.applicationAddInstance(asset.id, app.id, words.Value("--serial").c_str(),
                                                                 words.Value("--version").c_str(), 0);
                if (instance == 0) return kExitFailed;
                std::cout << instance << '\n';
                return kExitOk;
            }
            const Resolved app = ResolveApp(db, p[0]);
            if (!app.ok()) return Fail(app);
            if (sub == "delete") return db.applicationDelete(app.id) ? kExitOk : kExitFailed;
            // alias
            ULong target = 0;
            if (p[1] != "0") {
                const Resolved resolved = ResolveApp(db, p[1]);
                if (!resolved.ok()) return Fail(resolved);
                target = resolved.id;
                if (AliasWouldCycle(db, app.id, target))
                    return Fail("'" + p[1] + "' is shown as '" + p[0] + "' already: the alias would make a cycle");
            }
            return db.applicationSetAlias(app.id, target) ? kExitOk : kExitFailed;
        } catch (const CDBException& e) {
            return Fail("the database failed: " + e.m_strError.str());
        }
    });
}

}  // namespace cli
