// The format-neutral inventory model: what one agent inventory says about one computer, already
// mapped to the places it takes in the Audit Database (import/MAPPING.md). Readers fill it; the
// writer applies it. Text is kept as the document's bytes (UTF-8 stays UTF-8), uncut.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

// One hardware value: the item's key, its stored text and the display type of the HW row
// (one of CNorvik::kHwShow*, 0 for plain text). Numbers are stored as decimal text.
struct InventoryHwValue {
    std::string key;
    std::string value;
    ULong display = 0;

    bool operator==(const InventoryHwValue&) const = default;
};

// One hardware category below the tree's roots, named as a path joined by '|'
// ("Processors|Processor 1"), with the values it holds, in the document's order.
struct InventoryHwSection {
    std::string path;
    std::vector<InventoryHwValue> values;
};

// One file of a software entry: its name (a bare name, or a path of its own) and its size in
// bytes, 0 when the inventory does not give one.
struct InventoryFile {
    std::string name;
    ULong size = 0;

    bool operator==(const InventoryFile&) const = default;
};

// One installed software entry. Folder and file names are present only where the format
// carries them (an install location, an executable); they are empty otherwise.
struct InventorySoftware {
    std::string publisher;
    std::string name;
    std::string version;
    std::string folder;
    std::vector<InventoryFile> files;
};

// Identifiers used to recognise a machine under a new name. Placeholder values (the list in
// MAPPING.md) never get here: an empty text means "no usable identifier".
struct InventoryIdentity {
    std::string biosSerial;
    std::string systemUuid;
    std::vector<std::string> macs;  // distinct, usable MAC addresses, upper case "AA:BB:..."
};

// The columns of the asset's own record.
struct InventoryAssetRecord {
    std::string serial;        // _SERIAL: the system serial, placeholders left out
    std::string primaryMac;    // _MACADDR: the primary interface's MAC
    std::string primaryIPv4;   // _IPADDR: the primary interface's dotted IPv4 address
    std::string manufacturer;  // the make, through the catalogue
    std::string model;         // the model, through the catalogue
    std::string category;      // the category, through the catalogue ("Desktop", "Laptop" ...)
};

struct Inventory {
    std::string hostName;  // empty only in a partial inventory without its "hardware" section
    std::string deviceId;  // the agent's own id of the machine (DEVICEID, "deviceid"); may be empty
    // A partial inventory carries only the sections that changed since the agent's last full
    // one: the writer replaces what those sections give and leaves everything else as it is.
    bool partial = false;
    std::set<std::string> sections;  // the content sections the document holds (lower case)
    std::string date;                // the inventory's own date "YYYY-MM-DD hh:mm:ss", empty when it has none
    InventoryIdentity identity;
    InventoryAssetRecord record;
    std::vector<InventoryHwValue> operatingSystem;  // items directly under "Operating System"
    std::vector<InventoryHwSection> hardware;
    std::vector<InventorySoftware> software;

    // True when the inventory speaks for `section`: always for a full inventory, for a partial
    // one only when it holds the section.
    bool Carries(std::string_view section) const { return !partial || sections.count(std::string(section)) > 0; }
};
