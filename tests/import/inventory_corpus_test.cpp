// The shared sample inventories on both engines: software entries counted independently of the
// readers, each one written as an instance, and a second import of the file changes nothing.
#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <pugixml.hpp>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "import/identifiers.h"
#include "import/import_transactions.h"
#include "import/inventory_mapping.h"
#include "import/inventory_reader.h"
#include "import/inventory_writer.h"
#include "support/asset_views.h"
#include "support/engine_test.h"
#include "support/slurp.h"

namespace {

namespace fs = std::filesystem;

// The names of the document's software entries that carry one, in document order.
std::vector<std::string> SoftwareNames(const std::string& text) {
    std::vector<std::string> names;
    if (DetectInventoryFormat(text) == InventoryFormat::Xml) {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size());
        for (const auto& node : document.select_nodes("/REQUEST/CONTENT/SOFTWARES/NAME")) {
            const std::string name(Trim(node.node().text().get()));
            if (!name.empty()) names.push_back(name);
        }
    } else {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        const auto& content = document["content"];
        if (content.HasMember("softwares"))
            for (const auto& entry : content["softwares"].GetArray())
                if (entry.HasMember("name") && entry["name"].IsString()) {
                    const std::string name(Trim(entry["name"].GetString()));
                    if (!name.empty()) names.push_back(name);
                }
    }
    return names;
}

class InventoryCorpus : public EngineTest {};

TEST_P(InventoryCorpus, EverySampleReadsAndImportsWithAllItsSoftwareAndReimportsUnchanged) {
    const fs::path folder = NORVIK_SHARED_INVENTORIES;
    if (!fs::is_directory(folder)) GTEST_SKIP() << "no sample inventories at " << folder.string();
    int files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".xml" && extension != ".ocs" && extension != ".json") continue;
        ++files;
        SCOPED_TRACE(entry.path().filename().string());
        const std::string text = Slurp(entry.path());
        Inventory inventory;
        std::string error;
        ASSERT_TRUE(ReadInventory(entry.path().string(), text, inventory, error)) << error;
        EXPECT_FALSE(inventory.hostName.empty());
        EXPECT_FALSE(inventory.hardware.empty());
        std::vector<std::string> read;
        for (const auto& software : inventory.software) read.push_back(software.name);
        EXPECT_EQ(read, SoftwareNames(text));

        SqlImportTransactions transactions(*db_);
        CInventoryWriter writer(*db_, transactions);
        ImportOutcome first, second;
        ASSERT_TRUE(writer.Apply(inventory, first, error)) << error << AllMessages();
        CSortList list;
        db_->EnumApplicationInstances(first.asset, 0, list, 0, 0);
        std::set<std::string> installed;
        for (const CSortItem& item : list) installed.insert(item.text.str());
        for (const std::string& name : read) {
            if (name.empty()) continue;
            EXPECT_TRUE(installed.count(CutToColumn(name, kImportColumnLimit))) << name;
        }
        const std::size_t history = HistoryOf(*db_, first.asset).size();
        ASSERT_TRUE(writer.Apply(inventory, second, error)) << error;
        EXPECT_EQ(second.asset, first.asset);
        EXPECT_FALSE(second.newAsset);
        EXPECT_EQ(second.hardwareChanges + second.applicationsAdded + second.applicationsRemoved, 0u);
        EXPECT_FALSE(second.recordChanged);
        EXPECT_EQ(HistoryOf(*db_, first.asset).size(), history + 1) << "only its Re-Audit row";
    }
    EXPECT_GT(files, 0) << "the sample folder holds no inventory";
}

NORVIK_ON_BOTH_ENGINES(InventoryCorpus);

}  // namespace
