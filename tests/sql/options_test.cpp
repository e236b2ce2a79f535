// The options store on both engines, with the company name kept in it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/engine_test.h"

namespace {

class Options : public EngineTest {};

TEST_P(Options, QuotesWildcardsAndLongValuesSurvive) {
    const std::string longValue(5000, 'v');
    const std::pair<const char*, std::string> cases[] = {
        {"O'Neil's key", "it's 'quoted'"},
        {"100%_done", "*?[x]"},
        {"long", longValue},
        {"caf\xE9", "na\xEFve \x80"},
    };
    for (const auto& [key, value] : cases) db_->SetOption(key, value.c_str());
    for (const auto& [key, value] : cases) EXPECT_EQ(db_->GetOption(key).str(), value) << key;
    // A wildcard in a key matches only itself.
    EXPECT_STREQ(db_->GetOption("100x_done").c_str(), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Options, FailureReachesTheMessageBoxWithTheStatement) {
    db_->ExecuteStatement("drop table OPTIONS");
    EXPECT_STREQ(db_->GetOption("Key").c_str(), "");
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].rfind("ODBC Error code -1\nError : ", 0), 0u) << messages_[0];
    EXPECT_NE(messages_[0].find("\nOrigin : "), std::string::npos);
    EXPECT_NE(messages_[0].find("\nSQL String : select _VAL from OPTIONS where _KEY = 'Key'"), std::string::npos)
        << messages_[0];
    EXPECT_EQ(styles_[0], 48u);
    db_->SetOption("Key", "v");
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_NE(messages_[1].find("SQL String : select _ID from OPTIONS where _KEY = 'Key'"), std::string::npos);
}

TEST_P(Options, CompanyNameIsReadFromTheRegistryOnceThenFromTheOption) {
    const auto registry = std::filesystem::temp_directory_path() / ("norvik_registry_" + std::to_string(getpid()));
    setenv("NORVIK_REGISTRY", registry.c_str(), 1);
    auto write = [&](const char* company) {
        std::ofstream(registry) << "[" << CNorvik::REG_KEY_UNINSTALL << "]\nRegCompany=" << company << "\n";
    };
    write("Example Works Ltd");
    EXPECT_STREQ(db_->GetCompanyName().c_str(), "Example Works Ltd");
    EXPECT_STREQ(db_->GetOption("CompanyName").c_str(), "Example Works Ltd");
    write("Someone Else");
    EXPECT_STREQ(db_->GetCompanyName().c_str(), "Example Works Ltd");
    EXPECT_STREQ(db_->GetIconName(0).c_str(), "Example Works Ltd");
    std::filesystem::remove(registry);
    unsetenv("NORVIK_REGISTRY");
}

NORVIK_ON_BOTH_ENGINES(Options);

}  // namespace
