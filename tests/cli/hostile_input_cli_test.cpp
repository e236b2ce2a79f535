// Regression tests of the tool against hostile input: files that are not files, texts that are
// not names, values outside their range. Every refusal is one line and changes nothing.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/db_tool_test.h"

namespace {

using HostileInput = DbTool;

TEST_P(HostileInput, CaptureOfAFolderDeviceOrFifoCrashed) {
    Ok({"asset", "add", "PC1"});
    const std::string fifo = (dir_.path / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", dir_.path.string()}), 1, ": is a folder");
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", "/dev/zero"}), 1, "/dev/zero: is a device");
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", fifo}), 1, "fifo: is a FIFO");
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", "/nowhere"}), 1, "no such file or folder");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM SWCAPTURE"), 0u);
}

TEST_P(HostileInput, CaptureReadAFileOfAnySize) {
    Ok({"asset", "add", "PC1"});
    const std::filesystem::path large = dir_.path / "large.log";
    WriteFile(large, "");
    std::filesystem::resize_file(large, 8 * 1024 * 1024 + 1);  // sparse: nothing is written
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", large.string()}), 1,
                  "large.log: larger than the 8 MiB allowed");
    std::filesystem::resize_file(large, 8 * 1024 * 1024);
    ExpectRefused(Run({"capture", "add", "PC1", "X", "--from", large.string()}), 1, "holds a zero byte");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM SWCAPTURE"), 0u);
}

TEST_P(HostileInput, ImportOfADeviceOrFifoSaidNoSuchFile) {
    const std::string fifo = (dir_.path / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const ToolResult result = Run({"import", "/dev/zero", fifo});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "norvik: /dev/zero: is a device\nnorvik: " + fifo + ": is a FIFO\n");
}

TEST_P(HostileInput, ValuesOutsideTheirRangeWereAccepted) {
    ExpectRefused(Run({"field", "add", "F", "--type", "integer", "--min", "5", "--max", "1"}), 2,
                  "--min 5 is greater than --max 1");
    ExpectRefused(Run({"note", "add", "asset", "999999", "lost"}), 1, "there is no asset with id 999999");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM NOTES"), 0u);
    for (const char* days : {"0", "-1", "abc", "99999999999", "3651", ""})
        ExpectRefused(Run({"option", "set", "AuditInterval", days}), 2,
                      std::string("AuditInterval takes a whole number of days from 1 to 3650: ") + days);
    Ok({"option", "set", "AuditInterval", "3650"});
    EXPECT_EQ(Ok({"option", "get", "AuditInterval"}), "3650\n");
    Ok({"asset", "add", "PC1"});
    ExpectRefused(Run({"sw", "add-file", "PC1", "C:\\a.exe", "--size", "1", "--date", "2024-02-30"}), 2,
                  "--date takes YYYY-MM-DD");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM SWFILE"), 0u);
}

TEST_P(HostileInput, SecurityWentOnWithNoOneAbleToLogOn) {
    const std::string noPassword = "no user has a password, so no one could log on to the console";
    ExpectRefused(Run({"security", "on"}), 1, noPassword);
    Ok({"user", "add", "anna"});
    ExpectRefused(Run({"security", "on"}), 1, noPassword);
    const auto password = [this](const std::string& text) {
        return RunToolWithInput(dir_.path, On({"user", "password", "anna"}), text + "\n");
    };
    const auto check = [this](const std::string& text) {
        return RunToolWithInput(dir_.path, On({"user", "check", "anna"}), text + "\n");
    };
    ExpectRefused(password(""), 1, "a password may not be empty");
    ExpectRefused(password(std::string("good\0bad", 8)), 1, "a password may not hold a zero byte");
    EXPECT_EQ(Ok({"security", "status"}), "off\n");
    EXPECT_EQ(password("good").exitCode, 0);
    ExpectRefused(check(std::string("good\0bad", 8)), 1, "wrong password");
    EXPECT_EQ(check("good").exitCode, 0);
    EXPECT_EQ(Ok({"security", "on"}), "");
    EXPECT_NE(Ok({"security", "--help"}).find("protected by file permissions"), std::string::npos);
}

TEST_P(HostileInput, NamesOfSpacesWereAccepted) {
    for (const std::string blank : {" ", "\xC2\xA0", " \xC2\xA0\t", "\xE2\x80\x83", "\xA0"}) {
        ExpectRefused(Run({"asset", "add", blank}), 2, "an asset name may not be empty or made only of spaces");
        ExpectRefused(Run({"app", "add", "Acme", blank}), 2, "an application needs a name");
        ExpectRefused(Run({"discover", "add", blank}), 2, "a computer name may not be empty");
    }
    EXPECT_EQ(Number("SELECT COUNT(*) FROM ASSET"), 0u);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM APPS"), 0u);
}

TEST_P(HostileInput, ControlCharactersReachedTheTerminal) {
    const std::string inventory =
        "<REQUEST><CONTENT><HARDWARE><NAME>PC&#x1b;]0;owned&#x7;</NAME></HARDWARE></CONTENT></REQUEST>";
    EXPECT_EQ(Ok({"import", WriteFile(dir_.path / "esc.xml", inventory)}).find('\x1b'), std::string::npos);
    Ok({"asset", "add",
        "B\x1b[2J\x9b"
        "1m\xC2\x9b"
        "2J"});
    const std::string table = Ok({"asset", "list"});
    EXPECT_NE(table.find("PC?]0;owned?"), std::string::npos) << table;
    EXPECT_NE(table.find("B?[2J?1m?2J"), std::string::npos) << table;
    EXPECT_NE(Ok({"--json", "asset", "list"}).find("PC\\u001B]0;owned\\u0007"), std::string::npos);
}

TEST_P(HostileInput, DatesBefore1970WereCalledNotADay) {
    // A wrong purge prints the verb's help after the one line of its problem.
    const auto firstLine = [](const ToolResult& result) { return result.err.substr(0, result.err.find('\n')); };
    const ToolResult early = Run({"history", "purge", "--before", "1969-12-31"});
    EXPECT_EQ(early.exitCode, 2);
    EXPECT_EQ(firstLine(early), "norvik: 1969-12-31 is too early: the database holds no date before 1970-01-02");
    ExpectRefused(Run({"web", "purge", "--before", "19000101"}), 2, "19000101 is too early");
    const std::string inventory =
        "<REQUEST><CONTENT><HARDWARE><NAME>OLD</NAME></HARDWARE><ACCESSLOG><LOGDATE>"
        "1969-12-31 23:59:59</LOGDATE></ACCESSLOG></CONTENT></REQUEST>";
    Ok({"import", WriteFile(dir_.path / "old.xml", inventory)});
    EXPECT_EQ(Ok({"asset", "list"}).find("never"), std::string::npos)
        << "the time of the import stands for a date the database cannot hold";
}

NORVIK_ON_BOTH_ENGINES(HostileInput);

}  // namespace
