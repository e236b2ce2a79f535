// The writer on both engines, with inventories built here (no files); also the mapping of
// software file names and sizes.
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "import/import_transactions.h"
#include "import/inventory_reader.h"
#include "import/inventory_writer.h"
#include "kb/table.h"
#include "sql/sql_recordset.h"
#include "support/asset_views.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

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

class FailingCommit : public SqlImportTransactions {
public:
    using SqlImportTransactions::SqlImportTransactions;
    bool Commit() override { return false; }
};

// A machine known by its name alone, with `software`.
Inventory Software(const std::string& host, std::vector<InventorySoftware> software) {
    Inventory inventory;
    inventory.hostName = host;
    inventory.date = "2024-05-06 07:08:09";
    inventory.software = std::move(software);
    return inventory;
}

// An editor with a file and a plug-in below its folder, a product with a folder and no files,
// a tool given by its own absolute path, and a file that has no folder at all.
std::vector<InventorySoftware> Catalogue() {
    return {
        {"Acme",
         "Editor",
         "2.0",
         "C:\\Program Files\\Acme\\Editor\\",
         {{"editor.exe", 40960}, {"plugins\\spell.dll", 100}}},
        {"Birch", "Viewer", "1.1", "C:\\Program Files\\Birch", {}},
        {"", "tool", "5", "", {{"/usr/bin/tool", 0}, {"lonely.exe", 7}}},
    };
}

struct StoredFile {
    std::string name;
    ULong size;
    ULong app;
    bool operator==(const StoredFile&) const = default;
};
void PrintTo(const StoredFile& f, std::ostream* out) { *out << f.name << " " << f.size << " app " << f.app; }

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
    std::vector<std::string> HistoryOf(ULong asset) { return ::HistoryOf(*db_, asset); }
    std::set<std::string> HardwareOf(ULong asset) { return ::HardwareOf(*db_, asset); }
    // The row counts of `tables`.
    std::vector<ULong> Counts(std::initializer_list<const char*> tables = {"ASSET", "HW", "HISTORY", "MAKE", "MODEL",
                                                                           "CAT"}) {
        std::vector<ULong> counts;
        for (const char* table : tables) counts.push_back(Number(std::string("select count(*) from ") + table));
        return counts;
    }
    // The asset's folder at `pieces` from the top; 0 when a piece is missing.
    ULong Folder(ULong asset, const std::vector<std::string>& pieces) {
        ULong folder = 0;
        for (const std::string& piece : pieces) {
            CSortList children;
            db_->folderEnum(asset, folder, children, 0, 0);
            ULong found = 0;
            for (const CSortItem& child : children)
                if (child.text.str() == piece) found = child.id;
            if (found == 0) return 0;
            folder = found;
        }
        return folder;
    }
    std::vector<std::string> FolderNames(ULong asset, ULong parent) {
        CSortList children;
        db_->folderEnum(asset, parent, children, 0, 0);
        children.Sort();
        return Texts(children);
    }
    std::vector<StoredFile> Files(ULong asset, ULong folder) {
        CTable table;
        db_->filesEnum(asset, folder, table);
        std::vector<StoredFile> files;
        for (ULong row = 0; row < table.GetRowCount(); ++row)
            files.push_back(
                {table.GetText(row, 2).str(), table.GetValue(row, 3), table.GetValue(row, 9)});  // after the row ID
        return files;
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
    ULong ids[4] = {};
    {
        CSqlRecordset rs(db_.get(), CString::Formatted("select _SERIAL,_CAT,_MAKE,_MODEL from ASSET where _ID=%d",
                                                       static_cast<int>(asset)));
        serial = rs.TextAt(0).str();
        for (int i = 1; i < 4; ++i) ids[i] = rs.NumberAt(i);
    }
    EXPECT_EQ(serial + "|" + db_->GetCategoryName(ids[1]).str() + "|" + db_->GetMakeName(ids[2]).str() + "|" +
                  db_->GetModelName(ids[3]).str(),
              "SER-1|Desktop|Contoso Computers|Desk 5000");
    EXPECT_EQ(db_->osFindValue(asset, "Version").str(), "6.1.7601");
    CSortList osItems;  // plain text values too must show in a listing
    db_->hwEnum(asset, db_->hwFind(CNorvik::m_szOS, '|'), osItems, 0xFFFFFFFF);
    EXPECT_TRUE(std::any_of(osItems.begin(), osItems.end(), [](const CSortItem& i) { return i.text == "Version"; }));
    EXPECT_EQ(
        db_->hwValueAsString(db_->hwFind(db_->hwFind("Network Adapters|Ethernet", '|'), asset, "IP Address")).str(),
        "10.1.2.33");
    EXPECT_EQ(HistoryOf(asset), std::vector<std::string>{"Initial Audit"});
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
    EXPECT_TRUE(changes.count("Primary IP Address changed from 10.1.2.33 to 10.1.2.34"))
        << ::testing::PrintToString(history);
}

TEST_P(InventoryWriter, RenamedMachineIsFoundBySerialThenByUuid) {
    const ULong asset = Apply(Machine("OLD-NAME", "SER-1")).asset;
    ImportOutcome outcome = Apply(Machine("NEW-NAME", "SER-1"));
    EXPECT_EQ(outcome.asset, asset);
    EXPECT_EQ(outcome.renamedFrom, "OLD-NAME");
    EXPECT_EQ(db_->GetAssetName(asset).str(), "NEW-NAME");
    EXPECT_EQ(db_->FindAsset("OLD-NAME", 0, 1), 0u);  // the rename's history: asset_identity_test
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

TEST_P(InventoryWriter, FailedInventoryLeavesTheDatabaseAsItWas) {
    const ULong asset = Apply(Machine("WS-1", "SER-1")).asset;
    const std::vector<ULong> counts = Counts();
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
    EXPECT_EQ(Counts(), counts);
    EXPECT_TRUE(HardwareOf(asset).count("Processors|Processor 1|Speed=2400"));
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

// Cut where the column ends (CutToColumn's own cases are tested with the identifiers): the stored
// hardware and software must compare equal to the cut model on the next audit.
TEST_P(InventoryWriter, OverlongAndNonAsciiValuesAreStoredCutAndUnchangedOnReimport) {
    std::string longValue;
    while (longValue.size() < 2000) longValue += "\xC3\xA9t\xC3\xA9 ";  // "été ": bytes >= 0x80
    Inventory inventory = Machine("WS-1", "SER-1");
    inventory.hardware[0].values.push_back({"Note", longValue, 0});
    inventory.hardware.push_back({"Printers|" + std::string(300, 'P'), {{"Port", "LPT1", 0}}});
    const std::string longName(2000, 'n');
    const std::string accented = "Caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \"quoted\" 50% _x_ *";
    inventory.software = {{"Acme", longName, std::string(600, '9'), "", {}}, {"M\xC3\xBCller", accented, "1", "", {}}};
    const ULong asset = Apply(inventory).asset;
    const std::set<std::string> names = SoftwareOf(*db_, asset);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_TRUE(names.count(accented + " [1]"));
    EXPECT_TRUE(names.count(std::string(255, 'n') + " [" + std::string(255, '9') + "]"));
    const ImportOutcome again = Apply(inventory);
    EXPECT_EQ(again.applicationsAdded + again.applicationsRemoved + again.hardwareChanges, 0u);
}

TEST_P(InventoryWriter, EntriesFoldersAndFilesFormTheAssetsTreeWithFilesOfTheirApplication) {
    const ULong asset = Apply(Software("WS-1", Catalogue())).asset;
    ASSERT_NE(asset, 0u);
    EXPECT_EQ(FolderNames(asset, 0), (std::vector<std::string>{"C:", "usr"}));
    EXPECT_EQ(FolderNames(asset, Folder(asset, {"C:", "Program Files"})), (std::vector<std::string>{"Acme", "Birch"}));
    EXPECT_EQ(FolderNames(asset, Folder(asset, {"usr"})), std::vector<std::string>{"bin"});

    const ULong editor = db_->applicationAdd("Acme", "Editor", 1);
    const ULong tool = db_->applicationAdd("", "tool", 1);
    const ULong editorFolder = Folder(asset, {"C:", "Program Files", "Acme", "Editor"});
    ASSERT_NE(editorFolder, 0u);
    EXPECT_EQ(db_->GetFolderPath(editorFolder).str(), "C:\\Program Files\\Acme\\Editor\\");
    EXPECT_EQ(Files(asset, editorFolder), (std::vector<StoredFile>{{"editor.exe", 40960, editor}}));
    EXPECT_EQ(Files(asset, Folder(asset, {"C:", "Program Files", "Acme", "Editor", "plugins"})),
              (std::vector<StoredFile>{{"spell.dll", 100, editor}}));
    EXPECT_EQ(Files(asset, Folder(asset, {"usr", "bin"})), (std::vector<StoredFile>{{"tool", 0, tool}}));
    // The version texts come from the entry: the file list shows which product a file is from.
    const ULong editorFile = [&] {
        CSortList list;
        db_->EnumFiles(editor, list);
        return list.GetCount() == 2 ? list[0].id : 0;
    }();
    ASSERT_NE(editorFile, 0u);
    EXPECT_EQ(db_->GetFileMfr(editorFile).str(), "Acme");
    EXPECT_EQ(db_->GetFileApp(editorFile).str(), "Editor");
    EXPECT_EQ(db_->GetFileVer(editorFile).str(), "2.0");
    EXPECT_EQ(Counts({"SWFILE", "SWFOLDER"}), (std::vector<ULong>{3, 8})) << "the file without a folder is left out";
}

TEST_P(InventoryWriter, UnchangedReimportAddsOnlyItsReAuditRowAndMachinesShareRows) {
    Inventory machine = Machine("WS-1", "SER-1");
    machine.software = Catalogue();
    const ULong asset = Apply(machine).asset;
    const std::initializer_list<const char*> tables = {"HISTORY", "MAKE",   "MODEL",   "CAT",  "SWFOLDER",
                                                       "SWFILE",  "SWLINK", "APPINST", "APPS", "HW"};
    std::vector<ULong> counts = Counts(tables);
    const ImportOutcome again = Apply(machine);
    EXPECT_EQ(again.asset, asset);
    EXPECT_FALSE(again.newAsset);
    EXPECT_EQ(again.hardwareChanges + again.applicationsAdded + again.applicationsRemoved, 0u);
    EXPECT_FALSE(again.recordChanged);
    EXPECT_EQ(HistoryOf(asset), (std::vector<std::string>{"Initial Audit", "Re-Audit"}));
    ++counts[0];  // the Re-Audit row
    EXPECT_EQ(Counts(tables), counts);

    // A second machine of the same make, model and software reuses the catalogue, folder and file rows.
    Inventory twin = Machine("WS-2", "SER-2");
    twin.software = Catalogue();
    const ULong other = Apply(twin).asset;
    const std::vector<ULong> shared = Counts({"MAKE", "MODEL", "CAT", "SWFOLDER", "SWFILE", "SWLINK"});
    EXPECT_EQ(shared, (std::vector<ULong>{counts[1], counts[2], counts[3], counts[4], counts[5], 2 * counts[6]}));
    const ULong editorFolder = Folder(other, {"C:", "Program Files", "Acme", "Editor"});
    EXPECT_EQ(editorFolder, Folder(asset, {"C:", "Program Files", "Acme", "Editor"}));
    EXPECT_EQ(Files(other, editorFolder).size(), 1u);
}

TEST_P(InventoryWriter, EquallyNamedFilesOfTwoProductsStayApartInOneFolder) {
    const ULong asset = Apply(Software("WS-1", {{"Acme", "Editor", "2.0", "C:\\Setup", {{"setup.exe", 10}}},
                                                {"Birch", "Viewer", "1.1", "C:\\Setup", {{"setup.exe", 10}}}}))
                            .asset;
    std::vector<ULong> apps;
    for (const StoredFile& file : Files(asset, Folder(asset, {"C:", "Setup"}))) apps.push_back(file.app);
    std::sort(apps.begin(), apps.end());
    std::vector<ULong> expected = {db_->applicationAdd("Acme", "Editor", 1), db_->applicationAdd("Birch", "Viewer", 1)};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(apps, expected);
}

TEST_P(InventoryWriter, QuotesWildcardsNonAsciiAndOverlongNamesRoundTrip) {
    const std::string odd = "O'Neil's 100%_*\xC3\xA9\xE6\x97\xA5";
    const std::string longPiece(300, 'f');
    const ULong asset =
        Apply(Software("WS-1", {{"Acme", "Editor", "2.0", "C:\\" + odd + "\\" + longPiece, {{odd + ".exe", 1}}}}))
            .asset;
    const ULong folder = Folder(asset, {"C:", odd, std::string(255, 'f')});
    ASSERT_NE(folder, 0u) << "the piece is cut to its column";
    EXPECT_EQ(Files(asset, folder),
              (std::vector<StoredFile>{{odd + ".exe", 1, db_->applicationAdd("Acme", "Editor", 1)}}));
    const ULong links = Counts({"SWLINK"})[0];
    Apply(Software("WS-1", {{"Acme", "Editor", "2.0", "C:\\" + odd + "\\" + longPiece, {{odd + ".exe", 1}}}}));
    EXPECT_EQ(Counts({"SWLINK"})[0], links) << "the cut names match on the next audit";
}

NORVIK_ON_BOTH_ENGINES(InventoryWriter);

TEST(FileMapping, AFileNameTakesTheEntrysSizeAndASizeAloneMakesNoFile) {
    const std::string xml =
        "<REQUEST><CONTENT><HARDWARE><NAME>PC</NAME></HARDWARE>"
        "<SOFTWARES><NAME>Editor</NAME><FOLDER>C:\\Acme</FOLDER><FILENAME>editor.exe</FILENAME>"
        "<FILESIZE>40960</FILESIZE></SOFTWARES>"
        "<SOFTWARES><NAME>Package</NAME><FILESIZE>2335956</FILESIZE></SOFTWARES>"
        "<SOFTWARES><NAME>Odd</NAME><FILENAME>odd.exe</FILENAME><FILESIZE>3 GB</FILESIZE></SOFTWARES>"
        "</CONTENT></REQUEST>";
    Inventory inventory;
    std::string error;
    ASSERT_TRUE(ReadInventory("pc.xml", xml, inventory, error)) << error;
    ASSERT_EQ(inventory.software.size(), 3u);
    EXPECT_EQ(inventory.software[0].folder, "C:\\Acme");
    EXPECT_EQ(inventory.software[0].files, (std::vector<InventoryFile>{{"editor.exe", 40960}}));
    EXPECT_TRUE(inventory.software[1].files.empty());
    EXPECT_EQ(inventory.software[2].files, (std::vector<InventoryFile>{{"odd.exe", 0}}));

    const std::string json =
        R"({"action":"inventory","content":{"hardware":{"name":"PC"},"softwares":[)"
        R"({"name":"Editor","install_location":"/opt/editor","filename":"bin/editor","filesize":512}]}})";
    Inventory fromJson;
    ASSERT_TRUE(ReadInventory("pc.json", json, fromJson, error)) << error;
    ASSERT_EQ(fromJson.software.size(), 1u);
    EXPECT_EQ(fromJson.software[0].folder, "/opt/editor");
    EXPECT_EQ(fromJson.software[0].files, (std::vector<InventoryFile>{{"bin/editor", 512}}));
}

}  // namespace
