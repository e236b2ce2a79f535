// The options store on both engines.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

class Options : public EngineTest {};

// Keys and values of every kind of text are checked with every family's texts.
TEST_P(Options, LongValuesSurviveAndFailuresAreShownWithTheirStatement) {
    const std::string longValue(5000, 'v');
    db_->SetOption("long", longValue.c_str());
    EXPECT_EQ(db_->GetOption("long").str(), longValue);
    db_->ExecuteStatement("drop table OPTIONS");
    EXPECT_STREQ(db_->GetOption("Key").c_str(), "");
    db_->SetOption("Key", "v");
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_NE(messages_[0].find("\nSQL String : select _VAL from OPTIONS where _KEY = 'Key'"), std::string::npos)
        << messages_[0];
    EXPECT_NE(messages_[1].find("\nSQL String : select _ID from OPTIONS where _KEY = 'Key'"), std::string::npos);
}

NORVIK_ON_BOTH_ENGINES(Options);

}  // namespace
