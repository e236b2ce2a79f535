// Software folders and files of imported inventories on both engines: the folder tree and files
// an asset gets, the application each file belongs to, shared rows between machines, hostile
// names, and re-imports that add nothing. Also the mapping of file names and sizes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "import/import_transactions.h"
#include "import/inventory_reader.h"
#include "import/inventory_writer.h"
#include "kb/table.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

Inventory Machine(const std::string& host, std::vector<InventorySoftware> software) {
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
};

class FileWriter : public EngineTest {
protected:
    ImportOutcome Apply(const Inventory& inventory) {
        SqlImportTransactions transactions(*db_);
        CInventoryWriter writer(*db_, transactions);
        ImportOutcome outcome;
        std::string error;
        EXPECT_TRUE(writer.Apply(inventory, outcome, error)) << error << AllMessages();
        return outcome;
    }
    ULong Count(const char* table) {
        CSqlRecordset rs(db_.get(), CString::Formatted("select count(*) from %s", table));
        return rs.NumberAt(0);
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
        std::vector<std::string> names;
        for (const CSortItem& child : children) names.push_back(child.text.str());
        return names;
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

TEST_P(FileWriter, EntriesFoldersAndFilesFormTheAssetsTreeWithFilesOfTheirApplication) {
    const ULong asset = Apply(Machine("WS-1", Catalogue())).asset;
    ASSERT_NE(asset, 0u);
    EXPECT_EQ(FolderNames(asset, 0), (std::vector<std::string>{"C:", "usr"}));
    EXPECT_EQ(FolderNames(asset, Folder(asset, {"C:", "Program Files"})), (std::vector<std::string>{"Acme", "Birch"}));
    EXPECT_EQ(FolderNames(asset, Folder(asset, {"usr"})), std::vector<std::string>{"bin"});

    const ULong editor = db_->applicationAdd("Acme", "Editor", 1);
    const ULong tool = db_->applicationAdd("", "tool", 1);
    const ULong editorFolder = Folder(asset, {"C:", "Program Files", "Acme", "Editor"});
    ASSERT_NE(editorFolder, 0u);
    EXPECT_EQ(db_->GetFolderPath(editorFolder).str(), "C:\\Program Files\\Acme\\Editor\\");
    const std::vector<StoredFile> files = Files(asset, editorFolder);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].name, "editor.exe");
    EXPECT_EQ(files[0].size, 40960u);
    EXPECT_EQ(files[0].app, editor);
    const std::vector<StoredFile> plugin =
        Files(asset, Folder(asset, {"C:", "Program Files", "Acme", "Editor", "plugins"}));
    ASSERT_EQ(plugin.size(), 1u);
    EXPECT_EQ(plugin[0].name, "spell.dll");
    EXPECT_EQ(plugin[0].app, editor);
    const std::vector<StoredFile> bin = Files(asset, Folder(asset, {"usr", "bin"}));
    ASSERT_EQ(bin.size(), 1u);
    EXPECT_EQ(bin[0].app, tool);
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
    EXPECT_EQ(Count("SWFILE"), 3u) << "the file without a folder is left out";
    EXPECT_EQ(Count("SWFOLDER"), 8u);
}

TEST_P(FileWriter, UnchangedReimportAddsOnlyItsReAuditRowAndMachinesShareRows) {
    const ULong asset = Apply(Machine("WS-1", Catalogue())).asset;
    const ULong folders = Count("SWFOLDER"), files = Count("SWFILE"), links = Count("SWLINK");
    const ULong apps = Count("APPS"), instances = Count("APPINST"), history = Count("HISTORY");
    const ImportOutcome again = Apply(Machine("WS-1", Catalogue()));
    EXPECT_EQ(again.asset, asset);
    EXPECT_EQ(again.applicationsAdded + again.applicationsRemoved, 0u);
    EXPECT_EQ(Count("SWFOLDER"), folders);
    EXPECT_EQ(Count("SWFILE"), files);
    EXPECT_EQ(Count("SWLINK"), links);
    EXPECT_EQ(Count("APPS"), apps);
    EXPECT_EQ(Count("APPINST"), instances);
    EXPECT_EQ(Count("HISTORY"), history + 1);

    // A second machine with the same software links to the same folder and file rows.
    const ULong other = Apply(Machine("WS-2", Catalogue())).asset;
    EXPECT_EQ(Count("SWFOLDER"), folders);
    EXPECT_EQ(Count("SWFILE"), files);
    EXPECT_EQ(Count("SWLINK"), 2 * links);
    const ULong editorFolder = Folder(other, {"C:", "Program Files", "Acme", "Editor"});
    EXPECT_EQ(editorFolder, Folder(asset, {"C:", "Program Files", "Acme", "Editor"}));
    EXPECT_EQ(Files(other, editorFolder).size(), 1u);
}

TEST_P(FileWriter, EquallyNamedFilesOfTwoProductsStayApartInOneFolder) {
    const ULong asset = Apply(Machine("WS-1", {{"Acme", "Editor", "2.0", "C:\\Setup", {{"setup.exe", 10}}},
                                               {"Birch", "Viewer", "1.1", "C:\\Setup", {{"setup.exe", 10}}}}))
                            .asset;
    const std::vector<StoredFile> files = Files(asset, Folder(asset, {"C:", "Setup"}));
    ASSERT_EQ(files.size(), 2u);
    EXPECT_NE(files[0].app, files[1].app);
    EXPECT_TRUE(files[0].app == db_->applicationAdd("Acme", "Editor", 1) ||
                files[1].app == db_->applicationAdd("Acme", "Editor", 1));
}

TEST_P(FileWriter, QuotesWildcardsNonAsciiAndOverlongNamesRoundTrip) {
    const std::string odd = "O'Neil's 100%_*\xC3\xA9\xE6\x97\xA5";
    const std::string longPiece(300, 'f');
    const ULong asset =
        Apply(Machine("WS-1", {{"Acme", "Editor", "2.0", "C:\\" + odd + "\\" + longPiece, {{odd + ".exe", 1}}}})).asset;
    const ULong folder = Folder(asset, {"C:", odd, std::string(255, 'f')});
    ASSERT_NE(folder, 0u) << "the piece is cut to its column";
    const std::vector<StoredFile> files = Files(asset, folder);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].name, odd + ".exe");
    const ULong links = Count("SWLINK");
    Apply(Machine("WS-1", {{"Acme", "Editor", "2.0", "C:\\" + odd + "\\" + longPiece, {{odd + ".exe", 1}}}}));
    EXPECT_EQ(Count("SWLINK"), links) << "the cut names match on the next audit";
}

NORVIK_ON_BOTH_ENGINES(FileWriter);

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
