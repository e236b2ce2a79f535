// norvik report: the site at a glance, section by section, as aligned tables or one JSON object.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/words.h"
#include "report/site_report.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik report [--json]\n"
    "The site at a glance, in six sections:\n"
    "  assets by category and by operating system (the \"Name\" under \"Operating System\");\n"
    "  \"Unknown\" counts the assets that have none\n"
    "  the 20 most installed applications and the 20 publishers with most installations\n"
    "  (hidden applications left out)\n"
    "  licence compliance, as \"norvik licence report\" gives it: over-used applications first\n"
    "  the assets not audited for 30 days (never audited ones first, then the oldest audit);\n"
    "  child assets are audited with their computer and are not listed\n"
    "With --json, one object with one member per section.\n";

std::string Count(ULong value) { return std::to_string(value); }

// A section's heading, its table (or a line saying it is empty) and a blank line.
void PrintSection(const std::string& heading, const TextTable& table, bool empty,
                  const std::vector<std::size_t>& numbers) {
    std::cout << heading << "\n";
    if (empty)
        std::cout << "  (none)\n";
    else
        table.Print(std::cout, numbers);
    std::cout << "\n";
}

void PrintCounts(const std::string& heading, const char* what, const char* counted,
                 const std::vector<SiteReportCount>& rows) {
    TextTable table({what, counted});
    for (const SiteReportCount& row : rows) table.AddRow({Shortened(row.name), Count(row.count)});
    PrintSection(heading, table, rows.empty(), {1});
}

void PrintText(const SiteReport& report) {
    std::cout << "Assets: " << report.assets << "\n\n";
    PrintCounts("Assets by category", "Category", "Assets", report.categories);
    PrintCounts("Assets by operating system", "Operating System", "Assets", report.operatingSystems);

    TextTable applications({"Publisher", "Name", "Installations"});
    for (const SiteReportApplication& row : report.applications)
        applications.AddRow({Shortened(row.publisher), Shortened(row.name), Count(row.installations)});
    PrintSection("Most installed applications (top " + std::to_string(kSiteReportTop) + ")", applications,
                 report.applications.empty(), {2});
    PrintCounts("Publishers with most installations (top " + std::to_string(kSiteReportTop) + ")", "Publisher",
                "Installations", report.publishers);

    TextTable licences({"Publisher", "Name", "Type", "Declared", "Installed", "Difference", "Over-used"});
    for (const LicenceReportRow& r : report.licences) {
        licences.AddRow({Shortened(r.publisher), Shortened(r.name), Shortened(r.type), std::to_string(r.declared),
                         std::to_string(r.installed), std::to_string(r.difference), r.overUsed ? "OVER-USED" : ""});
    }
    PrintSection("Licence compliance", licences, report.licences.empty(), {3, 4, 5});

    TextTable stale({"Asset", "Last audit"});
    for (const SiteReportAsset& row : report.notAudited)
        stale.AddRow({Shortened(row.name), row.lastAudit.IsNever() ? "never" : IsoDateTime(row.lastAudit)});
    PrintSection("Not audited for " + std::to_string(kSiteReportAuditDays) + " days", stale, report.notAudited.empty(),
                 {});
}

// `rows` as a JSON array, each row written by `write`.
template <typename Row, typename Write>
std::string JsonArray(const std::vector<Row>& rows, Write write) {
    std::string text = "[";
    for (std::size_t i = 0; i < rows.size(); ++i) text += (i ? ", " : "") + write(rows[i]);
    return text + "]";
}

std::string JsonCounts(const std::vector<SiteReportCount>& rows, const char* counted) {
    return JsonArray(rows, [counted](const SiteReportCount& row) {
        return "{\"name\": " + JsonText(row.name) + ", \"" + counted + "\": " + Count(row.count) + "}";
    });
}

void PrintJson(const SiteReport& report) {
    const std::string applications = JsonArray(report.applications, [](const SiteReportApplication& row) {
        return "{\"app\": " + Count(row.app) + ", \"publisher\": " + JsonText(row.publisher) +
               ", \"name\": " + JsonText(row.name) + ", \"installations\": " + Count(row.installations) + "}";
    });
    const std::string licences = JsonArray(report.licences, [](const LicenceReportRow& r) {
        return "{\"app\": " + Count(r.app) + ", \"publisher\": " + JsonText(r.publisher) +
               ", \"name\": " + JsonText(r.name) + ", \"type\": " + JsonText(r.type) +
               ", \"declared\": " + std::to_string(r.declared) + ", \"installed\": " + std::to_string(r.installed) +
               ", \"difference\": " + std::to_string(r.difference) +
               ", \"overUsed\": " + (r.overUsed ? "true" : "false") + "}";
    });
    const std::string stale = JsonArray(report.notAudited, [](const SiteReportAsset& row) {
        return "{\"asset\": " + Count(row.asset) + ", \"name\": " + JsonText(row.name) + ", \"lastAudit\": " +
               (row.lastAudit.IsNever() ? std::string("null") : JsonText(IsoDateTime(row.lastAudit))) + "}";
    });
    std::cout << "{\"assets\": " << report.assets << ", \"categories\": " << JsonCounts(report.categories, "assets")
              << ", \"operatingSystems\": " << JsonCounts(report.operatingSystems, "assets")
              << ", \"applications\": " << applications
              << ", \"publishers\": " << JsonCounts(report.publishers, "installations")
              << ", \"licences\": " << licences << ", \"notAudited\": " << stale << "}\n";
}

}  // namespace

int RunOverview(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    if (const std::string problem = SplitWords(context.args, {{}, {}, 0, 0}, &words); !problem.empty())
        return UsageError(problem + "; usage: norvik report [--json]");
    CNorvikSql* db = context.OpenDatabaseToRead();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    const SiteReport report = BuildSiteReport(*db, CTime::GetCurrentTime());
    if (watch.Shown()) return kExitFailed;
    if (context.options.json)
        PrintJson(report);
    else
        PrintText(report);
    return kExitOk;
}

}  // namespace cli
