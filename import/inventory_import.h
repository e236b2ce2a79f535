// The one path by which an inventory document reaches the Audit Database, shared by `norvik
// import` and the server: read the document, then apply it as one transaction. Concurrent
// writers wait in the engine (see SqlImportTransactions), not here.
#pragma once

#include <string>
#include <string_view>

#include "import/import_transactions.h"
#include "import/inventory_writer.h"
#include "interface/norvik.h"

// How one document ended.
enum class InventoryImportStatus {
    kImported,        // committed; `outcome` says what changed
    kDamaged,         // the document cannot be read as an inventory; nothing was written
    kBusy,            // the engine stayed busy (another writer) past its time-out; nothing was written
    kFailed,          // a write failed; the transaction was rolled back, nothing was written
    kConnectionLost,  // the link to the database server is gone; nothing of this inventory was
                      // written, and no later one can be: the caller stops
};

struct InventoryImportResult {
    InventoryImportStatus status = InventoryImportStatus::kFailed;
    std::string hostName;  // the inventory's host name, once it was read
    ImportOutcome outcome;
    std::string error;                 // one line, for every status but kImported
    bool fullInventoryWanted = false;  // kFailed: a partial inventory of a machine not known yet
};

// Requires `db` open and `transactions` bound to it for the importer's lifetime; one thread at a
// time. While Import runs it replaces the database's message-box callback with its own (to tell
// a busy engine from a failure, and to keep the library's messages off the caller's output) and
// puts the caller's back before it returns.
class CInventoryImporter {
public:
    CInventoryImporter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement = {});

    // Reads `text` (named `name` in messages) and applies it; answers only after the transaction
    // committed or rolled back. An inventory that fails is not tried again, except when
    // PostgreSQL ended its transaction to break a deadlock or a serialisation conflict.
    InventoryImportResult Import(const std::string& name, std::string_view text);
    // As Import, for an inventory already read (ReadInventory, InventoryReadAhead).
    InventoryImportResult Apply(const Inventory& inventory);

    // The writer, for callers that hold an inventory already read.
    CInventoryWriter& Writer() { return m_writer; }

private:
    CNorvik& m_db;
    ImportTransactions& m_transactions;
    CInventoryWriter m_writer;
};

// "new", "changed" or "unchanged": the status word of an imported inventory.
const char* ImportStatusWord(const ImportOutcome& outcome);
// The line `norvik import` prints after the host name ("new asset, 3 applications, ...").
std::string DescribeImport(const ImportOutcome& outcome);
// How the inventory found its asset, as `norvik import` prints it after the outcome: "matched
// by device id", "matched by host name", ... or "no machine matched" for a new asset, followed by
// ": the asset NAME is another machine (REASON)" when the host's name was taken.
std::string DescribeMatch(const ImportOutcome& outcome, const std::string& hostName);
// "1,816": `value` with thousands grouped.
std::string GroupedNumber(ULong value);
// "1,816 applications": `value` with thousands grouped and the word for one or many.
std::string CountedText(ULong value, const char* one, const char* many);
