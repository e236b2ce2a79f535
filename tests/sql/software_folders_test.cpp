// Software folders: paths, shared rows, emptiness, folderEnum's dropping and progress.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

class SoftwareFolders : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        pc_ = db_->AddAsset("PC1", 0, 0, 0, CTime());
        other_ = db_->AddAsset("PC2", 0, 0, 0, CTime());
    }

    void AddFile(ULong asset, ULong folder, const char* name, ULong app) {
        db_->MergeFile(asset, folder, 0x1234, name, 100, 0, "", "", "", app);
    }

    ULong pc_ = 0, other_ = 0;
};

TEST_P(SoftwareFolders, MergeFolderSharesRowsLinksEachAssetOnceAndPathsEndWithABackslash) {
    const ULong tools = db_->MergeFolder(pc_, "Tools", 0);
    ASSERT_NE(tools, 0u);
    EXPECT_EQ(db_->MergeFolder(pc_, "Tools", 0), tools);
    EXPECT_EQ(db_->MergeFolder(other_, "Tools", 0), tools) << "one row for the whole site";
    const ULong inner = db_->MergeFolder(pc_, "Tools", tools);
    EXPECT_NE(inner, tools) << "the same name elsewhere is another folder";
    EXPECT_EQ(db_->GetFolderPath(inner), "Tools\\Tools\\");
    EXPECT_EQ(db_->GetFolderPath(0), "");
    EXPECT_EQ(db_->GetFolderParent(inner), tools);
    CDynaList<ULong> links;
    links.Add(999);
    EXPECT_EQ(db_->EnumLinksByAsset(pc_, links), 2u) << "the list is emptied first";
    EXPECT_EQ(db_->GetLinkedFolder(links[0]), tools);
    EXPECT_EQ(db_->GetLinkedFile(links[0]), 0u);
    EXPECT_EQ(db_->GetLinkedAsset(links[0]), pc_);
    CSortList top;
    EXPECT_EQ(db_->folderEnum(other_, 0, top, 0, 0), 1u);
    EXPECT_EQ(top[0].id, tools);
}

TEST_P(SoftwareFolders, EmptinessLooksThroughThreeLevels) {
    const ULong a = db_->MergeFolder(pc_, "A", 0);
    const ULong b = db_->MergeFolder(pc_, "B", a);
    const ULong c = db_->MergeFolder(pc_, "C", b);
    db_->MergeFolder(other_, "A", 0);
    EXPECT_EQ(db_->IsFolderEmpty(a, pc_, 0), 1) << "folders alone are empty";
    AddFile(pc_, c, "assigned.dll", 7);
    EXPECT_EQ(db_->IsFolderEmpty(b, pc_, 0), 0);
    EXPECT_EQ(db_->IsFolderEmpty(a, pc_, 1), 1) << "a file of an application does not count";
    EXPECT_EQ(db_->IsFolderEmpty(a, other_, 0), 1) << "another asset's files do not count";
    AddFile(pc_, c, "loose.txt", 0);
    EXPECT_EQ(db_->IsFolderEmpty(a, pc_, 1), 0);
}

TEST_P(SoftwareFolders, FolderEnumDropsEmptyFoldersAndReportsProgress) {
    const ULong full = db_->MergeFolder(pc_, "Full", 0);
    const ULong assigned = db_->MergeFolder(pc_, "Assigned", 0);
    db_->MergeFolder(pc_, "Empty", 0);
    db_->MergeFolder(pc_, "Deep", db_->MergeFolder(pc_, "Shell", 0));
    AddFile(pc_, db_->MergeFolder(pc_, "Inner", full), "loose.txt", 0);
    AddFile(pc_, assigned, "assigned.dll", 7);
    CSortList all;
    EXPECT_EQ(db_->folderEnum(pc_, 0, all, 0, 0), 4u) << "dropEmpty 0 keeps every folder";
    std::vector<std::pair<int, long>> calls;
    auto record = [](int code, CallbackValue value, CallbackValue context) {
        auto* seen = reinterpret_cast<std::vector<std::pair<int, long>>*>(context);
        seen->emplace_back(code, code == 1 ? 0 : static_cast<long>(value));
        return 2;  // a cancel, which this walk does not obey
    };
    db_->ProgSetCallback(record, reinterpret_cast<CallbackValue>(&calls));
    CSortList kept;
    kept.Add("Earlier", 999, 0);
    EXPECT_EQ(db_->folderEnum(pc_, 0, kept, 1, 0), 2u) << "the caller's earlier item is walked too";
    EXPECT_EQ(Texts(kept), (std::vector<std::string>{"Assigned", "Full"})) << "sorted";
    EXPECT_EQ(calls, (std::vector<std::pair<int, long>>{{1, 0}, {2, 0}, {7, 0}, {4, 0}}))
        << "5 items / 10 as the range, a step at every tenth visit";
    CSortList unassigned;
    EXPECT_EQ(db_->folderEnum(pc_, 0, unassigned, 1, 1), 1u);
    EXPECT_EQ(Texts(unassigned), (std::vector<std::string>{"Full"}));
}

NORVIK_ON_BOTH_ENGINES(SoftwareFolders);

}  // namespace
