// Catalogue housekeeping: unreferenced rows, duplicates and their fixup, orphans.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine_test.h"

namespace {

class AppHousekeeping : public EngineTest {
protected:
    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime(1700000000)); }
    // A second APPS row of a publisher and name, which applicationAdd would never make.
    ULong DuplicateRow(const char* publisher, const char* name) {
        return db_->InsertRecord("APPS", "_MFR,_APP,_FLAGS",
                                 (CNorvikSql::SqlQuote(publisher) + "," + CNorvikSql::SqlQuote(name) + ",1").c_str());
    }
    // Each item as "text|id|extra".
    static std::vector<std::string> Items(const CSortList& list) {
        std::vector<std::string> items;
        for (const CSortItem& i : list) items.push_back(i.text.str() + "|" + Id(i.id) + "|" + Id(i.extra));
        return items;
    }
    static std::string Id(ULong id) { return std::to_string(id); }
};

TEST_P(AppHousekeeping, UnreferencedAppsSparedByInstancesFilesAndLicenceTypes) {
    const ULong installed = db_->applicationAdd("Acme", "Installed", 1);
    const ULong filed = db_->applicationAdd("Acme", "Filed", 1);
    const ULong licensed = db_->applicationAdd("Acme", "Licensed", 1);
    const ULong zero = db_->applicationAdd("Acme", "Zero", 1);
    const ULong lonely = db_->applicationAdd("Acme", "Lonely", 1);
    db_->applicationAddInstance(Asset("PC1"), installed, "", "", 0);
    db_->InsertRecord("SWFILE", "_NAME,_APPID", CString::Formatted("'a.exe',%d", int(filed)));
    db_->ExecuteStatement(CString::Formatted("update APPS set _LICTYPE=2 where _ID=%d", int(licensed)));
    db_->ExecuteStatement(CString::Formatted("update APPS set _LICTYPE=0 where _ID=%d", int(zero)));
    CSortList list;
    EXPECT_EQ(db_->enumUnreferencedApps(list), 2u);
    EXPECT_EQ(db_->PurgeUnreferencedApplications(), 2u);
    EXPECT_EQ(db_->applicationGetName(lonely, 0, 0) + db_->applicationGetName(zero, 0, 0), "");
    EXPECT_EQ(db_->applicationGetName(licensed, 0, 0), "Licensed");
    EXPECT_EQ(db_->PurgeUnreferencedApplications(), 0u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(AppHousekeeping, DuplicatesAreListedMostRowsFirst) {
    CSortList none;
    db_->applicationAdd("Acme", "Single", 1);
    EXPECT_EQ(db_->enumDuplicateApps(none), 0u);
    const ULong two = db_->applicationAdd("Acme", "Two", 1), three = db_->applicationAdd("", "Three", 1);
    for (const char* name : {"Two", "Three", "Three"}) DuplicateRow(name == std::string("Two") ? "Acme" : "", name);
    CSortList list;
    EXPECT_EQ(db_->enumDuplicateApps(list), 2u);
    EXPECT_EQ(Items(list), (std::vector<std::string>{"Three|" + Id(three) + "|3", "Acme Two|" + Id(two) + "|2"}));
}

TEST_P(AppHousekeeping, FixupDuplicateAppsMovesTheKeptInstancesToTheFirstDuplicate) {
    const ULong pc = Asset("PC1"), pc2 = Asset("PC2");
    const ULong kept = db_->applicationAdd("Acme", "Editor", 1);
    const ULong d1 = DuplicateRow("Acme", "Editor");
    const ULong d2 = DuplicateRow("Acme", "Editor");
    const ULong keptInst = db_->applicationAddInstance(pc, kept, "", "", 0);
    const ULong d2Inst = db_->applicationAddInstance(pc2, d2, "", "", 0);
    EXPECT_EQ(db_->FixupDuplicateApps(9999), 0xFFFFFFFFu);
    EXPECT_EQ(db_->FixupDuplicateApps(kept), 0u);
    CSortList rest;
    EXPECT_EQ(db_->enumDuplicateApps(rest), 0u);
    EXPECT_EQ(db_->applicationGetName(kept, 0, 1), "Acme Editor");
    EXPECT_EQ(db_->applicationGetName(d1, 0, 1), "");
    // As callers have always had it: the kept row's instance followed the first duplicate into
    // deletion, and the second duplicate's instance still names its deleted row.
    EXPECT_EQ(db_->SelectNumber("APPINST", "_APP", keptInst), d1);
    EXPECT_EQ(db_->SelectNumber("APPINST", "_APP", d2Inst), d2);
    CSortList orphans;
    EXPECT_EQ(db_->enumOrphans(orphans), 2u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(AppHousekeeping, OrphansAndDuplicateInstancesAreFound) {
    const ULong pc = Asset("PC1"), gone = Asset("Gone");
    const ULong app = db_->applicationAdd("Acme", "Editor", 1);
    const ULong goneApp = db_->applicationAdd("Acme", "Gone", 1);
    const ULong first = db_->applicationAddInstance(pc, app, "", "", 0);
    db_->InsertRecord("APPINST", "_ASSET,_APP", CString::Formatted("%d,%d", int(pc), int(app)));
    const ULong onGone = db_->applicationAddInstance(gone, app, "", "", 0);
    const ULong ofGone = db_->applicationAddInstance(pc, goneApp, "", "", 0);
    const ULong link = db_->InsertRecord("SWLINK", "_ASSET,_FOLDER", CString::Formatted("%d,1", int(gone)));
    db_->InsertRecord("SWLINK", "_ASSET,_FOLDER", CString::Formatted("%d,1", int(pc)));
    db_->ExecuteStatement(CString::Formatted("delete from ASSET where _ID=%d", int(gone)));
    db_->ExecuteStatement(CString::Formatted("delete from APPS where _ID=%d", int(goneApp)));
    CSortList orphans, duplicates;
    EXPECT_EQ(db_->enumOrphans(orphans), 3u);
    ASSERT_EQ(orphans.GetCount(), 3u);
    EXPECT_EQ(Items(orphans)[0], "APPINST|" + Id(onGone) + "|" + Id(gone));
    EXPECT_EQ(orphans[1].id, ofGone);
    EXPECT_EQ(orphans[2].text, "SWLINK");
    EXPECT_EQ(orphans[2].id, link);
    EXPECT_EQ(db_->enumDuplicateAppInstances(duplicates), 1u);
    EXPECT_EQ(Items(duplicates), std::vector<std::string>{"Acme Editor on PC1|" + Id(first) + "|2"});
    EXPECT_EQ(AllMessages(), "");
}

NORVIK_ON_BOTH_ENGINES(AppHousekeeping);

}  // namespace
