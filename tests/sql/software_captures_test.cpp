// Captured files on both engines: one row per asset and name, replaced in place, with hostile
// names and contents kept byte for byte.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

class CapturedFiles : public EngineTest {};

TEST_P(CapturedFiles, CapturingAgainReplacesTheContentInPlace) {
    const ULong pc = db_->AddAsset("PC1", 0, 0, 0, CTime());
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    const ULong first = db_->AddCapFile(pc, "C:\\boot.ini", "old");
    ASSERT_NE(first, 0u) << AllMessages();
    EXPECT_EQ(db_->AddCapFile(pc, "C:\\boot.ini", "new"), first);
    EXPECT_NE(db_->AddCapFile(other, "C:\\boot.ini", "theirs"), first) << "per asset";
    EXPECT_EQ(db_->GetCapFileContent(first), "new");
    CSortList list;
    list.Add("earlier", 1, 1);
    EXPECT_EQ(db_->EnumCapFiles(pc, list), 2);
    EXPECT_EQ(list[1].text, "C:\\boot.ini");
    EXPECT_EQ(list[1].id, first);
    db_->DeleteCapFiles(pc);
    CSortList after;
    EXPECT_EQ(db_->EnumCapFiles(pc, after), 0);
    EXPECT_EQ(db_->EnumCapFiles(other, after), 1);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(CapturedFiles, HostileNamesAndContentsRoundTrip) {
    const ULong pc = db_->AddAsset("PC1", 0, 0, 0, CTime());
    const std::string name = "O'Neil's 100%_" + std::string(300, 'c') + "\xE9";
    std::string content = "line 1\r\nit's 50% done_\n\x80\x9F\xFF";
    content += std::string(70000, 'z');
    const ULong capture = db_->AddCapFile(pc, name.c_str(), content.c_str());
    ASSERT_NE(capture, 0u) << AllMessages();
    EXPECT_EQ(db_->GetCapFileContent(capture).str(), content);
    EXPECT_EQ(db_->AddCapFile(pc, "O'Neil's 100%_", "x"), capture + 1) << "no pattern matching of names";
    CSortList list;
    ASSERT_EQ(db_->EnumCapFiles(pc, list), 2);
    EXPECT_EQ((list[0].id == capture ? list[0] : list[1]).text.str(), name);
}

NORVIK_ON_BOTH_ENGINES(CapturedFiles);

}  // namespace
