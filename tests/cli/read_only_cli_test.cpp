// Commands that only read work on a database this user may not change: a SQLite file of mode
// 0444 in a folder of mode 0555, or a PostgreSQL session that may not write.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/db_tool_test.h"

namespace {

const std::vector<std::vector<std::string>> kReadingCommands = {
    {"field", "list"},
    {"picklist", "list"},
    {"web", "PC1"},
    {"web", "search", "x"},
    {"discover", "list"},
    {"note", "list"},
    {"user", "list"},
    {"security", "status"},
    {"capture", "list", "PC1"},
    {"serial", "list"},
    {"sw", "PC1"},
    {"app", "list"},
    {"app", "list", "--asset", "PC1"},
    {"app", "publishers"},
    {"app", "duplicates"},
    {"app", "orphans"},
    {"licence", "type", "list"},
    {"licence", "alerts"},
    {"licence", "report"},
    {"schedule"},
};

class ReadOnlyDatabase : public DbTool {
protected:
    // Runs `args` on the database opened as this user may not write it.
    ToolResult RunReadOnly(std::vector<std::string> args) {
        if (GetParam() == Engine::PostgreSql) {
            args.insert(args.begin(), {"--dsn", scratch_->ConnectionString() +
                                                    "ConnSettings={SET default_transaction_read_only=on};"});
            return RunTool(dir_.path, args);
        }
        args.insert(args.begin(), {"--db", file_.string()});
        return RunToolUnprivileged(dir_.path, args);
    }
    // The SQLite database copied into a folder of its own, both made read-only.
    void MakeReadOnly() {
        if (GetParam() == Engine::PostgreSql) return;
        const std::filesystem::path folder = dir_.path / "ro";
        std::filesystem::create_directory(folder);
        file_ = folder / "a.db";
        std::filesystem::copy_file(DatabaseOf(scratch_->ConnectionString()), file_);
        ::chmod(file_.c_str(), 0444);
        ::chmod(folder.c_str(), 0555);
        ::chmod(dir_.path.c_str(), 0755);
    }

    std::filesystem::path file_;
};

TEST_P(ReadOnlyDatabase, ListingsWereRefusedOnAReadOnlyDatabase) {
    Ok({"asset", "add", "PC1"});
    db_.reset();
    MakeReadOnly();
    for (const auto& command : kReadingCommands) {
        const ToolResult result = RunReadOnly(command);
        EXPECT_EQ(result.exitCode, 0) << command[0] << " " << (command.size() > 1 ? command[1] : "") << ": "
                                      << result.err;
        EXPECT_EQ(result.err, "") << command[0];
    }
    const ToolResult change = RunReadOnly({"asset", "add", "PC2"});
    EXPECT_EQ(change.exitCode, 1);
    EXPECT_NE(change.err, "");
}

NORVIK_ON_BOTH_ENGINES(ReadOnlyDatabase);

}  // namespace
