// Audit scheduling on both engines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/engine_test.h"

namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;

class Scheduling : public EngineTest {};

TEST_P(Scheduling, AssetsAreDueOnceMoreThanTheIntervalOfWholeDaysHasPassed) {
    const std::tuple<const char*, int> cases[] = {{"7", 7},     {"3650", 3650}, {"0", 30},
                                                  {"3651", 30}, {"-7", 30},     {"7 days", 30},
                                                  {"", 30},     {"1e3", 30},    {"99999999999", 30}};
    for (const auto& [value, days] : cases) {
        db_->SetOption(CNorvikSql::kOptionAuditInterval, value);
        EXPECT_EQ(db_->GetAuditInterval(), days) << value;
    }
    // An interval (a whole number of days, else the default) of 10 days.
    db_->SetOption(CNorvikSql::kOptionAuditInterval, "10");
    const CTime now(2009, 6, 1, 12, 0, 0);
    const ULong never = db_->AddAsset("never", 0, 0, 0, CTime());
    const ULong atLimit = db_->AddAsset("at-limit", 0, 0, 0, CTime());
    const ULong overdue = db_->AddAsset("overdue", 0, 0, 0, CTime());
    const ULong recent = db_->AddAsset("recent", 0, 0, 0, CTime());
    const ULong child = db_->AddAsset("child", 0, 0, 0, CTime());
    const ULong retired = db_->AddAsset("retired", 0, 0, 0, CTime());
    db_->SetLastAuditDate(atLimit, CTime(now.GetTime() - 10 * kDay));
    db_->SetLastAuditDate(overdue, CTime(now.GetTime() - 10 * kDay - 1));
    db_->SetLastAuditDate(recent, CTime(now.GetTime() - kDay));
    db_->SetAssetParent(child, never, 1, 0, CTime());
    db_->SetAssetStateFlag(retired, 0x4, 1);
    CDynaList<ULong> due;
    EXPECT_EQ(db_->EnumScheduledAssets(due, now), 2u);
    EXPECT_EQ(Ids(due), std::vector<ULong>({never, overdue}));
    // A day later the asset at the limit is due too; the list is appended to.
    EXPECT_EQ(db_->EnumScheduledAssets(due, CTime(now.GetTime() + kDay)), 5u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(Scheduling);

}  // namespace
