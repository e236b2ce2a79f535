// Which asset an inventory is: the matching rules of import/MAPPING.md ("Identity"), asked of the
// Audit Database through CNorvik only.
#pragma once

#include <string>

#include "common/hw_list.h"
#include "import/inventory.h"
#include "interface/norvik.h"

// The rule that found the asset, in the order the rules are tried.
enum class IdentityRule {
    kDeviceId,      // the agent's device id (item "System|Device ID")
    kSerialNumber,  // the usable BIOS serial (item "System|Serial Number")
    kSystemUuid,    // the usable system UUID (item "System|UUID")
    kHostName,      // the host name, the asset's stored identifiers not contradicting it
    kNone,          // no asset is this machine
};

// "device id", "serial number", "system UUID", "host name", "none": as `norvik import` prints it.
const char* IdentityRuleWord(IdentityRule rule);
// "deviceId", "serialNumber", "systemUuid", "hostName", "none": as `norvik import --json` carries it.
const char* IdentityRuleKey(IdentityRule rule);

struct IdentityMatch {
    ULong asset = 0;  // 0 with kNone
    IdentityRule rule = IdentityRule::kNone;
    // With kNone: why the asset already named after the host is another machine ("serial number
    // A, not B"); empty when no asset has the name.
    std::string otherMachine;
};

// Reads only; the caller writes. `db` must stay open for the object's lifetime; one thread. An
// object may serve many inventories: what it remembers of one (the hardware snapshot, a free
// host name) is replaced by the next Match, and Forget drops everything after a rollback.
class CAssetIdentity {
public:
    explicit CAssetIdentity(CNorvik& db) : m_db(db) {}

    // Tries the rules in order: (1) the one asset holding the device id, unless its stored serial
    // or UUID contradicts the inventory's (an agent cloned with its machine); (2) the one asset
    // holding the serial, else the UUID; (3) the asset named after the host, unless its stored
    // serial or UUID contradicts; else none. A value held by several assets matches none.
    IdentityMatch Match(const Inventory& inventory);

    // `host` when no asset has that name, else the first free of "host (2)", "host (3)" ... (the
    // host cut so that the suffix fits the name column). Empty when none is free.
    std::string FreeName(const std::string& host);

    // True when `name` is `host` or one of the forms FreeName gives for it.
    static bool IsNameOf(const std::string& name, const std::string& host);

    // Moves into `values` the hardware snapshot (hwEnumAll with mask 0) of `asset` when the last
    // Match read it, so that the writer does not read it again; false (and `values` untouched)
    // otherwise.
    bool TakeSnapshot(ULong asset, CHwList& values);

    // Forgets what was looked up: the database may have changed under a rolled-back transaction.
    void Forget();

private:
    // The one asset whose item `key` of "System" is exactly `value`; 0 for none or several.
    ULong FindBySystemItem(const char* key, const std::string& value);
    // Why the asset's stored serial or UUID says it is another machine than `inventory`
    // ("serial number A, not B"); empty when they do not contradict. Read from the asset's
    // hardware snapshot, which the writer needs next when the asset is this machine.
    std::string Contradiction(ULong asset, const Inventory& inventory);

    // The "System" category's _ID, looked up once (0 until found: a database without it has no
    // identifier stored yet).
    ULong SystemCategory();

    CNorvik& m_db;
    ULong m_system = 0;
    ULong m_snapshotAsset = 0;  // 0: no snapshot
    CHwList m_snapshot;
    std::string m_freeName;  // a name Match found no asset holding, for FreeName
};
