// CHwList: one asset's hardware values as a flat list, the snapshot that hwEnumAll takes and
// that StoreHwHistory compares with the next one to record what an audit changed.
#pragma once

#include "common/dynalist.h"
#include "platform/cstring.h"
#include "platform/types.h"

// One value node: the category it hangs under, the category path (names joined by "|"), the
// item's own key, its stored value text and its _FLAGS.
struct NORVIK_API CHwItem {
    ULong parent = 0;
    CString path;
    CString key;
    CString value;
    ULong flags = 0;

    // "path.key": the item's identity when two snapshots are compared.
    CString Name() const { return path + "." + key; }
    // "path|key": the item as history keys name it (the form hwSetVal writes).
    CString HistoryKey() const { return path.IsEmpty() ? key : path + "|" + key; }
};

// Items in the order added. The caller owns it; one thread at a time.
class NORVIK_API CHwList {
public:
    void Add(ULong parent, const CString& path, const CString& key, const CString& value, ULong flags) {
        m_items.Add(CHwItem{parent, path, key, value, flags});
    }

    const CHwItem& operator[](ULong index) const { return m_items[index]; }
    ULong GetCount() const { return m_items.GetCount(); }
    void RemoveAll() { m_items.RemoveAll(); }

    const CHwItem* begin() const { return m_items.begin(); }
    const CHwItem* end() const { return m_items.end(); }

private:
    CDynaList<CHwItem> m_items;
};
