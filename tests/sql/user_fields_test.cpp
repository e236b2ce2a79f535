// User-defined fields and their values on both engines, built-in names included.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "sql/sql_recordset.h"
#include "support/asset_views.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

class UserFields : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    // A definition named `key` with `flags` in `group`.
    ULong Def(const char* key, ULong flags, ULong group = 0) {
        const ULong def = db_->userDefAdd(flags);
        EXPECT_NE(def, 0u) << AllMessages();
        db_->userDefSetKey(def, key, 0);
        db_->userDefSetParent(def, group);
        return def;
    }
    std::vector<std::string> Fields(ULong group, ULong mask, int recursive) {
        CSortList list;
        const ULong count = db_->userDefEnum(group, list, mask, recursive);
        EXPECT_EQ(count, list.GetCount());
        return Texts(list);
    }
    std::vector<std::string> History(ULong asset) { return HistoryValuesOf(*db_, asset); }

    const CTime when_{2024, 3, 1, 10, 0, 0};
};

TEST_P(UserFields, GroupsAreNeverListedAsFieldsWhateverTheMask) {
    const ULong group = Def("Finance", 0x1 | 0x2 | 0x4);
    Def("Owner", 0x2 | 0x10);
    Def("Licence Key", 0x4 | 0x10);
    Def("Cost Centre", 0x2 | 0x10, group);
    const ULong inner = Def("Inner", 0x1, group);
    Def("Budget", 0x2 | 0x20, inner);
    EXPECT_EQ(Fields(0, 0xFFFFFFFF, 0), (std::vector<std::string>{"Owner", "Licence Key"}));
    EXPECT_EQ(Fields(0, 0x2, 0), (std::vector<std::string>{"Owner"}));
    EXPECT_EQ(Fields(0, 0x1, 1), (std::vector<std::string>{})) << "the group bit selects nothing";
    EXPECT_EQ(Fields(0, 0x2, 1), (std::vector<std::string>{"Owner", "Cost Centre", "Budget"}));
    EXPECT_EQ(Fields(group, 0xE, 0), (std::vector<std::string>{"Cost Centre"}));
    EXPECT_EQ(db_->userDefFind("Cost Centre", 0x4), 0u);
}

TEST_P(UserFields, RenameCarriesValuesOnlyWhenAskedAndWhenTheNameChanges) {
    const ULong group = Def("Finance", 0x1);
    const ULong def = Def("Owner", 0x12, group);
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    const ULong value = db_->userDataAdd(group, pc, "Owner", "Ann", 0x2, 0, when_);
    // A value of the same name in another group is not this field's.
    const ULong stranger = db_->userDataAdd(0, pc, "Owner", "Bob", 0x2, 0, when_);

    EXPECT_EQ(db_->userDefSetKey(def, "Owner", 1), 1);
    EXPECT_EQ(db_->userDefSetKey(def, "Keeper", 1), 1);
    EXPECT_EQ(db_->userDataGetKey(value, 0, '|').str(), "Keeper");
    EXPECT_EQ(db_->userDataGetKey(value, 1, '|').str(), "Finance|Keeper");
    EXPECT_EQ(db_->userDataGetKey(stranger, 1, '|').str(), "Owner");

    EXPECT_EQ(db_->userDefSetKey(def, "User", 0), 1);
    EXPECT_EQ(db_->userDefGetKey(def).str(), "User");
    EXPECT_EQ(db_->userDataGetKey(value, 0, '|').str(), "Keeper") << "left under the old name";
}

TEST_P(UserFields, DeleteRemovesValuesOnlyWhenAsked) {
    const ULong kept = Def("Owner", 0x12);
    const ULong gone = Def("Room", 0x12);
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    db_->userDataAdd(0, pc, "Owner", "Ann", 0x2, 0, when_);
    db_->userDataAdd(0, pc, "Room", "12", 0x2, 0, when_);
    db_->userDataAdd(0, 77, "Room", "app", 0x4, 0, when_);
    EXPECT_EQ(db_->userDefDelete(kept, 0), 1);
    EXPECT_EQ(db_->userDefDelete(gone, 1), 1);
    EXPECT_EQ(db_->userDefFind("Owner", 0xE), 0u);
    EXPECT_EQ(Rows("USERDATA", "_KEY='Owner'"), 1u);
    EXPECT_EQ(Rows("USERDATA", "_KEY='Room'"), 1u) << "only the owner bits of the field";
    EXPECT_EQ(Rows("USERDEF"), 0u);
}

TEST_P(UserFields, DeletingAGroupMovesItsContentsUp) {
    const ULong outer = Def("Outer", 0x1);
    const ULong group = Def("Inner", 0x1, outer);
    const ULong field = Def("Owner", 0x12, group);
    const ULong value = db_->userDataAdd(group, 5, "Owner", "Ann", 0x2, 0, when_);
    EXPECT_EQ(db_->userDataDelete(group, 1, CTime()), 1) << AllMessages();
    EXPECT_EQ(db_->userDefGetParent(field), outer);
    EXPECT_EQ(db_->SelectNumber("USERDATA", "_PARENT", value), outer);
    EXPECT_TRUE(db_->userDefGetKey(group).IsEmpty());
}

TEST_P(UserFields, AddWritesGivenValuesButEmptyOnesNeverErase) {
    Def("Owner", 0x12);
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    const ULong value = db_->userDataAdd(0, pc, "Owner", "Ann", 0x2, 1, when_);
    EXPECT_EQ(db_->userdataGetValue(value).str(), "Ann");
    EXPECT_EQ(db_->userDataAdd(0, pc, "Owner", "", 0x2, 1, when_), value);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Owner", nullptr, 0x2, 1, when_), value);
    EXPECT_EQ(db_->AddAsset("PC", 0, 1, 1, when_), pc);
    EXPECT_EQ(db_->userdataGetValue(0, pc, "Owner", 0x2).str(), "Ann");
    EXPECT_EQ(db_->userDataAdd(0, pc, "Owner", "Bob", 0x2, 1, when_), value);
    EXPECT_EQ(db_->userDataAdd(0, pc, "Owner", "Bob", 0x2, 1, when_), value);
    EXPECT_EQ(History(pc), (std::vector<std::string>{"Owner|Ann|", "Owner|Ann|Bob"}));
    EXPECT_EQ(db_->userDataAdd(0, pc, "Owner", "x", 0x1, 1, when_), 0u) << "no owner bit";
    EXPECT_EQ(db_->userdataGetValue(db_->userDataAdd(0, pc, "Missing", nullptr, 0x2, 0, when_)).str(), "<NULL>");
}

TEST_P(UserFields, SetValReplacesAndClearsWithHistory) {
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    const ULong value = db_->userDataSetVal(0, pc, "Owner", "Ann", 0x2, 1, when_);
    ASSERT_NE(value, 0u) << AllMessages();
    EXPECT_EQ(db_->userDataSetVal(0, pc, "Owner", "", 0x2, 1, when_), value);
    EXPECT_EQ(db_->userDataSetVal(value, "", 1, when_), 1) << "equal: nothing written";
    EXPECT_EQ(History(pc), (std::vector<std::string>{"Owner|Ann|", "Owner|Ann|"}));
    EXPECT_EQ(db_->userDataSetVal(4711, "x", 1, when_), 0);
    EXPECT_EQ(db_->userDataDelete(value, 0, when_), 1);
    EXPECT_EQ(db_->userDataFind(0, pc, "Owner", 0x2), 0u);
    EXPECT_EQ(History(pc).back(), "Owner||");
}

TEST_P(UserFields, AddAssetGivesEveryAssetFieldOneEmptyValue) {
    Def("Owner", 0x12);
    const ULong group = Def("Finance", 0x1 | 0x2);
    Def("Cost Centre", 0x12, group);
    Def("Licence", 0x14);
    Def("Location", 0x12);  // a built-in name: the column, never a value row
    db_->userDefAdd(0x12);  // two new definitions share the placeholder name: one value row
    db_->userDefAdd(0x16);
    const ULong pc = db_->AddAsset("PC", 0, 1, 1, when_);
    EXPECT_EQ(db_->AddAsset("PC", 0, 1, 1, when_), pc);
    EXPECT_EQ(Rows("USERDATA"), 3u);
    EXPECT_EQ(Rows("USERDATA", "_KEY='New Field Type' and _FLAGS=2"), 1u) << "the first definition's owner bits";
    EXPECT_NE(db_->userDataFind(group, pc, "Cost Centre", 0x2), 0u);
    EXPECT_EQ(db_->userdataGetValue(0, pc, "Owner", 0x2).str(), "");
    EXPECT_EQ(History(pc).size(), 1u) << "only the initial audit";
}

TEST_P(UserFields, AddAssetFollowsDefinitionChangesOfEveryConnection) {
    const ULong field = Def("Owner", 0x12);
    const ULong a = db_->AddAsset("A", 0, 1, 0, when_);
    auto other = MakeBackEnd();
    ASSERT_TRUE(OpenBackEnd(*other));
    const ULong room = other->userDefAdd(0x12);
    other->userDefSetKey(room, "Room", 0);
    const ULong b = db_->AddAsset("B", 0, 1, 0, when_);
    EXPECT_NE(db_->userDataFind(0, b, "Room", 0x2), 0u) << "another connection's new field";
    db_->userDefSetKey(field, "Keeper", 0);
    EXPECT_EQ(db_->AddAsset("A", 0, 1, 0, when_), a);
    EXPECT_NE(db_->userDataFind(0, a, "Keeper", 0x2), 0u) << "this connection's rename";
    // A definition whose transaction rolls back leaves no field behind, though an AddAsset saw it.
    db_->BeginTrans();
    Def("Budget", 0x12);
    EXPECT_NE(db_->userDataFind(0, db_->AddAsset("C", 0, 1, 0, when_), "Budget", 0x2), 0u);
    db_->Rollback();
    EXPECT_EQ(db_->userDataFind(0, db_->AddAsset("D", 0, 1, 0, when_), "Budget", 0x2), 0u);
}

TEST_P(UserFields, EnumerationsListValuesNamesAndBlanks) {
    const ULong a = db_->AddAsset("A", 0, 0, 0, when_);
    const ULong b = db_->AddAsset("B", 0, 0, 0, when_);
    db_->userDataAdd(0, a, "Owner", "Ann", 0x2, 0, when_);
    db_->userDataAdd(0, b, "Owner", "", 0x2, 0, when_);
    db_->userDataAdd(0, a, "Room", "12", 0x2, 0, when_);
    db_->userDataAdd(0, a, "Vendor", "ACME", 0x4, 0, when_);

    CSortList values;
    db_->userDataEnum(0, a, values, 0x2, 0);
    EXPECT_EQ(Texts(values), (std::vector<std::string>{"Category", "Make", "Model", "Serial Number", "Owner", "Room"}));
    CSortList global;
    db_->userDataEnumGlobal(0, "Owner", global, 0);
    global.Sort();
    EXPECT_EQ(Texts(global), (std::vector<std::string>{"<blank>", "Ann"}));
    CSortList holders;
    db_->userDataEnumGlobal(0, "Owner=<blank>", holders, '=');
    EXPECT_EQ(Texts(holders), (std::vector<std::string>{"B"}));
    CSortList fieldNames;
    db_->userDataEnumGlobal(0, "", fieldNames, 0);
    fieldNames.Sort();
    EXPECT_EQ(Texts(fieldNames), (std::vector<std::string>{"Owner", "Room"}));
    CStringTable names;
    EXPECT_EQ(db_->userDataEnumFieldNames(0, 0, names, 0x6), 3u);
}

TEST_P(UserFields, BuiltInNamesWriteAndReadTheAssetColumns) {
    const ULong desktop = db_->AddCategory("Desktop", 0);
    const ULong make = db_->AddMake(desktop, "Contoso");
    db_->AddModel(make, "Tower 5");
    const ULong room = db_->locAddFull("Site;Room 1");
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    const std::vector<std::pair<const char*, const char*>> expected = {
        {"Category", "Desktop"},     {"Make", "Contoso"},          {"Model", "Tower 5"},
        {"Serial Number", "SN-'1'"}, {"Location", "Site\\Room 1"}, {"Audit Date", "2024-02-29 23:59:58"},
        {"IP Address", "10.0.0.7"},  {"MAC Address", "00:11:22"}};
    EXPECT_EQ(db_->userDataAdd(0, pc, "Category", "Desktop", 0x2, 1, when_), pc) << AllMessages();
    EXPECT_EQ(db_->userDataSetVal(0, pc, "Make", "Contoso", 0x2, 1, when_), pc);
    EXPECT_EQ(db_->SetBuiltInFieldValue(pc, "Model", "Tower 5", 1, when_), 1);
    for (std::size_t i = 3; i < expected.size(); ++i)  // only the serial number with history
        EXPECT_EQ(db_->userDataAdd(0, pc, expected[i].first, expected[i].second, 0x2, i == 3, when_), pc) << i;
    EXPECT_EQ(db_->SelectNumber("ASSET", "_CAT", pc), desktop);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", pc), room);
    for (const auto& [key, text] : expected) {
        EXPECT_EQ(db_->userdataGetValue(0, pc, key, 0x2).str(), text) << key;
        EXPECT_EQ(db_->userDataFind(0, pc, key, 0x2), pc) << key;
    }
    // Empty values of userDataAdd keep the columns; SetBuiltInFieldValue clears.
    EXPECT_EQ(db_->userDataAdd(0, pc, "Serial Number", "", 0x2, 1, when_), pc);
    EXPECT_EQ(db_->GetBuiltInFieldValue(pc, "Serial Number").str(), "SN-'1'");
    EXPECT_EQ(db_->SetBuiltInFieldValue(pc, "Serial Number", "", 1, when_), 1);
    EXPECT_TRUE(db_->GetBuiltInFieldValue(pc, "Serial Number").IsEmpty());
    EXPECT_EQ(History(pc), (std::vector<std::string>{"Category||Desktop", "Make||Contoso", "Model||Tower 5",
                                                     "Serial Number||SN-'1'", "Serial Number|SN-'1'|"}));
}

TEST_P(UserFields, BuiltInValuesTheColumnCannotTakeAreRefusedUnwritten) {
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    for (const auto& [key, text] : std::vector<std::pair<const char*, const char*>>{
             {"Category", "No Such"}, {"Location", "Nowhere"}, {"Audit Date", "yesterday"}, {"IP Address", "1.2.3"}}) {
        EXPECT_EQ(db_->userDataAdd(0, pc, key, text, 0x2, 1, when_), 0u) << key;
        EXPECT_EQ(TakeMessages().size(), 1u) << key;
    }
    EXPECT_EQ(History(pc).size(), 0u);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_CAT", pc), 0u);
}

// The description of a definition, with and without its type name in front.
TEST_P(UserFields, DefinitionsDescribeThemselvesWithTheirTypeName) {
    struct Case {
        ULong flags;
        const char* first;
        const char* second;
        const char* withType;
        const char* without;
    };
    const Case cases[] = {
        {0x22, "1", "10", "Integer (Range 1 to 10)", "Range 1 to 10"},
        {0x912, "3", "", "Text (Upper Case, Max 3 chars, Mandatory)", "Upper Case, Max 3 chars, Mandatory"},
        {0x12, "0", "", "Text", ""},
        {0x842, "", "", "Boolean (Mandatory)", "Mandatory"},
        {0x852, "", "PATH", "EnvVar (Environment Variable \"PATH\")", "Environment Variable \"PATH\""},
        {0x32, "Rooms", "", "Picklist (lookup Rooms)", "lookup Rooms"},
        {0x62, "HKLM\\Soft", "Key", "RegKey (HKLM\\Soft, Key)", "HKLM\\Soft, Key"},
        {0x82, "", "", "", ""},  // no known type, no description
    };
    for (const Case& c : cases) {
        const ULong def = Def("F", c.flags);
        db_->userDefSetParams(def, c.first, c.second);
        EXPECT_EQ(db_->userDefAsString(def, 1).str(), c.withType) << std::hex << c.flags;
        EXPECT_EQ(db_->userDefAsString(def, 0).str(), c.without) << std::hex << c.flags;
    }
    EXPECT_EQ(db_->userDefAsString(4711, 1).str(), "") << "a missing definition";
}

// The row operations address USERDATA rows alone; the built-in names have operations of their own.
TEST_P(UserFields, BuiltInNamesAreReachedOnlyThroughTheirOwnOperations) {
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when_);
    EXPECT_EQ(db_->SetBuiltInFieldValue(pc, "Serial Number", "SN1", 0, when_), 1);
    EXPECT_EQ(db_->GetBuiltInFieldValue(pc, "Serial Number").str(), "SN1");
    EXPECT_EQ(db_->userdataGetValue(pc).str(), "") << "no USERDATA row of that _ID";
    EXPECT_EQ(db_->userDataSetVal(pc, "x", 0, when_), 0);
    EXPECT_EQ(db_->GetBuiltInFieldValue(pc, "Owner").str(), "");
    messages_.clear();
    EXPECT_EQ(db_->SetBuiltInFieldValue(pc, "Owner", "Ann", 0, when_), 0);
    EXPECT_EQ(TakeMessages(), std::vector<std::string>{"An Error has occurred\n\nOwner is not a built-in field"});
    EXPECT_EQ(Rows("USERDATA"), 0u);
}

// Across all assets, a built-in name lists each asset's text and finds the assets of one text,
// catalogue and location names included.
TEST_P(UserFields, GlobalEnumerationOfBuiltInNamesListsAndMatchesTexts) {
    const ULong desktop = db_->AddCategory("Desktop", 0);
    const ULong room = db_->locAddFull("Site;Room 1");
    const ULong a = db_->AddAsset("A", room, 0, 0, when_), b = db_->AddAsset("B", room, 0, 0, when_);
    const ULong c = db_->AddAsset("C", 0, 0, 0, when_);
    db_->SetAssetParent(c, a, 1, 0, when_);
    for (const ULong asset : {a, b}) db_->SetBuiltInFieldValue(asset, "Category", "Desktop", 0, when_);
    db_->SetBuiltInFieldValue(a, "Serial Number", "S'1", 0, when_);
    ASSERT_EQ(db_->SelectNumber("ASSET", "_CAT", b), desktop);
    auto listed = [&](const char* key, char separator) {
        CSortList list;
        const ULong count = db_->userDataEnumGlobal(0, key, list, separator);
        EXPECT_EQ(count, list.GetCount());
        std::vector<std::string> items;
        for (const CSortItem& item : list) items.push_back(item.text.str() + "=" + std::to_string(item.id));
        std::sort(items.begin(), items.end());
        return items;
    };
    auto item = [](const char* text, ULong id) { return std::string(text) + "=" + std::to_string(id); };
    EXPECT_EQ(listed("Category", 0),
              (std::vector<std::string>{item("<blank>", c), item("Desktop", a), item("Desktop", b)}));
    EXPECT_EQ(listed("Location", 0),
              (std::vector<std::string>{item("Site\\Room 1", a), item("Site\\Room 1", b), item("child of A", c)}));
    EXPECT_EQ(listed("Category=Desktop", '='), (std::vector<std::string>{item("A", a), item("B", b)}));
    EXPECT_EQ(listed("Location=child of A", '='), (std::vector<std::string>{item("C", c)}));
    EXPECT_EQ(listed("Serial Number=S'1", '='), (std::vector<std::string>{item("A", a)}));
    EXPECT_EQ(listed("Serial Number=<blank>", '='), (std::vector<std::string>{item("B", b), item("C", c)}));
    EXPECT_EQ(listed("Category=Laptop", '='), std::vector<std::string>{});
    EXPECT_EQ(listed("", 0), std::vector<std::string>{}) << "no value rows: no names";
}

NORVIK_ON_BOTH_ENGINES(UserFields);

}  // namespace
