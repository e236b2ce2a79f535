// Finding the assets that hold a hardware value, built on the enumeration of a key's holders so
// that every back end has it; a database back end answers with one indexed read instead.
#include "interface/norvik.h"

int CNorvik::hwFindAssetsByValue(ULong parent, const char* key, const char* value, CDynaList<ULong>& assets) {
    CSortList holders;
    hwEnumByAsset(parent, key, holders);
    const CString wanted = value ? value : "";
    for (const CSortItem& item : holders)
        if (item.text == wanted) assets.Add(item.id);
    return static_cast<int>(assets.GetCount());
}
