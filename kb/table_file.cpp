// The Knowledge Base table file: reading and writing the database header and each table's
// section in one pass through a CArchive, with progress, trace lines and the load-time checks.
//
// All integers little-endian; "string" is CArchive's string form (u8 length below 255, else
// 0xFF + u16 below 65534, else 0xFF 0xFFFF + u32; then the bytes, no terminator).
//
//   File                          size      content
//   magic                         36        "IDS Database Table File. Do not edit"
//                                           ("PMD Database Table File. Do not edit" also read)
//   format major, minor           u16, u16  written 2, 10;  v = major * 100 + minor
//   content major, minor          u16, u16  only when v >= 200 (else the content version = v)
//   table count                   u32       u16 when v < 210
//   tables                                  table count table sections
//
//   Table section
//   compact strings               u32       the table's compact-strings setting
//   string pool                             CStringTable's file form (common/stringtable.h):
//                                           u32 compact flag, u32 count, per text: string and,
//                                           when the flag is 0, u32 index entry, u32 references
//   name                          string
//   column count                  u16       at least 1 when read
//   columns                                 per column: name (string), type (u16)
//   row count                     u32
//   highest ID                    u32       written; ignored when read (taken from the cells)
//   cells                         u32 x row count x column count, row by row
//
// Every count is checked against the bytes left before anything is allocated for it, so a
// damaged file costs at most about its own size in memory and ends in CArchiveException.
#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cstring>
#include <numeric>
#include <string>
#include <unordered_map>

#include "common/trace.h"
#include "kb/table.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"

namespace {

constexpr std::size_t kMagicLength = 36;
constexpr char kMagic[] = "IDS Database Table File. Do not edit";
constexpr char kOldMagic[] = "PMD Database Table File. Do not edit";
static_assert(sizeof(kMagic) == kMagicLength + 1 && sizeof(kOldMagic) == kMagicLength + 1);

// The smallest table section: both compact values, the pool's count, a one-byte name, the
// column count, one column (one-byte name and type), the row count and the highest ID.
constexpr std::uint64_t kMinTableSection = 4 + 4 + 4 + 1 + 2 + 3 + 4 + 4;

[[noreturn]] void ThrowDamaged(const CArchive& ar, const CString& what) {
    throw CArchiveException(
        CString::Formatted("Damaged database table file '%s': %s", ar.GetFile().GetFilePath().c_str(), what.c_str()));
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Table section

ULong CTable::GetSerializedSize() const {
    std::uint64_t size = m_strings.GetSerializedSize();
    // The pool is written with the table's setting, whatever its own flag says now.
    const std::uint64_t entries = 8 * static_cast<std::uint64_t>(m_strings.GetCount());
    if (m_strings.GetCompact() == 0 && m_nCompactStrings != 0) size -= entries;
    if (m_strings.GetCompact() != 0 && m_nCompactStrings == 0) size += entries;
    size += 4 + CArchive::GetStringSize(m_strName.str().size()) + 2;
    for (const CString& name : m_columnNames) size += CArchive::GetStringSize(name.str().size()) + 2;
    size += static_cast<std::uint64_t>(m_nRows) * m_columnTypes.size() * 4 + 8;
    return static_cast<ULong>(size);
}

void CTable::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        Store(ar);
    } else {
        Load(ar);
    }
}

void CTable::Store(CArchive& ar) {
    Purge();
    m_strings.SetCompact(m_nCompactStrings);
    TracePrintf("Writing Table %s of %d columns and %d rows, total bytes to write is %d", m_strName.c_str(),
                static_cast<int>(GetColumnCount()), static_cast<int>(m_nRows), static_cast<int>(GetSerializedSize()));
    ar.WriteU32(m_nCompactStrings);
    m_strings.Serialize(ar);
    ar.WriteString(m_strName);
    ar.WriteU16(GetColumnCount());
    for (std::uint16_t column = 0; column < GetColumnCount(); ++column) {
        ar.WriteString(m_columnNames[column]);
        ar.WriteU16(m_columnTypes[column]);
    }
    ar.WriteU32(m_nRows);
    ar.WriteU32(GetHighestID());
    const std::size_t cells = static_cast<std::size_t>(m_nRows) * m_columnTypes.size();
    if constexpr (std::endian::native == std::endian::little) {
        if (cells != 0) ar.Write(m_pCells.get(), cells * sizeof(ULong));
    } else {
        for (std::size_t i = 0; i < cells; ++i) ar.WriteU32(m_pCells[i]);
    }
    m_nChangeCount = 0;
    TraceWrite("...Complete\n", false, false);
}

void CTable::Load(CArchive& ar) {
    // Read into a table of its own, so that a damaged section leaves this one as it was.
    CTable loaded;
    loaded.Empty();
    loaded.m_bRebuildStrings = m_bRebuildStrings;
    if (m_strings.GetVerify()) loaded.m_strings.SetVerify();

    loaded.m_nCompactStrings = ar.ReadU32();
    loaded.m_strings.SetCompact(loaded.m_nCompactStrings);
    loaded.m_strings.Serialize(ar);
    // A full pool checks its index itself when verifying; a compact one is only interned.
    if (loaded.m_strings.GetCompact() != 0 && loaded.m_strings.GetVerify()) loaded.m_strings.RebuildIndex();

    ar.ReadString(loaded.m_strName.str());
    TraceWrite(loaded.m_strName, false, false);
    const CString& name = loaded.m_strName;

    const std::uint16_t columns = ar.ReadU16();
    if (columns == 0) ThrowDamaged(ar, CString::Formatted("table '%s' has no columns", name.c_str()));
    // Each column takes at least a one-byte name and its type.
    if (3 * static_cast<std::uint64_t>(columns) > ar.GetBytesLeft()) {
        ThrowDamaged(ar, CString::Formatted("table '%s' declares %u columns but only %" PRIu64 " bytes are left",
                                            name.c_str(), static_cast<unsigned>(columns), ar.GetBytesLeft()));
    }
    loaded.m_columnNames.resize(columns);
    loaded.m_columnTypes.resize(columns);
    for (std::uint16_t column = 0; column < columns; ++column) {
        ar.ReadString(loaded.m_columnNames[column].str());
        loaded.m_columnTypes[column] = ar.ReadU16();
    }

    const ULong rows = ar.ReadU32();
    const std::uint64_t cells = static_cast<std::uint64_t>(rows) * columns;
    if (cells * 4 + 4 > ar.GetBytesLeft()) {
        ThrowDamaged(ar, CString::Formatted("table '%s' declares %" PRIu32 " rows of %u columns but only %" PRIu64
                                            " bytes are left",
                                            name.c_str(), rows, static_cast<unsigned>(columns), ar.GetBytesLeft()));
    }
    ar.ReadU32();  // the highest ID is taken from the cells instead
    if (cells != 0) {
        loaded.m_pCells = std::make_unique_for_overwrite<ULong[]>(static_cast<std::size_t>(cells));
        ar.Read(loaded.m_pCells.get(), static_cast<std::size_t>(cells) * sizeof(ULong));
        if constexpr (std::endian::native != std::endian::little) {
            for (std::size_t i = 0; i < cells; ++i) loaded.m_pCells[i] = __builtin_bswap32(loaded.m_pCells[i]);
        }
    }
    loaded.m_bHighestKnown = false;
    loaded.m_nRows = loaded.m_nCapacity = rows;

    if (loaded.m_bRebuildStrings) {
        loaded.RebuildStrings();
        loaded.SortRowsByID();
    } else if (loaded.m_strings.GetCompact() != 0) {
        loaded.CountReferences();
    }

    std::vector<CTableIndex*> indexes = std::move(m_indexes);
    TakeFrom(loaded);
    m_indexes = std::move(indexes);
    m_nChangeCount = 0;
    TraceWrite("...Complete\n", false, false);
    RebuildIndexes();
}

void CTable::RebuildStrings() {
    // Each text cell gets its text from the pool as read (an id outside it reads as "") and
    // one reference in a fresh pool, which drops unused and duplicated texts of the file.
    CStringTable fresh;
    fresh.SetCompact(m_strings.GetCompact());
    if (m_strings.GetVerify()) fresh.SetVerify();
    fresh.Add("");
    for (std::uint16_t column = 1; column < GetColumnCount(); ++column) {
        if (!IsTextColumn(column)) continue;
        for (ULong row = 0; row < m_nRows; ++row) {
            ULong& cell = m_pCells[Cell(row, column)];
            cell = fresh.Add(m_strings.GetText(cell));
        }
    }
    m_strings = std::move(fresh);
}

void CTable::SortRowsByID() {
    const std::size_t width = m_columnTypes.size();
    const ULong* cells = m_pCells.get();
    bool sorted = true;
    for (ULong row = 1; row < m_nRows && sorted; ++row) sorted = cells[Cell(row - 1, 0)] <= cells[Cell(row, 0)];
    if (sorted) return;
    std::vector<ULong> order(m_nRows);
    std::iota(order.begin(), order.end(), ULong{0});
    std::stable_sort(order.begin(), order.end(),
                     [cells, width](ULong a, ULong b) { return cells[a * width] < cells[b * width]; });
    auto block = std::make_unique_for_overwrite<ULong[]>(static_cast<std::size_t>(m_nRows) * width);
    for (std::size_t row = 0; row < order.size(); ++row) {
        std::memcpy(&block[row * width], &cells[order[row] * width], width * sizeof(ULong));
    }
    m_pCells = std::move(block);
}

void CTable::CountReferences() {
    // A compact pool is read with no references at all, so the first purge would drop every
    // text still in use. Each text cell takes its reference here, as if it had been set.
    for (std::uint16_t column = 1; column < GetColumnCount(); ++column) {
        if (!IsTextColumn(column)) continue;
        for (ULong row = 0; row < m_nRows; ++row) {
            const ULong id = m_pCells[Cell(row, column)];
            if (id < m_strings.GetCount()) m_strings.Add(m_strings.GetText(id));
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Database

void CTableDatabase::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        Store(ar);
    } else {
        Load(ar);
    }
}

void CTableDatabase::Progress(int code, CallbackValue value) {
    if (!m_pfnProgress) return;
    m_pfnProgress(code, value, m_progressUser);
    if (code == kProgEnd) m_pfnProgress = nullptr;
}

void CTableDatabase::Store(CArchive& ar) {
    WriteScope busy(*this);
    TraceWrite("Saving database header to disk\n", false, false);
    ar.Write(kMagic, kMagicLength);
    m_nFormatMajor = kFormatMajor;
    m_nFormatMinor = kFormatMinor;
    ar.WriteU16(kFormatMajor);
    ar.WriteU16(m_nFormatMinor);
    ar.WriteU16(m_nVersionMajor);
    ar.WriteU16(m_nVersionMinor);
    ar.WriteU32(GetCount());
    Progress(kProgStart, reinterpret_cast<CallbackValue>("Saving Database"));
    Progress(kProgTotal, static_cast<CallbackValue>(GetCount()));
    for (ULong i = 0; i < GetCount(); ++i) {
        if (m_bTracing) (*this)[i].EnableStringCheck();
        (*this)[i].Serialize(ar);
        Progress(kProgTable, static_cast<CallbackValue>(i));
    }
    Progress(kProgEnd, 0);
    m_nChangeCount = 0;
}

void CTableDatabase::Load(CArchive& ar) {
    TraceWrite("Loading database header from disk\n", false, false);
    char magic[kMagicLength];
    ar.Read(magic, kMagicLength);
    if (std::memcmp(magic, kMagic, kMagicLength) != 0 && std::memcmp(magic, kOldMagic, kMagicLength) != 0) {
        throw CArchiveException(CString::Formatted("'%s' is not a database table file: it does not begin with \"%s\"",
                                                   ar.GetFile().GetFilePath().c_str(), kMagic));
    }
    const std::uint16_t major = ar.ReadU16();
    const std::uint16_t minor = ar.ReadU16();
    const int version = major * 100 + minor;
    std::uint16_t contentMajor = major;
    std::uint16_t contentMinor = minor;
    if (version >= 200) {
        contentMajor = ar.ReadU16();
        contentMinor = ar.ReadU16();
    }
    const ULong count = version < 210 ? ar.ReadU16() : ar.ReadU32();
    if (count > ar.GetBytesLeft() / kMinTableSection) {
        ThrowDamaged(ar, CString::Formatted("%" PRIu32 " tables declared but only %" PRIu64 " bytes are left", count,
                                            ar.GetBytesLeft()));
    }
    m_nFormatMajor = major;
    m_nFormatMinor = minor;
    SetVersion(contentMajor, contentMinor);

    // From here on a failure leaves no half-read list behind.
    struct EmptyOnFailure {
        CTableDatabase& db;
        bool done = false;
        ~EmptyOnFailure() {
            if (!done) db.RemoveAll();
        }
    } guard{*this};
    RemoveAll();
    const CTable blank;
    for (ULong i = 0; i < count; ++i) AddTable(blank);

    Progress(kProgStart, reinterpret_cast<CallbackValue>("Reading Database"));
    Progress(kProgTotal, static_cast<CallbackValue>(count));
    for (ULong i = 0; i < count; ++i) {
        if (m_bTracing) (*this)[i].EnableStringCheck();
        (*this)[i].Serialize(ar);
        Progress(kProgTable, static_cast<CallbackValue>(i));
    }
    Progress(kProgEnd, 0);
    RemoveDuplicates();
    m_nChangeCount = 0;
    guard.done = true;
}

void CTableDatabase::RemoveDuplicates() {
    // The first table of a name is kept. The trace names each removal in the order of a walk
    // that, for each kept table in turn, removes its later namesakes.
    const ULong count = GetCount();
    std::unordered_map<std::string, ULong> first;
    std::vector<ULong> removals(count, 0);
    std::vector<bool> keep(count, true);
    ULong kept = 0;
    for (ULong i = 0; i < count; ++i) {
        const auto [it, inserted] = first.emplace((*this)[i].GetName().str(), i);
        if (inserted) {
            ++kept;
        } else {
            keep[i] = false;
            ++removals[it->second];
        }
    }
    if (kept == count) return;
    for (ULong i = 0; i < count; ++i) {
        for (ULong n = 0; n < removals[i]; ++n)
            TracePrintf("Removing duplicated table %s\n", (*this)[i].GetName().c_str());
    }
    CDynaList<CTable> survivors;
    survivors.SetSize(kept);
    for (ULong i = 0; i < count; ++i) {
        if (keep[i]) survivors.Add(std::move((*this)[i]));
    }
    static_cast<CDynaList<CTable>&>(*this) = std::move(survivors);
    ++m_nChangeCount;
}
