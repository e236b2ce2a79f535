// The application operations every back end shares: the turning of Knowledge Base application
// references into catalogue rows, the purge of unreferenced applications, and the scope form of
// the site-wide application enumeration, all built on the back end's own operations.
#include "interface/norvik.h"
#include "kb/auditdbsys.h"

void CNorvik::newMergeKBApps(ULong* ids, int count) {
    if (!ids) return;
    for (int i = 0; i < count; ++i) {
        const ULong k = ids[i];
        if (k < 0xFFFF) continue;
        const ULong app = k >> 16;
        // The application's own name is looked up and not used: rows are named after its parent
        // (the product) and grandparent (the publisher), as the catalogue has always been filled.
        (void)kb().GetAppName(app, 0);
        CString product, publisher;
        if (const ULong parent = kb().GetAppParent(app)) {
            product = kb().GetAppName(parent, 0);
            if (const ULong grandparent = kb().GetAppParent(parent)) publisher = kb().GetAppName(grandparent, 1);
        }
        ids[i] = applicationAdd(publisher, product, 1);
    }
}

ULong CNorvik::PurgeUnreferencedApplications() {
    CSortList apps;
    enumUnreferencedApps(apps);
    apps.Sort();
    for (const auto& item : apps) applicationDelete(item.id);
    return apps.GetCount();
}

ULong CNorvik::EnumScopeAssets(ULong location, CDynaList<ULong>& assets) { return assetEnum(location, 0, assets, 1); }

bool CNorvik::ScopeAssets(ULong scope, CDynaList<ULong>& assets) {
    assets.RemoveAll();
    if (scope == 0) return true;
    return EnumScopeAssets(scope, assets) != 0;
}

ULong CNorvik::EnumGlobalSwApplications(ULong scope, CSortList& list, ULong mask, int withPublisher,
                                        unsigned int aliasDepth, int installedOnly, const char* publisher,
                                        ULong excludeMask) {
    CDynaList<ULong> assets;
    if (!ScopeAssets(scope, assets)) return list.GetCount();
    return EnumGlobalSwApplications(assets, list, mask, withPublisher, aliasDepth, installedOnly, publisher,
                                    excludeMask);
}
