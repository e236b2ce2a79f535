// The verbs that work on an Audit Database, end to end on both engines: loctype and location,
// asset, history, hw and upgrade, with their readable and JSON output and one-line failures.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

// Seeds and checks the database the way the library's own families do.
class Seeder : public CNorvikSql {
public:
    using CNorvikSql::CNorvikSql;
    using CNorvikSql::historyAdd;
};

class DbTool : public ::testing::TestWithParam<Engine> {
protected:
    void TearDown() override { db_.reset(); }

    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return RunTool(dir_.path, args);
    }
    // Runs a command that must succeed and returns what it printed.
    std::string Ok(const std::vector<std::string>& args) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, 0) << args[0] << " " << args[1] << ": " << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    Seeder& Db() {
        if (!db_) {
            db_ = std::make_unique<Seeder>(kb_);
            EXPECT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        }
        return *db_;
    }

    ToolDir dir_{"norvik_db_cli"};
    std::unique_ptr<ScratchDatabase> scratch_ = std::make_unique<ScratchDatabase>(GetParam());
    CAuditDBSys kb_;
    std::unique_ptr<Seeder> db_;
};

TEST_P(DbTool, Options) {
    EXPECT_EQ(Ok({"option", "set", "O'Neil's", "50% * done"}), "");
    EXPECT_EQ(Ok({"option", "get", "O'Neil's"}), "50% * done\n");
    EXPECT_EQ(Ok({"option", "get", "never set"}), "\n");
    EXPECT_EQ(Ok({"--json", "option", "get", "O'Neil's"}), "{\"key\": \"O'Neil's\", \"value\": \"50% * done\"}\n");
}

TEST_P(DbTool, LocationTypesAndLocations) {
    EXPECT_EQ(Ok({"loctype", "add", "Site"}), "1\n");
    EXPECT_EQ(Ok({"loctype", "add", "Room", "--parent", "Site"}), "2\n");
    EXPECT_EQ(Ok({"loctype", "add", "Floor", "--parent", "1"}), "3\n");
    EXPECT_EQ(Ok({"--json", "loctype", "list"}),
              "[{\"id\": 1, \"name\": \"Site\", \"parent\": 0, \"level\": 1}, {\"id\": 3, \"name\": \"Floor\", "
              "\"parent\": 1, \"level\": 2}, {\"id\": 2, \"name\": \"Room\", \"parent\": 3, \"level\": 3}]\n");
    EXPECT_EQ(Ok({"loctype", "list"}),
              "Id  Level  Name   Parent\n"
              " 1      1  Site   -\n"
              " 3      2  Floor  Site\n"
              " 2      3  Room   Floor\n");
    ExpectRefused(Run({"loctype", "add", "Site"}), 1, "a location type named 'Site' already exists (id 1)");

    EXPECT_EQ(Ok({"location", "add", "HQ;Floor 1;Room 7"}), "3  HQ\\Floor 1\\Room 7\n");
    EXPECT_EQ(Ok({"location", "add", "HQ\\Floor 1\\Room 8"}), "4  HQ\\Floor 1\\Room 8\n");
    EXPECT_EQ(Ok({"location", "find", "4"}), "4  HQ\\Floor 1\\Room 8\n");
    EXPECT_NE(Ok({"location", "list", "--tree"}).find("\n    Room 8   4  Room"), std::string::npos);
    ExpectRefused(Run({"location", "rename", "3", "Room 8"}), 1, "already exists there (id 4)");
    ExpectRefused(Run({"location", "find", "Nowhere"}), 1, "no location 'Nowhere'");
    EXPECT_EQ(Ok({"location", "add", "--", "--dashes"}), "5  --dashes\n") << "after -- a word is a name";

    const std::string path = "O'Neil's;100% \"sure\";caf\xE9 \x80";
    EXPECT_EQ(Ok({"location", "add", path}), "8  O'Neil's\\100% \"sure\"\\caf\xE9 \x80\n");
    EXPECT_EQ(Run({"location", "rename", path, "it''s 50%_*"}).exitCode, 0);
    EXPECT_EQ(Ok({"location", "find", "O'Neil's;100% \"sure\";it''s 50%_*"}),
              "8  O'Neil's\\100% \"sure\"\\it''s 50%_*\n");
    EXPECT_NE(Ok({"--json", "location", "list"}).find("\"name\": \"100% \\\"sure\\\"\""), std::string::npos);

    Ok({"location", "ranges", "HQ;Floor 1", "10.0.0.1;10.0.1.1", "10.0.0.9;10.0.1.9"});
    EXPECT_EQ(Ok({"location", "find-ip", "10.0.1.5"}), "2  HQ\\Floor 1\n");
    EXPECT_EQ(Ok({"--json", "location", "ranges", "2"}),
              "[{\"from\": \"10.0.0.1\", \"to\": \"10.0.0.9\"}, {\"from\": \"10.0.1.1\", \"to\": \"10.0.1.9\"}]\n");
    EXPECT_EQ(Ok({"location", "ranges", "2"}), "From      To\n10.0.0.1  10.0.0.9\n10.0.1.1  10.0.1.9\n");
    ExpectRefused(Run({"location", "find-ip", "10.0.0.10"}), 1, "no location has a range holding 10.0.0.10");
    // Bad ranges leave the stored ones as they were.
    ExpectRefused(Run({"location", "ranges", "2", "1.1.1.1;2.2.2.2", "1.1.1.9"}), 2, "FROM holds 2 addresses and TO 1");
    ExpectRefused(Run({"location", "ranges", "2", "1.1.1.9", "1.1.1.1"}), 2, "ends before it starts");
    ExpectRefused(Run({"location", "ranges", "2", "1.1.1.256", "1.1.1.1"}), 2, "not an IPv4 address: '1.1.1.256'");
    ExpectRefused(Run({"location", "find-ip", "10..0.1"}), 2, "not an IPv4 address");
    ExpectRefused(Run({"location", "find", "\\Site"}), 2, "not with a separator");
    EXPECT_STREQ(Db().locGetIpRangesFrom(2).c_str(), "10.0.0.1;10.0.1.1");

    const std::string file = (dir_.path / "tree.csv").string();
    Ok({"location", "export", file});
    EXPECT_EQ(Slurp(file).rfind("LOCATION,IP ADDRESS FROM,IP ADDRESS TO,ASSET NAME\n", 0), 0u) << Slurp(file);
    ExpectRefused(Run({"location", "export", (dir_.path / "no-such-folder" / "tree.csv").string()}), 1, "cannot write");
    EXPECT_EQ(Ok({"location", "delete", "HQ\\Floor 1"}),
              "deleted 'HQ\\Floor 1' and 2 location(s) below it; their assets now belong to 'HQ'\n");
    ExpectRefused(Run({"location", "delete", "0"}), 1, "the root (location 0)");
    EXPECT_EQ(Run({"loctype", "rename", "Floor", "Storey"}).exitCode, 0);
    ExpectRefused(Run({"loctype", "delete", "Hall"}), 1, "no location type 'Hall'");
}

TEST_P(DbTool, Assets) {
    const std::string name = "O'Neil's 100%_PC caf\xE9";
    Ok({"location", "add", "HQ;Floor 2"});
    EXPECT_EQ(Ok({"asset", "add", name, "--location", "HQ;Floor 2"}), "1  " + name + "\n");
    EXPECT_EQ(Ok({"asset", "add", "Mouse"}), "2  Mouse\n");
    EXPECT_EQ(Ok({"asset", "move", "Mouse", "--parent", name}), "moved 'Mouse' to child of " + name + "\n");
    EXPECT_EQ(Ok({"asset", "list"}),
              "Id  Name                   Place                           MAC address  IP address  Last audit\n"
              " 2  Mouse                  child of O'Neil's 100%_PC caf\xE9                           never\n"
              " 1  O'Neil's 100%_PC caf\xE9  HQ\\Floor 2                                               never\n");
    EXPECT_EQ(Ok({"asset", "list", "--location", "HQ;Floor 2", "--json"}),
              "[{\"id\": 1, \"name\": \"O'Neil's 100%_PC caf\\u00e9\", \"location\": 2, \"parent\": 0, "
              "\"place\": \"HQ\\\\Floor 2\", \"status\": 2, \"mac\": \"\", \"ip\": \"\", \"audited\": null}]\n");
    EXPECT_NE(Ok({"asset", "show", "1"}).find("Child assets  Mouse (2)\n"), std::string::npos);
    EXPECT_EQ(Ok({"asset", "show", "Mouse", "--json"}),
              "{\"id\": 2, \"name\": \"Mouse\", \"location\": 2, \"parent\": 1, \"place\": \"child of O'Neil's "
              "100%_PC caf\\u00e9\", \"status\": 4098, \"mac\": \"\", \"ip\": \"\", \"audited\": null, \"kind\": "
              "\"peripheral\", \"children\": []}\n");
    EXPECT_EQ(Ok({"asset", "count"}), "2\n");
    EXPECT_EQ(Ok({"asset", "count", "--location", "HQ;Floor 2", "--json"}), "{\"count\": 1}\n");
    ExpectRefused(Run({"asset", "show", "nope"}), 1, "no asset 'nope'");
    ExpectRefused(Run({"asset", "add", "Mouse"}), 1, "already exists (id 2)");
    ExpectRefused(Run({"asset", "move", name, "--parent", "Mouse"}), 1, "below itself");
    ExpectRefused(Run({"asset", "add", "Y", "--location", "No;Such"}), 1, "no location 'No;Such'");

    const std::filesystem::path station = dir_.path / "station.ini";
    std::ofstream(station, std::ios::binary) << "[Asset]\nName=old\nSerial=7\n";
    const std::string renamed = name + " '2'";
    EXPECT_EQ(Ok({"asset", "rename", name, renamed, "--station", station.string()}),
              "renamed asset 1 from '" + name + "' to '" + renamed + "'\n");
    EXPECT_EQ(Slurp(station), "[Asset]\nName=" + renamed + "\nSerial=7\n");
    // A station file that cannot be written takes the rename back; the run reports failure.
    const std::string bad = (dir_.path / "no/such.ini").string();
    ExpectRefused(Run({"asset", "rename", "Mouse", "Rat", "--station", bad}), 1);
    EXPECT_EQ(Ok({"asset", "show", "2", "--json"}).find("\"Rat\""), std::string::npos);
    EXPECT_EQ(Ok({"asset", "rename", "Mouse", "Rat"}), "renamed asset 2 from 'Mouse' to 'Rat'\n");
    EXPECT_EQ(Ok({"asset", "move", "Rat", "--location", "0"}), "moved 'Rat' to (root)\n");
    EXPECT_EQ(Db().GetAssetLocation(2), 0u);
    EXPECT_EQ(Ok({"asset", "move", "Rat", "--parent", "1"}), "moved 'Rat' to child of " + renamed + "\n");
    EXPECT_EQ(Ok({"asset", "delete", renamed}), "deleted '" + renamed + "' and 1 child asset(s)\n");
    EXPECT_EQ(Ok({"asset", "list", "--json"}), "[]\n");
}

TEST_P(DbTool, History) {
    ExpectRefused(Run({"history", "nobody"}), 1, "norvik: no asset 'nobody'\n");
    const ULong asset = Db().InsertRecord("ASSET", "_NAME", "'O''Neil''s caf\xE9'");
    Db().historyAdd(asset, CTime(2009, 1, 10, 9, 30, 0), 1, 3, "pc", nullptr, nullptr, "setup");
    Db().historyAdd(asset, CTime(2009, 2, 10, 9, 30, 0), 4, 3, "Name", "PC1", "PC2", "O'Neil");
    Db().historyAdd(asset, CTime(2009, 3, 10, 9, 30, 0), 4, 2, nullptr, "A", "B", "me");
    const char lines[] =
        "2009-01-10 09:30:00  Initial Audit\n"
        "2009-02-10 09:30:00  Name changed from PC1 to PC2\n"
        "2009-03-10 09:30:00  Moved  from A to B\n";
    EXPECT_EQ(Ok({"history", "O'Neil's caf\xE9"}), lines);
    const std::string details = Ok({"history", std::to_string(asset), "--details"});
    EXPECT_EQ(LineCount(details), 4) << details;  // a header and three rows
    EXPECT_NE(details.find("O'Neil"), std::string::npos) << details;
    EXPECT_NE(Ok({"--json", "history", std::to_string(asset)})
                  .find("\"date\": \"2009-03-10 09:30:00\", \"text\": \"Moved  from A to B\", \"operation\": "
                        "\"Changed\", \"category\": \"Location\", \"kind\": 2, \"key\": \"\", \"value1\": \"A\", "
                        "\"value2\": \"B\", \"user\": \"me\"}"),
              std::string::npos);

    EXPECT_EQ(Ok({"history", "purge", "--before", "2009-03-01"}), "Purged 1 history row dated before 2009-03-01\n");
    EXPECT_EQ(Ok({"--json", "history", "purge", "--before", "20090301"}),
              "{\"before\": \"2009-03-01\", \"removed\": 0}\n");
    Db().InsertRecord("ASSET", "_NAME", "'O''Neil''s caf\xE9'");
    ExpectRefused(Run({"history", "O'Neil's caf\xE9"}), 1, "2 assets are named 'O'Neil's caf\xE9'; name one by its id");
    Db().ExecuteStatement("drop table EVENTLOG");
    ExpectRefused(Run({"history", "purge", "--before", "2009-03-01"}), 1, "norvik: ODBC Error code ");
}

TEST_P(DbTool, Hardware) {
    const ULong pc = Db().AddAsset("PC 'one'", 0, 0, 0, CTime());
    EXPECT_EQ(Ok({"hw", "set", "PC 'one'", "Adapters|Network", "IP Address", "16777343", "--flags", "0x5000"}),
              "Adapters|Network|IP Address = 1.0.0.127\n");
    Ok({"hw", "set", std::to_string(pc), "Memory", "Total", "536870912", "--flags", "8194"});
    Ok({"hw", "set", "PC 'one'", "Adapters|Video", "Caf\xE9 100%", "it's"});
    EXPECT_EQ(Ok({"hw", "PC 'one'"}),
              "Adapters\n"
              "  Network\n"
              "    IP Address: 1.0.0.127\n"
              "  Video\n"
              "    Caf\xE9 100%: it's\n"
              "Memory\n"
              "  Total: 512 MB\n");
    EXPECT_EQ(Ok({"hw", "PC 'one'", "--path", "Adapters|Network"}), "IP Address: 1.0.0.127\n");
    EXPECT_NE(Ok({"--json", "hw", "PC 'one'", "--path", "Memory"})
                  .find("\"key\": \"Total\", \"flags\": 8194, \"value\": \"512 MB\"}"),
              std::string::npos);
    ExpectRefused(Run({"hw", "nobody"}), 1, "norvik: no asset 'nobody'\n");
    ExpectRefused(Run({"hw", "PC 'one'", "--path", "Nothing|Here"}), 1,
                  "norvik: no hardware category 'Nothing|Here'\n");

    Ok({"hw", "set", "PC 'one'", "Memory", "Total", "1024"});
    const std::string history = Ok({"hw", "history", "PC 'one'"});
    EXPECT_NE(history.find("  Memory|Total changed from 536870912 to 1024\n"), std::string::npos) << history;
    EXPECT_NE(Ok({"--json", "hw", "history", "PC 'one'"})
                  .find("\"operation\": \"Changed\", \"kind\": 15, \"key\": \"Memory|Total\", \"value1\": "
                        "\"536870912\", \"value2\": \"1024\""),
              std::string::npos);
}

TEST_P(DbTool, Upgrade) {
    scratch_ = std::make_unique<ScratchDatabase>(GetParam(), "7.08");
    const ToolResult refused = Run({"upgrade"});
    ExpectRefused(refused, 1, "upgraded to v7.0.9");
    EXPECT_NE(refused.err.find("use --yes"), std::string::npos) << refused.err;
    EXPECT_EQ(Ok({"upgrade", "--yes"}), "Upgrading Database to v7.0.9\nSchema: 7.14\n");
    EXPECT_EQ(Ok({"upgrade"}), "Schema: 7.14\n");

    scratch_ = std::make_unique<ScratchDatabase>(GetParam(), "7.12");
    const ToolResult stopped = Run({"--yes", "upgrade"});
    EXPECT_EQ(stopped.exitCode, 1);
    EXPECT_EQ(stopped.out, "Upgrading Database to v7.1.4\n");
    EXPECT_EQ(stopped.err,
              "norvik: The Audit Database needs upgrading from v7.12 to v7.14. Please consult your System "
              "Administrator\n");
}

INSTANTIATE_TEST_SUITE_P(, DbTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
