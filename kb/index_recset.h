// CIndexRecSet: a record set that walks the rows meeting its query in the order of one column
// and seeks a number or a text in that order. Recognition finds known files through these.
#pragma once

#include <cstdint>
#include <vector>

#include "kb/recset.h"

// The index lists the rows that met the query when it was built, ordered by the index column:
//  - a number column (and the ID column): by value, unsigned, ascending;
//  - a text column: by the text padded to the longest text, compared as unsigned bytes
//    (case-sensitive). When every non-empty text starts with one of "-0123456789" the texts
//    are right-aligned, padded on the left with a filler that sorts after '-' and before the
//    digits, so whole numbers written as text sort by value ("-1", "9", "10"); otherwise they
//    are left-aligned, padded with blanks on the right ("10", "9", "x"; "a\x01" before "a").
// Entries with equal keys are in row order (the Knowledge Base promises no order among them).
//
// The index is built by Open and again after every purge of the table (the table calls back
// through CTableIndex); in between, rows added, deleted or changed keep their old places.
// The moves follow the index and, unlike CRecSet's, look at neither the conditions nor the ID.
// Requirements as for CRecSet; the record set is attached to its table while open.
class NORVIK_API CIndexRecSet : public CRecSet {
public:
    // Not open; Open(query, column) opens it.
    explicit CIndexRecSet(CTableDatabase* database);
    // Detaches from the table; CRecSet's destructor releases the filter texts.
    ~CIndexRecSet() override;

    // Open(query); then builds the index on `column`, goes to position 0 and attaches itself to
    // the table. 1 on success; 0 (and an empty index) when the query fails. A column the table
    // lacks gives an empty index.
    virtual int Open(const char* query, std::uint16_t column);
    // The same on the column of the last Open(query, column); before any, column 0 (the ID).
    int Open(const char* query) override;
    // Frees the index, closes as CRecSet does and detaches from the table.
    void Close() override;
    // SetPosition(0), SetPosition(count - 1), SetPosition(position +/- 1).
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override;
    void MovePrev() override;

    // The position of the first entry whose key equals `value` (compared unsigned) or `text`
    // (compared byte-wise, case-sensitive; null is ""). When there is none: the position where
    // it would be inserted if `nearest`, else -1. The search halves power-of-two strides over
    // the index and compares the cells as they are now. A text seek compares plain bytes even
    // on a right-aligned index, where byte order and index order part: there it finds what
    // byte order leads it to ("10" is missed among "-1", "9", "10"). Neither moves the record
    // set: SetPosition does. No allocation.
    int SeekValue(ULong value, bool nearest) const;
    int SeekText(const char* text, bool nearest) const;
    // Makes the row at index `position` current; past the end (no row) when the position is
    // negative or not below the entry count.
    void SetPosition(int position);
    int GetPosition() const { return m_nPosition; }
    ULong GetEntryCount() const { return static_cast<ULong>(m_index.size()); }
    std::uint16_t GetIndexColumn() const { return m_nColumn; }

protected:
    // After a purge: the conditions follow the renumbered texts, the index is built again and
    // the record set stays at the same position of the new index.
    void RebuildIndex() override;

private:
    // The first entry of each distinct text of a text index, for seeks while the cells stay as
    // they were: the text's first 8 bytes (big-endian, zero-padded), its string id, its position.
    struct Run {
        std::uint64_t prefix;
        ULong id;
        ULong start;
    };

    void BuildIndex();
    void BuildNumberIndex(const std::vector<ULong>& rows);
    void BuildTextIndex(const std::vector<ULong>& rows);
    void BuildRuns();
    // True while the table's cells are those the index was built from.
    bool CacheHolds() const;
    int SeekRuns(const char* text, bool nearest) const;

    std::uint16_t m_nColumn = 0;
    std::vector<ULong> m_index;  // row numbers in key order
    int m_nPosition = -1;
    // Seeks search these copies instead of the table while CacheHolds(): the keys of a number
    // index by position, or the runs of a text index whose order agrees with byte order (else
    // empty). They give the same answers as the search over the table, without its detours
    // through rows, cells and the pool.
    std::uint64_t m_nBuiltGeneration = 0;
    std::vector<ULong> m_values;
    std::vector<Run> m_runs;
};
