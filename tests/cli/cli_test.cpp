// The norvik tool as a user runs it: exit codes, one-line errors, and the verbs of the
// foundation on both engines.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/odbc_database.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

using Result = ToolResult;

class Tool : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    Result Run(const std::vector<std::string>& args) { return RunTool(dir_, args); }

    static int Lines(const std::string& text) { return LineCount(text); }

    std::filesystem::path dir_;
};

TEST_F(Tool, HelpAndUsageErrors) {
    EXPECT_EQ(Run({"--help"}).exitCode, 0);
    EXPECT_NE(Run({"--help"}).out.find("Commands:"), std::string::npos);
    EXPECT_EQ(Run({}).exitCode, 2);
    const Result unknown = Run({"frobnicate"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.err, "norvik: unknown command frobnicate (see norvik --help)\n");
    EXPECT_EQ(Run({"--db"}).exitCode, 2);
    EXPECT_EQ(Run({"option", "get"}).exitCode, 2);
    EXPECT_EQ(Run({"init", "--schema-version", "9.99"}).exitCode, 2);
    for (const char* verb : {"init", "info", "option"}) EXPECT_EQ(Run({verb, "--help"}).exitCode, 0) << verb;
}

TEST_F(Tool, InitThenInfoOnSqlite) {
    const std::string db = (dir_ / "audit.db").string();
    const Result init = Run({"--db", db, "init"});
    ASSERT_EQ(init.exitCode, 0) << init.err;
    const Result info = Run({"--db", db, "info"});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("Schema:   7.14"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("VERSION       1"), std::string::npos) << info.out;
    const Result json = Run({"--db", db, "info", "--json"});
    EXPECT_NE(json.out.find("\"schema\": \"7.14\""), std::string::npos) << json.out;
    EXPECT_NE(json.out.find("\"OPTIONS\": 0"), std::string::npos) << json.out;
}

TEST_F(Tool, EveryFailureIsOneLineAndExitOne) {
    const std::string db = (dir_ / "audit.db").string();
    const Result missing = Run({"--db", db, "info"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(Lines(missing.err), 1) << missing.err;
    EXPECT_FALSE(std::filesystem::exists(db)) << "a missing database must not be created by reading it";

    ASSERT_EQ(Run({"--db", db, "init"}).exitCode, 0);
    const Result again = Run({"--db", db, "init"});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(Lines(again.err), 1) << again.err;

    const Result badDsn = Run({"--dsn", "Driver={No Such Driver};Database=x", "info"});
    EXPECT_EQ(badDsn.exitCode, 1);
    EXPECT_EQ(badDsn.err.rfind("norvik: ODBC Error code -1 Error : ", 0), 0u) << badDsn.err;
    EXPECT_EQ(Lines(badDsn.err), 1) << badDsn.err;

    const std::string old = (dir_ / "old.db").string();
    ASSERT_EQ(Run({"--db", old, "init", "--schema-version", "7.12"}).exitCode, 0);
    const Result upgrade = Run({"--db", old, "info"});
    EXPECT_EQ(upgrade.exitCode, 1);
    EXPECT_EQ(Lines(upgrade.err), 1) << upgrade.err;
    EXPECT_NE(upgrade.err.find("upgraded to v7.1.4"), std::string::npos) << upgrade.err;

    // Accepted, the upgrade finds no processor data in the new database and leaves 7.12.
    const Result yes = Run({"--db", old, "--yes", "info"});
    EXPECT_EQ(yes.exitCode, 1);
    EXPECT_EQ(Lines(yes.err), 1) << yes.err;
    EXPECT_NE(yes.err.find("needs upgrading from v7.12"), std::string::npos) << yes.err;
}

TEST_F(Tool, OptionsRoundTripOnBothEngines) {
    const std::string sqlite = (dir_ / "audit.db").string();
    ASSERT_EQ(Run({"--db", sqlite, "init"}).exitCode, 0);
    // An empty PostgreSQL database for init to fill.
    const std::string name = "norvik_cli_" + std::to_string(getpid());
    {
        CDatabase admin;
        admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
        admin.ExecuteSQL(("drop database if exists " + name).c_str());
        admin.ExecuteSQL(
            ("create database " + name + " encoding 'SQL_ASCII' lc_collate 'C' lc_ctype 'C' template template0")
                .c_str());
    }
    const std::string dsn = PostgresConnection(name);
    ASSERT_EQ(Run({"--dsn", dsn, "init"}).exitCode, 0);
    for (const auto& target : {std::vector<std::string>{"--db", sqlite}, std::vector<std::string>{"--dsn", dsn}}) {
        auto with = [&](std::vector<std::string> args) {
            args.insert(args.begin(), target.begin(), target.end());
            return Run(args);
        };
        EXPECT_EQ(with({"option", "set", "O'Neil's", "50% * done"}).exitCode, 0);
        EXPECT_EQ(with({"option", "get", "O'Neil's"}).out, "50% * done\n");
        EXPECT_EQ(with({"option", "get", "never set"}).out, "\n");
        EXPECT_EQ(with({"--json", "option", "get", "O'Neil's"}).out,
                  "{\"key\": \"O'Neil's\", \"value\": \"50% * done\"}\n");
    }
    CDatabase admin;
    admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
    admin.ExecuteSQL(("drop database if exists " + name + " with (force)").c_str());
}

}  // namespace
