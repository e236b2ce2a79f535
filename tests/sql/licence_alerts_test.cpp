// Licence alerts: add, find, read back, count, delete, and the refused delete-all.
#include <gtest/gtest.h>

#include <vector>

#include "support/engine_test.h"

namespace {

class LicenceAlerts : public EngineTest {};

TEST_P(LicenceAlerts, AlertsReadBackAreFoundByTypeAndAppAndDeletedOneByOne) {
    // A date past 2038 also checks that times above 2^31 seconds survive both engines.
    const CTime when(2040, 6, 30, 23, 59, 58);
    const ULong a = db_->licensealertAdd(1, 17, when, 10, 12);
    ASSERT_NE(a, 0u) << AllMessages();
    const ULong b = db_->licensealertAdd(2, 17, when, 10, 12);
    const ULong c = db_->licensealertAdd(1, 18, when, 1, 3);
    int type = 0, app = 0, declared = 0, instances = 0;
    CTime date;
    EXPECT_EQ(db_->licensealertGetDetails(a, &type, &app, &date, &declared, &instances), 1u);
    EXPECT_EQ(std::vector<int>({type, app, declared, instances}), std::vector<int>({1, 17, 10, 12}));
    EXPECT_EQ(date, when);
    EXPECT_EQ(db_->licensealertGetDetails(a, nullptr, nullptr, nullptr, nullptr, nullptr), 1u);
    type = 5;
    EXPECT_EQ(db_->licensealertGetDetails(c + 9, &type, nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(type, 5) << "a missing alert writes nothing";
    EXPECT_EQ(db_->licensealertFind(2, 18), 0u);
    CDynaList<ULong> ids;
    ids.Add(999);
    EXPECT_EQ(db_->EnumLicenseAlerts(ids), 3u) << "the list starts afresh";
    db_->licensealertDelete(b);
    EXPECT_EQ(db_->licensealertGetCount(), 2u);
    EXPECT_EQ(db_->licensealertFind(1, 18), c);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
    // Deleting them all is reported and deletes nothing.
    db_->licensealertDeleteAll();
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_NE(messages_[0].find("\nSQL String : delete * from LICALERTS"), std::string::npos) << messages_[0];
    EXPECT_EQ(db_->licensealertGetCount(), 2u);
}

NORVIK_ON_BOTH_ENGINES(LicenceAlerts);

}  // namespace
