// norvik loctype and norvik location on both engines: paths by either separator, address
// ranges, deletion and export, and bad input refused in one line with nothing lost.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

class LocationTool : public ::testing::TestWithParam<Engine> {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("norvik_loc_cli_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        scratch_ = std::make_unique<ScratchDatabase>(GetParam());
        db_ = std::make_unique<CNorvikSql>(kb_);
        ASSERT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
    }
    void TearDown() override {
        db_.reset();
        scratch_.reset();
        std::filesystem::remove_all(dir_);
    }

    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_, args);
    }
    // A failure: the exit code, one line on stderr, nothing on stdout.
    void ExpectRefused(const std::vector<std::string>& args, int exitCode, const std::string& errorPart) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, exitCode) << args.back() << ": " << result.err;
        EXPECT_EQ(LineCount(result.err), 1) << result.err;
        EXPECT_NE(result.err.find(errorPart), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    std::string ReadFile(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    std::filesystem::path dir_;
    CAuditDBSys kb_;
    std::unique_ptr<ScratchDatabase> scratch_;
    std::unique_ptr<CNorvikSql> db_;  // to seed and to check what the tool did
};

TEST_P(LocationTool, PathsWorkWithEitherSeparatorAndIdsToo) {
    EXPECT_EQ(Run({"location", "add", "HQ;Floor 1;Room 7"}).out, "3  HQ\\Floor 1\\Room 7\n");
    EXPECT_EQ(Run({"location", "add", "HQ\\Floor 1\\Room 8"}).out, "4  HQ\\Floor 1\\Room 8\n");
    EXPECT_EQ(Run({"location", "add", "HQ;Floor 1"}).out, "2  HQ\\Floor 1\n") << "an existing path is found";
    EXPECT_EQ(Run({"location", "find", "HQ\\Floor 1;Room 7"}).out, "3  HQ\\Floor 1\\Room 7\n");
    EXPECT_EQ(Run({"location", "find", "4"}).out, "4  HQ\\Floor 1\\Room 8\n");
    EXPECT_EQ(Run({"location", "find", "HQ;"}).out, "1  HQ\n");

    const ToolResult tree = Run({"location", "list", "--tree"});
    EXPECT_EQ(tree.exitCode, 0) << tree.err;
    EXPECT_NE(tree.out.find("\n    Room 8   4  New Location Type"), std::string::npos) << tree.out;
    const ToolResult flat = Run({"location", "list"});
    EXPECT_NE(flat.out.find("\nHQ\\Floor 1\\Room 7   3  New Location Type"), std::string::npos) << flat.out;
    EXPECT_EQ(Run({"--json", "location", "list", "--tree"}).out,
              "[{\"id\": 1, \"name\": \"HQ\", \"path\": \"HQ\", \"parent\": 0, \"type\": 1, \"typeName\": \"New "
              "Location Type\", \"ranges\": [], \"children\": [{\"id\": 2, \"name\": \"Floor 1\", \"path\": "
              "\"HQ\\\\Floor 1\", \"parent\": 1, \"type\": 2, \"typeName\": \"New Location Type\", \"ranges\": [], "
              "\"children\": [{\"id\": 3, \"name\": \"Room 7\", \"path\": \"HQ\\\\Floor 1\\\\Room 7\", \"parent\": 2, "
              "\"type\": 3, \"typeName\": \"New Location Type\", \"ranges\": [], \"children\": []}, {\"id\": 4, "
              "\"name\": \"Room 8\", \"path\": \"HQ\\\\Floor 1\\\\Room 8\", \"parent\": 2, \"type\": 3, \"typeName\": "
              "\"New Location Type\", \"ranges\": [], \"children\": []}]}]}]\n");

    EXPECT_EQ(Run({"location", "rename", "HQ;Floor 1", "Floor 2"}).exitCode, 0);
    EXPECT_EQ(Run({"location", "find", "HQ;Floor 2;Room 7"}).out, "3  HQ\\Floor 2\\Room 7\n");
    ExpectRefused({"location", "rename", "3", "Room 8"}, 1, "already exists there (id 4)");
    ExpectRefused({"location", "find", "HQ;Floor 1"}, 1, "no location 'HQ;Floor 1'");
}

TEST_P(LocationTool, RangesFindAnAddressThroughTheSecondRange) {
    Run({"location", "add", "HQ;Floor 1"});
    const ToolResult set = Run({"location", "ranges", "HQ;Floor 1", "10.0.0.1;10.0.1.1", "10.0.0.9;10.0.1.9"});
    EXPECT_EQ(set.exitCode, 0) << set.err;
    EXPECT_EQ(Run({"location", "find-ip", "10.0.1.5"}).out, "2  HQ\\Floor 1\n");
    EXPECT_EQ(Run({"--json", "location", "ranges", "2"}).out,
              "[{\"from\": \"10.0.0.1\", \"to\": \"10.0.0.9\"}, {\"from\": \"10.0.1.1\", \"to\": \"10.0.1.9\"}]\n");
    EXPECT_EQ(Run({"location", "ranges", "2"}).out, "From      To\n10.0.0.1  10.0.0.9\n10.0.1.1  10.0.1.9\n");
    ExpectRefused({"location", "find-ip", "10.0.0.10"}, 1, "no location has a range holding 10.0.0.10");

    // Bad ranges leave the stored ones as they were.
    ExpectRefused({"location", "ranges", "2", "1.1.1.1;2.2.2.2", "1.1.1.9"}, 2, "FROM holds 2 addresses and TO 1");
    ExpectRefused({"location", "ranges", "2", "1.1.1.9", "1.1.1.1"}, 2, "ends before it starts");
    ExpectRefused({"location", "ranges", "2", "1.1.1.256", "1.1.1.1"}, 2, "not an IPv4 address: '1.1.1.256'");
    std::string many;
    for (int i = 0; i < 20; ++i) many += (i ? ";" : "") + std::string("192.168.100.100");
    ExpectRefused({"location", "ranges", "2", many, many}, 2, "at most 255");
    ExpectRefused({"location", "ranges", "2", "1.1.1.1"}, 2, "FROM and TO together");
    EXPECT_STREQ(db_->locGetIpRangesFrom(2).c_str(), "10.0.0.1;10.0.1.1");

    for (const char* bad : {"300.1.1.1", "10.0.0", "10.0.0.1.2", "a.b.c.d", "-1.0.0.0", "10..0.1", ""}) {
        ExpectRefused({"location", "find-ip", bad}, 2, "not an IPv4 address");
    }
    EXPECT_EQ(Run({"location", "ranges", "2", "", ""}).exitCode, 0);
    EXPECT_STREQ(db_->locGetIpRangesFrom(2).c_str(), "");
}

TEST_P(LocationTool, DeleteMovesTheAssetsOfTheSubtreeAndSaysWhere) {
    Run({"location", "add", "HQ;Floor 1;Room 7"});
    Run({"location", "add", "HQ;Floor 1;Room 8"});
    const ULong inRoom = db_->InsertRecord("ASSET", "_NAME,_LOCATION", "'pc',3");
    const ULong onFloor = db_->InsertRecord("ASSET", "_NAME,_LOCATION", "'printer',2");
    const ToolResult deleted = Run({"location", "delete", "HQ\\Floor 1"});
    EXPECT_EQ(deleted.exitCode, 0) << deleted.err;
    EXPECT_EQ(deleted.out, "deleted 'HQ\\Floor 1' and 2 location(s) below it; their assets now belong to 'HQ'\n");
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", inRoom), 1u);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", onFloor), 1u);
    ExpectRefused({"location", "delete", "0"}, 1, "the root (location 0)");
    ExpectRefused({"location", "delete", "HQ;Floor 1"}, 1, "no location");
    EXPECT_EQ(Run({"location", "delete", "1"}).out,
              "deleted 'HQ' and 0 location(s) below it; their assets now belong to the top of the tree\n");
}

TEST_P(LocationTool, ExportWritesTheFileByteForByte) {
    Run({"location", "add", "Site;Room, east"});
    Run({"location", "ranges", "Site", "10.0.0.1", "10.0.0.9"});
    db_->InsertRecord("ASSET", "_NAME,_LOCATION", "'pc',1");
    db_->InsertRecord("ASSET", "_NAME,_LOCATION", "'stray',0");
    const std::string file = (dir_ / "tree.csv").string();
    const ToolResult exported = Run({"location", "export", file});
    EXPECT_EQ(exported.exitCode, 0) << exported.err;
    EXPECT_EQ(ReadFile(file),
              "LOCATION,IP ADDRESS FROM,IP ADDRESS TO,ASSET NAME\n"
              ",,,stray\n"
              "Site,10.0.0.1,10.0.0.9,pc\n"
              "Site\\Room, east,,,\n");
    ExpectRefused({"location", "export", (dir_ / "no-such-folder" / "tree.csv").string()}, 1, "cannot write");
}

TEST_P(LocationTool, QuotesPercentSignsAndHighBytesSurvive) {
    const std::string path = "O'Neil's;100% \"sure\";caf\xE9 \x80";
    EXPECT_EQ(Run({"location", "add", path}).out, "3  O'Neil's\\100% \"sure\"\\caf\xE9 \x80\n");
    EXPECT_EQ(Run({"location", "find", path}).out, "3  O'Neil's\\100% \"sure\"\\caf\xE9 \x80\n");
    EXPECT_EQ(Run({"location", "rename", path, "it''s 50%_*"}).exitCode, 0);
    EXPECT_EQ(Run({"location", "find", "O'Neil's;100% \"sure\";it''s 50%_*"}).out,
              "3  O'Neil's\\100% \"sure\"\\it''s 50%_*\n");
    ExpectRefused({"location", "find", "O'Neil's;100%"}, 1, "no location");
    const ToolResult json = Run({"--json", "location", "list"});
    EXPECT_NE(json.out.find("\"name\": \"100% \\\"sure\\\"\""), std::string::npos) << json.out;
    EXPECT_EQ(Run({"loctype", "add", "caf\xE9's 100%"}).exitCode, 0);
    EXPECT_NE(Run({"--json", "loctype", "list"}).out.find("\"caf\\u00e9's 100%\""), std::string::npos);
}

TEST_P(LocationTool, BadInputIsRefusedInOneLineAndLosesNothing) {
    const std::string overlong = "Site;" + std::string(1100, 'x');
    ExpectRefused({"location", "add", overlong}, 2, "1105 characters long; at most 1023");
    ExpectRefused({"location", "find", overlong}, 2, "at most 1023");
    ExpectRefused({"location", "add", "Site;;Room"}, 2, "empty name");
    ExpectRefused({"location", "add", "\\Site"}, 2, "empty name");
    ExpectRefused({"location", "add", ""}, 2, "empty name");
    ExpectRefused({"location", "find", "\\Site"}, 2, "not with a separator");
    EXPECT_EQ(Run({"--json", "location", "list"}).out, "[]\n");

    Run({"location", "add", "Site"});
    ExpectRefused({"location", "rename", "Site", "a;b"}, 2, "may not hold ';'");
    ExpectRefused({"location", "rename", "Site", ""}, 2, "may not be empty");
    ExpectRefused({"location", "rename", "Site"}, 2, "usage: norvik location rename LOCATION NAME");
    ExpectRefused({"location", "list", "--deep"}, 2, "unknown option --deep");
    ExpectRefused({"location", "move", "Site"}, 2, "unknown location command move");
    ExpectRefused({"location"}, 2, "location needs a command");
    ExpectRefused({"loctype", "add"}, 2, "usage: norvik loctype add NAME [--parent TYPE]");
    ExpectRefused({"loctype", "add", "Room", "--parent"}, 2, "--parent needs a value");
    ExpectRefused({"location", "find", "Nowhere"}, 1, "no location 'Nowhere'");
    EXPECT_EQ(Run({"location", "find", "Site"}).out, "1  Site\n");
    EXPECT_EQ(Run({"location", "add", "--", "--dashes"}).out, "2  --dashes\n") << "after -- a word is a name";

    for (const char* verb : {"location", "loctype"}) {
        const ToolResult help = Run({verb, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(help.out.rfind(std::string("usage: norvik ") + verb, 0), 0u) << help.out;
    }
    EXPECT_EQ(Run({"location", "add", "--help"}).exitCode, 0);
}

TEST_P(LocationTool, LocationTypesFormAChainByIdOrName) {
    EXPECT_EQ(Run({"loctype", "add", "Site"}).out, "1\n");
    EXPECT_EQ(Run({"loctype", "add", "Room", "--parent", "Site"}).out, "2\n");
    EXPECT_EQ(Run({"loctype", "add", "Floor", "--parent", "1"}).out, "3\n");
    EXPECT_EQ(Run({"--json", "loctype", "list"}).out,
              "[{\"id\": 1, \"name\": \"Site\", \"parent\": 0, \"level\": 1}, {\"id\": 3, \"name\": \"Floor\", "
              "\"parent\": 1, \"level\": 2}, {\"id\": 2, \"name\": \"Room\", \"parent\": 3, \"level\": 3}]\n");
    EXPECT_EQ(Run({"loctype", "list"}).out,
              "Id  Level  Name   Parent\n"
              " 1      1  Site   -\n"
              " 3      2  Floor  Site\n"
              " 2      3  Room   Floor\n");
    ExpectRefused({"loctype", "add", "Site"}, 1, "a location type named 'Site' already exists (id 1)");
    ExpectRefused({"loctype", "add", "Hall", "--parent", "Nope"}, 1, "no location type 'Nope'");
    ExpectRefused({"loctype", "rename", "Floor", "Room"}, 1, "already exists (id 2)");

    Run({"location", "add", "HQ;Level 1;Kitchen"});
    EXPECT_EQ(db_->locGetType(db_->locFind("HQ;Level 1")), 3u);
    EXPECT_EQ(Run({"loctype", "rename", "Floor", "Storey"}).exitCode, 0);
    const ToolResult deleted = Run({"loctype", "delete", "Storey"});
    EXPECT_EQ(
        deleted.out,
        "deleted location type 'Storey' and its 1 location(s); their assets and sub-locations moved up a level\n");
    EXPECT_EQ(Run({"location", "find", "HQ;Kitchen"}).out, "3  HQ\\Kitchen\n");
    ExpectRefused({"loctype", "delete", "Storey"}, 1, "no location type 'Storey'");
}

INSTANTIATE_TEST_SUITE_P(, LocationTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
