// Assets on both engines: adding and finding, counting, the cached reads and the writes that
// must not repeat, the deletion cascade, moves and renames with their history rows, the
// enumerations, and names that carry quotes, wildcards and 8-bit bytes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

struct HistoryRow {
    ULong code;
    std::string key;
    std::string value1;
    std::string value2;
};

int AsInt(ULong value) { return static_cast<int>(value); }

class Assets : public EngineTest {
protected:
    ULong Add(const char* name, ULong location = 0) { return db_->AddAsset(name, location, 0, 1, when_); }
    // A number read by a statement of the test itself, past the asset cache.
    ULong Number(const CString& statement) {
        CSqlRecordset rs(db_.get(), statement);
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    }
    std::string Text(const CString& statement) {
        CSqlRecordset rs(db_.get(), statement);
        return rs.IsEOF() ? std::string() : rs.TextAt(0).str();
    }
    ULong Rows(const char* table, const CString& condition = "") {
        CDynaList<ULong> ids;
        return db_->EnumIds(table, condition, ids);
    }
    ULong Status(ULong asset) { return db_->SelectNumber("ASSET", "_STATUS", asset); }
    std::vector<HistoryRow> History(ULong asset) {
        std::vector<HistoryRow> rows;
        CSqlRecordset rs(db_.get(), CString::Formatted("select _CODE,_KEY,_VALUE1,_VALUE2 from HISTORY where "
                                                       "_ASSET=%d order by _ID",
                                                       AsInt(asset)));
        for (; !rs.IsEOF(); rs.MoveNext())
            rows.push_back({rs.NumberAt(0), rs.TextAt(1).str(), rs.TextAt(2).str(), rs.TextAt(3).str()});
        return rows;
    }
    // Counts every UPDATE of an ASSET row from now on, whoever sends it, in table UPDLOG.
    void CountAssetUpdates() {
        db_->ExecuteStatement("create table UPDLOG (_N integer)");
        if (IsSqlite()) {
            db_->ExecuteStatement(
                "create trigger ASSET_UPD after update on ASSET begin insert into UPDLOG values (1); end");
        } else {
            db_->ExecuteStatement(
                "create function asset_upd() returns trigger language plpgsql as $$ begin insert into UPDLOG values "
                "(1); return null; end; $$");
            db_->ExecuteStatement(
                "create trigger ASSET_UPD after update on ASSET for each row execute function asset_upd()");
        }
    }
    ULong AssetUpdates() { return Number("select count(*) from UPDLOG"); }
    static std::vector<ULong> Ids(const CDynaList<ULong>& list) { return std::vector<ULong>(list.begin(), list.end()); }

    const CTime when_ = CTime(2024, 3, 1, 9, 30, 0);
};

// ---- Adding and finding ----

TEST_P(Assets, NewAssetHasStatusTwoAndAnInitialAuditRecord) {
    const ULong room = db_->locAddFull("Site;Room");
    const ULong pc = Add("PC-1", room);
    ASSERT_NE(pc, 0u) << AllMessages();
    EXPECT_EQ(Status(pc), 2u);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", pc), room);
    const auto history = History(pc);
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0].code, 0x10003u);
    EXPECT_EQ(history[0].key, "PC-1");
    EXPECT_EQ(db_->historyFormatRecord(Number("select _ID from HISTORY")).str(), "Initial Audit");
    EXPECT_EQ(db_->AddAsset("Quiet", 0, 0, 0, when_) != 0, true);
    EXPECT_EQ(Rows("HISTORY"), 1u) << "no record without recordHistory";
    EXPECT_TRUE(messages_.empty()) << AllMessages();
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
    EXPECT_EQ(db_->FindAsset("Printer", 0, 1), printer);
    EXPECT_EQ(db_->FindAsset("PC-1", 77, 0), pc) << "the plain form ignores the location";
    EXPECT_EQ(db_->FindAsset("pc-1", 0, 1), 0u) << "names compare exactly";
}

TEST_P(Assets, AssetLevelFieldsGetOneEmptyValueEach) {
    db_->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS", "7,'Owner',258");  // asset-level, with a type bit
    db_->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS", "7,'Cost',4");     // application-level
    db_->InsertRecord("USERDEF", "_PARENT,_KEY,_FLAGS", "8,'Warranty',2");
    const ULong pc = db_->AddAsset("PC", 0, 1, 0, when_);
    const CString mine = CString::Formatted("_OWNER=%d", AsInt(pc));
    EXPECT_EQ(Rows("USERDATA", mine), 2u);
    EXPECT_EQ(Rows("USERDATA", mine + " and _PARENT=7 and _KEY='Owner' and _FLAGS=2 and _VAL=''"), 1u);
    EXPECT_EQ(Rows("USERDATA", mine + " and _PARENT=8 and _KEY='Warranty'"), 1u);

    // Found again: the rows exist, so nothing is added and no value is overwritten.
    db_->ExecuteStatement(CString::Formatted("update USERDATA set _VAL='Jo' where _KEY='Owner' and %s", mine.c_str()));
    EXPECT_EQ(db_->AddAsset("PC", 0, 1, 0, when_), pc);
    EXPECT_EQ(Rows("USERDATA", mine), 2u);
    EXPECT_EQ(Text(CString::Formatted("select _VAL from USERDATA where _KEY='Owner' and %s", mine.c_str())), "Jo");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Assets, UserDataAddStoresOwnerBitsAndMarksMissingValues) {
    const ULong pc = Add("PC");
    const ULong id = db_->userDataAdd(5, pc, "Dept", "Sales", 0x102, 1, when_);
    ASSERT_NE(id, 0u);
    EXPECT_EQ(db_->userDataAdd(5, pc, "Dept", "Other", 2, 1, when_), id) << "an existing value is returned as it is";
    EXPECT_EQ(db_->SelectText("USERDATA", "_VAL", id).str(), "Sales");
    EXPECT_EQ(db_->SelectNumber("USERDATA", "_FLAGS", id), 2u);
    EXPECT_EQ(db_->userDataFind(5, pc, "Dept", 2), id);
    EXPECT_EQ(db_->userDataFind(5, pc, "Dept", 4), 0u);

    const ULong none = db_->userDataAdd(5, pc, "Room", nullptr, 2, 0, when_);
    EXPECT_EQ(db_->SelectText("USERDATA", "_VAL", none).str(), "<NULL>");
    EXPECT_EQ(db_->userDataAdd(5, pc, "Bits", "x", 0x100, 0, when_), 0u) << "flags without an owner bit";

    const auto history = History(pc);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[1].code, 0x10004u);
    EXPECT_EQ(history[1].key, "Dept");
    EXPECT_EQ(history[1].value1, "Sales");
}

TEST_P(Assets, BuiltInNamesWriteTheAssetColumns) {
    const ULong room = db_->locAddFull("Site;Room");
    const ULong pc = Add("PC");
    EXPECT_EQ(db_->userDataAdd(0, pc, "Serial Number", "SN-'9'", 2, 1, when_), pc);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Category", "65536", 2, 0, when_), pc);
    EXPECT_EQ(db_->userDataAdd(0, pc, "MAC Address", "00:1A", 2, 0, when_), pc);
    EXPECT_EQ(db_->userDataAdd(0, pc, "IP Address", "10.0.0.7", 2, 0, when_), pc);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Audit Date", "2024-02-29 23:59:58", 2, 0, when_), pc);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Location", "Site;Room", 2, 0, when_), pc);
    EXPECT_EQ(db_->SelectText("ASSET", "_SERIAL", pc).str(), "SN-'9'");
    EXPECT_EQ(db_->SelectNumber("ASSET", "_CAT", pc), 65536u);
    EXPECT_EQ(db_->GetAssetMacAddr(pc).str(), "00:1A");
    EXPECT_EQ(db_->GetAssetIPAddr(pc).str(), "10.0.0.7");
    EXPECT_EQ(db_->GetLastAuditDate(pc), CTime(2024, 2, 29, 23, 59, 58));
    EXPECT_EQ(db_->GetAssetLocation(pc), room);
    EXPECT_EQ(Rows("USERDATA"), 0u);
    EXPECT_EQ(History(pc).back().key, "Serial Number");
    EXPECT_TRUE(messages_.empty()) << AllMessages();

    EXPECT_EQ(db_->userDataAdd(0, pc, "Make", "Acme", 2, 0, when_), 0u);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Audit Date", "yesterday", 2, 0, when_), 0u);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Location", "Nowhere", 2, 0, when_), 0u);
    ASSERT_EQ(messages_.size(), 3u);
    EXPECT_EQ(messages_[0], "An Error has occurred\n\n'Acme' is not an identifier for the field Make");
    EXPECT_EQ(db_->GetAssetLocation(pc), room);
}

// ---- Counting ----

TEST_P(Assets, FilteredCountsNeedAKindBitAndNoExcludedBit) {
    const ULong a = Add("A");
    Add("B");
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 0u) << "new assets (status 2) are not counted filtered";
    EXPECT_EQ(db_->CountAssets(0, 1, 0), 2u);
    db_->SetAssetStateFlag(a, 0x10, 1);
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 1u);
    db_->SetAssetStateFlag(a, 0x4000, 1);
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 0u);
}

TEST_P(Assets, CountsDescendAndTheQuickFormStopsAboveOne) {
    const ULong top = db_->locAddFull("Top");
    const ULong one = db_->locAddFull("Top;One");
    const ULong two = db_->locAddFull("Top;Two");
    const ULong three = db_->locAddFull("Top;Two;Three");
    const ULong zulu = db_->locAddFull("Top;Zulu");
    Add("a1", one);
    Add("b1", two);
    Add("b2", two);
    Add("c1", three);
    for (int i = 0; i < 5; ++i) Add(CString::Formatted("z%d", i), zulu);
    EXPECT_EQ(db_->CountAssets(top, 1, 0), 9u);
    EXPECT_EQ(db_->CountAssets(two, 1, 0), 3u);
    // Top has none of its own: One gives 1 (not yet above 1), Two gives 2, and the walk stops
    // before Zulu, so the answer is 3, not 8.
    EXPECT_EQ(db_->CountAssets(top, 1, 1), 3u);
    EXPECT_EQ(db_->CountAssets(one, 1, 1), 1u);
    // Two's own assets answer without descending to Three.
    EXPECT_EQ(db_->CountAssets(two, 1, 1), 2u);
    EXPECT_EQ(db_->CountAssets(top, 0, 0), 0u);
}

// ---- Cached reads and writes that must not repeat ----

TEST_P(Assets, StateBitsAreWrittenOnlyWhenTheyChange) {
    const ULong pc = Add("PC");
    CountAssetUpdates();
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 1), 0);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 1), 1);
    EXPECT_EQ(AssetUpdates(), 1u);
    EXPECT_EQ(Status(pc), 0x12u);
    EXPECT_EQ(db_->GetAssetStateFlag(pc, 0x30), 1);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x10, 7), 1) << "any set other than 0 or 1 counts as a change";
    EXPECT_EQ(AssetUpdates(), 2u);
    EXPECT_EQ(db_->SetAssetStateFlag(pc, 0x12, 0), 1);
    EXPECT_EQ(Status(pc), 0u);
    EXPECT_EQ(db_->SetAssetStateFlag(pc + 50, 0x10, 1), 0);
    EXPECT_EQ(AssetUpdates(), 3u) << "a missing asset writes nothing";
}

TEST_P(Assets, UnchangedAddressesWriteNothing) {
    const ULong pc = Add("PC");
    CountAssetUpdates();
    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1a:2b", 1, when_), 1);
    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1a:2b", 1, when_), 1);
    EXPECT_EQ(AssetUpdates(), 1u);
    EXPECT_EQ(db_->SetAssetMacAddr(pc, "00:1A:2B", 1, when_), 1) << "the comparison is case-sensitive";
    EXPECT_EQ(db_->SetAssetIPAddr(pc, CIPAddress(CString("192.168.1.20")), 1, when_), 1);
    EXPECT_EQ(db_->SetAssetIPAddr(pc, CIPAddress(CString("192.168.1.20")), 1, when_), 1);
    EXPECT_EQ(AssetUpdates(), 3u);
    EXPECT_EQ(db_->SelectText("ASSET", "_IPADDR", pc).str(), "192.168.1.20");

    const auto history = History(pc);
    ASSERT_EQ(history.size(), 4u);  // the initial audit, two MAC changes, one IP change
    EXPECT_EQ(history[1].code, 0x4000Fu);
    EXPECT_EQ(history[1].key, "Primary MAC Address");
    EXPECT_EQ(history[1].value1, "");
    EXPECT_EQ(history[2].value1, "00:1a:2b");
    EXPECT_EQ(history[2].value2, "00:1A:2B");
    EXPECT_EQ(history[3].key, "Primary IP Address");
    EXPECT_EQ(history[3].value2, "192.168.1.20");
}

TEST_P(Assets, FindMacAddrSkipsTheGivenAsset) {
    const ULong a = Add("A");
    const ULong b = Add("B");
    db_->SetAssetMacAddr(a, "AA", 0, when_);
    EXPECT_EQ(db_->FindMacAddr("AA", b), a);
    EXPECT_EQ(db_->FindMacAddr("AA", a), 0u);
    db_->SetAssetMacAddr(b, "AA", 0, when_);
    EXPECT_EQ(db_->FindMacAddr("AA", a), b);
    EXPECT_EQ(db_->FindMacAddr("aa", 0), 0u);
}

TEST_P(Assets, CachedReadsFollowEveryWriteOfTheInterface) {
    const ULong pc = Add("PC");
    const ULong other = Add("Other");
    EXPECT_EQ(db_->GetAssetName(pc).str(), "PC");
    db_->SetAssetName(pc, "Renamed", nullptr, 0, when_);
    EXPECT_EQ(db_->GetAssetName(pc).str(), "Renamed");
    EXPECT_EQ(db_->GetLastAuditDate(pc), CTime());
    db_->SetLastAuditDate(pc, when_);
    EXPECT_EQ(db_->GetLastAuditDate(pc), when_);
    db_->SetLastAuditDate(pc, CTime());
    EXPECT_EQ(db_->GetLastAuditDate(pc), CTime()) << "never stays never";
    db_->SetAssetParent(pc, other, 1, 0, when_);
    int isLocation = 1;
    EXPECT_EQ(db_->GetAssetParent(pc, isLocation), other);
    EXPECT_EQ(isLocation, 0);
    db_->assetDelete(pc);
    EXPECT_EQ(db_->GetAssetName(pc).str(), "");
    EXPECT_EQ(db_->GetAssetParent(pc, isLocation), 0u);
    EXPECT_EQ(isLocation, 1);
    EXPECT_EQ(db_->GetAssetName(0).str(), "");
}

TEST_P(Assets, OlderSchemasReadOnlyTheColumnsTheyHave) {
    const ULong a = Add("A");
    const ULong b = Add("B");
    for (ULong pc : {a, b}) {
        db_->SetAssetMacAddr(pc, "AA", 0, when_);
        db_->SetLastAuditDate(pc, when_);
    }
    db_->SetVer(5, 0);
    EXPECT_EQ(db_->GetAssetMacAddr(a).str(), "AA");
    EXPECT_EQ(db_->GetLastAuditDate(a), CTime());
    db_->SetVer(4, 99);
    EXPECT_EQ(db_->GetAssetMacAddr(b).str(), "");
    EXPECT_EQ(db_->GetAssetName(b).str(), "B");
}

TEST_P(Assets, IconsFollowTheStateBits) {
    const ULong pc = Add("PC");
    const ULong mouse = Add("Mouse");
    int icon = 0;
    int selected = 0;
    db_->GetAssetIcon(pc, &icon, &selected);
    EXPECT_EQ(icon, CNorvik::kIconAsset);
    EXPECT_EQ(selected, CNorvik::kIconAsset);
    db_->SetAssetStateFlag(pc, 0x20, 1);
    db_->SetAssetParent(mouse, pc, 1, 0, when_);
    db_->GetAssetIcon(pc, &icon, &selected);
    EXPECT_TRUE(CNorvik::IsIconPC(icon) && CNorvik::IsIconPC(selected) && icon != selected);
    db_->GetAssetIcon(mouse, &icon, nullptr);
    EXPECT_TRUE(CNorvik::IsIconPeripheral(icon));
    EXPECT_FALSE(CNorvik::IsIconParentable(icon));
    EXPECT_EQ(db_->GetIconName(icon).str(), "All Assets");
}

// ---- Deleting ----

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
    EXPECT_EQ(Rows("USERDATA", CString::Formatted("_OWNER=%d", AsInt(gone))), 1u);
    EXPECT_EQ(Rows("USERDATA", CString::Formatted("_OWNER=%d", AsInt(kept))), 1u);

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

TEST_P(Assets, DeletingNothingOrAMissingAssetSparesUnrelatedRows) {
    db_->InsertRecord("HW", "_ASSET,_KEY", "0,'Hardware'");
    db_->InsertRecord("DISCOVER", "_ASSET", "''");
    EXPECT_EQ(db_->assetDelete(0), 0);
    EXPECT_EQ(db_->assetDelete(4242), 1);
    EXPECT_EQ(Rows("HW"), 1u);
    EXPECT_EQ(Rows("DISCOVER"), 1u);
}

TEST_P(Assets, SamplesAreTheAssetsWithTheSampleFlag) {
    const ULong sample = Add("Sample PC");
    const ULong real = Add("Real PC");
    db_->ExecuteStatement(CString::Formatted("update ASSET set _FLAGS=%d where _ID=%d",
                                             AsInt(CNorvik::kAssetSampleFlag | 0x100), AsInt(sample)));
    db_->ExecuteStatement(CString::Formatted("update ASSET set _FLAGS=256 where _ID=%d", AsInt(real)));
    db_->assetDeleteSamples();
    EXPECT_EQ(Rows("ASSET"), 1u);
    EXPECT_EQ(db_->FindAsset("Real PC", 0, 0), real);
}

// ---- Moving and renaming ----

TEST_P(Assets, MovesRecordTheOldAndTheNewPlace) {
    const ULong floor1 = db_->locAddFull("Site;Floor 1");
    const ULong floor2 = db_->locAddFull("Site;Floor 2");
    const ULong pc = Add("PC", floor1);
    const ULong mouse = Add("Mouse", floor1);
    EXPECT_EQ(db_->SetAssetParent(mouse, floor2, 0, 1, when_), 1);
    EXPECT_EQ(db_->SetAssetParent(mouse, pc, 1, 1, when_), 1);
    EXPECT_EQ(Status(mouse), 0x1002u);
    EXPECT_EQ(db_->GetAssetLocation(mouse), floor1);
    EXPECT_EQ(db_->SetAssetParent(mouse, pc, 1, 1, when_), 1);  // already there: no record
    EXPECT_EQ(db_->SetAssetParent(mouse, 0, 0, 1, when_), 1);
    EXPECT_EQ(Status(mouse), 2u);

    const auto history = History(mouse);
    ASSERT_EQ(history.size(), 4u);
    EXPECT_EQ(history[1].code, 0x40002u);
    EXPECT_EQ(history[1].value1, "Site|Floor 1");
    EXPECT_EQ(history[1].value2, "Site|Floor 2");
    EXPECT_EQ(history[2].value2, "child of PC");
    EXPECT_EQ(history[3].value1, "child of PC");
    EXPECT_EQ(history[3].value2, "(None)");
    const ULong firstMove = Number(
        CString::Formatted("select _ID from HISTORY where _ASSET=%d and _CODE=%d order by _ID", AsInt(mouse), 0x40002));
    EXPECT_EQ(db_->historyFormatRecord(firstMove).str(), "Moved  from Site>Floor 1 to Site>Floor 2");
}

TEST_P(Assets, AnAssetCannotBeMovedBelowItself) {
    const ULong pc = Add("PC");
    const ULong hub = Add("Hub");
    const ULong port = Add("Port");
    db_->SetAssetParent(hub, pc, 1, 0, when_);
    db_->SetAssetParent(port, hub, 1, 0, when_);
    EXPECT_EQ(db_->SetAssetParent(pc, port, 1, 0, when_), 0);
    EXPECT_EQ(db_->SetAssetParent(pc, pc, 1, 0, when_), 0);
    EXPECT_EQ(db_->SetAssetParent(pc, 999, 1, 0, when_), 0) << "a missing parent asset";
    EXPECT_EQ(Status(pc), 2u);
    EXPECT_EQ(db_->GetAssetLocation(port), 0u);
}

class StationFile : public Assets {
protected:
    void SetUp() override {
        Assets::SetUp();
        path_ = std::filesystem::temp_directory_path() / ("norvik_station_" + std::to_string(getpid()) + ".ini");
    }
    void TearDown() override {
        std::filesystem::remove(path_);
        Assets::TearDown();
    }
    std::string Content() {
        std::ifstream in(path_, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    std::filesystem::path path_;
};

TEST_P(StationFile, RenameUpdatesRowHistoryAndTheStationFile) {
    std::ofstream(path_, std::ios::binary) << "[General]\r\nName=keep\r\n[Asset]\r\nName=OLD\r\nSerial=5\r\n";
    const ULong pc = Add("OLD");
    EXPECT_EQ(db_->SetAssetName(pc, "NEW", path_.c_str(), 1, when_), 1);
    EXPECT_EQ(Content(), "[General]\r\nName=keep\r\n[Asset]\r\nName=NEW\r\nSerial=5\r\n");
    EXPECT_EQ(db_->SelectText("ASSET", "_NAME", pc).str(), "NEW");
    const auto history = History(pc);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[1].code, 0x40003u);
    EXPECT_EQ(history[1].key, "Name");
    EXPECT_EQ(history[1].value1, "OLD");
    EXPECT_EQ(history[1].value2, "NEW");
}

TEST_P(StationFile, AnUnwritableStationFileIsReportedAfterTheRename) {
    const ULong pc = Add("OLD");
    const std::string path = (path_ / "no" / "such.ini").string();
    EXPECT_EQ(db_->SetAssetName(pc, "NEW", path.c_str(), 0, when_), 0);
    EXPECT_EQ(db_->SelectText("ASSET", "_NAME", pc).str(), "NEW");
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].rfind("An Error has occurred\n\nCannot write the station file '" + path + "'", 0), 0u)
        << messages_[0];
    EXPECT_EQ(db_->SetAssetName(pc + 9, "X", nullptr, 1, when_), 0) << "a missing asset";
}

// ---- Enumerations ----

TEST_P(Assets, EnumerationsAppendInNameOrder) {
    const ULong site = db_->locAddFull("Site");
    const ULong room = db_->locAddFull("Site;Room");
    const ULong b = Add("b-pc", site);
    const ULong a = Add("a-pc", site);
    const ULong r = Add("r-pc", room);
    const ULong elsewhere = Add("x-pc", 0);
    const ULong mon = Add("Monitor", 0);
    const ULong cam = Add("Camera", 0);
    const ULong kbd = Add("Keyboard", 0);
    db_->SetAssetParent(mon, b, 1, 0, when_);
    db_->SetAssetParent(kbd, b, 1, 0, when_);
    db_->SetAssetParent(cam, mon, 1, 0, when_);

    CDynaList<ULong> list;
    list.Add(12345);  // enumerations append
    EXPECT_EQ(db_->assetEnum(site, 0, list, 0), 3u);
    EXPECT_EQ(Ids(list), (std::vector<ULong>{12345, a, b}));

    list.RemoveAll();
    db_->assetEnum(site, 0, list, 1);
    // The assets of the subtree in name order, then the child assets of each (recursively).
    ASSERT_EQ(list.GetCount(), 6u);
    EXPECT_EQ((std::vector<ULong>{list[0], list[1], list[2]}), (std::vector<ULong>{a, b, r}));
    EXPECT_EQ(list[3] == mon ? list[4] : list[5], cam) << "a child's own children follow it";

    list.RemoveAll();
    db_->assetEnum(b, 1, list, 0);
    EXPECT_EQ(Ids(list), (std::vector<ULong>{kbd, mon}));

    list.RemoveAll();
    db_->assetEnum(0, 0, list, 0);
    EXPECT_EQ(Ids(list), (std::vector<ULong>{elsewhere}));
    list.RemoveAll();
    EXPECT_EQ(db_->assetEnum(0, 0, list, 1), 7u);
    EXPECT_EQ(list[0], cam);

    list.RemoveAll();
    EXPECT_EQ(db_->assetEnumChildren(b, list, 1), 3u);
    const auto ids = Ids(list);
    const auto at = std::find(ids.begin(), ids.end(), mon);
    ASSERT_NE(at, ids.end());
    ASSERT_NE(at + 1, ids.end());
    EXPECT_EQ(*(at + 1), cam);
    list.RemoveAll();
    EXPECT_EQ(db_->assetEnumChildren(b, list, 0), 2u);

    CSortList names;
    EXPECT_EQ(db_->EnumAssetNames(names), 7u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Assets, AChildCycleWrittenByHandEndsTheWalk) {
    const ULong a = Add("A");
    const ULong b = Add("B");
    db_->ExecuteStatement(
        CString::Formatted("update ASSET set _LOCATION=%d,_STATUS=4098 where _ID=%d", AsInt(b), AsInt(a)));
    db_->ExecuteStatement(
        CString::Formatted("update ASSET set _LOCATION=%d,_STATUS=4098 where _ID=%d", AsInt(a), AsInt(b)));
    CDynaList<ULong> list;
    EXPECT_EQ(db_->assetEnumChildren(a, list, 1), 2u);
}

TEST_P(Assets, PatternsUseStarAndQuestionMarkOnly) {
    const ULong pc1 = Add("PC-1");
    const ULong pc2 = Add("pc-22");
    const ULong pct = Add("100%_done");
    Add("100xydone");
    const ULong child = Add("PC-child");
    db_->SetAssetParent(child, pc1, 1, 0, when_);
    CDynaList<ULong> list;
    EXPECT_EQ(db_->FindMatchingAssets("pc-*", list, 0), 2u);
    EXPECT_EQ(Ids(list), (std::vector<ULong>{pc1, pc2}));
    list.RemoveAll();
    EXPECT_EQ(db_->FindMatchingAssets("pc-*", list, 1), 3u);
    list.RemoveAll();
    EXPECT_EQ(db_->FindMatchingAssets("?C-?", list, 1), 1u);
    list.RemoveAll();
    EXPECT_EQ(db_->FindMatchingAssets("100%_done", list, 0), 1u);
    EXPECT_EQ(list[0], pct);
    list.RemoveAll();
    EXPECT_EQ(db_->FindMatchingAssets("100%*", list, 0), 1u);
}

// ---- Names that need quoting ----

TEST_P(Assets, QuotesPercentsAndEightBitNamesSurviveEveryRoundTrip) {
    const std::string names[] = {"O'Neil's PC", "100% done", "under_score", "caf\xE9 \x80\xFF", "back\\slash"};
    Add("100x done");
    Add("underXscore");
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const ULong id = Add(name.c_str());
        ASSERT_NE(id, 0u) << AllMessages();
        EXPECT_EQ(Add(name.c_str()), id);
        EXPECT_EQ(db_->FindAsset(name.c_str(), 0, 0), id);
        EXPECT_EQ(db_->GetAssetName(id).str(), name);
        EXPECT_EQ(History(id)[0].key, name);
        CDynaList<ULong> matched;
        EXPECT_EQ(db_->FindMatchingAssets(name.c_str(), matched, 0), 1u);

        const std::string renamed = name + " '2'";
        db_->SetAssetName(id, renamed.c_str(), nullptr, 1, when_);
        db_->GetAssetName(1);  // another asset in the cache
        EXPECT_EQ(db_->GetAssetName(id).str(), renamed);
        EXPECT_EQ(History(id)[1].value2, renamed);
        db_->SetAssetMacAddr(id, name.c_str(), 0, when_);
        EXPECT_EQ(db_->FindMacAddr(name.c_str(), 0), id);
        db_->SetAssetName(id, name.c_str(), nullptr, 0, when_);
    }
    CSortList all;
    db_->EnumAssetNames(all);
    for (const std::string& name : names)
        EXPECT_NE(std::find_if(all.begin(), all.end(), [&](const CSortItem& item) { return item.text.str() == name; }),
                  all.end())
            << name;
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Assets, FailuresAreReportedWithTheStatement) {
    db_->ExecuteStatement("drop table ASSET");
    EXPECT_EQ(db_->FindAsset("x", 0, 0), 0u);
    EXPECT_EQ(db_->AddAsset("x", 0, 1, 1, when_), 0u);
    EXPECT_EQ(db_->GetAssetName(3).str(), "");
    EXPECT_EQ(Rows("HISTORY"), 0u);
    ASSERT_EQ(messages_.size(), 3u);
    EXPECT_NE(messages_[0].find("\nSQL String : select * from ASSET where _NAME='x' and (_STATUS & 4096 = 0)"),
              std::string::npos)
        << messages_[0];
    EXPECT_NE(messages_[2].find("\nSQL String : select _NAME,_LOCATION,_STATUS,_CAT,_MAKE,_MODEL,_SERIAL,_MACADDR,"
                                "_IPADDR,_AUDDATE from ASSET where _ID=3"),
              std::string::npos)
        << messages_[2];
}

NORVIK_ON_BOTH_ENGINES(Assets);
NORVIK_ON_BOTH_ENGINES(StationFile);

}  // namespace
