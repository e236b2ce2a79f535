// CIndexRecSet: orders and seeks.
#include "kb/index_recset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "kb_files.h"

namespace {

using kbtest::MakeTable;

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
        std::vector<std::vector<std::string>> rows;
        for (const std::string& text : c.texts) rows.push_back({text});
        CTableDatabase db;
        db.AddTable(MakeTable("T", {{"TEXT", 0}}, rows));
        CIndexRecSet rs(&db);
        ASSERT_EQ(rs.Open("select * from T", 1), 1);
        std::vector<std::string> order;
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) order.push_back(rs.GetText(1).str());
        EXPECT_EQ(order, c.order) << c.texts[0];
    }
}

TEST(CIndexRecSet, NumberIndexSortsUnsignedWithEqualValuesInRowOrder) {
    CTableDatabase db;
    db.AddTable(
        MakeTable("T", {{"CRC", 1}}, {{"2147483648"}, {"5"}, {"4294967295"}, {"5"}, {"0"}, {"2147483647"}, {"5"}}));
    CIndexRecSet rs(&db);
    ASSERT_EQ(rs.Open("select * from T", 1), 1);
    std::vector<ULong> ids;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) ids.push_back(rs.GetID());
    EXPECT_EQ(ids, (std::vector<ULong>{5, 2, 4, 7, 6, 1, 3}));
}

// An empty text once made the key prefix shift a 64-bit number by 64 (undefined; the sanitizer
// build reported it on a damaged Knowledge Base).
TEST(CIndexRecSet, EmptyTextKeysSeekWithoutAnOversizedShift) {
    CTableDatabase db;
    db.AddTable(MakeTable("T", {{"TEXT", 0}}, {{"b"}, {""}, {"a"}, {""}}));
    CIndexRecSet rs(&db);
    ASSERT_EQ(rs.Open("select * from T", 1), 1);
    EXPECT_EQ(rs.SeekText("", false), 0);
    EXPECT_EQ(rs.SeekText(nullptr, false), 0);
    EXPECT_EQ(rs.SeekText("a", false), 2);
    EXPECT_EQ(rs.SeekText("0", true), 2);
}

TEST(CIndexRecSet, SeekFindsTheFirstEqualEntryOrTheInsertionPointAtEverySize) {
    // {exact seek, nearest seek} over the sorted keys.
    auto expected = [](const auto& sorted, const auto& key) {
        const long first = std::lower_bound(sorted.begin(), sorted.end(), key) - sorted.begin();
        return std::pair{first < static_cast<long>(sorted.size()) && sorted[first] == key ? first : -1L, first};
    };
    // Values 2, 2, 4, 6, 6, 8 ... in falling row order: every odd value is a miss, every even
    // one below the top a hit. Sizes around powers of two are where a stride search goes wrong.
    for (ULong size : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 100u}) {
        std::vector<std::vector<std::string>> rows;
        std::vector<ULong> values;
        std::vector<std::string> texts;
        for (ULong i = size; i-- > 0;) {
            values.push_back(2 * (2 * i / 3) + 2);
            texts.push_back(kbtest::Numbered("t", values.back()));
            rows.push_back({std::to_string(values.back()), texts.back()});
        }
        std::sort(values.begin(), values.end());
        std::sort(texts.begin(), texts.end());
        CTableDatabase db;
        db.AddTable(MakeTable("T", {{"N", 1}, {"S", 0}}, rows));
        CIndexRecSet byNumber(&db);
        CIndexRecSet byText(&db);
        ASSERT_EQ(byNumber.Open("select * from T", 1), 1);
        ASSERT_EQ(byText.Open("select * from T", 2), 1);
        // Once as built, once after a write that leaves every key as it was: seeks then read the
        // table itself instead of the copy taken at build time.
        for (int pass = 0; pass < 2; ++pass) {
            if (pass == 1 && size != 0) db[0].SetValue(0, 1, db[0].GetValue(0, 1));
            for (ULong key = 0; key <= 2 * size + 3; ++key) {
                const auto [hit, first] = expected(values, key);
                ASSERT_EQ(byNumber.SeekValue(key, false), hit) << size << " " << key;
                ASSERT_EQ(byNumber.SeekValue(key, true), first) << size << " " << key;
                const std::string text = kbtest::Numbered("t", key);
                const auto [textHit, firstText] = expected(texts, text);
                ASSERT_EQ(byText.SeekText(text.c_str(), false), textHit) << size << " " << text;
                ASSERT_EQ(byText.SeekText(text.c_str(), true), firstText) << size << " " << text;
            }
        }
    }
}

}  // namespace
