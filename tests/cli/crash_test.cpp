// The tool interrupted and raced: a Knowledge Base save and a location delete killed at random
// moments leave the old state or the new one, processes adding the same names at once leave
// one asset per name, and output that cannot be written fails the run.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"
#include "platform/file.h"
#include "support/db_tool_test.h"

namespace {

namespace fs = std::filesystem;

// A Knowledge Base of about 30,000 known files, every two sharing a CRC, so that check-common
// marks them all and saves a file of some megabytes.
fs::path BuildLargeKb(const fs::path& dir) {
    const fs::path csv = dir / "csv";
    fs::create_directories(csv);
    for (const auto& entry : fs::directory_iterator(NORVIK_TEST_DATA_DIR "/kb"))
        if (entry.path().extension() == ".csv") fs::copy_file(entry.path(), csv / entry.path().filename());
    std::ofstream files(csv / "files.csv", std::ios::app);
    for (int i = 0; i < 30000; ++i)
        files << "Quillsoft,Scribe,7.2,part" << i << ".dll," << 1000 + i << ",0," << 1000000 + i / 2 << ",,0\n";
    files.close();
    const fs::path kb = dir / "large.kb";
    const ToolResult built = RunTool(dir, {"kb", "build", kb.string(), "--from", csv.string()});
    EXPECT_EQ(built.exitCode, 0) << built.err;
    return kb;
}

// Whether `path` reads as a table file.
bool Loads(const fs::path& path) {
    try {
        CFile file(path.c_str(), CFile::modeRead);
        CArchive ar(file, CArchive::load);
        CTableDatabase db;
        db.Serialize(ar);
        return db.FindTable("SYSFILE") >= 0;
    } catch (const CException&) {
        return false;
    }
}

TEST(KbCrash, SaveKilledAtRandomMomentsLeavesTheOldFileOrTheNew) {
    ToolDir dir("norvik_kb_crash");
    const fs::path original = BuildLargeKb(dir.path);
    const fs::path work = dir.path / "work.kb";
    fs::copy_file(original, work);
    const auto span = TimedRun({"kb", "check-common", work.string()});
    const std::string before = Slurp(original);
    const std::string after = Slurp(work);
    ASSERT_NE(before, after) << "check-common must change the file for the trial to mean anything";

    std::mt19937 random(13);
    for (int trial = 0; trial < 20; ++trial) {
        fs::copy_file(original, work, fs::copy_options::overwrite_existing);
        KilledOrFinished({"kb", "check-common", work.string()}, span, random);
        const std::string now = Slurp(work);
        EXPECT_TRUE(now == before || now == after) << "trial " << trial << ": " << now.size() << " bytes";
        EXPECT_TRUE(Loads(work)) << "trial " << trial;
    }
}

class DbCrash : public DbTool {
protected:
    // Counted on a fresh connection, so that it sees other processes' work.
    ULong Count(const char* statement) {
        db_.reset();
        return Number(statement);
    }
};

TEST_P(DbCrash, LocationDeleteKilledAtRandomMomentsLeavesAllOrNothing) {
    // TOP with 40 branches of two levels, an asset in each lower location: 81 locations.
    int round = 0;
    auto seed = [this, &round] {
        db_.reset();
        CNorvikSql& db = Db();
        ++round;
        for (int branch = 0; branch < 40; ++branch) {
            const ULong low = db.locAddFull(("TOP;Branch " + std::to_string(branch) + ";Room").c_str());
            ASSERT_NE(low, 0u);
            const std::string name = "PC-" + std::to_string(round) + "-" + std::to_string(branch);
            ASSERT_NE(db.AddAsset(name.c_str(), low, 0, 0, CTime::GetCurrentTime()), 0u);
        }
    };
    seed();
    const ULong all = Count("select count(*) from LOCDATA");
    ASSERT_EQ(all, 81u);
    const auto span = TimedRun(On({"location", "delete", "TOP"}));
    ASSERT_EQ(Count("select count(*) from LOCDATA"), 0u);
    seed();

    std::mt19937 random(40);
    for (int trial = 0; trial < 10; ++trial) {
        KilledOrFinished(On({"location", "delete", "TOP"}), span, random);
        const ULong left = Count("select count(*) from LOCDATA");
        EXPECT_TRUE(left == 0 || left == all) << "trial " << trial << ": " << left << " locations left";
        EXPECT_EQ(Count("select count(*) from ASSET where _LOCATION <> 0"), left == 0 ? 0u : 40u);
        if (left == 0) seed();
    }
}

// Four shells at once each run the tool with `verb` followed by "SAME-1" to "SAME-12" in turn;
// every name leaves one row of `table` (named in `column`), and every run prints its id, whether
// it inserted the row or found it. NORVIK_RACE_NAMES asks for a longer race (100 to measure).
TEST_P(DbCrash, ConcurrentAddsOfTheSameNamesLeaveOneRowPerName) {
    const char* names = std::getenv("NORVIK_RACE_NAMES");
    const int count = names && std::atoi(names) > 0 ? std::atoi(names) : 12;
    const struct {
        const char *verb, *table, *column;
    } races[] = {{"asset add", "ASSET", "_NAME"}, {"app add Racer", "APPS", "_APP"}};
    for (const auto& race : races) {
        SCOPED_TRACE(race.verb);
        std::string command;
        for (int process = 0; process < 4; ++process) {
            command.append("(for i in $(seq 1 ").append(std::to_string(count)).append("); do '" NORVIK_CLI_PATH "' ");
            command.append("--dsn '").append(scratch_->ConnectionString()).append("' ").append(race.verb);
            command.append(" SAME-$i; done >'").append((dir_.path / std::to_string(process)).string());
            command.append("' 2>&1) & ");
        }
        ASSERT_EQ(std::system((command + "wait").c_str()), 0);
        const std::string table = race.table, column = race.column;
        EXPECT_EQ(Count(("select count(*) from " + table + " where " + column + " like 'SAME-%'").c_str()),
                  static_cast<ULong>(count));
        std::vector<std::string> ids;
        for (int i = 1; i <= count; ++i) {
            const std::string where = " where " + column + "='SAME-" + std::to_string(i) + "'";
            ids.push_back(std::to_string(Number(("select _ID from " + table + where).c_str())));
        }
        for (int process = 0; process < 4; ++process) {
            std::ifstream in(dir_.path / std::to_string(process));
            int line = 0;
            for (std::string text; std::getline(in, text); ++line) {
                ASSERT_LT(line, count) << text;
                const std::string& id = ids[line];
                const std::string added = id + "  SAME-" + std::to_string(line + 1);
                EXPECT_TRUE(text == id || text == added || text.find("(id " + id + ")") != std::string::npos)
                    << "process " << process << ": " << text;
            }
            EXPECT_EQ(line, count) << "process " << process;
        }
    }
}

TEST_P(DbCrash, OutputThatCannotBeWrittenFailsTheRun) {
    const std::string tool = std::string("'") + NORVIK_CLI_PATH + "' --dsn '" + scratch_->ConnectionString() + "' ";
    for (const char* redirect : {" >/dev/full 2>/dev/null", " >&- 2>/dev/null"}) {
        const int status = std::system((tool + "asset list" + redirect).c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << redirect;
    }
}

NORVIK_ON_BOTH_ENGINES(DbCrash);

}  // namespace
