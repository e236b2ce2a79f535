// CSortList: case-insensitive order, the 255-character cut and the sorted mark.
#include "common/sortlist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Texts(const CSortList& list) {
    std::vector<std::string> texts;
    for (const CSortItem& item : list) texts.push_back(item.text.str());
    return texts;
}

TEST(CSortList, SortsIgnoringCaseAndCarriesIdsAndExtras) {
    CSortList list;
    list.Add("delta", 4, 40);
    list.Add("Alpha", 1, 10);
    list.Add("charlie", 3);
    list.Add("BRAVO", 2, 20);
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"Alpha", "BRAVO", "charlie", "delta"}));
    for (ULong i = 0; i < list.GetCount(); ++i) {
        EXPECT_EQ(list[i].id, i + 1);
        EXPECT_EQ(list[i].extra, i == 2 ? 0u : (i + 1) * 10);
    }
}

TEST(CSortList, FoldsCaseToLowerSoPunctuationSortsBeforeLetters) {
    // '_' lies between the upper- and lower-case letters; folding to lower puts it first.
    CSortList list;
    list.Add("B", 1);
    list.Add("_a", 2);
    list.Add("", 3);
    list.Add("a", 4);
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"", "_a", "a", "B"}));
}

TEST(CSortList, LongTextsComeBackCutTo255Characters) {
    CSortList list;
    list.Add(CString(std::string(300, 'x')), 1);
    list.Add(CString(std::string(255, 'w') + "tail"), 2);
    list.Add("short", 3);
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{"short", std::string(255, 'w'), std::string(255, 'x')}));
}

TEST(CSortList, ShortTextsAreNotCut) {
    CSortList list;
    list.Add(CString(std::string(254, 'b')), 1);
    list.Add(CString(std::string(200, 'a')), 2);
    list.Sort();
    EXPECT_EQ(list[0].text.GetLength(), 200);
    EXPECT_EQ(list[1].text.GetLength(), 254);
}

TEST(CSortList, SortedMarkIsSetBySortOfTwoOrMoreAndClearedByAdd) {
    CSortList list;
    EXPECT_FALSE(list.IsSorted());
    list.Add(CString(std::string(300, 'x')), 1);
    list.Sort();
    EXPECT_FALSE(list.IsSorted()) << "a single item is left alone";
    EXPECT_EQ(list[0].text.GetLength(), 300) << "a single item is not cut either";
    list.Add("a", 2);
    list.Sort();
    EXPECT_TRUE(list.IsSorted());
    list.Add("b", 3);
    EXPECT_FALSE(list.IsSorted());
}

TEST(CSortList, GrowsByTheSharedRule) {
    CSortList list;
    for (ULong i = 0; i < 11; ++i) list.Add("item", i);
    EXPECT_EQ(list.GetCapacity(), 20u);
    list.Sort();
    EXPECT_EQ(list.GetCount(), 11u);
    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetCapacity(), 0u);
}

}  // namespace
