// Locations on both engines.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/engine_test.h"
#include "support/slurp.h"

namespace {

class Locations : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    ULong AddAsset(const char* name, ULong location) {
        return db_->InsertRecord(
            "ASSET", "_NAME,_LOCATION,_STATUS",
            CString::Formatted("%s,%d,0", CSqlDatabase::SqlQuote(name).c_str(), static_cast<int>(location)));
    }
    // The names of the assets whose _LOCATION is `location`, sorted.
    std::vector<std::string> AssetsAt(ULong location) {
        CDynaList<ULong> ids;
        db_->EnumIds("ASSET", CString::Formatted("_LOCATION = %d", static_cast<int>(location)), ids);
        std::vector<std::string> names;
        for (ULong id : ids) names.push_back(db_->SelectText("ASSET", "_NAME", id).str());
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_P(Locations, FindTakesEitherSeparatorAndStopsAtTheFirstEmptyNameWhereAddFullSkipsIt) {
    db_->SetCompanyName("Example Works");
    EXPECT_STREQ(db_->locGetName(0).c_str(), "Example Works") << "the root";
    EXPECT_STREQ(db_->locGetFullName(0, '\\').c_str(), "(None)");
    const ULong room = db_->locAddFull("Site;Building;Room");
    const ULong site = db_->locFind("Site");
    ASSERT_NE(site, 0u);
    // A leading separator gives an empty first name; paths start at the top level.
    const std::pair<const char*, ULong> finds[] = {{"Site;Building;Room", room},
                                                   {"Site;Building\\Room", room},
                                                   {";Site", 0},
                                                   {"Site;;Building", site},
                                                   {"Site;Nowhere;Room", 0}};
    for (const auto& [path, id] : finds) EXPECT_EQ(db_->locFind(path), id) << path;
    EXPECT_EQ(db_->locFind(nullptr), 0u);

    // Adding skips empty names instead, and an existing path adds nothing.
    EXPECT_EQ(db_->locAddFull(";Site;;Building\\Room;"), room);
    EXPECT_EQ(Rows("LOCDATA"), 3u);
    EXPECT_EQ(db_->locAddFull(""), 0u);
}

TEST_P(Locations, AddFullBelowTheDeepestTypeAddsOneNewLocationType) {
    const ULong siteType = db_->AddLocType("Site", 0);
    const ULong buildingType = db_->AddLocType("Building", siteType);
    const ULong building = db_->locAddFull("HQ;North");
    EXPECT_EQ(db_->locGetType(db_->locFind("HQ")), siteType);
    EXPECT_EQ(db_->locGetType(building), buildingType);
    EXPECT_EQ(Rows("LOCTYPE"), 2u);

    const ULong room = db_->locAddFull("HQ;North;Room 1");
    ASSERT_EQ(Rows("LOCTYPE"), 3u);
    const ULong newType = db_->locGetType(room);
    EXPECT_STREQ(db_->GetLocTypeName(newType).c_str(), "New Location Type");
    EXPECT_EQ(db_->GetLocTypeParent(newType), buildingType);
    EXPECT_EQ(db_->locGetParent(room), building);

    EXPECT_EQ(db_->locGetType(db_->locAddFull("HQ;North;Room 2")), newType) << "the next room takes it";
    EXPECT_EQ(Rows("LOCTYPE"), 3u);
}

TEST_P(Locations, DeleteMovesEveryAssetOfTheSubtreeToTheParent) {
    const ULong room = db_->locAddFull("Site;Building;Floor;Room");
    const ULong floor2 = db_->locAddFull("Site;Building;Floor 2");
    const ULong floor = db_->locGetParent(room);
    const ULong building = db_->locGetParent(floor);
    const ULong site = db_->locGetParent(building);
    const ULong other = db_->locAddFull("Other");
    AddAsset("in building", building);
    AddAsset("on floor", floor);
    AddAsset("in room", room);
    AddAsset("on floor 2", floor2);
    AddAsset("at site", site);
    AddAsset("elsewhere", other);

    EXPECT_EQ(db_->locDelete(building), 1);
    EXPECT_EQ(AssetsAt(site),
              (std::vector<std::string>{"at site", "in building", "in room", "on floor", "on floor 2"}));
    EXPECT_EQ(AssetsAt(other), (std::vector<std::string>{"elsewhere"}));
    CDynaList<ULong> left;
    db_->locEnum(0, left, 1);
    EXPECT_EQ(Ids(left), (std::vector<ULong>{other, site}));
}

TEST_P(Locations, FindByIpMatchesThroughASecondRange) {
    const ULong hq = db_->locAddFull("HQ");
    db_->locAddFull("No ranges");
    CString from = "10.0.0.1;10.0.1.1";
    CString to = "10.0.0.9;10.0.1.9";
    ASSERT_EQ(db_->locSetIpAddressRanges(hq, from, to), 1);
    EXPECT_EQ(db_->locFindByIP(CIPAddress(CString("10.0.1.1"))), hq) << "both ends belong to the range";
    EXPECT_EQ(db_->locFindByIP(CIPAddress(CString("10.0.0.10"))), 0u) << "between the two ranges";
    EXPECT_EQ(db_->locFindByIP(CIPAddress()), 0u);

    // Addresses above 127.255.255.255 compare as unsigned numbers.
    const ULong lab = db_->locAdd("Lab", hq, 0, CIPAddress(CString("200.1.1.10")), CIPAddress(CString("200.1.1.20")));
    EXPECT_STREQ(db_->locGetIpRangesFrom(lab).c_str(), "200.1.1.10");
    EXPECT_EQ(db_->locFindByIP(CIPAddress(CString("200.1.1.15"))), lab);
    EXPECT_EQ(db_->locFindByIP(CIPAddress(CString("100.1.1.15"))), 0u);
}

TEST_P(Locations, ExportWritesTheTreeAndItsAssetsByteForByte) {
    const ULong site = db_->locAddFull("Site");
    CString from = "10.0.0.1;10.0.1.1";
    CString to = "10.0.0.9;10.0.1.9";
    db_->locSetIpAddressRanges(site, from, to);
    db_->locAddFull("Site;Building");
    const ULong room = db_->locAddFull("Site;Building;Room, east");
    const ULong annex = db_->locAddFull("Site;Annex");
    db_->locAddFull("Depot");
    AddAsset("zed", 0);
    AddAsset("alpha", 0);
    AddAsset("pc-2", site);
    AddAsset("pc-1", site);
    AddAsset("printer", room);
    AddAsset("O'Neil's 100% caf\xE9", annex);

    const auto file = std::filesystem::temp_directory_path() / ("norvik_export_" + std::to_string(getpid()) + ".csv");
    ASSERT_EQ(db_->locExport(file.c_str()), 1) << AllMessages();
    const std::string text = Slurp(file);
    std::filesystem::remove(file);
    EXPECT_EQ(text,
              "LOCATION,IP ADDRESS FROM,IP ADDRESS TO,ASSET NAME\n"
              ",,,alpha\n"
              ",,,zed\n"
              "Depot,,,\n"
              "Site,10.0.0.1;10.0.1.1,10.0.0.9;10.0.1.9,pc-1\n"
              "Site,10.0.0.1;10.0.1.1,10.0.0.9;10.0.1.9,pc-2\n"
              "Site\\Annex,,,O'Neil's 100% caf\xE9\n"
              "Site\\Building,,,\n"
              "Site\\Building\\Room, east,,,printer\n");
}

NORVIK_ON_BOTH_ENGINES(Locations);

}  // namespace
