// The norvik tool as a user runs it: help, the command lines refused before any database is
// opened, init and info on a SQLite file (the verbs on both engines are in db_cli_test), and kb
// on Knowledge Base files built by the tool.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

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
        {{"history", "purge", "--help"}, "usage: norvik history purge"},
        {{"security", "--help"}, "usage: norvik security on\n       norvik security off\n"},
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
        {{"init", "--schema-version", "9.99"}, 2, ""},
        {{"info"}, 1, ""},
        {{"--yes", "upgrade"}, 1, ""},
        {{"history", "purge", "--before", "2009/01/01"}, 2, ""},
        {{"history", "purge", "--before", "2009-02-30"},
         2,
         "norvik: the date must be a day written YYYY-MM-DD or YYYYMMDD: 2009-02-30\n"},
        {{"hw", "set", "pc", "A||B", "k", "v"}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", std::string(256, 'v')}, 2, ""},
        {{"hw", "set", "pc", "Memory", "k", "v", "--flags", "0x1"}, 2, ""},
        {{"asset"}, 2, "asset needs a command"},
        {{"asset", "add", ""}, 2, "may not be empty"},
        {{"asset", "move", "PC", "--location", "0", "--parent", "Hub"}, 2, "either --location or --parent"},
        {{"location", "list", "--deep"}, 2, "unknown option --deep"},
        {{"location", "add", "Site;" + std::string(1100, 'x')}, 2, "1105 characters long; at most 1023"},
        {{"location", "add", "Site;;Room"}, 2, "empty name"},
        {{"location", "rename", "Site", "a;b"}, 2, "may not hold ';'"},
        {{"kb", "dump", "x.kb", "CAT", "--csv", "--json"}, 2, ""},
        {{"kb", "recognise", "x.kb", "--list", "x"}, 2, ""},
        // Every verb with sub-commands names them and refuses the others alike.
        {{"user"}, 2, "norvik: user needs a command (see norvik user --help)\n"},
        {{"security", "maybe"}, 2, "norvik: unknown security command maybe (see norvik security --help)\n"},
        {{"web"}, 2, "norvik: wrong number of arguments; usage: norvik web ASSET [--date DAY] [--json]\n"},
        {{"web", "purge"}, 2, "norvik: web purge needs --before DAY"},
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

class KbTool : public Tool {
protected:
    // system.kb as the tool builds it from a categories.csv whose third name needs quoting.
    void BuildKnowledgeBase() {
        std::filesystem::create_directories(dir_.path / "csv");
        WriteFile(dir_.path / "csv/categories.csv",
                  "name,type\nPC|Base Unit,1\nPrinter,0\n\"O'Brien, \"\"Ltd\"\"\",0\n");
        ASSERT_EQ(Run({"kb", "build", kb_, "--from", (dir_.path / "csv").string()}).exitCode, 0);
    }

    std::string kb_ = (dir_.path / "system.kb").string();
};

TEST_F(KbTool, InfoDumpAndQuery) {
    BuildKnowledgeBase();
    const ToolResult info = Run({"kb", "info", kb_});
    EXPECT_EQ(info.out.rfind("File:     " + kb_ + "\nFormat:   2.10\nContent:  4.00\nTables:   7\n", 0), 0u);
    EXPECT_NE(info.out.find("\nCAT          3        3\n"), std::string::npos) << info.out;
    EXPECT_EQ(Run({"kb", "dump", kb_, "cat"}).out,
              "ID  NAME            TYPE\n 1  PC|Base Unit       1\n 2  Printer            0\n"
              " 3  O'Brien, \"Ltd\"     0\n");
    EXPECT_EQ(Run({"kb", "dump", kb_, "CAT", "--csv"}).out,
              "ID,NAME,TYPE\r\n1,PC|Base Unit,1\r\n2,Printer,0\r\n3,\"O'Brien, \"\"Ltd\"\"\",0\r\n");
    EXPECT_EQ(Run({"kb", "dump", kb_, "CAT", "--json"}).out,
              "[\n  {\"ID\": 1, \"NAME\": \"PC|Base Unit\", \"TYPE\": 1},\n"
              "  {\"ID\": 2, \"NAME\": \"Printer\", \"TYPE\": 0},\n"
              "  {\"ID\": 3, \"NAME\": \"O'Brien, \\\"Ltd\\\"\", \"TYPE\": 0}\n]\n");
    const ToolResult missing = Run({"kb", "dump", kb_, "SALES"});
    ExpectRefused(missing, 1);
    EXPECT_EQ(missing.err, "norvik: no table SALES in " + kb_ + " (see norvik kb info " + kb_ + ")\n");

    EXPECT_EQ(Run({"kb", "query", kb_, "select * from CAT where TYPE > 5", "--json"}).out, "[\n]\n");
    const ToolResult bad = Run({"kb", "query", kb_, "select * from CAT where TYPE => 0"});
    ExpectRefused(bad, 1);
    EXPECT_EQ(bad.err, "norvik: Invalid operator '=>' in query 'select * from CAT where TYPE => 0'\n");
}

TEST_F(KbTool, MissingOrDamagedFileIsOneLineAndExitOne) {
    BuildKnowledgeBase();
    const std::string whole = Slurp(kb_);
    const std::string files[] = {
        (dir_.path / "absent.kb").string(),
        WriteFile(dir_.path / "short.kb", whole.substr(0, whole.size() - 5)),
        WriteFile(dir_.path / "text.kb", "This is not a Knowledge Base file at all, only some words.\n"),
    };
    // info, dump and query read the file one way, check-common and recognise another.
    for (const std::string& file : files) {
        for (const char* verb : {"info", "check-common"}) {
            const ToolResult result = Run({"kb", verb, file});
            ExpectRefused(result, 1);
            EXPECT_EQ(result.err.rfind("norvik: cannot read the Knowledge Base file: ", 0), 0u) << result.err;
        }
    }
}

TEST_F(KbTool, BuildCheckCommonAndRecognise) {
    WriteFile(dir_.path / "categories.csv", "name,type\nLaptop,yes\n");
    ExpectRefused(Run({"kb", "build", kb_, "--from", dir_.path.string()}), 1,
                  "norvik: categories.csv:2: type \"yes\" is not a number (decimal or 0x...)\n");

    const ToolResult built = Run({"kb", "build", kb_, "--from", NORVIK_TEST_DATA_DIR "/kb"});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    EXPECT_NE(built.out.find("SYSFILE 26"), std::string::npos) << built.out;
    const ToolResult found = Run({"kb", "recognise", kb_, "--files", NORVIK_TEST_DATA_DIR "/kb/audit_files.txt"});
    ASSERT_EQ(found.exitCode, 0) << found.err;
    EXPECT_EQ(found.out.rfind("scribe.exe\tQuillsoft Scribe 8.0\nscribecore.dll\t", 0), 0u) << found.out;
    EXPECT_EQ(LineCount(found.out), 7) << found.out;

    // larchrt.dll is a key file known by name only (any size, any date); notes.txt is unknown.
    std::filesystem::create_directories(dir_.path / "scan" / "bin");
    WriteFile(dir_.path / "scan/bin/larchrt.dll", "runtime");
    WriteFile(dir_.path / "scan/notes.txt", "hello");
    EXPECT_EQ(Run({"kb", "recognise", kb_, "--scan", (dir_.path / "scan").string()}).out,
              "bin/larchrt.dll\tLarch Labs Runtime 4.0\n");

    EXPECT_EQ(Run({"kb", "check-common", kb_}).out, "26 known files checked, 4 marked common\n");
}

}  // namespace
