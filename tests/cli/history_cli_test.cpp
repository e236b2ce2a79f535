// norvik history on both engines: an asset's history as text, table and JSON, the purge, and
// the command-line errors.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

// Writes history the way the library's own families do.
class Seeder : public CNorvikSql {
public:
    using CNorvikSql::CNorvikSql;
    using CNorvikSql::historyAdd;
};

class HistoryTool : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_hist_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        seed_ = std::make_unique<Seeder>(kb_);
        ASSERT_NE(seed_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
    }
    void TearDown() override {
        seed_.reset();
        scratch_.reset();
        std::filesystem::remove_all(dir_);
    }

    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_, args);
    }

    // An asset with four changes over three audits.
    ULong SeedAsset(const char* quotedName) {
        const ULong asset = seed_->InsertRecord("ASSET", "_NAME", quotedName);
        seed_->historyAdd(asset, CTime(2009, 1, 10, 9, 30, 0), 1, 3, "pc", nullptr, nullptr, "setup");
        seed_->historyAdd(asset, CTime(2009, 2, 10, 9, 30, 0), 4, 3, "Name", "PC1", "PC2", "O'Neil");
        seed_->historyAdd(asset, CTime(2009, 3, 10, 9, 30, 0), 4, 2, nullptr, "A", "B", "me");
        seed_->historyAdd(asset, CTime(2009, 3, 10, 9, 30, 0), 1, 13, "Editor 100%", nullptr, nullptr, "me");
        return asset;
    }

    std::filesystem::path dir_;
    CAuditDBSys kb_;
    std::unique_ptr<ScratchDatabase> scratch_;
    std::unique_ptr<Seeder> seed_;
};

const char kLines[] =
    "2009-01-10 09:30:00  Initial Audit\n"
    "2009-02-10 09:30:00  Name changed from PC1 to PC2\n"
    "2009-03-10 09:30:00  Moved  from A to B\n"
    "2009-03-10 09:30:00  Added Editor 100%\n";

TEST_P(HistoryTool, ShowsTheHistoryByNameOrIdDateFirst) {
    const ULong asset = SeedAsset("'O''Neil''s caf\xE9'");
    const ToolResult byName = Run({"history", "O'Neil's caf\xE9"});
    EXPECT_EQ(byName.exitCode, 0) << byName.err;
    EXPECT_EQ(byName.out, kLines);
    const ToolResult byId = Run({"history", std::to_string(asset)});
    EXPECT_EQ(byId.out, kLines);
    EXPECT_EQ(byId.err, "");
}

TEST_P(HistoryTool, DetailsAndJsonCarryKeysValuesAndUsers) {
    SeedAsset("'pc'");
    const ToolResult details = Run({"history", "pc", "--details"});
    EXPECT_EQ(details.exitCode, 0) << details.err;
    EXPECT_EQ(LineCount(details.out), 5) << details.out;  // a header and four rows
    EXPECT_NE(details.out.find("O'Neil"), std::string::npos) << details.out;
    EXPECT_NE(details.out.find("PC1"), std::string::npos) << details.out;
    EXPECT_NE(details.out.find("Editor 100%"), std::string::npos) << details.out;

    const ToolResult json = Run({"--json", "history", "pc"});
    EXPECT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(json.out.rfind("{\"asset\": ", 0), 0u) << json.out;
    EXPECT_NE(json.out.find("\"date\": \"2009-03-10 09:30:00\", \"text\": \"Moved  from A to B\", \"operation\": "
                            "\"Changed\", \"category\": \"Location\", \"kind\": 2, \"key\": \"\", \"value1\": \"A\", "
                            "\"value2\": \"B\", \"user\": \"me\"}"),
              std::string::npos)
        << json.out;
}

TEST_P(HistoryTool, PurgeKeepsInitialAuditsAndCountsWhatWent) {
    SeedAsset("'pc'");
    const ToolResult purge = Run({"history", "purge", "--before", "2009-03-01"});
    EXPECT_EQ(purge.exitCode, 0) << purge.err;
    EXPECT_EQ(purge.out, "Purged 1 history row dated before 2009-03-01\n");
    EXPECT_EQ(Run({"history", "pc"}).out,
              "2009-01-10 09:30:00  Initial Audit\n"
              "2009-03-10 09:30:00  Moved  from A to B\n"
              "2009-03-10 09:30:00  Added Editor 100%\n");
    EXPECT_EQ(Run({"--json", "history", "purge", "--before", "20090301"}).out,
              "{\"before\": \"2009-03-01\", \"removed\": 0}\n");
    EXPECT_EQ(Run({"history", "purge", "--before", "2010-01-01"}).out,
              "Purged 2 history rows dated before 2010-01-01\n");
}

TEST_P(HistoryTool, UnknownOrAmbiguousAssetsFailOnOneLine) {
    SeedAsset("'twin'");
    SeedAsset("'twin'");
    const ToolResult missing = Run({"history", "nobody"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "norvik: no asset 'nobody'\n");
    EXPECT_EQ(missing.out, "");
    const ToolResult twins = Run({"history", "twin"});
    EXPECT_EQ(twins.exitCode, 1);
    EXPECT_EQ(twins.err, "norvik: 2 assets are named 'twin'; name one by its id\n");
    EXPECT_EQ(Run({"history", "999"}).exitCode, 1);
}

TEST_P(HistoryTool, DatabaseFailureIsOneLineAndExitOne) {
    seed_->ExecuteStatement("drop table EVENTLOG");
    const ToolResult purge = Run({"history", "purge", "--before", "2009-03-01"});
    EXPECT_EQ(purge.exitCode, 1);
    EXPECT_EQ(LineCount(purge.err), 1) << purge.err;
    EXPECT_EQ(purge.err.rfind("norvik: ODBC Error code ", 0), 0u) << purge.err;
    EXPECT_EQ(purge.out, "");
}

INSTANTIATE_TEST_SUITE_P(, HistoryTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

// The command line is checked before any database is opened, so no database is needed.
TEST(HistoryToolUsage, HelpAndWrongCommandLines) {
    const auto dir = std::filesystem::temp_directory_path() / ("norvik_hist_usage_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    const std::string missing = (dir / "none.db").string();
    for (const auto& args : {std::vector<std::string>{"history", "--help"}, {"history", "purge", "--help"}}) {
        const ToolResult help = RunTool(dir, args);
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.out.rfind("usage: norvik history", 0), 0u) << help.out;
    }
    const std::vector<std::string> wrong[] = {
        {"history"},
        {"history", "a", "b"},
        {"history", "pc", "--bogus"},
        {"history", ""},
        {"history", "purge"},
        {"history", "purge", "--before"},
        {"history", "purge", "--after", "2009-01-01"},
        {"history", "purge", "--before", "2009-13-01"},
        {"history", "purge", "--before", "20090231"},
        {"history", "purge", "--before", "2009/01/01"},
        {"history", "purge", "--before", "2009-1-1"},
    };
    for (auto args : wrong) {
        args.insert(args.begin(), {"--db", missing});
        const ToolResult result = RunTool(dir, args);
        EXPECT_EQ(result.exitCode, 2) << args.back();
        EXPECT_EQ(result.out, "") << args.back();
    }
    EXPECT_EQ(RunTool(dir, {"--db", missing, "history", "purge", "--before", "2009-02-30"})
                  .err.rfind("norvik: the date must be a day written YYYY-MM-DD or YYYYMMDD: 2009-02-30\n", 0),
              0u);
    std::filesystem::remove_all(dir);
}

}  // namespace
