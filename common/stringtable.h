// CStringTable: the pool of distinct texts that a Knowledge Base table's text cells point into,
// with a reference count per text and an index of the texts in byte order.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/cstring.h"
#include "platform/types.h"

class CArchive;

// Texts are addressed by string id, their position in the pool. Texts are unique (exact,
// case-sensitive) and at most kMaxTextLength characters: every entry path cuts longer ones.
// The index lists the ids in ascending order of their texts compared as zero-terminated
// unsigned bytes, so "B" comes before "a". The caller owns the pool; one thread at a time.
//
// File form (little-endian; "string" is CArchive's string form):
//
//   u32  compact flag
//   u32  count
//   count times:  string text;  and, only when the compact flag is 0:  u32 index[i], u32 refs[i]
//
// A compact pool stores only its texts; reading one re-interns them, so duplicates fall
// together and every text read starts with no references.
class NORVIK_API CStringTable {
public:
    static constexpr ULong kNotFound = 0xFFFFFFFF;
    static constexpr std::size_t kMaxTextLength = 4096;

    CStringTable() = default;
    // Copies flags, texts, counts and index; the copy's capacity is its count.
    CStringTable(const CStringTable& other);
    CStringTable& operator=(const CStringTable& other);
    // Moving leaves the source empty, flags kept.
    CStringTable(CStringTable&& other) noexcept;
    CStringTable& operator=(CStringTable&& other) noexcept;

    // The id of the text equal to `text` (cut to kMaxTextLength), or kNotFound.
    // Does not allocate and does not touch reference counts. A null text is taken as "".
    ULong Find(const char* text) const;
    // Interns `text` (cut to kMaxTextLength): an equal text gets one more reference and keeps
    // its id; a new one is appended with one reference. Returns the id.
    ULong Add(const char* text);
    // Takes one reference from `id`, never going below zero. Unknown ids are ignored.
    void Release(ULong id);

    // The text of `id`; the empty text for an id outside the pool.
    // The reference stays valid until the pool next changes.
    const CString& GetText(ULong id) const;
    ULong GetCount() const { return static_cast<ULong>(m_texts.size()); }
    ULong GetCapacity() const { return m_nCapacity; }
    // References held on `id`; 0 for an id outside the pool.
    ULong GetRefCount(ULong id) const;
    // The id at `position` of the index; kNotFound outside it.
    ULong GetIndex(ULong position) const;

    // Drops every text without references. Survivors keep their order, counts and index order.
    // Returns one entry per old id: its new id, or kNotFound when it was dropped.
    std::vector<ULong> Compact();
    // Sorts the index again from the texts. With the verify flag set, the trace is told
    // whether the old index agreed ("No String Index errors in ") or not ("Fixed corrupt
    // String Table Index in "); the caller's trace line goes on with the table's name.
    // A failure (out of memory) is traced and leaves the pool as it was.
    void RebuildIndex();
    // Empties the pool and releases its storage; the flags are kept.
    void RemoveAll();

    void SetVerify() { m_bVerify = 1; }
    bool GetVerify() const { return m_bVerify != 0; }
    ULong GetCompact() const { return m_nCompact; }
    void SetCompact(ULong compact) { m_nCompact = compact; }

    // Bytes that Serialize writes with the current compact flag.
    ULong GetSerializedSize() const;
    // Storing writes the file form above. Loading reads the compact flag and, when nonzero,
    // adds the texts to what the pool already holds; when zero, replaces the pool with the
    // entries as stored (and rebuilds the index when the verify flag is set).
    // Loading throws CArchiveException for data that runs short, counts larger than the bytes
    // left could hold, or (without the verify flag) an index that is not a permutation of the
    // ids; the pool is then unchanged.
    void Serialize(CArchive& ar);

private:
    // Index position where a text of `length` bytes at `key` is, or would be inserted.
    ULong Search(const char* key, std::size_t length) const;
    void Grow(ULong request);
    void Store(CArchive& ar) const;
    void LoadCompact(CArchive& ar);
    void LoadFull(CArchive& ar);
    void InternAll(std::vector<CString>& texts);
    bool IndexInOrder() const;
    bool IndexIsPermutation() const;

    ULong m_nCompact = 0;
    ULong m_nCapacity = 0;
    std::vector<CString> m_texts;
    std::vector<ULong> m_refs;
    std::vector<ULong> m_index;
    ULong m_bVerify = 0;
};
