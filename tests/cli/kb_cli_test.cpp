// norvik kb as a user runs it: info, dump and query on a Knowledge Base file made here with the
// table engine, build and recognise on the sample data of tests/data/kb, and one line for
// every bad file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/file.h"
#include "support/cli_runner.h"

namespace {

// CAT (ID, NAME, TYPE) and SYSFILE (ID, NAME, CRC, FLAGS), content version 4.0.
void WriteKnowledgeBase(const std::string& path) {
    CTableDatabase db;
    db.SetVersion(4, 0);
    CTable cat("CAT");
    cat.AddColumn("NAME", CTable::typeText);
    cat.AddColumn("TYPE", CTable::typeNumber);
    const std::pair<const char*, ULong> categories[] = {{"PC|Base Unit", 1}, {"Printer", 0}, {"O'Brien, \"Ltd\"", 0}};
    for (const auto& [name, type] : categories) {
        const ULong row = cat.AddRow();
        cat.SetText(row, 1, name);
        cat.SetValue(row, 2, type);
    }
    CTable files("SYSFILE");
    files.AddColumn("NAME", CTable::typeText);
    files.AddColumn("CRC", CTable::typeNumber);
    files.AddColumn("FLAGS", CTable::typeNumber);
    const std::tuple<const char*, ULong, ULong> known[] = {
        {"setup.exe", 0, 2}, {"msvcrt.dll", 3735928559u, 2}, {"readme.txt", 17, 0}, {"mfc42.dll", 0, 1}};
    for (const auto& [name, crc, flags] : known) {
        const ULong row = files.AddRow();
        files.SetText(row, 1, name);
        files.SetValue(row, 2, crc);
        files.SetValue(row, 3, flags);
    }
    db.AddTable(cat);
    db.AddTable(files);
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(file, CArchive::store);
    db.Serialize(ar);
    ar.Close();
    file.Close();
}

class KbTool : public ::testing::Test {
protected:
    ToolResult Run(const std::vector<std::string>& args) { return RunTool(dir_.path, args); }
    // A file in the test folder holding `bytes`.
    std::string FileOf(const std::string& name, const std::string& bytes) {
        const std::string path = (dir_.path / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    ToolDir dir_{"norvik_kb_cli"};
    std::string kb_ = (dir_.path / "system.kb").string();
};

TEST_F(KbTool, InfoDumpAndQuery) {
    WriteKnowledgeBase(kb_);
    const ToolResult info = Run({"kb", "info", kb_});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out, "File:     " + kb_ +
                            "\nFormat:   2.10\nContent:  4.00\nTables:   2\n\n"
                            "Table    Rows  Columns\n"
                            "CAT         3        3\n"
                            "SYSFILE     4        4\n");
    EXPECT_EQ(Run({"--json", "kb", "info", kb_}).out,
              "{\"file\": \"" + kb_ +
                  "\", \"format\": \"2.10\", \"content\": \"4.00\", \"tables\": [{\"name\": \"CAT\", "
                  "\"rows\": 3, \"columns\": 3}, {\"name\": \"SYSFILE\", \"rows\": 4, \"columns\": 4}]}\n");
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
    const ToolResult missing = Run({"kb", "dump", kb_, "MAKE"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "norvik: no table MAKE in " + kb_ + " (see norvik kb info " + kb_ + ")\n");

    EXPECT_EQ(Run({"kb", "query", kb_, "select * from SYSFILE where CRC > 0 and FLAGS != 2"}).out,
              "ID  NAME        CRC  FLAGS\n"
              " 3  readme.txt   17      0\n");
    EXPECT_EQ(Run({"kb", "query", kb_, "select * from CAT where TYPE > 5", "--json"}).out, "[\n]\n");
    const ToolResult bad = Run({"kb", "query", kb_, "select * from SYSFILE where CRC => 0"});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "norvik: Invalid operator '=>' in query 'select * from SYSFILE where CRC => 0'\n");
    EXPECT_EQ(bad.out, "");
}

TEST_F(KbTool, MissingOrDamagedFileIsOneLineAndExitOne) {
    WriteKnowledgeBase(kb_);
    const std::string whole = Slurp(kb_);
    const std::string files[] = {
        (dir_.path / "absent.kb").string(),
        FileOf("short.kb", whole.substr(0, whole.size() - 5)),
        FileOf("text.kb", "This is not a Knowledge Base file at all, only some words.\n"),
    };
    for (const std::string& file : files) {
        for (const auto& args : {std::vector<std::string>{"kb", "info", file},
                                 {"kb", "dump", file, "CAT"},
                                 {"kb", "query", file, "select * from CAT"}}) {
            const ToolResult result = Run(args);
            ExpectRefused(result, 1, "norvik: cannot read the Knowledge Base file: ");
            EXPECT_EQ(result.err.rfind("norvik: cannot read the Knowledge Base file: ", 0), 0u) << result.err;
        }
    }
    ExpectRefused(Run({"kb", "check-common", FileOf("junk.ids", "junk")}), 1);
}

TEST_F(KbTool, BuildCheckCommonAndRecognise) {
    FileOf("categories.csv", "name,type\nLaptop,yes\n");
    const ToolResult bad = Run({"kb", "build", kb_, "--from", dir_.path.string()});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "norvik: categories.csv:2: type \"yes\" is not a number (decimal or 0x...)\n");

    const ToolResult built = Run({"kb", "build", kb_, "--from", NORVIK_TEST_DATA_DIR "/kb"});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    EXPECT_NE(built.out.find("SYSFILE 26"), std::string::npos) << built.out;
    const ToolResult found = Run({"kb", "recognise", kb_, "--files", NORVIK_TEST_DATA_DIR "/kb/audit_files.txt"});
    ASSERT_EQ(found.exitCode, 0) << found.err;
    EXPECT_EQ(found.out,
              "scribe.exe\tQuillsoft Scribe 8.0\n"
              "scribecore.dll\tQuillsoft Scribe 8.0\n"
              "scribe_en.lng\tQuillsoft Scribe 8.0\n"
              "pbarc.exe\tPebblestack Software Archiver 2.4\n"
              "pbarcshell.dll\tPebblestack Software Archiver 2.4\n"
              "mossgate.exe\tMossgate Mossgate Browser 42\n"
              "mgrender.dll\tMossgate Mossgate Browser 42\n");
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
    EXPECT_NE(Run({"kb", "query", kb_, "select * from SYSFILE where FLAGS = 1"}).out.find("qsrt40.dll"),
              std::string::npos);
}

}  // namespace
