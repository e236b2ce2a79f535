// The station-file update, from file contents before to file contents after.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include "platform/exceptions.h"
#include "sql/station_file.h"
#include "support/slurp.h"

namespace {

class StationFileWrite : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = std::filesystem::temp_directory_path() / ("norvik_station_write_" + std::to_string(getpid()));
    }
    void TearDown() override { std::filesystem::remove(path_); }
    std::string After(const char* before, const char* value) {
        std::filesystem::remove(path_);
        if (before) std::ofstream(path_, std::ios::binary) << before;
        WriteStationValue(path_.c_str(), "Asset", "Name", value);
        return Contents();
    }
    std::string Contents() { return Slurp(path_); }
    std::filesystem::path path_;
};

TEST_F(StationFileWrite, OnlyTheNameOfTheAssetSectionChangesAndNeverToTwoLines) {
    const std::tuple<const char*, const char*> cases[] = {
        {nullptr, "[Asset]\nName=PC'2\n"},
        {"[Asset]\nName=old\n", "[Asset]\nName=PC'2\n"},
        {"[asset]\n  name = old \nSerial=1\n", "[asset]\nName=PC'2\nSerial=1\n"},
        {"[Other]\nName=x\n[Asset]\nName=old\n", "[Other]\nName=x\n[Asset]\nName=PC'2\n"},
        {"[Asset]\nSerial=1\n\n[Other]\nA=1\n", "[Asset]\nSerial=1\nName=PC'2\n\n[Other]\nA=1\n"},
        {"[Other]\nA=1", "[Other]\nA=1\n[Asset]\nName=PC'2\n"},
        {"[Asset]\nName=old\n; tail", "[Asset]\nName=PC'2\n; tail"},
        {"[Asset]\r\nName=old\r\n", "[Asset]\r\nName=PC'2\r\n"},
        {"; Name=not an entry\n[Asset] ; comment\nX=1\n", "; Name=not an entry\n[Asset] ; comment\nX=1\nName=PC'2\n"}};
    for (const auto& [before, after] : cases)
        EXPECT_EQ(After(before, "PC'2"), after) << (before ? before : "(no file)");
    EXPECT_EQ(After("[Asset]\nName=old\n", "caf\xE9"), "[Asset]\nName=caf\xE9\n");
    // A line break in the value is refused and the file kept.
    EXPECT_THROW(WriteStationValue(path_.c_str(), "Asset", "Name", "two\nlines"), CFileException);
    EXPECT_EQ(Contents(), "[Asset]\nName=caf\xE9\n");
}

}  // namespace
