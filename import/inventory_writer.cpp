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
const char* const kSystemCategory = "System";

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

// How EnumApplicationInstances (with versions) lists an instance.
std::string InstanceText(const std::string& name, const std::string& version) {
    return version.empty() ? name : name + " [" + version + "]";
}

}  // namespace

CInventoryWriter::CInventoryWriter(CNorvik& db, ImportTransactions& transactions, ImportPlacement placement)
    : m_db(db), m_transactions(transactions), m_placement(placement) {}

bool CInventoryWriter::Apply(const Inventory& given, ImportOutcome& outcome, std::string& error) {
    outcome = ImportOutcome{};
    // Recognised applications join the model, so that they are written (and kept by a re-import)
    // like the entries; folders and files follow the applications they belong to.
    CFileWriter files(m_db);
    const Inventory& inventory = files.Recognise(given);
    if (inventory.hostName.empty()) {
        error = "(no name): the inventory names no host";
        return false;
    }
    CTime when = CTime::GetCurrentTime();
    if (!inventory.date.empty()) {
        DateTimeParts parts;
        if (DateTimeParts::Parse(inventory.date.c_str(), &parts)) when = CTime(parts);
    }
    if (!m_transactions.Begin()) {
        error = inventory.hostName + ": the database refused to start a transaction";
        return false;
    }
    std::string reason;
    const bool written = Identify(inventory, when, outcome, reason) && WriteRecord(inventory, when, outcome, reason) &&
                         WriteCatalogue(inventory, when, outcome, reason) &&
                         WriteHardware(inventory, when, outcome, reason) &&
                         WriteSoftware(inventory, when, outcome, reason) && files.Write(outcome.asset, reason);
    if (written && m_transactions.Commit()) return true;
    m_transactions.Rollback();
    m_categories.clear();
    error = inventory.hostName + ": " + (written ? "the database refused to commit the inventory" : reason);
    outcome = ImportOutcome{};
    return false;
}

ULong CInventoryWriter::FindBySystemItem(const char* key, const std::string& value) {
    if (value.empty()) return 0;
    const ULong category = m_db.hwFind(kSystemCategory, kDelimiter);
    if (category == 0) return 0;
    CSortList holders;
    m_db.hwEnumByAsset(category, key, holders);
    std::set<ULong> assets;
    for (const CSortItem& item : holders)
        if (item.text.str() == CutToColumn(value, kImportColumnLimit)) assets.insert(item.id);
    return assets.size() == 1 ? *assets.begin() : 0;
}

bool CInventoryWriter::Identify(const Inventory& inventory, CTime when, ImportOutcome& outcome, std::string& reason) {
    const CString name = Column(inventory.hostName);
    outcome.asset = m_db.FindAsset(name, 0, 1);
    if (outcome.asset == 0) {
        // A machine renamed since its last audit keeps its firmware identifiers: one asset holding
        // the same serial (else UUID) is that machine. Several holders make the value ambiguous.
        ULong renamed = FindBySystemItem("Serial Number", inventory.identity.biosSerial);
        if (renamed == 0) renamed = FindBySystemItem("UUID", inventory.identity.systemUuid);
        if (renamed != 0) {
            outcome.renamedFrom = m_db.GetAssetName(renamed).str();
            if (!m_db.SetAssetName(renamed, name, nullptr, 1, when)) {
                reason = "the asset " + outcome.renamedFrom + " cannot be renamed";
                return false;
            }
            outcome.asset = renamed;
        }
    }
    if (outcome.asset == 0) {
        const ULong ipLocation = inventory.record.primaryIPv4.empty()
                                     ? 0
                                     : m_db.locFindByIP(CIPAddress(CString(inventory.record.primaryIPv4.c_str())));
        const ULong location = ipLocation ? ipLocation : m_placement.given ? m_placement.location : 0;
        outcome.asset = m_db.AddAsset(name, location, 0, 1, when);
        outcome.newAsset = true;
        if (outcome.asset == 0) {
            reason = "the asset cannot be added";
            return false;
        }
        return true;
    }
    if (!m_db.historyAddReAudit(outcome.asset, when)) {
        reason = "the re-audit cannot be recorded";
        return false;
    }
    return true;
}

bool CInventoryWriter::WriteRecord(const Inventory& inventory, CTime when, ImportOutcome& outcome,
                                   std::string& reason) {
    const ULong asset = outcome.asset;
    const int history = outcome.newAsset ? 0 : 1;
    const InventoryAssetRecord& record = inventory.record;
    const CString oldMac = m_db.GetAssetMacAddr(asset);
    const CString oldIp = m_db.GetAssetIPAddr(asset);
    if (!record.primaryMac.empty() && !m_db.SetAssetMacAddr(asset, record.primaryMac.c_str(), history, when)) {
        reason = "the primary MAC address cannot be stored";
        return false;
    }
    const CIPAddress address(CString(record.primaryIPv4.c_str()));
    if (!record.primaryIPv4.empty() && !m_db.SetAssetIPAddr(asset, address, history, when)) {
        reason = "the primary IP address cannot be stored";
        return false;
    }
    outcome.recordChanged = oldMac != m_db.GetAssetMacAddr(asset) || oldIp != m_db.GetAssetIPAddr(asset);
    if (!record.serial.empty() &&
        !m_db.userDataAdd(0, asset, "Serial Number", Column(record.serial), CNorvik::kUserDataAsset, history, when)) {
        reason = "the serial number cannot be stored";
        return false;
    }
    if (!m_db.SetLastAuditDate(asset, when)) {
        reason = "the audit date cannot be stored";
        return false;
    }
    if (outcome.newAsset) return true;
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

bool CInventoryWriter::WriteCatalogue(const Inventory& inventory, CTime when, ImportOutcome& outcome,
                                      std::string& reason) {
    const InventoryAssetRecord& record = inventory.record;
    if (record.category.empty()) return true;
    // The catalogue answers with Knowledge Base entries first (when one is loaded) and site
    // entries otherwise; a name it does not know becomes a site entry.
    const ULong category = m_db.FindOrAddCatalogueEntry(CNorvik::kCatalogueCategory, 0, record.category.c_str());
    ULong make = 0;
    if (category != 0 && !record.manufacturer.empty())
        make = m_db.FindOrAddCatalogueEntry(CNorvik::kCatalogueMake, category, record.manufacturer.c_str());
    ULong model = 0;
    if (make != 0 && !record.model.empty())
        model = m_db.FindOrAddCatalogueEntry(CNorvik::kCatalogueModel, make, record.model.c_str());
    if (category == 0 || (!record.manufacturer.empty() && make == 0) || (!record.model.empty() && model == 0)) {
        reason = "the catalogue entries cannot be added";
        return false;
    }
    const int history = outcome.newAsset ? 0 : 1;
    // The built-in fields take catalogue names; the make is looked up under the category just
    // written and the model under the make, so the order matters.
    const struct {
        const char* field;
        ULong id;
        const std::string& name;
    } fields[] = {
        {"Category", category, record.category}, {"Make", make, record.manufacturer}, {"Model", model, record.model}};
    for (const auto& field : fields) {
        if (field.id == 0) continue;
        if (!m_db.userDataAdd(0, outcome.asset, field.field, field.name.c_str(), CNorvik::kUserDataAsset, history,
                              when)) {
            reason = std::string("the ") + field.field + " cannot be stored";
            return false;
        }
    }
    return true;
}

bool CInventoryWriter::WriteHardware(const Inventory& inventory, CTime when, ImportOutcome& outcome,
                                     std::string& reason) {
    const ULong asset = outcome.asset;
    CHwList before;
    if (!outcome.newAsset) m_db.hwEnumAll(asset, before, 0);
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
