// The matching rules. Identifiers are read from the asset's "System" items, where every import
// stores them as the inventory gave them (placeholders too): only usable values count here.
#include "import/asset_identity.h"

#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "interface/hardware_display.h"

namespace {

constexpr char kDelimiter = '|';

}  // namespace

const char* IdentityRuleWord(IdentityRule rule) {
    switch (rule) {
        case IdentityRule::kDeviceId: return "device id";
        case IdentityRule::kSerialNumber: return "serial number";
        case IdentityRule::kSystemUuid: return "system UUID";
        case IdentityRule::kHostName: return "host name";
        case IdentityRule::kNone: break;
    }
    return "none";
}

const char* IdentityRuleKey(IdentityRule rule) {
    switch (rule) {
        case IdentityRule::kDeviceId: return "deviceId";
        case IdentityRule::kSerialNumber: return "serialNumber";
        case IdentityRule::kSystemUuid: return "systemUuid";
        case IdentityRule::kHostName: return "hostName";
        case IdentityRule::kNone: break;
    }
    return "none";
}

ULong CAssetIdentity::SystemCategory() {
    if (m_system == 0) m_system = m_db.hwFind(kSystemCategory, kDelimiter);
    return m_system;
}

ULong CAssetIdentity::FindBySystemItem(const char* key, const std::string& value) {
    if (value.empty()) return 0;
    const ULong category = SystemCategory();
    if (category == 0) return 0;
    CDynaList<ULong> holders;
    m_db.hwFindAssetsByValue(category, key, CutToColumn(value, kImportColumnLimit).c_str(), holders);
    return holders.GetCount() == 1 ? holders[0] : 0;
}

std::string CAssetIdentity::Contradiction(ULong asset, const Inventory& inventory) {
    const ULong category = SystemCategory();
    if (category == 0) return {};
    if (m_snapshotAsset != asset) {
        m_snapshot = CHwList();
        m_db.hwEnumAll(asset, m_snapshot, 0);
        m_snapshotAsset = asset;
    }
    const struct {
        const char* key;
        const char* word;
        const std::string& value;
    } identifiers[] = {{"Serial Number", "serial number", inventory.identity.biosSerial},
                       {"UUID", "system UUID", inventory.identity.systemUuid}};
    for (const auto& identifier : identifiers) {
        if (identifier.value.empty()) continue;
        for (const CHwItem& item : m_snapshot) {
            if (item.parent != category || item.key != identifier.key) continue;
            const std::string stored(Trim(HwDisplayValue(item.flags, item.value).str()));
            const std::string given = CutToColumn(identifier.value, kImportColumnLimit);
            if (!IsPlaceholderIdentifier(stored) && stored != given)
                return std::string(identifier.word) + " " + stored + ", not " + given;
            break;
        }
    }
    return {};
}

bool CAssetIdentity::TakeSnapshot(ULong asset, CHwList& values) {
    if (asset == 0 || m_snapshotAsset != asset) return false;
    values = std::move(m_snapshot);
    m_snapshot = CHwList();
    m_snapshotAsset = 0;
    return true;
}

void CAssetIdentity::Forget() {
    m_system = 0;
    m_snapshotAsset = 0;
    m_snapshot = CHwList();
    m_freeName.clear();
}

IdentityMatch CAssetIdentity::Match(const Inventory& inventory) {
    IdentityMatch match;
    m_snapshotAsset = 0;
    m_snapshot = CHwList();
    m_freeName.clear();
    // A cloned machine keeps its agent's device id until the agent is reset: the firmware's own
    // identifiers tell the clones apart.
    if (const ULong asset = FindBySystemItem(kDeviceIdKey, inventory.deviceId);
        asset != 0 && Contradiction(asset, inventory).empty())
        return {asset, IdentityRule::kDeviceId, {}};
    if (const ULong asset = FindBySystemItem("Serial Number", inventory.identity.biosSerial))
        return {asset, IdentityRule::kSerialNumber, {}};
    if (const ULong asset = FindBySystemItem("UUID", inventory.identity.systemUuid))
        return {asset, IdentityRule::kSystemUuid, {}};
    if (inventory.hostName.empty()) return match;
    const std::string whole = CutToColumn(inventory.hostName, kImportColumnLimit);
    const ULong named = m_db.FindAsset(whole.c_str(), 0, 1);
    if (named == 0) {
        m_freeName = whole;
        return match;
    }
    match.otherMachine = Contradiction(named, inventory);
    if (match.otherMachine.empty()) return {named, IdentityRule::kHostName, {}};
    return match;
}

std::string CAssetIdentity::FreeName(const std::string& host) {
    const std::string whole = CutToColumn(host, kImportColumnLimit);
    if (whole == m_freeName || m_db.FindAsset(whole.c_str(), 0, 1) == 0) return whole;
    // Bounded: a site holding a thousand machines of one name has a bigger problem than naming.
    for (int copy = 2; copy <= 1000; ++copy) {
        const std::string suffix = " (" + std::to_string(copy) + ")";
        const std::string name = CutToColumn(host, kImportColumnLimit - suffix.size()) + suffix;
        if (m_db.FindAsset(name.c_str(), 0, 1) == 0) return name;
    }
    return {};
}

bool CAssetIdentity::IsNameOf(const std::string& name, const std::string& host) {
    const std::string whole = CutToColumn(host, kImportColumnLimit);
    if (name == whole) return true;
    const std::size_t open = name.rfind(" (");
    if (open == std::string::npos || name.back() != ')') return false;
    const std::string digits = name.substr(open + 2, name.size() - open - 3);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos || digits[0] == '0') return false;
    return name.substr(0, open) == CutToColumn(host, kImportColumnLimit - (name.size() - open));
}
