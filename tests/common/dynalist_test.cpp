// CDynaList<T>: the growth rule, element survival across growth, sizing and copies.
#include "common/dynalist.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "platform/cstring.h"

namespace {

TEST(DynaGrowCapacity, GrowsByATenthButAtLeastTen) {
    const ULong expected[] = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 121, 133, 146, 160};
    ULong capacity = 0;
    for (ULong next : expected) {
        capacity = DynaGrowCapacity(capacity);
        EXPECT_EQ(capacity, next);
    }
    EXPECT_EQ(DynaGrowCapacity(50, 7), 50u) << "a request never shrinks";
    EXPECT_EQ(DynaGrowCapacity(50, 70), 70u);
    EXPECT_THROW(DynaGrowCapacity(0xFFFFFFF0u), std::bad_alloc);
}

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
}

TEST(CDynaList, TextsSurviveGrowth) {
    CDynaList<CString> list;
    for (int i = 0; i < 250; ++i) list.Add(CString::Formatted("text number %d, long enough to leave SSO", i));
    for (int i = 0; i < 250; ++i)
        ASSERT_EQ(list[static_cast<ULong>(i)], CString::Formatted("text number %d, long enough to leave SSO", i));
}

TEST(CDynaList, AddingAnOwnElementWhileGrowingCopiesItFirst) {
    CDynaList<CString> list;
    for (int i = 0; i < 10; ++i) list.Add(CString::Formatted("element %d with a heap-sized text body", i));
    ASSERT_EQ(list.GetCount(), list.GetCapacity());
    list.Add(list[3]);
    EXPECT_EQ(list[10], "element 3 with a heap-sized text body");
    EXPECT_EQ(list[3], "element 3 with a heap-sized text body");
}

TEST(CDynaList, SetSizeOnlyRaisesCapacityAndKeepsTheCount) {
    CDynaList<ULong> list;
    list.Add(5);
    list.SetSize(37);
    EXPECT_EQ(list.GetCapacity(), 37u);
    EXPECT_EQ(list.GetCount(), 1u);
    EXPECT_EQ(list[0], 5u);
    EXPECT_EQ(list[36], 0u) << "spare slots hold default values";
    list.SetSize(12);
    EXPECT_EQ(list.GetCapacity(), 37u);
    for (ULong i = 1; i < 37; ++i) list.Add(i);
    EXPECT_EQ(list.GetCapacity(), 37u) << "a full list grows only at the next Add";
    list.Add(99);
    EXPECT_EQ(list.GetCapacity(), 47u);
}

TEST(CDynaList, RemoveAllReleasesEverything) {
    CDynaList<ULong> list;
    for (ULong i = 0; i < 15; ++i) list.Add(i);
    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetCapacity(), 0u);
    EXPECT_EQ(list.begin(), list.end());
    list.Add(4);
    EXPECT_EQ(list.GetCapacity(), 10u);
}

TEST(CDynaList, CopyHoldsTheElementsWithCapacityEqualToCount) {
    CDynaList<CString> list;
    for (int i = 0; i < 13; ++i) list.Add(CString::Formatted("%d", i));
    const CDynaList<CString> copy = list;
    EXPECT_EQ(copy.GetCount(), 13u);
    EXPECT_EQ(copy.GetCapacity(), 13u);
    list[0] = "changed";
    EXPECT_EQ(copy[0], "0") << "copies do not share storage";

    CDynaList<CString> assigned;
    assigned.Add("old");
    assigned = copy;
    std::vector<std::string> seen;
    for (const CString& text : assigned) seen.push_back(text.str());
    EXPECT_EQ(seen.size(), 13u);
    EXPECT_EQ(seen.back(), "12");
}

TEST(CDynaList, DerivedListIsDestroyedThroughTheBase) {
    static int destroyed = 0;
    struct Derived : CDynaList<ULong> {
        ~Derived() override { ++destroyed; }
    };
    std::unique_ptr<CDynaList<ULong>> list = std::make_unique<Derived>();
    list->Add(1);
    list.reset();
    EXPECT_EQ(destroyed, 1);
}

}  // namespace
