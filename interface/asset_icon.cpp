// The icon classification of assets, shared by every back end.
#include "interface/norvik.h"

void CNorvik::GetAssetIcon(ULong asset, int* icon, int* selectedIcon) {
    int normal = kIconAsset;
    int selected = kIconAsset;
    if (GetAssetStateFlag(asset, kAssetChild)) {
        normal = kIconPeripheral;
        selected = kIconPeripheralOpen;
    } else if (GetAssetStateFlag(asset, kAssetKindMask)) {
        normal = kIconPC;
        selected = kIconPCOpen;
    }
    if (icon) *icon = normal;
    if (selectedIcon) *selectedIcon = selected;
}
