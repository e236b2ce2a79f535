// CIndexRecSet: building the number and text indexes, moving along them and seeking keys.
#include "kb/index_recset.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "common/stringtable.h"

namespace {

// What pads a key on the right (left-aligned texts) and on the left (right-aligned texts). The
// left filler sorts after '-' and before every digit, so that whole numbers written as text
// sort by value whatever their lengths, and a minus sign before the filler ("-1", "9", "10").
constexpr unsigned char kRightFiller = ' ';
constexpr unsigned char kLeftFiller = '/';

// How `tail` (n bytes) orders against n fillers: <0, 0 or >0.
int AgainstFiller(const char* tail, std::size_t n, unsigned char filler) {
    for (std::size_t i = 0; i < n; ++i) {
        const auto c = static_cast<unsigned char>(tail[i]);
        if (c != filler) return c < filler ? -1 : 1;
    }
    return 0;
}

// Orders two texts as unsigned bytes after padding the shorter to the length of the longer: on
// the right, or on the left when `rightAligned`. Padding both to any greater width gives the
// same order, so the longest text of the index need not be known.
int ComparePadded(std::string_view a, std::string_view b, bool rightAligned) {
    if (a.size() == b.size()) return std::memcmp(a.data(), b.data(), a.size());
    const bool swapped = a.size() > b.size();
    const std::string_view shorter = swapped ? b : a;
    const std::string_view longer = swapped ? a : b;
    const std::size_t extra = longer.size() - shorter.size();
    int order;
    if (rightAligned) {
        order = -AgainstFiller(longer.data(), extra, kLeftFiller);
        if (order == 0) order = std::memcmp(shorter.data(), longer.data() + extra, shorter.size());
    } else {
        order = std::memcmp(shorter.data(), longer.data(), shorter.size());
        if (order == 0) order = -AgainstFiller(longer.data() + shorter.size(), extra, kRightFiller);
    }
    return swapped ? -order : order;
}

bool LooksNumeric(const CString& text) { return text.IsEmpty() || std::strchr("-0123456789", text.GetAt(0)); }

// The search of the string pool, over index entries: strides halve from the smallest power of
// two covering the entries; positions past the end count as greater than the key. `order(row)`
// says how the entry's key orders against the sought one. A hit steps back to the first equal
// entry; a miss gives the insertion position when `nearest`, else -1.
template <typename Order>
int Seek(const std::vector<ULong>& index, bool nearest, Order order) {
    const std::int64_t count = static_cast<std::int64_t>(index.size());
    std::int64_t stride = 1;
    while (stride < count) stride <<= 1;
    std::int64_t position = -1;
    bool up = true;
    for (; stride != 0; stride >>= 1) {
        position += up ? stride : -stride;
        if (position < count) {
            const int found = order(index[static_cast<std::size_t>(position)]);
            if (found == 0) {
                while (position > 0 && order(index[static_cast<std::size_t>(position - 1)]) == 0) --position;
                return static_cast<int>(position);
            }
            up = found < 0;
        } else {
            up = false;
        }
    }
    if (!nearest) return -1;
    return static_cast<int>(up ? position + 1 : position);
}

// The first 8 bytes of a zero-terminated text as a big-endian number, zero-padded: numbers
// compare as the texts' first 8 bytes compare under strcmp.
std::uint64_t Prefix(const char* text) {
    std::uint64_t prefix = 0;
    int i = 0;
    for (; i < 8 && text[i] != '\0'; ++i) prefix = prefix << 8 | static_cast<unsigned char>(text[i]);
    // An empty text would shift by the full width, which is undefined: it is all padding.
    return i == 0 ? 0 : prefix << (8 * (8 - i));
}

}  // namespace

CIndexRecSet::CIndexRecSet(CTableDatabase* database) : CRecSet(database) {}

CIndexRecSet::~CIndexRecSet() { Detach(); }

int CIndexRecSet::Open(const char* query, std::uint16_t column) {
    m_nColumn = column;
    return Open(query);
}

int CIndexRecSet::Open(const char* query) {
    m_index.clear();
    m_values.clear();
    m_runs.clear();
    m_nPosition = -1;
    if (!CRecSet::Open(query)) return 0;
    BuildIndex();
    SetPosition(0);
    Attach();
    return 1;
}

void CIndexRecSet::Close() {
    m_index = {};
    m_values = {};
    m_runs = {};
    m_nPosition = -1;
    CRecSet::Close();
}

void CIndexRecSet::RebuildIndex() {
    CRecSet::RebuildIndex();
    BuildIndex();
    SetPosition(m_nPosition);
}

void CIndexRecSet::BuildIndex() {
    m_index.clear();
    m_values.clear();
    m_runs.clear();
    const CTable* table = GetTable();
    if (!table || m_nColumn >= table->GetColumnCount()) return;
    m_nBuiltGeneration = table->GetGeneration();
    std::vector<ULong> rows;
    for (ULong row = 0; row < table->GetRowCount(); ++row) {
        if (IsVisible(row)) rows.push_back(row);
    }
    if (m_nColumn != 0 && table->GetColumnType(m_nColumn) == CTable::typeText) {
        BuildTextIndex(rows);
    } else {
        BuildNumberIndex(rows);
    }
}

void CIndexRecSet::BuildNumberIndex(const std::vector<ULong>& rows) {
    const CTable& table = *GetTable();
    // Value above row: one sort of plain integers, equal values in row order.
    std::vector<std::uint64_t> keys;
    keys.reserve(rows.size());
    for (ULong row : rows) keys.push_back(static_cast<std::uint64_t>(table.GetValue(row, m_nColumn)) << 32 | row);
    std::sort(keys.begin(), keys.end());
    m_index.resize(keys.size());
    m_values.resize(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        m_index[i] = static_cast<ULong>(keys[i]);
        m_values[i] = static_cast<ULong>(keys[i] >> 32);
    }
}

void CIndexRecSet::BuildTextIndex(const std::vector<ULong>& rows) {
    // Rows share few texts, so the distinct texts are sorted once and the rows dealt into
    // them: no padded record per row. Slot `count` stands for cells outside the pool ("").
    const CTable& table = *GetTable();
    const CStringTable& strings = table.GetStrings();
    const ULong count = strings.GetCount();
    const auto slotOf = [&](ULong row) { return std::min(table.GetValue(row, m_nColumn), count); };
    std::vector<ULong> start(static_cast<std::size_t>(count) + 1, 0);
    std::vector<ULong> slots;
    bool numeric = true;
    for (ULong row : rows) {
        const ULong slot = slotOf(row);
        if (start[slot]++ == 0) {
            slots.push_back(slot);
            numeric = numeric && LooksNumeric(strings.GetText(slot));
        }
    }
    std::sort(slots.begin(), slots.end(), [&](ULong a, ULong b) {
        const int order = ComparePadded(strings.GetText(a).str(), strings.GetText(b).str(), numeric);
        return order != 0 ? order < 0 : a < b;
    });
    // Row counts per slot become the first position of each slot in key order.
    ULong position = 0;
    for (ULong slot : slots) position += std::exchange(start[slot], position);
    m_index.resize(rows.size());
    for (ULong row : rows) m_index[start[slotOf(row)]++] = row;
    if (!numeric) BuildRuns();
}

void CIndexRecSet::BuildRuns() {
    // Blank-padded order and byte order part only where a text continues its neighbour with a
    // byte below the blank; then (or with duplicated texts in a damaged pool) seeks take the
    // long way.
    const CTable& table = *GetTable();
    const CStringTable& strings = table.GetStrings();
    ULong previous = CStringTable::kNotFound;
    for (ULong position = 0; position < m_index.size(); ++position) {
        const ULong id = table.GetValue(m_index[position], m_nColumn);
        if (id == previous) continue;
        const char* text = strings.GetText(id).c_str();
        if (!m_runs.empty() && std::strcmp(strings.GetText(m_runs.back().id).c_str(), text) >= 0) {
            m_runs.clear();
            return;
        }
        m_runs.push_back({Prefix(text), id, position});
        previous = id;
    }
}

bool CIndexRecSet::CacheHolds() const {
    const CTable* table = GetTable();
    return table && table->GetGeneration() == m_nBuiltGeneration;
}

void CIndexRecSet::SetPosition(int position) {
    m_nPosition = position;
    const bool inside = position >= 0 && static_cast<std::size_t>(position) < m_index.size();
    SetRow(inside ? m_index[static_cast<std::size_t>(position)] : kNoRow);
}

void CIndexRecSet::MoveFirst() { SetPosition(0); }

void CIndexRecSet::MoveLast() { SetPosition(static_cast<int>(m_index.size()) - 1); }

void CIndexRecSet::MoveNext() { SetPosition(m_nPosition + 1); }

void CIndexRecSet::MovePrev() { SetPosition(m_nPosition - 1); }

int CIndexRecSet::SeekValue(ULong value, bool nearest) const {
    if (!m_values.empty() && CacheHolds()) {
        const auto first = std::lower_bound(m_values.begin(), m_values.end(), value);
        if (first != m_values.end() && *first == value) return static_cast<int>(first - m_values.begin());
        return nearest ? static_cast<int>(first - m_values.begin()) : -1;
    }
    // An index is only ever built on a table, so an empty one never calls the comparison.
    const CTable* table = GetTable();
    return Seek(m_index, nearest, [table, value, column = m_nColumn](ULong row) {
        const ULong key = table->GetValue(row, column);
        return key < value ? -1 : key > value ? 1 : 0;
    });
}

int CIndexRecSet::SeekText(const char* text, bool nearest) const {
    const CTable* table = GetTable();
    if (!text) text = "";
    if (!m_runs.empty() && CacheHolds()) return SeekRuns(text, nearest);
    return Seek(m_index, nearest, [table, text, column = m_nColumn](ULong row) {
        return std::strcmp(table->GetText(row, column).c_str(), text);
    });
}

int CIndexRecSet::SeekRuns(const char* text, bool nearest) const {
    const CStringTable& strings = GetTable()->GetStrings();
    const std::uint64_t prefix = Prefix(text);
    const bool shortKey = strnlen(text, 8) < 8;
    // strcmp of a run's text against the key, looking at the text only when the prefixes tie.
    const auto order = [&](const Run& run) {
        if (run.prefix != prefix) return run.prefix < prefix ? -1 : 1;
        return shortKey ? 0 : std::strcmp(strings.GetText(run.id).c_str() + 8, text + 8);
    };
    const auto first =
        std::partition_point(m_runs.begin(), m_runs.end(), [&](const Run& run) { return order(run) < 0; });
    if (first != m_runs.end() && order(*first) == 0) return static_cast<int>(first->start);
    if (!nearest) return -1;
    return static_cast<int>(first != m_runs.end() ? first->start : m_index.size());
}
