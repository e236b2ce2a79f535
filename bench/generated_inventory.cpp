// The generated inventories.
#include "generated_inventory.h"

#include <cstdio>
#include <utility>
#include <vector>

namespace {

// One repeated section entry of `fields` (name, value) pairs, in either format.
struct Entry {
    const char* section;
    std::vector<std::pair<std::string, std::string>> fields;
};

// A MAC address of adapter `adapter` of machine `machine`, distinct across machines.
std::string Mac(int machine, int adapter) {
    char text[24];
    std::snprintf(text, sizeof text, "02:%02x:%02x:%02x:%02x:%02x", adapter & 0xff, (machine >> 24) & 0xff,
                  (machine >> 16) & 0xff, (machine >> 8) & 0xff, machine & 0xff);
    return text;
}

// The hardware of machine `machine`: the full set (~300 values), or with `compact` the ~100 of a
// plain office computer. With an `address`, the adapters take it and addresses of its subnet and
// MAC addresses of their own; without, the numbering the single-machine benchmarks always had.
std::vector<Entry> HardwareEntries(int machine, bool compact, const std::string& address) {
    std::vector<Entry> entries;
    const std::string n = std::to_string(machine);
    entries.push_back({"ACCESSLOG", {{"LOGDATE", "2024-05-06 07:08:09"}, {"USERID", "operator"}}});
    entries.push_back({"BIOS",
                       {{"BDATE", "06/23/2019"},
                        {"BMANUFACTURER", "Firmware Works"},
                        {"BVERSION", "2.04"},
                        {"SMANUFACTURER", "Contoso Computers"},
                        {"SMODEL", "Desk 5000"},
                        {"SSN", "SER-" + n},
                        {"MMANUFACTURER", "Contoso Boards"},
                        {"MMODEL", "MB-77"},
                        {"MSN", "MB-" + n}}});
    entries.push_back({"HARDWARE",
                       {{"NAME", "PC-" + n},
                        {"UUID", "4c4c4544-0034-3010-8048-" + n},
                        {"CHASSIS_TYPE", "Desktop"},
                        {"MEMORY", "16384"},
                        {"SWAP", "4096"},
                        {"OSNAME", "Ubuntu 22.04.4 LTS"},
                        {"OSVERSION", "5.15.0-105-generic"},
                        {"ARCHNAME", "x86_64-linux-gnu-thread-multi"},
                        {"WORKGROUP", "corp.example"},
                        {"DNS", "10.0.0.53"},
                        {"DEFAULTGATEWAY", "10.0.0.1"}}});
    for (int i = 0; i < (compact ? 1 : 2); ++i)
        entries.push_back({"CPUS",
                           {{"NAME", "Contoso Core i7-9700 CPU @ 3.00GHz"},
                            {"MANUFACTURER", "Contoso"},
                            {"SPEED", "3000"},
                            {"CORE", "8"},
                            {"THREAD", "8"},
                            {"FAMILYNUMBER", "6"},
                            {"MODEL", "158"},
                            {"STEPPING", "13"},
                            {"ID", "EA 06 09 00 FF FB EB BF"}}});
    for (int i = 0; i < (compact ? 2 : 4); ++i)
        entries.push_back({"MEMORIES",
                           {{"CAPACITY", "4096"},
                            {"CAPTION", "DIMM " + std::to_string(i)},
                            {"SPEED", "2666 MHz"},
                            {"TYPE", "DDR4"},
                            {"DESCRIPTION", "SODIMM"},
                            {"SERIALNUMBER", "1234567" + std::to_string(i)},
                            {"MANUFACTURER", "Samsung"},
                            {"NUMSLOTS", std::to_string(i)}}});
    for (int i = 0; i < (compact ? 1 : 2); ++i)
        entries.push_back({"STORAGES",
                           {{"NAME", "sd" + std::string(1, char('a' + i))},
                            {"MODEL", "SSD 512"},
                            {"MANUFACTURER", "Contoso"},
                            {"DISKSIZE", "488386"},
                            {"TYPE", "disk"},
                            {"SERIALNUMBER", "S" + n + std::to_string(i)},
                            {"FIRMWARE", "1.0"}}});
    for (int i = 0; i < (compact ? 1 : 4); ++i)
        entries.push_back({"DRIVES",
                           {{"TYPE", i == 0 ? std::string("/") : "/mnt/d" + std::to_string(i)},
                            {"VOLUMN", "/dev/sda" + std::to_string(i + 1)},
                            {"FILESYSTEM", "ext4"},
                            {"TOTAL", "100000"},
                            {"FREE", "50000"}}});
    for (int i = 0; i < (compact ? 2 : 25); ++i)
        entries.push_back({"CONTROLLERS",
                           {{"NAME", "Controller " + std::to_string(i)},
                            {"MANUFACTURER", "Contoso"},
                            {"PCIID", "8086:a3" + std::to_string(i)},
                            {"PCISLOT", "00:1f." + std::to_string(i)},
                            {"DRIVER", "pcieport"},
                            {"TYPE", "PCI bridge"}}});
    const std::string subnet = address.substr(0, address.rfind('.') + 1);
    for (int i = 0; i < (compact ? 2 : 6); ++i)
        entries.push_back(
            {"NETWORKS",
             {{"DESCRIPTION", i == 0 ? std::string("lo") : "eth" + std::to_string(i)},
              {"IPADDRESS", i == 0             ? std::string("127.0.0.1")
                            : !address.empty() ? (i == 1 ? address : subnet + std::to_string(200 + i))
                                               : "10.0." + std::to_string(i) + "." + n},
              {"IPMASK", "255.255.255.0"},
              {"IPGATEWAY", address.empty() ? std::string("10.0.0.1") : subnet + "1"},
              {"MACADDR", address.empty() ? "00:1e:4f:" + std::to_string(10 + i) + ":34:56" : Mac(machine, i)},
              {"STATUS", "Up"},
              {"VIRTUALDEV", i == 0 ? "1" : "0"},
              {"SPEED", "1000"}}});
    // Appended, not "U" + std::to_string(i): GCC 12 at -O3 warns falsely about the latter.
    const auto numbered = [](const char* prefix, int i) { return std::string(prefix).append(std::to_string(i)); };
    for (int i = 0; i < (compact ? 2 : 10); ++i)
        entries.push_back({"USBDEVICES",
                           {{"NAME", numbered("USB Device ", i)},
                            {"VENDORID", "046D"},
                            {"PRODUCTID", numbered("C3", i)},
                            {"SERIAL", numbered("U", i)}}});
    entries.push_back({"MONITORS", {{"CAPTION", "Wide 27"}, {"MANUFACTURER", "Contoso"}, {"SERIAL", "M-" + n}}});
    entries.push_back({"VIDEOS", {{"NAME", "Contoso Graphics"}, {"MEMORY", "4096"}, {"RESOLUTION", "2560x1440"}}});
    entries.push_back({"SOUNDS", {{"NAME", "HD Audio"}, {"MANUFACTURER", "Contoso"}}});
    for (int i = 0; i < (compact ? 1 : 3); ++i)
        entries.push_back(
            {"PRINTERS", {{"NAME", "Printer " + std::to_string(i)}, {"DRIVER", "PCL6"}, {"PORT", "USB001"}}});
    return entries;
}

std::vector<Entry> Entries(int software, int machine) {
    std::vector<Entry> entries = HardwareEntries(machine, false, "");
    for (int i = 0; i < software; ++i)
        entries.push_back({"SOFTWARES",
                           {{"NAME", "package-" + std::to_string(i) + "-utilities"},
                            {"PUBLISHER", "Publisher " + std::to_string(i % 97)},
                            {"VERSION", std::to_string(i % 7) + "." + std::to_string(i % 13) + "-1ubuntu0.22.04"},
                            {"COMMENTS", "Tools and libraries of package " + std::to_string(i) + " for the desktop"},
                            {"FILESIZE", std::to_string(10000 + i * 37)},
                            {"FROM", "deb"},
                            {"INSTALLDATE", "2024-01-" + std::to_string(10 + i % 18)},
                            {"ARCH", "amd64"}}});
    return entries;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (char c : text) escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '"' ? "\\\"" : std::string(1, c);
    return escaped;
}

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return text;
}

std::string Xml(const std::vector<Entry>& entries) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<REQUEST>\n  <CONTENT>\n";
    for (const Entry& entry : entries) {
        xml += std::string("    <") + entry.section + ">\n";
        for (const auto& [name, value] : entry.fields)
            xml += "      <" + name + ">" + Escaped(value) + "</" + name + ">\n";
        xml += std::string("    </") + entry.section + ">\n";
    }
    return xml + "  </CONTENT>\n  <QUERY>INVENTORY</QUERY>\n</REQUEST>\n";
}

std::string Json(const std::vector<Entry>& entries, int machine) {
    std::string json =
        "{\"action\": \"inventory\", \"deviceid\": \"PC-" + std::to_string(machine) + "\", \"content\": {";
    std::string open;  // the list being written
    for (const Entry& entry : entries) {
        const std::string section = Lower(entry.section);
        const bool single = section == "accesslog" || section == "bios" || section == "hardware";
        if (open != section) {
            if (!open.empty()) json += "],";
            json += "\n  \"" + section + "\": ";
            if (!single) json += "[";
            open = single ? "" : section;
        } else {
            json += ",";
        }
        json += "{";
        bool first = true;
        for (const auto& [name, value] : entry.fields) {
            json += (first ? "\"" : ", \"") + Lower(name) + "\": \"" + Escaped(value) + "\"";
            first = false;
        }
        json += single ? "}," : "}";
    }
    return json + "]\n}}\n";
}

// The entries of one audit of a site's machine: compact hardware and the given software.
std::vector<Entry> MachineEntries(const GeneratedMachine& machine) {
    std::vector<Entry> entries = HardwareEntries(machine.machine, true, machine.address);
    for (const GeneratedSoftware& software : machine.software)
        entries.push_back({"SOFTWARES",
                           {{"NAME", software.name},
                            {"PUBLISHER", software.publisher},
                            {"VERSION", software.version},
                            {"FROM", "registry"},
                            {"INSTALLDATE", "2024-01-15"},
                            {"ARCH", "x86_64"}}});
    return entries;
}

}  // namespace

std::string XmlInventory(int software, int machine) { return Xml(Entries(software, machine)); }

std::string JsonInventory(int software, int machine) { return Json(Entries(software, machine), machine); }

std::string XmlInventory(const GeneratedMachine& machine) { return Xml(MachineEntries(machine)); }

std::string JsonInventory(const GeneratedMachine& machine) { return Json(MachineEntries(machine), machine.machine); }
