// CTableDatabase in memory: finding, adding and removing tables, change counts, tracing and
// the busy counter.
#include "kb/tabledb.h"

#include "common/trace.h"
#include "platform/ui_hooks.h"

int CTableDatabase::FindTable(const char* name) const {
    for (ULong i = 0; i < GetCount(); ++i) {
        if ((*this)[i].GetName().CompareNoCase(name ? name : "") == 0) return static_cast<int>(i);
    }
    return -1;
}

void CTableDatabase::AddTable(const CTable& table) {
    ++m_nChangeCount;
    Add(table);
    if (m_bTracing) (*this)[GetCount() - 1].EnableStringCheck();
}

void CTableDatabase::RemoveTable(ULong index) {
    const ULong count = GetCount();
    if (index >= count) return;
    // The list keeps its count to itself, so the survivors move into a list one shorter. A
    // moved table is purged as the copy that shifts it down would purge it, keeping its count.
    CDynaList<CTable> kept;
    kept.SetSize(count - 1);
    for (ULong i = 0; i < count; ++i) {
        if (i == index) continue;
        CTable& table = (*this)[i];
        if (i > index && table.GetDeletedCount() != 0) table = CTable(table);
        kept.Add(std::move(table));
    }
    static_cast<CDynaList<CTable>&>(*this) = std::move(kept);
    ++m_nChangeCount;
}

ULong CTableDatabase::GetChangeCount() const {
    ULong total = m_nChangeCount;
    for (const CTable& table : *this) total += table.GetChangeCount();
    return total;
}

void CTableDatabase::EnableTracing() {
    m_bTracing = true;
    for (CTable& table : *this) table.EnableStringCheck();
    TraceWrite("Diagnostic database tracing mode enabled\n", false, true);
}

void CTableDatabase::EnterWrite() {
    if (platform::HasMessagePump()) {
        while (m_nBusy.load() != 0) {
            platform::PumpMessages();
            platform::SleepMilliseconds(10);
        }
    }
    m_nBusy.fetch_add(1);
}
