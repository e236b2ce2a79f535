// The writer on both engines, with models built here (no files): a new asset, an unchanged
// re-audit, hardware changes and removals, a machine renamed, identifiers that must not match,
// location rules, over-long values and a transaction that fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "import/import_transactions.h"
#include "import/inventory_writer.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

Inventory Machine(const std::string& host, const std::string& serial) {
    Inventory inventory;
    inventory.hostName = host;
    inventory.date = "2024-05-06 07:08:09";
    inventory.identity.biosSerial = serial;
    inventory.identity.systemUuid = "uuid-" + serial;
    inventory.identity.macs = {"00:1E:4F:12:34:56"};
    inventory.record = {serial, "00:1E:4F:12:34:56", "10.1.2.33", "Contoso Computers", "Desk 5000", "Desktop"};
    inventory.operatingSystem = {{"Name", "Windows 7", 0}, {"Version", "6.1.7601", 0}};
    inventory.hardware = {
        {"System",
         {{"Serial Number", serial, 0}, {"UUID", "uuid-" + serial, 0}, {"Memory", "8192", CNorvik::kHwShowMegabytes}}},
        {"Processors|Processor 1", {{"Name", "Contoso CPU", 0}, {"Speed", "2400", CNorvik::kHwShowMHz}}},
        {"Network Adapters|Ethernet", {{"IP Address", "167838241", CNorvik::kHwShowIPv4}}},
    };
    return inventory;
}

// Commits like the real binding, or refuses to commit when told to.
class FailingCommit : public SqlImportTransactions {
public:
    using SqlImportTransactions::SqlImportTransactions;
    bool Commit() override { return false; }
};

class InventoryWriter : public EngineTest {
protected:
    ImportOutcome Apply(const Inventory& inventory, ImportPlacement placement = {}) {
        SqlImportTransactions transactions(*db_);
        CInventoryWriter writer(*db_, transactions, placement);
        ImportOutcome outcome;
        std::string error;
        EXPECT_TRUE(writer.Apply(inventory, outcome, error)) << error << AllMessages();
        return outcome;
    }
    std::vector<std::string> HistoryOf(ULong asset) {
        std::vector<ULong> ids;
        {
            CSqlRecordset rs(db_.get(), CString::Formatted("select _ID from HISTORY where _ASSET=%d order by _ID",
                                                           static_cast<int>(asset)));
            for (; !rs.IsEOF(); rs.MoveNext()) ids.push_back(rs.NumberAt(0));
        }
        std::vector<std::string> texts;
        for (ULong id : ids) texts.push_back(db_->historyFormatRecord(id).str());
        return texts;
    }
    std::set<std::string> HardwareOf(ULong asset) {
        CHwList list;
        db_->hwEnumAll(asset, list, 0);
        std::set<std::string> items;
        for (const CHwItem& item : list) items.insert(item.HistoryKey().str() + "=" + item.value.str());
        return items;
    }
    ULong Count(const char* table) {
        CSqlRecordset rs(db_.get(), CString::Formatted("select count(*) from %s", table));
        return rs.NumberAt(0);
    }
};

TEST_P(InventoryWriter, NewAssetGetsRecordCatalogueHardwareAndOnlyItsInitialAudit) {
    const ImportOutcome outcome = Apply(Machine("WS-1", "SER-1"));
    ASSERT_NE(outcome.asset, 0u);
    EXPECT_TRUE(outcome.newAsset);
    EXPECT_EQ(outcome.hardwareValues, 8u);
    const ULong asset = outcome.asset;
    EXPECT_EQ(db_->FindAsset("WS-1", 0, 0), asset);
    EXPECT_EQ(db_->GetAssetMacAddr(asset).str(), "00:1E:4F:12:34:56");
    EXPECT_EQ(db_->GetAssetIPAddr(asset).str(), "10.1.2.33");
    EXPECT_EQ(db_->GetLastAuditDate(asset).GetTime(), CTime(2024, 5, 6, 7, 8, 9).GetTime());
    std::string serial;
    ULong category = 0, make = 0, model = 0;
    {
        CSqlRecordset rs(db_.get(), CString::Formatted("select _SERIAL,_CAT,_MAKE,_MODEL from ASSET where _ID=%d",
                                                       static_cast<int>(asset)));
        serial = rs.TextAt(0).str();
        category = rs.NumberAt(1);
        make = rs.NumberAt(2);
        model = rs.NumberAt(3);
    }
    EXPECT_EQ(serial, "SER-1");
    EXPECT_EQ(db_->GetCategoryName(category).str(), "Desktop");
    EXPECT_EQ(db_->GetMakeName(make).str(), "Contoso Computers");
    EXPECT_EQ(db_->GetModelName(model).str(), "Desk 5000");
    EXPECT_EQ(db_->osFindValue(asset, "Version").str(), "6.1.7601");
    CSortList osItems;  // plain text values too must show in a listing
    db_->hwEnum(asset, db_->hwFind(CNorvik::m_szOS, '|'), osItems, 0xFFFFFFFF);
    EXPECT_TRUE(std::any_of(osItems.begin(), osItems.end(), [](const CSortItem& i) { return i.text == "Version"; }));
    EXPECT_EQ(
        db_->hwValueAsString(db_->hwFind(db_->hwFind("Network Adapters|Ethernet", '|'), asset, "IP Address")).str(),
        "10.1.2.33");
    EXPECT_EQ(HistoryOf(asset), std::vector<std::string>{"Initial Audit"});
}

TEST_P(InventoryWriter, UnchangedReimportWritesOneReAuditRowAndNothingElse) {
    const ULong asset = Apply(Machine("WS-1", "SER-1")).asset;
    // A second machine of the same make and model reuses the catalogue entries.
    Apply(Machine("WS-2", "SER-2"));
    const ULong hw = Count("HW"), makes = Count("MAKE"), models = Count("MODEL"), categories = Count("CAT");
    const ImportOutcome again = Apply(Machine("WS-1", "SER-1"));
    EXPECT_EQ(again.asset, asset);
    EXPECT_FALSE(again.newAsset);
    EXPECT_EQ(again.hardwareChanges, 0u);
    EXPECT_FALSE(again.recordChanged);
    EXPECT_EQ(HistoryOf(asset), (std::vector<std::string>{"Initial Audit", "Re-Audit"}));
    EXPECT_EQ(Count("HW"), hw);
    EXPECT_EQ(Count("MAKE"), makes);
    EXPECT_EQ(Count("MODEL"), models);
    EXPECT_EQ(Count("CAT"), categories);
}

TEST_P(InventoryWriter, ReimportRecordsHardwareAddedChangedAndRemoved) {
    const ULong asset = Apply(Machine("WS-1", "SER-1")).asset;
    Inventory next = Machine("WS-1", "SER-1");
    next.hardware[1].values[1].value = "2600";                   // changed
    next.hardware.pop_back();                                    // removed
    next.operatingSystem.push_back({"Service Pack", "SP1", 0});  // added
    next.record.primaryIPv4 = "10.1.2.34";
    const ImportOutcome outcome = Apply(next);
    EXPECT_EQ(outcome.hardwareChanges, 3u);
    EXPECT_TRUE(outcome.recordChanged);
    const std::set<std::string> hardware = HardwareOf(asset);
    EXPECT_TRUE(hardware.count("Processors|Processor 1|Speed=2600"));
    EXPECT_TRUE(hardware.count("Operating System|Service Pack=SP1"));
    EXPECT_FALSE(hardware.count("Network Adapters|Ethernet|IP Address=167838241"));
    EXPECT_EQ(hardware.size(), 8u);
    const std::vector<std::string> history = HistoryOf(asset);
    ASSERT_EQ(history.size(), 6u) << ::testing::PrintToString(history);
    EXPECT_EQ(history[1], "Re-Audit");
    const std::set<std::string> changes(history.begin() + 2, history.end());
    for (const char* text : {"Primary IP Address changed from 10.1.2.33 to 10.1.2.34"})
        EXPECT_TRUE(changes.count(text)) << ::testing::PrintToString(history);
}

TEST_P(InventoryWriter, RenamedMachineIsFoundBySerialThenByUuid) {
    const ULong asset = Apply(Machine("OLD-NAME", "SER-1")).asset;
    ImportOutcome outcome = Apply(Machine("NEW-NAME", "SER-1"));
    EXPECT_EQ(outcome.asset, asset);
    EXPECT_EQ(outcome.renamedFrom, "OLD-NAME");
    EXPECT_EQ(db_->GetAssetName(asset).str(), "NEW-NAME");
    EXPECT_EQ(db_->FindAsset("OLD-NAME", 0, 1), 0u);
    const std::vector<std::string> history = HistoryOf(asset);
    EXPECT_EQ(history[1], "Name changed from OLD-NAME to NEW-NAME");
    EXPECT_EQ(history[2], "Re-Audit");
    // The serial changed with a new board, the UUID still names the machine.
    Inventory board = Machine("NEWER-NAME", "SER-9");
    board.identity.systemUuid = "uuid-SER-1";
    outcome = Apply(board);
    EXPECT_EQ(outcome.asset, asset);
    EXPECT_EQ(db_->GetAssetName(asset).str(), "NEWER-NAME");
}

TEST_P(InventoryWriter, MissingOrSharedIdentifiersNeverMatch) {
    const ULong first = Apply(Machine("A", "SHARED")).asset;
    // B's hardware holds the same serial, but its model carries no identifier (placeholders never
    // reach it): nothing makes B the machine A renamed.
    Inventory twin = Machine("B", "SHARED");
    twin.identity = {};
    const ImportOutcome second = Apply(twin);
    EXPECT_TRUE(second.newAsset);
    EXPECT_NE(second.asset, first);
    // The serial is now held by two assets: a third name carrying it is a new asset, not a rename.
    Inventory third = Machine("C", "SHARED");
    third.identity.systemUuid.clear();
    EXPECT_TRUE(Apply(third).newAsset);
    EXPECT_EQ(db_->GetAssetName(first).str(), "A");
}

TEST_P(InventoryWriter, LocationComesFromTheAddressRangeElseTheGivenOneElseStays) {
    const ULong lab = db_->locAdd("Lab", 0, 0, CIPAddress(CString("10.1.2.0")), CIPAddress(CString("10.1.2.255")));
    const ULong office = db_->locAdd("Office", 0, 0, CIPAddress(), CIPAddress());
    const ULong asset = Apply(Machine("WS-1", "SER-1"), {true, office}).asset;
    int isLocation = 0;
    EXPECT_EQ(db_->GetAssetParent(asset, isLocation), lab);  // the range wins over --location
    Inventory moved = Machine("WS-1", "SER-1");
    moved.record.primaryIPv4 = "192.168.7.7";
    Apply(moved);
    EXPECT_EQ(db_->GetAssetParent(asset, isLocation), lab);  // no range, nothing given: it stays
    Apply(moved, {true, office});
    EXPECT_EQ(db_->GetAssetParent(asset, isLocation), office);
    const ULong other = Apply(Machine("WS-2", "SER-2"), {false, 0}).asset;
    Inventory nowhere = Machine("WS-3", "SER-3");
    nowhere.record.primaryIPv4.clear();
    EXPECT_EQ(db_->GetAssetParent(Apply(nowhere).asset, isLocation), 0u);  // the root
    EXPECT_EQ(db_->GetAssetParent(other, isLocation), lab);
}

TEST_P(InventoryWriter, OverlongTextIsCutToTheColumnAndStaysUnchangedOnReimport) {
    std::string longValue;
    while (longValue.size() < 2000) longValue += "\xC3\xA9t\xC3\xA9 ";  // "été ": bytes >= 0x80
    Inventory inventory = Machine("WS-1", "SER-1");
    inventory.hardware[0].values.push_back({"Note", longValue, 0});
    inventory.hardware.push_back({"Printers|" + std::string(300, 'P'), {{"Port", "LPT1", 0}}});
    Apply(inventory);
    // Cut where the column ends (CutToColumn's own cases are tested with the identifiers), the
    // stored value must compare equal to the cut model on the next audit.
    EXPECT_EQ(Apply(inventory).hardwareChanges, 0u);
}

TEST_P(InventoryWriter, FailedInventoryLeavesTheDatabaseAsItWas) {
    const ULong asset = Apply(Machine("WS-1", "SER-1")).asset;
    const ULong hw = Count("HW"), history = Count("HISTORY"), assets = Count("ASSET");
    FailingCommit transactions(*db_);
    CInventoryWriter writer(*db_, transactions);
    ImportOutcome outcome;
    std::string error;
    Inventory changed = Machine("WS-1", "SER-1");
    changed.hardware[1].values[1].value = "9999";
    EXPECT_FALSE(writer.Apply(changed, outcome, error));
    EXPECT_EQ(error, "WS-1: the database refused to commit the inventory");
    EXPECT_FALSE(writer.Apply(Machine("WS-NEW", "SER-NEW"), outcome, error));
    EXPECT_EQ(outcome.asset, 0u);
    SqlImportTransactions committing(*db_);
    EXPECT_FALSE(CInventoryWriter(*db_, committing).Apply(Machine("", "SER-NEW"), outcome, error));
    EXPECT_EQ(error, "(no name): the inventory names no host");
    EXPECT_EQ(Count("HW"), hw);
    EXPECT_EQ(Count("HISTORY"), history);
    EXPECT_EQ(Count("ASSET"), assets);
    EXPECT_TRUE(HardwareOf(asset).count("Processors|Processor 1|Speed=2400"));
}

// ---- Software ----

std::set<std::string> SoftwareOf(CNorvik& db, ULong asset) {
    CSortList list;
    db.EnumApplicationInstances(asset, 1, list, 0, 0);
    std::set<std::string> names;
    for (const CSortItem& item : list) names.insert(item.text.str());
    return names;
}

TEST_P(InventoryWriter, NewAssetGetsAnInstancePerApplicationAndNoSoftwareHistory) {
    Inventory inventory = Machine("WS-1", "SER-1");
    inventory.software = {{"Microsoft Corporation", "Office", "16.0", "", {}},
                          {"", "Tool", "", "", {}},
                          {"Other", "Tool", "2", "", {}},
                          {"", "Tool", "3", "", {}},  // the same application again: its first version stays
                          {"", "", "1", "", {}}};     // no name: left out
    const ImportOutcome outcome = Apply(inventory);
    EXPECT_EQ(outcome.applications, 3u);
    EXPECT_EQ(outcome.applicationsAdded, 3u);
    EXPECT_EQ(SoftwareOf(*db_, outcome.asset), (std::set<std::string>{"Office [16.0]", "Tool", "Tool [2]"}));
    const ULong office = db_->applicationAdd("Microsoft Corporation, Inc.", "Office", 1);
    EXPECT_EQ(db_->applicationIsInstalled(outcome.asset, office), 1);
    EXPECT_EQ(HistoryOf(outcome.asset), std::vector<std::string>{"Initial Audit"});
}

TEST_P(InventoryWriter, SoftwareAddedRemovedAndUpgradedBetweenAuditsIsWrittenWithHistory) {
    Inventory first = Machine("WS-1", "SER-1");
    first.software = {{"Acme", "Editor", "1.0", "", {}}, {"Acme", "Viewer", "", "", {}}, {"Acme", "Old", "", "", {}}};
    const ULong asset = Apply(first).asset;
    Inventory second = first;
    second.software = {{"Acme", "Editor", "2.0", "", {}}, {"Acme", "Viewer", "", "", {}}, {"Acme", "New", "", "", {}}};
    const ImportOutcome outcome = Apply(second);
    EXPECT_EQ(outcome.applicationsAdded, 2u);
    EXPECT_EQ(outcome.applicationsRemoved, 2u);
    EXPECT_EQ(SoftwareOf(*db_, asset), (std::set<std::string>{"Editor [2.0]", "New", "Viewer"}));
    const std::vector<std::string> history = HistoryOf(asset);
    const std::set<std::string> rows(history.begin(), history.end());
    EXPECT_EQ(history.size(), 6u);
    for (const char* row : {"Re-Audit", "Added Editor [2.0]", "Added New", "Deleted Editor [1.0]", "Deleted Old"})
        EXPECT_TRUE(rows.count(row)) << row << " missing from the history";
}

TEST_P(InventoryWriter, OverlongAndNonAsciiSoftwareNamesAreStoredCutAndRoundTrip) {
    Inventory inventory = Machine("WS-1", "SER-1");
    const std::string longName(2000, 'n');
    const std::string accented = "Caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \"quoted\" 50% _x_ *";
    inventory.software = {{"Acme", longName, std::string(600, '9'), "", {}}, {"M\xC3\xBCller", accented, "1", "", {}}};
    const ULong asset = Apply(inventory).asset;
    const std::set<std::string> names = SoftwareOf(*db_, asset);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_TRUE(names.count(accented + " [1]"));
    EXPECT_TRUE(names.count(std::string(255, 'n') + " [" + std::string(255, '9') + "]"));
    // The cut names compare equal on the next audit: nothing changes.
    const ImportOutcome again = Apply(inventory);
    EXPECT_EQ(again.applicationsAdded + again.applicationsRemoved, 0u);
}

NORVIK_ON_BOTH_ENGINES(InventoryWriter);

}  // namespace
