// Location types on both engines: the chain of levels, inserting into it, and deleting a level
// with what hangs on it.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

class LocTypes : public EngineTest {
protected:
    ULong Rows(const char* table, const char* condition = "") {
        CDynaList<ULong> ids;
        return db_->EnumIds(table, condition, ids);
    }
};

TEST_P(LocTypes, AddSlidesTheNewTypeBetweenTheParentAndItsChildren) {
    const ULong site = db_->AddLocType("Site", 0);
    const ULong building = db_->AddLocType("Building", site);
    const ULong room = db_->AddLocType("Room", building);
    EXPECT_EQ(db_->GetChildLocType(0), site);
    EXPECT_EQ(db_->GetChildLocType(room), 0u);

    const ULong floor = db_->AddLocType("Floor", building);
    EXPECT_EQ(db_->GetLocTypeParent(floor), building);
    EXPECT_EQ(db_->GetLocTypeParent(room), floor);
    EXPECT_EQ(db_->GetChildLocType(building), floor);

    const ULong country = db_->AddLocType("Country", 0);
    EXPECT_EQ(db_->GetLocTypeParent(site), country);
    EXPECT_EQ(db_->GetLocTypeParent(country), 0u);
    EXPECT_EQ(db_->GetChildLocType(0), country);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LocTypes, EnumEmptiesTheListAndNamesRoundTrip) {
    const ULong first = db_->AddLocType("O'Neil's 100% caf\xE9", 0);
    const ULong second = db_->AddLocType("x", first);
    CDynaList<ULong> ids;
    ids.Add(999);
    EXPECT_EQ(db_->EnumLocTypes(ids), 2u);
    ASSERT_EQ(ids.GetCount(), 2u);
    EXPECT_EQ(ids[0] + ids[1], first + second);
    EXPECT_EQ(db_->GetLocTypeName(first).str(), "O'Neil's 100% caf\xE9");

    EXPECT_EQ(db_->SetLocTypeName(second, "it''s \"_%\" \x80"), 1);
    EXPECT_EQ(db_->GetLocTypeName(second).str(), "it''s \"_%\" \x80");
    EXPECT_EQ(db_->SetLocTypeName(second + 100, "nobody"), 1) << "a missing type changes nothing";
    EXPECT_STREQ(db_->GetLocTypeName(second + 100).c_str(), "");
    EXPECT_EQ(db_->GetLocTypeParent(second + 100), 0u);
    EXPECT_EQ(db_->GetChildLocType(second + 100), 0u);
}

TEST_P(LocTypes, DeleteMovesTheLevelsBelowAndTheAssetsUp) {
    const ULong siteType = db_->AddLocType("Site", 0);
    const ULong buildingType = db_->AddLocType("Building", siteType);
    const ULong roomType = db_->AddLocType("Room", buildingType);
    const ULong r1 = db_->locAddFull("S1;B1;R1");
    const ULong r2 = db_->locAddFull("S1;B1;R2");
    const ULong r3 = db_->locAddFull("S1;B2;R3");
    const ULong b1 = db_->locGetParent(r1);
    const ULong b2 = db_->locGetParent(r3);
    const ULong s1 = db_->locGetParent(b1);
    ASSERT_EQ(db_->locGetType(b2), buildingType);
    const ULong inB1 = db_->InsertRecord("ASSET", "_NAME,_LOCATION", CString::Formatted("'in b1',%d", b1));
    const ULong inB2 = db_->InsertRecord("ASSET", "_NAME,_LOCATION", CString::Formatted("'in b2',%d", b2));
    const ULong inR1 = db_->InsertRecord("ASSET", "_NAME,_LOCATION", CString::Formatted("'in r1',%d", r1));

    EXPECT_EQ(db_->DeleteLocType(buildingType), 1);
    EXPECT_EQ(db_->GetLocTypeParent(roomType), siteType);
    EXPECT_EQ(db_->GetChildLocType(siteType), roomType);
    EXPECT_EQ(Rows("LOCTYPE"), 2u);
    EXPECT_EQ(Rows("LOCDATA", CString::Formatted("_TYPE = %d", buildingType)), 0u);
    for (ULong room : {r1, r2, r3}) EXPECT_EQ(db_->locGetParent(room), s1);
    EXPECT_EQ(db_->locFind("S1;R3"), r3);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", inB1), s1);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", inB2), s1);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", inR1), r1);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LocTypes, DeletingTheTopLevelHandsItsLocationsChildrenToTheRoot) {
    const ULong siteType = db_->AddLocType("Site", 0);
    db_->AddLocType("Room", siteType);
    const ULong room = db_->locAddFull("S1;R1");
    EXPECT_EQ(db_->DeleteLocType(siteType), 1);
    EXPECT_EQ(db_->locGetParent(room), 0u);
    EXPECT_EQ(db_->locFind("R1"), room);
    EXPECT_EQ(db_->GetChildLocType(0), db_->locGetType(room));
}

TEST_P(LocTypes, FailuresReachTheMessageBoxWithTheStatement) {
    db_->ExecuteStatement("drop table LOCTYPE");
    EXPECT_EQ(db_->GetChildLocType(0), 0u);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_NE(messages_[0].find("\nSQL String : select _ID from LOCTYPE where _PARENT = 0"), std::string::npos)
        << messages_[0];
    EXPECT_EQ(db_->AddLocType("Site", 0), 0u);
    EXPECT_EQ(db_->DeleteLocType(1), 0);
    CDynaList<ULong> ids;
    EXPECT_EQ(db_->EnumLocTypes(ids), 0u);
    EXPECT_EQ(db_->locAddFull("Site;Room"), 0u) << "no type can be found or made for the new level";
    EXPECT_EQ(db_->locFind("Site"), 0u) << "nothing was added without a type";
    EXPECT_EQ(messages_.size(), 6u) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(LocTypes);

}  // namespace
