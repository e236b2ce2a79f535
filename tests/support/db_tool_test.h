// The fixture of the tests that run the norvik tool on an Audit Database: each test gets a
// fresh database of one engine, a folder for the tool's files, and a back end of its own to
// seed and check the database the way the library's families do.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "support/cli_runner.h"
#include "support/engine_test.h"
#include "support/scratch_database.h"

class Seeder : public CNorvikSql {
public:
    using CNorvikSql::CNorvikSql;
    using CNorvikSql::historyAdd;
};

class DbTool : public ::testing::TestWithParam<Engine> {
protected:
    // `args` after the --dsn of the scratch database.
    std::vector<std::string> On(std::vector<std::string> args) const {
        args.insert(args.begin(), {"--dsn", scratch_->ConnectionString()});
        return args;
    }
    ToolResult Run(const std::vector<std::string>& args) { return RunTool(dir_.path, On(args)); }
    // Runs a command that must succeed and returns what it printed.
    std::string Ok(const std::vector<std::string>& args) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, 0) << args[0] << " " << args[1] << ": " << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    Seeder& Db() {
        if (!db_) {
            db_ = std::make_unique<Seeder>(kb_);
            EXPECT_NE(db_->Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
        }
        return *db_;
    }
    // The first number `statement` selects, 0 when it selects no row.
    ULong Number(const std::string& statement) {
        CSqlRecordset rs(&Db(), statement.c_str());
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    }

    ToolDir dir_{"norvik_db_cli"};
    std::unique_ptr<ScratchDatabase> scratch_ = std::make_unique<ScratchDatabase>(GetParam());
    CAuditDBSys kb_;
    std::unique_ptr<Seeder> db_;
};
