// The tool interrupted and raced: a Knowledge Base save and a location delete killed at random
// moments leave the old state or the new one, processes adding the same names at once leave
// one asset per name, and output that cannot be written fails the run.
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
#include <string>
#include <thread>
#include <vector>

#include "kb/auditdbsys.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"
#include "platform/file.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The tool started with `args`, its output thrown away; its process id.
pid_t Start(const std::vector<std::string>& args) {
    std::vector<std::string> words{NORVIK_CLI_PATH};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(error, 0);
    return pid;
}

// Waits for `pid`; its exit code, or -1 when a signal ended it.
int Wait(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs `args` to the end and returns how long it took.
Clock::duration Timed(const std::vector<std::string>& args) {
    const auto start = Clock::now();
    EXPECT_EQ(Wait(Start(args)), 0);
    return Clock::now() - start;
}

// Starts `args`, kills it after a random part of `span` and says whether it had finished.
bool KilledOrFinished(const std::vector<std::string>& args, Clock::duration span, std::mt19937& random) {
    const pid_t pid = Start(args);
    std::uniform_int_distribution<long> delay(0, std::chrono::duration_cast<std::chrono::microseconds>(span).count());
    std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
    kill(pid, SIGKILL);
    return Wait(pid) == 0;
}

// ---- Knowledge Base saves ----

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
    const Clock::duration span = Timed({"kb", "check-common", work.string()});
    const std::string before = Slurp(original);
    const std::string after = Slurp(work);
    ASSERT_NE(before, after) << "check-common must change the file for the trial to mean anything";

    std::mt19937 random(13);
    int finished = 0;
    for (int trial = 0; trial < 20; ++trial) {
        fs::copy_file(original, work, fs::copy_options::overwrite_existing);
        if (KilledOrFinished({"kb", "check-common", work.string()}, span, random)) ++finished;
        const std::string now = Slurp(work);
        EXPECT_TRUE(now == before || now == after) << "trial " << trial << ": " << now.size() << " bytes";
        EXPECT_TRUE(Loads(work)) << "trial " << trial;
    }
    RecordProperty("finished", finished);
}

// ---- Database cascades and races, on both engines ----

class DbCrash : public ::testing::TestWithParam<Engine> {
protected:
    std::vector<std::string> Tool(std::vector<std::string> args) const {
        args.insert(args.begin(), {"--dsn", scratch_.ConnectionString()});
        return args;
    }
    // Opens the library on the scratch database (anew, so that it sees other processes' work).
    CNorvikSql& Db() {
        db_ = std::make_unique<CNorvikSql>(kb_);
        EXPECT_NE(db_->Open(scratch_.ConnectionString().c_str(), nullptr, 0x4), 0);
        return *db_;
    }
    ULong Count(const char* statement) {
        CSqlRecordset rs(&Db(), statement);
        return rs.NumberAt(0);
    }

    ScratchDatabase scratch_{GetParam()};
    CAuditDBSys kb_;
    std::unique_ptr<CNorvikSql> db_;
};

TEST_P(DbCrash, LocationDeleteKilledAtRandomMomentsLeavesAllOrNothing) {
    // TOP with 40 branches of two levels, an asset in each lower location: 81 locations.
    int round = 0;
    auto seed = [this, &round] {
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
    db_.reset();
    const Clock::duration span = Timed(Tool({"location", "delete", "TOP"}));
    ASSERT_EQ(Count("select count(*) from LOCDATA"), 0u);
    seed();

    std::mt19937 random(40);
    int whole = 0;
    int none = 0;
    for (int trial = 0; trial < 10; ++trial) {
        db_.reset();
        KilledOrFinished(Tool({"location", "delete", "TOP"}), span, random);
        const ULong left = Count("select count(*) from LOCDATA");
        EXPECT_TRUE(left == 0 || left == all) << "trial " << trial << ": " << left << " locations left";
        EXPECT_EQ(Count("select count(*) from ASSET where _LOCATION <> 0"), left == 0 ? 0u : 40u);
        if (left == 0) {
            ++whole;
            seed();
        } else {
            ++none;
        }
    }
    RecordProperty("deleted_whole", whole);
    RecordProperty("left_whole", none);
}

// Runs kRaceProcesses shells at once against the scratch database, each running the tool with
// `verb` followed by "SAME-1" to "SAME-<count>" in turn, and waits for all of them. What shell k
// printed is in dir/k.
constexpr int kRaceProcesses = 4;
void RaceSameNames(const std::string& dsn, const std::string& verb, int count, const fs::path& dir) {
    fs::create_directories(dir);
    std::vector<pid_t> runs;
    for (int process = 0; process < kRaceProcesses; ++process) {
        std::string script;
        for (int i = 1; i <= count; ++i) {
            script += "'" NORVIK_CLI_PATH "' --dsn \"$1\" " + verb + " SAME-" + std::to_string(i) + " >>'" +
                      (dir / std::to_string(process)).string() + "' 2>&1\n";
        }
        std::vector<std::string> words{"/bin/sh", "-c", script, "sh", dsn};
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        pid_t pid = -1;
        ASSERT_EQ(posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv.data(), environ), 0);
        runs.push_back(pid);
    }
    for (const pid_t pid : runs) Wait(pid);
}

TEST_P(DbCrash, ConcurrentAddsOfTheSameNamesLeaveOneAssetPerName) {
    // 12 names keep the suite quick; NORVIK_RACE_NAMES asks for a longer race (100 to measure).
    const char* names = std::getenv("NORVIK_RACE_NAMES");
    const int nameCount = names && std::atoi(names) > 0 ? std::atoi(names) : 12;
    const fs::path dir = fs::temp_directory_path() / ("norvik_race_" + std::to_string(getpid()));
    RaceSameNames(scratch_.ConnectionString(), "asset add", nameCount, dir);

    EXPECT_EQ(Count("select count(*) from ASSET where _NAME like 'SAME-%'"), static_cast<ULong>(nameCount));
    const ULong duplicated =
        Count("select count(*) from (select _NAME from ASSET group by _NAME having count(*) > 1) d");
    EXPECT_EQ(duplicated, 0u);
    RecordProperty("duplicated_names", static_cast<int>(duplicated));
    // Every process names, for every name, the one asset there is: added or found.
    std::map<std::string, ULong> ids;
    {
        CSqlRecordset rs(&Db(), "select _NAME,_ID from ASSET");
        for (; !rs.IsEOF(); rs.MoveNext()) ids[rs.TextAt(0).str()] = rs.NumberAt(1);
    }
    for (int process = 0; process < kRaceProcesses; ++process) {
        std::ifstream in(dir / std::to_string(process));
        std::string line;
        int reported = 0;
        while (std::getline(in, line)) {
            const std::size_t name = line.find("SAME-");
            ASSERT_NE(name, std::string::npos) << line;
            const std::string asset = line.substr(name, line.find_first_of("' ", name) - name);
            const std::string id = std::to_string(ids[asset]);
            EXPECT_TRUE(line.rfind(id + "  " + asset, 0) == 0 || line.find("(id " + id + ")") != std::string::npos)
                << line;
            ++reported;
        }
        EXPECT_EQ(reported, nameCount);
    }
    fs::remove_all(dir);
}

TEST_P(DbCrash, ConcurrentAppAddsOfTheSameNamesLeaveOneApplicationPerName) {
    // Every add of a name prints the one application's id, whether it inserted or found it.
    const char* names = std::getenv("NORVIK_RACE_NAMES");
    const int nameCount = names && std::atoi(names) > 0 ? std::atoi(names) : 12;
    const fs::path dir = fs::temp_directory_path() / ("norvik_app_race_" + std::to_string(getpid()));
    RaceSameNames(scratch_.ConnectionString(), "app add Racer", nameCount, dir);

    EXPECT_EQ(Count("select count(*) from APPS where _APP like 'SAME-%'"), static_cast<ULong>(nameCount));
    std::vector<std::string> ids;
    {
        CSqlRecordset rs(&Db(), "select _ID from APPS where _APP like 'SAME-%' order by _ID");
        for (; !rs.IsEOF(); rs.MoveNext()) ids.push_back(std::to_string(rs.NumberAt(0)));
    }
    for (int process = 0; process < kRaceProcesses; ++process) {
        std::ifstream in(dir / std::to_string(process));
        std::vector<std::string> printed;
        for (std::string line; std::getline(in, line);) printed.push_back(line);
        std::sort(printed.begin(), printed.end());
        std::vector<std::string> expected = ids;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(printed, expected) << "process " << process;
    }
    fs::remove_all(dir);
}

TEST_P(DbCrash, OutputThatCannotBeWrittenFailsTheRun) {
    const std::string tool = std::string("'") + NORVIK_CLI_PATH + "' --dsn '" + scratch_.ConnectionString() + "' ";
    for (const char* redirect : {" >/dev/full 2>/dev/null", " >&- 2>/dev/null"}) {
        const int status = std::system((tool + "asset list" + redirect).c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << redirect;
    }
    ToolDir dir("norvik_lost_output");
    const ToolResult listed = RunTool(dir.path, {"--dsn", scratch_.ConnectionString(), "asset", "list"});
    EXPECT_EQ(listed.exitCode, 0);
}

INSTANTIATE_TEST_SUITE_P(, DbCrash, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
