// The table file: exact bytes, round trips, older layouts, the string check and damaged files.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "kb/table.h"
#include "kb/tabledb.h"
#include "kb_files.h"
#include "platform/exceptions.h"

namespace {

using kbtest::Bytes;
using kbtest::Read;
using kbtest::TraceCapture;
using kbtest::Written;

const std::string kIds = "IDS Database Table File. Do not edit";
const std::string kPmd = "PMD Database Table File. Do not edit";

// One hand-made table section; the overrides write a damaged count in place of the true one.
struct Section {
    struct Entry {
        std::string text;
        ULong index = 0, refs = 0;
    };
    ULong compactStrings = 0, poolCompact = 0;
    std::vector<Entry> pool = {{"", 0, 1}};
    std::string name = "T";
    std::vector<std::pair<std::string, std::uint16_t>> columns = {{"ID", CTable::typeNumber}};
    std::vector<std::vector<ULong>> rows;
    ULong highestID = 0;
    std::optional<ULong> poolCount, rowCount;
    std::optional<std::uint16_t> columnCount;
};

// A whole file in the layout of format major.minor: content version (4.0) from 2.00 on, a
// 16-bit table count before 2.10.
Bytes File(const std::vector<Section>& sections, std::uint16_t major = 2, std::uint16_t minor = 10,
           const std::string& magic = kIds, std::optional<ULong> tableCount = {}) {
    kbtest::ByteBuilder b;
    b.Raw(magic).U16(major).U16(minor);
    if (major * 100 + minor >= 200) b.U16(4).U16(0);
    const ULong count = tableCount.value_or(static_cast<ULong>(sections.size()));
    if (major * 100 + minor < 210) {
        b.U16(static_cast<std::uint16_t>(count));
    } else {
        b.U32(count);
    }
    for (const Section& s : sections) {
        b.U32(s.compactStrings).U32(s.poolCompact).U32(s.poolCount.value_or(static_cast<ULong>(s.pool.size())));
        for (const Section::Entry& e : s.pool) {
            b.Str(e.text);
            if (s.poolCompact == 0) b.U32(e.index).U32(e.refs);
        }
        b.Str(s.name).U16(s.columnCount.value_or(static_cast<std::uint16_t>(s.columns.size())));
        for (const auto& [name, type] : s.columns) b.Str(name).U16(type);
        b.U32(s.rowCount.value_or(static_cast<ULong>(s.rows.size()))).U32(s.highestID);
        for (const auto& row : s.rows) {
            for (ULong cell : row) b.U32(cell);
        }
    }
    return b.bytes();
}

// A CAT table of two rows, byte by byte.
Section CatSection(const std::string& name = "CAT") {
    Section s;
    s.name = name;
    s.pool = {{"", 0, 3}, {"PC", 1, 1}, {"Printer", 2, 1}};
    s.columns = {{"ID", 1}, {"NAME", CTable::typeText}, {"TYPE", 1}};
    s.rows = {{1, 1, 1}, {2, 2, 0}};
    s.highestID = 2;
    return s;
}

// Has the database read `bytes`, expecting CArchiveException; returns its message.
std::string ReadFailure(CTableDatabase& db, const Bytes& bytes) {
    try {
        Read(db, bytes);
    } catch (const CArchiveException& e) {
        return e.GetErrorMessage().str();
    }
    ADD_FAILURE() << "no CArchiveException";
    return {};
}

TEST(TableFile, WriteReadWriteIsByteForByte) {
    // Strings in all three length forms (texts are cut at 4096, names are not), shared texts,
    // deleted rows, a compact pool, and enough rows to cross many archive buffers.
    CTableDatabase db;
    db.SetVersion(4, 0);
    db.AddTable(kbtest::MakeTable("CAT", {{"NAME", CTable::typeText}, {"TYPE", 1}}, {{"PC", "1"}, {"Printer", "0"}}));
    CTable files("SYSFILE");
    files.AddColumn("NAME", CTable::typeText);
    files.AddColumn(std::string(70000, 'c').c_str(), CTable::typeNumber);
    for (ULong i = 0; i < 3000; ++i) {
        files.SetText(files.AddRow(), 1,
                      i % 3 ? kbtest::Numbered("f", i % 700).c_str() : std::string(300, 'p').c_str());
        files.SetValue(i, 2, i * 2654435761u);
    }
    db.AddTable(files);
    for (ULong i = 0; i < 3000; i += 7) db[1].DeleteRow(i);  // after the copy, which would purge them
    CTable compact("SWSERIAL");
    compact.AddColumn("APPNAME", CTable::typeText);
    compact.SetCompactStrings(1);
    for (const char* name : {"zeta", "alpha", "zeta", ""}) compact.SetText(compact.AddRow(), 1, name);
    db.AddTable(compact);

    const Bytes first = Written(db);
    std::size_t expectedSize = File({}).size();
    for (const CTable& table : db) expectedSize += table.GetSerializedSize();
    EXPECT_EQ(first.size(), expectedSize);
    EXPECT_EQ(db.GetChangeCount(), 0u);

    CTableDatabase loaded;
    Read(loaded, first);
    EXPECT_EQ(loaded.GetChangeCount(), 0u) << "nothing to save after a load";
    ASSERT_EQ(loaded.GetCount(), 3u);
    EXPECT_EQ(loaded[1].GetRowCount(), 3000u - 429u) << "deleted rows are not written";
    const int row = loaded[1].FindRow(6);
    EXPECT_EQ(loaded[1].GetText(row, 1), "f5");
    EXPECT_EQ(loaded[1].GetValue(row, 2), 5u * 2654435761u);
    EXPECT_EQ(loaded[2].GetText(2, 1), "zeta");
    EXPECT_TRUE(Written(loaded) == first);
}

TEST(TableFile, OlderLayoutsLoadWithTheirVersionsAndAreWrittenInTheCurrentOne) {
    // Before 2.00 the content version is the format version; before 2.10 the table count is 16 bits.
    const struct {
        std::string magic;
        std::uint16_t major, minor, content;
    } cases[] = {{kIds, 1, 50, 150}, {kIds, 2, 5, 400}, {kIds, 2, 10, 400}, {kPmd, 2, 10, 400}, {kPmd, 1, 50, 150}};
    for (const auto& c : cases) {
        const std::string label = c.magic.substr(0, 3) + " " + std::to_string(c.major) + "." + std::to_string(c.minor);
        Section make = CatSection("MAKE");
        make.rows = {{7, 2, 1}};
        CTableDatabase db;
        db.AddTable(CTable("OLD"));
        Read(db, File({CatSection(), make}, c.major, c.minor, c.magic));
        ASSERT_EQ(db.GetCount(), 2u) << label;
        EXPECT_EQ(db[0].GetText(1, 1), "Printer") << label;
        EXPECT_EQ(db[1].GetName(), "MAKE") << label;
        EXPECT_EQ(db[1].GetHighestID(), 7u) << label;
        std::uint16_t major = 0, minor = 0;
        db.GetVersion(major, minor);
        EXPECT_EQ(major * 100 + minor, c.content) << label;
        db.SetVersion(4, 0);
        make.highestID = 7;
        EXPECT_TRUE(Written(db) == File({CatSection(), make})) << label;
    }
}

TEST(TableFile, DuplicateNamesKeepTheFirstTableButCaseCounts) {
    Section later = CatSection();
    later.rows = {{9, 1, 0}};
    TraceCapture trace;
    CTableDatabase db;
    Read(db, File({CatSection(), CatSection("MAKE"), later, CatSection("cat"), later}));
    ASSERT_EQ(db.GetCount(), 3u);
    EXPECT_EQ(db[0].GetName(), "CAT");
    EXPECT_EQ(db[0].GetRowCount(), 2u) << "the first CAT is the one kept";
    EXPECT_EQ(db[1].GetName(), "MAKE");
    EXPECT_EQ(db[2].GetName(), "cat");
    EXPECT_EQ(db.FindTable("cat"), 0) << "found ignoring case, the first match";
    EXPECT_EQ(db.GetChangeCount(), 0u);
    EXPECT_NE(trace.Text().find("Removing duplicated table CAT\nRemoving duplicated table CAT\n"), std::string::npos);
}

// Rows out of ID order over a pool with an unused text, a duplicate and an unsorted index;
// one cell points past the pool.
const Section kUntidy = [] {
    Section s;
    s.pool = {{"", 0, 0}, {"zeta", 1, 0}, {"unused", 2, 0}, {"alpha", 3, 0}, {"zeta", 4, 0}};
    s.columns = {{"ID", 1}, {"NAME", CTable::typeText}, {"N", 1}};
    s.rows = {{3, 4, 30}, {1, 1, 10}, {2, 3, 20}, {5, 99, 50}};
    return s;
}();

TEST(TableFile, StringCheckReinternsTextsAndSortsRowsById) {
    TraceCapture trace;
    CTableDatabase db;
    db.EnableTracing();
    Read(db, File({kUntidy}));
    CTable& t = db[0];
    const std::vector<std::pair<ULong, std::string>> expected = {{1, "zeta"}, {2, "alpha"}, {3, "zeta"}, {5, ""}};
    ASSERT_EQ(t.GetRowCount(), expected.size());
    for (ULong row = 0; row < expected.size(); ++row) {
        EXPECT_EQ(t.GetValue(row, 0), expected[row].first);
        EXPECT_EQ(t.GetText(row, 1), expected[row].second);
        EXPECT_EQ(t.GetValue(row, 2), expected[row].first * 10);
    }
    const CStringTable& pool = t.GetStrings();
    EXPECT_EQ(pool.GetCount(), 3u) << "'' and the texts in the order the cells were read";
    EXPECT_EQ(pool.GetText(1), "zeta");
    EXPECT_EQ(pool.GetRefCount(1), 2u);
    EXPECT_EQ(t.FindRow(3), 2);
    EXPECT_EQ(trace.Text(),
              "Diagnostic database tracing mode enabled\nLoading database header from disk\n"
              "Fixed corrupt String Table Index in T...Complete\n");

    CTableDatabase plain;
    Read(plain, File({kUntidy}));
    EXPECT_EQ(plain[0].GetValue(0, 0), 3u) << "without the check rows stay as stored";
    EXPECT_EQ(plain[0].GetText(3, 1), "") << "an id past the pool reads as the empty text";
    EXPECT_EQ(plain[0].GetStrings().GetCount(), 5u);
    EXPECT_EQ(plain[0].GetHighestID(), 5u) << "taken from the cells, not the stored field";
    CTableDatabase grown;  // AddRow before anything has asked for the highest ID
    Read(grown, File({kUntidy}));
    EXPECT_EQ(grown[0].GetValue(grown[0].AddRow(), 0), 6u) << "a new row follows the largest ID read, not the last";
}

TEST(TableFile, EveryTruncationFailsWithArchiveException) {
    Section compact = CatSection("COMPACT");
    compact.compactStrings = compact.poolCompact = 1;
    const Bytes bytes = File({CatSection(), compact});
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        CTableDatabase db;
        db.AddTable(CTable("OLD"));
        ASSERT_FALSE(ReadFailure(db, Bytes(bytes.begin(), bytes.begin() + length)).empty()) << length;
        // Either the header failed and the old list is untouched, or no half-read list is left.
        EXPECT_TRUE(db.GetCount() == 0 || db[0].GetName() == "OLD") << length;
    }
}

TEST(TableFile, DamagedFilesFailWithAClearArchiveException) {
    auto cat = [](auto change) {
        Section s = CatSection();
        change(s);
        return File({s});
    };
    Bytes longName = cat([](Section& s) { s.name = std::string(70000, 'n'); });
    longName.resize(longName.size() - 69000);
    const struct {
        const char* label;
        Bytes bytes;
        const char* message;  // a part of the exception's message
    } cases[] = {
        {"TableCount", File({CatSection()}, 2, 10, kIds, 0xFFFFFFFF), "4294967295 tables declared"},
        {"TableCount16", File({CatSection()}, 2, 5, kIds, 0xFFFF), "65535 tables declared"},
        {"PoolCount", cat([](Section& s) { s.poolCount = 0xFFFFFFF0; }), "String table of 4294967280 entries"},
        {"CompactPoolCount", cat([](Section& s) {
             s.poolCompact = 1;
             s.poolCount = 0x7FFFFFFF;
         }),
         "String table"},
        {"PoolIndex", cat([](Section& s) { s.pool[1].index = 7; }), "index of 3 entries is damaged"},
        {"NoColumns", cat([](Section& s) { s.columnCount = 0; }), "table 'CAT' has no columns"},
        {"ColumnCount", cat([](Section& s) { s.columnCount = 0xFFFF; }), "declares 65535 columns"},
        {"RowCount", cat([](Section& s) { s.rowCount = 0xFFFFFFFF; }), "declares 4294967295 rows"},
        {"RowsTimesColumns", cat([](Section& s) { s.rowCount = 0x40000001; }), "rows of 3 columns"},
        {"NameLength", longName, "String of 70000 bytes is longer than"},
    };
    for (const auto& c : cases) {
        CTableDatabase db;
        const std::string message = ReadFailure(db, c.bytes);
        EXPECT_NE(message.find(c.message), std::string::npos) << c.label << ": " << message;
    }
}

}  // namespace
