// The wildcard rules of asset-name patterns and of the internet searches, case by case.
#include <gtest/gtest.h>

#include "sql/name_pattern.h"

namespace {

TEST(NamePattern, StarAndQuestionMarkAreTheOnlyWildcards) {
    const struct {
        const char* pattern;
        const char* name;
        bool matches;
    } cases[] = {
        {"", "", true},
        {"", "a", false},
        {"*", "", true},
        {"PC-*", "pc-0042", true},
        {"PC-*", "XPC-1", false},
        {"*-1", "PC-1", true},
        {"*-1", "PC-12", false},
        {"?", "", false},
        {"??", "x", false},
        {"a*b*c", "a-b-b-c", true},
        {"a*b*c", "a-b-b-c-", false},
        {"*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", false},
        {"**x", "x", true},
        {"100%", "1000", false},
        {"a_c", "abc", false},
        {"a_c", "a_c", true},
        {"[ab]", "a", false},
        {"caf\xC9", "CAF\xC9", true},
        {"caf\xC9", "caf\xE9", false},  // only ASCII letters ignore case
        {"?\xFF", "\x80\xFF", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MatchNamePattern(c.pattern, c.name), c.matches) << '"' << c.pattern << "\" on \"" << c.name << '"';
    EXPECT_TRUE(MatchNamePattern(nullptr, ""));
    EXPECT_TRUE(MatchNamePattern("*", nullptr));
}

TEST(NamePattern, TextPatternsKeepLetterCase) {
    const struct {
        const char* pattern;
        const char* text;
        bool matches;
    } cases[] = {
        {"*.example.com", "www.example.com", true},
        {"*.example.com", "www.EXAMPLE.com", false},
        {"WWW.*", "www.a", false},
        {"www.?", "www.a", true},
        {"*", "", true},
        {"a*", "ba", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MatchTextPattern(c.pattern, c.text), c.matches) << '"' << c.pattern << "\" on \"" << c.text << '"';
}

}  // namespace
