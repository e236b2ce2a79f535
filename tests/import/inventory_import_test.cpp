// The shared import step under faults: a disk that fills up in the middle of an inventory, and a
// database server that goes away.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <string>
#include <vector>

#include "import/import_transactions.h"
#include "import/inventory_import.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

// An XML inventory of host `host` with `software` entries whose versions carry `release`.
std::string XmlInventory(const std::string& host, int software, int release) {
    std::string xml = "<REQUEST><DEVICEID>" + host + "-id</DEVICEID><CONTENT><HARDWARE><NAME>" + host +
                      "</NAME><MEMORY>8192</MEMORY><OSNAME>Linux</OSNAME></HARDWARE><BIOS><SSN>SN-" + host +
                      "</SSN><SMANUFACTURER>Contoso</SMANUFACTURER><SMODEL>Desk</SMODEL></BIOS>";
    for (int i = 0; i < 20; ++i)
        xml += "<CONTROLLERS><NAME>Controller " + std::to_string(i) + "</NAME><TYPE>bridge r" +
               std::to_string(release) + "</TYPE></CONTROLLERS>";
    for (int i = 0; i < software; ++i)
        xml += "<SOFTWARES><NAME>package-" + std::to_string(i) + "</NAME><PUBLISHER>Publisher " +
               std::to_string(i % 17) + "</PUBLISHER><VERSION>" + std::to_string(release) + "." + std::to_string(i) +
               "</VERSION></SOFTWARES>";
    return xml + "</CONTENT><QUERY>INVENTORY</QUERY></REQUEST>";
}

class InventoryImport : public EngineTest {
protected:
    // The rows of every table an inventory writes, table by table.
    std::map<std::string, ULong> Rows() {
        std::map<std::string, ULong> rows;
        for (const char* table : {"ASSET", "HW", "APPS", "APPINST", "USERDATA", "HISTORY", "CAT", "MAKE", "MODEL"})
            rows[table] = Number(std::string("select count(*) from ") + table);
        return rows;
    }
    // The asset's instances as "name version" texts.
    std::vector<std::string> Instances(ULong asset) {
        CSortList list;
        db_->EnumApplicationInstances(asset, 1, list, 0, 0);
        list.Sort();
        return Texts(list);
    }
    InventoryImportResult Import(const std::string& text) {
        SqlImportTransactions transactions(*db_);
        CInventoryImporter importer(*db_, transactions);
        return importer.Import("test", text);
    }
};

// The page limit stands in for a full disk: SQLite answers a write past it as it answers a full
// disk (SQLITE_FULL) and rolls the whole transaction back. PostgreSQL has no such limit.
class InventoryImportFullDisk : public InventoryImport {};

TEST_P(InventoryImportFullDisk, FullDiskLeavesNoInventoryHalfWritten) {
    ASSERT_EQ(Import(XmlInventory("KNOWN", 300, 1)).status, InventoryImportStatus::kImported);
    const ULong known = db_->FindAsset("KNOWN", 0, 1);
    const ULong pages = Number("pragma page_count");
    int trials = 0, failed = 0, halfWritten = 0;
    // Each room from none to enough for a whole inventory: new machines, and re-imports of the
    // known one that change every version, so that every step of the writer meets the wall.
    for (ULong room = 0; room < 60; room += 2) {
        for (const bool again : {false, true}) {
            const std::map<std::string, ULong> before = Rows();
            const std::vector<std::string> instancesBefore = Instances(known);
            const std::string host = "NEW-" + std::to_string(trials);
            db_->ExecuteStatement(CString::Formatted("pragma max_page_count = %u", Number("pragma page_count") + room));
            const InventoryImportResult result =
                Import(again ? XmlInventory("KNOWN", 300, trials + 2) : XmlInventory(host, 300, 1));
            db_->ExecuteStatement("pragma max_page_count = 1073741823");
            ++trials;
            if (result.status == InventoryImportStatus::kImported) {
                if (again) {
                    if (Instances(known) == instancesBefore) ++halfWritten;
                } else if (Instances(db_->FindAsset(host.c_str(), 0, 1)).size() != 300) {
                    ++halfWritten;
                }
                continue;
            }
            ++failed;
            EXPECT_EQ(result.status, InventoryImportStatus::kFailed) << result.error;
            if (Rows() != before || Instances(known) != instancesBefore) ++halfWritten;
        }
    }
    RecordProperty("trials", trials);
    RecordProperty("failed", failed);
    RecordProperty("halfWritten", halfWritten);
    EXPECT_GT(pages, 0u);
    EXPECT_GT(failed, 10) << "the page limit never stopped an inventory";
    EXPECT_LT(failed, trials) << "no inventory fitted in the room given";
    EXPECT_EQ(halfWritten, 0) << "of " << trials << " trials";
    // The connection is whole again: an inventory with room is written as one transaction.
    EXPECT_EQ(Import(XmlInventory("LAST", 300, 1)).status, InventoryImportStatus::kImported);
    EXPECT_EQ(Instances(db_->FindAsset("LAST", 0, 1)).size(), 300u);
}

INSTANTIATE_TEST_SUITE_P(, InventoryImportFullDisk, ::testing::Values(Engine::Sqlite),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

// Writers that never pause never let SQLite start its log (WAL) again from the top: every
// kLogCheckEvery-th commit checks it and empties it past the bound (0 here).
class InventoryImportSqliteLog : public InventoryImport {};

TEST_P(InventoryImportSqliteLog, TheCommitThatChecksTheLogEmptiesIt) {
    const std::string log = DatabaseOf(scratch_->ConnectionString()) + "-wal";
    const auto logBytes = [&] {
        struct stat info {};
        return ::stat(log.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : -1L;
    };
    SqlImportTransactions transactions(*db_, 0);
    for (unsigned commit = 1; commit <= SqlImportTransactions::kLogCheckEvery; ++commit) {
        ASSERT_TRUE(transactions.Begin());
        db_->ExecuteStatement("insert into NOTES (_TEXT) values ('kept')");
        ASSERT_TRUE(transactions.Commit());
        if (commit < SqlImportTransactions::kLogCheckEvery) {
            ASSERT_GT(logBytes(), 0L) << commit;
        }
    }
    EXPECT_EQ(logBytes(), 0L);
    EXPECT_EQ(Number("select count(*) from NOTES"), SqlImportTransactions::kLogCheckEvery);
}

INSTANTIATE_TEST_SUITE_P(, InventoryImportSqliteLog, ::testing::Values(Engine::Sqlite),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

// A server that ends the session: only PostgreSQL has one to lose.
class InventoryImportLostServer : public InventoryImport {};

TEST_P(InventoryImportLostServer, LostConnectionIsToldApartFromAFailedInventory) {
    ASSERT_EQ(Import(XmlInventory("FIRST", 10, 1)).status, InventoryImportStatus::kImported);
    const ULong pid = Number("select pg_backend_pid()");
    {
        CDatabase admin;
        admin.OpenEx(scratch_->ConnectionString().c_str());
        admin.ExecuteSQL(CString::Formatted("select pg_terminate_backend(%u)", pid));
    }
    const InventoryImportResult result = Import(XmlInventory("SECOND", 10, 1));
    EXPECT_EQ(result.status, InventoryImportStatus::kConnectionLost) << result.error;
    EXPECT_EQ(result.error, "the connection to the database was lost");
}

INSTANTIATE_TEST_SUITE_P(, InventoryImportLostServer, ::testing::Values(Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
