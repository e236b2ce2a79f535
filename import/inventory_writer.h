// CInventoryWriter: applies inventory models to an Audit Database through CNorvik only, so it
// works on any back end. One inventory is one transaction: it is written whole or not at all.
#pragma once

#include <map>
#include <string>

#include "import/asset_identity.h"
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
    IdentityRule rule = IdentityRule::kNone;  // the rule that found the asset (kNone: a new asset)
    std::string assetName;                    // the asset's name after the import
    std::string otherMachine;                 // why the asset named after the host was not this machine
    bool partial = false;                     // a partial inventory: only the sections it holds were replaced
    bool partialRefused = false;              // a partial inventory of an unknown machine, refused
    std::string renamedFrom;                  // the asset's former name when it was recognised renamed
    ULong hardwareValues = 0;                 // values the inventory holds
    ULong hardwareChanges = 0;                // values added, changed or removed (0 for a new asset)
    bool recordChanged = false;               // serial, addresses, catalogue or location changed
    ULong applications = 0;                   // distinct applications the inventory holds
    ULong applicationsAdded = 0;              // instances added (new application or new version)
    ULong applicationsRemoved = 0;            // instances removed (gone, or replaced by another version)
};

// The caller keeps `db` open and `transactions` bound to it for the writer's lifetime; one
// thread at a time. The writer changes nothing outside the inventories it applies.
class CInventoryWriter {
public:
    CInventoryWriter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement = {});

    // Writes `inventory` as one transaction: identity (the rules of CAssetIdentity; a new asset
    // otherwise, under a free name), the asset record, its kind bit, location, catalogue, hardware
    // tree and history. A partial inventory replaces only what its sections give (Carries,
    // HardwareItemCarried) and is refused for a machine no rule finds (partialRefused). The
    // catalogue entries the record names are found or added first, each in its own step: an entry
    // that cannot be added leaves that field unset and never refuses the inventory. True when
    // committed; false with `error` ("HOST: reason") when anything failed, and then the database
    // is unchanged but for catalogue entries added.
    bool Apply(const Inventory& inventory, ImportOutcome& outcome, std::string& error);

private:
    // The catalogue rows of the record: category, make, model (0 where none or where the entry
    // could not be added).
    struct CatalogueIds {
        ULong category = 0, make = 0, model = 0;
    };
    CatalogueIds ResolveCatalogue(const Inventory& inventory);
    // The steps of Apply, in order; each answers false with a reason when a write failed.
    bool Identify(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteRecord(const Inventory& inventory, const CatalogueIds& ids, CTime when, ImportOutcome& outcome,
                     std::string& reason);
    bool WriteHardware(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);
    bool WriteSoftware(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason);

    CNorvik& m_db;
    ImportTransactions& m_transactions;
    ImportPlacement m_placement;
    // Category path -> HW _ID. The skeleton is shared by every asset and never shrinks, so it is
    // walked once per path; forgotten when a transaction rolls back (its new nodes are gone).
    std::map<std::string, ULong> m_categories;
    // Kept across inventories: it remembers the "System" category, and the snapshot it read to
    // tell machines apart serves the hardware step.
    CAssetIdentity m_identity;
};
