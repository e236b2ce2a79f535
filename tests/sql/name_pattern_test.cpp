// The wildcard rules of asset-name patterns and of the internet searches.
#include <gtest/gtest.h>

#include <tuple>

#include "sql/name_pattern.h"

namespace {

TEST(NamePattern, StarAndQuestionMarkAreTheOnlyWildcards) {
    // Only ASCII letters ignore case.
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"", "", true},
        {"", "a", false},
        {"*", "", true},
        {"PC-*", "pc-0042", true},
        {"PC-*", "XPC-1", false},
        {"?", "", false},
        {"a*b*c", "a-b-b-c", true},
        {"*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", false},
        {"100%", "1000", false},
        {"a_c", "abc", false},
        {"[ab]", "a", false},
        {"caf\xC9", "CAF\xC9", true},
        {"caf\xC9", "caf\xE9", false},
        {"?\xFF", "\x80\xFF", true}};
    for (const auto& [pattern, name, matches] : cases)
        EXPECT_EQ(MatchNamePattern(pattern, name), matches) << '"' << pattern << "\" on \"" << name << '"';
    EXPECT_TRUE(MatchNamePattern(nullptr, ""));
    EXPECT_TRUE(MatchNamePattern("*", nullptr));
    // Text patterns (the internet searches) keep letter case.
    for (const auto& [pattern, text, matches] :
         {std::tuple{"*.example.com", "www.example.com", true}, std::tuple{"*.example.com", "www.EXAMPLE.com", false},
          std::tuple{"WWW.*", "www.a", false}, std::tuple{"www.?", "www.a", true}, std::tuple{"a*", "ba", false}})
        EXPECT_EQ(MatchTextPattern(pattern, text), matches) << pattern << " on " << text;
}

}  // namespace
