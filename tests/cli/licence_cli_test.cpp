// The licence, serial and report verbs end to end on both engines: licence types with their
// flags, alerts, serial-number places and the site report's wiring, as tables and as JSON.
#include <gtest/gtest.h>

#include <string>

#include "support/db_tool_test.h"

namespace {

class LicenceTool : public DbTool {};

TEST_P(LicenceTool, LicenceTypes) {
    EXPECT_EQ(Ok({"licence", "type", "add", "Seat", "--per-pc"}), "2\n");
    EXPECT_EQ(Ok({"licence", "type", "add", "O'Neil's site", "--hidden", "--per-pc"}), "3\n");
    ExpectRefused(Run({"licence", "type", "add", "Seat"}), 1, "a licence type named 'Seat' already exists (id 2)");
    ExpectRefused(Run({"licence", "type", "add", ""}), 1, "may not be empty");

    EXPECT_EQ(Ok({"licence", "type", "rename", "O'Neil's site", "Site"}), "flags cleared (were Per PC, Hidden)\n");
    EXPECT_EQ(Ok({"--json", "licence", "type", "list"}),
              "[{\"id\": 1, \"name\": \"Not Specified\", \"flags\": 0, \"flagNames\": \"\"}, {\"id\": 2, \"name\": "
              "\"Seat\", \"flags\": 1, \"flagNames\": \"Per PC\"}, {\"id\": 3, \"name\": \"Site\", \"flags\": 0, "
              "\"flagNames\": \"\"}]\n");
    ExpectRefused(Run({"licence", "type", "delete", "1"}), 1, "is built in");

    ASSERT_NE(Db().InsertRecord("APPS", "_MFR,_APP,_LICTYPE", "'Acme','Editor',2"), 0u);
    ExpectRefused(Run({"licence", "type", "delete", "Seat"}), 1, "is used by 1 application(s); not deleted");
    EXPECT_EQ(Ok({"licence", "type", "delete", "3"}), "");
}

TEST_P(LicenceTool, Alerts) {
    const ULong alert = Db().licensealertAdd(1, 7, CTime(2024, 3, 1, 9, 30, 0), 10, 12);
    Db().licensealertAdd(2, 8, CTime(2024, 3, 2, 10, 0, 0), 1, 3);
    Db().applicationAdd("Acme", "Editor", 0);
    Db().applicationAdd("", "Tool", 0);
    Db().ExecuteStatement("update APPS set _ID = _ID + 6");
    EXPECT_EQ(Ok({"licence", "alerts", "delete", std::to_string(alert)}), "");
    EXPECT_EQ(Ok({"--json", "licence", "alerts"}),
              "[{\"id\": 2, \"type\": 2, \"app\": 8, \"application\": \"Tool\", \"date\": \"2024-03-02 10:00:00\", "
              "\"declared\": 1, \"installed\": 3}]\n");
    ExpectRefused(Run({"licence", "alerts", "delete", "1"}), 1, "no licence alert 1");
    ExpectRefused(Run({"licence", "alerts", "delete", "-1"}), 2, "not an alert id: -1");
}

TEST_P(LicenceTool, SerialNumberPlaces) {
    EXPECT_EQ(Ok({"serial", "add", "Editor", "HKLM\\Software\\O'Neil", "ProductId"}), "1\n");
    EXPECT_EQ(Ok({"serial", "add", "Viewer \xE9", "HKLM\\Software\\Viewer", "Serial"}), "2\n");
    EXPECT_EQ(Ok({"serial", "delete", "1"}), "");
    EXPECT_EQ(
        Ok({"--json", "serial", "list"}),
        "[{\"id\": 2, \"app\": \"Viewer \xC3\xA9\", \"key\": \"HKLM\\\\Software\\\\Viewer\", \"item\": \"Serial\"}]\n");
    ExpectRefused(Run({"serial", "delete", "1"}), 1, "no serial-number place 1");
}

TEST_P(LicenceTool, SetReportAndCheck) {
    Seeder& db = Db();
    const CTime when(2024, 3, 1, 9, 30, 0);
    const ULong hq = db.locAdd("HQ", 0, 0, CIPAddress(), CIPAddress());
    const ULong editor = db.applicationAdd("Acme", "Editor", 0);
    const ULong viewer = db.applicationAdd("Acme", "Viewer", 0);
    const ULong tool = db.applicationAdd("", "Tool", 0);
    db.applicationAdd("Acme", "Unlicensed", 0);
    for (int i = 1; i <= 3; ++i) {
        const ULong pc = db.AddAsset(CString::Formatted("PC%d", i), i == 1 ? hq : 0, 0, 0, when);
        db.applicationAddInstance(pc, editor, "", "", 0);
        db.applicationAddInstance(pc, viewer, "", "", 0);
        if (i == 1) db.applicationAddInstance(pc, tool, "", "", 0);
    }
    EXPECT_EQ(Ok({"licence", "type", "add", "Seat", "--per-pc"}), "2\n");
    EXPECT_EQ(Ok({"licence", "type", "add", "Site"}), "3\n");

    ExpectRefused(Run({"licence", "set", "Acme Editor", "--count", "2147483648"}), 2, "not a number of licences");
    ExpectRefused(Run({"licence", "set", "Acme Editor", "--type", "Gold", "--count", "2"}), 1,
                  "no licence type 'Gold'");
    EXPECT_EQ(db.GetAppLicenceCount(editor), 0u) << "nothing written by a refused command";

    EXPECT_EQ(Ok({"licence", "set", "Acme Editor", "--type", "Seat", "--count", "2"}), "Acme Editor: Seat [2]\n");
    EXPECT_EQ(Ok({"licence", "set", std::to_string(viewer), "--type", "2", "--count", "5"}), "Acme Viewer: Seat [5]\n");
    EXPECT_EQ(Ok({"licence", "set", "Tool", "--type", "Site"}), "Tool: Site\n");
    Ok({"licence", "set", "Tool", "--count", "1"});

    EXPECT_NE(Ok({"licence", "report"}).find("Editor  Seat         2          3          -1  OVER-USED\n"),
              std::string::npos);
    // The scope's counts are the library's (licences_test); here the option reaches it.
    EXPECT_NE(Ok({"--json", "licence", "report", "--location", "HQ"})
                  .find("\"name\": \"Editor\", \"type\": \"Seat\", \"declared\": 2, \"installed\": 1, "
                        "\"difference\": 1, \"overUsed\": false}"),
              std::string::npos);

    EXPECT_EQ(Ok({"licence", "check"}),
              "alert 1: Acme Editor is installed on 3 assets; 2 licences declared\n"
              "1 over-used application(s), 1 new alert(s)\n");
}

TEST_P(LicenceTool, ReportAnEmptySiteShowsEverySectionEmpty) {
    EXPECT_EQ(Ok({"report"}).rfind("Assets: 0\n", 0), 0u);
    EXPECT_EQ(Ok({"report", "--json"}),
              "{\"assets\": 0, \"categories\": [], \"operatingSystems\": [], \"applications\": [], \"publishers\": [], "
              "\"licences\": [], \"notAudited\": []}\n");
    ExpectRefused(Run({"report", "now"}), 2, "wrong number of arguments; usage: norvik report [--json]");
}

NORVIK_ON_BOTH_ENGINES(LicenceTool);

}  // namespace
