// Applying a model. Statements are spent only on what changed: the asset's hardware snapshot
// is read once and compared in memory, so an unchanged re-audit writes its one "Re-Audit"
// record and leaves every other row alone.
#include "import/inventory_writer.h"

#include <cctype>
#include <map>
#include <set>
#include <unordered_map>

#include "common/hw_list.h"
#include "common/ipaddress.h"
#include "common/publishers.h"
#include "common/sortlist.h"
#include "import/file_writer.h"
#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "import/publisher_name.h"

namespace {

constexpr char kDelimiter = '|';

CString Column(const std::string& text) { return CString(CutToColumn(text, kImportColumnLimit).c_str()); }

// Listings take only the nodes whose flags share a bit with their mask, so a plain text value
// carries 0x2, a bit with no other meaning (as `norvik hw set` writes it).
constexpr ULong kPlainTextValue = 0x0002;

// A category path with each of its pieces cut to the column.
std::string ColumnPath(const std::string& path) {
    std::string cut;
    std::size_t start = 0;
    while (true) {
        const std::size_t bar = path.find(kDelimiter, start);
        cut += CutToColumn(std::string_view(path).substr(start, bar - start), kImportColumnLimit);
        if (bar == std::string::npos) return cut;
        cut += kDelimiter;
        start = bar + 1;
    }
}

// The make of a model whose maker the inventory does not name.
const std::string kUnknownMake = "Unknown";

// The kind bit of a machine of the mapping's category.
ULong AssetKindOf(const std::string& category) {
    if (category == "Laptop") return CNorvik::kAssetKindLaptop;
    if (category == "Server") return CNorvik::kAssetKindServer;
    if (category == "Virtual Machine") return CNorvik::kAssetKindVirtual;
    return CNorvik::kAssetKindComputer;
}

// How EnumApplicationInstances (with versions) lists an instance.
std::string InstanceText(const std::string& name, const std::string& version) {
    return version.empty() ? name : name + " [" + version + "]";
}

}  // namespace

CInventoryWriter::CInventoryWriter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement)
    : m_db(db), m_transactions(transactions), m_placement(placement), m_identity(db) {}

bool CInventoryWriter::Apply(const Inventory& given, ImportOutcome& outcome, std::string& error) {
    outcome = ImportOutcome{};
    // Recognised applications join the model, so that they are written (and kept by a re-import)
    // like the entries; folders and files follow the applications they belong to.
    CFileWriter files(m_db);
    const Inventory& inventory = files.Recognise(given);
    if (inventory.hostName.empty() && !(inventory.partial && !inventory.deviceId.empty())) {
        error = "(no name): the inventory names no host";
        return false;
    }
    const std::string label = inventory.hostName.empty() ? inventory.deviceId : inventory.hostName;
    CTime when = CTime::GetCurrentTime();
    if (!inventory.date.empty()) {
        DateTimeParts parts;
        // Time 0 means "no date" to the database and earlier times cannot be held: an inventory
        // dated before 1970 counts as undated rather than losing its audit date.
        if (DateTimeParts::Parse(inventory.date.c_str(), &parts) && CTime(parts).GetTime() > 0) when = CTime(parts);
    }
    // Before the inventory's transaction: a catalogue entry that fails to be added must not take
    // the inventory with it (a failed statement ends a PostgreSQL transaction).
    const CatalogueIds catalogue = ResolveCatalogue(inventory);
    if (!m_transactions.Begin()) {
        error = label + ": the database refused to start a transaction";
        return false;
    }
    std::string reason;
    const bool written = Identify(inventory, when, outcome, reason) &&
                         WriteRecord(inventory, catalogue, when, outcome, reason) &&
                         WriteHardware(inventory, when, outcome, reason) &&
                         (!inventory.Carries("softwares") ||
                          (WriteSoftware(inventory, when, outcome, reason) && files.Write(outcome.asset, reason)));
    if (written && m_transactions.Commit()) {
        outcome.assetName = m_db.GetAssetName(outcome.asset).str();
        return true;
    }
    m_transactions.Rollback();
    m_categories.clear();
    m_identity.Forget();
    error = label + ": " + (written ? "the database refused to commit the inventory" : reason);
    const bool refused = outcome.partialRefused;
    outcome = ImportOutcome{};
    outcome.partialRefused = refused;
    return false;
}

bool CInventoryWriter::Identify(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason) {
    CAssetIdentity& identity = m_identity;
    const IdentityMatch match = identity.Match(inventory);
    outcome.rule = match.rule;
    outcome.otherMachine = match.otherMachine;
    outcome.partial = inventory.partial;
    outcome.asset = match.asset;
    if (outcome.asset == 0) {
        if (inventory.partial) {
            // A partial inventory holds a few sections of a machine: never enough to create one.
            outcome.partialRefused = true;
            reason = "a partial inventory of an unknown machine is refused (a full inventory is needed)";
            return false;
        }
        const std::string name = identity.FreeName(inventory.hostName);
        if (name.empty()) {
            reason = "no free name is left for the asset";
            return false;
        }
        const ULong ipLocation = inventory.record.primaryIPv4.empty()
                                     ? 0
                                     : m_db.locFindByIP(CIPAddress(CString(inventory.record.primaryIPv4.c_str())));
        const ULong location = ipLocation ? ipLocation : m_placement.given ? m_placement.location : 0;
        outcome.asset = m_db.AddAsset(name.c_str(), location, 0, 1, when);
        outcome.newAsset = true;
        if (outcome.asset == 0) {
            reason = "the asset cannot be added";
            return false;
        }
        if (name != CutToColumn(inventory.hostName, kImportColumnLimit)) {
            const std::string why = "named " + name + ": the asset " + inventory.hostName + " is another machine" +
                                    (match.otherMachine.empty() ? "" : " (" + match.otherMachine + ")");
            if (!m_db.historyAddIdentityNote(outcome.asset, when, "Identity", why.c_str())) {
                reason = "the naming of the asset cannot be recorded";
                return false;
            }
        }
        return true;
    }
    // A machine renamed on the network keeps its asset, which takes the new name unless another
    // asset holds it; an asset already named after the host with a suffix keeps its name.
    const std::string current = m_db.GetAssetName(outcome.asset).str();
    if (!inventory.hostName.empty() && !CAssetIdentity::IsNameOf(current, inventory.hostName)) {
        const std::string name = identity.FreeName(inventory.hostName);
        if (!name.empty()) {
            outcome.renamedFrom = current;
            if (!m_db.SetAssetName(outcome.asset, name.c_str(), nullptr, 1, when)) {
                reason = "the asset " + current + " cannot be renamed";
                return false;
            }
            const std::string why = "named " + name + ": the name " + inventory.hostName + " is another asset's";
            if (name != CutToColumn(inventory.hostName, kImportColumnLimit) &&
                !m_db.historyAddIdentityNote(outcome.asset, when, "Identity", why.c_str())) {
                reason = "the naming of the asset cannot be recorded";
                return false;
            }
        }
    }
    if (!m_db.historyAddReAudit(outcome.asset, when)) {
        reason = "the re-audit cannot be recorded";
        return false;
    }
    return true;
}

bool CInventoryWriter::WriteRecord(const Inventory& inventory, const CatalogueIds& ids, CTime when,
                                   ImportOutcome& outcome, std::string& reason) {
    const ULong asset = outcome.asset;
    const InventoryAssetRecord& record = inventory.record;
    // The record's columns go in one update: addresses, serial, audit date, and (when the
    // category is known) the kind bit and the catalogue fields. A catalogue field without an
    // entry is left as it was, and so are those after it: the make is one under the category and
    // the model one under the make. The catalogue never refuses an inventory.
    CNorvik::AssetRecordUpdate update;
    update.setMacAddr = !record.primaryMac.empty();
    update.macAddr = record.primaryMac.c_str();
    const CIPAddress address(CString(record.primaryIPv4.c_str()));
    update.setIpAddr = !record.primaryIPv4.empty();
    update.ipAddr = address.GetAsText();
    update.setSerial = !record.serial.empty();
    update.serial = Column(record.serial);
    update.setAuditDate = true;
    update.auditDate = when;
    if (ids.category != 0) {
        update.kindMask = CNorvik::kAssetKindMask;
        update.kind = AssetKindOf(record.category);
        update.category = ids.category;
        update.categoryName = record.category.c_str();
        if (ids.make != 0) {
            update.make = ids.make;
            update.makeName = (record.manufacturer.empty() ? kUnknownMake : record.manufacturer).c_str();
            update.model = ids.model;
            update.modelName = record.model.c_str();
        }
    }
    const CString oldMac = m_db.GetAssetMacAddr(asset);
    const CString oldIp = m_db.GetAssetIPAddr(asset);
    const bool oldKind = ids.category == 0 || (m_db.GetAssetStateFlag(asset, update.kind) &&
                                               !m_db.GetAssetStateFlag(asset, CNorvik::kAssetKindMask & ~update.kind));
    if (!m_db.SetAssetRecord(asset, update, outcome.newAsset ? 0 : 1, when)) {
        reason = "the asset's record cannot be stored";
        return false;
    }
    outcome.recordChanged =
        oldMac != m_db.GetAssetMacAddr(asset) || oldIp != m_db.GetAssetIPAddr(asset) || (!oldKind && !outcome.newAsset);
    // A partial inventory without its networks says nothing of where the machine is.
    if (outcome.newAsset || !inventory.Carries("networks")) return true;
    // Location: the range holding the primary address, else the one asked for, else where the
    // asset already is.
    const ULong ipLocation = record.primaryIPv4.empty() ? 0 : m_db.locFindByIP(address);
    if (ipLocation == 0 && !m_placement.given) return true;
    const ULong target = ipLocation ? ipLocation : m_placement.location;
    int isLocation = 1;
    const ULong current = m_db.GetAssetParent(asset, isLocation);
    if (isLocation && current == target) return true;
    outcome.recordChanged = true;
    if (!m_db.SetAssetParent(asset, target, 0, 1, when)) {
        reason = "the asset cannot be moved to its location";
        return false;
    }
    return true;
}

CInventoryWriter::CatalogueIds CInventoryWriter::ResolveCatalogue(const Inventory& inventory) {
    CatalogueIds ids;
    const InventoryAssetRecord& record = inventory.record;
    if (record.category.empty() || !(inventory.Carries("hardware") || inventory.Carries("bios"))) return ids;
    // The catalogue answers with Knowledge Base entries first (when one is loaded) and site
    // entries otherwise; a name it does not know becomes a site entry. A model whose maker the
    // firmware leaves out goes under the make "Unknown".
    // Entries are looked up first: a known entry (the usual case) then costs no transaction of
    // its own.
    auto entry = [&](int level, ULong parent, const std::string& name) {
        ULong id = 0;
        if (level == CNorvik::kCatalogueCategory) id = m_db.FindCategory(name.c_str());
        if (level == CNorvik::kCatalogueMake) id = m_db.FindMake(parent, name.c_str());
        if (level == CNorvik::kCatalogueModel) {
            CSortList models;
            m_db.EnumModels(parent, models, 1);
            for (const CSortItem& item : models)
                if (item.text.str() == name) id = id ? id : item.id;
        }
        return id != 0 ? id : m_db.FindOrAddCatalogueEntry(level, parent, name.c_str());
    };
    ids.category = entry(CNorvik::kCatalogueCategory, 0, record.category);
    if (ids.category == 0 || !inventory.Carries("bios")) return ids;
    const std::string& make = record.manufacturer.empty() && !record.model.empty() ? kUnknownMake : record.manufacturer;
    if (!make.empty()) ids.make = entry(CNorvik::kCatalogueMake, ids.category, make);
    if (ids.make != 0 && !record.model.empty()) ids.model = entry(CNorvik::kCatalogueModel, ids.make, record.model);
    return ids;
}

bool CInventoryWriter::WriteHardware(const Inventory& inventory, CTime when, ImportOutcome& outcome,
                                     std::string& reason) {
    const ULong asset = outcome.asset;
    CHwList before;
    if (!outcome.newAsset && !m_identity.TakeSnapshot(asset, before)) m_db.hwEnumAll(asset, before, 0);
    std::map<std::string, const CHwItem*> old;
    for (const CHwItem& item : before) {
        old.emplace(item.Name().str(), &item);
        m_categories.emplace(item.path.str(), item.parent);
    }

    // The model's values as hwEnumAll will list them, "path.key" made unique (a repeated key in
    // one category keeps its first value, as the tree holds one node per key).
    struct Planned {
        std::string path;
        CString key;
        CString value;
        ULong flags;
    };
    std::vector<Planned> planned;
    std::set<std::string> names;
    auto plan = [&](const std::string& wholePath, const std::vector<InventoryHwValue>& values) {
        const std::string path = ColumnPath(wholePath);
        for (const auto& value : values) {
            Planned item{path, Column(value.key), Column(value.value),
                         value.display != 0 ? value.display : kPlainTextValue};
            if (names.insert(path + "." + item.key.str()).second) planned.push_back(std::move(item));
        }
    };
    plan(CNorvik::m_szOS, inventory.operatingSystem);
    for (const auto& section : inventory.hardware) plan(section.path, section.values);
    outcome.hardwareValues = static_cast<ULong>(planned.size());
    // What a partial inventory does not speak for stays as it is.
    for (const CHwItem& item : before) {
        const std::string path = item.path.str();
        if (!HardwareItemCarried(inventory, path, item.key.str()) && names.insert(item.Name().str()).second)
            planned.push_back({path, item.key, item.value, item.flags});
    }

    ULong removed = 0;
    for (const auto& [name, item] : old)
        if (!names.count(name)) ++removed;
    // The interface removes one asset's values only all at once: when any value has gone, the
    // whole set is written afresh.
    const bool rewrite = removed > 0;
    if (rewrite && !m_db.hwDelete(asset)) {
        reason = "the old hardware values cannot be removed";
        return false;
    }

    CHwList after;
    CHwList writes;
    ULong changes = removed;
    for (const Planned& item : planned) {
        ULong& category = m_categories[item.path];
        if (category == 0) category = m_db.hwAdd(item.path.c_str(), kDelimiter, CNorvik::kHwCategory);
        if (category == 0) {
            reason = "the hardware category " + item.path + " cannot be added";
            return false;
        }
        after.Add(category, CString(item.path.c_str()), item.key, item.value, item.flags);
        const auto found = old.find(item.path + "." + item.key.str());
        const bool same = found != old.end() && found->second->value == item.value;
        if (found == old.end() || !same) ++changes;
        if (same && !rewrite) continue;
        writes.Add(category, CString(item.path.c_str()), item.key, item.value, item.flags);
    }
    // In one call: on a server each value would be a round trip.
    if (!m_db.hwAddValues(asset, writes)) {
        reason = "the hardware values cannot be stored";
        return false;
    }
    if (outcome.newAsset) return true;
    outcome.hardwareChanges = changes;
    if (changes > 0) m_db.StoreHwHistory(asset, before, after, when);
    return true;
}

bool CInventoryWriter::WriteSoftware(const Inventory& inventory, CTime when, ImportOutcome& outcome,
                                     std::string& reason) {
    const ULong asset = outcome.asset;
    // The asset's instances are read once and compared by their listed text (name and version)
    // with the inventory's entries; only the differences reach the database.
    CSortList before;
    if (!outcome.newAsset) m_db.EnumApplicationInstances(asset, 1, before, 0, 0);
    std::map<std::string, std::vector<ULong>> old;  // listed text -> instance _IDs
    for (const CSortItem& item : before) old[item.text.str()].push_back(item.id);

    // One instance per application per asset: an application listed twice keeps its first version.
    struct Planned {
        std::string publisher;
        std::string name;
        std::string version;
    };
    std::map<std::string, std::vector<Planned>> wanted;  // listed text -> entries
    std::set<std::pair<std::string, std::string>> applications;
    std::unordered_map<std::string, std::string> publishers;  // a few dozen spellings, met again and again
    for (const InventorySoftware& entry : inventory.software) {
        auto publisher = publishers.find(entry.publisher);
        if (publisher == publishers.end())
            publisher = publishers.emplace(entry.publisher, NormalisedPublisher(entry.publisher)).first;
        Planned item{CutToColumn(publisher->second, kImportColumnLimit), CutToColumn(entry.name, kImportColumnLimit),
                     CutToColumn(entry.version, kImportColumnLimit)};
        if (item.name.empty() || !applications.emplace(item.publisher, item.name).second) continue;
        wanted[InstanceText(item.name, item.version)].push_back(std::move(item));
    }
    outcome.applications = static_cast<ULong>(applications.size());

    // Removals first: a new version of an installed application replaces its instance, and
    // applicationAddInstance would keep the old one.
    for (auto& [text, instances] : old) {
        const auto found = wanted.find(text);
        const std::size_t kept = found == wanted.end() ? 0 : found->second.size();
        for (std::size_t i = kept; i < instances.size(); ++i) {
            const ULong app = m_db.newGetAppInstAppID(instances[i]);
            if (app == 0 || !m_db.applicationRemove(asset, app)) {
                reason = "the application " + text + " cannot be removed";
                return false;
            }
            ++outcome.applicationsRemoved;
        }
    }
    // The new instances go in one call: on a server each statement is a round trip, and a
    // first import adds thousands.
    CSortList after;
    CDynaList<CNorvik::AppInstanceEntry> added;
    for (const auto& [text, items] : wanted) {
        const auto found = old.find(text);
        const std::size_t present = found == old.end() ? 0 : found->second.size();
        for (std::size_t i = 0; i < items.size(); ++i) {
            after.Add(CString(text.c_str()), 0, 0);
            if (i < present) continue;
            const Planned& item = items[i];
            added.Add(CNorvik::AppInstanceEntry{CString(item.publisher.c_str()), CString(item.name.c_str()),
                                                CString(item.version.c_str())});
        }
    }
    if (added.GetCount() > 0 && !m_db.applicationAddInstances(asset, added)) {
        reason = "the applications cannot be stored";
        return false;
    }
    outcome.applicationsAdded = added.GetCount();
    if (outcome.newAsset || (outcome.applicationsAdded == 0 && outcome.applicationsRemoved == 0)) return true;
    m_db.StoreAppHistory(asset, before, after, when);
    return true;
}
