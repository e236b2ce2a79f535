// Reading an inventory document of any supported format into the model. The format is told
// from the content (the first byte that is not a blank or a byte-order mark), never from the
// file's name; adding a format is one more reader behind ReadInventory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "import/inventory.h"

// The largest inventory document read, in bytes. Agents' inventories take a few hundred
// kilobytes to a few megabytes; reading and importing one takes about ten times its size in memory,
// so larger documents are refused before they are read (by the tool and by the server alike).
constexpr std::size_t kInventoryMaxBytes = 32 * 1024 * 1024;

// The reason given for a document larger than kInventoryMaxBytes.
std::string InventoryTooLarge();

enum class InventoryFormat { Unknown, Xml, Json };

// The format of a document: '<' XML, '{' JSON, anything else Unknown.
InventoryFormat DetectInventoryFormat(std::string_view text);

// Reads the document `text` (named `name` in messages). False when it cannot be imported, with
// `error` set to "NAME: line L, column C: reason" (damaged, truncated, not an inventory, no
// host name, larger than kInventoryMaxBytes); `inventory` is then left partly filled and must
// not be used.
bool ReadInventory(const std::string& name, std::string_view text, Inventory& inventory, std::string& error);

// Reads the file at `path` (named by its path in messages); a file that cannot be read gives
// "PATH: reason"; a file larger than kInventoryMaxBytes is refused before it is read.
bool ReadInventoryFile(const std::string& path, Inventory& inventory, std::string& error);
