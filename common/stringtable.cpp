// CStringTable: interning, the power-of-two search, compaction, index rebuilds and the file form.
#include "common/stringtable.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iterator>
#include <numeric>
#include <utility>

#include "common/dynalist.h"
#include "common/trace.h"
#include "platform/archive.h"
#include "platform/exceptions.h"

namespace {

// Orders `key` (`length` bytes, no zero byte among them) against `text`, both taken as
// zero-terminated strings of unsigned bytes: <0, 0 or >0. A text read from a file may hold a
// zero byte; like every other comparison of the pool, this one stops there.
int CompareKey(const char* key, std::size_t length, const CString& text) {
    const int order = std::strncmp(key, text.c_str(), length);
    if (order != 0) return order;
    // The first `length` bytes match and hold no zero byte, so text has at least that many.
    return text.c_str()[length] == '\0' ? 0 : -1;
}

bool TextLess(const CString& a, const CString& b) { return std::strcmp(a.c_str(), b.c_str()) < 0; }

// What Add makes of a text read from a file: cut at a zero byte and at the length limit.
void CutForAdd(CString& text) {
    std::string& bytes = text.str();
    bytes.resize(strnlen(bytes.c_str(), std::min(bytes.size(), CStringTable::kMaxTextLength)));
}

[[noreturn]] void ThrowTooMany(const char* what, ULong count, std::uint64_t left) {
    throw CArchiveException(CString::Formatted(
        "String table of %" PRIu32 " %s cannot fit in the %" PRIu64 " bytes left", count, what, left));
}

}  // namespace

CStringTable::CStringTable(const CStringTable& other)
    : m_nCompact(other.m_nCompact),
      m_nCapacity(other.GetCount()),
      m_texts(other.m_texts),
      m_refs(other.m_refs),
      m_index(other.m_index),
      m_bVerify(other.m_bVerify) {}

CStringTable& CStringTable::operator=(const CStringTable& other) {
    if (this != &other) *this = CStringTable(other);
    return *this;
}

CStringTable::CStringTable(CStringTable&& other) noexcept
    : m_nCompact(other.m_nCompact),
      m_nCapacity(std::exchange(other.m_nCapacity, 0)),
      m_texts(std::move(other.m_texts)),
      m_refs(std::move(other.m_refs)),
      m_index(std::move(other.m_index)),
      m_bVerify(other.m_bVerify) {}

CStringTable& CStringTable::operator=(CStringTable&& other) noexcept {
    if (this == &other) return *this;
    m_nCompact = other.m_nCompact;
    m_nCapacity = std::exchange(other.m_nCapacity, 0);
    m_texts = std::move(other.m_texts);
    m_refs = std::move(other.m_refs);
    m_index = std::move(other.m_index);
    m_bVerify = other.m_bVerify;
    other.m_texts.clear();
    other.m_refs.clear();
    other.m_index.clear();
    return *this;
}

ULong CStringTable::Search(const char* key, std::size_t length) const {
    // Strides halve from the smallest power of two covering the index. Positions past the end
    // act as "greater than the key", so no bounds are tracked; the position never goes below 0.
    const std::uint64_t count = m_index.size();
    std::uint64_t stride = 1;
    while (stride < count) stride <<= 1;
    std::int64_t position = -1;
    bool up = true;
    for (; stride != 0; stride >>= 1) {
        position = up ? position + static_cast<std::int64_t>(stride) : position - static_cast<std::int64_t>(stride);
        if (static_cast<std::uint64_t>(position) < count) {
            const int order = CompareKey(key, length, m_texts[m_index[static_cast<std::size_t>(position)]]);
            if (order == 0) return static_cast<ULong>(position);
            up = order > 0;
        } else {
            up = false;
        }
    }
    return static_cast<ULong>(up ? position + 1 : position);
}

ULong CStringTable::Find(const char* text) const {
    if (!text) text = "";
    const std::size_t length = strnlen(text, kMaxTextLength);
    const ULong position = Search(text, length);
    if (position >= m_index.size()) return kNotFound;
    const ULong id = m_index[position];
    return CompareKey(text, length, m_texts[id]) == 0 ? id : kNotFound;
}

ULong CStringTable::Add(const char* text) {
    if (!text) text = "";
    const std::size_t length = strnlen(text, kMaxTextLength);
    const ULong position = Search(text, length);
    if (position < m_index.size()) {
        const ULong id = m_index[position];
        if (CompareKey(text, length, m_texts[id]) == 0) {
            ++m_refs[id];
            return id;
        }
    }
    if (m_texts.size() >= m_nCapacity) Grow(0);
    // Grow reserved room in all three arrays, so nothing below can fail half-way.
    const ULong id = GetCount();
    m_texts.emplace_back(std::string_view(text, length));
    m_refs.push_back(1);
    m_index.insert(m_index.begin() + position, id);
    return id;
}

void CStringTable::Release(ULong id) {
    if (id < m_refs.size() && m_refs[id] != 0) --m_refs[id];
}

const CString& CStringTable::GetText(ULong id) const {
    static const CString empty;
    return id < m_texts.size() ? m_texts[id] : empty;
}

ULong CStringTable::GetRefCount(ULong id) const { return id < m_refs.size() ? m_refs[id] : 0; }

ULong CStringTable::GetIndex(ULong position) const { return position < m_index.size() ? m_index[position] : kNotFound; }

std::vector<ULong> CStringTable::Compact() {
    std::vector<ULong> map(m_texts.size(), kNotFound);
    ULong kept = 0;
    for (std::size_t id = 0; id < m_texts.size(); ++id) {
        if (m_refs[id] != 0) map[id] = kept++;
    }
    std::vector<CString> texts;
    std::vector<ULong> refs;
    std::vector<ULong> index;
    texts.reserve(kept);
    refs.reserve(kept);
    index.reserve(kept);
    for (std::size_t id = 0; id < m_texts.size(); ++id) {
        if (map[id] == kNotFound) continue;
        texts.push_back(std::move(m_texts[id]));
        refs.push_back(m_refs[id]);
    }
    // Dropping entries from a sorted index leaves it sorted: only the ids need renumbering.
    for (ULong id : m_index) {
        if (map[id] != kNotFound) index.push_back(map[id]);
    }
    m_texts = std::move(texts);
    m_refs = std::move(refs);
    m_index = std::move(index);
    m_nCapacity = kept;
    return map;
}

void CStringTable::RebuildIndex() {
    try {
        std::vector<ULong> sorted(m_texts.size());
        std::iota(sorted.begin(), sorted.end(), ULong{0});
        // Equal texts can only come from a damaged file; the id decides so the result is repeatable.
        std::sort(sorted.begin(), sorted.end(), [this](ULong a, ULong b) {
            const int order = std::strcmp(m_texts[a].c_str(), m_texts[b].c_str());
            return order != 0 ? order < 0 : a < b;
        });
        if (m_bVerify) {
            TraceWrite(sorted == m_index ? "No String Index errors in " : "Fixed corrupt String Table Index in ", false,
                       false);
        }
        m_index = std::move(sorted);
    } catch (const std::exception& e) {
        TracePrintf("*** Failed to rebuild String Table index - %.256s ***...", e.what());
    }
}

void CStringTable::RemoveAll() {
    m_texts = {};
    m_refs = {};
    m_index = {};
    m_nCapacity = 0;
}

void CStringTable::Grow(ULong request) {
    const ULong capacity = DynaGrowCapacity(m_nCapacity, request);
    m_texts.reserve(capacity);
    m_refs.reserve(capacity);
    m_index.reserve(capacity);
    m_nCapacity = capacity;
}

ULong CStringTable::GetSerializedSize() const {
    std::uint64_t size = 8;
    for (const CString& text : m_texts) size += CArchive::GetStringSize(text.str().size());
    if (m_nCompact == 0) size += 8 * static_cast<std::uint64_t>(m_texts.size());
    return static_cast<ULong>(size);
}

void CStringTable::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        Store(ar);
        return;
    }
    const ULong compact = ar.ReadU32();
    if (compact != 0) {
        LoadCompact(ar);
    } else {
        LoadFull(ar);
    }
    m_nCompact = compact;
}

void CStringTable::Store(CArchive& ar) const {
    ar.WriteU32(m_nCompact);
    ar.WriteU32(GetCount());
    for (std::size_t id = 0; id < m_texts.size(); ++id) {
        ar.WriteString(m_texts[id]);
        if (m_nCompact != 0) continue;
        ar.WriteU32(m_index[id]);
        ar.WriteU32(m_refs[id]);
    }
}

void CStringTable::LoadCompact(CArchive& ar) {
    const ULong count = ar.ReadU32();
    // Every text takes at least its one-byte length.
    if (count > ar.GetBytesLeft()) ThrowTooMany("texts", count, ar.GetBytesLeft());
    std::vector<CString> texts;
    texts.reserve(std::min<ULong>(count, 65536));
    for (ULong i = 0; i < count; ++i) {
        texts.emplace_back();
        ar.ReadString(texts.back().str());
        CutForAdd(texts.back());
    }
    if (count > m_nCapacity) Grow(count);
    InternAll(texts);
}

void CStringTable::InternAll(std::vector<CString>& incoming) {
    // The result must be what Add followed by Release gives for each text in turn: new texts
    // get ids in order of first appearance and no references, known texts keep their counts,
    // and the index stays sorted. Doing that one text at a time shifts the index for every new
    // text, which is quadratic for a large table; sorting the newcomers once and merging them
    // into the index gives the same pool. Only an index already out of order (a damaged pool)
    // would make the one-at-a-time searches differ, so that case takes the slow road.
    if (!IndexInOrder()) {
        for (const CString& text : incoming) Release(Add(text));
        return;
    }
    const std::size_t total = incoming.size();
    std::vector<ULong> order(total);
    std::iota(order.begin(), order.end(), ULong{0});
    std::sort(order.begin(), order.end(), [&incoming](ULong a, ULong b) {
        const int cmp = std::strcmp(incoming[a].c_str(), incoming[b].c_str());
        return cmp != 0 ? cmp < 0 : a < b;
    });

    // The first appearance of each text the pool lacks becomes a new entry.
    std::vector<bool> fresh(total, false);
    ULong freshCount = 0;
    for (std::size_t i = 0; i < total;) {
        const CString& text = incoming[order[i]];
        std::size_t next = i + 1;
        while (next < total && std::strcmp(incoming[order[next]].c_str(), text.c_str()) == 0) ++next;
        if (Find(text) == kNotFound) {
            fresh[order[i]] = true;
            ++freshCount;
        }
        i = next;
    }

    const ULong first = GetCount();
    ULong capacity = m_nCapacity;
    while (static_cast<std::uint64_t>(first) + freshCount > capacity) capacity = DynaGrowCapacity(capacity);
    std::vector<ULong> idOf(total, kNotFound);
    ULong nextId = first;
    for (std::size_t i = 0; i < total; ++i) {
        if (fresh[i]) idOf[i] = nextId++;
    }
    std::vector<ULong> freshInOrder;
    freshInOrder.reserve(freshCount);
    for (ULong i : order) {
        if (fresh[i]) freshInOrder.push_back(idOf[i]);
    }
    std::vector<ULong> index;
    index.reserve(capacity);
    m_texts.reserve(capacity);
    m_refs.reserve(capacity);

    // Nothing below allocates: the pool changes only once every allocation has succeeded.
    m_nCapacity = capacity;
    for (std::size_t i = 0; i < total; ++i) {
        if (!fresh[i]) continue;
        m_texts.push_back(std::move(incoming[i]));
        m_refs.push_back(0);
    }
    std::merge(m_index.begin(), m_index.end(), freshInOrder.begin(), freshInOrder.end(), std::back_inserter(index),
               [this](ULong a, ULong b) { return TextLess(m_texts[a], m_texts[b]); });
    m_index = std::move(index);
}

void CStringTable::LoadFull(CArchive& ar) {
    const ULong count = ar.ReadU32();
    // Every entry takes at least its one-byte length and two u32 values.
    if (count > ar.GetBytesLeft() / 9) ThrowTooMany("entries", count, ar.GetBytesLeft());
    CStringTable loaded;
    loaded.m_bVerify = m_bVerify;
    loaded.m_nCapacity = count;
    loaded.m_texts.resize(count);
    loaded.m_refs.resize(count);
    loaded.m_index.resize(count);
    for (ULong i = 0; i < count; ++i) {
        std::string& text = loaded.m_texts[i].str();
        ar.ReadString(text);
        if (text.size() > kMaxTextLength) text.resize(kMaxTextLength);
        loaded.m_index[i] = ar.ReadU32();
        loaded.m_refs[i] = ar.ReadU32();
    }
    if (loaded.m_bVerify) loaded.RebuildIndex();
    // Searches trust the index to name every id once; a damaged one must not get that far.
    if (!loaded.IndexIsPermutation()) {
        throw CArchiveException(CString::Formatted("String table index of %" PRIu32 " entries is damaged", count));
    }
    loaded.m_nCompact = m_nCompact;
    *this = std::move(loaded);
}

bool CStringTable::IndexInOrder() const {
    for (std::size_t i = 1; i < m_index.size(); ++i) {
        if (!TextLess(m_texts[m_index[i - 1]], m_texts[m_index[i]])) return false;
    }
    return true;
}

bool CStringTable::IndexIsPermutation() const {
    if (m_index.size() != m_texts.size()) return false;
    std::vector<bool> seen(m_index.size(), false);
    for (ULong id : m_index) {
        if (id >= seen.size() || seen[id]) return false;
        seen[id] = true;
    }
    return true;
}
