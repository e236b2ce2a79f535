// The statement splitter of the embedded scripts.
#include "sql/schema_scripts.h"

#include <gtest/gtest.h>

namespace {

TEST(SplitSqlScript, EndsStatementsOnlyOutsideQuotesCommentsAndBodies) {
    const char* script =
        "-- a comment; with a semicolon\n"
        "create table A (_ID integer);\n"
        "insert into A values (';'' still text');\n"
        "create function f() returns int language plpgsql as $$ begin return 1; end; $$;\n"
        "create function g() returns int language plpgsql as $body$ begin return 2; end; $body$;\n"
        "  ;\n"
        "select 1";
    EXPECT_EQ(
        SplitSqlScript(script),
        (std::vector<std::string>{
            "create table A (_ID integer)", "insert into A values (';'' still text')",
            "create function f() returns int language plpgsql as $$ begin return 1; end; $$",
            "create function g() returns int language plpgsql as $body$ begin return 2; end; $body$", "select 1"}));
}

}  // namespace
