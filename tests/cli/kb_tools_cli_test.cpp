// norvik kb build, check-common and recognise end to end on the sample data of tests/data/kb, and
// the one-line errors for bad input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/cli_runner.h"

namespace {

class KbTools : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ =
            std::filesystem::temp_directory_path() / ("norvik_kbtools_" + std::to_string(::getpid()) + "_" +
                                                      ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
        kb_ = (dir_ / "sample.ids").string();
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }
    ToolResult Run(const std::vector<std::string>& args) { return RunTool(dir_, args); }
    ToolResult Build() { return Run({"kb", "build", kb_, "--from", NORVIK_TEST_DATA_DIR "/kb"}); }

    std::filesystem::path dir_;
    std::string kb_;
};

TEST_F(KbTools, BuildThenRecogniseTheSampleAudit) {
    const ToolResult built = Build();
    ASSERT_EQ(built.exitCode, 0) << built.err;
    EXPECT_NE(built.out.find("SYSFILE 26"), std::string::npos) << built.out;
    const ToolResult info = Run({"kb", "info", kb_});
    EXPECT_NE(info.out.find("4.00"), std::string::npos) << info.out;

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
}

TEST_F(KbTools, ScanComputesCrcAndDatesOfRealFiles) {
    ASSERT_EQ(Build().exitCode, 0);
    // larchrt.dll is a key file known by name only (any size, any date); notes.txt is unknown.
    std::filesystem::create_directories(dir_ / "scan" / "bin");
    { std::ofstream(dir_ / "scan" / "bin" / "larchrt.dll") << "runtime"; }
    { std::ofstream(dir_ / "scan" / "notes.txt") << "hello"; }
    const ToolResult found = Run({"kb", "recognise", kb_, "--scan", (dir_ / "scan").string()});
    ASSERT_EQ(found.exitCode, 0) << found.err;
    EXPECT_EQ(found.out, "bin/larchrt.dll\tLarch Labs Runtime 4.0\n");
}

TEST_F(KbTools, CheckCommonMarksSharedFilesAndSaves) {
    ASSERT_EQ(Build().exitCode, 0);
    const ToolResult checked = Run({"kb", "check-common", kb_});
    ASSERT_EQ(checked.exitCode, 0) << checked.err;
    EXPECT_EQ(checked.out, "26 known files checked, 4 marked common\n");
    const ToolResult rows = Run({"kb", "query", kb_, "select * from SYSFILE where FLAGS = 1"});
    EXPECT_NE(rows.out.find("qsrt40.dll"), std::string::npos) << rows.out;
}

TEST_F(KbTools, BadInputGivesOneLineAndExitCode) {
    { std::ofstream(dir_ / "categories.csv") << "name,type\nLaptop,yes\n"; }
    const ToolResult bad = Run({"kb", "build", kb_, "--from", dir_.string()});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.err, "norvik: categories.csv:2: type \"yes\" is not a number (decimal or 0x...)\n");
    EXPECT_EQ(Run({"kb", "build", kb_}).exitCode, 2);
    EXPECT_EQ(Run({"kb", "recognise", kb_, "--list", "x"}).exitCode, 2);

    ASSERT_EQ(Build().exitCode, 0);
    { std::ofstream(dir_ / "list.txt") << "scribe.exe,12,0xZZ,2023-06-01\n"; }
    const ToolResult list = Run({"kb", "recognise", kb_, "--files", (dir_ / "list.txt").string()});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_EQ(LineCount(list.err), 1);
    EXPECT_NE(list.err.find("list.txt:1:"), std::string::npos) << list.err;

    { std::ofstream(dir_ / "junk.ids") << "junk"; }
    const ToolResult junk = Run({"kb", "check-common", (dir_ / "junk.ids").string()});
    EXPECT_EQ(junk.exitCode, 1);
    EXPECT_EQ(LineCount(junk.err), 1) << junk.err;
}

}  // namespace
