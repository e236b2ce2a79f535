// CTable in memory: rows and columns over one flat cell block, deletion and purging with the
// renumbering of string ids, and the search by ID.
#include "kb/table.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "common/dynalist.h"

CTable::CTable(const char* name) : m_strName(name) {
    m_columnNames.emplace_back("ID");
    m_columnTypes.push_back(typeNumber);
    m_strings.Add("");
}

CTable::CTable(const CTable& other) { CopyFrom(other); }

CTable& CTable::operator=(const CTable& other) {
    if (this != &other) CopyFrom(other);
    return *this;
}

CTable::CTable(CTable&& other) noexcept { TakeFrom(other); }

CTable& CTable::operator=(CTable&& other) noexcept {
    if (this != &other) TakeFrom(other);
    return *this;
}

CTable::~CTable() = default;

void CTable::CopyFrom(const CTable& other) {
    m_strName = other.m_strName;
    m_columnNames = other.m_columnNames;
    m_columnTypes = other.m_columnTypes;
    const std::size_t cells = static_cast<std::size_t>(other.m_nRows) * other.m_columnTypes.size();
    std::unique_ptr<ULong[]> block;
    if (cells != 0) {
        block = std::make_unique_for_overwrite<ULong[]>(cells);
        std::memcpy(block.get(), other.m_pCells.get(), cells * sizeof(ULong));
    }
    m_pCells = std::move(block);
    m_nRows = other.m_nRows;
    m_nCapacity = other.m_nRows;
    m_nDeleted = other.m_nDeleted;
    m_nHighestID = other.GetHighestID();
    m_bHighestKnown = true;
    m_strings = other.m_strings;
    if (m_nDeleted != 0) Purge();
    m_nChangeCount = other.m_nChangeCount;
    m_nCompactStrings = other.m_nCompactStrings;
    m_bRebuildStrings = other.m_bRebuildStrings;
    ++m_nGeneration;
}

void CTable::TakeFrom(CTable& other) noexcept {
    m_strName = std::move(other.m_strName);
    m_columnNames = std::move(other.m_columnNames);
    m_columnTypes = std::move(other.m_columnTypes);
    m_nRows = std::exchange(other.m_nRows, 0);
    m_nDeleted = std::exchange(other.m_nDeleted, 0);
    m_nCapacity = std::exchange(other.m_nCapacity, 0);
    m_pCells = std::move(other.m_pCells);
    m_nHighestID = std::exchange(other.m_nHighestID, 0);
    m_bHighestKnown = std::exchange(other.m_bHighestKnown, true);
    m_nChangeCount = other.m_nChangeCount;
    m_strings = std::move(other.m_strings);
    m_nCompactStrings = other.m_nCompactStrings;
    m_bRebuildStrings = other.m_bRebuildStrings;
    other.m_columnNames.clear();
    other.m_columnTypes.clear();
    ++m_nGeneration;
    ++other.m_nGeneration;
}

void CTable::Reserve(ULong capacity) {
    if (capacity <= m_nCapacity) return;
    const std::size_t width = m_columnTypes.size();
    auto block = std::make_unique<ULong[]>(static_cast<std::size_t>(capacity) * width);
    if (m_nRows != 0)
        std::memcpy(block.get(), m_pCells.get(), static_cast<std::size_t>(m_nRows) * width * sizeof(ULong));
    m_pCells = std::move(block);
    m_nCapacity = capacity;
}

std::uint16_t CTable::AddColumn(const char* name, std::uint16_t type) {
    // The rows are laid out again anyway, so deleted ones are not carried over.
    if (m_nDeleted != 0) Purge();
    const std::size_t oldWidth = m_columnTypes.size();
    const std::size_t newWidth = oldWidth + 1;
    std::unique_ptr<ULong[]> block;
    if (m_nCapacity != 0) {
        block = std::make_unique<ULong[]>(static_cast<std::size_t>(m_nCapacity) * newWidth);
        for (std::size_t row = 0; row < m_nRows; ++row) {
            std::memcpy(&block[row * newWidth], &m_pCells[row * oldWidth], oldWidth * sizeof(ULong));
        }
    }
    m_columnNames.emplace_back(name);
    m_columnTypes.push_back(type);
    m_pCells = std::move(block);
    ++m_nChangeCount;
    ++m_nGeneration;
    return GetColumnCount();
}

ULong CTable::AddRow() {
    assert(!m_columnTypes.empty());
    ++m_nChangeCount;
    ++m_nGeneration;
    while (m_nRows >= m_nCapacity) Reserve(DynaGrowCapacity(m_nCapacity));
    const ULong row = m_nRows;
    // New rows of the block are already zero.
    m_nHighestID = GetHighestID() + 1;
    m_bHighestKnown = true;
    m_pCells[Cell(row, 0)] = m_nHighestID;
    for (std::uint16_t column = 1; column < GetColumnCount(); ++column) {
        if (IsTextColumn(column)) m_strings.Add("");
    }
    ++m_nRows;
    return row;
}

void CTable::DeleteRow(ULong row) {
    ULong& id = m_pCells[Cell(row, 0)];
    if (id == 0) return;
    ++m_nChangeCount;
    ++m_nGeneration;
    id = 0;
    ++m_nDeleted;
}

void CTable::DeleteAll() {
    for (ULong row = 0; row < m_nRows; ++row) m_pCells[Cell(row, 0)] = 0;
    m_nDeleted = m_nRows;
    Purge();
    ++m_nChangeCount;
}

void CTable::Purge() {
    if (m_nDeleted == 0) return;
    ++m_nGeneration;
    const std::uint16_t width = GetColumnCount();
    std::vector<std::uint16_t> textColumns;
    for (std::uint16_t column = 1; column < width; ++column) {
        if (IsTextColumn(column)) textColumns.push_back(column);
    }
    ULong live = 0;
    for (ULong row = 0; row < m_nRows; ++row) {
        if (m_pCells[Cell(row, 0)] != 0) {
            ++live;
            continue;
        }
        for (std::uint16_t column : textColumns) m_strings.Release(m_pCells[Cell(row, column)]);
        ++m_nChangeCount;
    }

    const std::vector<ULong> map = m_strings.Compact();
    if (m_strings.GetCount() == 0) m_strings.Add("");

    std::unique_ptr<ULong[]> block;
    if (live != 0) block = std::make_unique_for_overwrite<ULong[]>(static_cast<std::size_t>(live) * width);
    ULong highest = 0;
    ULong* out = block.get();
    for (ULong row = 0; row < m_nRows; ++row) {
        const ULong* in = &m_pCells[Cell(row, 0)];
        if (in[0] == 0) continue;
        std::memcpy(out, in, width * sizeof(ULong));
        // A text cell pointing outside the pool (only a damaged file gives one) keeps reading as "".
        for (std::uint16_t column : textColumns) {
            out[column] = out[column] < map.size() ? map[out[column]] : CStringTable::kNotFound;
        }
        highest = std::max(highest, out[0]);
        out += width;
    }
    m_pCells = std::move(block);
    m_nRows = m_nCapacity = live;
    m_nHighestID = highest;
    m_bHighestKnown = true;
    m_nDeleted = 0;
    RebuildIndexes();
}

int CTable::FindRow(ULong id) {
    if (m_nDeleted != 0) Purge();
    // Power-of-two strides, as in the string pool's search; positions past the end count as
    // "greater", so the search needs no bounds of its own.
    const std::uint64_t count = m_nRows;
    std::uint64_t stride = 1;
    while (stride <= count) stride <<= 1;
    stride >>= 1;
    std::int64_t position = -1;
    bool up = true;
    for (; stride != 0; stride >>= 1) {
        position += up ? static_cast<std::int64_t>(stride) : -static_cast<std::int64_t>(stride);
        if (position >= 0 && static_cast<std::uint64_t>(position) < count) {
            const ULong value = m_pCells[Cell(static_cast<ULong>(position), 0)];
            if (value == id) return static_cast<int>(position);
            up = value < id;
        } else {
            up = false;
        }
    }
    return -1;
}

void CTable::SetText(ULong row, std::uint16_t column, const char* text) {
    const ULong old = GetValue(row, column);
    if (old != 0) m_strings.Release(old);
    SetValue(row, column, m_strings.Add(text));
}

void CTable::EnableStringCheck() {
    m_bRebuildStrings = true;
    m_strings.SetVerify();
}

void CTable::AddIndex(CTableIndex* index) {
    if (std::find(m_indexes.begin(), m_indexes.end(), index) == m_indexes.end()) m_indexes.push_back(index);
}

void CTable::RemoveIndex(CTableIndex* index) { std::erase(m_indexes, index); }

ULong CTable::FindHighestID() const {
    ULong highest = 0;
    for (ULong row = 0; row < m_nRows; ++row) highest = std::max(highest, m_pCells[Cell(row, 0)]);
    m_nHighestID = highest;
    m_bHighestKnown = true;
    return highest;
}

void CTable::RebuildIndexes() {
    // A dependant may detach itself while rebuilding; walk a copy.
    const std::vector<CTableIndex*> indexes = m_indexes;
    for (CTableIndex* index : indexes) index->RebuildIndex();
}

void CTable::Empty() {
    m_pCells.reset();
    m_columnNames.clear();
    m_columnTypes.clear();
    m_nRows = m_nDeleted = m_nCapacity = m_nHighestID = 0;
    m_bHighestKnown = true;
    m_strings.RemoveAll();
    m_strings.Add("");
    ++m_nChangeCount;
    ++m_nGeneration;
}
