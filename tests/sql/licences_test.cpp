// Licences on both engines: licence types and their flags, each application's type and
// declared count with its description, and the licence totals kept by application text.
#include <gtest/gtest.h>

#include <string>

#include "support/engine_test.h"

namespace {

TEST(LicenceFlags, FormatNamesEachBit) {
    struct Case {
        int flags;
        const char* text;
    };
    const Case cases[] = {{0, ""}, {1, "Per PC"}, {2, "Hidden"}, {3, "Per PC, Hidden"}, {4, ""}, {6, "Hidden"}};
    for (const auto& c : cases) EXPECT_EQ(CNorvik::FormatLicenseFlags(c.flags).str(), c.text) << c.flags;
}

class Licences : public EngineTest {
protected:
    ULong AddApp(const char* publisher, const char* name) {
        return db_->InsertRecord("APPS", "_MFR,_APP",
                                 CNorvikSql::SqlQuote(publisher) + "," + CNorvikSql::SqlQuote(name));
    }
    // A type with the given flags.
    ULong AddType(const char* name, ULong flags) {
        const ULong type = db_->AddLicenceType(name);
        if (flags & CNorvik::kLicencePerPc) db_->SetLicenceTypeFlag(type, CNorvik::kLicencePerPc, 1);
        if (flags & CNorvik::kLicenceHidden) db_->SetLicenceTypeFlag(type, CNorvik::kLicenceHidden, 1);
        return type;
    }
};

TEST_P(Licences, DescriptionCarriesTheCountOnlyForPerPcTypes) {
    const ULong seat = AddType("Seat", CNorvik::kLicencePerPc | CNorvik::kLicenceHidden);
    const ULong site = AddType("Site", 0);
    const ULong app = AddApp("Acme", "Editor");
    db_->SetAppLicence(app, static_cast<int>(seat), 10);
    EXPECT_EQ(db_->GetAppLicenceDesc(app).str(), "Seat [10]");
    db_->SetAppLicence(app, static_cast<int>(site), -1);
    EXPECT_EQ(db_->GetAppLicenceDesc(app).str(), "Site");
    CString name;
    ULong flags = 0;
    EXPECT_EQ(db_->GetLicenceDetails(seat, name, &flags), 1u);
    EXPECT_EQ(name.str(), "Seat");
    EXPECT_EQ(flags, 3u);
    EXPECT_EQ(db_->GetLicenceDetails(seat + 40, name, &flags), 0u) << "a missing type leaves the outputs";
    EXPECT_EQ(name.str(), "Seat");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Licences, MinusOneLeavesThatFieldAsItIs) {
    const ULong type = AddType("Seat", CNorvik::kLicencePerPc);
    const ULong app = AddApp("Acme", "Editor");
    db_->SetAppLicence(app, static_cast<int>(type), 3);
    db_->SetAppLicence(app, -1, 5);
    EXPECT_EQ(db_->GetAppLicenceType(app), type);
    EXPECT_EQ(db_->GetAppLicenceCount(app), 5u);
    db_->SetAppLicence(app, 4, -1);
    EXPECT_EQ(db_->GetAppLicenceType(app), 4u);
    EXPECT_EQ(db_->GetAppLicenceCount(app), 5u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Licences, TypesListRenameAndDelete) {
    const ULong seat = AddType("O'Neil's seat", CNorvik::kLicencePerPc | CNorvik::kLicenceHidden);
    CSortList list;
    list.Add("kept", 99, 0);
    EXPECT_EQ(db_->EnumLicenceTypes(list), 3u) << "appends after what the list held";
    EXPECT_EQ(list[1].text.str(), "Not Specified");
    EXPECT_EQ(list[2].text.str(), "O'Neil's seat");
    EXPECT_EQ(list[2].id, seat);
    EXPECT_EQ(list[2].extra, 3u);

    db_->SetLicenceTypeName(seat, "Seat \xE9");
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "Seat \xE9");
    EXPECT_EQ(db_->GetLicenceTypeFlag(seat, 3), 0) << "renaming clears the flags";

    const ULong app = AddApp("Acme", "Editor");
    db_->SetAppLicence(app, static_cast<int>(seat), 2);
    EXPECT_EQ(db_->DeleteLicenceType(seat), 0) << "a type in use stays";
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "Seat \xE9");
    db_->SetAppLicence(app, 1, -1);
    EXPECT_EQ(db_->DeleteLicenceType(seat), 1);
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Licences, FlagIsWrittenOnlyWhenItChanges) {
    const ULong type = db_->AddLicenceType("Seat");
    CountUpdates("LICTYPE");
    EXPECT_EQ(db_->SetLicenceTypeFlag(type, CNorvik::kLicencePerPc, 0), 0);
    EXPECT_EQ(CountedUpdates(), 0u);
    EXPECT_EQ(db_->SetLicenceTypeFlag(type, CNorvik::kLicencePerPc, 1), 0);
    EXPECT_EQ(db_->SetLicenceTypeFlag(type, CNorvik::kLicencePerPc, 5), 1) << "any non-zero set is 'set'";
    EXPECT_EQ(CountedUpdates(), 1u);
    EXPECT_EQ(db_->SetLicenceTypeFlag(type, CNorvik::kLicenceHidden, 1), 0);
    EXPECT_EQ(db_->SetLicenceTypeFlag(type, CNorvik::kLicencePerPc, 0), 1);
    EXPECT_EQ(CountedUpdates(), 3u);
    EXPECT_EQ(db_->GetLicenceTypeFlag(type, 0x3), 1);
    EXPECT_EQ(db_->GetLicenceTypeFlag(type, CNorvik::kLicencePerPc), 0);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(Licences, SwLicenceRowIsUpdatedInPlace) {
    const ULong first = db_->AddSwLicence("O'Neil's Editor", 2, 10, 1);
    ASSERT_NE(first, 0u) << AllMessages();
    EXPECT_EQ(db_->AddSwLicence("O'Neil's Editor", 2, 25, 0), first);
    const ULong other = db_->AddSwLicence("O'Neil's Editor", 3, 4, 1);
    EXPECT_NE(other, first) << "the type is part of the key";
    CString app = "O'Neil's Editor";
    EXPECT_EQ(db_->GetLicenceDetails(app, 2), 25u);
    EXPECT_EQ(db_->GetAuthorizedState(app, 2), 0);
    EXPECT_EQ(db_->GetAuthorizedState(app, 3), 1);
    CString missing = "Nothing";
    EXPECT_EQ(db_->GetLicenceDetails(missing, 2), 0u);

    db_->AddSwLicence("Viewer", 2, 7, 1);
    CDynaList<CString> apps;
    CDynaList<ULong> totals;
    CDynaList<ULong> authorized;
    EXPECT_EQ(db_->EnumAppLicence(2, apps, totals, authorized), 2u);
    ASSERT_EQ(totals.GetCount(), 2u);
    const bool editorFirst = apps[0].str() == "O'Neil's Editor";
    EXPECT_EQ(totals[editorFirst ? 0 : 1], 25u);
    EXPECT_EQ(authorized[editorFirst ? 1 : 0], 1u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

// ---- Statistics, details and the over-use check, over real installations ----

class LicenceUsage : public Licences {
protected:
    ULong Asset(const char* name, ULong location = 0) { return db_->AddAsset(name, location, 0, 0, when_); }
    ULong Place(const char* name, ULong parent = 0) { return db_->locAdd(name, parent, 0, CIPAddress(), CIPAddress()); }
    // `app` on `count` new assets named PREFIX1, PREFIX2 ...
    void InstallOnNew(ULong app, int count, const char* prefix) {
        for (int i = 1; i <= count; ++i)
            db_->applicationAddInstance(Asset(CString::Formatted("%s%d", prefix, i)), app, "", "", 0);
    }
    ULong Installed(ULong scope, ULong app) {
        CSortList list;
        db_->licenceEnumInstallations(scope, list);
        for (const CSortItem& item : list)
            if (item.id == app) return item.extra;
        return 0xFFFFFFFF;
    }

    const CTime when_ = CTime(2024, 3, 1, 9, 30, 0);
};

TEST_P(LicenceUsage, PerPcCountTenOnTwelveAssetsIsTwoShort) {
    const ULong seat = AddType("Seat", CNorvik::kLicencePerPc);
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    db_->SetAppLicence(app, static_cast<int>(seat), 10);
    InstallOnNew(app, 12, "PC");
    ULong type = 0, flags = 0;
    int instances = 0, difference = 0;
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 1);
    EXPECT_EQ(type, seat);
    EXPECT_EQ(flags, CNorvik::kLicencePerPc);
    EXPECT_EQ(instances, 12);
    EXPECT_EQ(difference, -2);

    CString description;
    int declared = 0;
    type = flags = 0;
    instances = difference = 0;
    EXPECT_EQ(db_->GetApplicationLicenseDetails(0, app, &type, description, &flags, &instances, &declared, &difference),
              0u);
    EXPECT_EQ(description.str(), "Seat [10]");
    EXPECT_EQ(type, seat);
    EXPECT_EQ(declared, 10);
    EXPECT_EQ(instances, 12);
    EXPECT_EQ(difference, -2);
    EXPECT_EQ(Installed(0, app), 12u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LicenceUsage, NotSpecifiedHasNoDifferenceWhateverItsCount) {
    const ULong app = db_->applicationAdd("Acme", "Viewer", 0);
    db_->SetAppLicence(app, -1, 1);
    InstallOnNew(app, 3, "PC");
    ULong type = 9, flags = 9;
    int instances = 0, difference = 9;
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 0);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(instances, 3);
    EXPECT_EQ(difference, 0);
    CString description;
    difference = 9;
    db_->GetApplicationLicenseDetails(0, app, nullptr, description, &flags, nullptr, nullptr, &difference);
    EXPECT_EQ(description.str(), "Not Specified");
    EXPECT_EQ(difference, 0) << "instances not asked for are not counted either";
    // A site licence (no per-PC flag) is never short either.
    db_->SetAppLicence(app, static_cast<int>(AddType("Site", 0)), -1);
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 1);
    EXPECT_EQ(difference, 0);
    EXPECT_EQ(Installed(0, app), 3u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LicenceUsage, ScopeIsALocationSubtreeWithChildAssetsAndAliasesCount) {
    const ULong hq = Place("HQ");
    const ULong floor = Place("Floor", hq);
    const ULong other = Place("Other");
    const ULong inHq = Asset("in HQ", hq);
    const ULong onFloor = Asset("on floor", floor);
    const ULong child = Asset("peripheral", floor);
    db_->SetAssetParent(child, onFloor, 1, 0, when_);
    const ULong elsewhere = Asset("elsewhere", other);
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    const ULong renamed = db_->applicationAdd("Acme Corp", "Editor", 0);
    db_->applicationSetAlias(renamed, app);
    db_->SetAppLicence(app, static_cast<int>(AddType("Seat", CNorvik::kLicencePerPc)), 2);
    for (const ULong asset : {inHq, onFloor, child, elsewhere}) db_->applicationAddInstance(asset, app, "", "", 0);
    db_->applicationAddInstance(elsewhere, renamed, "", "", 0);
    db_->applicationAddInstance(inHq, db_->applicationAdd("Other", "Tool", 0), "", "", 0);

    struct Case {
        ULong scope;
        int instances;
    };
    for (const Case& c : {Case{0, 5}, Case{hq, 3}, Case{floor, 2}, Case{other, 2}, Case{Place("Empty"), 0}}) {
        ULong type = 0, flags = 0;
        int instances = -1, difference = 0;
        db_->GetAppLicenceStats(c.scope, app, type, flags, instances, difference);
        EXPECT_EQ(instances, c.instances) << "scope " << c.scope;
        EXPECT_EQ(difference, 2 - c.instances) << "scope " << c.scope;
        EXPECT_EQ(Installed(c.scope, app), static_cast<ULong>(c.instances)) << "one pass counts as the statistics";
    }
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(LicenceUsage, OverUseCheckAlertsOncePerOverUsedApplication) {
    const ULong seat = AddType("Seat", CNorvik::kLicencePerPc);
    const ULong over = db_->applicationAdd("Acme", "Editor", 0);
    const ULong within = db_->applicationAdd("Acme", "Viewer", 0);
    const ULong siteWide = db_->applicationAdd("Acme", "Suite", 0);
    db_->SetAppLicence(over, static_cast<int>(seat), 1);
    db_->SetAppLicence(within, static_cast<int>(seat), 2);
    db_->SetAppLicence(siteWide, static_cast<int>(AddType("Site", 0)), 0);
    InstallOnNew(over, 2, "E");
    InstallOnNew(within, 2, "V");
    InstallOnNew(siteWide, 3, "S");

    CDynaList<ULong> added;
    EXPECT_EQ(db_->licensealertCheckOverUse(when_, &added), 1u);
    ASSERT_EQ(added.GetCount(), 1u);
    int type = 0, app = 0, declared = 0, instances = 0;
    CTime date;
    ASSERT_EQ(db_->licensealertGetDetails(added[0], &type, &app, &date, &declared, &instances), 1u);
    EXPECT_EQ(type, CNorvik::kLicenceAlertOverUse);
    EXPECT_EQ(static_cast<ULong>(app), over);
    EXPECT_EQ(date, when_);
    EXPECT_EQ(declared, 1);
    EXPECT_EQ(instances, 2);

    CountUpdates("APPS");
    added.RemoveAll();
    EXPECT_EQ(db_->licensealertCheckOverUse(when_, &added), 1u) << "still over-used";
    EXPECT_EQ(added.GetCount(), 0u) << "but alerted already";
    EXPECT_EQ(db_->licensealertGetCount(), 1u);
    EXPECT_EQ(CountedUpdates(), 0u);

    // Another alert type about the same application does not count as the over-use alert.
    db_->licensealertDelete(db_->licensealertFind(CNorvik::kLicenceAlertOverUse, over));
    db_->licensealertAdd(7, over, when_, 0, 0);
    EXPECT_EQ(db_->licensealertCheckOverUse(when_, nullptr), 1u);
    EXPECT_NE(db_->licensealertFind(CNorvik::kLicenceAlertOverUse, over), 0u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(Licences);
NORVIK_ON_BOTH_ENGINES(LicenceUsage);

}  // namespace
