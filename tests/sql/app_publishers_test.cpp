// Publishers and the site-wide application views with their masks, hidden bits and scopes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

class AppPublishers : public EngineTest {
protected:
    static std::vector<std::string> Sorted(CSortList& list) {
        list.Sort();
        return Texts(list);
    }
};

TEST_P(AppPublishers, UnknownMeansNoPublisherAndAllPublishersMeansAny) {
    const ULong pc = db_->AddAsset("PC1", 0, 0, 0, CTime()), pc2 = db_->AddAsset("PC2", 0, 0, 0, CTime());
    db_->applicationAddInstance(pc, db_->applicationAdd("Acme", "Editor", 1), "", "2.0", 0);
    db_->applicationAddInstance(pc, db_->applicationAdd("", "Tool", 1), "", "", 0);
    db_->applicationAddInstance(pc, db_->applicationAdd("Acme", "Hidden", 1 | CNorvik::kAppHidden), "", "", 0);
    db_->applicationAddInstance(pc2, db_->applicationAdd("Beta", "Other", 2), "", "", CNorvik::kAppHidden);
    CSortList unknown, all, acme, allAssets, none;
    db_->EnumAppsByPublisher(pc, "Unknown", 1, unknown, 1);
    EXPECT_EQ(Sorted(unknown), std::vector<std::string>{"Tool"});
    db_->EnumAppsByPublisher(pc, "All Publishers", 1, all, 3);
    // The per-asset form tests the instance's hidden bit, not the application's.
    EXPECT_EQ(Sorted(all), (std::vector<std::string>{"Editor [2.0]", "Hidden", "Tool"}));
    db_->EnumAppsByPublisher(pc, "Acme", 0, acme, 1);
    db_->EnumAppsByPublisher(pc, "Acme", 0, acme, 1);  // items already listed are not repeated
    EXPECT_EQ(Sorted(acme), (std::vector<std::string>{"Editor", "Hidden"}));
    // The all-assets form tests the application's hidden bit; the mask needs any one of its bits.
    db_->EnumAppsByPublisher(0, "All Publishers", 0, allAssets, 3);
    EXPECT_EQ(Sorted(allAssets), (std::vector<std::string>{"Editor", "Other", "Tool"}));
    db_->EnumAppsByPublisher(pc, "All Publishers", 0, none, 0);
    EXPECT_EQ(none.GetCount(), 0u);
    CSortList publishers, masked;
    EXPECT_EQ(db_->EnumAppPublishers(0, publishers, 0), 2u);  // the empty publisher is left out
    EXPECT_EQ(Sorted(publishers), (std::vector<std::string>{"Acme", "Beta"}));
    db_->EnumAppPublishers(pc, masked, 2);  // every bit of this mask is needed
    EXPECT_EQ(masked.GetCount(), 0u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(AppPublishers, RenamingThePublisherOfAllRowsOrOne) {
    const ULong a = db_->applicationAdd("Acme", "Editor", 1), b = db_->applicationAdd("Acme", "Viewer", 1);
    const ULong c = db_->applicationAdd("Acme Labs", "Tool", 1);
    EXPECT_EQ(db_->UpdateAppPublisher(a, "Acme", "Acme's 100%", 0), 0u);
    EXPECT_EQ(db_->GetAppPublisher(a, 0), "Acme's 100%");
    EXPECT_EQ(db_->GetAppPublisher(b, 0), "Acme");
    db_->UpdateAppPublisher(0, "Acme", "Zeta", 1);
    EXPECT_EQ(db_->GetAppPublisher(b, 0), "Zeta");
    EXPECT_EQ(db_->GetAppPublisher(c, 0), "Acme Labs");
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(AppPublishers, ScopesSelectALocationSubtreeWithChildAssets) {
    const CTime when(1700000000);
    const ULong top = db_->locAddFull("HQ"), floor = db_->locAddFull("HQ;Floor");
    const ULong a = db_->AddAsset("A", top, 0, 0, when), b = db_->AddAsset("B", floor, 0, 0, when);
    const ULong c = db_->AddAsset("C", 0, 0, 0, when), d = db_->AddAsset("D", 0, 0, 0, when);
    ASSERT_EQ(db_->SetAssetParent(d, b, 1, 0, when), 1);  // a child asset of B
    const ULong editor = db_->applicationAdd("Acme", "Editor", 1), spare = db_->applicationAdd("Beta", "Spare", 1);
    const ULong old = db_->applicationAdd("Acme", "Old", 1);
    db_->applicationSetAlias(old, editor);
    db_->applicationAddInstance(a, editor, "", "1.0", 0);
    db_->applicationAddInstance(c, editor, "", "", 0);
    db_->applicationAddInstance(d, db_->applicationAdd("", "Viewer", 1), "", "", 0);
    db_->applicationAddInstance(b, old, "", "", 0);
    CSortList site, inTop, catalogue;
    EXPECT_EQ(db_->EnumGlobalSwApplications(0, site, 0, 1, 0, 1, nullptr, 0), 3u);
    EXPECT_EQ(Sorted(site), (std::vector<std::string>{"Acme Editor", "Acme Old", "Viewer"}));
    db_->EnumGlobalSwApplications(top, inTop, 0, 1, 1, 0, nullptr, 0);
    // B's instance of Old is named through the alias; C at the root is outside the scope.
    EXPECT_EQ(Sorted(inTop), (std::vector<std::string>{"Acme Editor", "Acme Editor", "Viewer"}));
    for (const CSortItem& item : inTop) EXPECT_EQ(item.extra, 1u) << item.text.c_str();
    db_->EnumGlobalSwApplications(0, catalogue, 0, 0, 0, 0, "Beta", 0);  // not installed, still listed
    ASSERT_EQ(catalogue.GetCount(), 1u);
    EXPECT_EQ(catalogue[0].id, spare);
    EXPECT_EQ(catalogue[0].extra, 0u);
    CSortList holders, holdersInTop;
    db_->EnumGlobalSwAssets(0, editor, 1, holders, 1);
    EXPECT_EQ(Sorted(holders), (std::vector<std::string>{"A [1.0]", "B", "C"}));
    db_->EnumGlobalSwAssets(top, editor, 0, holdersInTop, 0);
    EXPECT_EQ(Sorted(holdersInTop), std::vector<std::string>{"A"});
    CSortList publishers;
    db_->EnumGlobalSwAppPublishers(floor, publishers, 0);
    EXPECT_EQ(Sorted(publishers), (std::vector<std::string>{"Acme", "Unknown"}));
    EXPECT_EQ(AllMessages(), "");
}

NORVIK_ON_BOTH_ENGINES(AppPublishers);

}  // namespace
