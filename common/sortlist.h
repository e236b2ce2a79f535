// CSortList: the list of (text, identifier, extra) items that every name enumeration fills
// and that callers sort case-insensitively for display.
#pragma once

#include "common/dynalist.h"
#include "platform/cstring.h"
#include "platform/types.h"

// One item: a display text, the record identifier it names, and a second number whose
// meaning the producer chooses (0 unless it sets one).
struct NORVIK_API CSortItem {
    CString text;
    ULong id = 0;
    ULong extra = 0;
};

// Items in the order added until Sort. Grows by the rule of CDynaList; indexing is unchecked.
// The caller owns it; one thread at a time.
class NORVIK_API CSortList {
public:
    // Appends an item and marks the list unsorted.
    void Add(CString text, ULong id, ULong extra = 0);

    CSortItem& operator[](ULong index) { return m_items[index]; }
    const CSortItem& operator[](ULong index) const { return m_items[index]; }
    ULong GetCount() const { return m_items.GetCount(); }
    ULong GetCapacity() const { return m_items.GetCapacity(); }
    // Removes item `index` (below the count); the later items move down one place and the
    // sorted mark is left as it was.
    void RemoveAt(ULong index) { m_items.RemoveAt(index); }
    // Drops every item and the storage; the sorted mark is left as it was.
    void RemoveAll() { m_items.RemoveAll(); }

    // Orders the items by text, ignoring case (ASCII letters), and marks the list sorted.
    // Texts are cut to 255 characters (and at an embedded zero byte) as part of sorting;
    // items whose texts compare equal come out in no defined order. A list of fewer than two
    // items is left untouched, mark included.
    void Sort();
    // True after Sort, until the next Add.
    bool IsSorted() const { return m_bSorted != 0; }

    CSortItem* begin() { return m_items.begin(); }
    CSortItem* end() { return m_items.end(); }
    const CSortItem* begin() const { return m_items.begin(); }
    const CSortItem* end() const { return m_items.end(); }

private:
    CDynaList<CSortItem> m_items;
    ULong m_bSorted = 0;
};
