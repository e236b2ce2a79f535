// The console's pages and their JSON twins on both engines: what they show, that hostile texts
// from inventories are shown as text, the listing's search, filters, sorting and paging, the
// CSV download, and refusals (400, 404) where a request names what is not there.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <string>

#include "server/console_test.h"

namespace {

constexpr const char* kHostile = "<img src=x onerror=alert(1)>";
constexpr const char* kHostileShown = "&lt;img src=x onerror=alert(1)&gt;";

class ConsolePagesTest : public ConsoleTest {
protected:
    ULong Asset(const char* name, ULong location = 0) { return db_->AddAsset(name, location, 0, 0, CTime()); }
    void SetOs(ULong asset, const char* name) {
        const ULong category = db_->hwAdd(CNorvik::m_szOS, '|', CNorvik::kHwCategory);
        ASSERT_NE(db_->hwAdd(category, asset, 0x2, "Name", name), 0u);
    }
    ULong Install(ULong asset, const char* publisher, const char* name, const char* version) {
        const ULong app = db_->applicationAdd(publisher, name, 0);
        EXPECT_NE(db_->applicationAddInstance(asset, app, "", version, 0), 0u);
        return app;
    }
    rapidjson::Document Json(const std::string& path, std::vector<std::pair<std::string, std::string>> query = {}) {
        const HttpResponse response = Get(path, std::move(query));
        EXPECT_EQ(response.status, 200) << path << ": " << response.body;
        EXPECT_EQ(response.contentType, "application/json");
        rapidjson::Document document;
        document.Parse(response.body.c_str(), response.body.size());
        EXPECT_FALSE(document.HasParseError()) << response.body;
        return document;
    }
    // The names of a JSON listing's rows, in order.
    static std::vector<std::string> Names(const rapidjson::Value& rows) {
        std::vector<std::string> names;
        for (const auto& row : rows.GetArray()) names.push_back(row["name"].GetString());
        return names;
    }
};

TEST_P(ConsolePagesTest, EmptySiteTellsWhereToPointAnAgent) {
    for (const auto& [path, shown] : std::vector<std::pair<std::string, std::string>>{
             {"/", "No assets yet: point an agent at http://inventory.example:8080/"},
             {"/assets", "No assets yet: point an agent at http://inventory.example:8080/"},
             {"/applications", "No applications yet: point an agent at http://inventory.example:8080/"}}) {
        const HttpResponse page = Get(path);
        EXPECT_EQ(page.status, 200) << path;
        EXPECT_NE(Shown(page.body).find(shown), std::string::npos) << path;
    }
    // A search that finds nothing is not an empty site.
    EXPECT_NE(Get("/assets", {{"q", "nothing"}}).body.find("No asset matches."), std::string::npos);
}

TEST_P(ConsolePagesTest, HostileTextsAreShownAsTextOnEveryPage) {
    const ULong place = db_->locAdd(kHostile, 0, 0, CIPAddress(), CIPAddress());
    const ULong asset = Asset(kHostile, place);
    SetOs(asset, kHostile);
    const ULong app = Install(asset, kHostile, kHostile, kHostile);
    db_->SetAppLicence(app, static_cast<int>(db_->AddLicenceType("Per seat")), 0);
    ASSERT_NE(
        db_->historyAdd(asset, CTime::GetCurrentTime(), CNorvik::kHistAdded, 13, kHostile, kHostile, "", kHostile), 0u);
    ASSERT_NE(db_->notesAdd(CNorvik::noteComment, CNorvik::tableAsset, asset, 0, kHostile), 0u);
    ASSERT_NE(db_->userDataAdd(0, asset, "Owner", kHostile, CNorvik::kUserDataAsset, 0, CTime()), 0u);
    const std::string id = std::to_string(asset), appId = std::to_string(app);
    for (const std::string& path :
         std::vector<std::string>{"/", "/locations", "/assets", "/assets/" + id, "/applications",
                                  "/applications/" + appId, "/licences", "/history"}) {
        const HttpResponse page = Get(path);
        EXPECT_EQ(page.status, 200) << path;
        EXPECT_EQ(page.body.find("<img src=x"), std::string::npos) << path;
        EXPECT_NE(page.body.find(kHostileShown), std::string::npos) << path;
        EXPECT_EQ(page.body.find("onerror=alert(1)>"), std::string::npos) << path;
    }
    // The JSON twin carries the text as it is, inside a valid document.
    const rapidjson::Document detail = Json("/api/assets/" + id);
    EXPECT_STREQ(detail["name"].GetString(), kHostile);
    EXPECT_STREQ(detail["notes"][0].GetString(), kHostile);
    EXPECT_STREQ(detail["fields"]["Owner"].GetString(), kHostile);
}

TEST_P(ConsolePagesTest, EveryAnswerCarriesTheSafetyHeaders) {
    for (const char* path : {"/", "/assets", "/api/assets", "/assets/999", "/console/style.css"}) {
        const HttpResponse page = Get(path);
        const std::string policy = Header(page, "Content-Security-Policy");
        EXPECT_NE(policy.find("script-src 'self'"), std::string::npos) << path;
        EXPECT_EQ(policy.find("unsafe-inline"), std::string::npos) << path;
        EXPECT_EQ(Header(page, "X-Content-Type-Options"), "nosniff") << path;
    }
    EXPECT_EQ(Header(Get("/assets"), "Cache-Control"), "no-store");
    EXPECT_EQ(Get("/console/style.css").contentType, "text/css; charset=utf-8");
    // Templates are the console's own, not files to serve.
    EXPECT_EQ(Get("/console/layout.mustache").status, 404);
    // No page holds an inline script.
    const std::string overview = Get("/").body;
    EXPECT_NE(overview.find("<script src=\"/console/console.js\""), std::string::npos);
    EXPECT_EQ(overview.find("<script>"), std::string::npos);
}

TEST_P(ConsolePagesTest, SearchMatchesNameSerialMacAndAddressIgnoringCase) {
    Asset("Alpha-Laptop");
    const ULong beta = Asset("beta");
    const ULong gamma = Asset("gamma");
    const ULong delta = Asset("delta_100%");
    ASSERT_NE(db_->userDataAdd(0, beta, "Serial Number", "SN-XYZ-1", CNorvik::kUserDataAsset, 0, CTime()), 0u);
    ASSERT_EQ(db_->SetAssetMacAddr(gamma, "00:1A:2B:3C:4D:5E", 0, CTime()), 1);
    ASSERT_EQ(db_->SetAssetIPAddr(delta, CIPAddress(CString("10.1.2.3")), 0, CTime()), 1);
    const auto found = [this](const char* q) { return Names(Json("/api/assets", {{"q", q}})["assets"]); };
    EXPECT_EQ(found("laptop"), (std::vector<std::string>{"Alpha-Laptop"}));
    EXPECT_EQ(found("sn-xyz"), (std::vector<std::string>{"beta"}));
    EXPECT_EQ(found("3c:4d"), (std::vector<std::string>{"gamma"}));
    EXPECT_EQ(found("10.1.2"), (std::vector<std::string>{"delta_100%"}));
    // The pattern's own wildcards are plain characters.
    EXPECT_EQ(found("_100%"), (std::vector<std::string>{"delta_100%"}));
    EXPECT_EQ(found("%"), (std::vector<std::string>{"delta_100%"}));
    EXPECT_EQ(Json("/api/assets", {{"q", "a"}})["total"].GetUint(), 4u);
}

TEST_P(ConsolePagesTest, FiltersNarrowTheListingAndSortingOrdersIt) {
    const ULong office = db_->locAdd("Office", 0, 0, CIPAddress(), CIPAddress());
    const ULong lab = db_->locAdd("Lab", office, 0, CIPAddress(), CIPAddress());
    const ULong a = Asset("a-pc", office);
    const ULong b = Asset("b-pc", lab);
    const ULong c = Asset("c-pc");
    SetOs(a, "Debian GNU/Linux 12");
    SetOs(b, "Windows 11");
    SetOs(c, "windows 11");
    const CTime now = CTime::GetCurrentTime();
    db_->SetLastAuditDate(a, CTime(now.GetTime() - 3 * 86400));
    db_->SetLastAuditDate(b, CTime(now.GetTime() - 90 * 86400));
    const auto names = [this](std::vector<std::pair<std::string, std::string>> query) {
        return Names(Json("/api/assets", std::move(query))["assets"]);
    };
    EXPECT_EQ(names({{"location", std::to_string(office)}}), (std::vector<std::string>{"a-pc", "b-pc"}));
    EXPECT_EQ(names({{"location", std::to_string(lab)}}), (std::vector<std::string>{"b-pc"}));
    EXPECT_EQ(names({{"os", "WINDOWS 11"}}), (std::vector<std::string>{"b-pc", "c-pc"}));
    // Never audited counts as not audited.
    EXPECT_EQ(names({{"days", "30"}}), (std::vector<std::string>{"b-pc", "c-pc"}));
    EXPECT_EQ(names({{"sort", "name"}, {"dir", "desc"}}), (std::vector<std::string>{"c-pc", "b-pc", "a-pc"}));
    EXPECT_EQ(names({{"sort", "audit"}}), (std::vector<std::string>{"c-pc", "b-pc", "a-pc"}));
    EXPECT_EQ(names({{"sort", "location"}}), (std::vector<std::string>{"c-pc", "b-pc", "a-pc"}));
    const ULong laptops = db_->AddCategory("Laptops", 0);
    ASSERT_EQ(db_->SetBuiltInFieldValue(b, "Category", "Laptops", 0, CTime()), 1);
    EXPECT_EQ(names({{"category", std::to_string(laptops)}}), (std::vector<std::string>{"b-pc"}));
    EXPECT_NE(Get("/assets", {{"category", std::to_string(laptops)}})
                  .body.find("<option value=\"" + std::to_string(laptops) + "\" selected>Laptops</option>"),
              std::string::npos);
    // The page shows the location tree as a filter and its rows link to each asset.
    const std::string page = Get("/assets", {{"location", std::to_string(office)}}).body;
    EXPECT_NE(page.find("<option value=\"" + std::to_string(office) + "\" selected>Office</option>"),
              std::string::npos);
    EXPECT_NE(page.find("href=\"/assets/" + std::to_string(b) + "\""), std::string::npos);
    EXPECT_EQ(page.find("href=\"/assets/" + std::to_string(c) + "\""), std::string::npos);
    const std::string locations = Get("/locations").body;
    EXPECT_NE(locations.find("href=\"/assets?location=" + std::to_string(lab) + "\""), std::string::npos);
    const rapidjson::Document tree = Json("/api/locations");
    EXPECT_EQ(tree["locations"][0]["subtreeAssets"].GetUint(), 2u);
    EXPECT_EQ(tree["locations"][1]["subtreeAssets"].GetUint(), 1u);
}

TEST_P(ConsolePagesTest, ListingsArePagedWithTheirTotal) {
    for (int i = 0; i < 120; ++i) Asset(CString::Formatted("pc-%03d", i));
    const rapidjson::Document first = Json("/api/assets");
    EXPECT_EQ(first["total"].GetUint(), 120u);
    EXPECT_EQ(first["pages"].GetUint(), 3u);
    EXPECT_EQ(first["assets"].Size(), 50u);
    const rapidjson::Document last = Json("/api/assets", {{"page", "3"}});
    EXPECT_EQ(last["assets"].Size(), 20u);
    EXPECT_STREQ(last["assets"][19]["name"].GetString(), "pc-119");
    const std::string middle = Get("/assets", {{"page", "2"}}).body;
    EXPECT_NE(middle.find("51–100 of <strong>120</strong>"), std::string::npos);
    EXPECT_NE(Shown(middle).find("href=\"/assets?page=3\""), std::string::npos);
    EXPECT_NE(Shown(middle).find("href=\"/assets?page=1\""), std::string::npos);
    // Past the last page: not there. Not a page number: refused.
    EXPECT_EQ(Get("/assets", {{"page", "4"}}).status, 404);
    EXPECT_EQ(Get("/api/assets", {{"page", "4"}}).status, 404);
    for (const char* bad : {"0", "-1", "abc", "1.5", "99999999999", "2147483648", ""})
        EXPECT_EQ(Get("/assets", {{"page", bad}}).status, 400) << bad;
}

TEST_P(ConsolePagesTest, BadIdentifiersAndParametersAreRefusedNeverFailed) {
    Asset("pc");
    for (const char* path :
         {"/assets/abc", "/assets/0", "/assets/99999", "/assets/-1", "/assets/1x", "/assets/", "/applications/abc",
          "/applications/424242", "/api/assets/77", "/licences/1", "/locations/x", "/api/nothing", "/history/1"})
        EXPECT_EQ(Get(path).status, 404) << path;
    const std::string tooLong(kConsoleMaxSearch + 1, 'x');
    for (const auto& query : std::vector<std::pair<std::string, std::string>>{
             {"location", "x"}, {"category", "-3"}, {"days", "0"}, {"sort", "size"}, {"dir", "up"}, {"q", tooLong}})
        EXPECT_EQ(Get("/assets", {query}).status, 400) << query.first;
    EXPECT_EQ(Get("/history", {{"days", "x"}}).status, 400);
    EXPECT_EQ(Get("/history", {{"kind", "99"}}).status, 400);
    EXPECT_EQ(Get("/api/assets", {{"page", "0"}}).body, "{\"error\":\"Bad page: 0\"}");
    // Only the log-on pages take a post.
    const HttpResponse post = Ask("POST", "/assets");
    EXPECT_EQ(post.status, 405);
    EXPECT_EQ(Header(post, "Allow"), "GET, HEAD");
}

TEST_P(ConsolePagesTest, AgentsPathsAreLeftToTheServer) {
    EXPECT_FALSE(Takes("POST", "/"));
    EXPECT_FALSE(Takes("GET", "/", {{"action", "getConfig"}}));
    EXPECT_FALSE(Takes("GET", "/ocsinventory"));
    EXPECT_FALSE(Takes("GET", "/assetsx"));
    EXPECT_TRUE(Takes("GET", "/"));
    EXPECT_TRUE(Takes("GET", "/api/anything"));
}

TEST_P(ConsolePagesTest, AssetPageShowsItsApplicationsHardwareAndHistory) {
    const ULong office = db_->locAdd("Office", 0, 0, CIPAddress(), CIPAddress());
    const ULong pc = Asset("pc-1", office);
    SetOs(pc, "Debian GNU/Linux 12");
    const ULong cpu = db_->hwAdd("Hardware|Processor", '|', CNorvik::kHwCategory);
    ASSERT_NE(db_->hwAdd(cpu, pc, 0x2, "Model", "Ryzen 7"), 0u);
    ASSERT_NE(db_->hwAdd(cpu, pc, CNorvik::kHwShowMHz | 0x2, "Speed", "3600"), 0u);
    const ULong system = db_->hwAdd("System", '|', CNorvik::kHwCategory);
    ASSERT_NE(db_->hwAdd(system, pc, 0x2, "Device ID", "pc-1-2024-05-02"), 0u);
    const ULong editor = Install(pc, "Acme", "Editor", "2.1");
    db_->MergeFile(pc, db_->MergeFolder(pc, "Acme", 0), 0xAB, "editor.exe", 4096, 0, "", "", "", editor);
    const ULong other = Asset("pc-2", office);
    db_->applicationAddInstance(other, editor, "", "3.0", 0);
    const CTime when(2024, 5, 2, 10, 30, 0);
    ASSERT_NE(db_->historyAdd(pc, when, CNorvik::kHistAdded, 13, "Acme Editor", "", "", "anna"), 0u);
    ASSERT_NE(db_->ieHistAdd(pc, when, "example.org", 0), 0u);

    const std::string page = Shown(Get("/assets/" + std::to_string(pc)).body);
    for (const char* shown : {"<h1>pc-1</h1>", "Office", "Debian GNU/Linux 12", "Ryzen 7", "3600 MHz",
                              "Hardware&gt;Processor", ">Editor</a>", "2.1", "2024-05-02 10:30", "Added Acme Editor",
                              "anna", "Internet history", "<td class=\"date\">2024-05-02</td><td class=\"num\">1</td>",
                              "<dt>Device ID</dt><dd class=\"mono\">pc-1-2024-05-02</dd>", "Software files",
                              "<td>editor.exe</td><td class=\"num\">4\u2009096</td>"})
        EXPECT_NE(page.find(shown), std::string::npos) << shown;
    const rapidjson::Document detail = Json("/api/assets/" + std::to_string(pc));
    EXPECT_STREQ(detail["deviceId"].GetString(), "pc-1-2024-05-02");
    EXPECT_EQ(detail["files"]["total"].GetUint(), 1u);
    EXPECT_STREQ(detail["files"]["rows"][0]["folder"].GetString(), "Acme\\");
    EXPECT_STREQ(detail["files"]["rows"][0]["application"].GetString(), "Acme Editor");
    EXPECT_EQ(Get("/assets/" + std::to_string(pc), {{"files", "x"}}).status, 400);
    EXPECT_EQ(Get("/assets/" + std::to_string(pc), {{"files", "9"}}).status, 404);
    EXPECT_NE(page.find("href=\"/applications/" + std::to_string(editor) + "\""), std::string::npos);

    // The application's page: its versions and the assets holding it, each with its version.
    const rapidjson::Document app = Json("/api/applications/" + std::to_string(editor));
    EXPECT_STREQ(app["name"].GetString(), "Editor");
    EXPECT_EQ(app["versions"].Size(), 2u);
    EXPECT_EQ(app["assets"]["total"].GetUint(), 2u);
    EXPECT_STREQ(app["assets"]["rows"][1]["version"].GetString(), "3.0");
    const rapidjson::Document list = Json("/api/applications", {{"q", "acme"}});
    EXPECT_EQ(list["applications"][0]["installations"].GetUint(), 2u);
    const rapidjson::Document history = Json("/api/history", {{"days", "3650"}});
    EXPECT_EQ(history["total"].GetUint(), 1u);
    EXPECT_STREQ(history["changes"][0]["assetName"].GetString(), "pc-1");
}

TEST_P(ConsolePagesTest, CsvHoldsTheWholeSelectionWithFormulasDisarmed) {
    for (const char* name : {"=cmd|' /C calc'!A0", "+1", "-2", "@SUM(A1)", "plain \"quoted\""}) Asset(name);
    for (int i = 0; i < 60; ++i) Asset(CString::Formatted("bulk-%02d", i));
    const HttpResponse csv = Get("/assets.csv");
    EXPECT_EQ(csv.status, 200);
    EXPECT_EQ(csv.contentType, "text/csv; charset=utf-8");
    EXPECT_EQ(Header(csv, "Content-Disposition"), "attachment; filename=\"assets.csv\"");
    for (const char* cell :
         {"\"'=cmd|' /C calc'!A0\"", "\"'+1\"", "\"'-2\"", "\"'@SUM(A1)\"", "\"plain \"\"quoted\"\"\"", "\"bulk-59\""})
        EXPECT_NE(csv.body.find(cell), std::string::npos) << cell;
    // Every row of the selection, not one page: a header and 65 rows.
    std::size_t lines = 0;
    for (std::size_t at = csv.body.find("\r\n"); at != std::string::npos; at = csv.body.find("\r\n", at + 2)) ++lines;
    EXPECT_EQ(lines, 66u);
    const std::string selected = Get("/assets.csv", {{"q", "bulk-5"}}).body;
    EXPECT_EQ(std::count(selected.begin(), selected.end(), '\n'), 11);
}

TEST_P(ConsolePagesTest, OverviewDrawsItsChartsAndHighlightsOverUse) {
    const ULong a = Asset("a");
    const ULong b = Asset("b");
    SetOs(a, "Debian GNU/Linux 12");
    SetOs(b, "Debian GNU/Linux 12");
    const ULong suite = Install(a, "Acme", "Suite", "1");
    db_->applicationAddInstance(b, suite, "", "1", 0);
    const ULong perPc = db_->AddLicenceType("Per PC");
    db_->SetLicenceTypeFlag(perPc, CNorvik::kLicencePerPc, 1);
    db_->SetAppLicence(suite, static_cast<int>(perPc), 1);
    const std::string page = Get("/").body;
    EXPECT_NE(page.find("<svg"), std::string::npos);
    EXPECT_NE(page.find("Assets by operating system"), std::string::npos);
    EXPECT_NE(Shown(page).find("href=\"/assets?os=Debian%20GNU%2FLinux%2012\""), std::string::npos);
    EXPECT_NE(page.find("<tr class=\"over\"><td>Acme</td>"), std::string::npos);
    const rapidjson::Document licences = Json("/api/licences");
    EXPECT_TRUE(licences["licences"][0]["overUsed"].GetBool());
    EXPECT_EQ(licences["licences"][0]["difference"].GetInt(), -1);
}

TEST_P(ConsolePagesTest, ReadingPagesWritesNothing) {
    const ULong pc = Asset("pc");
    Install(pc, "Acme", "Editor", "1");
    CountUpdates("ASSET");
    for (const std::string& path :
         std::vector<std::string>{"/", "/assets", "/assets/" + std::to_string(pc), "/applications", "/licences",
                                  "/history", "/locations", "/assets.csv"})
        Get(path);
    EXPECT_EQ(CountedUpdates(), 0u);
}

NORVIK_ON_BOTH_ENGINES(ConsolePagesTest);

}  // namespace
