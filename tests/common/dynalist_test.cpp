// CDynaList<T>: the growth rule, element survival across growth, sizing and copies.
#include "common/dynalist.h"

#include <gtest/gtest.h>

#include <new>

#include "platform/cstring.h"

namespace {

TEST(CDynaList, CapacityFollowsTheGrowthRuleAsItemsAreAdded) {
    CDynaList<ULong> list;  // full at 10: the next addition grows by ten, keeping the items
    for (ULong i = 0; i < 11; ++i) list.Add(i * 3);
    EXPECT_EQ(list.GetCapacity(), 20u);
    EXPECT_EQ(list[10], 30u);
    EXPECT_EQ(DynaGrowCapacity(110), 121u) << "past 100, by a tenth";
    EXPECT_EQ(DynaGrowCapacity(50, 7), 50u) << "a request never shrinks";
    EXPECT_EQ(DynaGrowCapacity(50, 70), 70u);
    EXPECT_THROW(DynaGrowCapacity(0xFFFFFFF0u), std::bad_alloc);
}

TEST(CDynaList, AddingAnOwnElementWhileGrowingCopiesItFirst) {
    CDynaList<CString> list;
    for (int i = 0; i < 10; ++i) list.Add(CString::Formatted("element %d with a heap-sized text body", i));
    ASSERT_EQ(list.GetCount(), list.GetCapacity());
    list.Add(list[3]);
    EXPECT_EQ(list[10], "element 3 with a heap-sized text body");
    EXPECT_EQ(list[3], "element 3 with a heap-sized text body");
}

}  // namespace
