// Categories, makes and models on both engines, with a small Knowledge Base beside the database.
#include <gtest/gtest.h>

#include <string>

#include "kb/kb_files.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

class Catalogue : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    void SetUp() override {
        EngineTest::SetUp();
        CTableDatabase db;
        kbtest::AddCurrentTables(db, kbtest::SysFileTable({}));
        // Two Knowledge Base makes hang at the boundary: 0xFFFE is still a Knowledge Base
        // category, 0xFFFF already a site one.
        CTable& makes = db[static_cast<ULong>(db.FindTable("MAKE"))];
        for (const auto& [name, category] : {std::pair{"Edge", 0xFFFEu}, std::pair{"Beyond", 0xFFFFu}}) {
            const ULong row = makes.AddRow();
            makes.SetText(row, 1, name);
            makes.SetValue(row, 2, category);
        }
        kbtest::WriteDatabase(db, kbPath_, 4, 0);
        ASSERT_EQ(kb_.Open(kbPath_.c_str()), 1);
    }

    // The names an enumeration lists, checked against its answer.
    std::vector<std::string> Listed(ULong (CNorvikSql::*enumerate)(ULong, CSortList&, int), ULong owner,
                                    int includeKb) {
        CSortList list;
        const ULong count = ((*db_).*enumerate)(owner, list, includeKb);
        EXPECT_EQ(count, list.GetCount());
        return Texts(list);
    }

    kbtest::ScratchFolder folder_;
    std::string kbPath_ = folder_.File("kb.ids");
};

TEST_P(Catalogue, TheCombinedIdentifierSpace) {
    const ULong printer = db_->AddCategory("Printer", 7);
    const ULong scanner = db_->AddCategory("Scanner", 0);
    EXPECT_EQ(db_->FindCategory("Printer"), 2u);
    EXPECT_EQ(db_->FindCategory("Base Unit"), 1u);
    EXPECT_EQ(db_->FindCategory("Scanner"), scanner);
    EXPECT_EQ(db_->FindCategory("Plotter"), 0u);
    EXPECT_EQ(db_->GetCategoryType(printer), 7u);

    const ULong third = db_->AddCategory("Pallet", 3);
    EXPECT_EQ(third, 0x30000u);
    EXPECT_EQ(db_->GetCategoryName(196608), "Pallet");
    EXPECT_EQ(db_->GetCategoryName(3), "Monitor") << "below 0xFFFF: the Knowledge Base";
    const ULong make = db_->AddMake(third, "Stackwell");
    const ULong model = db_->AddModel(make, "SW-1");
    EXPECT_EQ(db_->GetMakeCategory(make), third);
    EXPECT_EQ(db_->GetModelMake(model), make);

    EXPECT_EQ(db_->AddModel(1, "A900"), 0x20000u);
    EXPECT_EQ(db_->FindModel(1, "A900"), 0u) << "_ID 2 >> 16";
    EXPECT_EQ(db_->FindModel(1, "A200"), 2u);
    EXPECT_EQ(db_->FindModel(3, "A200"), 0u);
    EXPECT_EQ(db_->FindModel(1, "O'Brien"), 0u) << "quotes are escaped in both languages";
}

// A site model is answered with its _ID shifted right by 16, unlike every other identifier.
TEST_P(Catalogue, FindModelShiftsTheSiteIdRight) {
    const ULong make = db_->AddMake(db_->AddCategory("Pallet", 0), "Stackwell");
    const std::pair<int, ULong> cases[] = {{1, 0u}, {0xFFFF, 0u}, {0x10000, 1u}, {0x2FFFF, 2u}, {0x30000, 3u}};
    for (const auto& [id, found] : cases) {
        const CString name = CString::Formatted("M%d", id);
        db_->ExecuteStatement(CString::Formatted("insert into MODEL (_ID,_NAME,_MAKE) values (%d,%s,%d)", id,
                                                 CSqlDatabase::SqlQuote(name).c_str(), static_cast<int>(make)));
        EXPECT_EQ(db_->FindModel(make, name), found) << id;
    }
}

TEST_P(Catalogue, EnumerationsPutKnowledgeBaseItemsFirst) {
    const ULong siteCat = db_->AddCategory("Rack", 0);
    db_->AddMake(siteCat, "Stackwell");
    db_->AddMake(1, "Local Build");
    const auto makes = &CNorvikSql::EnumMakes;
    EXPECT_EQ(Listed(makes, 0, 1),
              (std::vector<std::string>{"Alder", "Birch", "Alder", "Edge", "Beyond", "Stackwell", "Local Build"}));
    EXPECT_EQ(Listed(makes, siteCat, 1), std::vector<std::string>{"Stackwell"});
    EXPECT_EQ(Listed(makes, 1, 1), (std::vector<std::string>{"Alder", "Birch", "Local Build"}));
    EXPECT_EQ(Listed(makes, 1, 0), std::vector<std::string>{"Local Build"});
    CSortList models;
    db_->AddModel(1, "A900");
    EXPECT_EQ(db_->EnumModels(1, models, 1), 3u);
    EXPECT_EQ(models[2].id, 0x10000u);
    // Enumerating twice appends everything again.
    CSortList list;
    list.Add("caller's own", 1);
    EXPECT_EQ(db_->EnumCategories(list, 1), 5u);
    EXPECT_EQ(db_->EnumCategories(list, 1), 9u);
    EXPECT_EQ(list[8].text, "Rack");
    EXPECT_EQ(list[5].text, "PC|Base Unit");
}

TEST_P(Catalogue, DeletingASiteCategoryCascadesToItsSiteMakesAndModels) {
    const ULong rack = db_->AddCategory("Rack", 0);
    const ULong stackwell = db_->AddMake(rack, "Stackwell");
    db_->AddModel(stackwell, "SW-1");
    db_->AddModel(stackwell, "SW-2");
    const ULong local = db_->AddMake(1, "Local Build");
    db_->AddModel(local, "LB-1");
    db_->AddModel(2, "B-7");

    db_->DeleteCategory(rack);
    EXPECT_EQ(db_->FindCategory("Rack"), 0u);
    // A make under a Knowledge Base category is not reached.
    EXPECT_EQ(Listed(&CNorvikSql::EnumMakes, 0, 0), std::vector<std::string>{"Local Build"});
    EXPECT_EQ(Listed(&CNorvikSql::EnumModels, 0, 0), (std::vector<std::string>{"LB-1", "B-7"}));
    db_->DeleteMake(local);
    EXPECT_EQ(Listed(&CNorvikSql::EnumModels, 0, 0), std::vector<std::string>{"B-7"});
    EXPECT_EQ(db_->GetCategoryName(1), "PC|Base Unit") << "the Knowledge Base is never touched";
}

NORVIK_ON_BOTH_ENGINES(Catalogue);

}  // namespace
