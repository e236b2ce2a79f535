// Discovered computers on both engines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/engine_test.h"

namespace {

CIPAddress Ip(const char* text) { return CIPAddress(CString(text)); }

class Discovered : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
};

TEST_P(Discovered, AComputerSeenAgainIsTheSameEntryAndTheUnknownMatchesAnything) {
    const ULong pc = db_->daAdd("PC'1", "WORK", Ip("10.0.0.5"));
    ASSERT_NE(pc, 0u) << AllMessages();
    for (const auto& [domain, ip] : {std::pair{"WORK", "10.0.0.5"}, {"", "10.0.0.5"}, {"WORK", ""}, {nullptr, ""}})
        EXPECT_EQ(db_->daAdd("PC'1", domain, *ip ? Ip(ip) : CIPAddress()), pc) << ip;
    for (const auto& [name, domain, ip] :
         {std::tuple{"PC'1", "WORK", "10.0.0.6"}, {"PC'1", "work", "10.0.0.5"}, {"pc'1", "WORK", "10.0.0.5"}})
        EXPECT_NE(db_->daAdd(name, domain, Ip(ip)), pc) << name << " " << domain << " " << ip;
    EXPECT_EQ(Rows("DISCOVER"), 4u);
    EXPECT_EQ(db_->daGetName(pc).str(), "PC'1");
    // An entry stored without an address takes the first address it is seen with as its own.
    const ULong bare = db_->daAdd("bare", "", CIPAddress());
    EXPECT_EQ(db_->daGetIPAddress(bare).GetAsNumber(), 0u);
    EXPECT_EQ(db_->daAdd("bare", "D", Ip("1.2.3.4")), bare);
}

TEST_P(Discovered, UnauditedOnlyLeavesOutEntriesWithAnAssetOfTheirNameAndEntryZeroDeletesAll) {
    const ULong audited = db_->daAdd("audited", "W", Ip("10.0.0.1"));
    const ULong fresh = db_->daAdd("fresh", "W", Ip("10.0.0.2"));
    db_->AddAsset("audited", 0, 0, 0, CTime());
    // A second asset of the same name: the join repeats the entry, the list does not.
    db_->InsertRecord("ASSET", "_NAME,_LOCATION,_STATUS", "'audited',0,0");
    CDynaList<ULong> entries;
    entries.Add(999);
    EXPECT_EQ(db_->daEnum(entries, 0), 2u);
    EXPECT_EQ(Ids(entries), std::vector<ULong>({audited, fresh}));
    EXPECT_EQ(db_->daEnum(entries, 1), 1u);
    EXPECT_EQ(Ids(entries), std::vector<ULong>({fresh}));
    EXPECT_EQ(db_->daDelete(fresh), 1);
    EXPECT_EQ(db_->daEnum(entries, 0), 1u);
    EXPECT_EQ(db_->daDelete(0), 1) << "entry 0 stands for every entry";
    EXPECT_EQ(db_->daEnum(entries, 0), 0u);
}

TEST_P(Discovered, MergePlacesByAddressRangeElseByDomainAndASecondRunChangesNothing) {
    const ULong office = db_->locAdd("Office", 0, 0, Ip("10.0.0.1"), Ip("10.0.0.254"));
    db_->daAdd("in-range", "WORK", Ip("10.0.0.5"));
    db_->daAdd("by-domain", "WORK", Ip("192.168.1.2"));
    db_->daAdd("same-domain", "WORK", CIPAddress());
    db_->daAdd("no-domain", "", CIPAddress());
    db_->daAdd("known", "WORK", Ip("10.0.0.9"));
    const ULong known = db_->AddAsset("known", office, 0, 0, CTime());

    EXPECT_EQ(db_->daMerge(), 4u) << AllMessages();
    const ULong top = db_->locFind(CNorvik::kDiscoveredLocation);
    const ULong work = db_->locFind("Discovered Assets;WORK");
    ASSERT_NE(top, 0u);
    ASSERT_NE(work, 0u);
    EXPECT_EQ(db_->locGetParent(top), 0u);
    const ULong inRange = db_->FindAsset("in-range", 0, 1);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", inRange), office);
    EXPECT_EQ(db_->GetAssetIPAddr(inRange).str(), "10.0.0.5");
    const ULong byDomain = db_->FindAsset("by-domain", 0, 1);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", byDomain), work);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", db_->FindAsset("same-domain", 0, 1)), work);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", db_->FindAsset("no-domain", 0, 1)), top);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", known), office);
    CDynaList<ULong> entries;
    EXPECT_EQ(db_->daEnum(entries, 1), 0u);

    const auto counts = [&] { return std::vector<ULong>{Rows("ASSET"), Rows("LOCDATA"), Rows("HISTORY")}; };
    const std::vector<ULong> before = counts();
    const ULong locations = before[1];
    EXPECT_EQ(db_->daMerge(), 0u);
    EXPECT_EQ(counts(), before);
    // A new computer of a known domain joins the location made before.
    db_->daAdd("later", "WORK", CIPAddress());
    EXPECT_EQ(db_->daMerge(), 1u);
    EXPECT_EQ(db_->SelectNumber("ASSET", "_LOCATION", db_->FindAsset("later", 0, 1)), work);
    EXPECT_EQ(Rows("LOCDATA"), locations);
}

NORVIK_ON_BOTH_ENGINES(Discovered);

}  // namespace
