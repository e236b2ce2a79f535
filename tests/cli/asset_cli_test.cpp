// norvik asset on both engines: every verb on names that need quoting, the child-asset tree,
// the station file, and bad input refused in one line with the right exit code.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

class AssetTool : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override {
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        dir_ = std::filesystem::temp_directory_path() / ("norvik_asset_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        std::filesystem::remove_all(dir_);
        scratch_.reset();
    }
    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_, args);
    }
    // Runs a command that must succeed and returns what it printed.
    std::string Ok(const std::vector<std::string>& args) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, 0) << args[0] << " " << args[1] << ": " << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    void ExpectRefused(const std::vector<std::string>& args, int exitCode, const std::string& errorPart) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, exitCode) << args[1] << ": " << result.err;
        EXPECT_EQ(LineCount(result.err), 1) << result.err;
        EXPECT_NE(result.err.find(errorPart), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    // The database as the library sees it, opened after the tool ran.
    std::unique_ptr<CNorvikSql> Open() {
        auto db = std::make_unique<CNorvikSql>(kb_);
        EXPECT_NE(db->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        return db;
    }

    std::unique_ptr<ScratchDatabase> scratch_;
    std::filesystem::path dir_;
    CAuditDBSys kb_;
};

TEST_P(AssetTool, EveryVerbWorksOnANameThatNeedsQuoting) {
    const std::string name = "O'Neil's 100%_PC caf\xE9";
    Ok({"location", "add", "HQ;Floor 2"});
    EXPECT_EQ(Ok({"asset", "add", name, "--location", "HQ;Floor 2"}), "1  " + name + "\n");
    EXPECT_EQ(Ok({"asset", "add", "Mouse"}), "2  Mouse\n");
    EXPECT_EQ(Ok({"asset", "move", "Mouse", "--parent", name}), "moved 'Mouse' to child of " + name + "\n");

    EXPECT_EQ(Ok({"asset", "list"}),
              "Id  Name                   Place                           MAC address  IP address  Last audit\n"
              " 2  Mouse                  child of O'Neil's 100%_PC caf\xE9                           never\n"
              " 1  O'Neil's 100%_PC caf\xE9  HQ\\Floor 2                                               never\n");
    EXPECT_EQ(Ok({"asset", "list", "--location", "HQ;Floor 2", "--json"}),
              "[{\"id\": 1, \"name\": \"O'Neil's 100%_PC caf\\u00e9\", \"location\": 2, \"parent\": 0, "
              "\"place\": \"HQ\\\\Floor 2\", \"status\": 2, \"mac\": \"\", \"ip\": \"\", \"audited\": null}]\n");
    EXPECT_EQ(Ok({"asset", "list", "--location", "2", "--recursive"}).find("Mouse") != std::string::npos, true);
    EXPECT_EQ(Ok({"asset", "list", "--location", "0"}).find("Mouse"), std::string::npos);

    const std::string shown = Ok({"asset", "show", "1"});
    EXPECT_NE(shown.find("Child assets  Mouse (2)\n"), std::string::npos) << shown;
    EXPECT_EQ(Ok({"asset", "show", "Mouse", "--json"}),
              "{\"id\": 2, \"name\": \"Mouse\", \"location\": 2, \"parent\": 1, \"place\": \"child of O'Neil's "
              "100%_PC caf\\u00e9\", \"status\": 4098, \"mac\": \"\", \"ip\": \"\", \"audited\": null, \"kind\": "
              "\"peripheral\", \"children\": []}\n");
    EXPECT_EQ(Ok({"asset", "count"}), "2\n");
    EXPECT_EQ(Ok({"asset", "count", "--location", "HQ;Floor 2", "--json"}), "{\"count\": 1}\n");
    EXPECT_EQ(Ok({"asset", "count", "--filtered"}), "0\n");

    const std::string renamed = name + " '2'";
    EXPECT_EQ(Ok({"asset", "rename", name, renamed}), "renamed asset 1 from '" + name + "' to '" + renamed + "'\n");
    EXPECT_EQ(Ok({"asset", "move", "Mouse", "--location", "0"}), "moved 'Mouse' to (root)\n");
    {
        auto db = Open();
        EXPECT_EQ(db->FindAsset(renamed.c_str(), 0, 0), 1u);
        EXPECT_EQ(db->GetAssetLocation(2), 0u);
        CDynaList<CTime> dates;
        EXPECT_EQ(db->assetEnumHistoryDates(2, dates), 3u) << "added, attached, moved back";
    }
    EXPECT_EQ(Ok({"asset", "move", "Mouse", "--parent", "1"}), "moved 'Mouse' to child of " + renamed + "\n");
    EXPECT_EQ(Ok({"asset", "delete", renamed}), "deleted '" + renamed + "' and 1 child asset(s)\n");
    EXPECT_EQ(Ok({"asset", "list", "--json"}), "[]\n");
}

TEST_P(AssetTool, RenameWritesTheStationFile) {
    const std::filesystem::path station = dir_ / "station.ini";
    std::ofstream(station, std::ios::binary) << "[Asset]\nName=old\nSerial=7\n";
    Ok({"asset", "add", "old"});
    Ok({"asset", "rename", "old", "new", "--station", station.string()});
    std::ifstream in(station, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "[Asset]\nName=new\nSerial=7\n");

    // The database is renamed even when the file cannot be written; the run reports failure.
    const ToolResult failed = Run({"asset", "rename", "new", "newer", "--station", (dir_ / "no/such.ini").string()});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(LineCount(failed.err), 1) << failed.err;
    EXPECT_EQ(Open()->FindAsset("newer", 0, 0), 1u);
}

TEST_P(AssetTool, BadInputIsRefusedInOneLine) {
    Ok({"asset", "add", "PC"});
    Ok({"asset", "add", "Hub"});
    Ok({"asset", "move", "Hub", "--parent", "PC"});
    ExpectRefused({"asset"}, 2, "asset needs a command");
    ExpectRefused({"asset", "frob"}, 2, "unknown asset command frob");
    ExpectRefused({"asset", "show"}, 2, "wrong number of arguments");
    ExpectRefused({"asset", "list", "--bogus"}, 2, "unknown option --bogus");
    ExpectRefused({"asset", "add", ""}, 2, "may not be empty");
    ExpectRefused({"asset", "add", "X", "--location"}, 2, "--location needs a value");
    ExpectRefused({"asset", "move", "PC"}, 2, "either --location or --parent");
    ExpectRefused({"asset", "move", "PC", "--location", "0", "--parent", "Hub"}, 2, "either --location or --parent");
    ExpectRefused({"asset", "show", "nope"}, 1, "no asset 'nope'");
    ExpectRefused({"asset", "add", "PC"}, 1, "an asset named 'PC' already exists (id 1)");
    ExpectRefused({"asset", "add", "Hub"}, 1, "already exists (id 2)");
    ExpectRefused({"asset", "rename", "Hub", "PC"}, 1, "already exists");
    ExpectRefused({"asset", "move", "PC", "--parent", "Hub"}, 1, "below itself");
    ExpectRefused({"asset", "add", "Y", "--location", "No;Such"}, 1, "no location 'No;Such'");
    for (const char* verb : {"list", "add", "show", "rename", "move", "delete", "count"}) {
        const ToolResult help = Run({"asset", verb, "--help"});
        EXPECT_EQ(help.exitCode, 0) << verb;
        EXPECT_NE(help.out.find("usage: norvik asset list"), std::string::npos) << verb;
    }
    auto db = Open();
    EXPECT_EQ(db->CountAssets(0, 1, 0), 2u) << "nothing was added or deleted";
    EXPECT_EQ(db->GetAssetName(1).str(), "PC");
}

INSTANTIATE_TEST_SUITE_P(, AssetTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
