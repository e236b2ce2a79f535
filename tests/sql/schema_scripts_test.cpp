// The statement splitter and the embedded scripts.
#include "sql/schema_scripts.h"

#include <gtest/gtest.h>

#include "sql/schema_installer.h"

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
    const auto statements = SplitSqlScript(script);
    ASSERT_EQ(statements.size(), 5u);
    EXPECT_EQ(statements[0], "create table A (_ID integer)");
    EXPECT_EQ(statements[1], "insert into A values (';'' still text')");
    EXPECT_EQ(statements[2], "create function f() returns int language plpgsql as $$ begin return 1; end; $$");
    EXPECT_EQ(statements[3], "create function g() returns int language plpgsql as $body$ begin return 2; end; $body$");
    EXPECT_EQ(statements[4], "select 1");
}

TEST(SchemaScripts, EveryEngineHasEveryCreatableVersion) {
    for (const char* engine : {"sqlite", "postgresql"}) {
        EXPECT_NE(SchemaScript((std::string(engine) + "/tables.sql").c_str()), nullptr) << engine;
        for (const auto& version : CreatableSchemaVersions()) {
            if (version == "7.14") continue;
            std::string delta = std::string(engine) + "/v" + version + ".sql";
            delta[delta.size() - 7] = '_';
            EXPECT_NE(SchemaScript(delta.c_str()), nullptr) << delta;
        }
    }
    EXPECT_NE(SchemaScript("sqlite/usp_clean.sql"), nullptr);
    EXPECT_EQ(SchemaScript("sqlite/none.sql"), nullptr);
}

TEST(SchemaScripts, TableNamesComeFromTheSchema) {
    const auto names = AuditTableNames();
    EXPECT_GE(names.size(), 20u);
    EXPECT_EQ(names.front(), "VERSION");
    EXPECT_NE(std::find(names.begin(), names.end(), "OPTIONS"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), "ASSET"), names.end());
}

}  // namespace
