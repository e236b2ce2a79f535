// The norvik tool as a user runs it: help, the command lines refused before any database is
// opened, and init and info on a SQLite file (the verbs on both engines are in db_cli_test).
#include <gtest/gtest.h>

#include <filesystem>

#include "support/cli_runner.h"

namespace {

class Tool : public ::testing::Test {
protected:
    ToolResult Run(const std::vector<std::string>& args) { return RunTool(dir_.path, args); }

    ToolDir dir_{"norvik_cli"};
};

TEST_F(Tool, HelpForEveryVerb) {
    const struct {
        std::vector<std::string> args;
        const char* text;
    } cases[] = {
        {{"--help"}, "kb info|dump|query"},
        {{"init", "--help"}, "usage: norvik [--db FILE | --dsn CONNECTION] init"},
        {{"info", "--help"}, "usage: norvik [--db FILE | --dsn CONNECTION] info"},
        {{"option", "--help"}, "usage: norvik option get KEY"},
        {{"upgrade", "--help"}, "usage: norvik [--db FILE | --dsn CONNECTION] upgrade"},
        {{"history", "--help"}, "usage: norvik history ASSET"},
        {{"history", "purge", "--help"}, "usage: norvik history purge"},
        {{"hw", "--help"}, "usage: norvik hw ASSET"},
        {{"location", "--help"}, "usage: norvik location"},
        {{"loctype", "--help"}, "usage: norvik loctype"},
        {{"asset", "move", "--help"}, "usage: norvik asset list"},
        {{"kb", "--help"}, "usage: norvik kb info"},
        {{"kb", "build", "--help"}, "usage: norvik kb build"},
        {{"security", "--help"}, "usage: norvik security on\n       norvik security off\n"},
        {{"web", "purge", "--help"}, "usage: norvik web ASSET"},
    };
    for (const auto& c : cases) {
        const ToolResult help = Run(c.args);
        EXPECT_EQ(help.exitCode, 0) << c.args[0];
        EXPECT_NE(help.out.find(c.text), std::string::npos) << help.out;
    }
}

// Checked before any database is opened, so the missing one is never created.
TEST_F(Tool, BadCommandLinesAreRefusedInOneLine) {
    const std::string missing = (dir_.path / "none.db").string();
    const struct {
        std::vector<std::string> args;
        int exitCode;
        const char* error;
    } cases[] = {
        {{}, 2, ""},
        {{"frobnicate"}, 2, "norvik: unknown command frobnicate (see norvik --help)\n"},
        {{"--db"}, 2, ""},
        {{"option", "get"}, 2, ""},
        {{"init", "--schema-version", "9.99"}, 2, ""},
        {{"info"}, 1, ""},
        {{"upgrade", "now"}, 2, ""},
        {{"--yes", "upgrade"}, 1, ""},
        {{"history"}, 2, ""},
        {{"history", "a", "b"}, 2, ""},
        {{"history", "pc", "--bogus"}, 2, ""},
        {{"history", ""}, 2, ""},
        {{"history", "purge"}, 2, ""},
        {{"history", "purge", "--after", "2009-01-01"}, 2, ""},
        {{"history", "purge", "--before", "2009-13-01"}, 2, ""},
        {{"history", "purge", "--before", "20090231"}, 2, ""},
        {{"history", "purge", "--before", "2009/01/01"}, 2, ""},
        {{"history", "purge", "--before", "2009-02-30"},
         2,
         "norvik: the date must be a day written YYYY-MM-DD or YYYYMMDD: 2009-02-30\n"},
        {{"hw"}, 2, ""},
        {{"hw", "pc", "--path"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "Total"}, 2, ""},
        {{"hw", "set", "pc", "A||B", "k", "v"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "", "v"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", std::string(256, 'v')}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", "v", "--flags", "0x1"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", "v", "--flags", "0x220"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", "v", "--flags", "12abc"}, 2, ""},
        {{"hw", "history"}, 2, ""},
        {{"asset"}, 2, "asset needs a command"},
        {{"asset", "frob"}, 2, "unknown asset command frob"},
        {{"asset", "show"}, 2, "wrong number of arguments"},
        {{"asset", "list", "--bogus"}, 2, "unknown option --bogus"},
        {{"asset", "add", ""}, 2, "may not be empty"},
        {{"asset", "add", "X", "--location"}, 2, "--location needs a value"},
        {{"asset", "move", "PC"}, 2, "either --location or --parent"},
        {{"asset", "move", "PC", "--location", "0", "--parent", "Hub"}, 2, "either --location or --parent"},
        {{"location", "list", "--deep"}, 2, "unknown option --deep"},
        {{"location", "add", "Site;" + std::string(1100, 'x')}, 2, "1105 characters long; at most 1023"},
        {{"location", "add", "Site;;Room"}, 2, "empty name"},
        {{"location", "rename", "Site", "a;b"}, 2, "may not hold ';'"},
        {{"location", "rename", "Site"}, 2, "usage: norvik location rename LOCATION NAME"},
        {{"loctype", "add"}, 2, "usage: norvik loctype add NAME [--parent TYPE]"},
        {{"kb"}, 2, ""},
        {{"kb", "info"}, 2, ""},
        {{"kb", "dump", "x.kb"}, 2, ""},
        {{"kb", "query", "x.kb"}, 2, ""},
        {{"kb", "frob", "x.kb"}, 2, ""},
        {{"kb", "info", "x.kb", "extra"}, 2, ""},
        {{"kb", "dump", "x.kb", "CAT", "--csv", "--json"}, 2, ""},
        {{"kb", "build", "x.kb"}, 2, ""},
        {{"kb", "recognise", "x.kb", "--list", "x"}, 2, ""},
        // Every verb with sub-commands names them and refuses the others alike.
        {{"user"}, 2, "norvik: user needs a command (see norvik user --help)\n"},
        {{"security", "maybe"}, 2, "norvik: unknown security command maybe (see norvik security --help)\n"},
        {{"note", "edit", "1"}, 2, "norvik: unknown note command edit (see norvik note --help)\n"},
        {{"discover", "list", "x"}, 2, "norvik: wrong number of arguments; usage: norvik discover list"},
        {{"licence", "type", "edit"}, 2, "norvik: unknown licence type command edit (see norvik licence --help)\n"},
        {{"schedule", "now"}, 2, "norvik: wrong number of arguments; usage: norvik schedule [--json]\n"},
        {{"web"}, 2, "norvik: wrong number of arguments; usage: norvik web ASSET [--date DAY] [--json]\n"},
        {{"web", "purge"}, 2, "norvik: web purge needs --before DAY"},
        {{"web", "pc", "--date", "2009-02-30"}, 2, "norvik: the date must be a day written YYYY-MM-DD"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"--db", missing};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const ToolResult result = Run(args);
        std::string words = "norvik";
        for (const auto& word : c.args) words += " " + word;
        SCOPED_TRACE(words);
        // One line of error, the usage of the command, or both in that order.
        EXPECT_EQ(result.exitCode, c.exitCode) << result.err;
        EXPECT_NE(result.err.find(c.error), std::string::npos) << result.err;
        if (c.error[0] == 'n') {
            EXPECT_EQ(result.err.rfind(c.error, 0), 0u) << result.err;
        }
        const auto next = result.err.rfind("norvik: ", 0) == 0 ? result.err.find('\n') + 1 : 0;
        if (next < result.err.size()) {
            EXPECT_EQ(result.err.compare(next, 7, "usage: "), 0) << result.err;
        }
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(missing)) << "a missing database must not be created by reading it";
}

TEST_F(Tool, InitAndInfo) {
    const std::string sqlite = (dir_.path / "audit.db").string();
    ASSERT_EQ(Run({"--db", sqlite, "init"}).exitCode, 0);
    ExpectRefused(Run({"--db", sqlite, "init"}), 1, "already exists");
    const ToolResult info = Run({"--db", sqlite, "info"});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("Schema:   7.14"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("VERSION       1"), std::string::npos) << info.out;
    const ToolResult json = Run({"--db", sqlite, "info", "--json"});
    EXPECT_NE(json.out.find("\"schema\": \"7.14\""), std::string::npos) << json.out;
    // The one option a new database starts with: PasswordHashing.
    EXPECT_NE(json.out.find("\"OPTIONS\": 1"), std::string::npos) << json.out;
    const ToolResult badDsn = Run({"--dsn", "Driver={No Such Driver};Database=x", "info"});
    ExpectRefused(badDsn, 1);
    EXPECT_EQ(badDsn.err.rfind("norvik: ODBC Error code -1 Error : ", 0), 0u) << badDsn.err;
}

}  // namespace
