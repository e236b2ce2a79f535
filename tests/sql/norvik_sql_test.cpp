// Opening an Audit Database: the schema-version check, the upgrade offers and their answers,
// the messages, and what a failed open leaves behind.
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

TEST_P(OpenDatabase, CurrentVersionOpensWithoutAMessage) {
    EXPECT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
    EXPECT_NE(db_->IsDbOpen(), 0);
    EXPECT_EQ(db_->GetVer(), 714);
    EXPECT_EQ(db_->GetDbType(), 1);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    EXPECT_EQ(db_->CloseDB(), 1);
    EXPECT_EQ(db_->IsDbOpen(), 0);
}

TEST_P(OpenDatabase, NewerSchemaAsksForANewerClient) {
    SetStoredVersion(7, 15);
    EXPECT_EQ(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0],
              "The client software needs upgrading\nto match the current SQL Server database Installation");
    EXPECT_EQ(styles_[0], 16u);
}

TEST_P(OpenDatabase, OlderSchemaWithoutOfferNamesBothVersions) {
    for (const auto& [major, minor, text] :
         {std::tuple{6, 50, "v6.50"}, std::tuple{7, 9, "v7.09"}, std::tuple{7, 13, "v7.13"}}) {
        messages_.clear();
        SetStoredVersion(major, minor);
        auto db = MakeBackEnd();
        EXPECT_EQ(OpenBackEnd(*db), false);
        ASSERT_EQ(messages_.size(), 1u) << text;
        EXPECT_EQ(messages_[0], std::string("The Audit Database needs upgrading from ") + text +
                                    " to v7.14.\n\nPlease consult your System Administrator");
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

TEST_P(OpenDatabase, AcceptedUpgradeRunsAndOpensAtTheRequiredVersion) {
    SetStoredVersion(7, 8);
    answer_ = 6;  // Yes
    EXPECT_TRUE(OpenBackEnd(*db_)) << AllMessages();
    ASSERT_EQ(messages_.size(), 1u) << "the offer, then no further question";
    EXPECT_EQ(db_->GetVer(), 714);
}

TEST_P(OpenDatabase, WrongConnectionStringIsReportedAndClearsTheOpenFlag) {
    EXPECT_EQ(db_->Open("Driver={No Such Driver};Database=x", nullptr, 0x4), 0);
    EXPECT_EQ(db_->IsDbOpen(), 0);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].rfind("ODBC Error code -1\nError : ", 0), 0u) << messages_[0];
    EXPECT_EQ(messages_[0].find("SQL String"), std::string::npos);
    EXPECT_EQ(styles_[0], 48u);
}

TEST_P(OpenDatabase, DatabaseWithoutAVersionTableIsReported) {
    {
        CSqlDatabase raw;
        raw.OpenEx(scratch_->ConnectionString().c_str(), CDatabase::noOdbcDialog);
        raw.ExecuteStatement("drop table VERSION");
    }
    EXPECT_FALSE(OpenBackEnd(*db_));
    EXPECT_EQ(db_->IsDbOpen(), 0);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].rfind("ODBC Error code", 0), 0u);
}

TEST_P(OpenDatabase, SetVerWritesAndCachesTheVersion) {
    ASSERT_TRUE(OpenBackEnd(*db_));
    db_->SetVer(7, 12);
    EXPECT_EQ(db_->GetVer(), 712);
    unsigned short major = 0;
    unsigned short minor = 0;
    db_->GetVer(major, minor);
    EXPECT_EQ(major, 7);
    EXPECT_EQ(minor, 12);
}

NORVIK_ON_BOTH_ENGINES(OpenDatabase);

class OlderSchema : public EngineTest {
protected:
    bool OpenInSetUp() const override { return false; }
    const char* SchemaVersion() const override { return "7.08"; }
};

TEST_P(OlderSchema, CreatedOldSchemaIsOfferedItsUpgrade) {
    EXPECT_FALSE(OpenBackEnd(*db_));
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_NE(messages_[0].find("v7.0.9"), std::string::npos);
    answer_ = 6;  // Yes
    auto accepted = MakeBackEnd();
    EXPECT_TRUE(OpenBackEnd(*accepted)) << AllMessages();
    EXPECT_EQ(accepted->GetVer(), 714);
}

NORVIK_ON_BOTH_ENGINES(OlderSchema);

}  // namespace

namespace {

class AssetPlace : public EngineTest {};

TEST_P(AssetPlace, LocationIsFoundThroughParentAssets) {
    // A printer (status bit 0x1000: its parent is an asset) on a computer in location 7.
    const ULong pc = db_->InsertRecord("ASSET", "_NAME,_LOCATION,_STATUS", "'pc',7,0");
    const ULong printer =
        db_->InsertRecord("ASSET", "_NAME,_LOCATION,_STATUS", CString::Formatted("'printer',%d,4096", pc));
    int isLocation = -1;
    EXPECT_EQ(db_->GetAssetParent(printer, isLocation), pc);
    EXPECT_EQ(isLocation, 0);
    EXPECT_EQ(db_->GetAssetParent(pc, isLocation), 7u);
    EXPECT_EQ(isLocation, 1);
    EXPECT_EQ(db_->GetAssetLocation(printer), 7u);
    EXPECT_EQ(db_->GetAssetLocation(pc), 7u);
    EXPECT_EQ(db_->GetAssetLocation(9999), 0u);
}

NORVIK_ON_BOTH_ENGINES(AssetPlace);

}  // namespace
