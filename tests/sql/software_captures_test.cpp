// Captured files: one row per asset and name, replaced in place, kept byte for byte.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

class CapturedFiles : public EngineTest {};

TEST_P(CapturedFiles, CapturingAgainReplacesTheContentInPlaceAndHostileTextsRoundTrip) {
    const ULong pc = db_->AddAsset("PC1", 0, 0, 0, CTime());
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    const std::string name = "O'Neil's 100%_" + std::string(300, 'c') + "\xE9";
    const std::string content = "line 1\r\nit's 50% done_\n\x80\x9F\xFF" + std::string(70000, 'z');
    const ULong first = db_->AddCapFile(pc, name.c_str(), "old");
    ASSERT_NE(first, 0u) << AllMessages();
    EXPECT_EQ(db_->AddCapFile(pc, name.c_str(), content.c_str()), first);
    EXPECT_NE(db_->AddCapFile(other, name.c_str(), "theirs"), first) << "per asset";
    EXPECT_EQ(db_->GetCapFileContent(first).str(), content);
    EXPECT_NE(db_->AddCapFile(pc, "O'Neil's 100%_", "x"), first) << "no pattern matching of names";
    CSortList list;
    list.Add("earlier", 1, 1);
    EXPECT_EQ(db_->EnumCapFiles(pc, list), 3);
    EXPECT_EQ((list[1].id == first ? list[1] : list[2]).text.str(), name);
    db_->DeleteCapFiles(pc);
    CSortList after;
    EXPECT_EQ(db_->EnumCapFiles(pc, after), 0);
    EXPECT_EQ(db_->EnumCapFiles(other, after), 1);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(CapturedFiles);

}  // namespace
