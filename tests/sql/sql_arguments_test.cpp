// Literal argument lists as the library writes them into procedure calls.
#include "sql/sql_arguments.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

TEST(SqlArguments, SplitsAndUnquotesLiterals) {
    const std::tuple<const char*, bool, std::vector<std::string>> cases[] = {
        {"", true, {}},
        {"'ASSET','_NAME,_PARENT','''pc'',3'", true, {"ASSET", "_NAME,_PARENT", "'pc',3"}},
        {"12, -3 ,'x'", true, {"12", "-3", "x"}},
        {"'it''s, here'", true, {"it's, here"}},
        {"''", true, {""}},
        {"'open", false, {}},
        {"'a' 'b'", false, {}}};
    for (const auto& [text, ok, expected] : cases) {
        std::vector<CString> args;
        EXPECT_EQ(ParseSqlArguments(text, &args), ok) << text;
        if (!ok) continue;
        ASSERT_EQ(args.size(), expected.size()) << text;
        for (std::size_t i = 0; i < args.size(); ++i) EXPECT_EQ(args[i].str(), expected[i]) << text;
    }
}

}  // namespace
