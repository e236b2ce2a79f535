// norvik upgrade on both engines: the offer answered by --yes or refused without a terminal, the
// status lines, the early stop of a database without processor data, and the command line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sql/sql_database.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

class UpgradeTool : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_upgrade_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        scratch_.reset();
        std::filesystem::remove_all(dir_);
    }

    void Create(const char* version) { scratch_ = std::make_unique<ScratchDatabase>(GetParam(), version); }
    // The "Hardware|CPU" categories, without which the hardware upgrades leave the version.
    void AddCpuCategory() {
        CSqlDatabase raw;
        raw.OpenEx(scratch_->ConnectionString().c_str(), CDatabase::noOdbcDialog);
        const ULong hardware = raw.InsertRecord("HW", "_PARENT,_FLAGS,_KEY", "0,1,'Hardware'");
        raw.InsertRecord("HW", "_PARENT,_FLAGS,_KEY", CString::Formatted("%d,1,'CPU'", static_cast<int>(hardware)));
    }
    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_, args);
    }

    std::filesystem::path dir_;
    std::unique_ptr<ScratchDatabase> scratch_;
};

TEST_P(UpgradeTool, AcceptedOfferUpgradesOnceAndThenFindsNothingToDo) {
    Create("7.10");
    AddCpuCategory();
    const ToolResult upgrade = Run({"--yes", "upgrade"});
    EXPECT_EQ(upgrade.exitCode, 0) << upgrade.err;
    EXPECT_EQ(upgrade.out, "Upgrading Database to v7.1.1\nSchema: 7.14\n");
    EXPECT_EQ(upgrade.err, "");
    const ToolResult again = Run({"upgrade"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out, "Schema: 7.14\n");
}

TEST_P(UpgradeTool, OfferIsRefusedWithoutATerminalOrYes) {
    Create("7.08");
    const ToolResult refused = Run({"upgrade"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(LineCount(refused.err), 1) << refused.err;
    EXPECT_NE(refused.err.find("upgraded to v7.0.9"), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find("use --yes"), std::string::npos) << refused.err;
    const ToolResult accepted = Run({"upgrade", "--yes"});
    EXPECT_EQ(accepted.exitCode, 0) << accepted.err;
    EXPECT_EQ(accepted.out, "Upgrading Database to v7.0.9\nSchema: 7.14\n");
}

TEST_P(UpgradeTool, DatabaseWithoutProcessorDataStaysAtItsVersion) {
    Create("7.12");
    const ToolResult stopped = Run({"--yes", "upgrade"});
    EXPECT_EQ(stopped.exitCode, 1);
    EXPECT_EQ(stopped.out, "Upgrading Database to v7.1.4\n");
    EXPECT_EQ(stopped.err,
              "norvik: The Audit Database needs upgrading from v7.12 to v7.14. Please consult your System "
              "Administrator\n");
}

INSTANTIATE_TEST_SUITE_P(, UpgradeTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

TEST(UpgradeToolUsage, HelpAndWrongCommandLines) {
    const auto dir = std::filesystem::temp_directory_path() / ("norvik_upgrade_usage_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    const std::string missing = (dir / "none.db").string();
    const ToolResult help = RunTool(dir, {"upgrade", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("usage: norvik", 0), 0u) << help.out;
    EXPECT_EQ(RunTool(dir, {"--db", missing, "upgrade", "now"}).exitCode, 2);
    const ToolResult noDatabase = RunTool(dir, {"--db", missing, "--yes", "upgrade"});
    EXPECT_EQ(noDatabase.exitCode, 1);
    EXPECT_EQ(LineCount(noDatabase.err), 1) << noDatabase.err;
    EXPECT_FALSE(std::filesystem::exists(missing));
    std::filesystem::remove_all(dir);
}

}  // namespace
