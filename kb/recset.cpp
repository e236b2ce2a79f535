// CRecSet: opening a query on a table, the filter test, the moves and the bracketed writes.
#include "kb/recset.h"

#include <cstring>

#include "kb/tabledb.h"
#include "platform/ui_hooks.h"

namespace {

const CString& EmptyText() {
    static const CString empty;
    return empty;
}

// Holds the database's busy counter for a write; a record set made on a bare table has none.
class BusyScope {
public:
    explicit BusyScope(CTableDatabase* database) : m_pDatabase(database) {
        if (m_pDatabase) m_pDatabase->EnterWrite();
    }
    ~BusyScope() {
        if (m_pDatabase) m_pDatabase->LeaveWrite();
    }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    CTableDatabase* m_pDatabase;
};

}  // namespace

CRecSet::CRecSet(CTableDatabase* database, const char* query) : m_pDatabase(database) {
    if (query) Open(query);
}

CRecSet::CRecSet(CTable& table) : m_pTable(&table), m_bOpen(true) { CRecSet::MoveFirst(); }

CRecSet::~CRecSet() {
    // Also after a failed Open, which may have left conditions holding texts.
    ReleaseConditions();
    Detach();
}

int CRecSet::Open(const char* query) {
    m_nRow = kNoRow;
    m_bOpen = false;
    // A record set made on a bare table has no tables to name: every table is unknown.
    static const CTableDatabase noTables;
    KbQuery parsed = ParseKbQuery(m_pDatabase ? *m_pDatabase : noTables, query);
    if (parsed.table >= 0) {
        ReleaseConditions();
        Detach();
        m_pTable = &(*m_pDatabase)[static_cast<ULong>(parsed.table)];
        bool anyText = false;
        for (KbQueryTerm& term : parsed.terms) {
            Condition condition;
            condition.column = term.column;
            condition.op = term.op;
            condition.isText = term.isText;
            if (term.isText) {
                condition.value = m_pTable->GetStrings().Add(term.text);
                condition.text = std::move(term.text);
                anyText = true;
            } else {
                condition.value = term.number;
            }
            m_conditions.Add(std::move(condition));
        }
        // A purge renumbers the pool; the table tells its dependants when it does.
        if (anyText) Attach();
    }
    if (!parsed.error.IsEmpty()) {
        platform::ShowMessageBox(parsed.error, platform::kMbIconExclamation);
        return 0;
    }
    m_bOpen = true;
    MoveFirst();
    return 1;
}

void CRecSet::Close() {
    ReleaseConditions();
    Detach();
    m_bOpen = false;
}

void CRecSet::ReleaseConditions() {
    if (m_pTable) {
        for (const Condition& condition : m_conditions) {
            if (condition.isText) m_pTable->GetStrings().Release(condition.value);
        }
    }
    m_conditions.RemoveAll();
}

void CRecSet::Attach() {
    if (m_bAttached || !m_pTable) return;
    m_pTable->AddIndex(this);
    m_bAttached = true;
}

void CRecSet::Detach() {
    if (!m_bAttached) return;
    m_pTable->RemoveIndex(this);
    m_bAttached = false;
}

void CRecSet::RebuildIndex() {
    CStringTable& strings = m_pTable->GetStrings();
    for (Condition& condition : m_conditions) {
        if (!condition.isText) continue;
        condition.value = strings.Find(condition.text);
        // Only a table read anew loses the texts its conditions held; take them again.
        if (condition.value == CStringTable::kNotFound) condition.value = strings.Add(condition.text);
    }
}

int CRecSet::CurrentRowMatches() const {
    if (m_conditions.GetCount() == 0) return 1;
    return !IsEOF() && RowMeetsConditions(m_nRow) ? 1 : 0;
}

bool CRecSet::RowMeetsConditions(ULong row) const {
    for (const Condition& condition : m_conditions) {
        // Only a table read anew under an open record set can lack the column.
        if (condition.column >= m_pTable->GetColumnCount()) return false;
        const ULong cell = m_pTable->GetValue(row, condition.column);
        const ULong value = condition.value;
        const std::uint16_t type = m_pTable->GetColumnType(condition.column);
        bool holds = false;
        if (type == CTable::typeText) {
            if (condition.op == kbOpEqual || condition.op == kbOpNotEqual) {
                // Interned texts are equal exactly when their ids are.
                holds = (cell == value) == (condition.op == kbOpEqual);
            } else {
                const CStringTable& strings = m_pTable->GetStrings();
                const int order = std::strcmp(strings.GetText(cell).c_str(), strings.GetText(value).c_str());
                holds = condition.op == kbOpLess ? order < 0 : order > 0;
            }
        } else if (type <= 3) {
            switch (condition.op) {
                case kbOpEqual: holds = cell == value; break;
                case kbOpLess: holds = cell < value; break;
                case kbOpGreater: holds = cell > value; break;
                default: holds = cell != value; break;
            }
        } else {
            platform::ShowMessageBox("Invalid Column type in CRecSet::CurrentRowMatches", platform::kMbIconExclamation);
        }
        if (!holds) return false;
    }
    return true;
}

bool CRecSet::IsVisible(ULong row) const { return m_pTable->GetValue(row, 0) != 0 && RowMeetsConditions(row); }

void CRecSet::MoveFirst() {
    m_nRow = kNoRow;
    CRecSet::MoveNext();
}

void CRecSet::MoveNext() {
    if (!m_pTable) return;
    do {
        ++m_nRow;
    } while (!IsEOF() && !IsVisible(m_nRow));
}

void CRecSet::MoveLast() {
    if (!m_pTable) return;
    m_nRow = m_pTable->GetRowCount() - m_pTable->GetDeletedCount();
    CRecSet::MovePrev();
}

void CRecSet::MovePrev() {
    if (!m_pTable) return;
    do {
        --m_nRow;
    } while (!IsEOF() && !IsVisible(m_nRow));
}

int CRecSet::FindID(ULong id) {
    if (!m_pTable) return 0;
    if (!IsEOF() && GetID() == id) return 1;
    const int row = m_pTable->FindRow(id);
    m_nRow = static_cast<ULong>(row);
    if (!IsEOF() && !CurrentRowMatches()) m_nRow = kNoRow;
    return IsEOF() ? 0 : 1;
}

ULong CRecSet::GetValue(std::uint16_t column) const {
    if (IsEOF() || column >= m_pTable->GetColumnCount()) return 0;
    return m_pTable->GetValue(m_nRow, column);
}

const CString& CRecSet::GetText(std::uint16_t column) const {
    if (IsEOF() || column >= m_pTable->GetColumnCount()) return EmptyText();
    return m_pTable->GetText(m_nRow, column);
}

void CRecSet::SetValue(std::uint16_t column, ULong value) {
    if (IsEOF() || column >= m_pTable->GetColumnCount()) return;
    BusyScope busy(m_pDatabase);
    m_pTable->SetValue(m_nRow, column, value);
}

void CRecSet::SetText(std::uint16_t column, const char* text) {
    if (IsEOF() || column >= m_pTable->GetColumnCount()) return;
    BusyScope busy(m_pDatabase);
    m_pTable->SetText(m_nRow, column, text);
}

ULong CRecSet::AddNew() {
    if (!m_pTable) return 0;
    BusyScope busy(m_pDatabase);
    m_nRow = m_pTable->AddRow();
    return GetID();
}

void CRecSet::Delete() {
    if (IsEOF()) return;
    BusyScope busy(m_pDatabase);
    m_pTable->DeleteRow(m_nRow);
    ++m_nRow;
}
