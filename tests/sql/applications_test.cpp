// The application catalogue and instances on both engines: the two stored procedures, display
// names and aliases, the instance cache, the labels of the enumerations, and hostile texts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine_test.h"

namespace {

class Applications : public EngineTest {
protected:
    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime(1700000000)); }

    static std::vector<std::string> Texts(const CSortList& list) {
        std::vector<std::string> texts;
        for (const CSortItem& item : list) texts.push_back(item.text.str());
        return texts;
    }
};

TEST_P(Applications, AddAppFindsTheExistingRowOrCreatesOneWithTheFlags) {
    const ULong editor = db_->applicationAdd("Acme", "Editor", 5);
    ASSERT_NE(editor, 0u);
    EXPECT_EQ(db_->applicationAdd("Acme", "Editor", 9), editor);
    EXPECT_EQ(db_->applicationGetFlags(editor), 5u);  // the existing row keeps its flags
    const ULong other = db_->applicationAdd("Acme", "editor", 0);
    EXPECT_NE(other, editor);  // names compare exactly
    EXPECT_NE(db_->applicationAdd("", "Editor", 0), editor);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, AddInstanceCreatesThenCountsFiles) {
    const ULong pc = Asset("PC1");
    const ULong app = db_->applicationAdd("Acme", "Editor", 1);
    const ULong manual = db_->applicationAddInstance(pc, app, "SER-1", "2.0", 0);
    ASSERT_NE(manual, 0u);
    db_->applicationFindInst(pc, app);
    EXPECT_EQ(db_->newGetAppInstSerial(manual), "SER-1");  // the first text is the serial
    EXPECT_EQ(db_->applicationGetVersion(manual), "2.0");  // the second the version
    EXPECT_EQ(db_->newGetAppInstFiles(manual), 0u);
    EXPECT_EQ(db_->applicationAddInstance(pc, app, "other", "3.0", 2), manual);
    EXPECT_EQ(db_->applicationGetVersion(manual), "2.0");  // an existing instance keeps its texts

    const ULong viewer = db_->applicationAdd("Acme", "Viewer", 1);
    const ULong fromFile = db_->applicationAddInstance(pc, viewer, "", "", 2);
    db_->applicationAddInstance(pc, viewer, "", "", 2);
    db_->applicationAddInstance(pc, viewer, "", "", 2);
    db_->applicationFindInst(pc, viewer);
    EXPECT_EQ(db_->newGetAppInstFiles(fromFile), 3u);
    EXPECT_EQ(db_->newGetAppInstFlags(fromFile), 2u);
    EXPECT_EQ(db_->newGetAppInstAppID(fromFile), viewer);
    EXPECT_EQ(AllMessages(), "");
}

NORVIK_ON_BOTH_ENGINES(Applications);

}  // namespace
