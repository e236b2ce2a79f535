// ExtractToken: delimiters, quotes, trimming and what is left of the source.
#include "common/token.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct TokenCase {
    const char* source;
    char delimiter;
    bool remove;
    bool quoteAware;
    bool stripQuotes;
    const char* token;
    const char* rest;
};

TEST(ExtractToken, SplitsTrimsAndStripsAsAsked) {
    const TokenCase cases[] = {
        {"a,b,c", ',', true, false, false, "a", "b,c"},
        {"a,b,c", ',', false, false, false, "a", "a,b,c"},
        {",b", ',', true, false, false, "", "b"},
        {" a ,b", ',', true, false, false, " a ", "b"},
        {"last  \t", ',', true, false, false, "last", ""},
        {"last  ", ',', false, false, false, "last", "last  "},
        {"", ',', true, false, false, "", ""},
        {"a,", ',', true, false, false, "a", ""},
        {"\"a b\" c", ' ', true, true, true, "a b", "c"},
        {"\"a b\" c", ' ', true, false, true, "\"a", "b\" c"},
        {"\"a b\" c", ' ', true, true, false, "\"a b\"", "c"},
        {"\"x\"", ',', true, false, true, "x", ""},
        {"\"", ',', true, false, true, "\"", ""},
        {"\"\"", ',', true, false, true, "", ""},
        {"\"a,b\",c", ',', true, true, true, "a,b", "c"},
        {"\"open,rest", ',', true, true, false, "\"open,rest", ""},
        {"PC|Base Unit", '|', true, false, false, "PC", "Base Unit"},
    };
    for (const TokenCase& c : cases) {
        CString source(c.source);
        const CString token = ExtractToken(source, c.delimiter, c.remove, c.quoteAware, c.stripQuotes);
        EXPECT_EQ(token, c.token) << "source [" << c.source << "]";
        EXPECT_EQ(source, c.rest) << "source [" << c.source << "]";
    }
}

}  // namespace
