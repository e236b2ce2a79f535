// The shared sample inventories, with software entries counted independently of the readers.
#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <pugixml.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "import/identifiers.h"
#include "import/inventory_reader.h"

namespace {

namespace fs = std::filesystem;

std::string Slurp(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

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

TEST(InventoryCorpus, EverySampleReadsWithAllItsSoftware) {
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
    }
    EXPECT_GT(files, 0) << "the sample folder holds no inventory";
}

}  // namespace
