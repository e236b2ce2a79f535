// Assets on both engines: adding, finding, counting, writes that must not repeat, deleting.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sql/sql_recordset.h"
#include "support/asset_views.h"
#include "support/engine_test.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

class Assets : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    ULong Add(const char* name, ULong location = 0) { return db_->AddAsset(name, location, 0, 1, when_); }
    ULong Status(ULong asset) { return db_->SelectNumber("ASSET", "_STATUS", asset); }
    std::vector<std::string> History(ULong asset) { return HistoryValuesOf(*db_, asset); }

    const CTime when_ = CTime(2024, 3, 1, 9, 30, 0);
};

TEST_P(Assets, NewAssetHasStatusTwoAndAnInitialAuditRecord) {
    const ULong pc = Add("PC-1");
    ASSERT_NE(pc, 0u) << AllMessages();
    EXPECT_EQ(Status(pc), 2u);
    EXPECT_EQ(History(pc), std::vector<std::string>{"PC-1||"});
    EXPECT_NE(db_->AddAsset("Quiet", 0, 0, 0, when_), 0u);
    EXPECT_EQ(Rows("HISTORY"), 1u) << "no record without recordHistory";
}

TEST_P(Assets, AnAssetWhoseInitialAuditCannotBeWrittenIsNotAdded) {
    db_->ExecuteStatement("drop table HISTORY");
    EXPECT_EQ(Add("PC-1"), 0u);
    EXPECT_EQ(Rows("ASSET"), 0u);
    EXPECT_FALSE(TakeMessages().empty()) << "the failed insert is reported";
    EXPECT_FALSE(db_->InTransaction());
    EXPECT_NE(db_->AddAsset("PC-2", 0, 0, 0, when_), 0u) << "the connection is usable again";
}

TEST_P(Assets, AddingAnExistingNameInsertsNothing) {
    const ULong pc = Add("PC-1", 3);
    EXPECT_EQ(Add("PC-1", 9), pc);
    EXPECT_EQ(Rows("ASSET"), 1u);
    EXPECT_EQ(History(pc).size(), 1u);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", pc), 3u) << "a found asset stays where it is";

    // A name held only by a child asset is found too, through any parent.
    const ULong printer = Add("Printer", 3);
    ASSERT_EQ(db_->SetAssetParent(printer, pc, 1, 0, when_), 1);
    EXPECT_EQ(Add("Printer", 0), printer);
    EXPECT_EQ(Rows("ASSET"), 2u);

    EXPECT_EQ(db_->FindAsset("Printer", 0, 0), 0u) << "the plain form skips child assets";
    EXPECT_EQ(db_->FindAsset("Printer", pc, 1), printer);
    EXPECT_EQ(db_->FindAsset("Printer", pc + 100, 1), 0u);
    EXPECT_EQ(db_->FindAsset("PC-1", 77, 0), pc) << "the plain form ignores the location";
    EXPECT_EQ(db_->FindAsset("pc-1", 0, 1), 0u) << "names compare exactly";
}

TEST_P(Assets, CountsFilterByStateDescendAndTheQuickFormStopsAboveOne) {
    const ULong top = db_->locAddFull("Top");
    const ULong one = db_->locAddFull("Top;One");
    const ULong two = db_->locAddFull("Top;Two");
    const ULong zulu = db_->locAddFull("Top;Zulu");
    const ULong a = Add("a1", one);
    Add("b1", two);
    Add("b2", two);
    Add("c1", db_->locAddFull("Top;Two;Three"));
    for (int i = 0; i < 5; ++i) Add(CString::Formatted("z%d", i), zulu);
    EXPECT_EQ(db_->CountAssets(top, 1, 0), 9u);
    EXPECT_EQ(db_->CountAssets(two, 1, 0), 3u);
    // Top has none of its own: One gives 1 (not yet above 1), Two gives 2, and the walk stops
    // before Zulu, so the answer is 3, not 8. Two's own assets answer without descending.
    EXPECT_EQ(db_->CountAssets(top, 1, 1), 3u);
    EXPECT_EQ(db_->CountAssets(two, 1, 1), 2u);
    // Filtered counts need a kind bit and no excluded bit; new assets (status 2) have neither.
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 0u);
    db_->SetAssetStateFlag(a, 0x10, 1);
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 1u);
    db_->SetAssetStateFlag(a, 0x4000, 1);
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 0u);
}

TEST_P(Assets, StateBitsAndAddressesAreWrittenOnlyWhenTheyChange) {
    const ULong pc = Add("PC");
    CountUpdates("ASSET");
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 1), 0);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 1), 1);
    EXPECT_EQ(CountedUpdates(), 1u);
    EXPECT_EQ(Status(pc), 0x12u);
    EXPECT_EQ(db_->GetAssetStateFlag(pc, 0x30), 1);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 7), 1) << "any set other than 0 or 1 counts as a change";
    EXPECT_EQ(CountedUpdates(), 2u);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x12, 0), 1);
    EXPECT_EQ(Status(pc), 0u);
    EXPECT_EQ(db_->SetAssetStateFlag(pc + 50, 0x10, 1), 0);
    EXPECT_EQ(CountedUpdates(), 3u) << "a missing asset writes nothing";

    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1a:2b", 1, when_), 1);
    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1a:2b", 1, when_), 1);
    EXPECT_EQ(CountedUpdates(), 4u);
    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1A:2B", 1, when_), 1) << "the comparison is case-sensitive";
    for (int i = 0; i < 2; ++i) EXPECT_EQ(db_->SetAssetIPAddr(pc, CIPAddress(CString("192.168.1.20")), 1, when_), 1);
    EXPECT_EQ(CountedUpdates(), 6u);
    EXPECT_EQ(db_->SelectText("ASSET", "_IPADDR", pc).str(), "192.168.1.20");
    // The initial audit, two MAC changes, one IP change.
    EXPECT_EQ(History(pc),
              (std::vector<std::string>{"PC||", "Primary MAC Address||00:1a:2b",
                                        "Primary MAC Address|00:1a:2b|00:1A:2B", "Primary IP Address||192.168.1.20"}));
}

TEST_P(Assets, DeleteCascadesThroughEveryTableOfTheAsset) {
    const ULong gone = Add("PC_1");
    const ULong kept = Add("Kept");
    const ULong child = Add("Child");
    db_->SetAssetParent(child, gone, 1, 0, when_);
    const char* tables[] = {"APPINST", "HW", "IECOOKIE", "IEHIST", "SWCAPTURE", "SWLINK"};
    for (ULong asset : {gone, kept}) {
        for (const char* table : tables) db_->InsertRecord(table, "_ASSET", CString::Formatted("%d", AsInt(asset)));
        const ULong hist = db_->InsertRecord("HISTORY", "_ASSET,_CODE", CString::Formatted("%d,65539", AsInt(asset)));
        db_->InsertRecord("EVENTLOG", "_EVENT,_HISTID", CString::Formatted("'event',%d", AsInt(hist)));
        db_->InsertRecord("USERDATA", "_OWNER,_FLAGS", CString::Formatted("%d,2", AsInt(asset)));
    }
    // An application-level value whose owner happens to carry the same number stays.
    db_->InsertRecord("USERDATA", "_OWNER,_FLAGS", CString::Formatted("%d,4", AsInt(gone)));
    for (const char* name : {"PC_1", "PCX1", "PC1", "pc_1", "PC_12"})
        db_->InsertRecord("DISCOVER", "_ASSET", CSqlDatabase::SqlQuote(name));

    EXPECT_EQ(db_->assetDelete(gone), 1) << AllMessages();
    EXPECT_EQ(db_->m_bCleanNeeded, 1);
    EXPECT_EQ(Rows("ASSET", CString::Formatted("_ID=%d", AsInt(gone))), 0u);
    EXPECT_EQ(Rows("ASSET", CString::Formatted("_ID=%d", AsInt(child))), 1u) << "children are the caller's to delete";
    for (const char* table : tables) {
        EXPECT_EQ(Rows(table, CString::Formatted("_ASSET=%d", AsInt(gone))), 0u) << table;
        EXPECT_EQ(Rows(table, CString::Formatted("_ASSET=%d", AsInt(kept))), 1u) << table;
    }
    EXPECT_EQ(Rows("HISTORY", CString::Formatted("_ASSET=%d", AsInt(gone))), 0u);
    EXPECT_EQ(Rows("EVENTLOG"), 1u);
    EXPECT_EQ(Rows("USERDATA"), 2u) << "the application-level value and the kept asset's";

    // The discovered entries go by LIKE: "_" takes any one character along. SQLite's LIKE
    // ignores the case of ASCII letters, PostgreSQL's does not.
    std::vector<std::string> left;
    for (CSqlRecordset rs(db_.get(), "select _ASSET from DISCOVER order by _ASSET"); !rs.IsEOF(); rs.MoveNext())
        left.push_back(rs.TextAt(0).str());
    if (IsSqlite())
        EXPECT_EQ(left, (std::vector<std::string>{"PC1", "PC_12"}));
    else
        EXPECT_EQ(left, (std::vector<std::string>{"PC1", "PC_12", "pc_1"}));
}

TEST_P(Assets, RenameRecordsBothNamesAndIsReadPastTheCache) {
    const std::string name = "O'Neil's 100%_PC";
    const ULong id = Add(name.c_str());
    const ULong other = Add("Other");
    db_->SetAssetName(id, (name + " '2'").c_str(), nullptr, 1, when_);
    db_->GetAssetName(other);  // another asset in the cache
    EXPECT_EQ(db_->GetAssetName(id).str(), name + " '2'");
    EXPECT_EQ(History(id)[1], "Name|" + name + "|" + name + " '2'");
}

// Finding an existing name takes no lock and so writes nothing. SQLite is opened on a read-only
// file; PostgreSQL gets the back end's read-only flag, which its driver may not enforce, so only
// SQLite is asked to refuse the insert.
TEST_P(Assets, ExistingNameIsFoundOnAReadOnlyDatabase) {
    const ULong pc = Add("PC-1");
    std::string connect = scratch_->ConnectionString();
    if (IsSqlite()) connect = "Driver=SQLite3;Database=file:" + DatabaseOf(connect) + "?mode=ro;Timeout=10000;";
    auto reader = MakeBackEnd();
    ASSERT_NE(reader->Open(connect.c_str(), nullptr, 0x1 | 0x4), 0) << AllMessages();
    EXPECT_EQ(reader->AddAsset("PC-1", 0, 0, 1, when_), pc);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    if (IsSqlite()) {
        EXPECT_EQ(reader->AddAsset("PC-2", 0, 0, 1, when_), 0u);
        EXPECT_NE(AllMessages().find("readonly"), std::string::npos) << AllMessages();
        messages_.clear();
    }
}

// An audit's record in one step writes what the single-column operations write, history included,
// and nothing when nothing changed; a failed history record takes the update back.
TEST_P(Assets, RecordInOneStepMatchesTheSingleColumnWrites) {
    const ULong category = db_->AddCategory("Desktop", 0);
    const ULong make = db_->AddMake(category, "Contoso");
    ASSERT_NE(db_->AddModel(make, "Tower 9"), 0u) << AllMessages();
    CSortList models;
    db_->EnumModels(make, models, 1);
    ASSERT_EQ(models.GetCount(), 1u);
    const ULong model = models[0].id;
    const ULong single = Add("PC-1");
    const ULong together = Add("PC-2");
    for (ULong asset : {single, together}) db_->SetAssetMacAddr(asset, "00:11:22:33:44:55", 0, when_);

    const CTime later = CTime(2024, 4, 2, 8, 0, 0);
    db_->SetAssetMacAddr(single, "66:77:88:99:AA:BB", 1, later);
    db_->SetAssetIPAddr(single, CIPAddress(CString("10.0.0.7")), 1, later);
    db_->userDataAdd(0, single, "Serial Number", "SN-1", CNorvik::kUserDataAsset, 1, later);
    db_->SetLastAuditDate(single, later);
    db_->SetAssetStateFlag(single, CNorvik::kAssetKindLaptop, 1);
    for (const char* field : {"Category", "Make", "Model"})
        db_->userDataAdd(0, single, field,
                         std::string(field) == "Category" ? "Desktop"
                         : std::string(field) == "Make"   ? "Contoso"
                                                          : "Tower 9",
                         CNorvik::kUserDataAsset, 1, later);

    CNorvik::AssetRecordUpdate update;
    update.setMacAddr = update.setIpAddr = update.setSerial = update.setAuditDate = true;
    update.macAddr = "66:77:88:99:AA:BB";
    update.ipAddr = "10.0.0.7";
    update.serial = "SN-1";
    update.auditDate = later;
    update.kindMask = CNorvik::kAssetKindMask;
    update.kind = CNorvik::kAssetKindLaptop;
    update.category = category;
    update.make = make;
    update.model = model;
    update.categoryName = "Desktop";
    update.makeName = "Contoso";
    update.modelName = "Tower 9";
    ASSERT_EQ(db_->SetAssetRecord(together, update, 1, later), 1) << AllMessages();

    // The first record is each asset's initial audit, under its own name.
    const std::vector<std::string> expected = History(single);
    const std::vector<std::string> written = History(together);
    EXPECT_EQ(std::vector<std::string>(written.begin() + 1, written.end()),
              std::vector<std::string>(expected.begin() + 1, expected.end()));
    const char* columns[] = {"_STATUS", "_CAT", "_MAKE", "_MODEL"};
    for (const char* column : columns)
        EXPECT_EQ(db_->SelectNumber("ASSET", column, together), db_->SelectNumber("ASSET", column, single)) << column;
    for (const char* column : {"_SERIAL", "_MACADDR", "_IPADDR"})
        EXPECT_EQ(db_->SelectText("ASSET", column, together), db_->SelectText("ASSET", column, single)) << column;
    EXPECT_EQ(db_->GetLastAuditDate(together).GetTime(), later.GetTime());

    const std::size_t records = History(together).size();
    EXPECT_EQ(db_->SetAssetRecord(together, update, 1, later), 1);
    EXPECT_EQ(History(together).size(), records) << "an unchanged record writes no history";

    db_->ExecuteStatement("drop table HISTORY");
    update.serial = "SN-2";
    EXPECT_EQ(db_->SetAssetRecord(together, update, 1, later), 0);
    EXPECT_FALSE(TakeMessages().empty()) << "the failure is reported";
    EXPECT_EQ(db_->SelectText("ASSET", "_SERIAL", together), CString("SN-1")) << "the update is taken back";
    EXPECT_EQ(db_->GetBuiltInFieldValue(together, "Serial Number"), CString("SN-1")) << "nor kept in the cache";
}

NORVIK_ON_BOTH_ENGINES(Assets);

}  // namespace
