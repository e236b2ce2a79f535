// CDynaList<T>: the growth rule, element survival across growth, sizing and copies.
#include "common/dynalist.h"

#include <gtest/gtest.h>

#include <new>

#include "platform/cstring.h"

namespace {

TEST(CDynaList, CapacityFollowsTheGrowthRuleAsItemsAreAdded) {
    struct Case {
        ULong adds;
        ULong capacity;
    };
    const Case cases[] = {{0, 0}, {1, 10}, {10, 10}, {11, 20}, {100, 100}, {101, 110}, {111, 121}, {122, 133}};
    for (const Case& c : cases) {
        CDynaList<ULong> list;
        for (ULong i = 0; i < c.adds; ++i) list.Add(i * 3);
        EXPECT_EQ(list.GetCount(), c.adds);
        EXPECT_EQ(list.GetCapacity(), c.capacity) << c.adds << " additions";
        for (ULong i = 0; i < c.adds; ++i) ASSERT_EQ(list[i], i * 3);
    }
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
