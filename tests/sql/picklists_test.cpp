// Pick lists and their items on both engines.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/engine_test.h"

namespace {

class Picklists : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    std::vector<std::string> Items(ULong list) {
        CDynaList<ULong> ids;
        const ULong count = db_->EnumPickItems(list, ids);
        EXPECT_EQ(count, ids.GetCount());
        std::vector<std::string> texts;
        for (ULong id : ids) texts.push_back(db_->GetPickItemValue(id).str());
        return texts;
    }
};

TEST_P(Picklists, AddedListIsFoundByExactNameAndRenamed) {
    const ULong list = db_->AddPicklist("Cost Centres");
    ASSERT_NE(list, 0u) << AllMessages();
    EXPECT_EQ(db_->FindPicklist("Cost Centres"), list);
    EXPECT_EQ(db_->FindPicklist("Cost"), 0u);
    EXPECT_EQ(db_->FindPicklist("Cost%"), 0u) << "no wildcard";
    db_->SetPicklistName(list, "O'Brien's \"list\"");
    EXPECT_EQ(db_->GetPicklistName(list).str(), "O'Brien's \"list\"");
    EXPECT_EQ(db_->FindPicklist("O'Brien's \"list\""), list);
}

TEST_P(Picklists, ItemsKeepOrderTextAndChangesAndGoWithTheirListOnly) {
    const ULong list = db_->AddPicklist("Floors");
    const ULong other = db_->AddPicklist("Other");
    const ULong ground = db_->AddPickItem(list, "Ground");
    db_->AddPickItem(list, "1st 'upper'");
    db_->AddPickItem(other, "elsewhere");
    db_->AddPickItem(list, "K\xe4ller");
    EXPECT_EQ(Items(list), (std::vector<std::string>{"Ground", "1st 'upper'", "K\xe4ller"}));
    db_->SetPickItemValue(ground, "Basement");
    db_->DeletePickItem(db_->AddPickItem(list, "gone"));
    EXPECT_EQ(Items(list), (std::vector<std::string>{"Basement", "1st 'upper'", "K\xe4ller"}));
    db_->DeletePicklist(list);
    EXPECT_EQ(db_->FindPicklist("Floors"), 0u);
    EXPECT_TRUE(Items(list).empty());
    EXPECT_EQ(Items(other), (std::vector<std::string>{"elsewhere"}));
}

// Every list, once, in the caller's list emptied first; a deleted list is gone from it.
TEST_P(Picklists, EnumerationListsEveryListInAnEmptiedList) {
    const ULong floors = db_->AddPicklist("Floors"), rooms = db_->AddPicklist("Rooms");
    const ULong gone = db_->AddPicklist("Gone");
    db_->AddPickItem(floors, "Ground");
    db_->DeletePicklist(gone);
    CDynaList<ULong> lists;
    lists.Add(4711);
    EXPECT_EQ(db_->EnumPicklists(lists), 2u);
    std::vector<ULong> ids(lists.begin(), lists.end());
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (std::vector<ULong>{floors, rooms}));
}

NORVIK_ON_BOTH_ENGINES(Picklists);

}  // namespace
