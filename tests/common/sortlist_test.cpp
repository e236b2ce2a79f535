// CSortList: case-insensitive order, the 255-character cut and the sorted mark.
#include "common/sortlist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(CSortList, SortsIgnoringCaseAndCarriesIdsAndExtras) {
    CSortList list;
    list.Add("delta", 4, 40);
    list.Add("Alpha", 1, 10);
    list.Add("charlie", 3);
    list.Add("BRAVO", 2, 20);
    list.Add(CString(std::string(300, 'x')), 5, 50);
    list.Add(CString(std::string(255, 'w') + "tail"), 6, 60);
    list.Sort();
    std::vector<std::string> texts;
    for (const CSortItem& item : list) texts.push_back(item.text.str());
    EXPECT_EQ(texts, (std::vector<std::string>{"Alpha", "BRAVO", "charlie", "delta", std::string(255, 'w'),
                                               std::string(255, 'x')}));
    const ULong ids[] = {1, 2, 3, 4, 6, 5};
    for (ULong i = 0; i < list.GetCount(); ++i) {
        EXPECT_EQ(list[i].id, ids[i]) << i;
        EXPECT_EQ(list[i].extra, i == 2 ? 0u : ids[i] * 10) << i;
    }
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

}  // namespace
