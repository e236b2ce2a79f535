// norvik import end to end on both engines: the project's fixtures, an unchanged second run, a
// damaged file among good ones, standard input, and the shared corpus of real agent inventories.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "import/inventory_reader.h"
#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

extern char** environ;

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

    const ToolResult second = Run({"--json", good[0], good[1], good[2]});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_EQ(second.err, "");
    EXPECT_EQ(second.out.find("\"status\": \"changed\""), std::string::npos) << second.out;
    EXPECT_EQ(second.out.find("\"status\": \"new\""), std::string::npos) << second.out;
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
    // The tool on the current scratch database, its standard output kept in `out`.
    auto start = [&] {
        std::vector<std::string> words{NORVIK_CLI_PATH, "--dsn", scratch_->ConnectionString(), "import",
                                       folder.string()};
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t pid = -1;
        EXPECT_EQ(posix_spawn(&pid, NORVIK_CLI_PATH, &actions, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    };
    auto wait = [](pid_t pid) {
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    const auto began = std::chrono::steady_clock::now();
    ASSERT_EQ(wait(start()), 0);
    const auto span = std::chrono::steady_clock::now() - began;
    ASSERT_EQ(Lines(Slurp(out)).size(), static_cast<std::size_t>(kMachines));

    std::mt19937 random(19);
    std::uniform_int_distribution<long> delay(0, std::chrono::duration_cast<std::chrono::microseconds>(span).count());
    int reportedInTotal = 0;
    for (int trial = 0; trial < 10; ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        db_.reset();
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        const pid_t pid = start();
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        kill(pid, SIGKILL);
        wait(pid);
        std::set<std::string> reported;
        for (const std::string& line : Lines(Slurp(out))) {
            EXPECT_NE(line.find(": new asset, 150 applications, "), std::string::npos) << line;
            reported.insert(line.substr(0, line.find(':')));
        }
        reportedInTotal += static_cast<int>(reported.size());
        // Every asset there, reported or committed just before the kill, is whole.
        std::map<std::string, ULong> present;
        {
            CSqlRecordset rs(&Db(), "select _NAME, _ID from ASSET");
            for (; !rs.IsEOF(); rs.MoveNext()) present[rs.TextAt(0).str()] = rs.NumberAt(1);
        }
        for (const auto& [name, asset] : present) {
            CSortList instances;
            EXPECT_EQ(Db().EnumApplicationInstances(asset, 0, instances, 0, 0), static_cast<ULong>(kSoftware)) << name;
            CHwList values;
            EXPECT_GT(Db().hwEnumAll(asset, values, 0), 0) << name;
        }
        for (const std::string& name : reported) EXPECT_TRUE(present.count(name)) << name;
    }
    RecordProperty("reported", reportedInTotal);
}

INSTANTIATE_TEST_SUITE_P(, ImportTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
