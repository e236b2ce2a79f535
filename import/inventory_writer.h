// CInventoryWriter: applies inventory models to an Audit Database through CNorvik only, so it
// works on any back end. One inventory is one transaction: it is written whole or not at all.
#pragma once

#include <map>
#include <string>

#include "import/import_transactions.h"
#include "import/inventory.h"
#include "interface/norvik.h"

// Where a new or moved asset goes when no location range holds its primary address.
struct ImportPlacement {
    bool given = false;  // true when the caller named a location (--location)
    ULong location = 0;  // that location (0 = the root)
};

// What one applied inventory did.
struct ImportOutcome {
    ULong asset = 0;
    bool newAsset = false;
    std::string renamedFrom;        // the asset's former name when it was recognised renamed
    ULong hardwareValues = 0;       // values the inventory holds
    ULong hardwareChanges = 0;      // values added, changed or removed (0 for a new asset)
    bool recordChanged = false;     // serial, addresses, catalogue or location changed
    ULong applications = 0;         // distinct applications the inventory holds
    ULong applicationsAdded = 0;    // instances added (new application or new version)
    ULong applicationsRemoved = 0;  // instances removed (gone, or replaced by another version)
};

// The caller keeps `db` open and `transactions` bound to it for the writer's lifetime; one
// thread at a time. The writer changes nothing outside the inventories it applies.
class CInventoryWriter {
public:
    CInventoryWriter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement = {});

    // Writes `inventory` as one transaction: identity (find, recognise renamed, or add), the
    // asset record, location, catalogue, hardware tree and history. True when committed; false
    // with `error` ("HOST: reason") when anything failed, and then the database is unchanged.
    bool Apply(const Inventory& inventory, ImportOutcome& outcome, std::string& error);

private:
    // The steps of Apply, in order; each answers false with a reason when a write failed.
    bool Identify(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteRecord(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteCatalogue(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteHardware(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteSoftware(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);

    // The one asset whose "System" item `key` is exactly `value`; 0 for none or several.
    ULong FindBySystemItem(const char* key, const std::string& value);

    CNorvik& m_db;
    ImportTransactions& m_transactions;
    ImportPlacement m_placement;
    // Category path -> HW _ID. The skeleton is shared by every asset and never shrinks, so it is
    // walked once per path; forgotten when a transaction rolls back (its new nodes are gone).
    std::map<std::string, ULong> m_categories;
};
