// norvik report end to end on both engines: the sections in their order, as tables and as one
// JSON object, long names cut in the tables only, and a wrong command line.
#include <gtest/gtest.h>

#include <string>

#include "support/db_tool_test.h"

namespace {

class ReportTool : public DbTool {};

TEST_P(ReportTool, AnEmptySiteShowsEverySectionEmpty) {
    EXPECT_EQ(Ok({"report"}),
              "Assets: 0\n\n"
              "Assets by category\n  (none)\n\n"
              "Assets by operating system\n  (none)\n\n"
              "Most installed applications (top 20)\n  (none)\n\n"
              "Publishers with most installations (top 20)\n  (none)\n\n"
              "Licence compliance\n  (none)\n\n"
              "Not audited for 30 days\n  (none)\n\n");
    EXPECT_EQ(Ok({"report", "--json"}),
              "{\"assets\": 0, \"categories\": [], \"operatingSystems\": [], \"applications\": [], \"publishers\": "
              "[], \"licences\": [], \"notAudited\": []}\n");
    ExpectRefused(Run({"report", "now"}), 2, "wrong number of arguments; usage: norvik report [--json]");
    ExpectRefused(Run({"report", "--all"}), 2, "unknown option --all");
    EXPECT_NE(Ok({"report", "--help"}).find("usage: norvik report [--json]"), std::string::npos);
}

TEST_P(ReportTool, SectionsAsTablesAndAsJson) {
    Seeder& db = Db();
    const CTime recent = CTime::GetCurrentTime();
    const ULong pc = db.AddAsset("PC-1", 0, 0, 0, CTime());
    const ULong old = db.AddAsset("PC-\"2\"", 0, 0, 0, CTime());
    db.SetLastAuditDate(pc, recent);
    db.SetLastAuditDate(old, CTime(2020, 1, 2, 3, 4, 5));
    db.AddCategory("Laptop", 0);
    db.userDataAdd(0, pc, "Category", "Laptop", CNorvik::kUserDataAsset, 0, CTime());
    db.hwAdd(db.hwAdd(CNorvik::m_szOS, '|', CNorvik::kHwCategory), pc, 0x2, "Name", "Debian GNU/Linux");
    const std::string longName(70, 'x');
    const ULong editor = db.applicationAdd("Acme", longName.c_str(), 0);
    db.applicationAddInstance(pc, editor, "", "", 0);
    db.applicationAddInstance(old, editor, "", "", 0);
    const ULong seat = db.AddLicenceType("Seat");
    db.SetLicenceTypeFlag(seat, CNorvik::kLicencePerPc, 1);
    db.SetAppLicence(editor, static_cast<int>(seat), 1);
    const std::string cut = std::string(57, 'x') + "...";

    EXPECT_EQ(Ok({"report"}),
              "Assets: 2\n\n"
              "Assets by category\n"
              "Category  Assets\n"
              "Laptop         1\n"
              "Unknown        1\n\n"
              "Assets by operating system\n"
              "Operating System  Assets\n"
              "Debian GNU/Linux       1\n"
              "Unknown                1\n\n"
              "Most installed applications (top 20)\n"
              "Publisher  Name" +
                  std::string(58, ' ') +
                  "Installations\n"
                  "Acme       " +
                  cut +
                  "              2\n\n"
                  "Publishers with most installations (top 20)\n"
                  "Publisher  Installations\n"
                  "Acme                   2\n\n"
                  "Licence compliance\n"
                  "Publisher  Name" +
                  std::string(58, ' ') +
                  "Type  Declared  Installed  Difference  Over-used\n"
                  "Acme       " +
                  cut +
                  "  Seat         1          2          -1  OVER-USED\n\n"
                  "Not audited for 30 days\n"
                  "Asset   Last audit\n"
                  "PC-\"2\"  2020-01-02 03:04:05\n\n");
    EXPECT_EQ(Ok({"--json", "report"}),
              "{\"assets\": 2, \"categories\": [{\"name\": \"Laptop\", \"assets\": 1}, {\"name\": \"Unknown\", "
              "\"assets\": 1}], \"operatingSystems\": [{\"name\": \"Debian GNU/Linux\", \"assets\": 1}, {\"name\": "
              "\"Unknown\", \"assets\": 1}], \"applications\": [{\"app\": 1, \"publisher\": \"Acme\", \"name\": \"" +
                  longName +
                  "\", \"installations\": 2}], \"publishers\": [{\"name\": \"Acme\", \"installations\": 2}], "
                  "\"licences\": [{\"app\": 1, \"publisher\": \"Acme\", \"name\": \"" +
                  longName +
                  "\", \"type\": \"Seat\", \"declared\": 1, \"installed\": 2, \"difference\": -1, \"overUsed\": "
                  "true}], \"notAudited\": [{\"asset\": 2, \"name\": \"PC-\\\"2\\\"\", \"lastAudit\": \"2020-01-02 "
                  "03:04:05\"}]}\n");
}

INSTANTIATE_TEST_SUITE_P(, ReportTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
