// Literal argument lists as the library writes them into procedure calls.
#include "sql/sql_arguments.h"

#include <gtest/gtest.h>

namespace {

TEST(SqlArguments, SplitsAndUnquotesLiterals) {
    struct Case {
        const char* text;
        bool ok;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"", true, {}},
        {"'ASSET','_NAME,_PARENT','''pc'',3'", true, {"ASSET", "_NAME,_PARENT", "'pc',3"}},
        {"12, -3 ,'x'", true, {"12", "-3", "x"}},
        {"'it''s, here'", true, {"it's, here"}},
        {"''", true, {""}},
        {"'open", false, {}},
        {"'a' 'b'", false, {}},
    };
    for (const auto& c : cases) {
        std::vector<CString> args;
        EXPECT_EQ(ParseSqlArguments(c.text, &args), c.ok) << c.text;
        if (!c.ok) continue;
        ASSERT_EQ(args.size(), c.expected.size()) << c.text;
        for (std::size_t i = 0; i < args.size(); ++i) EXPECT_EQ(args[i].str(), c.expected[i]) << c.text;
    }
}

}  // namespace
