// norvik hw on both engines: the indented tree with display values, setting values with their
// history, the hardware history, and the command-line errors.
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

class HwTool : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_hw_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        seed_ = std::make_unique<CNorvikSql>(kb_);
        ASSERT_NE(seed_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        pc_ = seed_->AddAsset("PC 'one'", 0, 0, 0, CTime());
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

    std::filesystem::path dir_;
    CAuditDBSys kb_;
    std::unique_ptr<ScratchDatabase> scratch_;
    std::unique_ptr<CNorvikSql> seed_;
    ULong pc_ = 0;
};

TEST_P(HwTool, SetValuesThenShowTheIndentedTreeWithDisplayValues) {
    EXPECT_EQ(Run({"hw", "set", "PC 'one'", "Adapters|Network", "IP Address", "16777343", "--flags", "0x5000"}).out,
              "Adapters|Network|IP Address = 1.0.0.127\n");
    EXPECT_EQ(Run({"hw", "set", std::to_string(pc_), "Memory", "Total", "536870912", "--flags", "8194"}).exitCode, 0);
    EXPECT_EQ(Run({"hw", "set", "PC 'one'", "Adapters|Video", "Caf\xE9 100%", "it's"}).exitCode, 0);
    seed_->hwAdd("Empty|Deeper", '|', 1);

    const ToolResult tree = Run({"hw", "PC 'one'"});
    EXPECT_EQ(tree.exitCode, 0) << tree.err;
    EXPECT_EQ(tree.out,
              "Adapters\n"
              "  Network\n"
              "    IP Address: 1.0.0.127\n"
              "  Video\n"
              "    Caf\xE9 100%: it's\n"
              "Memory\n"
              "  Total: 512 MB\n");
    EXPECT_EQ(Run({"hw", "PC 'one'", "--path", "Adapters|Network"}).out, "IP Address: 1.0.0.127\n");
    const ToolResult json = Run({"--json", "hw", "PC 'one'", "--path", "Memory"});
    EXPECT_NE(json.out.find("\"key\": \"Total\", \"flags\": 8194, \"value\": \"512 MB\"}"), std::string::npos)
        << json.out;
}

TEST_P(HwTool, HistoryListsAdditionsAndChangesOfHardwareOnly) {
    Run({"hw", "set", "PC 'one'", "Memory", "Total", "512"});
    Run({"hw", "set", "PC 'one'", "Memory", "Total", "512"});  // unchanged: nothing recorded
    Run({"hw", "set", "PC 'one'", "Memory", "Total", "1024"});
    seed_->SetAssetName(pc_, "PC two", nullptr, 1, CTime::GetCurrentTime());
    const ToolResult history = Run({"hw", "history", "PC two"});
    EXPECT_EQ(history.exitCode, 0) << history.err;
    ASSERT_EQ(LineCount(history.out), 2) << history.out;
    EXPECT_NE(history.out.find("  Added Memory|Total : 512\n"), std::string::npos) << history.out;
    EXPECT_NE(history.out.find("  Memory|Total changed from 512 to 1024\n"), std::string::npos) << history.out;
    const ToolResult json = Run({"--json", "hw", "history", "PC two"});
    EXPECT_NE(json.out.find("\"operation\": \"Changed\", \"kind\": 15, \"key\": \"Memory|Total\", \"value1\": "
                            "\"512\", \"value2\": \"1024\""),
              std::string::npos)
        << json.out;
}

TEST_P(HwTool, UnknownAssetsAndPathsFailOnOneLine) {
    const ToolResult asset = Run({"hw", "nobody"});
    EXPECT_EQ(asset.exitCode, 1);
    EXPECT_EQ(asset.err, "norvik: no asset 'nobody'\n");
    const ToolResult path = Run({"hw", "PC 'one'", "--path", "Nothing|Here"});
    EXPECT_EQ(path.exitCode, 1);
    EXPECT_EQ(path.err, "norvik: no hardware category 'Nothing|Here'\n");
}

INSTANTIATE_TEST_SUITE_P(, HwTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

// The command line is checked before any database is opened.
TEST(HwToolUsage, WrongCommandLinesExitTwoWithOneLine) {
    const auto dir = std::filesystem::temp_directory_path() / ("norvik_hw_usage_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    const std::string missing = (dir / "none.db").string();
    const ToolResult help = RunTool(dir, {"--db", missing, "hw", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind("usage: norvik hw ASSET", 0), 0u) << help.out;
    const std::vector<std::string> wrong[] = {
        {"hw"},
        {"hw", "pc", "--bogus"},
        {"hw", "pc", "--path"},
        {"hw", "set", "pc", "Memory", "Total"},
        {"hw", "set", "pc", "A||B", "k", "v"},
        {"hw", "set", "pc", "Memory", "", "v"},
        {"hw", "set", "pc", "Memory", "k", std::string(256, 'v')},
        {"hw", "set", "pc", "Memory", "k", "v", "--flags", "0x1"},
        {"hw", "set", "pc", "Memory", "k", "v", "--flags", "0"},
        {"hw", "set", "pc", "Memory", "k", "v", "--flags", "0x220"},
        {"hw", "set", "pc", "Memory", "k", "v", "--flags", "12abc"},
        {"hw", "history"},
    };
    for (const auto& words : wrong) {
        std::vector<std::string> args{"--db", missing};
        args.insert(args.end(), words.begin(), words.end());
        const ToolResult result = RunTool(dir, args);
        EXPECT_EQ(result.exitCode, 2) << words.back();
        EXPECT_EQ(LineCount(result.err), 1) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(missing));
    std::filesystem::remove_all(dir);
}

}  // namespace
