// The picklist and field verbs and asset set/show end to end on both engines: definitions,
// validation messages and exit codes, nothing written for a refused value, history written for
// an accepted one, and the JSON "fields" object.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/formatting.h"
#include "support/cli_runner.h"
#include "support/scratch_database.h"

namespace {

class FieldTool : public ::testing::TestWithParam<Engine> {
protected:
    ToolResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--dsn", scratch_.ConnectionString()});
        return RunTool(dir_.path, args);
    }
    std::string Ok(const std::vector<std::string>& args) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.exitCode, 0) << args[0] << " " << args[1] << ": " << result.err;
        return result.out;
    }

    ToolDir dir_{"norvik_field_cli"};
    ScratchDatabase scratch_{GetParam()};
};

TEST_P(FieldTool, PicklistsAreKeptByName) {
    EXPECT_EQ(Ok({"picklist", "add", "Floors", "Ground", "First"}), "1\n");
    ExpectRefused(Run({"picklist", "add", "Floors"}), 1, "a pick list named 'Floors' already exists (id 1)");
    Ok({"picklist", "add-item", "Floors", "Roof's top"});
    Ok({"picklist", "delete-item", "Floors", "First"});
    EXPECT_EQ(Ok({"--json", "picklist", "items", "Floors"}), "[\"Ground\", \"Roof's top\"]\n");
    Ok({"picklist", "rename", "Floors", "Levels"});
    EXPECT_EQ(Ok({"--json", "picklist", "list"}), "[{\"id\": 1, \"name\": \"Levels\", \"items\": 2}]\n");
    EXPECT_EQ(Ok({"picklist", "delete", "Levels"}), "deleted pick list 'Levels' and its 2 item(s)\n");
    ExpectRefused(Run({"picklist", "items", "Levels"}), 1, "no pick list is named 'Levels'");
    ExpectRefused(Run({"picklist", "add", ""}), 2, "may not be empty");
}

TEST_P(FieldTool, FieldsAreDefinedRenamedAndDeleted) {
    Ok({"picklist", "add", "Floors", "Ground", "First"});
    EXPECT_EQ(Ok({"field", "add", "Budget", "--type", "integer", "--min", "1", "--max", "10", "--group", "Finance",
                  "--mandatory"}),
              "2  Budget\n");
    Ok({"field", "add", "Floor", "--type", "picklist", "--list", "Floors"});
    Ok({"field", "add", "Licence", "--type", "text", "--owner", "application", "--case", "upper"});
    EXPECT_EQ(Ok({"--json", "field", "list"}),
              "[{\"id\": 3, \"name\": \"Floor\", \"group\": \"\", \"owner\": \"asset\", \"type\": \"Picklist\", "
              "\"description\": \"lookup Floors\"}, {\"id\": 4, \"name\": \"Licence\", \"group\": \"\", \"owner\": "
              "\"application\", \"type\": \"Text\", \"description\": \"Upper Case\"}, {\"id\": 2, \"name\": "
              "\"Budget\", \"group\": \"Finance\", \"owner\": \"asset\", \"type\": \"Integer\", \"description\": "
              "\"Range 1 to 10, Mandatory\"}]\n");
    ExpectRefused(Run({"field", "add", "X", "--type", "colour"}), 2, "needs --type");
    ExpectRefused(Run({"field", "add", "X", "--type", "boolean", "--min", "1"}), 2, "--min does not apply");
    ExpectRefused(Run({"field", "add", "X", "--type", "picklist", "--list", "None"}), 1, "no pick list");
    ExpectRefused(Run({"field", "add", "Location", "--type", "text"}), 2, "built-in name");
    ExpectRefused(Run({"field", "add", "Floor", "--type", "text"}), 1, "already exists");

    Ok({"asset", "add", "PC-7"});
    Ok({"asset", "set", "PC-7", "Floor", "First"});
    Ok({"field", "rename", "Floor", "Level", "--keep-values"});
    EXPECT_EQ(Ok({"field", "values", "Level"}), "Value  Assets\nFirst       1\n");
    Ok({"field", "rename", "Level", "Storey"});
    EXPECT_EQ(Ok({"field", "values", "Storey"}), "Value  Assets\n");
    Ok({"field", "delete", "Storey", "--with-values"});
    ExpectRefused(Run({"field", "values", "Storey"}), 1, "no field is named 'Storey'");
}

TEST_P(FieldTool, AssetSetValidatesAsTheEditingControlDoes) {
    Ok({"field", "add", "Budget", "--type", "integer", "--min", "1", "--max", "10"});
    Ok({"field", "add", "Tag", "--type", "text", "--max", "3", "--case", "title"});
    Ok({"field", "add", "Spare", "--type", "boolean"});
    Ok({"field", "add", "Bought", "--type", "date"});
    Ok({"asset", "add", "PC-7"});
    ExpectRefused(Run({"asset", "set", "PC-7", "Budget", "11"}), 1, "Field Value must be between 1 and 10");
    ExpectRefused(Run({"asset", "set", "PC-7", "Spare", "maybe"}), 1, "not one of the entries of Spare: yes, no");
    ExpectRefused(Run({"asset", "set", "PC-7", "Nothing", "x"}), 1, "no asset-level field");
    EXPECT_EQ(Ok({"history", "PC-7"}).find("Budget"), std::string::npos) << "nothing written";

    Ok({"asset", "set", "PC-7", "Budget", "+5"});
    const ToolResult trimmed = Run({"asset", "set", "PC-7", "Tag", "aBCDEF"});
    EXPECT_EQ(trimmed.exitCode, 0);
    EXPECT_EQ(trimmed.err, "norvik: Entered string was too long and has been trimmed to 'aBC'\n");
    Ok({"asset", "set", "PC-7", "Spare", "no"});
    Ok({"asset", "set", "PC-7", "Bought", "2024-02-29"});
    Ok({"asset", "set", "PC-7", "Serial Number", "SN 1"});
    ExpectRefused(Run({"asset", "set", "PC-7", "Location", "Nowhere"}), 1, "No location is found");
    const std::string json = Ok({"--json", "asset", "show", "PC-7"});
    // The date as the platform shows dates, in the locale's order.
    const std::string bought = FormatDate(2024, 2, 29, '/').str();
    EXPECT_NE(json.find("\"fields\": {\"Category\": \"\", \"Make\": \"\", \"Model\": \"\", \"Serial Number\": \"SN "
                        "1\", \"Budget\": \"+5\", \"Tag\": \"Abc\", \"Spare\": \"no\", \"Bought\": \"" +
                        bought + "\"}}"),
              std::string::npos)
        << json;
    EXPECT_NE(Ok({"history", "PC-7"}).find("Tag"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(, FieldTool, ::testing::Values(Engine::Sqlite, Engine::PostgreSql),
                         [](const ::testing::TestParamInfo<Engine>& info) { return EngineName(info.param); });

}  // namespace
