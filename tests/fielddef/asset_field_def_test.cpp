// CAssetFieldDef: its description from the setters, and its pick items loaded from both engines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "fielddef/asset_field_def.h"
#include "support/engine_test.h"

namespace {

// The setters feed the shared description (whose every type the user-field tests walk).
TEST(AssetFieldDefText, SettersFeedTheDescription) {
    const std::tuple<int, int, bool, const char*, const char*, const char*, const char*> cases[] = {
        {0x10, 2, true, "30", "", "Text", "Lower Case, Max 30 chars, Mandatory"},
        {0x10, 3, false, "0", "", "Text", "Title Case"},
        {0x50, 0, true, "", "USERNAME", "EnvVar", "Environment Variable \"USERNAME\""},
        {0x70, 0, false, "", "", "Date", ""},
        {0x80, 0, true, "", "", "", "Mandatory"}};
    for (const auto& [type, caseRule, mandatory, first, second, typeName, description] : cases) {
        CAssetFieldDef def("F");
        def.SetType(type);
        def.SetCaseRule(caseRule);
        def.SetMandatory(mandatory);
        def.SetRegKey(first);
        def.SetEnvVar(second);
        EXPECT_EQ(def.GetTypeStr().str(), typeName) << type;
        EXPECT_EQ(def.GetDescription().str(), description) << type;
    }
}

class FieldDefStore : public EngineTest {};

TEST_P(FieldDefStore, PickItemsLoadForEveryTypeButBoolean) {
    const ULong list = db_->AddPicklist("Floors");
    for (const char* item : {"Ground", "First"}) db_->AddPickItem(list, item);
    auto loadAs = [&](int type) {
        const ULong id = db_->userDefAdd(0x2 | static_cast<ULong>(type));
        db_->userDefSetParams(id, "Floors", "");
        CAssetFieldDef def;
        def.Load(*db_, id);
        std::vector<std::string> items;
        for (const CString& item : def.GetPickItems()) items.push_back(item.str());
        return items;
    };
    const std::vector<std::string> both{"Ground", "First"};
    EXPECT_EQ(loadAs(CAssetFieldDef::kPicklist), both);
    EXPECT_EQ(loadAs(CAssetFieldDef::kText), both) << "0x30 is tested as a mask";
    EXPECT_TRUE(loadAs(CAssetFieldDef::kBoolean).empty());
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(FieldDefStore);

}  // namespace
