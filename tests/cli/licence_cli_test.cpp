// The licence and serial verbs end to end on both engines: licence types with their flags,
// licence alerts, serial-number places, with readable and JSON output and one-line failures.
#include <gtest/gtest.h>

#include <string>

#include "support/db_tool_test.h"

namespace {

class LicenceTool : public DbTool {};

TEST_P(LicenceTool, LicenceTypes) {
    EXPECT_EQ(Ok({"licence", "type", "add", "Seat", "--per-pc"}), "2\n");
    EXPECT_EQ(Ok({"licence", "type", "add", "O'Neil's site", "--hidden", "--per-pc"}), "3\n");
    EXPECT_EQ(Ok({"licence", "type", "list"}),
              "Id  Name           Flags\n"
              " 1  Not Specified  \n"
              " 2  Seat           Per PC\n"
              " 3  O'Neil's site  Per PC, Hidden\n");
    ExpectRefused(Run({"licence", "type", "add", "Seat"}), 1, "a licence type named 'Seat' already exists (id 2)");
    ExpectRefused(Run({"licence", "type", "add", ""}), 1, "may not be empty");
    ExpectRefused(Run({"licence", "type", "add", "X", "--per-seat"}), 2, "unknown option --per-seat");

    EXPECT_EQ(Ok({"licence", "type", "rename", "O'Neil's site", "Site"}), "flags cleared (were Per PC, Hidden)\n");
    EXPECT_EQ(Ok({"--json", "licence", "type", "list"}),
              "[{\"id\": 1, \"name\": \"Not Specified\", \"flags\": 0, \"flagNames\": \"\"}, {\"id\": 2, \"name\": "
              "\"Seat\", \"flags\": 1, \"flagNames\": \"Per PC\"}, {\"id\": 3, \"name\": \"Site\", \"flags\": 0, "
              "\"flagNames\": \"\"}]\n");
    ExpectRefused(Run({"licence", "type", "rename", "Site", "Seat"}), 1, "already exists (id 2)");
    ExpectRefused(Run({"licence", "type", "delete", "1"}), 1, "is built in");
    ExpectRefused(Run({"licence", "type", "delete", "Nothing"}), 1, "no licence type 'Nothing'");

    const ULong app = Db().InsertRecord("APPS", "_MFR,_APP,_LICTYPE", "'Acme','Editor',2");
    ASSERT_NE(app, 0u);
    ExpectRefused(Run({"licence", "type", "delete", "Seat"}), 1, "is used by 1 application(s); not deleted");
    EXPECT_EQ(Ok({"licence", "type", "delete", "3"}), "");
    EXPECT_EQ(LineCount(Ok({"licence", "type", "list"})), 3);
}

TEST_P(LicenceTool, Alerts) {
    EXPECT_EQ(Ok({"--json", "licence", "alerts"}), "[]\n");
    const ULong alert = Db().licensealertAdd(1, 7, CTime(2024, 3, 1, 9, 30, 0), 10, 12);
    Db().licensealertAdd(2, 8, CTime(2024, 3, 2, 10, 0, 0), 1, 3);
    EXPECT_EQ(Ok({"licence", "alerts"}),
              "Id  Type  App  Date                 Declared  Installed\n"
              " 1     1    7  2024-03-01 09:30:00        10         12\n"
              " 2     2    8  2024-03-02 10:00:00         1          3\n");
    EXPECT_EQ(Ok({"licence", "alerts", "delete", std::to_string(alert)}), "");
    EXPECT_EQ(Ok({"--json", "licence", "alerts"}),
              "[{\"id\": 2, \"type\": 2, \"app\": 8, \"date\": \"2024-03-02 10:00:00\", \"declared\": 1, "
              "\"installed\": 3}]\n");
    ExpectRefused(Run({"licence", "alerts", "delete", "1"}), 1, "no licence alert 1");
    ExpectRefused(Run({"licence", "alerts", "delete", "-1"}), 2, "not an alert id: -1");
    ExpectRefused(Run({"licence", "alerts", "remove", "2"}), 2, "usage");
}

TEST_P(LicenceTool, SerialNumberPlaces) {
    EXPECT_EQ(Ok({"serial", "add", "Editor", "HKLM\\Software\\O'Neil", "ProductId"}), "1\n");
    EXPECT_EQ(Ok({"serial", "add", "Viewer \xE9", "HKLM\\Software\\Viewer", "Serial"}), "2\n");
    EXPECT_EQ(Ok({"serial", "list"}),
              "Id  Application  Key                   Item\n"
              " 1  Editor       HKLM\\Software\\O'Neil  ProductId\n"
              " 2  Viewer \xE9     HKLM\\Software\\Viewer  Serial\n");
    EXPECT_EQ(Ok({"serial", "delete", "1"}), "");
    EXPECT_EQ(Ok({"--json", "serial", "list"}),
              "[{\"id\": 2, \"app\": \"Viewer \\u00e9\", \"key\": \"HKLM\\\\Software\\\\Viewer\", \"item\": "
              "\"Serial\"}]\n");
    ExpectRefused(Run({"serial", "delete", "1"}), 1, "no serial-number place 1");
    ExpectRefused(Run({"serial", "delete", "x"}), 2, "not a record id: x");
    ExpectRefused(Run({"serial", "add", "Editor", "Key"}), 2, "wrong number of arguments");
}

INSTANTIATE_TEST_SUITE_P(, LicenceTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
