// CSortList's additions and its case-insensitive sort.
#include "common/sortlist.h"

#include <strings.h>
#include <algorithm>
#include <cstring>

namespace {

// Sort keys are at most this long; longer texts keep only their first 255 characters.
constexpr std::size_t kSortKeyLength = 255;

}  // namespace

void CSortList::Add(CString text, ULong id, ULong extra) {
    m_items.Add(CSortItem{std::move(text), id, extra});
    m_bSorted = 0;
}

void CSortList::Sort() {
    if (m_items.GetCount() < 2) return;
    // Each item is sorted, and then kept, with its key: the zero-terminated text, at most 255
    // characters. Cutting the texts first lets the sort compare the items in place.
    for (CSortItem& item : m_items) {
        std::string& text = item.text.str();
        text.resize(strnlen(text.c_str(), std::min(text.size(), kSortKeyLength)));
    }
    std::sort(m_items.begin(), m_items.end(),
              [](const CSortItem& a, const CSortItem& b) { return strcasecmp(a.text.c_str(), b.text.c_str()) < 0; });
    m_bSorted = 1;
}
