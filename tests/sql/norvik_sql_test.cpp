// Opening an Audit Database: the schema-version check and the upgrade offers.
#include <gtest/gtest.h>

#include "support/engine_test.h"

namespace {

class OpenDatabase : public EngineTest {
protected:
    bool OpenInSetUp() const override { return false; }

    // Writes a version row through a plain connection, so the back end opens it fresh.
    void SetStoredVersion(int major, int minor) {
        CSqlDatabase raw;
        raw.OpenEx(scratch_->ConnectionString().c_str(), CDatabase::noOdbcDialog);
        raw.ExecuteStatement(CString::Formatted("update VERSION set _MAJOR=%d,_MINOR=%d", major, minor));
    }
};

TEST_P(OpenDatabase, OtherSchemaVersionsRefuseWithAMessage) {
    const std::string consult = " to v7.14.\n\nPlease consult your System Administrator";
    for (const auto& [major, minor, text] :
         {std::tuple{7, 15,
                     std::string("The client software needs upgrading\nto match the current SQL Server database "
                                 "Installation")},
          std::tuple{6, 50, "The Audit Database needs upgrading from v6.50" + consult},
          std::tuple{7, 9, "The Audit Database needs upgrading from v7.09" + consult},
          std::tuple{7, 13, "The Audit Database needs upgrading from v7.13" + consult}}) {
        messages_.clear();
        styles_.clear();
        SetStoredVersion(major, minor);
        auto db = MakeBackEnd();
        EXPECT_FALSE(OpenBackEnd(*db));
        ASSERT_EQ(messages_.size(), 1u) << text;
        EXPECT_EQ(messages_[0], text);
        EXPECT_EQ(styles_[0], 16u);
    }
}

TEST_P(OpenDatabase, DeclinedUpgradeReturnsZeroButLeavesTheConnectionOpen) {
    for (const auto& [minor, target] : {std::pair{8, "7.0.9"}, std::pair{10, "7.1.1"}, std::pair{12, "7.1.4"}}) {
        messages_.clear();
        SetStoredVersion(7, minor);
        auto db = MakeBackEnd();
        answer_ = 7;  // No
        EXPECT_FALSE(OpenBackEnd(*db));
        EXPECT_NE(db->IsDbOpen(), 0) << "the open flag stays set after a declined offer";
        ASSERT_EQ(messages_.size(), 1u);
        EXPECT_EQ(messages_[0], std::string("Yor database will now be upgraded to v") + target +
                                    "\nThis may take some time.\n\nDo you wish to continue?");
        EXPECT_EQ(styles_[0], 36u);
    }
}

NORVIK_ON_BOTH_ENGINES(OpenDatabase);

}  // namespace
