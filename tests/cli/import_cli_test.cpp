// norvik import end to end on both engines: the project's fixtures, an unchanged second run, a
// damaged file among good ones, standard input, kills, the Knowledge Base and concurrent importers.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/db_tool_test.h"

namespace {

namespace fs = std::filesystem;

const fs::path kFixtures = fs::path(NORVIK_TEST_DATA_DIR) / "inventories";

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

class ImportTool : public DbTool {
protected:
    ToolResult Import(std::vector<std::string> args) {
        args.insert(args.begin(), "import");
        return Run(args);
    }
    ULong Count(const char* table) { return Number(std::string("select count(*) from ") + table); }
};

TEST_P(ImportTool, FixturesImportThenReportUnchangedAndDamagedFilesChangeNothing) {
    const std::vector<std::string> good = {(kFixtures / "workstation.xml").string(),
                                           (kFixtures / "laptop.json").string(),
                                           (kFixtures / "placeholders.ocs").string()};
    ToolResult first = Import({good[0], (kFixtures / "truncated.xml").string(), good[1], good[2]});
    EXPECT_EQ(first.exitCode, 1);
    EXPECT_EQ(LineCount(first.err), 1) << first.err;
    EXPECT_NE(first.err.find("truncated.xml: line "), std::string::npos) << first.err;
    EXPECT_NE(first.err.find(", column "), std::string::npos) << first.err;
    std::vector<std::string> lines = Lines(first.out);
    ASSERT_EQ(lines.size(), 4u) << first.out;
    EXPECT_EQ(lines.back(), "Licences: 0 over-used applications, 0 new alerts");
    lines.pop_back();
    for (const std::string& line : lines) EXPECT_NE(line.find(": new asset, "), std::string::npos) << line;
    EXPECT_EQ(lines[0].rfind("WS-ALPHA: new asset, ", 0), 0u) << lines[0];
    EXPECT_EQ(Count("ASSET"), 3u);

    const ToolResult second = Import({"--json", good[0], good[1], good[2]});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_EQ(second.err, "");
    EXPECT_EQ(second.out.find("\"status\": \"changed\""), std::string::npos) << second.out;
    EXPECT_EQ(second.out.find("\"status\": \"new\""), std::string::npos) << second.out;
    const ToolResult third = Import({kFixtures.string()});  // the folder: the truncated files fail again
    EXPECT_EQ(third.exitCode, 1);
    EXPECT_EQ(LineCount(third.err), 2) << third.err;
    for (const std::string& line : Lines(third.out))
        if (line.starts_with("WS-") || line.starts_with("LAPTOP-7: ") || line.starts_with("OCS-NODE: ")) {
            EXPECT_TRUE(line.find(": unchanged; matched by ") != std::string::npos ||
                        line.find(", renamed from ") != std::string::npos)
                << line;
        }
}

TEST_P(ImportTool, EachLineNamesTheRuleThatFoundItsAssetAndAssetsNameTheirKind) {
    const ToolResult run =
        Import({(kFixtures / "agent1-desktop.xml").string(), (kFixtures / "agent1-laptop.xml").string(),
                (kFixtures / "agent1-desktop-renamed.xml").string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::vector<std::string> lines = Lines(run.out);
    ASSERT_EQ(lines.size(), 4u) << run.out;
    EXPECT_TRUE(lines[0].starts_with("agent1: new asset, 1 application, ")) << lines[0];
    EXPECT_TRUE(lines[0].ends_with(" hardware values; no machine matched")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("agent1 (2): new asset, ")) << lines[1];
    EXPECT_TRUE(
        lines[1].ends_with("; no machine matched: the asset agent1 is another machine (serial number "
                           "CZC0001DSK, not FBK-77-LAP)"))
        << lines[1];
    EXPECT_TRUE(lines[2].starts_with("reception-pc: ")) << lines[2];
    EXPECT_TRUE(lines[2].ends_with(", renamed from agent1; matched by device id")) << lines[2];

    const ToolResult json = Import({"--json", (kFixtures / "agent1-laptop.xml").string()});
    EXPECT_NE(json.out.find("\"name\": \"agent1 (2)\", \"asset\": 2, \"matchedBy\": \"deviceId\", \"partial\": false"),
              std::string::npos)
        << json.out;

    const std::string list = Ok({"asset", "list"});
    EXPECT_NE(list.find("agent1 (2)    laptop "), std::string::npos) << list;
    EXPECT_NE(list.find("reception-pc  computer "), std::string::npos) << list;
    EXPECT_EQ(Ok({"asset", "count", "--filtered"}), "2\n");
}

TEST_P(ImportTool, ReadsStandardInputAndRefusesMissingPathsAndBadWords) {
    const ToolResult missing = Import({(dir_.path / "nowhere.xml").string()});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("nowhere.xml: no such file or folder"), std::string::npos);
    EXPECT_EQ(Import({"--bogus", "x"}).exitCode, 2);
    EXPECT_EQ(Import({}).exitCode, 2);
    const ToolResult piped = RunToolWithInput(dir_.path, On({"import", "-"}), Slurp(kFixtures / "laptop.json"));
    EXPECT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_NE(piped.out.find(": new asset, "), std::string::npos) << piped.out;
}

// Killed at random moments, an import of a folder leaves a database that opens and holds every
// inventory the tool had reported done, each one whole: each is one transaction.
TEST_P(ImportTool, KilledAtRandomMomentsKeepsEveryReportedInventoryWhole) {
    const fs::path folder = dir_.path / "fleet";
    fs::create_directories(folder);
    constexpr int kMachines = 12, kSoftware = 150;
    for (int machine = 0; machine < kMachines; ++machine) {
        std::string xml = "<REQUEST><CONTENT><HARDWARE><NAME>KILL-" + std::to_string(machine) +
                          "</NAME><OSNAME>Linux</OSNAME><MEMORY>4096</MEMORY></HARDWARE>";
        for (int i = 0; i < kSoftware; ++i)
            xml += "<SOFTWARES><NAME>tool " + std::to_string(i) + "</NAME><PUBLISHER>Pub " + std::to_string(i % 7) +
                   "</PUBLISHER><VERSION>" + std::to_string(machine) + "</VERSION></SOFTWARES>";
        std::ofstream(folder / ("m" + std::to_string(100 + machine) + ".xml"))
            << xml << "</CONTENT><QUERY>INVENTORY</QUERY></REQUEST>";
    }
    const fs::path out = dir_.path / "import.out";
    const auto span = TimedRun(On({"import", folder.string()}), out.string());
    ASSERT_EQ(Lines(Slurp(out)).size(), static_cast<std::size_t>(kMachines) + 1);  // and the licence summary

    std::mt19937 random(19);
    for (int trial = 0; trial < 10; ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        db_.reset();
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        KilledOrFinished(On({"import", folder.string()}), span, random, out.string());
        std::set<std::string> reported;
        for (const std::string& line : Lines(Slurp(out))) {
            if (line.starts_with("Licences: ")) continue;
            EXPECT_NE(line.find(": new asset, 150 applications, "), std::string::npos) << line;
            reported.insert(line.substr(0, line.find(':')));
        }
        // Every asset there, reported or committed just before the kill, is whole.
        std::map<std::string, ULong> present;
        for (CSqlRecordset rs(&Db(), "select _NAME, _ID from ASSET"); !rs.IsEOF(); rs.MoveNext())
            present[rs.TextAt(0).str()] = rs.NumberAt(1);
        for (const auto& [name, asset] : present) {
            CSortList instances;
            EXPECT_EQ(Db().EnumApplicationInstances(asset, 0, instances, 0, 0), static_cast<ULong>(kSoftware)) << name;
            CHwList values;
            EXPECT_GT(Db().hwEnumAll(asset, values, 0), 0) << name;
        }
        for (const std::string& name : reported) EXPECT_TRUE(present.count(name)) << name;
    }
}

// An inventory of `host` (a laptop of a make the sample Knowledge Base knows) with `software`
// written as the XML entries it is given in.
std::string InventoryXml(const std::string& host, const std::string& software) {
    return "<REQUEST><CONTENT><HARDWARE><NAME>" + host + "</NAME><CHASSIS_TYPE>Laptop</CHASSIS_TYPE></HARDWARE>" +
           "<BIOS><SMANUFACTURER>Alderwood Systems</SMANUFACTURER></BIOS>" + software + "</CONTENT></REQUEST>";
}

const char kRuntimeEntry[] =
    "<SOFTWARES><NAME>larch-runtime</NAME><VERSION>4.0.2</VERSION><FOLDER>C:\\Larch</"
    "FOLDER><FILENAME>bin\\larchrt.dll</FILENAME><FILESIZE>52000</FILESIZE></SOFTWARES>\n";
const char kEditorEntry[] =
    "<SOFTWARES><NAME>Editor</NAME><PUBLISHER>Acme</PUBLISHER><VERSION>2</VERSION></SOFTWARES>\n";

TEST_P(ImportTool, KnowledgeBaseRecognisesFilesAndAnswersForTheCatalogueAndReimportIsUnchanged) {
    const std::string kb = (dir_.path / "sample.kb").string();
    ASSERT_EQ(Run({"kb", "build", kb, "--from", NORVIK_TEST_DATA_DIR "/kb"}).exitCode, 0);
    const std::string pc = WriteFile(dir_.path / "pc.xml", InventoryXml("PC-KB", kRuntimeEntry));

    const ToolResult first = Run({"import", "--kb", kb, pc});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(first.out,
              "PC-KB: new asset, 2 applications, 2 hardware values; no machine matched\n"
              "Licences: 0 over-used applications, 0 new alerts\n");
    // The runtime's key file names the Knowledge Base's product, publisher and version.
    const ULong recognised = Number("select _ID from APPS where _MFR='Larch Labs' and _APP='Runtime'");
    ASSERT_NE(recognised, 0u);
    EXPECT_EQ(Number("select count(*) from APPINST where _APP=" + std::to_string(recognised) + " and _VERSION='4.0'"),
              1u);
    EXPECT_EQ(Number("select _APPID from SWFILE where _NAME='larchrt.dll'"), recognised);
    // Category and make are the Knowledge Base's: no site entry is made for them.
    EXPECT_EQ(Number("select count(*) from CAT"), 0u);
    EXPECT_EQ(Number("select count(*) from MAKE"), 0u);
    const ULong category = Number("select _CAT from ASSET");
    EXPECT_NE(category, 0u);
    EXPECT_LT(category, 0xFFFFu);

    const ToolResult again = Run({"import", "--kb", kb, pc});
    EXPECT_EQ(again.out, "PC-KB: unchanged; matched by host name\nLicences: 0 over-used applications, 0 new alerts\n")
        << again.err;
    EXPECT_EQ(Number("select count(*) from HISTORY"), 2u) << "the initial audit and one re-audit";

    // Without a Knowledge Base the same category becomes a site entry.
    ASSERT_EQ(Run({"import", WriteFile(dir_.path / "other.xml", InventoryXml("PC-SITE", kRuntimeEntry))}).exitCode, 0);
    EXPECT_EQ(Number("select count(*) from CAT where _NAME='Laptop'"), 1u);

    ExpectRefused(Run({"import", "--kb", (dir_.path / "none.kb").string(), pc}), 1, "cannot read the Knowledge Base");
    ExpectRefused(Run({"import", pc, "--kb"}), 2);
}

TEST_P(ImportTool, OverUseCheckRunsOnceAfterTheFilesAndCountsItsAlertsInTheSummary) {
    const std::vector<std::string> files = {WriteFile(dir_.path / "a.xml", InventoryXml("PC-A", kEditorEntry)),
                                            WriteFile(dir_.path / "b.xml", InventoryXml("PC-B", kEditorEntry))};
    ASSERT_EQ(Run({"import", files[0], files[1]}).exitCode, 0);
    ASSERT_EQ(Run({"licence", "type", "add", "Seat", "--per-pc"}).exitCode, 0);
    ASSERT_EQ(Run({"licence", "set", "Acme Editor", "--type", "Seat", "--count", "1"}).exitCode, 0);

    const ToolResult run = Run({"import", files[0], files[1]});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "PC-A: unchanged; matched by host name\nPC-B: unchanged; matched by host name\n"
              "Licences: 1 over-used application, 1 new alert\n");
    EXPECT_EQ(Number("select count(*) from LICALERTS"), 1u);

    const ToolResult json = Run({"--json", "import", files[0]});
    EXPECT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(json.out.rfind("{\"inventories\": [{\"file\": ", 0), 0u) << json.out;
    EXPECT_TRUE(json.out.ends_with("}],\n \"overUsedApplications\": 1, \"licenceAlerts\": 0}\n")) << json.out;
    EXPECT_EQ(Number("select count(*) from LICALERTS"), 1u) << "an application is alerted once";
}

// Four importers at once, each with its own machines: the engine makes writers wait for one
// another, so none fails as locked or busy, and every machine is there once, whole.
TEST_P(ImportTool, FourImportersAtOnceLoseAndDuplicateNothing) {
    constexpr int kWriters = 4, kMachines = 10, kSoftware = 60;
    std::vector<std::string> folders;
    for (int writer = 0; writer < kWriters; ++writer) {
        const fs::path folder = dir_.path / ("writer" + std::to_string(writer));
        fs::create_directories(folder);
        for (int machine = 0; machine < kMachines; ++machine) {
            const std::string host = "PC-" + std::to_string(writer) + "-" + std::to_string(machine);
            std::string xml = "<REQUEST><DEVICEID>" + host + "-id</DEVICEID><CONTENT><HARDWARE><NAME>" + host +
                              "</NAME><MEMORY>8192</MEMORY></HARDWARE><BIOS><SSN>SN-" + host +
                              "</SSN><SMANUFACTURER>Contoso</SMANUFACTURER><SMODEL>Desk</SMODEL></BIOS>";
            // The same applications everywhere, so that the writers add the same new names.
            for (int i = 0; i < kSoftware; ++i)
                xml += "<SOFTWARES><NAME>package-" + std::to_string(i) + "</NAME><PUBLISHER>Publisher " +
                       std::to_string(i % 7) + "</PUBLISHER><VERSION>1." + std::to_string(machine) +
                       "</VERSION></SOFTWARES>";
            WriteFile(folder / (host + ".xml"), xml + "</CONTENT><QUERY>INVENTORY</QUERY></REQUEST>");
        }
        folders.push_back(folder.string());
    }
    std::vector<pid_t> writers;
    for (int writer = 0; writer < kWriters; ++writer)
        writers.push_back(StartTool(On({"import", "--json", folders[writer]}),
                                    (dir_.path / ("out" + std::to_string(writer))).string()));
    for (int writer = 0; writer < kWriters; ++writer) {
        EXPECT_EQ(WaitTool(writers[writer]), 0) << "writer " << writer;
        const std::string out = Slurp(dir_.path / ("out" + std::to_string(writer)));
        EXPECT_EQ(out.find("\"failed\""), std::string::npos) << out;
    }
    EXPECT_EQ(Count("ASSET"), static_cast<ULong>(kWriters * kMachines));
    EXPECT_EQ(Number("select count(distinct _NAME) from ASSET"), static_cast<ULong>(kWriters * kMachines));
    EXPECT_EQ(Count("APPS"), static_cast<ULong>(kSoftware));
    EXPECT_EQ(Count("APPINST"), static_cast<ULong>(kWriters * kMachines * kSoftware));
    EXPECT_EQ(Number("select count(*) from (select _ASSET from APPINST group by _ASSET having count(*) <> " +
                     std::to_string(kSoftware) + ") A"),
              0u);
}

NORVIK_ON_BOTH_ENGINES(ImportTool);

}  // namespace
