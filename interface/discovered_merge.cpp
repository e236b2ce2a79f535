// daMerge: turns the computers found on the network into assets, placed where the site would
// look for them, through the interface alone so that every back end shares it.
#include "interface/norvik.h"

namespace {

// The child of `parent` named exactly `name`, made (with `type`) when there is none. Returns
// 0 after a failure, which the operation that failed has reported.
ULong FindOrAddChild(CNorvik& db, ULong parent, const CString& name, ULong type) {
    CDynaList<ULong> children;
    // locEnum gives 1 also for a location without children; 0 only on failure.
    if (!db.locEnum(parent, children, 0)) return 0;
    for (const ULong child : children)
        if (db.locGetName(child) == name) return child;
    return db.locAdd(name, parent, type, CIPAddress(), CIPAddress());
}

}  // namespace

ULong CNorvik::daMerge() {
    CDynaList<ULong> entries;
    daEnum(entries, 1);
    ULong merged = 0;
    ULong top = 0;
    const CTime now = CTime::GetCurrentTime();
    for (const ULong entry : entries) {
        const CString name = daGetName(entry);
        // An entry without a name cannot become an asset; one whose name was taken by an
        // earlier entry of this run (the same computer seen in two domains) has its asset.
        if (name.IsEmpty() || FindAsset(name, 0, 1) != 0) continue;
        const CIPAddress ip = daGetIPAddress(entry);
        ULong location = ip.GetAsNumber() != 0 ? locFindByIP(ip) : 0;
        if (location == 0) {
            if (top == 0) top = FindOrAddChild(*this, 0, kDiscoveredLocation, GetChildLocType(0));
            if (top == 0) break;
            const CString domain = daGetDomain(entry);
            location = domain.IsEmpty() ? top : FindOrAddChild(*this, top, domain, GetChildLocType(locGetType(top)));
            if (location == 0) break;
        }
        const ULong asset = AddAsset(name, location, 1, 1, now);
        if (asset == 0) break;
        ++merged;
        if (ip.GetAsNumber() != 0 && !SetAssetIPAddr(asset, ip, 1, now)) break;
    }
    return merged;
}
