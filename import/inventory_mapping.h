// The mapping from a document's content to the inventory model, shared by every reader so
// that both formats follow the one table written down in import/MAPPING.md.
#pragma once

#include <string>
#include <string_view>

#include "import/inventory.h"
#include "import/inventory_content.h"

// Longest text any Audit Database column written by the importer takes (HW._KEY, HW._VAL,
// ASSET._NAME ...): path pieces and instance names are cut to it here so that they stay
// distinct after cutting; values are cut by the writer.
constexpr std::size_t kImportColumnLimit = 255;

// The hardware item that remembers the agent's device id of an asset.
constexpr const char* kSystemCategory = "System";
constexpr const char* kDeviceIdKey = "Device ID";

// Fills `inventory` from `content`. False with `reason` set when the content names no host
// (an inventory without a host name cannot become an asset), unless it is a partial one without
// a "hardware" section that carries a device id.
bool MapInventory(const InventoryContent& content, Inventory& inventory, std::string& reason);

// True when the asset's stored hardware item `key` of category `path` is one that `inventory`
// speaks for, so that the inventory's values replace it: every item for a full inventory; for a
// partial one the items that the sections it holds map to (the device id item when it carries
// one). Items it does not speak for stay as they are.
bool HardwareItemCarried(const Inventory& inventory, std::string_view path, std::string_view key);
