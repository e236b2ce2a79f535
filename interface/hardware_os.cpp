// The hardware operations every back end shares: the hardware icon table, the site-wide view
// of an item named by its path, and the values of the "Operating System" category.
#include <iterator>

#include "interface/norvik.h"

namespace {

// Icon numbers by icon index ((flags >> 4) & 0xFF), as history records and callers use them.
constexpr int kHwIcons[] = {15, 38, 49, 47, 62, 63, 64, 48, 16, 17, 18, 19, 65, 66, 67, 68, 46,
                            69, 70, 71, 72, 73, 50, 51, 74, 75, 76, 77, 78, 79, 80, 81, 82, 83};

}  // namespace

int CNorvik::hwIconFromFlags(ULong flags) {
    const ULong index = (flags >> 4) & 0xFF;
    // Writers never store a larger index; one written by hand must not read past the table.
    return index < std::size(kHwIcons) ? kHwIcons[index] : kHwIcons[0];
}

int CNorvik::hwEnumGlobal(const char* path, char delimiter, CSortList& list, int withAssetNames) {
    const CString whole = path ? path : "";
    const int cut = whole.ReverseFind(delimiter);
    if (cut < 0) return hwEnumGlobal(ULong{0}, whole.c_str(), list, withAssetNames);
    const ULong parent = hwFind(whole.Left(cut), delimiter);
    return hwEnumGlobal(parent, whole.Mid(cut + 1).c_str(), list, withAssetNames);
}

CString CNorvik::osFindValue(ULong asset, const char* key) {
    const ULong category = hwFind(m_szOS, '|');
    if (category == 0) return CString();
    const ULong node = hwFind(category, asset, key);
    return node == 0 ? CString() : hwValueAsString(node);
}

int CNorvik::osEnumValues(ULong asset, CSortList& list) {
    const ULong category = hwFind(m_szOS, '|');
    if (category == 0) return static_cast<int>(list.GetCount());
    CSortList children;
    hwEnum(asset, category, children, 0xFFFFFFFF);
    for (const CSortItem& item : children)
        if ((item.extra & kHwCategory) == 0) list.Add(item.text, item.id, item.extra);
    return static_cast<int>(list.GetCount());
}

int CNorvik::hwAddValues(ULong asset, const CHwList& values) {
    for (const CHwItem& item : values)
        if (hwAdd(item.parent, asset, item.flags, item.key, item.value) == 0) return 0;
    return 1;
}
