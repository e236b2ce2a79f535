// Content -> model. The tables below are the code form of MAPPING.md: change both together.
#include "import/inventory_mapping.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "import/identifiers.h"
#include "interface/norvik.h"

namespace {

// The category of the "Operating System" items (CNorvik::m_szOS, spelt out here: the readers are
// built without the interface's definitions too).
constexpr std::string_view kOperatingSystem = "Operating System";

// How a source value is stored: as text, or as a number shown with a display type.
enum class As { Text, Megabytes, MHz, Date, IPv4 };

struct FieldMap {
    const char* field;  // lower case source field; "a|b" takes the first non-empty of a, b
    const char* key;    // the HW item key
    As as = As::Text;
};

// One repeated section: each record becomes category "category|NAME", NAME being the first
// non-empty of `nameFields` (else "word N"), made unique with " (2)", " (3)" ...
struct SectionMap {
    const char* section;
    const char* category;
    const char* nameFields;
    const char* word;
    std::vector<FieldMap> fields;
};

const std::vector<SectionMap>& SectionMaps() {
    static const std::vector<SectionMap> kMaps = {
        {"cpus",
         "Processors",
         "",
         "Processor",
         {{"name|type", "Name"},
          {"manufacturer", "Manufacturer"},
          {"speed", "Speed", As::MHz},
          {"core", "Cores"},
          {"thread", "Threads"},
          {"familyname", "Family"},
          {"familynumber", "Family Number"},
          {"model", "Model"},
          {"stepping", "Stepping"},
          {"id", "ID"},
          {"serial", "Serial Number"},
          {"arch", "Architecture"},
          {"description", "Description"}}},
        {"memories",
         "Memory",
         "caption",
         "Slot",
         {{"capacity", "Capacity", As::Megabytes},
          {"type", "Type"},
          {"speed", "Speed", As::MHz},
          {"description", "Description"},
          {"manufacturer", "Manufacturer"},
          {"serialnumber", "Serial Number"},
          {"numslots", "Slot Number"},
          {"memorycorrection", "Error Correction"}}},
        {"storages",
         "Storage",
         "name|model",
         "Disk",
         {{"model", "Model"},
          {"manufacturer", "Manufacturer"},
          {"description", "Description"},
          {"disksize", "Size", As::Megabytes},
          {"type", "Type"},
          {"interface", "Interface"},
          {"firmware", "Firmware"},
          {"serialnumber|serial", "Serial Number"}}},
        {"drives",
         "Drives",
         "letter|type|volumn",
         "Drive",
         {{"filesystem", "File System"},
          {"total", "Total Size", As::Megabytes},
          {"free", "Free Space", As::Megabytes},
          {"label", "Label"},
          {"volumn", "Volume"},
          {"type", "Type"},
          {"description", "Description"},
          {"serial", "Serial Number"},
          {"systemdrive", "System Drive"},
          {"createdate", "Created", As::Date}}},
        {"logical_volumes",
         "Storage|Logical Volumes",
         "lv_name",
         "Volume",
         {{"size", "Size", As::Megabytes}, {"attr", "Attributes"}, {"lv_uuid", "UUID"}}},
        {"physical_volumes",
         "Storage|Physical Volumes",
         "device|pv_name",
         "Volume",
         {{"size", "Size", As::Megabytes},
          {"free", "Free Space", As::Megabytes},
          {"format", "Format"},
          {"pv_uuid", "UUID"}}},
        {"volume_groups",
         "Storage|Volume Groups",
         "vg_name",
         "Group",
         {{"size", "Size", As::Megabytes},
          {"free", "Free Space", As::Megabytes},
          {"lv_count", "Logical Volumes"},
          {"pv_count", "Physical Volumes"},
          {"vg_uuid", "UUID"}}},
        {"controllers",
         "Controllers",
         "name|caption",
         "Controller",
         {{"manufacturer", "Manufacturer"},
          {"type", "Type"},
          {"caption", "Caption"},
          {"pciid", "PCI ID"},
          {"pcislot", "PCI Slot"},
          {"driver", "Driver"}}},
        {"networks",
         "Network Adapters",
         "description",
         "Adapter",
         {{"macaddr|mac", "MAC Address"},
          {"ipaddress", "IP Address", As::IPv4},
          {"ipmask", "Subnet Mask", As::IPv4},
          {"ipgateway", "Gateway", As::IPv4},
          {"ipsubnet", "Subnet", As::IPv4},
          {"ipdhcp", "DHCP Server", As::IPv4},
          {"ipaddress6", "IPv6 Address"},
          {"type", "Type"},
          {"speed", "Speed"},
          {"status", "Status"},
          {"driver", "Driver"},
          {"virtualdev", "Virtual"},
          {"mtu", "MTU"},
          {"pcislot", "PCI Slot"}}},
        {"monitors",
         "Monitors",
         "caption|name|description",
         "Monitor",
         {{"manufacturer", "Manufacturer"},
          {"description", "Description"},
          {"serial", "Serial Number"},
          {"port", "Port"},
          {"type", "Type"}}},
        {"printers",
         "Printers",
         "name",
         "Printer",
         {{"driver", "Driver"},
          {"port", "Port"},
          {"network", "Network"},
          {"shared", "Shared"},
          {"sharename", "Share Name"},
          {"servername", "Server"},
          {"status", "Status"},
          {"resolution", "Resolution"},
          {"serial", "Serial Number"},
          {"comment", "Comment"}}},
        {"sounds",
         "Sound",
         "name|caption",
         "Sound Device",
         {{"manufacturer", "Manufacturer"}, {"description", "Description"}, {"caption", "Caption"}}},
        {"videos",
         "Video",
         "name|chipset",
         "Video Adapter",
         {{"chipset", "Chipset"},
          {"memory", "Memory", As::Megabytes},
          {"resolution", "Resolution"},
          {"pcislot", "PCI Slot"}}},
        {"usbdevices",
         "USB Devices",
         "name|caption",
         "USB Device",
         {{"manufacturer", "Manufacturer"},
          {"vendorid", "Vendor ID"},
          {"productid", "Product ID"},
          {"class", "Class"},
          {"subclass", "Subclass"},
          {"serial", "Serial Number"},
          {"caption", "Caption"}}},
        {"batteries",
         "Batteries",
         "name",
         "Battery",
         {{"manufacturer", "Manufacturer"},
          {"chemistry", "Chemistry"},
          {"capacity", "Capacity"},
          {"voltage", "Voltage"},
          {"power_max", "Maximum Power"},
          {"date", "Date", As::Date},
          {"serial", "Serial Number"}}},
        {"virtualmachines",
         "Virtual Machines",
         "name",
         "Virtual Machine",
         {{"vmtype", "Type"},
          {"subsystem", "Subsystem"},
          {"status", "Status"},
          {"memory", "Memory", As::Megabytes},
          {"vcpu", "Processors"},
          {"uuid", "UUID"},
          {"mac", "MAC Address"},
          {"serial", "Serial Number"},
          {"owner", "Owner"},
          {"comment", "Comment"}}},
        {"modems", "Modems", "name", "Modem", {{"description", "Description"}, {"model", "Model"}, {"type", "Type"}}},
        {"ports",
         "Ports",
         "name|caption",
         "Port",
         {{"type", "Type"}, {"caption", "Caption"}, {"description", "Description"}}},
        {"slots",
         "Slots",
         "name|designation",
         "Slot",
         {{"description", "Description"}, {"designation", "Designation"}, {"status", "Status"}}},
        {"inputs",
         "Input Devices",
         "name|caption",
         "Input Device",
         {{"manufacturer", "Manufacturer"},
          {"type", "Type"},
          {"interface", "Interface"},
          {"layout", "Layout"},
          {"pointingtype", "Pointing Type"},
          {"description", "Description"}}},
        {"antivirus",
         "Security|Antivirus",
         "name",
         "Antivirus",
         {{"company", "Company"}, {"version", "Version"}, {"enabled", "Enabled"}, {"uptodate", "Up To Date"}}},
        {"firewall", "Security|Firewall", "description", "Firewall", {{"status", "Status"}}},
        {"firewalls", "Security|Firewall", "description", "Firewall", {{"status", "Status"}}},
        {"remote_mgmt", "Remote Management", "type", "Remote Access", {{"id", "ID"}}},
    };
    return kMaps;
}

// The single records: "bios" and "hardware" (and the newer "operatingsystem") feed fixed
// categories; `section` names the record the field is read from.
struct SingleMap {
    const char* section;
    const char* category;  // "" = the "Operating System" items of the model
    FieldMap field;
};

const std::vector<SingleMap>& SingleMaps() {
    static const std::vector<SingleMap> kMaps = {
        {"bios", "System", {"smanufacturer", "Manufacturer"}},
        {"bios", "System", {"smodel", "Model"}},
        {"bios", "System", {"ssn", "Serial Number"}},
        {"hardware", "System", {"uuid", "UUID"}},
        {"bios", "System", {"skunumber", "SKU Number"}},
        {"bios", "System", {"assettag", "Asset Tag"}},
        {"hardware", "System", {"chassis_type", "Chassis Type"}},
        {"bios", "System", {"type", "Chassis Type"}},
        {"hardware", "System", {"vmsystem", "Virtual Machine System"}},
        {"hardware", "System", {"memory", "Memory", As::Megabytes}},
        {"hardware", "System", {"swap", "Swap", As::Megabytes}},
        {"hardware", "System", {"processorn", "Processor Count"}},
        {"bios", "BIOS", {"bmanufacturer", "Manufacturer"}},
        {"bios", "BIOS", {"bversion", "Version"}},
        {"bios", "BIOS", {"bdate", "Date", As::Date}},
        {"bios", "Motherboard", {"mmanufacturer", "Manufacturer"}},
        {"bios", "Motherboard", {"mmodel", "Model"}},
        {"bios", "Motherboard", {"msn", "Serial Number"}},
        {"hardware", "Network", {"workgroup", "Domain"}},
        {"hardware", "Network", {"dns", "DNS Servers"}},
        {"hardware", "Network", {"defaultgateway", "Default Gateway", As::IPv4}},
        {"hardware", "", {"osname", "Name"}},
        {"hardware", "", {"osversion", "Version"}},
        {"hardware", "", {"oscomments", "Comments"}},
        {"hardware", "", {"archname", "Architecture"}},
        {"hardware", "", {"winprodid", "Product ID"}},
        {"hardware", "", {"winprodkey", "Product Key"}},
        {"hardware", "", {"winowner", "Registered Owner"}},
        {"hardware", "", {"wincompany", "Registered Company"}},
        {"hardware", "", {"winlang", "Language"}},
        {"hardware", "", {"lastloggeduser", "Last Logged User"}},
        {"hardware", "", {"description", "Description"}},
        {"operatingsystem", "", {"name", "Name"}},
        {"operatingsystem", "", {"version", "Version"}},
        {"operatingsystem", "", {"full_name", "Full Name"}},
        {"operatingsystem", "", {"service_pack", "Service Pack"}},
        {"operatingsystem", "", {"arch", "Architecture"}},
        {"operatingsystem", "", {"kernel_name", "Kernel Name"}},
        {"operatingsystem", "", {"kernel_version", "Kernel Version"}},
        {"operatingsystem", "", {"install_date", "Install Date", As::Date}},
        {"operatingsystem", "", {"fqdn", "FQDN"}},
        {"operatingsystem", "", {"dns_domain", "DNS Domain"}},
        {"operatingsystem", "", {"timezone.name", "Time Zone"}},
    };
    return kMaps;
}

// The first non-empty value of the '|'-separated field names.
std::string FirstOf(const ContentRecord& record, std::string_view names) {
    while (!names.empty()) {
        const std::size_t bar = names.find('|');
        const std::string_view name = names.substr(0, bar);
        for (const auto& field : record.fields)
            if (field.name == name && !Trim(field.value).empty()) return std::string(Trim(field.value));
        names = bar == std::string_view::npos ? std::string_view() : names.substr(bar + 1);
    }
    return {};
}

// Adds the value of `map` from `record` to `values` unless empty or the key is already there
// (the older field of the two formats comes first and wins). IPv4 takes the first dotted value
// of a list.
void AddMapped(const ContentRecord& record, const FieldMap& map, std::vector<InventoryHwValue>& values) {
    for (const auto& value : values)
        if (value.key == map.key) return;
    std::string text = FirstOf(record, map.field);
    if (map.as == As::IPv4)
        for (const auto& candidate : record.All(map.field))
            if (ParseIPv4(candidate)) {
                text = candidate;
                break;
            }
    if (text.empty()) return;
    InventoryHwValue item{map.key, text, 0};
    switch (map.as) {
        case As::Text: break;
        case As::Megabytes:
        case As::MHz:
            if (const auto number = NumberInUnit(text, map.as == As::MHz ? "MHz" : "MB")) {
                item.value = std::to_string(*number);
                item.display = map.as == As::MHz ? CNorvik::kHwShowMHz : CNorvik::kHwShowMegabytes;
            }
            break;
        case As::Date:
            if (const auto date = NormalizeDate(text)) {
                DateTimeParts parts;
                DateTimeParts::Parse(date->c_str(), &parts);
                const std::int64_t seconds = CTime(parts).GetTime();
                // The column holds a 32-bit time value: dates outside it stay text.
                if (seconds > 0 && seconds <= 0x7FFFFFFF) {
                    item.value = std::to_string(seconds);
                    item.display = CNorvik::kHwShowDate;
                }
            }
            break;
        case As::IPv4:
            if (const auto address = ParseIPv4(text)) {
                item.value = std::to_string(*address);
                item.display = CNorvik::kHwShowIPv4;
            }
            break;
    }
    values.push_back(std::move(item));
}

// A category name: no '|' (the path delimiter), cut to the column.
std::string PathPiece(std::string_view name) {
    std::string piece(name);
    for (char& c : piece)
        if (c == '|') c = '/';
    return CutToColumn(piece, kImportColumnLimit - 6);  // room for a " (NN)" suffix
}

InventoryHwSection& SectionAt(std::vector<InventoryHwSection>& sections, const std::string& path) {
    for (auto& section : sections)
        if (section.path == path) return section;
    sections.push_back({path, {}});
    return sections.back();
}

bool IsLoopbackAdapter(const ContentRecord& network) {
    const std::string description = FirstOf(network, "description");
    return FirstOf(network, "type") == "loopback" || description == "lo" || description == "lo0" ||
           description.rfind("Loopback", 0) == 0;
}

// Dial-up miniports carry made-up MAC addresses, often the same one on several of them.
bool IsMiniportAdapter(const ContentRecord& network) {
    return FirstOf(network, "description").rfind("WAN Miniport", 0) == 0;
}

bool IsVirtualAdapter(const ContentRecord& network) {
    return network.Get("virtualdev") == "1" || IsLoopbackAdapter(network) || IsMiniportAdapter(network);
}

// The first usable IPv4 address of an adapter: not 0.0.0.0, not the loopback net, not a
// link-local address that no one handed out.
std::string UsableIPv4(const ContentRecord& network) {
    for (const auto& text : network.All("ipaddress")) {
        const auto address = ParseIPv4(text);
        if (address && *address != 0 && (*address >> 24) != 127 && (*address >> 16) != 0xA9FE)
            return std::string(Trim(text));
    }
    return {};
}

void MapNetworks(const std::vector<const ContentRecord*>& networks, Inventory& inventory) {
    // A MAC address on several physical adapters of one machine identifies none of them. Agents
    // list an adapter once per address, so adapters are told apart by their description; virtual
    // drivers bound to a physical adapter repeat its MAC and do not count.
    std::map<std::string, std::set<std::string>> holders;
    for (const ContentRecord* network : networks)
        if (const auto mac = NormalizeMac(FirstOf(*network, "macaddr|mac")); mac && !IsVirtualAdapter(*network))
            holders[*mac].insert(FirstOf(*network, "description"));
    auto usableMac = [&](const ContentRecord& network) -> std::optional<std::string> {
        const auto mac = NormalizeMac(FirstOf(network, "macaddr|mac"));
        if (!mac || holders[*mac].size() > 1) return std::nullopt;
        return mac;
    };
    auto take = [&](const std::string& mac) {
        auto& macs = inventory.identity.macs;
        if (std::find(macs.begin(), macs.end(), mac) == macs.end()) macs.push_back(mac);
    };
    for (const ContentRecord* network : networks) {
        if (IsVirtualAdapter(*network)) continue;
        const auto mac = usableMac(*network);
        if (!mac) continue;
        take(*mac);
        const std::string address = UsableIPv4(*network);
        if (inventory.record.primaryIPv4.empty() && !address.empty()) {
            inventory.record.primaryIPv4 = address;
            inventory.record.primaryMac = *mac;
        }
    }
    if (!inventory.record.primaryIPv4.empty()) return;
    // Some agents flag every adapter virtual (macOS, some virtual machines): with no physical
    // adapter holding an address, the first other adapter that is not a loopback or a miniport
    // and holds one is the primary interface.
    for (const ContentRecord* network : networks) {
        if (IsLoopbackAdapter(*network) || IsMiniportAdapter(*network)) continue;
        const auto mac = usableMac(*network);
        const std::string address = UsableIPv4(*network);
        if (!mac || address.empty()) continue;
        take(*mac);
        inventory.record.primaryIPv4 = address;
        inventory.record.primaryMac = *mac;
        return;
    }
}

std::string CategoryOf(const ContentRecord* hardware, const ContentRecord* bios) {
    const std::string vm = hardware ? FirstOf(*hardware, "vmsystem") : std::string();
    if (!vm.empty() && vm != "Physical") return "Virtual Machine";
    std::string chassis = hardware ? FirstOf(*hardware, "chassis_type") : std::string();
    if (chassis.empty() && bios) chassis = FirstOf(*bios, "type");
    if (chassis.empty()) return "Computer";
    static constexpr std::string_view kPortable[] = {"Laptop",      "Notebook",   "Portable", "Sub Notebook",
                                                     "Convertible", "Detachable", "Tablet",   "Hand Held"};
    static constexpr std::string_view kServer[] = {"Server", "Rack Mount Chassis", "Blade", "Main Server Chassis",
                                                   "Multi-system chassis"};
    for (const auto& name : kPortable)
        if (chassis == name) return "Laptop";
    for (const auto& name : kServer)
        if (chassis == name) return "Server";
    return "Desktop";
}

}  // namespace

bool HardwareItemCarried(const Inventory& inventory, std::string_view path, std::string_view key) {
    if (!inventory.partial) return true;
    if (path == kSystemCategory && key == kDeviceIdKey) return !inventory.deviceId.empty();
    for (const auto& map : SingleMaps()) {
        const std::string_view category = *map.category ? map.category : kOperatingSystem;
        if (path == category && key == map.field.key && inventory.Carries(map.section)) return true;
    }
    const std::size_t bar = path.rfind('|');
    if (bar == std::string_view::npos) return false;
    for (const auto& map : SectionMaps())
        if (path.substr(0, bar) == map.category && inventory.Carries(map.section)) return true;
    return false;
}

bool MapInventory(const InventoryContent& content, Inventory& inventory, std::string& reason) {
    std::map<std::string, const ContentRecord*> singles;
    std::map<std::string, std::vector<const ContentRecord*>> repeated;
    for (const auto& record : content.records) {
        singles.emplace(record.section, &record);
        repeated[record.section].push_back(&record);
    }
    auto single = [&](const char* name) -> const ContentRecord* {
        const auto found = singles.find(name);
        return found == singles.end() ? nullptr : found->second;
    };
    const ContentRecord* hardware = single("hardware");
    const ContentRecord* bios = single("bios");

    inventory.deviceId = CutToColumn(content.deviceId, kImportColumnLimit);
    inventory.partial = content.partial;
    for (const auto& record : content.records) inventory.sections.insert(record.section);
    inventory.hostName = hardware ? CutToColumn(FirstOf(*hardware, "name"), kImportColumnLimit) : std::string();
    // A partial inventory without its "hardware" section is recognised by its device id alone.
    if (inventory.hostName.empty() && !(inventory.partial && !hardware && !inventory.deviceId.empty())) {
        reason = "the inventory names no host (no HARDWARE/NAME)";
        return false;
    }
    if (const ContentRecord* log = single("accesslog"))
        inventory.date = NormalizeDate(FirstOf(*log, "logdate")).value_or("");

    const std::string serial = bios ? FirstOf(*bios, "ssn") : std::string();
    const std::string uuid = hardware ? FirstOf(*hardware, "uuid") : std::string();
    if (!IsPlaceholderIdentifier(serial)) inventory.identity.biosSerial = inventory.record.serial = serial;
    if (!IsPlaceholderIdentifier(uuid)) inventory.identity.systemUuid = uuid;
    if (bios) {
        const std::string make = FirstOf(*bios, "smanufacturer|mmanufacturer");
        const std::string model = FirstOf(*bios, "smodel|mmodel");
        if (!IsPlaceholderIdentifier(make)) inventory.record.manufacturer = CutToColumn(make, kImportColumnLimit);
        if (!IsPlaceholderIdentifier(model)) inventory.record.model = CutToColumn(model, kImportColumnLimit);
    }
    inventory.record.category = CategoryOf(hardware, bios);
    MapNetworks(repeated["networks"], inventory);

    if (!inventory.deviceId.empty())
        SectionAt(inventory.hardware, kSystemCategory).values.push_back({kDeviceIdKey, inventory.deviceId, 0});
    for (const auto& map : SingleMaps()) {
        const ContentRecord* record = single(map.section);
        if (!record) continue;
        if (*map.category == 0)
            AddMapped(*record, map.field, inventory.operatingSystem);
        else
            AddMapped(*record, map.field, SectionAt(inventory.hardware, map.category).values);
    }
    for (const auto& map : SectionMaps()) {
        std::set<std::string> used;
        int index = 0;
        for (const ContentRecord* record : repeated[map.section]) {
            ++index;
            const std::string given = FirstOf(*record, map.nameFields);
            std::string name = PathPiece(given);
            if (name.empty()) name = std::string(map.word) + " " + std::to_string(index);
            std::string unique = name;
            for (int copy = 2; !used.insert(unique).second; ++copy) unique = name + " (" + std::to_string(copy) + ")";
            InventoryHwSection section{std::string(map.category) + "|" + unique, {}};
            for (const auto& field : map.fields) AddMapped(*record, field, section.values);
            // An entry known by its name alone ("VIDEOS" with a NAME only) is still an item.
            if (section.values.empty() && !given.empty()) section.values.push_back({"Name", given, 0});
            if (!section.values.empty()) inventory.hardware.push_back(std::move(section));
        }
    }
    std::erase_if(inventory.hardware, [](const InventoryHwSection& section) { return section.values.empty(); });

    for (const ContentRecord* record : repeated["softwares"]) {
        InventorySoftware software;
        software.name = FirstOf(*record, "name");
        if (software.name.empty()) continue;  // nothing to call the application
        software.publisher = FirstOf(*record, "publisher");
        software.version = FirstOf(*record, "version");
        software.folder = FirstOf(*record, "folder|install_location|installlocation");
        // The size belongs to the file only beside a file name: without one it is the package's.
        if (std::string file = FirstOf(*record, "filename"); !file.empty()) {
            const auto size = NumberInUnit(FirstOf(*record, "filesize"), "");
            software.files.push_back({std::move(file), size.value_or(0)});
        }
        inventory.software.push_back(std::move(software));
    }
    return true;
}
