// Which asset an inventory lands on, on both engines: device id, firmware identifiers and host
// name in that order, names kept apart, partial inventories, the kind bit and the catalogue.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "import/asset_identity.h"
#include "import/import_transactions.h"
#include "import/inventory_reader.h"
#include "import/inventory_writer.h"
#include "sql/sql_recordset.h"
#include "support/asset_views.h"
#include "support/engine_test.h"

namespace {

const std::string kFixtures = NORVIK_INVENTORY_FIXTURES;

Inventory Fixture(const char* name) {
    Inventory inventory;
    std::string error;
    EXPECT_TRUE(ReadInventoryFile(kFixtures + "/" + name, inventory, error)) << error;
    return inventory;
}

// A machine with every identifier the rules look at.
Inventory Machine(const std::string& host, const std::string& deviceId, const std::string& serial) {
    Inventory inventory;
    inventory.hostName = host;
    inventory.deviceId = deviceId;
    inventory.date = "2024-05-06 07:08:09";
    inventory.identity.biosSerial = serial;
    inventory.record.serial = serial;
    inventory.record.category = "Desktop";
    inventory.hardware = {{"System", {{"Device ID", deviceId, 0}, {"Serial Number", serial, 0}}}};
    return inventory;
}

class AssetIdentity : public EngineTest {
protected:
    ImportOutcome Apply(const Inventory& inventory) {
        ImportOutcome outcome;
        std::string error;
        EXPECT_TRUE(Writer().Apply(inventory, outcome, error)) << error << AllMessages();
        return outcome;
    }
    CInventoryWriter& Writer() {
        if (!writer_) {
            transactions_ = std::make_unique<SqlImportTransactions>(*db_);
            writer_ = std::make_unique<CInventoryWriter>(*db_, *transactions_);
        }
        return *writer_;
    }
    std::vector<std::string> HistoryOf(ULong asset) { return ::HistoryOf(*db_, asset); }
    std::set<std::string> HardwareOf(ULong asset) { return ::HardwareOf(*db_, asset); }
    std::set<std::string> SoftwareOf(ULong asset) { return ::SoftwareOf(*db_, asset); }
    std::string Field(ULong asset, const char* key) { return db_->userdataGetValue(0, asset, key, 2).str(); }
    ULong Status(ULong asset) { return db_->SelectNumber("ASSET", "_STATUS", asset); }

    std::unique_ptr<SqlImportTransactions> transactions_;
    std::unique_ptr<CInventoryWriter> writer_;
};

TEST_P(AssetIdentity, TwoMachinesOfOneHostNameStayTwoAssetsNamedApart) {
    const ImportOutcome desktop = Apply(Fixture("agent1-desktop.xml"));
    const ImportOutcome laptop = Apply(Fixture("agent1-laptop.xml"));
    EXPECT_EQ(desktop.rule, IdentityRule::kNone);
    EXPECT_EQ(laptop.rule, IdentityRule::kNone);
    ASSERT_NE(desktop.asset, laptop.asset);
    EXPECT_EQ(laptop.assetName, "agent1 (2)");
    EXPECT_EQ(laptop.otherMachine, "serial number CZC0001DSK, not FBK-77-LAP");
    EXPECT_EQ(HistoryOf(laptop.asset),
              (std::vector<std::string>{"Initial Audit",
                                        "Identity changed : named agent1 (2): the asset agent1 is another machine "
                                        "(serial number CZC0001DSK, not FBK-77-LAP)"}));
    // Each comes back to its own asset, by its device id, and nothing flips between them.
    for (int round = 0; round < 2; ++round) {
        const ImportOutcome again = Apply(Fixture(round ? "agent1-desktop.xml" : "agent1-laptop.xml"));
        EXPECT_EQ(again.asset, round ? desktop.asset : laptop.asset);
        EXPECT_EQ(again.rule, IdentityRule::kDeviceId);
        EXPECT_EQ(again.hardwareChanges + again.applicationsAdded + again.applicationsRemoved, 0u);
    }
    EXPECT_EQ(db_->osFindValue(desktop.asset, "Name").str(), "Microsoft Windows 10 Pro");
    EXPECT_EQ(db_->osFindValue(laptop.asset, "Name").str(), "Ubuntu");
    EXPECT_EQ(db_->GetAssetName(desktop.asset).str(), "agent1");
    EXPECT_EQ(db_->GetAssetName(laptop.asset).str(), "agent1 (2)");
    // A third machine of the name takes the next free form.
    Inventory third = Machine("agent1", "agent1-third", "THIRD-1");
    EXPECT_EQ(Apply(third).assetName, "agent1 (3)");
}

TEST_P(AssetIdentity, HostNameMatchesOnlyWhenTheStoredIdentifiersAgree) {
    const ULong asset = Apply(Machine("pc", "", "SER-1")).asset;
    Inventory agreeing = Machine("pc", "", "");  // no serial: nothing contradicts
    EXPECT_EQ(Apply(agreeing).rule, IdentityRule::kHostName);
    Inventory placeholder = Machine("pc", "", "");
    placeholder.hardware = {{"System", {{"Serial Number", "To Be Filled By O.E.M.", 0}}}};
    Apply(placeholder);  // the stored serial is now a placeholder, which contradicts nothing
    const ImportOutcome other = Apply(Machine("pc", "", "SER-2"));
    EXPECT_EQ(other.rule, IdentityRule::kHostName) << "a placeholder stored serial is no identifier";
    EXPECT_EQ(other.asset, asset);
    const ImportOutcome stranger = Apply(Machine("pc", "", "SER-3"));
    EXPECT_EQ(stranger.rule, IdentityRule::kNone);
    EXPECT_EQ(stranger.assetName, "pc (2)");
}

TEST_P(AssetIdentity, RenamedMachineIsFoundByItsDeviceIdAndKeepsItsAsset) {
    const ULong asset = Apply(Fixture("agent1-desktop.xml")).asset;
    const ImportOutcome renamed = Apply(Fixture("agent1-desktop-renamed.xml"));
    EXPECT_EQ(renamed.rule, IdentityRule::kDeviceId);
    EXPECT_EQ(renamed.asset, asset);
    EXPECT_EQ(renamed.renamedFrom, "agent1");
    EXPECT_EQ(db_->GetAssetName(asset).str(), "reception-pc");
    const std::vector<std::string> history = HistoryOf(asset);
    ASSERT_GE(history.size(), 3u);
    EXPECT_EQ(history[1], "Name changed from agent1 to reception-pc");
    EXPECT_EQ(history[2], "Re-Audit");

    // Renamed to a name another asset holds: it takes a free form of it, and says why.
    const ULong other = Apply(Machine("kiosk", "kiosk-id", "K-1")).asset;
    Inventory clash = Fixture("agent1-desktop-renamed.xml");
    clash.hostName = "kiosk";
    const ImportOutcome moved = Apply(clash);
    EXPECT_EQ(moved.asset, asset);
    EXPECT_EQ(moved.assetName, "kiosk (2)");
    EXPECT_EQ(db_->GetAssetName(other).str(), "kiosk");
    EXPECT_EQ(HistoryOf(asset).back(), "Re-Audit");
    EXPECT_EQ(HistoryOf(asset).end()[-2], "Identity changed : named kiosk (2): the name kiosk is another asset's");
    // An asset already named by a suffixed form of its host keeps it.
    EXPECT_EQ(Apply(clash).renamedFrom, "");
}

TEST_P(AssetIdentity, MachineClonedWithItsAgentIsToldApartByItsSerial) {
    const ULong original = Apply(Machine("vm-a", "dev-1", "VM-SER-A")).asset;
    const ImportOutcome clone = Apply(Machine("vm-b", "dev-1", "VM-SER-B"));
    EXPECT_EQ(clone.rule, IdentityRule::kNone);
    EXPECT_NE(clone.asset, original);
    EXPECT_EQ(db_->GetAssetName(original).str(), "vm-a");
    // The device id is now held twice and matches neither: each is found by its serial.
    EXPECT_EQ(Apply(Machine("vm-a", "dev-1", "VM-SER-A")).rule, IdentityRule::kSerialNumber);
    const ImportOutcome again = Apply(Machine("vm-b", "dev-1", "VM-SER-B"));
    EXPECT_EQ(again.rule, IdentityRule::kSerialNumber);
    EXPECT_EQ(again.asset, clone.asset);
}

TEST_P(AssetIdentity, PartialInventoriesReplaceOnlyTheSectionsTheyHold) {
    const ImportOutcome full = Apply(Fixture("glpi-full.json"));
    const ULong asset = full.asset;
    const std::set<std::string> hardware = HardwareOf(asset);
    const std::set<std::string> software = SoftwareOf(asset);
    ASSERT_EQ(software, (std::set<std::string>{"Editor [1.0]", "Shell [5.2]", "Viewer [2.0]"}));
    const std::string record = Field(asset, "Serial Number") + "|" + Field(asset, "Make") + "|" +
                               Field(asset, "Model") + "|" + db_->GetAssetName(asset).str();

    const ImportOutcome batteries = Apply(Fixture("glpi-partial-batteries.json"));
    EXPECT_EQ(batteries.asset, asset);
    EXPECT_EQ(batteries.rule, IdentityRule::kDeviceId);
    EXPECT_TRUE(batteries.partial);
    EXPECT_EQ(batteries.hardwareChanges, 3u);  // one capacity changed, BAT1's two values added
    EXPECT_EQ(SoftwareOf(asset), software);
    std::set<std::string> expected = hardware;
    expected.erase("Batteries|BAT0|Capacity=45000");
    expected.insert({"Batteries|BAT0|Capacity=41000", "Batteries|BAT1|Manufacturer=Fabrikam Power",
                     "Batteries|BAT1|Capacity=20000"});
    EXPECT_EQ(HardwareOf(asset), expected);
    EXPECT_EQ(Field(asset, "Serial Number") + "|" + Field(asset, "Make") + "|" + Field(asset, "Model") + "|" +
                  db_->GetAssetName(asset).str(),
              record);

    const ImportOutcome programs = Apply(Fixture("glpi-partial-software.json"));
    EXPECT_EQ(programs.asset, asset);
    EXPECT_EQ(programs.hardwareChanges, 0u);
    EXPECT_EQ(programs.applicationsAdded, 1u);
    EXPECT_EQ(programs.applicationsRemoved, 2u);
    EXPECT_EQ(SoftwareOf(asset), (std::set<std::string>{"Editor [1.1]", "Shell [5.2]"}));
    EXPECT_EQ(HardwareOf(asset), expected);
    const std::vector<std::string> history = HistoryOf(asset);
    EXPECT_EQ(
        std::set<std::string>(history.end() - 4, history.end()),
        (std::set<std::string>{"Re-Audit", "Added Editor [1.1]", "Deleted Editor [1.0]", "Deleted Viewer [2.0]"}));
}

TEST_P(AssetIdentity, PartialInventoryOfAnUnknownMachineIsRefusedAndWritesNothing) {
    Apply(Fixture("agent1-desktop.xml"));
    const ULong assets = db_->CountAssets(0, 1, 0);
    Inventory stranger = Fixture("glpi-partial-batteries.json");
    ImportOutcome outcome;
    std::string error;
    EXPECT_FALSE(Writer().Apply(stranger, outcome, error));
    EXPECT_EQ(error,
              "glpi-laptop-2023-02-01-10-00-00: a partial inventory of an unknown machine is refused (a full "
              "inventory is needed)");
    EXPECT_TRUE(outcome.partialRefused);
    EXPECT_EQ(outcome.asset, 0u);
    EXPECT_EQ(db_->CountAssets(0, 1, 0), assets);
    // Named, but after another machine: still no machine it could be.
    stranger.hostName = "agent1";
    stranger.identity.biosSerial = "OTHER";
    EXPECT_FALSE(Writer().Apply(stranger, outcome, error));
    EXPECT_TRUE(outcome.partialRefused);
}

TEST_P(AssetIdentity, ImportedMachinesCarryTheirKindAndAModelWithoutMakerIsKept) {
    const ULong kiosk = Apply(Fixture("model-without-maker.json")).asset;
    ASSERT_NE(kiosk, 0u);
    EXPECT_EQ(Field(kiosk, "Make"), "Unknown");
    EXPECT_EQ(Field(kiosk, "Model"), "Kiosk Board K2");
    EXPECT_EQ(Status(kiosk) & CNorvik::kAssetKindMask, CNorvik::kAssetKindComputer);
    const ULong laptop = Apply(Fixture("glpi-full.json")).asset;
    EXPECT_EQ(Status(laptop) & CNorvik::kAssetKindMask, CNorvik::kAssetKindLaptop);
    int icon = 0;
    db_->GetAssetIcon(laptop, &icon, nullptr);
    EXPECT_TRUE(CNorvik::IsIconPC(icon));
    EXPECT_EQ(db_->CountAssets(0, 0, 0), 2u) << "imported machines count when filtering";
    // The machine turns out to be virtual: one kind bit, the new one.
    Inventory virtualised = Fixture("model-without-maker.json");
    virtualised.record.category = "Virtual Machine";
    EXPECT_TRUE(Apply(virtualised).recordChanged);
    EXPECT_EQ(Status(kiosk) & CNorvik::kAssetKindMask, CNorvik::kAssetKindVirtual);
    EXPECT_EQ(Status(kiosk) & ~CNorvik::kAssetKindMask, CNorvik::kAssetNew);
}

NORVIK_ON_BOTH_ENGINES(AssetIdentity);

}  // namespace
