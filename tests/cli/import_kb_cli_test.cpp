// norvik import with a Knowledge Base and the licence check that ends every run, on both engines:
// applications recognised among an inventory's files, the catalogue answered by the Knowledge
// Base, unchanged re-imports, and over-use alerts raised once and counted in the summary.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

namespace fs = std::filesystem;

// An inventory of `host` (a laptop of a make the sample Knowledge Base knows) with `software`
// written as the XML entries it is given in.
std::string InventoryXml(const std::string& host, const std::string& software) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<REQUEST><CONTENT>\n"
           "<HARDWARE><NAME>" +
           host +
           "</NAME><CHASSIS_TYPE>Laptop</CHASSIS_TYPE></HARDWARE>\n"
           "<BIOS><SMANUFACTURER>Alderwood Systems</SMANUFACTURER></BIOS>\n" +
           software + "</CONTENT></REQUEST>\n";
}

const char kRuntimeEntry[] =
    "<SOFTWARES><NAME>larch-runtime</NAME><VERSION>4.0.2</VERSION><FOLDER>C:\\Larch</FOLDER>"
    "<FILENAME>bin\\larchrt.dll</FILENAME><FILESIZE>52000</FILESIZE></SOFTWARES>\n";
const char kEditorEntry[] =
    "<SOFTWARES><NAME>Editor</NAME><PUBLISHER>Acme</PUBLISHER><VERSION>2</VERSION></SOFTWARES>\n";

class ImportKbTool : public ::testing::TestWithParam<Engine> {
protected:
    void TearDown() override { db_.reset(); }
    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_.path, args);
    }
    std::string Write(const std::string& name, const std::string& text) {
        const fs::path path = dir_.path / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
    ULong Number(const std::string& statement) {
        if (!db_) {
            db_ = std::make_unique<CNorvikSql>(kb_);
            EXPECT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        }
        CSqlRecordset rs(db_.get(), statement.c_str());
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    }

    ToolDir dir_{"norvik_import_kb_cli"};
    std::unique_ptr<ScratchDatabase> scratch_ = std::make_unique<ScratchDatabase>(GetParam());
    CAuditDBSys kb_;
    std::unique_ptr<CNorvikSql> db_;
};

TEST_P(ImportKbTool, KnowledgeBaseRecognisesFilesAndAnswersForTheCatalogueAndReimportIsUnchanged) {
    const std::string kb = (dir_.path / "sample.kb").string();
    ASSERT_EQ(Run({"kb", "build", kb, "--from", NORVIK_TEST_DATA_DIR "/kb"}).exitCode, 0);
    const std::string pc = Write("pc.xml", InventoryXml("PC-KB", kRuntimeEntry));

    const ToolResult first = Run({"import", "--kb", kb, pc});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(first.out,
              "PC-KB: new asset, 2 applications, 2 hardware values\n"
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
    EXPECT_EQ(again.out, "PC-KB: unchanged\nLicences: 0 over-used applications, 0 new alerts\n") << again.err;
    EXPECT_EQ(Number("select count(*) from HISTORY"), 2u) << "the initial audit and one re-audit";

    // Without a Knowledge Base the same category becomes a site entry.
    ASSERT_EQ(Run({"import", Write("other.xml", InventoryXml("PC-SITE", kRuntimeEntry))}).exitCode, 0);
    EXPECT_EQ(Number("select count(*) from CAT where _NAME='Laptop'"), 1u);

    ExpectRefused(Run({"import", "--kb", (dir_.path / "none.kb").string(), pc}), 1, "cannot read the Knowledge Base");
    ExpectRefused(Run({"import", pc, "--kb"}), 2);
}

TEST_P(ImportKbTool, OverUseCheckRunsOnceAfterTheFilesAndCountsItsAlertsInTheSummary) {
    const std::vector<std::string> files = {Write("a.xml", InventoryXml("PC-A", kEditorEntry)),
                                            Write("b.xml", InventoryXml("PC-B", kEditorEntry))};
    ASSERT_EQ(Run({"import", files[0], files[1]}).exitCode, 0);
    ASSERT_EQ(Run({"licence", "type", "add", "Seat", "--per-pc"}).exitCode, 0);
    ASSERT_EQ(Run({"licence", "set", "Acme Editor", "--type", "Seat", "--count", "1"}).exitCode, 0);

    const ToolResult run = Run({"import", files[0], files[1]});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "PC-A: unchanged\nPC-B: unchanged\nLicences: 1 over-used application, 1 new alert\n");
    EXPECT_EQ(Number("select count(*) from LICALERTS"), 1u);

    const ToolResult json = Run({"--json", "import", files[0]});
    EXPECT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(json.out.rfind("{\"inventories\": [{\"file\": ", 0), 0u) << json.out;
    EXPECT_TRUE(json.out.ends_with("}],\n \"overUsedApplications\": 1, \"licenceAlerts\": 0}\n")) << json.out;
    EXPECT_EQ(Number("select count(*) from LICALERTS"), 1u) << "an application is alerted once";
}

INSTANTIATE_TEST_SUITE_P(, ImportKbTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
