// CTable: one table of the Knowledge Base held in memory: named number and text columns over
// a flat block of 32-bit cells, rows kept in ascending ID order, and the pool of the table's texts.
// The file form of a table is read and written in kb/table_file.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "common/stringtable.h"
#include "platform/cstring.h"
#include "platform/types.h"

class CArchive;

// A dependant of a table whose order of rows must be rebuilt whenever the table's rows move
// (the index record sets are one). A table calls RebuildIndex() after every purge that
// removed rows. The table does not own its dependants: each one detaches itself
// (CTable::RemoveIndex) before it is destroyed or before the table is.
class NORVIK_API CTableIndex {
public:
    virtual void RebuildIndex() = 0;

protected:
    ~CTableIndex() = default;
};

// A table of rows of 32-bit cells. Column 0 holds the row's ID: a live row has a unique nonzero
// ID and live rows are in ascending ID order; a row whose ID is 0 is deleted and stays in place,
// counted in GetDeletedCount(), until Purge() removes it. A text cell (column type typeText)
// holds a string id of GetStrings() and one reference on it; a number cell holds the number.
// Column 0 is the ID whatever its type and never holds a string id.
//
// Row and column numbers are not checked: the caller passes rows below GetRowCount() and
// columns below GetColumnCount(). The table needs at least one column (the ID) before rows are
// added; only Empty() and a table read from a file leave it without. One thread at a time.
// Copying (construction or assignment) purges the copy when the source has deleted rows; the
// copy starts with no dependants, and assignment keeps the target's own.
class NORVIK_API CTable {
public:
    // Column types as stored. Types 2 and 3 are not made by this system but read as numbers;
    // any other value is kept as read and is only rejected by a query that compares it.
    enum ColumnType : std::uint16_t { typeText = 0, typeNumber = 1 };

    // A table called `name` with the one column "ID" (a number), no rows, and a string pool
    // holding only the empty text, as id 0, so that a text cell of 0 reads as "".
    explicit CTable(const char* name = "");
    CTable(const CTable& other);
    CTable& operator=(const CTable& other);
    // Moving takes the content as it is (no purge); dependants stay with their object.
    CTable(CTable&& other) noexcept;
    CTable& operator=(CTable&& other) noexcept;
    ~CTable();

    const CString& GetName() const { return m_strName; }
    void SetName(const char* name) { m_strName = name; }

    // Appends a column; existing rows get 0 in it (which reads as "" in a text column, without
    // a reference). Deleted rows are purged first. Returns the new column count.
    std::uint16_t AddColumn(const char* name, std::uint16_t type);
    std::uint16_t GetColumnCount() const { return static_cast<std::uint16_t>(m_columnTypes.size()); }
    const CString& GetColumnName(std::uint16_t column) const { return m_columnNames[column]; }
    std::uint16_t GetColumnType(std::uint16_t column) const { return m_columnTypes[column]; }

    // Appends a row whose ID is the highest ID + 1 and whose other cells are 0 (one reference
    // on "" per text cell). Returns its row number.
    ULong AddRow();
    // Marks the row deleted (ID 0) when it is live; a deleted row is left alone.
    void DeleteRow(ULong row);
    // Deletes every row and purges.
    void DeleteAll();
    // When rows are deleted: drops them, releases their texts, drops every text nobody
    // references and renumbers the text cells, then rebuilds every dependant. Highest ID
    // becomes the largest ID left. Does nothing when no row is deleted.
    void Purge();
    // The row number of the live row whose ID is `id`, or -1. Purges first when rows are
    // deleted, since the search relies on ascending IDs.
    int FindRow(ULong id);

    ULong GetValue(ULong row, std::uint16_t column) const { return m_pCells[Cell(row, column)]; }
    // Stores the cell as given: no reference is taken or released (see SetText).
    void SetValue(ULong row, std::uint16_t column, ULong value) {
        m_pCells[Cell(row, column)] = value;
        ++m_nChangeCount;
        ++m_nGeneration;
    }
    // The text of a text cell; "" for an id outside the pool.
    const CString& GetText(ULong row, std::uint16_t column) const { return m_strings.GetText(GetValue(row, column)); }
    // Replaces a text cell: releases the id it held (unless 0) and interns `text`.
    void SetText(ULong row, std::uint16_t column, const char* text);

    ULong GetRowCount() const { return m_nRows; }
    ULong GetDeletedCount() const { return m_nDeleted; }
    ULong GetRowCapacity() const { return m_nCapacity; }
    // The largest ID ever given out; after a purge or a read, the largest present.
    ULong GetHighestID() const { return m_bHighestKnown ? m_nHighestID : FindHighestID(); }
    // Raised by every change; 0 after the table is read or written.
    ULong GetChangeCount() const { return m_nChangeCount; }
    // Raised by every change of a cell, a row, a column or the whole content, and never reset:
    // a dependant that copies cells knows by it whether its copy still holds.
    std::uint64_t GetGeneration() const { return m_nGeneration; }

    // The pool of this table's texts. Record sets intern filter texts here.
    CStringTable& GetStrings() { return m_strings; }
    const CStringTable& GetStrings() const { return m_strings; }
    // The compact-strings setting: chooses whether the pool is written with its index and
    // reference counts (0) or as texts only (nonzero).
    ULong GetCompactStrings() const { return m_nCompactStrings; }
    void SetCompactStrings(ULong compact) { m_nCompactStrings = compact; }

    // Sets the rebuild-strings flag (reading re-interns the texts and sorts the rows by ID)
    // and the pool's verify flag (reading checks the pool's index and traces the result).
    void EnableStringCheck();
    bool IsStringCheckEnabled() const { return m_bRebuildStrings; }

    // Attaches or detaches a dependant; attaching one twice attaches it once.
    void AddIndex(CTableIndex* index);
    void RemoveIndex(CTableIndex* index);
    std::size_t GetIndexCount() const { return m_indexes.size(); }

    // Drops every column, row and text: no columns, no rows, highest ID 0, and a pool holding
    // only "". Flags, the name and dependants are kept.
    void Empty();

    // Bytes Serialize writes for this table, with its compact-strings setting, once purged
    // (the count includes deleted rows until then).
    ULong GetSerializedSize() const;
    // Storing purges, then writes the table section and resets the change count. Loading
    // replaces the table with the section read; on CArchiveException (a damaged or short
    // section) the table is left unchanged. Both write the table's lines to the trace.
    void Serialize(CArchive& ar);

private:
    std::size_t Cell(ULong row, std::uint16_t column) const {
        return static_cast<std::size_t>(row) * m_columnTypes.size() + column;
    }
    bool IsTextColumn(std::uint16_t column) const { return column != 0 && m_columnTypes[column] == typeText; }
    // Copies everything but the dependants; a source with deleted rows gives a purged copy.
    void CopyFrom(const CTable& other);
    void TakeFrom(CTable& other) noexcept;
    // Makes room for `capacity` rows; new rows are zero.
    void Reserve(ULong capacity);
    void RebuildIndexes();
    ULong FindHighestID() const;
    void Store(CArchive& ar);
    void Load(CArchive& ar);
    void RebuildStrings();
    void SortRowsByID();
    void CountReferences();

    CString m_strName;
    std::vector<CString> m_columnNames;
    std::vector<std::uint16_t> m_columnTypes;
    ULong m_nRows = 0;
    ULong m_nDeleted = 0;
    ULong m_nCapacity = 0;
    // m_nCapacity rows of GetColumnCount() cells, row by row.
    std::unique_ptr<ULong[]> m_pCells;
    // A table just read learns its highest ID when first asked: finding it is a pass over
    // every row, which would cost a large file's read as much again.
    mutable ULong m_nHighestID = 0;
    mutable bool m_bHighestKnown = true;
    ULong m_nChangeCount = 0;
    std::uint64_t m_nGeneration = 0;
    CStringTable m_strings;
    ULong m_nCompactStrings = 0;
    bool m_bRebuildStrings = false;
    std::vector<CTableIndex*> m_indexes;
};
