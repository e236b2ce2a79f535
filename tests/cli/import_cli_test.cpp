// norvik import end to end on both engines: the project's fixtures, an unchanged second run, a
// damaged file among good ones, standard input, and the shared corpus of real agent inventories.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "import/inventory_reader.h"
#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

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

class ImportTool : public ::testing::TestWithParam<Engine> {
protected:
    void TearDown() override { db_.reset(); }
    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString(), "import"});
        return RunTool(dir_.path, args);
    }
    CNorvikSql& Db() {
        if (!db_) {
            db_ = std::make_unique<CNorvikSql>(kb_);
            EXPECT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        }
        return *db_;
    }
    ULong Count(const char* table) {
        CSqlRecordset rs(&Db(), CString::Formatted("select count(*) from %s", table));
        return rs.NumberAt(0);
    }

    ToolDir dir_{"norvik_import_cli"};
    std::unique_ptr<ScratchDatabase> scratch_ = std::make_unique<ScratchDatabase>(GetParam());
    CAuditDBSys kb_;
    std::unique_ptr<CNorvikSql> db_;
};

TEST_P(ImportTool, FixturesImportThenReportUnchangedAndDamagedFilesChangeNothing) {
    const std::vector<std::string> good = {(kFixtures / "workstation.xml").string(),
                                           (kFixtures / "laptop.json").string(),
                                           (kFixtures / "placeholders.ocs").string()};
    ToolResult first = Run({good[0], (kFixtures / "truncated.xml").string(), good[1], good[2]});
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

    const ULong history = Count("HISTORY"), instances = Count("APPINST");
    const ToolResult second = Run({"--json", good[0], good[1], good[2]});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_EQ(second.err, "");
    EXPECT_EQ(second.out.find("\"status\": \"changed\""), std::string::npos) << second.out;
    EXPECT_EQ(second.out.find("\"status\": \"new\""), std::string::npos) << second.out;
    EXPECT_EQ(Count("HISTORY"), history + 3);
    EXPECT_EQ(Count("APPINST"), instances);
    const ToolResult third = Run({kFixtures.string()});  // the folder: the truncated files fail again
    EXPECT_EQ(third.exitCode, 1);
    EXPECT_EQ(LineCount(third.err), 2) << third.err;
    for (const std::string& line : Lines(third.out))
        EXPECT_TRUE(line.ends_with(": unchanged") || line.find(", renamed from ") != std::string::npos ||
                    line.starts_with("Licences: "))
            << line;
}

TEST_P(ImportTool, ReadsStandardInputAndRefusesMissingPathsAndBadWords) {
    const ToolResult missing = Run({(dir_.path / "nowhere.xml").string()});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("nowhere.xml: no such file or folder"), std::string::npos);
    EXPECT_EQ(Run({"--bogus", "x"}).exitCode, 2);
    EXPECT_EQ(Run({}).exitCode, 2);
    const std::string piped = (dir_.path / "piped.out").string();
    const std::string command = std::string("'") + NORVIK_CLI_PATH + "' --dsn '" + scratch_->ConnectionString() +
                                "' import - < '" + (kFixtures / "laptop.json").string() + "' > '" + piped + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_NE(Slurp(piped).find(": new asset, "), std::string::npos) << Slurp(piped);
}

// Two tool processes importing into one database at once both finish: a transaction the engine
// reports busy is tried again rather than failed.
TEST_P(ImportTool, TwoConcurrentImportsBothFinish) {
    const std::string tool =
        std::string("'") + NORVIK_CLI_PATH + "' --dsn '" + scratch_->ConnectionString() + "' import ";
    auto repeated = [&](const char* file) {
        std::string words;
        // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on "'" + text.
        for (int i = 0; i < 4; ++i) words.append("'").append((kFixtures / file).string()).append("' ");
        return words;
    };
    const fs::path one = dir_.path / "one.rc", two = dir_.path / "two.rc";
    const std::string command = "(" + tool + repeated("workstation.xml") + repeated("laptop.json") +
                                " >/dev/null; echo $? > '" + one.string() + "') & (" + tool +
                                repeated("placeholders.ocs") + " >/dev/null; echo $? > '" + two.string() + "') & wait";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(Slurp(one), "0\n");
    EXPECT_EQ(Slurp(two), "0\n");
    EXPECT_EQ(Count("ASSET"), 3u);
}

// Every file of the shared corpus on its own: each named software entry becomes an instance of
// the file's asset, and a second import reports "unchanged" and adds only its "Re-Audit" row.
TEST_P(ImportTool, EverySharedSampleImportsWithAllItsSoftwareAndReimportsUnchanged) {
    const fs::path folder = NORVIK_SHARED_INVENTORIES;
    if (!fs::is_directory(folder)) GTEST_SKIP() << "no sample inventories at " << folder.string();
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".xml" || extension == ".ocs" || extension == ".json") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.filename().string());
        Inventory inventory;
        std::string error;
        ASSERT_TRUE(ReadInventoryFile(file.string(), inventory, error)) << error;
        const ToolResult first = Run({file.string()});
        ASSERT_EQ(first.exitCode, 0) << first.err;
        db_.reset();  // a fresh connection sees what the tool committed
        const ULong asset = Db().FindAsset(CutToColumn(inventory.hostName, kImportColumnLimit).c_str(), 0, 1);
        ASSERT_NE(asset, 0u);
        CSortList list;
        Db().EnumApplicationInstances(asset, 0, list, 0, 0);
        std::set<std::string> installed;
        for (const CSortItem& item : list) installed.insert(item.text.str());
        for (const InventorySoftware& software : inventory.software) {
            if (software.name.empty()) continue;
            EXPECT_TRUE(installed.count(CutToColumn(software.name, kImportColumnLimit))) << software.name;
        }
        const ULong history = Count("HISTORY");
        db_.reset();
        const ToolResult second = Run({file.string()});
        EXPECT_EQ(second.exitCode, 0) << second.err;
        EXPECT_NE(second.out.find(": unchanged\nLicences: "), std::string::npos) << second.out;
        EXPECT_EQ(Count("HISTORY"), history + 1);
        db_.reset();
    }
}

INSTANTIATE_TEST_SUITE_P(, ImportTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
