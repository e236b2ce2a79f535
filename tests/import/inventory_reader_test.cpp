// The inventory readers and the mapping, without a database.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "import/inventory_mapping.h"
#include "import/inventory_reader.h"
#include "interface/norvik.h"

namespace {

const std::string kFixtures = NORVIK_INVENTORY_FIXTURES;

Inventory ReadFixture(const char* name) {
    Inventory inventory;
    std::string error;
    EXPECT_TRUE(ReadInventoryFile(kFixtures + "/" + name, inventory, error)) << error;
    return inventory;
}

// The inventory `text` holds, which must read.
Inventory ReadText(const std::string& text) {
    Inventory inventory;
    std::string error;
    EXPECT_TRUE(ReadInventory("in", text, inventory, error)) << text.substr(0, 200) << ": " << error;
    return inventory;
}

const InventoryHwSection* Section(const Inventory& inventory, const std::string& path) {
    for (const auto& section : inventory.hardware)
        if (section.path == path) return &section;
    return nullptr;
}

// "value/display" of item `key` of the section (or of "Operating System" for path ""), or
// "(absent)".
std::string Item(const Inventory& inventory, const std::string& path, const std::string& key) {
    const std::vector<InventoryHwValue>* values = &inventory.operatingSystem;
    if (!path.empty()) {
        const InventoryHwSection* section = Section(inventory, path);
        if (!section) return "(no section " + path + ")";
        values = &section->values;
    }
    for (const auto& value : *values)
        if (value.key == key) return value.value + "/" + std::to_string(value.display >> 12);
    return "(absent)";
}

// "publisher|version|folder" of the software entry `name`, or "(absent)".
std::string Software(const Inventory& inventory, const std::string& name) {
    for (const auto& s : inventory.software)
        if (s.name == name) return s.publisher + "|" + s.version + "|" + s.folder;
    return "(absent)";
}

struct ItemCase {
    const char* path;
    const char* key;
    std::string expected;  // as Item gives it
};

// The identity and the asset record, "|"-joined in declaration order.
std::string Identity(const Inventory& i) {
    std::string macs;
    for (const auto& mac : i.identity.macs) macs += mac + ",";
    return i.identity.biosSerial + "|" + i.identity.systemUuid + "|" + macs;
}
std::string Record(const Inventory& i) {
    const auto& r = i.record;
    return r.serial + "|" + r.primaryIPv4 + "|" + r.manufacturer + "|" + r.model + "|" + r.category;
}

TEST(InventoryReader, FormatIsToldFromTheContentNotTheName) {
    EXPECT_EQ(DetectInventoryFormat("<?xml version=\"1.0\"?><REQUEST/>"), InventoryFormat::Xml);
    EXPECT_EQ(DetectInventoryFormat("\xEF\xBB\xBF \r\n {\"action\":1}"), InventoryFormat::Json);
    EXPECT_EQ(DetectInventoryFormat("  \n"), InventoryFormat::Unknown);
    EXPECT_EQ(DetectInventoryFormat("[1]"), InventoryFormat::Unknown);
}

TEST(InventoryReader, DamagedOrMalformedDocumentsNameFileLineColumnAndReason) {
    const std::string hw = "<HARDWARE><NAME>PC</NAME></HARDWARE>";
    const struct {
        std::string text;
        const char* message;
    } cases[] = {
        {"", "in: line 1, column 1: the file is empty"},
        {"\n\n  hello", "in: line 3, column 3: not an inventory (neither an XML nor a JSON document)"},
        {"<html>\n<body/></html>", "in: line 1, column 1: not an inventory (no <REQUEST><CONTENT> element)"},
        {"<REQUEST>\n<CONTENT><HARDWARE><NAME>a</NAME></HARDWARE></CONTENT>\n</REQUEST",
         "in: line 3, column 10: the document ends before its elements are closed (truncated file)"},
        {"<REQUEST>\n<CONTENT><HARDWARE><NAME a=1>a</NAME></HARDWARE></CONTENT>\n</REQUEST>",
         "in: line 2, column 28: Error parsing element attribute"},
        {"<REQUEST><CONTENT><BIOS><SSN>1</SSN></BIOS></CONTENT></REQUEST>",
         "in: line 1, column 1: the inventory names no host (no HARDWARE/NAME)"},
        {"{\"action\": \"contact\", \"content\": {}}",
         "in: line 1, column 1: not an inventory (its \"action\" is not \"inventory\")"},
        {"  {\"action\": \"inventory\", \"content\": [1]}",
         "in: line 1, column 3: not an inventory (no \"content\" object)"},
        {"{\"action\": \"inventory\",\n \"content\": {\"hardware\": {\"name\": \"a\",}}}",
         "in: line 2, column 39: Missing a name for object member."},
        {"{\"content\": {\"hardware\": {\"name\": \"a\"}}} trailing",
         "in: line 1, column 42: The document root must not be followed by other values."},
        {"{\"action\": \"inventory\", \"content\": {\"hardware\": {\"name\": \"a",
         "in: line 1, column 60: the document ends before its values are closed (truncated file)"},
        {"{\"content\": {\"hardware\": {\"uuid\": \"x\"}}}",
         "in: line 1, column 1: the inventory names no host (no HARDWARE/NAME)"},
        // Malformed documents are refused, never resolved silently.
        {"<REQUEST><CONTENT>" + hw + "</CONTENT></REQUEST>\n junk",
         "in: line 2, column 2: text after the root element"},
        {"<REQUEST><CONTENT>" + hw + "</CONTENT></REQUEST><REQUEST/>", "in: line 1, column 75: a second root element"},
        {"<!DOCTYPE REQUEST [<!ENTITY h \"PC\">]><REQUEST><CONTENT><HARDWARE><NAME>&h;</NAME></HARDWARE></CONTENT>"
         "</REQUEST>",
         "in: line 1, column 1: a document type declaration (<!DOCTYPE>) is not accepted in an inventory"},
        {"<REQUEST><CONTENT><HARDWARE><NAME>&h;</NAME></HARDWARE></CONTENT></REQUEST>",
         "in: line 1, column 35: the entity &h; is not one of XML's own (entities are not expanded)"},
        {"<REQUEST><CONTENT><HARDWARE><NAME>P&#x00;C</NAME></HARDWARE></CONTENT></REQUEST>",
         "in: line 1, column 36: a reference to character 0 (&#x00;), which XML does not allow"},
        {"<REQUEST><QUERY>PROLOG</QUERY><CONTENT>" + hw + "</CONTENT></REQUEST>",
         "in: line 1, column 10: not an inventory (its <QUERY> is not INVENTORY)"},
        {"<REQUEST><CONTENT>" + hw + hw + "</CONTENT></REQUEST>",
         "in: line 1, column 1: the section HARDWARE is given more than once"},
        {"<REQUEST><CONTENT><HARDWARE><NAME>A</NAME><NAME>B</NAME></HARDWARE></CONTENT></REQUEST>",
         "in: line 1, column 1: the field HARDWARE/NAME is given more than once"},
        {"{\"content\": {\"hardware\": [{\"name\": \"PC\"}]}}",
         "in: line 1, column 1: not an inventory (its \"hardware\" is not an object)"},
        {"{\"content\": {\"hardware\": {\"name\": \"PC\"}, \"HARDWARE\": {\"name\": \"PC2\"}}}",
         "in: line 1, column 1: the section HARDWARE is given more than once"},
        {"{\"content\": {\"hardware\": {\"name\": \"A\", \"name\": \"B\"}}}",
         "in: line 1, column 1: the field HARDWARE/NAME is given more than once"},
        {"{\"content\": {\"hardware\": {\"name\": \"P\\u0000C\"}}}",
         "in: line 1, column 1: the field HARDWARE/NAME holds a zero character"},
        {"{\"content\": {\"softwares\": [{\"na\\u0000me\": \"x\"}], \"hardware\": {\"name\": \"PC\"}}}",
         "in: line 1, column 1: the field SOFTWARES/NA holds a zero character"},
        {"<REQUEST><CONTENT><HARDWARE><NAME>\xC2\xA0 \xE2\x80\x83</NAME></HARDWARE></CONTENT></REQUEST>",
         "in: line 1, column 1: the inventory names no host (no HARDWARE/NAME)"},
    };
    for (const auto& c : cases) {
        Inventory inventory;
        std::string error;
        EXPECT_FALSE(ReadInventory("in", c.text, inventory, error)) << c.text;
        EXPECT_EQ(error, c.message) << c.text;
    }
}

TEST(InventoryReader, NumericNamesMissingActionAndTrailingCommentsAreAccepted) {
    for (const std::string text : {"{\"content\": {\"hardware\": {\"name\": 42}}}",
                                   "{\"action\": \"inventory\", \"content\": {\"hardware\": {\"name\": \"42\"}}}",
                                   "<REQUEST><CONTENT><HARDWARE><NAME>42</NAME></HARDWARE></CONTENT></REQUEST>\n"
                                   "<!-- sent by the agent -->\n",
                                   "<REQUEST><QUERY>INVENTORY</QUERY><CONTENT><HARDWARE><NAME>4&#50;</NAME>"
                                   "</HARDWARE></CONTENT></REQUEST>"})
        EXPECT_EQ(ReadText(text).hostName, "42") << text;
}

TEST(InventoryReader, DocumentsOfAnySizeWereRead) {
    std::string text = "<REQUEST><CONTENT><HARDWARE><NAME>PC</NAME></HARDWARE></CONTENT></REQUEST>";
    text.resize(kInventoryMaxBytes + 1, ' ');
    Inventory inventory;
    std::string error;
    EXPECT_FALSE(ReadInventory("in", text, inventory, error));
    EXPECT_EQ(error, "in: line 1, column 1: the document is larger than the 32 MiB an inventory may be");
    text.resize(kInventoryMaxBytes);
    EXPECT_EQ(ReadText(text).hostName, "PC");
}

TEST(InventoryReader, XmlInventoryMapsIdentityRecordAndOperatingSystem) {
    const Inventory inventory = ReadFixture("workstation.xml");
    EXPECT_EQ(inventory.hostName, "WS-ALPHA");
    EXPECT_EQ(inventory.date, "2011-03-02 10:44:46");
    // Loopback, WAN Miniports (sharing one MAC) and the virtual adapter are left out; the
    // wireless adapter has no address, so the wired one is primary.
    EXPECT_EQ(Identity(inventory),
              "CZC1234XYZ|4c4c4544-0034-3010-8048-b6c04f503732|00:21:5C:AA:BB:01,00:1E:4F:12:34:56,");
    EXPECT_EQ(inventory.record.primaryMac, "00:1E:4F:12:34:56");
    EXPECT_EQ(Record(inventory), "CZC1234XYZ|10.1.2.33|Contoso Computers|Desk 5000|Desktop");
    // The older HARDWARE fields win over the newer OPERATINGSYSTEM section's.
    EXPECT_EQ(Item(inventory, "", "Name"), "Microsoft Windows 7 Entreprise/0");
    EXPECT_EQ(Item(inventory, "", "Comments"), "Service Pack 1/0");
    EXPECT_EQ(Item(inventory, "", "Registered Owner"),
              "Soci\xC3\xA9t\xC3\xA9 G\xC3\xA9n\xC3\xA9rale d'\xC3\x89tudes/0");
    EXPECT_EQ(Item(inventory, "", "Time Zone"), "Europe/Berlin/0");
    EXPECT_EQ(Item(inventory, "", "Install Date"), std::to_string(CTime(2011, 1, 15, 8, 0, 0).GetTime()) + "/4");
}

// One item of each display type and of each kind of section; the others follow the same mapping.
TEST(InventoryReader, XmlHardwareSectionsBecomeCategoriesWithDisplayTypes) {
    const Inventory inventory = ReadFixture("workstation.xml");
    const ItemCase cases[] = {
        {"System", "Serial Number", "CZC1234XYZ/0"},
        {"System", "Memory", "8192/3"},
        {"BIOS", "Date", std::to_string(CTime(2009, 6, 23, 0, 0, 0).GetTime()) + "/4"},
        {"Processors|Processor 1", "Speed", "2400/7"},
        {"Memory|DIMM 0", "Capacity", "4096/3"},
        {"Storage|sda", "Model", "Disk|Pro 500/0"},
        {"Network Adapters|Gigabit Ethernet", "IP Address", "167838241/5"},
        {"Network Adapters|WAN Miniport (IPv6)", "MAC Address", "50:50:54:50:30:30/0"},
        {"Batteries|UPS Battery", "Date", std::to_string(CTime(2010, 4, 1, 0, 0, 0).GetTime()) + "/4"},
        {"Security|Antivirus|Shield Antivirus", "Up To Date", "1/0"},
    };
    for (const auto& c : cases) EXPECT_EQ(Item(inventory, c.path, c.key), c.expected) << c.path << " " << c.key;
    for (const auto& section : inventory.hardware) EXPECT_FALSE(section.values.empty()) << section.path;
    EXPECT_EQ(Section(inventory, "Processes|Processes 1"), nullptr);
}

TEST(InventoryReader, XmlSoftwareKeepsBytesEntitiesLongNamesAndFolders) {
    const Inventory inventory = ReadFixture("workstation.xml");
    ASSERT_EQ(inventory.software.size(), 6u);
    EXPECT_EQ(Software(inventory, "Office Suite"), "Contoso Software|14.0|C:\\Program Files\\Office Suite");
    EXPECT_EQ(Software(inventory,
                       "\xC3\x9c"
                       "berwachung Tool"),
              "M\xC3\xBCller & S\xC3\xB6hne GmbH|1.2 \xC3\x9F|");
    EXPECT_NE(Software(inventory, "Tom & Jerry <Player>"), "(absent)");
    const auto longest = std::max_element(inventory.software.begin(), inventory.software.end(),
                                          [](const auto& a, const auto& b) { return a.name.size() < b.name.size(); });
    EXPECT_EQ(longest->name.size(), 2000u);  // uncut in the model: the writer cuts to the column
}

TEST(InventoryReader, PlaceholderIdentifiersAndNoAddressesLeaveIdentityEmpty) {
    const Inventory inventory = ReadFixture("placeholders.ocs");
    EXPECT_EQ(inventory.hostName, "OCS-NODE");
    // No MAC: one on two adapters, and the broadcast one; 169.254.x and 0.0.0.0 are no addresses.
    EXPECT_EQ(Identity(inventory), "||");
    EXPECT_EQ(Record(inventory), "||||Computer");
    EXPECT_EQ(Item(inventory, "BIOS", "Date"), "not a date/0");
    EXPECT_EQ(Item(inventory, "System", "Memory"), "3 GB/0");  // another unit: kept as text
    ASSERT_EQ(inventory.software.size(), 1u);                  // the entry without a name is left out
    EXPECT_EQ(inventory.software[0].name, "bash");
}

TEST(InventoryReader, JsonInventoryMapsLikeTheXmlOne) {
    const Inventory inventory = ReadFixture("laptop.json");
    EXPECT_EQ(inventory.hostName, "LAPTOP-7");
    EXPECT_EQ(inventory.date, "2020-06-12 14:19:54");
    EXPECT_EQ(Identity(inventory), "||9C:B6:D0:00:11:22,");  // "System Serial Number", "@@@...@@@"
    EXPECT_EQ(Record(inventory), "|192.168.1.142|Contoso Computers|Book 13|Laptop");  // the first IPv4 of the list
    // One item of each display type and of each kind of section, as for the XML one.
    const ItemCase cases[] = {
        {"", "Name", "Fedora/0"},
        {"BIOS", "Date", std::to_string(CTime(2016, 2, 6, 0, 0, 0).GetTime()) + "/4"},
        {"Motherboard", "Serial Number", "@@@@@@@@@@@@/0"},
        {"System", "Memory", "7800/3"},
        {"Processors|Processor 1", "Speed", "2300/7"},
        {"Storage|Logical Volumes|home", "Size", "193516/3"},
        {"Network Adapters|wlp58s0", "IP Address", "3232235918/5"},
        {"Virtual Machines|test-vm", "Memory", "2048/3"},
        {"Security|Antivirus|ClamAV", "Enabled", "1/0"},
    };
    for (const auto& c : cases) EXPECT_EQ(Item(inventory, c.path, c.key), c.expected) << c.path << " " << c.key;
    ASSERT_EQ(inventory.software.size(), 3u);
    EXPECT_EQ(inventory.software[1].name, "caf\xC3\xA9-tools");
    EXPECT_EQ(inventory.software[1].publisher, "\xC3\x9Cmlaut \xC3\x96pen Source");
    EXPECT_EQ(inventory.software[2].publisher, "");  // null
}

TEST(InventoryReader, InstanceNamesAreUniqueAndFreeOfThePathDelimiter) {
    const char* text =
        "<REQUEST><CONTENT><HARDWARE><NAME>h</NAME></HARDWARE>"
        "<PRINTERS><NAME>HP|Laser</NAME><PORT>a</PORT></PRINTERS>"
        "<PRINTERS><NAME>HP|Laser</NAME><PORT>b</PORT></PRINTERS>"
        "<PRINTERS><PORT>c</PORT></PRINTERS></CONTENT></REQUEST>";
    const Inventory inventory = ReadText(text);
    EXPECT_EQ(Item(inventory, "Printers|HP/Laser", "Port"), "a/0");
    EXPECT_EQ(Item(inventory, "Printers|HP/Laser (2)", "Port"), "b/0");
    EXPECT_EQ(Item(inventory, "Printers|Printer 3", "Port"), "c/0");
}

TEST(InventoryReader, HostileNestingIsSkippedNotFollowed) {
    std::string xml = "<REQUEST><CONTENT><HARDWARE><NAME>h</NAME>";
    for (const char* tag : {"<A>", "</A>"})
        for (int i = 0; i < 100000; ++i) xml += tag;
    xml += "</HARDWARE></CONTENT></REQUEST>";
    const std::string json = "{\"content\":{\"hardware\":{\"name\":\"h\",\"x\":" + std::string(100000, '[') +
                             std::string(100000, ']') + "}}}";
    for (const std::string& text : {xml, json}) EXPECT_EQ(ReadText(text).hostName, "h");
}

TEST(InventoryReader, DeviceIdAndPartialFlagComeFromOutsideTheContent) {
    const Inventory xml = ReadFixture("agent1-desktop.xml");
    EXPECT_EQ(xml.deviceId, "agent1-2021-05-03-08-15-00");
    EXPECT_FALSE(xml.partial);
    EXPECT_EQ(Item(xml, "System", "Device ID"), "agent1-2021-05-03-08-15-00/0");
    const Inventory full = ReadFixture("glpi-full.json");
    EXPECT_EQ(full.deviceId, "glpi-laptop-2023-02-01-10-00-00");
    EXPECT_FALSE(full.partial);
    EXPECT_TRUE(full.Carries("networks")) << "a full inventory speaks for every section, held or not";
    const Inventory partial = ReadFixture("glpi-partial-batteries.json");
    EXPECT_TRUE(partial.partial);
    EXPECT_EQ(partial.hostName, "") << "known by its device id alone";
    EXPECT_EQ(partial.sections, std::set<std::string>{"batteries"});
    EXPECT_TRUE(partial.Carries("batteries"));
    EXPECT_FALSE(partial.Carries("softwares"));
    EXPECT_EQ(Item(partial, "Batteries|BAT1", "Capacity"), "20000/0");

    // Without its device id a partial inventory has nothing to be known by; "partial" must be true.
    Inventory inventory;
    std::string error;
    EXPECT_FALSE(
        ReadInventory("p.json", R"({"partial":true,"content":{"batteries":[{"name":"B"}]}})", inventory, error));
    EXPECT_EQ(error, "p.json: line 1, column 1: the inventory names no host (no HARDWARE/NAME)");
    EXPECT_FALSE(ReadInventory("p.json", R"({"partial":"yes","deviceid":"d","content":{"batteries":[{"name":"B"}]}})",
                               inventory, error));
}

TEST(InventoryReader, EntriesKnownByTheirNameAloneAreKeptAsItems) {
    EXPECT_EQ(Item(ReadFixture("agent1-desktop.xml"), "Video|Contoso Graphics 620", "Name"), "Contoso Graphics 620/0");
    const char* text =
        "<REQUEST><CONTENT><HARDWARE><NAME>h</NAME></HARDWARE>"
        "<MONITORS><CAPTION>Panel 24</CAPTION></MONITORS><MODEMS><NAME>Dial</NAME></MODEMS>"
        "<PRINTERS><NAME>Laser</NAME><PORT>LPT1</PORT></PRINTERS><SOUNDS></SOUNDS></CONTENT></REQUEST>";
    const Inventory inventory = ReadText(text);
    EXPECT_EQ(Item(inventory, "Monitors|Panel 24", "Name"), "Panel 24/0");
    EXPECT_EQ(Item(inventory, "Modems|Dial", "Name"), "Dial/0");
    EXPECT_EQ(Item(inventory, "Printers|Laser", "Name"), "(absent)") << "an entry with values needs no Name";
    EXPECT_EQ(Section(inventory, "Sound|Sound Device 1"), nullptr) << "an entry with nothing at all is left out";
}

// Which stored items an inventory speaks for: everything when full; when partial, the items its
// sections map to.
TEST(InventoryReader, PartialInventorySpeaksOnlyForTheItemsOfItsSections) {
    Inventory full;
    Inventory partial;
    partial.partial = true;
    partial.sections = {"batteries", "bios"};
    partial.deviceId = "d";
    const struct {
        const char* path;
        const char* key;
        bool carried;
    } cases[] = {
        {"Batteries|BAT0", "Capacity", true},
        {"Batteries|BAT0|Deeper", "Capacity", false},
        {"Processors|Processor 1", "Speed", false},
        {"System", "Serial Number", true},  // bios
        {"System", "UUID", false},          // hardware
        {"System", "Chassis Type", true},   // hardware or bios
        {"System", "Device ID", true},      // the device id it carries
        {"Motherboard", "Model", true},     // bios
        {CNorvik::m_szOS, "Name", false},   // hardware or operatingsystem
        {"Storage|Logical Volumes|lv0", "Size", false},
        {"Custom", "Asset Tag", false},  // written by hand: no section owns it
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(HardwareItemCarried(full, c.path, c.key)) << c.path;
        EXPECT_EQ(HardwareItemCarried(partial, c.path, c.key), c.carried) << c.path << " " << c.key;
    }
    partial.sections = {"logical_volumes", "operatingsystem"};
    partial.deviceId.clear();
    EXPECT_TRUE(HardwareItemCarried(partial, "Storage|Logical Volumes|lv0", "Size"));
    EXPECT_FALSE(HardwareItemCarried(partial, "Storage|sda", "Size"));
    EXPECT_TRUE(HardwareItemCarried(partial, CNorvik::m_szOS, "Name"));
    EXPECT_FALSE(HardwareItemCarried(partial, "System", "Device ID"));
}

}  // namespace
