// CAssetFieldDef: the bit rules of its setters, the shared parameter storage, the descriptions
// of every type, and Load/Store against both engines (the 0x30 pick-list test included).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fielddef/asset_field_def.h"
#include "support/engine_test.h"

namespace {

TEST(AssetFieldDefBits, OwnerTakesTheFirstBitAndClearsTheLowNibble) {
    CAssetFieldDef def("Owner");
    EXPECT_EQ(def.GetOwner(), -1) << "a new definition has no owner bit";
    def.SetType(0x21);  // unmasked: bit 0x1 comes along
    def.SetOwner(1);
    EXPECT_EQ(def.GetFlags(), 0x24u) << "SetOwner clears the four lowest bits";
    def.SetOwner(3);
    EXPECT_EQ(def.GetOwner(), -1);
    EXPECT_EQ(def.GetFlags() & 0xF, 0u);
    def.SetOwner(2);
    EXPECT_EQ(def.GetOwner(), 2);
}

TEST(AssetFieldDefBits, TypeCaseRuleAndMandatoryKeepTheirOwnBits) {
    CAssetFieldDef def;
    def.SetOwner(0);
    def.SetMandatory(1);
    def.SetCaseRule(3);
    def.SetType(CAssetFieldDef::kDate);
    EXPECT_EQ(def.GetFlags(), 0x2u | 0x70 | 0x400 | 0x800);
    def.SetType(0x100);  // ORed in unmasked: a type value can set a case-rule bit
    EXPECT_EQ(def.GetType(), 0);
    EXPECT_EQ(def.GetCaseRule(), 1) << "0x100 is tested before 0x400";
    for (const auto& [rule, bits] :
         std::vector<std::pair<int, ULong>>{{1, 0x100}, {2, 0x200}, {3, 0x400}, {7, 0}, {0, 0}}) {
        def.SetCaseRule(rule);
        EXPECT_EQ(def.GetFlags() & 0x700, bits) << rule;
    }
    EXPECT_EQ(def.GetCaseRule(), 0);
    def.SetMandatory(0);
    EXPECT_EQ(def.IsMandatory(), 0);
    EXPECT_EQ(def.GetFlags(), 0x2u);
}

TEST(AssetFieldDefBits, ParametersAreSharedStorage) {
    CAssetFieldDef def;
    def.SetMin(5);
    EXPECT_EQ(def.GetRegKey().str(), "5");
    def.SetMax(-12);
    EXPECT_EQ(def.GetEnvVar().str(), "-12");
    def.SetRegKey("99999999999");
    EXPECT_EQ(def.GetMin(), 2147483647) << "clamped, not undefined";
    def.SetEnvVar("PATH");
    EXPECT_EQ(def.GetMax(), 0);
    const CAssetFieldDef copy(def);
    EXPECT_EQ(copy.GetEnvVar().str(), "PATH");
}

struct DescriptionCase {
    int type;
    int caseRule;
    bool mandatory;
    const char* first;
    const char* second;
    const char* typeName;
    const char* description;
};

TEST(AssetFieldDefText, DescriptionsOfEveryType) {
    const DescriptionCase cases[] = {
        {0x10, 2, true, "30", "", "Text", "Lower Case, Max 30 chars, Mandatory"},
        {0x10, 3, false, "0", "", "Text", "Title Case"},
        {0x10, 0, false, "abc", "", "Text", ""},
        {0x20, 0, true, "1", "10", "Integer", "Range 1 to 10, Mandatory"},
        {0x30, 1, false, "Floors", "", "Picklist", "lookup Floors"},
        {0x40, 0, true, "", "", "Boolean", "Mandatory"},
        {0x50, 0, true, "", "USERNAME", "EnvVar", "Environment Variable \"USERNAME\""},
        {0x60, 0, false, "HKLM\\Software\\X", "Version", "RegKey", "HKLM\\Software\\X, Version"},
        {0x70, 0, false, "", "", "Date", ""},
        {0x80, 0, true, "", "", "", "Mandatory"},
    };
    for (const DescriptionCase& c : cases) {
        CAssetFieldDef def("F");
        def.SetType(c.type);
        def.SetCaseRule(c.caseRule);
        def.SetMandatory(c.mandatory);
        def.SetRegKey(c.first);
        def.SetEnvVar(c.second);
        EXPECT_EQ(def.GetTypeStr().str(), c.typeName) << c.type;
        EXPECT_EQ(def.GetDescription().str(), c.description) << c.type;
    }
}

// ---- Load and Store ----

class FieldDefStore : public EngineTest {};

TEST_P(FieldDefStore, StoreThenLoadRoundTripsEveryMemberAndRenamesValuesWhenAsked) {
    const ULong group = db_->userDefAdd(0x1);
    CAssetFieldDef def("Budget");
    const ULong id = db_->userDefAdd(0);
    ASSERT_EQ(def.Load(*db_, id), 1);
    def.SetName("Budget");
    def.SetParent(group);
    def.SetOwner(0);
    def.SetType(CAssetFieldDef::kInteger);
    def.SetMin(-5);
    def.SetMax(5000);
    def.SetMandatory(1);
    ASSERT_EQ(def.Store(*db_, 0), 1) << AllMessages();
    CAssetFieldDef loaded;
    ASSERT_EQ(loaded.Load(*db_, id), 1);
    EXPECT_EQ(loaded.GetId(), id);
    EXPECT_EQ(loaded.GetParent(), group);
    EXPECT_EQ(loaded.GetName().str(), "Budget");
    EXPECT_EQ(loaded.GetFlags(), 0x822u);
    EXPECT_EQ(loaded.GetMin(), -5);
    EXPECT_EQ(loaded.GetMax(), 5000);
    EXPECT_EQ(loaded.Load(*db_, 4711), 0);

    const ULong value = db_->userDataAdd(group, 3, "Budget", "12", 0x2, 0, CTime());
    def.SetName("Spend");
    ASSERT_EQ(def.Store(*db_, 1), 1);
    EXPECT_EQ(db_->userDataGetKey(value, 0, '|').str(), "Spend");
}

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
