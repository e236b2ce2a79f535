// CRecSet: a cursor over one Knowledge Base table that shows the live rows meeting the
// conditions of a query (kb/query.h), in table order, and reads and writes their cells.
#pragma once

#include <cstdint>

#include "common/dynalist.h"
#include "kb/query.h"
#include "kb/table.h"
#include "platform/cstring.h"
#include "platform/types.h"

class CTableDatabase;

// A record set walks the rows of one table. Every read and write goes straight to the table,
// so what one record set writes every other one on the same table sees at once.
//
// Lifetime: the database (and the table) must outlive the record set, and must not gain,
// lose or reread tables while it is open: it keeps a pointer to its table. One thread.
// Writes (SetValue, SetText, AddNew, Delete) hold the database's busy counter; a record set
// made directly on a table has no database and writes without it.
//
// Query errors are shown to the user through platform::ShowMessageBox (exclamation icon) and
// make Open return 0; a record set that failed to open reads as empty.
//
// A text condition holds one reference on its text in the table's pool until Close. When a
// purge renumbers the pool, the conditions follow their texts.
class NORVIK_API CRecSet : protected CTableIndex {
public:
    // One condition of the filter: the column, a KbOperator, and the value (for a text column
    // the string id of the filter text in the table's pool).
    struct Condition {
        std::uint16_t column = 0;
        std::uint16_t op = kbOpEqual;
        ULong value = 0;
        bool isText = false;
        CString text;  // a text condition's text, to find its id again after a purge
    };
    // The current row before the first and after the last: -1, compared unsigned.
    static constexpr ULong kNoRow = 0xFFFFFFFF;

    // Not open, no row. With a query, opens it at once.
    explicit CRecSet(CTableDatabase* database, const char* query = nullptr);
    // Open on `table` itself, without a database or conditions, on the first live row.
    explicit CRecSet(CTable& table);
    // Releases the filter texts and detaches from the table, open or not.
    virtual ~CRecSet();
    CRecSet(const CRecSet&) = delete;
    CRecSet& operator=(const CRecSet&) = delete;

    // Reads the query, takes its table and conditions and moves to the first match: 1.
    // A malformed query shows its message and returns 0. When the table was found, the
    // earlier conditions are dropped (their texts released) and the record set stays on that
    // table with the conditions read before the error; otherwise it stays as it was. In both
    // cases it is left past the end and not open.
    virtual int Open(const char* query);
    // Releases the filter texts, drops the conditions and clears the open flag.
    virtual void Close();
    // MoveFirst: from before the first row, MoveNext. MoveNext/MovePrev: on to the next/previous
    // live row that meets the conditions, or past the end. MoveLast starts from the row count
    // less the deleted rows and moves back: while deleted rows are unpurged, that start lies
    // below the true end and the last rows of the table are not reached. The start is kept as
    // the Knowledge Base has always had it; a caller that needs every row purges first.
    virtual void MoveFirst();
    virtual void MoveLast();
    virtual void MoveNext();
    virtual void MovePrev();

    bool IsOpen() const { return m_bOpen; }
    // True when the current row is not a row of the table (before the first counts).
    bool IsEOF() const { return !m_pTable || m_nRow >= m_pTable->GetRowCount(); }
    // Positions on the live row with that ID when it meets the conditions: 1. Otherwise the
    // record set is past the end: 0. When the current row already has the ID, 1 at once.
    // The search purges the table first (see CTable::FindRow).
    int FindID(ULong id);
    // 1 when the current row meets every condition (always, without conditions). A condition
    // on a column of an unknown type shows "Invalid Column type in CRecSet::CurrentRowMatches"
    // and does not hold. Past the end no condition holds.
    int CurrentRowMatches() const;

    // The current row's cells. Past the end, or for a column the table lacks: 0 and "".
    ULong GetID() const { return GetValue(0); }
    ULong GetValue(std::uint16_t column) const;
    const CString& GetText(std::uint16_t column) const;
    // Write the current row's cell; nothing past the end or for a column the table lacks.
    void SetValue(std::uint16_t column, ULong value);
    void SetText(std::uint16_t column, const char* text);
    // Appends a row (CTable::AddRow) and makes it current, whatever the conditions: its ID.
    // Nothing (0) without a table.
    ULong AddNew();
    // Deletes the current row (CTable::DeleteRow) and steps to the next row number without
    // looking at the conditions. Past the end, nothing.
    void Delete();

    CTable* GetTable() const { return m_pTable; }
    CTableDatabase* GetDatabase() const { return m_pDatabase; }
    const CDynaList<Condition>& GetConditions() const { return m_conditions; }
    // The current row number, kNoRow before the first.
    ULong GetRow() const { return m_nRow; }

protected:
    void SetRow(ULong row) { m_nRow = row; }
    // Finds the filter texts again after the table's pool was renumbered; index record sets
    // rebuild their order after it.
    void RebuildIndex() override;
    // Attaches this record set to its table as a dependant (see CTableIndex), or detaches it.
    void Attach();
    void Detach();

    // `row` (below the row count) is live and meets every condition.
    bool IsVisible(ULong row) const;

private:
    bool RowMeetsConditions(ULong row) const;
    void ReleaseConditions();

    CTableDatabase* m_pDatabase = nullptr;
    CTable* m_pTable = nullptr;
    ULong m_nRow = kNoRow;
    bool m_bOpen = false;
    bool m_bAttached = false;
    CDynaList<Condition> m_conditions;
};
