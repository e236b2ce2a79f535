// The verbs that work on an Audit Database, end to end on both engines: loctype and location,
// asset, history, hw, upgrade, picklists and fields, with readable and JSON output and one-line
// failures.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "support/db_tool_test.h"

namespace {

TEST_P(DbTool, LocationTypesAndLocations) {
    EXPECT_EQ(Ok({"loctype", "add", "Site"}), "1\n");
    EXPECT_EQ(Ok({"loctype", "add", "Room", "--parent", "Site"}), "2\n");
    EXPECT_EQ(Ok({"loctype", "add", "Floor", "--parent", "1"}), "3\n");
    EXPECT_EQ(Ok({"--json", "loctype", "list"}),
              "[{\"id\": 1, \"name\": \"Site\", \"parent\": 0, \"level\": 1}, {\"id\": 3, \"name\": \"Floor\", "
              "\"parent\": 1, \"level\": 2}, {\"id\": 2, \"name\": \"Room\", \"parent\": 3, \"level\": 3}]\n");
    ExpectRefused(Run({"loctype", "add", "Site"}), 1, "a location type named 'Site' already exists (id 1)");

    EXPECT_EQ(Ok({"location", "add", "HQ;Floor 1;Room 7"}), "3  HQ\\Floor 1\\Room 7\n");
    EXPECT_EQ(Ok({"location", "add", "HQ\\Floor 1\\Room 8"}), "4  HQ\\Floor 1\\Room 8\n");
    EXPECT_NE(Ok({"location", "list", "--tree"}).find("\n    Room 8   4  Room"), std::string::npos);
    EXPECT_EQ(Ok({"location", "add", "--", "--dashes"}), "5  --dashes\n") << "after -- a word is a name";

    EXPECT_EQ(Ok({"location", "add", "O'Neil's;100% \"sure\""}), "7  O'Neil's\\100% \"sure\"\n");
    EXPECT_NE(Ok({"--json", "location", "list"}).find("\"name\": \"100% \\\"sure\\\"\""), std::string::npos);

    Ok({"location", "ranges", "HQ;Floor 1", "10.0.0.1;10.0.1.1", "10.0.0.9;10.0.1.9"});
    EXPECT_EQ(Ok({"location", "find-ip", "10.0.1.5"}), "2  HQ\\Floor 1\n");
    EXPECT_EQ(Ok({"--json", "location", "ranges", "2"}),
              "[{\"from\": \"10.0.0.1\", \"to\": \"10.0.0.9\"}, {\"from\": \"10.0.1.1\", \"to\": \"10.0.1.9\"}]\n");
    ExpectRefused(Run({"location", "ranges", "2", "1.1.1.1;2.2.2.2", "1.1.1.9"}), 2, "FROM holds 2 addresses and TO 1");
    ExpectRefused(Run({"location", "find", "\\Site"}), 2, "not with a separator");

    ExpectRefused(Run({"location", "export", (dir_.path / "no-such-folder" / "tree.csv").string()}), 1, "cannot write");
    EXPECT_EQ(Ok({"location", "delete", "HQ\\Floor 1"}),
              "deleted 'HQ\\Floor 1' and 2 location(s) below it; their assets now belong to 'HQ'\n");
}

// UTF-8 names are one column a letter in tables and the same bytes in JSON; a lone Latin-1
// byte is still one column and that character in UTF-8.
TEST_P(DbTool, Utf8NamesAlignInTablesAndStayUtf8InJson) {
    Ok({"location", "add", "Z\xC3\xBCrich"});
    Ok({"location", "add", "Caf\xE9"});
    Ok({"location", "add", "Oslo"});
    EXPECT_EQ(Ok({"location", "list"}),
              "Path    Id  Type               Address ranges\n"
              "Caf\xE9     2  New Location Type\n"
              "Oslo     3  New Location Type\n"
              "Z\xC3\xBCrich   1  New Location Type\n");
    const std::string json = Ok({"--json", "location", "list"});
    EXPECT_NE(json.find("\"name\": \"Z\xC3\xBCrich\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"name\": \"Caf\xC3\xA9\""), std::string::npos) << json;
}

TEST_P(DbTool, Assets) {
    const std::string name = "O'Neil's 100%_PC caf\xE9";
    Ok({"location", "add", "HQ;Floor 2"});
    EXPECT_EQ(Ok({"asset", "add", name, "--location", "HQ;Floor 2"}), "1  " + name + "\n");
    EXPECT_EQ(Ok({"asset", "add", "Mouse"}), "2  Mouse\n");
    EXPECT_EQ(Ok({"asset", "move", "Mouse", "--parent", name}), "moved 'Mouse' to child of " + name + "\n");
    EXPECT_EQ(Ok({"asset", "list", "--location", "HQ;Floor 2", "--json"}),
              "[{\"id\": 1, \"name\": \"O'Neil's 100%_PC caf\xC3\xA9\", \"location\": 2, \"parent\": 0, \"place\": "
              "\"HQ\\\\Floor 2\", \"status\": 2, \"mac\": \"\", \"ip\": \"\", \"audited\": null, \"kind\": "
              "\"not yet audited\"}]\n");
    EXPECT_EQ(Ok({"asset", "show", "Mouse", "--json"}),
              "{\"id\": 2, \"name\": \"Mouse\", \"location\": 2, \"parent\": 1, \"place\": \"child of O'Neil's 100%_PC "
              "caf\xC3\xA9\", \"status\": 4098, \"mac\": \"\", \"ip\": \"\", \"audited\": null, \"kind\": "
              "\"peripheral\", \"children\": [], \"fields\": {\"Category\": \"\", \"Make\": \"\", \"Model\": \"\", "
              "\"Serial Number\": \"\"}}\n");
    // The whole-site list reads its rows in bulk and tells a child asset as show does.
    const std::string all = Ok({"asset", "list", "--json"});
    EXPECT_NE(all.find("{\"id\": 2, \"name\": \"Mouse\", \"location\": 2, \"parent\": 1, \"place\": \"child of "
                       "O'Neil's 100%_PC caf\xC3\xA9\", \"status\": 4098"),
              std::string::npos)
        << all;
    ExpectRefused(Run({"asset", "show", "nope"}), 1, "no asset 'nope'");

    const std::string station = WriteFile(dir_.path / "station.ini", "[Asset]\nName=old\nSerial=7\n");
    const std::string renamed = name + " '2'";
    EXPECT_EQ(Ok({"asset", "rename", name, renamed, "--station", station}),
              "renamed asset 1 from '" + name + "' to '" + renamed + "'\n");
    ExpectRefused(Run({"asset", "rename", "Mouse", "Rat", "--station", (dir_.path / "no/such.ini").string()}), 1);
    EXPECT_EQ(Ok({"asset", "rename", "Mouse", "Rat"}), "renamed asset 2 from 'Mouse' to 'Rat'\n");
    EXPECT_EQ(Ok({"asset", "move", "Rat", "--parent", "1"}), "moved 'Rat' to child of " + renamed + "\n");
    EXPECT_EQ(Ok({"asset", "delete", renamed}), "deleted '" + renamed + "' and 1 child asset(s)\n");
}

TEST_P(DbTool, History) {
    ExpectRefused(Run({"history", "nobody"}), 1, "norvik: no asset 'nobody'\n");
    const ULong asset = Db().InsertRecord("ASSET", "_NAME", "'O''Neil''s caf\xE9'");
    Db().historyAdd(asset, CTime(2009, 1, 10, 9, 30, 0), 1, 3, "pc", nullptr, nullptr, "setup");
    Db().historyAdd(asset, CTime(2009, 2, 10, 9, 30, 0), 4, 3, "Name", "PC1", "PC2", "O'Neil");
    Db().historyAdd(asset, CTime(2009, 3, 10, 9, 30, 0), 4, 2, nullptr, "A", "B", "me");
    const char lines[] =
        "2009-01-10 09:30:00  Initial Audit\n2009-02-10 09:30:00  Name changed from PC1 to PC2\n"
        "2009-03-10 09:30:00  Moved  from A to B\n";
    EXPECT_EQ(Ok({"history", "O'Neil's caf\xE9"}), lines);
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
              "Adapters\n  Network\n    IP Address: 1.0.0.127\n  Video\n    Caf\xE9 100%: it's\nMemory\n"
              "  Total: 512 MB\n");
    EXPECT_EQ(Ok({"hw", "PC 'one'", "--path", "Adapters|Network"}), "IP Address: 1.0.0.127\n");
    EXPECT_NE(Ok({"--json", "hw", "PC 'one'", "--path", "Memory"})
                  .find("\"key\": \"Total\", \"flags\": 8194, \"value\": \"512 MB\"}"),
              std::string::npos);
    ExpectRefused(Run({"hw", "PC 'one'", "--path", "Nothing|Here"}), 1,
                  "norvik: no hardware category 'Nothing|Here'\n");

    Ok({"hw", "set", "PC 'one'", "Memory", "Total", "1024"});
    const std::string history = Ok({"hw", "history", "PC 'one'"});
    EXPECT_NE(history.find("  Memory|Total changed from 536870912 to 1024\n"), std::string::npos) << history;
}

TEST_P(DbTool, SoftwareFolderTreeAndFiles) {
    Ok({"asset", "add", "PC1"});
    const std::string path = "C:\\O'Neil's 100%_\xE9\\app.exe";
    EXPECT_EQ(Ok({"sw", "add-file", "PC1", path, "--size", "4294967295", "--crc", "0xFFFFFFFF", "--date",
                  "2024-03-05 10:20:30", "--maker", "Acme", "--product", "Editor", "--version", "1.0"}),
              "1  " + path + "\n");
    EXPECT_EQ(Ok({"sw", "add-file", "1", "C:/Temp/loose.txt", "--size", "3"}), "2  C:\\Temp\\loose.txt\n");
    EXPECT_EQ(Ok({"sw", "PC1"}), "C:\\  (1)\n  O'Neil's 100%_\xE9\\  (2)\n  Temp\\  (3)\n");
    Db().ExecuteStatement("update SWFILE set _APPID=1 where _ID=2");
    EXPECT_EQ(Ok({"sw", "PC1", "--unassigned"}), "C:\\  (1)\n  O'Neil's 100%_\xE9\\  (2)\n");
    EXPECT_EQ(Ok({"sw", "PC1", "--folder", "C:\\O'Neil's 100%_\xE9"}),
              "Id  Name           Size  CRC       Date                 Application\n"
              " 1  app.exe  4294967295  FFFFFFFF  2024-03-05 10:20:30  -\n");
    EXPECT_NE(Ok({"--json", "sw", "PC1", "--folder", "C:\\Temp\\"})
                  .find("\"name\": \"loose.txt\", \"size\": 3, \"crc\": \"00000000\", \"date\": 0"),
              std::string::npos);
    ExpectRefused(Run({"sw", "PC1", "--folder", "C:\\Nope"}), 1, "no folder 'Nope'");
    ExpectRefused(Run({"sw", "add-file", "PC1", "app.exe", "--size", "1"}), 2, "at least one folder");

    Db().applicationAdd("Acme", "Editor", 0);
    EXPECT_EQ(Ok({"sw", "assign", "1", "Acme Editor"}), "assigned app.exe to Acme Editor\n");
    EXPECT_NE(Ok({"sw", "PC1", "--folder", "C:\\O'Neil's 100%_\xE9"}).find("  Acme Editor\n"), std::string::npos);
    EXPECT_EQ(Ok({"sw", "unassign", "1"}), "unassigned app.exe from Acme Editor\n");
}

TEST_P(DbTool, CapturedFiles) {
    Ok({"asset", "add", "PC1"});
    const std::string content = "it's 50%_done\r\n\xE9\x80\n";
    const std::string file = WriteFile(dir_.path / "boot.ini", content);
    EXPECT_EQ(Ok({"capture", "add", "PC1", "C:\\boot.ini", "--from", file}), "1  C:\\boot.ini  (18 bytes)\n");
    EXPECT_EQ(Ok({"capture", "show", "PC1", "C:\\boot.ini"}), content);
    EXPECT_EQ(Ok({"--json", "capture", "list", "PC1"}), "[{\"id\": 1, \"name\": \"C:\\\\boot.ini\", \"bytes\": 18}]\n");
    WriteFile(file, std::string("a\0b", 3));
    ExpectRefused(Run({"capture", "add", "PC1", "x", "--from", file}), 1, "zero byte");
    EXPECT_EQ(Ok({"capture", "delete", "PC1"}), "deleted 1 captured file(s) of PC1\n");
}

TEST_P(DbTool, Upgrade) {
    scratch_ = std::make_unique<ScratchDatabase>(GetParam(), "7.08");
    const ToolResult refused = Run({"upgrade"});
    ExpectRefused(refused, 1, "upgraded to v7.0.9");
    EXPECT_NE(refused.err.find("use --yes"), std::string::npos) << refused.err;
    const std::string upgraded = Ok({"upgrade", "--yes"});  // the status lines, then the schema
    EXPECT_EQ(upgraded.rfind("Upgrading Database to v7.0.9\n", 0), 0u) << upgraded;
    EXPECT_TRUE(upgraded.ends_with("\nSchema: 7.14\n")) << upgraded;
    EXPECT_EQ(Ok({"upgrade"}), "Schema: 7.14\n");
}

TEST_P(DbTool, UsersPasswordsFromStandardInputAndTheSecuritySwitch) {
    EXPECT_EQ(Ok({"user", "add", "anna", "--level", "-1"}), "1\n");
    ExpectRefused(Run({"user", "add", "anna"}), 1, "a user named 'anna' already exists");
    const ToolResult set = RunToolWithInput(dir_.path, On({"user", "password", "anna"}), "S3cret 'x'\n");
    EXPECT_EQ(set.exitCode, 0) << set.err;
    EXPECT_EQ(RunToolWithInput(dir_.path, On({"user", "check", "anna"}), "S3cret 'x'\n").exitCode, 0);
    EXPECT_EQ(Ok({"user", "set", "anna", "--profile", "admin", "--first", "Anna"}), "");
    EXPECT_EQ(Ok({"--json", "user", "list", "--level", "-1"}),
              "[{\"id\": 1, \"name\": \"anna\", \"level\": -1, \"location\": 0, \"locationName\": \"\", \"profile\": "
              "\"admin\", \"firstName\": \"Anna\", \"lastName\": \"\"}]\n");
    EXPECT_EQ(Ok({"security", "on"}), "");
    EXPECT_EQ(Ok({"security", "status"}), "on\n");
    EXPECT_EQ(Ok({"user", "delete", "anna"}), "");
}

TEST_P(DbTool, DiscoveredComputersMergeIntoTheScheduleOfAssetsDue) {
    EXPECT_EQ(Ok({"discover", "add", "PC1", "--domain", "WORK", "--ip", "10.0.0.5"}), "1\n");
    ExpectRefused(Run({"discover", "add", "PC2", "--ip", "10.0.0"}), 2, "not a dotted IPv4 address");
    EXPECT_EQ(Ok({"--json", "discover", "list", "--unaudited"}),
              "[{\"id\": 1, \"name\": \"PC1\", \"domain\": \"WORK\", \"address\": \"10.0.0.5\"}]\n");
    EXPECT_EQ(Ok({"discover", "merge"}), "Merged 1 computer into the inventory\n");
    EXPECT_EQ(Ok({"--json", "schedule"}),
              "{\"intervalDays\": 30, \"due\": [{\"id\": 1, \"name\": \"PC1\", \"location\": \"Discovered "
              "Assets;WORK\", \"lastAudit\": \"\"}]}\n");
    EXPECT_EQ(Ok({"discover", "delete", "all"}), "");
}

TEST_P(DbTool, NotesByTableNameAndWebHistoryPerDay) {
    Ok({"asset", "add", "N1"});
    EXPECT_EQ(Ok({"note", "add", "Asset", "1", "it's 100%", "--data", "-3"}), "1\n");
    EXPECT_EQ(Ok({"note", "add", "asset", "1", "again", "--type", "warning"}), "2\n");
    ExpectRefused(Run({"note", "add", "desk", "4", "x"}), 2, "unknown table desk");
    EXPECT_EQ(Ok({"note", "delete", "1"}), "");
    EXPECT_EQ(Ok({"--json", "note", "list"}),
              "[{\"id\": 2, \"type\": \"warning\", \"table\": \"asset\", \"record\": 1, \"data\": 0, \"text\": "
              "\"again\"}]\n");

    const ULong pc = Db().AddAsset("PC", 0, 0, 0, CTime());
    Db().ieHistAdd(pc, CTime(2009, 3, 10, 9, 0, 0), "www.example.com", 0);
    Db().ieHistAdd(pc, CTime(2009, 3, 10, 17, 0, 0), "www.example.com", 0);
    Db().ieHistAdd(pc, CTime(2009, 3, 11, 8, 0, 0), "mail.example.com", 0);
    Db().ieCookieAdd(pc, CTime(2009, 3, 9, 8, 0, 0), "anna@example");
    EXPECT_EQ(Ok({"web", "PC"}),
              "Day         Pages  Site\n2009-03-10      2  www.example.com\n2009-03-11      1  mail.example.com\n");
    EXPECT_EQ(Ok({"--json", "web", "PC", "--date", "2009-03-11"}),
              "[{\"id\": 2, \"asset\": 2, \"date\": \"2009-03-11\", \"site\": \"mail.example.com\", \"pages\": 1}]\n");
    EXPECT_EQ(Ok({"web", "purge", "--before", "2009-03-11"}),
              "Purged 1 history rows and 1 cookies dated before 2009-03-11\n");
}

TEST_P(DbTool, AppMergeDuplicatesLosesNothing) {
    Seeder& db = Db();
    const ULong pc = db.AddAsset("PC1", 0, 0, 0, CTime(1700000000));
    const ULong pc2 = db.AddAsset("PC2", 0, 0, 0, CTime(1700000000));
    const ULong kept = db.applicationAdd("Acme", "Editor", 1);
    const ULong dup = db.InsertRecord("APPS", "_MFR,_APP,_LICTYPE,_LICCOUNT", "'Acme','Editor',3,25");
    const ULong fan = db.applicationAdd("Acme", "Fan", 1);
    db.applicationSetAlias(fan, dup);
    const ULong keptInst = db.applicationAddInstance(pc, kept, "", "1.0", 0);
    const ULong dupInst = db.applicationAddInstance(pc2, dup, "S-9", "2.0", 0);
    const ULong file = db.InsertRecord("SWFILE", "_NAME,_APPID", CString::Formatted("'e.exe',%d", int(dup)));
    db_.reset();

    EXPECT_NE(Ok({"app", "duplicates"}).find("Acme Editor"), std::string::npos);
    EXPECT_EQ(Ok({"app", "merge-duplicates"}), "merged 1 duplicate row(s)\n");
    Seeder& after = Db();
    EXPECT_EQ(after.SelectNumber("APPINST", "_APP", keptInst), kept);
    EXPECT_EQ(after.SelectNumber("SWFILE", "_APPID", file), kept);
    EXPECT_EQ(after.applicationGetAlias(fan), kept);
    EXPECT_EQ(after.SelectNumber("APPS", "_LICTYPE", kept), 3u);
    EXPECT_EQ(after.SelectNumber("APPS", "_LICCOUNT", kept), 25u);
    db_.reset();
    EXPECT_EQ(Ok({"app", "merge-duplicates"}), "merged 0 duplicate row(s)\n");
    EXPECT_EQ(Ok({"--json", "app", "list", "--asset", "PC2"}),
              "[{\"id\": " + std::to_string(kept) +
                  ", \"publisher\": \"Acme\", \"name\": \"Editor\", \"version\": \"2.0\", \"files\": 0, "
                  "\"instance\": " +
                  std::to_string(dupInst) + ", \"serial\": \"S-9\"}]\n");
}

TEST_P(DbTool, AppListCountsTheFilesOfEachListedApplicationOverTheSite) {
    Seeder& db = Db();
    const ULong pc1 = db.AddAsset("PC1", 0, 0, 0, CTime(1700000000));
    const ULong pc2 = db.AddAsset("PC2", 0, 0, 0, CTime(1700000000));
    const ULong editor = db.applicationAdd("Acme", "Editor", 1);
    const ULong viewer = db.applicationAdd("Beta", "Viewer", 1);
    db.applicationAddInstance(pc1, editor, "", "1.0", 0);
    db.applicationAddInstance(pc2, editor, "", "2.0", 0);
    db.applicationAddInstance(pc1, viewer, "", "1.0", 0);
    db.ExecuteStatement("update APPINST set _FILES = 3");
    db_.reset();
    EXPECT_EQ(Ok({"--json", "app", "list", "--publisher", "Acme"}),
              "[{\"id\": " + std::to_string(editor) +
                  ", \"publisher\": \"Acme\", \"name\": \"Editor\", \"version\": \"\", \"files\": 6, "
                  "\"instances\": 2}]\n");
}

TEST_P(DbTool, AppNamesAndRefusals) {
    Ok({"asset", "add", "PC1"});
    Ok({"app", "add", "Acme", "Editor"});
    Ok({"app", "add", "Beta", "Editor"});
    Ok({"app", "add", "Acme", "Caf\xe9 100%"});
    ExpectRefused(Run({"app", "install", "PC1", "Editor"}), 1, "2 applications are named 'Editor'");
    EXPECT_FALSE(Ok({"app", "install", "PC1", "Acme Editor", "--version", "2.0"}).empty());
    ExpectRefused(Run({"app", "install", "PC1", "Acme Editor"}), 1, "already");
    Ok({"app", "install", "PC1", "Caf\xe9 100%"});
    Ok({"app", "alias", "Beta Editor", "Acme Editor"});
    ExpectRefused(Run({"app", "alias", "Acme Editor", "Beta Editor"}), 1, "cycle");
    ExpectRefused(Run({"app", "remove", "PC1", "Beta Editor"}), 1, "no instance");
    EXPECT_EQ(Ok({"app", "rename-publisher", "Acme", "Acme's"}), "renamed the publisher of 2 application(s)\n");
    EXPECT_EQ(Ok({"app", "publishers", "--asset", "PC1"}), "Acme's\n");
    Ok({"app", "remove", "PC1", "Acme's Editor"});
    EXPECT_EQ(Ok({"app", "purge-unreferenced"}), "deleted 2 unreferenced application(s)\n");

    // A long name is cut in the table, so the columns stay on the screen, and whole in JSON.
    const std::string longName = "\xC3\x9C" + std::string(199, 'x');
    Ok({"app", "add", "Acme", longName});
    Ok({"app", "install", "PC1", "Acme " + longName});
    EXPECT_NE(Ok({"app", "list", "--asset", "PC1"}).find("  Acme       \xC3\x9C" + std::string(56, 'x') + "...   "),
              std::string::npos);
    EXPECT_NE(Ok({"--json", "app", "list", "--asset", "PC1"}).find(longName), std::string::npos);
}

TEST_P(DbTool, PicklistsAreKeptByName) {
    EXPECT_EQ(Ok({"picklist", "add", "Floors", "Ground", "First"}), "1\n");
    ExpectRefused(Run({"picklist", "add", "Floors"}), 1, "a pick list named 'Floors' already exists (id 1)");
    Ok({"picklist", "add-item", "Floors", "Roof's top"});
    Ok({"picklist", "delete-item", "Floors", "First"});
    EXPECT_EQ(Ok({"--json", "picklist", "items", "Floors"}), "[\"Ground\", \"Roof's top\"]\n");
    Ok({"picklist", "rename", "Floors", "Levels"});
    EXPECT_EQ(Ok({"--json", "picklist", "list"}), "[{\"id\": 1, \"name\": \"Levels\", \"items\": 2}]\n");
    EXPECT_EQ(Ok({"picklist", "delete", "Levels"}), "deleted pick list 'Levels' and its 2 item(s)\n");
}

TEST_P(DbTool, FieldsAreDefinedRenamedAndDeleted) {
    Ok({"picklist", "add", "Floors", "Ground", "First"});
    EXPECT_EQ(Ok({"field", "add", "Budget", "--type", "integer", "--min", "1", "--max", "10", "--group", "Finance",
                  "--mandatory"}),
              "2  Budget\n");
    Ok({"field", "add", "Floor", "--type", "picklist", "--list", "Floors"});
    Ok({"field", "add", "Licence", "--type", "text", "--owner", "application", "--case", "upper"});
    EXPECT_EQ(Ok({"--json", "field", "list"}),
              "[{\"id\": 3, \"name\": \"Floor\", \"group\": \"\", \"owner\": \"asset\", \"type\": \"Picklist\", "
              "\"description\": \"lookup Floors\"}, {\"id\": 4, \"name\": \"Licence\", \"group\": \"\", \"owner\": "
              "\"application\", \"type\": \"Text\", \"description\": \"Upper Case\"}, {\"id\": 2, \"name\": "
              "\"Budget\", \"group\": \"Finance\", \"owner\": \"asset\", \"type\": \"Integer\", \"description\": "
              "\"Range 1 to 10, Mandatory\"}]\n");
    ExpectRefused(Run({"field", "add", "X", "--type", "colour"}), 2, "needs --type");
    ExpectRefused(Run({"field", "add", "Location", "--type", "text"}), 2, "built-in name");
    ExpectRefused(Run({"field", "add", "Floor", "--type", "text"}), 1, "already exists");

    Ok({"asset", "add", "PC-7"});
    Ok({"asset", "set", "PC-7", "Floor", "First"});
    Ok({"field", "rename", "Floor", "Level", "--keep-values"});
    EXPECT_EQ(Ok({"field", "values", "Level"}), "Value  Assets\nFirst       1\n");
    Ok({"field", "rename", "Level", "Storey"});
    EXPECT_EQ(Ok({"field", "values", "Storey"}), "Value  Assets\n");
    Ok({"field", "delete", "Storey", "--with-values"});
    ExpectRefused(Run({"field", "values", "Storey"}), 1, "no field is named 'Storey'");
}

TEST_P(DbTool, AssetSetValidatesAsTheEditingControlDoes) {
    Ok({"field", "add", "Budget", "--type", "integer", "--min", "1", "--max", "10"});
    Ok({"field", "add", "Tag", "--type", "text", "--max", "3", "--case", "title"});
    Ok({"asset", "add", "PC-7"});
    ExpectRefused(Run({"asset", "set", "PC-7", "Budget", "11"}), 1, "Field Value must be between 1 and 10");
    EXPECT_EQ(Ok({"history", "PC-7"}).find("Budget"), std::string::npos) << "nothing written";

    Ok({"asset", "set", "PC-7", "Budget", "+5"});
    const ToolResult trimmed = Run({"asset", "set", "PC-7", "Tag", "aBCDEF"});
    EXPECT_EQ(trimmed.exitCode, 0);
    EXPECT_EQ(trimmed.err, "norvik: Entered string was too long and has been trimmed to 'aBC'\n");
    ExpectRefused(Run({"asset", "set", "PC-7", "Location", "Nowhere"}), 1, "No location is found");
    const std::string json = Ok({"--json", "asset", "show", "PC-7"});
    EXPECT_NE(json.find("\"Budget\": \"+5\", \"Tag\": \"Abc\""), std::string::npos) << json;
    EXPECT_NE(Ok({"history", "PC-7"}).find("Tag"), std::string::npos);
}

NORVIK_ON_BOTH_ENGINES(DbTool);

}  // namespace
