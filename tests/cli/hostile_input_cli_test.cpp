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
    const std::filesystem::path large = dir_.path / "large.xml";
    WriteFile(large, "");
    std::filesystem::resize_file(large, 32 * 1024 * 1024 + 1);
    const ToolResult result = Run({"import", "/dev/zero", fifo, large.string()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "norvik: /dev/zero: is a device\nnorvik: " + fifo + ": is a FIFO\nnorvik: " + large.string() +
                              ": line 1, column 1: the document is larger than the 32 MiB an inventory may be\n");
}

NORVIK_ON_BOTH_ENGINES(HostileInput);

}  // namespace
