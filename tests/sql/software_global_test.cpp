// Site-wide file enumerations over the site or a location subtree with child assets.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/engine_test.h"

namespace {

class GlobalFiles : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    void SetUp() override {
        EngineTest::SetUp();
        site_ = db_->locAddFull("Site");
        room_ = db_->locAddFull("Site;Room");
        top_ = db_->AddAsset("Top", site_, 0, 0, CTime());
        inRoom_ = db_->AddAsset("InRoom", room_, 0, 0, CTime());
        child_ = db_->AddAsset("Child", 0, 0, 0, CTime());
        db_->SetAssetParent(child_, inRoom_, 1, 0, CTime());
        far_ = db_->AddAsset("Far", db_->locAddFull("Away"), 0, 0, CTime());
        for (const ULong asset : {top_, inRoom_, child_, far_}) {
            const ULong folder = db_->MergeFolder(asset, "Bin", 0);
            const std::string own = "own-" + db_->GetAssetName(asset).str() + ".exe";
            db_->MergeFile(asset, folder, 1, own.c_str(), 1, 0, "", "", "", 0);
            db_->MergeFile(asset, folder, 2, "shared.dll", 2, 0, "", "", asset == far_ ? "2.0" : "", 9);
        }
    }

    std::set<std::string> Texts(const CSortList& list) {
        std::set<std::string> texts;
        for (const CSortItem& item : list) texts.insert(item.text.str());
        return texts;
    }

    ULong site_ = 0, room_ = 0, top_ = 0, inRoom_ = 0, child_ = 0, far_ = 0;
};

TEST_P(GlobalFiles, ScopeIsTheSiteOrALocationSubtreeWithChildAssets) {
    CSortList all;
    EXPECT_EQ(db_->EnumGlobalFile(0, nullptr, 1, all), 6u);
    EXPECT_EQ(Texts(all).count("shared.dll [2.0]"), 1u);
    CSortList room;
    db_->EnumGlobalFile(room_, "", 0, room);
    EXPECT_EQ(Texts(room), (std::set<std::string>{"own-InRoom.exe", "own-Child.exe", "shared.dll"}));
    EXPECT_EQ(db_->EnumGlobalFile(room_, nullptr, 0, room), 3u) << "listed items are not added again";
}

TEST_P(GlobalFiles, FileAssetsFollowTheScopeAndTheNameFilter) {
    CSortList shared;
    db_->EnumGlobalFile(0, "shared.dll", 0, shared);
    ASSERT_EQ(shared.GetCount(), 2u) << "two versions";
    EXPECT_EQ(shared[0].extra, 9u) << "the application";
    CSortList holders;
    for (const CSortItem& file : shared) db_->EnumGlobalFileAssets(room_, file.id, holders);
    EXPECT_EQ(Texts(holders), (std::set<std::string>{"InRoom", "Child"}));
    EXPECT_EQ(holders[0].extra, db_->MergeFolder(inRoom_, "Bin", 0)) << "the folder";
    CSortList everywhere;
    for (const CSortItem& file : shared) db_->EnumGlobalFileAssets(0, file.id, everywhere);
    EXPECT_EQ(everywhere.GetCount(), 4u);
    CSortList none;
    EXPECT_EQ(db_->EnumGlobalFileAssets(0, 0, none), 0u) << "file 0 names folder links";
    EXPECT_EQ(db_->EnumGlobalFile(0, "nothing'; drop table SWFILE; --", 0, none), 0u);
}

TEST_P(GlobalFiles, ScopeAssetsAreTheWalksSetEachOnceAndSurviveALocationCycle) {
    const ULong grandchild = db_->AddAsset("Grandchild", 0, 0, 0, CTime());
    db_->SetAssetParent(grandchild, child_, 1, 0, CTime());
    auto asSet = [](const CDynaList<ULong>& list) { return std::set<ULong>(list.begin(), list.end()); };
    for (const ULong scope : {site_, room_}) {
        CDynaList<ULong> walked, scoped;
        db_->assetEnum(scope, 0, walked, 1);
        db_->EnumScopeAssets(scope, scoped);
        EXPECT_EQ(asSet(scoped), asSet(walked)) << scope;
        EXPECT_EQ(scoped.GetCount(), asSet(scoped).size()) << scope;
    }
    // A cycle written into LOCDATA by hand: the site placed below its own room.
    db_->ExecuteStatement(CString::Formatted("update LOCDATA set _PARENT=%d where _ID=%d", static_cast<int>(room_),
                                             static_cast<int>(site_)));
    CDynaList<ULong> cyclic;
    db_->EnumScopeAssets(site_, cyclic);
    EXPECT_EQ(asSet(cyclic), (std::set<ULong>{top_, inRoom_, child_, grandchild}));
    EXPECT_EQ(cyclic.GetCount(), 4u);
}

NORVIK_ON_BOTH_ENGINES(GlobalFiles);

}  // namespace
