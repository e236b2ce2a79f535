// Cascades and the rename failing part-way on purpose leave the database as it was.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "sql/find_or_insert_lock.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

class AllOrNothing : public EngineTest {
protected:
    // Makes every delete from `table` of a row meeting `condition` (on old.*) fail.
    void RefuseDelete(const char* table, const std::string& condition) {
        if (IsSqlite()) {
            db_->ExecuteStatement(
                CString::Formatted("create trigger REFUSE_%s before delete on %s when %s begin "
                                   "select raise(abort, 'refused by the test'); end",
                                   table, table, condition.c_str()));
        } else {
            db_->ExecuteStatement(
                "create or replace function refuse() returns trigger language plpgsql as $$ begin raise exception "
                "'refused by the test'; end; $$");
            db_->ExecuteStatement(CString::Formatted(
                "create trigger REFUSE_%s before delete on %s for each row when (%s) execute function refuse()", table,
                table, condition.c_str()));
        }
    }
    std::string Id(ULong id) { return std::to_string(id); }

    const CTime when_ = CTime(2024, 3, 1, 9, 30, 0);
};

TEST_P(AllOrNothing, LocationDeleteRefusedAtTheTopDeletesNothingBelow) {
    const ULong room = db_->locAddFull("TOP;Floor;Room"), top = db_->locAddFull("TOP");
    const ULong pc = db_->AddAsset("PC", room, 0, 0, when_);
    RefuseDelete("LOCDATA", "old._ID = " + Id(top));
    EXPECT_EQ(db_->locDelete(top), 0);
    EXPECT_NE(AllMessages().find("refused by the test"), std::string::npos);
    EXPECT_EQ(Number("select count(*) from LOCDATA"), 3u) << "the rooms below stay";
    EXPECT_EQ(std::pair(db_->SelectNumber("ASSET", "_LOCATION", pc), db_->GetAssetLocation(pc)), std::pair(room, room))
        << "no cached move survives the rollback";
    EXPECT_FALSE(db_->InTransaction());
}

TEST_P(AllOrNothing, LocationTypeDeleteRefusedPartWayChangesNothing) {
    const ULong site = db_->AddLocType("Site", 0), floor = db_->AddLocType("Floor", site);
    const ULong level =
        db_->locAdd("First", db_->locAdd("HQ", 0, site, CIPAddress(), CIPAddress()), floor, CIPAddress(), CIPAddress());
    RefuseDelete("LOCDATA", "old._ID = " + Id(level));
    EXPECT_EQ(db_->DeleteLocType(floor), 0);
    EXPECT_EQ(Number("select count(*) from LOCTYPE"), 2u);
    EXPECT_EQ(db_->GetLocTypeParent(floor), site);
    EXPECT_EQ(Number("select count(*) from LOCDATA"), 2u);
}

TEST_P(AllOrNothing, AssetDeleteRefusedPartWayKeepsEveryRow) {
    const ULong pc = db_->AddAsset("PC", 0, 0, 1, when_);
    for (const char* table : {"APPINST", "HW", "SWLINK"}) db_->InsertRecord(table, "_ASSET", Id(pc).c_str());
    RefuseDelete("SWLINK", "1 = 1");
    EXPECT_EQ(db_->assetDelete(pc), 0);
    for (const char* table : {"APPINST", "HISTORY", "HW", "SWLINK"})
        EXPECT_EQ(Number(std::string("select count(*) from ") + table + " where _ASSET = " + Id(pc)), 1u) << table;
    EXPECT_EQ(Number("select count(*) from ASSET"), 1u);
}

TEST_P(AllOrNothing, CategoryDeleteRefusedAtAModelKeepsTheCategoryAndItsMakes) {
    const ULong category = db_->AddCategory("Rack", 0);
    const ULong make = db_->AddMake(category, "Stackwell");
    for (const char* model : {"S-1", "S-2"}) db_->AddModel(make, model);
    RefuseDelete("MODEL", "old._NAME = 'S-2'");
    db_->DeleteCategory(category);
    EXPECT_FALSE(messages_.empty());
    EXPECT_EQ((std::vector<ULong>{Rows("CAT"), Rows("MAKE"), Rows("MODEL")}), (std::vector<ULong>{1, 1, 2}));
}

TEST_P(AllOrNothing, RenameWhoseStationFileCannotBeWrittenLeavesTheNameUnchanged) {
    const ULong pc = db_->AddAsset("PC-1", 0, 0, 1, when_);
    const std::string station =
        (std::filesystem::temp_directory_path() / "norvik-no-such-folder" / "station.ini").string();
    EXPECT_EQ(db_->SetAssetName(pc, "PC-2", station.c_str(), 1, when_), 0);
    EXPECT_NE(AllMessages().find("norvik-no-such-folder"), std::string::npos);
    EXPECT_EQ(db_->SelectText("ASSET", "_NAME", pc), "PC-1");
    EXPECT_EQ(db_->GetAssetName(pc), "PC-1");
    EXPECT_EQ(Number("select count(*) from HISTORY where _ASSET = " + Id(pc)), 1u) << "only the initial audit";
    EXPECT_EQ(db_->SetAssetName(pc, "PC-2", nullptr, 1, when_), 1) << "the connection is usable again";
    EXPECT_EQ(db_->SelectText("ASSET", "_NAME", pc), "PC-2");
}

TEST_P(AllOrNothing, FindOrInsertLockHoldsItsTransactionUntilCommit) {
    {
        FindOrInsertLock lock(*db_, "ASSET", "PC-1");
        EXPECT_TRUE(db_->InTransaction());
        db_->InsertRecord("ASSET", "_NAME", "'PC-1'");
    }
    EXPECT_FALSE(db_->InTransaction());
    EXPECT_EQ(Number("select count(*) from ASSET"), 0u) << "left without Commit: rolled back";
    // The key ignores case, so that names that differ only in case wait for each other too.
    EXPECT_EQ(FindOrInsertLock::LockKey("pc-1"), FindOrInsertLock::LockKey("PC-1"));
    EXPECT_NE(FindOrInsertLock::LockKey("PC-1"), FindOrInsertLock::LockKey("PC-2"));
}

TEST_P(AllOrNothing, CatalogueFindOrAddGivesOneRowPerNameAcrossConnections) {
    constexpr int kCategory = CNorvik::kCatalogueCategory, kMake = CNorvik::kCatalogueMake;
    const ULong rack = db_->FindOrAddCatalogueEntry(kCategory, 0, "Rack");
    EXPECT_EQ(db_->FindOrAddCatalogueEntry(kCategory, 0, "Rack"), rack);
    const ULong make = db_->FindOrAddCatalogueEntry(kMake, rack, "Stackwell");
    EXPECT_EQ(db_->FindOrAddCatalogueEntry(kMake, rack, "Stackwell"), make);
    const ULong shelf = db_->FindOrAddCatalogueEntry(kCategory, 0, "Shelf");
    EXPECT_NE(db_->FindOrAddCatalogueEntry(kMake, shelf, "Stackwell"), make) << "one name under two categories";
    const ULong model = db_->FindOrAddCatalogueEntry(CNorvik::kCatalogueModel, make, "S-1");
    EXPECT_EQ(db_->FindOrAddCatalogueEntry(CNorvik::kCatalogueModel, make, "S-1"), model);
    EXPECT_NE(db_->AddCategory("Rack", 0), rack) << "an add always inserts";

    // Another connection adding "Desk" while this one holds the name's lock (the key is the
    // scope, a tab and the name) waits for the commit, then takes the row committed meanwhile.
    auto other = MakeBackEnd();
    ASSERT_TRUE(OpenBackEnd(*other));
    FindOrInsertLock lock(*db_, "CAT", "0\tDesk");
    const ULong desk = db_->InsertRecord("CAT", "_NAME,_TYPE", "'Desk',0") << 16;
    ULong seen = 0;
    std::thread adder([&] { seen = other->FindOrAddCatalogueEntry(kCategory, 0, "Desk"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    lock.Commit();
    adder.join();
    EXPECT_EQ(seen, desk);
    EXPECT_EQ(Number("select count(*) from CAT where _NAME = 'Desk'"), 1u);
}

NORVIK_ON_BOTH_ENGINES(AllOrNothing);

}  // namespace
