// CStringTable: interning, the byte-ordered index, compaction, the verify trace, and the file
// form in both modes, including damaged input and the bulk load of compact pools.
#include "common/stringtable.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "common/dynalist.h"
#include "common/trace.h"
#include "platform/archive.h"
#include "platform/exceptions.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// Everything a caller can observe of a pool.
struct Snapshot {
    std::vector<std::string> texts;
    std::vector<ULong> refs;
    std::vector<ULong> index;
    bool operator==(const Snapshot&) const = default;
};

Snapshot Snap(const CStringTable& table) {
    Snapshot s;
    for (ULong id = 0; id < table.GetCount(); ++id) {
        s.texts.push_back(table.GetText(id).str());
        s.refs.push_back(table.GetRefCount(id));
        s.index.push_back(table.GetIndex(id));
    }
    return s;
}

void ExpectIndexSorted(const CStringTable& table) {
    for (ULong i = 1; i < table.GetCount(); ++i) {
        ASSERT_LT(std::strcmp(table.GetText(table.GetIndex(i - 1)), table.GetText(table.GetIndex(i))), 0)
            << "index position " << i;
    }
}

Bytes Stored(CStringTable table) {
    CMemFile file;
    CArchive ar(file, CArchive::store);
    table.Serialize(ar);
    ar.Close();
    return file.GetData();
}

void Load(CStringTable& table, const Bytes& bytes) {
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load);
    table.Serialize(ar);
}

// Builds a file section by hand: the compact flag, the count, then each text with, for a full
// pool, the index entry and reference count given.
struct Entry {
    std::string text;
    ULong index = 0;
    ULong refs = 0;
};
Bytes Section(ULong compact, const std::vector<Entry>& entries) {
    CMemFile file;
    CArchive ar(file, CArchive::store);
    ar.WriteU32(compact);
    ar.WriteU32(static_cast<ULong>(entries.size()));
    for (const Entry& e : entries) {
        ar.WriteString(e.text.data(), e.text.size());
        if (compact != 0) continue;
        ar.WriteU32(e.index);
        ar.WriteU32(e.refs);
    }
    ar.Close();
    return file.GetData();
}

// Captures what the trace receives while `action` runs.
template <typename Action>
std::string Traced(Action action) {
    const std::string path = testing::TempDir() + "norvik_strtrace_" + std::to_string(::getpid());
    std::remove(path.c_str());
    EXPECT_TRUE(TraceOpen(path.c_str()));
    action();
    TraceClose();
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::remove(path.c_str());
    return text.str();
}

TEST(CStringTable, AddOfExistingTextRaisesReferenceCount) {
    CStringTable table;
    const ULong abc = table.Add("abc");
    EXPECT_EQ(table.Add("xyz"), abc + 1);
    EXPECT_EQ(table.Add("abc"), abc);
    EXPECT_EQ(table.GetRefCount(abc), 2u);
    EXPECT_EQ(table.GetCount(), 2u);
    EXPECT_EQ(table.Add("ABC"), 2u) << "texts compare with case";
}

TEST(CStringTable, ReleaseStopsAtZeroAndIgnoresUnknownIds) {
    CStringTable table;
    const ULong id = table.Add("once");
    table.Release(id);
    table.Release(id);
    EXPECT_EQ(table.GetRefCount(id), 0u);
    table.Release(12345);
    EXPECT_EQ(table.GetCount(), 1u);
}

TEST(CStringTable, FindLeavesCountsAloneAndReportsMisses) {
    CStringTable table;
    EXPECT_EQ(table.Find("anything"), CStringTable::kNotFound) << "empty pool";
    const ULong id = table.Add("here");
    EXPECT_EQ(table.Find("here"), id);
    EXPECT_EQ(table.GetRefCount(id), 1u);
    EXPECT_EQ(table.Find("her"), CStringTable::kNotFound);
    EXPECT_EQ(table.Find("heres"), CStringTable::kNotFound);
    EXPECT_EQ(table.Find(nullptr), CStringTable::kNotFound);
    EXPECT_EQ(table.GetText(99), "") << "unknown ids read as the empty text";
}

TEST(CStringTable, IndexOrdersUnsignedBytesWithCase) {
    CStringTable table;
    for (const char* text : {"a", "\xE9t\xE9", "B", "", "ab", "A"}) table.Add(text);
    std::vector<std::string> ordered;
    for (ULong i = 0; i < table.GetCount(); ++i) ordered.push_back(table.GetText(table.GetIndex(i)).str());
    EXPECT_EQ(ordered, (std::vector<std::string>{"", "A", "B", "a", "ab", "\xE9t\xE9"}));
    EXPECT_EQ(table.GetIndex(6), CStringTable::kNotFound);
}

TEST(CStringTable, TextsAreCutTo4096Characters) {
    CStringTable table;
    const std::string longText(5000, 'k');
    const ULong id = table.Add(longText.c_str());
    EXPECT_EQ(table.GetText(id).GetLength(), 4096);
    EXPECT_EQ(table.Find(std::string(4096, 'k').c_str()), id);
    EXPECT_EQ(table.Find((std::string(4096, 'k') + "other tail").c_str()), id);
    EXPECT_EQ(table.Find(std::string(4095, 'k').c_str()), CStringTable::kNotFound);
}

// Drives the power-of-two search through every pool size around the strides' edges.
TEST(CStringTable, SearchAgreesWithAnOrderedMapAtEverySize) {
    std::mt19937 random(7);
    for (int size = 0; size <= 70; ++size) {
        CStringTable table;
        std::map<std::string, ULong> expected;
        for (int i = 0; i < size; ++i) {
            const std::string text = std::to_string(random() % 100000);
            const ULong id = table.Add(text.c_str());
            expected.emplace(text, id);
            ASSERT_EQ(id, expected.at(text));
        }
        ExpectIndexSorted(table);
        for (const auto& [text, id] : expected) ASSERT_EQ(table.Find(text.c_str()), id) << text;
        for (int miss = 0; miss < 20; ++miss) {
            const std::string probe = std::to_string(random() % 100000) + "x";
            ASSERT_EQ(table.Find(probe.c_str()), CStringTable::kNotFound);
        }
        ASSERT_EQ(table.Find(""), CStringTable::kNotFound);
        ASSERT_EQ(table.Find("\xFF"), CStringTable::kNotFound);
    }
}

TEST(CStringTable, CompactDropsUnreferencedTextsAndMapsIds) {
    CStringTable table;
    for (const char* text : {"d", "a", "c", "b", "e"}) table.Add(text);
    table.Add("c");
    table.Release(table.Find("a"));
    table.Release(table.Find("e"));
    const std::vector<ULong> map = table.Compact();
    EXPECT_EQ(map, (std::vector<ULong>{0, CStringTable::kNotFound, 1, 2, CStringTable::kNotFound}));
    EXPECT_EQ(Snap(table), (Snapshot{{"d", "c", "b"}, {1, 2, 1}, {2, 1, 0}}));
    EXPECT_EQ(table.GetCapacity(), 3u);
    EXPECT_EQ(table.Add("a"), 3u) << "a full compacted pool grows again";
    ExpectIndexSorted(table);
}

TEST(CStringTable, CopyTakesEverythingWithCapacityEqualToCount) {
    CStringTable table;
    table.SetCompact(1);
    table.SetVerify();
    for (const char* text : {"x", "y", "x"}) table.Add(text);
    CStringTable copy;
    copy.Add("old");
    copy = table;
    EXPECT_EQ(Snap(copy), Snap(table));
    EXPECT_EQ(copy.GetCapacity(), 2u);
    EXPECT_EQ(copy.GetCompact(), 1u);
    EXPECT_TRUE(copy.GetVerify());
}

TEST(CStringTable, GrowsByTheSharedRule) {
    CStringTable table;
    for (int i = 0; i < 11; ++i) table.Add(std::to_string(i).c_str());
    EXPECT_EQ(table.GetCapacity(), 20u);
}

TEST(CStringTable, FullFormLaysOutTextsIndexAndCounts) {
    CStringTable table;
    table.Add("b");
    table.Add("a");
    table.Add("a");
    const Bytes expected = {0, 0, 0, 0, 2, 0, 0, 0, 1, 'b', 1, 0, 0, 0, 1, 0, 0, 0, 1, 'a', 0, 0, 0, 0, 2, 0, 0, 0};
    EXPECT_EQ(Stored(table), expected);
    EXPECT_EQ(table.GetSerializedSize(), expected.size());
    table.SetCompact(1);
    const Bytes compact = {1, 0, 0, 0, 2, 0, 0, 0, 1, 'b', 1, 'a'};
    EXPECT_EQ(Stored(table), compact);
    EXPECT_EQ(table.GetSerializedSize(), compact.size());
}

TEST(CStringTable, SerializedSizeMatchesTheBytesWrittenForEveryLengthBand) {
    for (ULong compact : {0u, 1u}) {
        CStringTable table;
        table.SetCompact(compact);
        for (std::size_t length : {0, 1, 254, 255, 4096}) table.Add(std::string(length, 'v').c_str());
        EXPECT_EQ(table.GetSerializedSize(), Stored(table).size()) << "compact " << compact;
    }
}

TEST(CStringTable, FullFormRoundTripKeepsIdsCountsAndIndex) {
    CStringTable table;
    for (const char* text : {"zeta", "", "Alpha", "alpha", "zeta"}) table.Add(text);
    table.Release(table.Find(""));
    CStringTable back;
    back.Add("replaced");
    Load(back, Stored(table));
    EXPECT_EQ(Snap(back), Snap(table));
    EXPECT_EQ(back.GetCompact(), 0u);
}

TEST(CStringTable, FullFormLoadCutsLongTexts) {
    CStringTable table;
    Load(table, Section(0, {{std::string(5000, 'L'), 0, 3}}));
    EXPECT_EQ(table.GetText(0).GetLength(), 4096);
    EXPECT_EQ(table.GetRefCount(0), 3u);
}

TEST(CStringTable, CompactLoadMergesDuplicatesWithNoReferences) {
    CStringTable table;
    Load(table, Section(1, {{"pear"}, {"apple"}, {"pear"}, {""}, {"apple"}, {"fig"}}));
    EXPECT_EQ(Snap(table), (Snapshot{{"pear", "apple", "", "fig"}, {0, 0, 0, 0}, {2, 1, 3, 0}}));
    EXPECT_EQ(table.GetCompact(), 1u);
}

// The compact load must give exactly what Add followed by Release gives, text by text, including
// when the pool already holds texts (a table's pool starts with "" in it).
TEST(CStringTable, CompactLoadEqualsAddingAndReleasingEachText) {
    std::mt19937 random(11);
    for (int round = 0; round < 30; ++round) {
        std::vector<Entry> entries;
        const int count = static_cast<int>(random() % 400);
        for (int i = 0; i < count; ++i) {
            std::string text = std::to_string(random() % 150);
            if (random() % 10 == 0) text = std::string(4096 + random() % 3, 'c');  // equal after the cut
            if (random() % 20 == 0) text = std::string("nul\0tail", 8) + std::to_string(random() % 2);
            entries.push_back({text});
        }
        CStringTable loaded;
        CStringTable expected;
        for (CStringTable* table : {&loaded, &expected}) {
            table->Add("");
            table->Add("42");
            table->Add("42");
            if (round % 2) table->Add(std::string(4096, 'c').c_str());
        }
        // Loading first makes room for the count read, then grows as Add would.
        ULong capacity = std::max(loaded.GetCapacity(), static_cast<ULong>(count));
        Load(loaded, Section(1, entries));
        for (const Entry& e : entries) expected.Release(expected.Add(std::string(e.text).c_str()));
        ASSERT_EQ(Snap(loaded), Snap(expected)) << "round " << round;
        while (capacity < expected.GetCount()) capacity = DynaGrowCapacity(capacity);
        ASSERT_EQ(loaded.GetCapacity(), capacity) << "round " << round;
        ExpectIndexSorted(loaded);
    }
}

TEST(CStringTable, CompactLoadIntoAPoolWithADisorderedIndexStillMatchesOneByOne) {
    const Bytes damaged = Section(0, {{"m", 1, 1}, {"a", 0, 1}, {"z", 2, 1}});  // index says m < a
    CStringTable loaded;
    CStringTable expected;
    Load(loaded, damaged);
    Load(expected, damaged);
    const std::vector<Entry> entries = {{"a"}, {"b"}, {"m"}, {"b"}};
    Load(loaded, Section(1, entries));
    for (const Entry& e : entries) expected.Release(expected.Add(e.text.c_str()));
    EXPECT_EQ(Snap(loaded), Snap(expected));
}

TEST(CStringTable, CompactLoadOfManyTextsStaysFast) {
    // One-by-one insertion would shift the index for each of 200,000 new texts.
    std::vector<Entry> entries;
    std::mt19937 random(3);
    for (int i = 0; i < 200000; ++i) entries.push_back({"text " + std::to_string(random())});
    CStringTable table;
    Load(table, Section(1, entries));
    EXPECT_GT(table.GetCount(), 190000u);
    ExpectIndexSorted(table);
    EXPECT_EQ(table.Find(entries[123].text.c_str()), table.Find(entries[123].text.c_str()));
    EXPECT_NE(table.Find(entries[123].text.c_str()), CStringTable::kNotFound);
}

TEST(CStringTable, EveryTruncatedSectionThrowsAndLeavesThePoolAlone) {
    CStringTable source;
    for (const char* text : {"one", "two", "three"}) source.Add(text);
    for (ULong compact : {0u, 1u}) {
        source.SetCompact(compact);
        const Bytes whole = Stored(source);
        for (std::size_t cut = 0; cut < whole.size(); ++cut) {
            CStringTable table;
            table.Add("kept");
            const Snapshot before = Snap(table);
            EXPECT_THROW(Load(table, Bytes(whole.begin(), whole.begin() + static_cast<long>(cut))), CArchiveException)
                << "compact " << compact << ", cut at " << cut;
            EXPECT_EQ(Snap(table), before) << "compact " << compact << ", cut at " << cut;
        }
    }
}

TEST(CStringTable, AbsurdCountsThrowBeforeAllocating) {
    struct Case {
        Bytes bytes;
        const char* why;
    };
    const Case cases[] = {
        {{1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0}, "compact count beyond the bytes left"},
        {{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "full count beyond the bytes left"},
        {{0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "two entries need at least 18 bytes"},
        {{1, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, "text longer than the file"},
    };
    for (const Case& c : cases) {
        CStringTable table;
        EXPECT_THROW(Load(table, c.bytes), CArchiveException) << c.why;
        EXPECT_EQ(table.GetCount(), 0u) << c.why;
    }
}

TEST(CStringTable, DamagedIndexThrowsUnlessVerifyRebuildsIt) {
    const std::vector<std::vector<Entry>> damaged = {
        {{"a", 0, 1}, {"b", 7, 1}},  // id out of range
        {{"a", 1, 1}, {"b", 1, 1}},  // id listed twice
    };
    for (const auto& entries : damaged) {
        CStringTable strict;
        EXPECT_THROW(Load(strict, Section(0, entries)), CArchiveException);
        EXPECT_EQ(strict.GetCount(), 0u);

        CStringTable verified;
        verified.SetVerify();
        const std::string trace = Traced([&] { Load(verified, Section(0, entries)); });
        EXPECT_EQ(trace, "Fixed corrupt String Table Index in ");
        EXPECT_EQ(Snap(verified), (Snapshot{{"a", "b"}, {1, 1}, {0, 1}}));
    }
}

TEST(CStringTable, VerifiedRebuildReportsWhetherTheIndexWasRight) {
    CStringTable table;
    table.SetVerify();
    EXPECT_EQ(Traced([&] { Load(table, Section(0, {{"b", 1, 1}, {"a", 0, 1}})); }), "No String Index errors in ");
    EXPECT_EQ(Traced([&] {
                  Load(table, Section(0, {{"b", 0, 1}, {"a", 1, 1}}));
              }),
              "Fixed corrupt String Table Index in ");
    EXPECT_EQ(table.GetIndex(0), 1u);
    EXPECT_EQ(table.GetIndex(1), 0u);

    CStringTable quiet;
    EXPECT_EQ(Traced([&] {
                  Load(quiet, Section(0, {{"b", 0, 1}, {"a", 1, 1}}));
              }),
              "")
        << "without the verify flag the stored index is taken as it is";
    EXPECT_EQ(quiet.GetIndex(0), 0u);
    quiet.RebuildIndex();
    EXPECT_EQ(quiet.GetIndex(0), 1u);
    EXPECT_EQ(quiet.Find("a"), 1u);
}

}  // namespace
