// Agent inventories generated in the shape of real ones, for the benchmarks: a machine with
// `software` applications and ~300 hardware values, distinct per `machine` number (name,
// serials, addresses).
#pragma once

#include <string>
#include <vector>

// A FusionInventory <REQUEST> with QUERY INVENTORY.
std::string XmlInventory(int software, int machine);
// The same machine as a GLPI JSON inventory ({"action": "inventory", ...}).
std::string JsonInventory(int software, int machine);

// One application entry of a generated machine.
struct GeneratedSoftware {
    std::string name;
    std::string publisher;
    std::string version;
};

// One audit of a machine of a generated site: a plain office computer (~100 hardware values)
// whose first adapter holds `address` (dotted IPv4) and whose MAC addresses are its own.
struct GeneratedMachine {
    int machine = 0;  // names the machine: host name PC-<machine>, serials, MAC addresses
    std::string address;
    std::vector<GeneratedSoftware> software;
};

std::string XmlInventory(const GeneratedMachine& machine);
std::string JsonInventory(const GeneratedMachine& machine);
