// The mapping from a document's content to the inventory model, shared by every reader so
// that both formats follow the one table written down in import/MAPPING.md.
#pragma once

#include <string>

#include "import/inventory.h"
#include "import/inventory_content.h"

// Longest text any Audit Database column written by the importer takes (HW._KEY, HW._VAL,
// ASSET._NAME ...): path pieces and instance names are cut to it here so that they stay
// distinct after cutting; values are cut by the writer.
constexpr std::size_t kImportColumnLimit = 255;

// Fills `inventory` from `content`. False with `reason` set when the content names no host
// (an inventory without a host name cannot become an asset).
bool MapInventory(const InventoryContent& content, Inventory& inventory, std::string& reason);
