// The security switch on both engines.
#include <gtest/gtest.h>

#include <utility>

#include "support/engine_test.h"

namespace {

class Security : public EngineTest {};

// Any non-zero argument switches security on and is stored as 1.
TEST_P(Security, SwitchIsStoredAsZeroOrOne) {
    EXPECT_EQ(db_->IsSecurityEnabled(), 0) << "a new database asks nobody to log on";
    for (const auto& [enable, stored] : {std::pair{1, 1u}, {0, 0u}, {7, 1u}, {-1, 1u}, {0, 0u}}) {
        EXPECT_EQ(db_->EnableSecurity(enable), 1);
        EXPECT_EQ(db_->IsSecurityEnabled(), stored != 0 ? 1 : 0) << enable;
        EXPECT_EQ(db_->SelectNumber("SECURITY", "_ENABLED", 1), stored) << enable;
    }
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(Security);

}  // namespace
