// Agent inventories generated in the shape of real ones, for the benchmarks: a machine with
// `software` applications and ~300 hardware values, distinct per `machine` number (name,
// serials, addresses).
#pragma once

#include <string>

// A FusionInventory <REQUEST> with QUERY INVENTORY.
std::string XmlInventory(int software, int machine);
// The same machine as a GLPI JSON inventory ({"action": "inventory", ...}).
std::string JsonInventory(int software, int machine);
