// The options store on both engines.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

class Options : public EngineTest {};

TEST_P(Options, QuotesWildcardsAndLongValuesSurviveAndFailuresAreShown) {
    const std::string longValue(5000, 'v');
    const std::pair<const char*, std::string> cases[] = {
        {"O'Neil's key", "it's 'quoted'"}, {"100%_done", "*?[x]"}, {"long", longValue}, {"caf\xE9", "na\xEFve \x80"}};
    for (const auto& [key, value] : cases) db_->SetOption(key, value.c_str());
    for (const auto& [key, value] : cases) EXPECT_EQ(db_->GetOption(key).str(), value) << key;
    // A wildcard in a key matches only itself.
    EXPECT_STREQ(db_->GetOption("100x_done").c_str(), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();

    // A failure reaches the message box with the statement.
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
