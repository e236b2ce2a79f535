// norvik kb as a user runs it: info, dump and query on a Knowledge Base file built by the tool
// from a little CSV, build and recognise on the sample data of tests/data/kb, and one line for
// every bad file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/cli_runner.h"

namespace {

class KbTool : public ::testing::Test {
protected:
    ToolResult Run(const std::vector<std::string>& args) { return RunTool(dir_.path, args); }
    // A file in the test folder holding `bytes`.
    std::string FileOf(const std::string& name, const std::string& bytes) {
        const std::string path = (dir_.path / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    // system.kb as the tool builds it from a categories.csv whose third name needs quoting.
    void BuildKnowledgeBase() {
        std::filesystem::create_directories(dir_.path / "csv");
        FileOf("csv/categories.csv", "name,type\nPC|Base Unit,1\nPrinter,0\n\"O'Brien, \"\"Ltd\"\"\",0\n");
        ASSERT_EQ(Run({"kb", "build", kb_, "--from", (dir_.path / "csv").string()}).exitCode, 0);
    }

    ToolDir dir_{"norvik_kb_cli"};
    std::string kb_ = (dir_.path / "system.kb").string();
};

TEST_F(KbTool, InfoDumpAndQuery) {
    BuildKnowledgeBase();
    const ToolResult info = Run({"kb", "info", kb_});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out, "File:     " + kb_ +
                            "\nFormat:   2.10\nContent:  4.00\nTables:   7\n\n"
                            "Table     Rows  Columns\n"
                            "CAT          3        3\n"
                            "MAKE         0        3\n"
                            "MODEL        0        3\n"
                            "SWAPP        0        3\n"
                            "SYSFILE      0        8\n"
                            "SWSERIAL     0        4\n"
                            "REGAPP       0        3\n");
    EXPECT_EQ(Run({"--json", "kb", "info", kb_})
                  .out.rfind("{\"file\": \"" + kb_ +
                                 "\", \"format\": \"2.10\", \"content\": \"4.00\", \"tables\": "
                                 "[{\"name\": \"CAT\", \"rows\": 3, \"columns\": 3}, ",
                             0),
              0u);
    EXPECT_EQ(Run({"kb", "dump", kb_, "cat"}).out,
              "ID  NAME            TYPE\n"
              " 1  PC|Base Unit       1\n"
              " 2  Printer            0\n"
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
    // The library's two-line message comes out as one line.
    const ToolResult bad = Run({"kb", "query", kb_, "select * from CAT where TYPE => 0"});
    ExpectRefused(bad, 1);
    EXPECT_EQ(bad.err, "norvik: Invalid operator '=>' in query 'select * from CAT where TYPE => 0'\n");
}

TEST_F(KbTool, MissingOrDamagedFileIsOneLineAndExitOne) {
    BuildKnowledgeBase();
    const std::string whole = Slurp(kb_);
    const std::string files[] = {
        (dir_.path / "absent.kb").string(),
        FileOf("short.kb", whole.substr(0, whole.size() - 5)),
        FileOf("text.kb", "This is not a Knowledge Base file at all, only some words.\n"),
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
    FileOf("categories.csv", "name,type\nLaptop,yes\n");
    ExpectRefused(Run({"kb", "build", kb_, "--from", dir_.path.string()}), 1,
                  "norvik: categories.csv:2: type \"yes\" is not a number (decimal or 0x...)\n");

    const ToolResult built = Run({"kb", "build", kb_, "--from", NORVIK_TEST_DATA_DIR "/kb"});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    EXPECT_NE(built.out.find("SYSFILE 26"), std::string::npos) << built.out;
    const ToolResult found = Run({"kb", "recognise", kb_, "--files", NORVIK_TEST_DATA_DIR "/kb/audit_files.txt"});
    ASSERT_EQ(found.exitCode, 0) << found.err;
    // Which files are recognised is the library's; the tool prints one "FILE<tab>APPLICATION" a line.
    EXPECT_EQ(found.out.rfind("scribe.exe\tQuillsoft Scribe 8.0\nscribecore.dll\t", 0), 0u) << found.out;
    EXPECT_EQ(LineCount(found.out), 7) << found.out;
    const ToolResult list =
        Run({"kb", "recognise", kb_, "--files", FileOf("list.txt", "scribe.exe,12,0xZZ,2023-06-01\n")});
    ExpectRefused(list, 1, "list.txt:1:");

    // larchrt.dll is a key file known by name only (any size, any date); notes.txt is unknown.
    std::filesystem::create_directories(dir_.path / "scan" / "bin");
    FileOf("scan/bin/larchrt.dll", "runtime");
    FileOf("scan/notes.txt", "hello");
    EXPECT_EQ(Run({"kb", "recognise", kb_, "--scan", (dir_.path / "scan").string()}).out,
              "bin/larchrt.dll\tLarch Labs Runtime 4.0\n");

    EXPECT_EQ(Run({"kb", "check-common", kb_}).out, "26 known files checked, 4 marked common\n");
}

}  // namespace
