// norvik kb as a user runs it on a Knowledge Base file made here with the table engine: the
// versions and tables, dumps in three forms, queries, and one clear line for every bad file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/file.h"
#include "support/cli_runner.h"

namespace {

using Result = ToolResult;

std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

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
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_kb_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        kb_ = (dir_ / "system.kb").string();
        WriteKnowledgeBase(kb_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    Result Run(const std::vector<std::string>& args) { return RunTool(dir_, args); }

    // A copy of the Knowledge Base file with `bytes` in place of its content.
    std::string FileOf(const std::string& name, const std::string& bytes) {
        const std::string path = (dir_ / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    std::filesystem::path dir_;
    std::string kb_;
};

TEST_F(KbTool, InfoShowsVersionsAndEveryTable) {
    const Result info = Run({"kb", "info", kb_});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out, "File:     " + kb_ +
                            "\nFormat:   2.10\nContent:  4.00\nTables:   2\n\n"
                            "Table    Rows  Columns\n"
                            "CAT         3        3\n"
                            "SYSFILE     4        4\n");
    const Result json = Run({"--json", "kb", "info", kb_});
    EXPECT_EQ(json.out, "{\"file\": \"" + kb_ +
                            "\", \"format\": \"2.10\", \"content\": \"4.00\", \"tables\": [{\"name\": \"CAT\", "
                            "\"rows\": 3, \"columns\": 3}, {\"name\": \"SYSFILE\", \"rows\": 4, \"columns\": 4}]}\n");
}

TEST_F(KbTool, DumpPrintsEveryRowAsTableCsvOrJson) {
    const Result table = Run({"kb", "dump", kb_, "cat"});
    ASSERT_EQ(table.exitCode, 0) << table.err;
    EXPECT_EQ(table.out,
              "ID  NAME            TYPE\n"
              " 1  PC|Base Unit       1\n"
              " 2  Printer            0\n"
              " 3  O'Brien, \"Ltd\"     0\n");
    const Result csv = Run({"kb", "dump", kb_, "CAT", "--csv"});
    EXPECT_EQ(csv.out, "ID,NAME,TYPE\r\n1,PC|Base Unit,1\r\n2,Printer,0\r\n3,\"O'Brien, \"\"Ltd\"\"\",0\r\n");
    const Result json = Run({"kb", "dump", kb_, "CAT", "--json"});
    EXPECT_EQ(json.out,
              "[\n  {\"ID\": 1, \"NAME\": \"PC|Base Unit\", \"TYPE\": 1},\n"
              "  {\"ID\": 2, \"NAME\": \"Printer\", \"TYPE\": 0},\n"
              "  {\"ID\": 3, \"NAME\": \"O'Brien, \\\"Ltd\\\"\", \"TYPE\": 0}\n]\n");
    const Result missing = Run({"kb", "dump", kb_, "MAKE"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "norvik: no table MAKE in " + kb_ + " (see norvik kb info " + kb_ + ")\n");
}

TEST_F(KbTool, QueryPrintsTheMatchingRows) {
    const Result keys = Run({"kb", "query", kb_, "select * from SYSFILE where CRC > 0 and FLAGS != 2"});
    ASSERT_EQ(keys.exitCode, 0) << keys.err;
    EXPECT_EQ(keys.out,
              "ID  NAME        CRC  FLAGS\n"
              " 3  readme.txt   17      0\n");
    const Result text = Run({"kb", "query", kb_, "select * from CAT where NAME = 'O''Brien, \"Ltd\"'", "--json"});
    EXPECT_EQ(text.out, "[\n  {\"ID\": 3, \"NAME\": \"O'Brien, \\\"Ltd\\\"\", \"TYPE\": 0}\n]\n");
    const Result none = Run({"kb", "query", kb_, "select * from CAT where TYPE > 5", "--json"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.out, "[\n]\n");
    const Result unsigned32 = Run({"kb", "query", kb_, "select * from SYSFILE where CRC = 3735928559"});
    EXPECT_NE(unsigned32.out.find("msvcrt.dll  3735928559"), std::string::npos) << unsigned32.out;
}

TEST_F(KbTool, MalformedQueryIsOneLineAndExitOne) {
    const struct {
        const char* query;
        const char* error;
    } cases[] = {
        {"select * from SYSFILE where CRC => 0",
         "norvik: Invalid operator '=>' in query 'select * from SYSFILE where CRC => 0'\n"},
        {"select NAME from CAT", "norvik: Unsupported verb in query: select NAME from CAT\n"},
        {"select * from MAKE", "norvik: Unknown table MAKE in query: select * from MAKE\n"},
        {"select * from CAT where SIZE = 1",
         "norvik: Invalid filter column name 'SIZE' in query 'select * from CAT "
         "where SIZE = 1'\n"},
    };
    for (const auto& c : cases) {
        const Result result = Run({"kb", "query", kb_, c.query});
        EXPECT_EQ(result.exitCode, 1) << c.query;
        EXPECT_EQ(result.err, c.error);
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(KbTool, MissingOrDamagedFileIsOneLineAndExitOne) {
    const std::string whole = Slurp(kb_);
    const std::string files[] = {
        (dir_ / "absent.kb").string(),
        FileOf("empty.kb", ""),
        FileOf("short.kb", whole.substr(0, whole.size() - 5)),
        FileOf("header.kb", whole.substr(0, 40)),
        FileOf("text.kb", "This is not a Knowledge Base file at all, only some words.\n"),
        FileOf("count.kb", whole.substr(0, 44) + std::string("\xff\xff\xff\x7f", 4) + whole.substr(48)),
    };
    for (const std::string& file : files) {
        for (const char* verb : {"info", "dump", "query"}) {
            std::vector<std::string> args = {"kb", verb, file};
            if (std::string(verb) == "dump") args.push_back("CAT");
            if (std::string(verb) == "query") args.push_back("select * from CAT");
            const Result result = Run(args);
            EXPECT_EQ(result.exitCode, 1) << verb << " " << file;
            EXPECT_EQ(LineCount(result.err), 1) << result.err;
            EXPECT_EQ(result.err.rfind("norvik: cannot read the Knowledge Base file: ", 0), 0u) << result.err;
            EXPECT_EQ(result.out, "");
        }
    }
}

TEST_F(KbTool, WrongCommandLinesExitTwo) {
    EXPECT_EQ(Run({"kb", "--help"}).exitCode, 0);
    EXPECT_NE(Run({"--help"}).out.find("kb info|dump|query"), std::string::npos);
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"kb"},
             {"kb", "info"},
             {"kb", "dump", kb_},
             {"kb", "query", kb_},
             {"kb", "frob", kb_},
             {"kb", "info", kb_, "extra"},
             {"kb", "dump", kb_, "CAT", "--csv", "--json"},
         }) {
        EXPECT_EQ(Run(args).exitCode, 2) << args.size();
    }
}

}  // namespace
