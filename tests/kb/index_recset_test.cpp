// CIndexRecSet: number and text orders, seeks that hit and miss with and without the nearest
// position at every index size, moves along the index, and the rebuild after a purge.
#include "kb/index_recset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "kb_test_support.h"

namespace {

using kbtest::MakeTable;
using kbtest::MessageCapture;

// The rows' texts of `column` in index order.
std::vector<std::string> TextsInOrder(CIndexRecSet& rs, std::uint16_t column) {
    std::vector<std::string> texts;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) texts.push_back(rs.GetText(column).str());
    return texts;
}

std::vector<ULong> IdsInOrder(CIndexRecSet& rs) {
    std::vector<ULong> ids;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) ids.push_back(rs.GetID());
    return ids;
}

// A database with T (ID, TEXT): one row per text.
void AddTexts(CTableDatabase& db, const std::vector<std::string>& texts) {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& text : texts) rows.push_back({text});
    db.AddTable(MakeTable("T", {{"TEXT", 0}}, rows));
}

TEST(CIndexRecSet, TextIndexRightAlignsTextsThatAllLookNumeric) {
    const struct {
        std::vector<std::string> texts;
        std::vector<std::string> order;
    } cases[] = {
        {{"9", "10", "-1"}, {"-1", "9", "10"}},
        {{"9", "10", "x"}, {"10", "9", "x"}},
        {{"100", "", "9", "-5", "20", "-10"}, {"-10", "-5", "", "9", "20", "100"}},
        {{"5", "05", "10"}, {"5", "05", "10"}},
        {{"b", "B", "a", "ab", "a "}, {"B", "a", "a ", "ab", "b"}},
        // Left-aligned keys are padded with blanks, so a text ending in a control character
        // sorts before its prefix.
        {{"ab", "a", "a\x01"}, {"a\x01", "a", "ab"}},
        {{"\xe9t\xe9", "zoo"}, {"zoo", "\xe9t\xe9"}},
    };
    for (const auto& c : cases) {
        CTableDatabase db;
        AddTexts(db, c.texts);
        CIndexRecSet rs(&db);
        ASSERT_EQ(rs.Open("select * from T", 1), 1);
        EXPECT_EQ(TextsInOrder(rs, 1), c.order);
    }
}

TEST(CIndexRecSet, NumberIndexSortsUnsignedWithEqualValuesInRowOrder) {
    CTableDatabase db;
    db.AddTable(
        MakeTable("T", {{"CRC", 1}}, {{"2147483648"}, {"5"}, {"4294967295"}, {"5"}, {"0"}, {"2147483647"}, {"5"}}));
    CIndexRecSet rs(&db);
    ASSERT_EQ(rs.Open("select * from T", 1), 1);
    EXPECT_EQ(IdsInOrder(rs), (std::vector<ULong>{5, 2, 4, 7, 6, 1, 3}));
}

TEST(CIndexRecSet, SeekFindsTheFirstEqualEntryOrTheInsertionPointAtEverySize) {
    // Values 2, 2, 4, 6, 6, 8 ... in falling row order: every odd value is a miss, every even
    // one below the top a hit. Sizes around powers of two are where a stride search goes wrong.
    for (ULong size : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 100u}) {
        std::vector<std::vector<std::string>> rows;
        std::vector<ULong> values;
        for (ULong i = size; i-- > 0;) values.push_back(2 * (2 * i / 3) + 2);
        for (ULong value : values) rows.push_back({std::to_string(value), "t" + std::to_string(value)});
        CTableDatabase db;
        db.AddTable(MakeTable("T", {{"N", 1}, {"S", 0}}, rows));
        CIndexRecSet numbers(&db);
        CIndexRecSet texts(&db);
        ASSERT_EQ(numbers.Open("select * from T", 1), 1);
        ASSERT_EQ(texts.Open("select * from T", 2), 1);
        std::vector<ULong> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        std::vector<std::string> sortedTexts;
        for (ULong value : values) sortedTexts.push_back("t" + std::to_string(value));
        std::sort(sortedTexts.begin(), sortedTexts.end());
        // Once as built, once after a write that leaves every key as it was: seeks then read the
        // table itself instead of the copy taken at build time.
        for (int pass = 0; pass < 2; ++pass) {
            if (pass == 1 && size != 0) db[0].SetValue(0, 1, db[0].GetValue(0, 1));
            for (ULong key = 0; key <= 2 * size + 3; ++key) {
                const auto first = std::lower_bound(sorted.begin(), sorted.end(), key) - sorted.begin();
                const bool hit = first < static_cast<long>(sorted.size()) && sorted[first] == key;
                ASSERT_EQ(numbers.SeekValue(key, false), hit ? first : -1) << size << " " << key;
                ASSERT_EQ(numbers.SeekValue(key, true), first) << size << " " << key;
                const std::string text = "t" + std::to_string(key);
                const auto firstText =
                    std::lower_bound(sortedTexts.begin(), sortedTexts.end(), text) - sortedTexts.begin();
                const bool textHit =
                    firstText < static_cast<long>(sortedTexts.size()) && sortedTexts[firstText] == text;
                ASSERT_EQ(texts.SeekText(text.c_str(), false), textHit ? firstText : -1) << size << " " << text;
                ASSERT_EQ(texts.SeekText(text.c_str(), true), firstText) << size << " " << text;
            }
        }
    }
}

}  // namespace
