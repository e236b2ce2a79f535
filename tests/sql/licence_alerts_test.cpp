// Licence alerts on both engines: adding, finding, reading back with the date, counting,
// deleting, and the delete-all statement that the engines refuse.
#include <gtest/gtest.h>

#include "support/engine_test.h"

namespace {

class LicenceAlerts : public EngineTest {};

TEST_P(LicenceAlerts, AlertReadsBackWithItsDate) {
    // A date past 2038 also checks that times above 2^31 seconds survive both engines.
    const CTime when(2040, 6, 30, 23, 59, 58);
    const ULong alert = db_->licensealertAdd(1, 17, when, 10, 12);
    ASSERT_NE(alert, 0u) << AllMessages();
    int type = 0, app = 0, declared = 0, instances = 0;
    CTime date;
    EXPECT_EQ(db_->licensealertGetDetails(alert, &type, &app, &date, &declared, &instances), 1u);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(app, 17);
    EXPECT_EQ(date, when);
    EXPECT_EQ(declared, 10);
    EXPECT_EQ(instances, 12);
    EXPECT_EQ(db_->licensealertGetDetails(alert, nullptr, nullptr, nullptr, nullptr, nullptr), 1u);
    type = 5;
    EXPECT_EQ(db_->licensealertGetDetails(alert + 9, &type, nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(type, 5) << "a missing alert writes nothing";
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LicenceAlerts, FindCountEnumAndDelete) {
    const CTime when(2024, 3, 1, 9, 30, 0);
    const ULong a = db_->licensealertAdd(1, 17, when, 10, 12);
    const ULong b = db_->licensealertAdd(2, 17, when, 10, 12);
    const ULong c = db_->licensealertAdd(1, 18, when, 1, 3);
    EXPECT_EQ(db_->licensealertFind(1, 17), a);
    EXPECT_EQ(db_->licensealertFind(2, 17), b);
    EXPECT_EQ(db_->licensealertFind(2, 18), 0u);
    EXPECT_EQ(db_->licensealertGetCount(), 3u);
    CDynaList<ULong> ids;
    ids.Add(999);
    EXPECT_EQ(db_->EnumLicenseAlerts(ids), 3u) << "the list starts afresh";
    db_->licensealertDelete(b);
    EXPECT_EQ(db_->licensealertGetCount(), 2u);
    EXPECT_EQ(db_->licensealertFind(1, 18), c);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LicenceAlerts, DeleteAllIsReportedAndDeletesNothing) {
    db_->licensealertAdd(1, 17, CTime(2024, 3, 1, 9, 30, 0), 10, 12);
    db_->licensealertDeleteAll();
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_NE(messages_[0].find("\nSQL String : delete * from LICALERTS"), std::string::npos) << messages_[0];
    EXPECT_EQ(db_->licensealertGetCount(), 1u);
}

NORVIK_ON_BOTH_ENGINES(LicenceAlerts);

}  // namespace
