// Licences: types and flags, each application's type and count, totals and over-use.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/engine_test.h"

namespace {

TEST(LicenceFlags, FormatNamesEachBit) {
    const std::pair<int, const char*> cases[] = {{0, ""}, {3, "Per PC, Hidden"}, {4, ""}, {6, "Hidden"}};
    for (const auto& [flags, text] : cases) EXPECT_EQ(CNorvik::FormatLicenseFlags(flags).str(), text) << flags;
}

class Licences : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    ULong AddType(const char* name, ULong flags) {
        const ULong type = db_->AddLicenceType(name);
        for (const ULong bit : {CNorvik::kLicencePerPc, CNorvik::kLicenceHidden})
            if (flags & bit) db_->SetLicenceTypeFlag(type, bit, 1);
        return type;
    }
};

TEST_P(Licences, DescriptionCarriesTheCountOnlyForPerPcTypesAndMinusOneKeepsAField) {
    const ULong seat = AddType("Seat", CNorvik::kLicencePerPc | CNorvik::kLicenceHidden);
    const ULong site = AddType("Site", 0);
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    db_->SetAppLicence(app, static_cast<int>(seat), 10);
    EXPECT_EQ(db_->GetAppLicenceDesc(app).str(), "Seat [10]");
    db_->SetAppLicence(app, -1, 5);
    EXPECT_EQ(std::pair(db_->GetAppLicenceType(app), db_->GetAppLicenceCount(app)), std::pair(seat, 5u));
    db_->SetAppLicence(app, static_cast<int>(site), -1);
    EXPECT_EQ(db_->GetAppLicenceDesc(app).str(), "Site");
    EXPECT_EQ(db_->GetAppLicenceCount(app), 5u);
    CString name;
    ULong flags = 0;
    EXPECT_EQ(db_->GetLicenceDetails(seat, name, &flags), 1u);
    EXPECT_EQ(std::pair(name.str(), flags), std::pair(std::string("Seat"), 3u));
    EXPECT_EQ(db_->GetLicenceDetails(seat + 40, name, &flags), 0u) << "a missing type leaves the outputs";
    EXPECT_EQ(name.str(), "Seat");
}

TEST_P(Licences, TypesListRenameAndDelete) {
    const ULong seat = AddType("O'Neil's seat", CNorvik::kLicencePerPc | CNorvik::kLicenceHidden);
    CSortList list;
    list.Add("kept", 99, 0);
    EXPECT_EQ(db_->EnumLicenceTypes(list), 3u) << "appends after what the list held";
    EXPECT_EQ(list[1].text.str(), "Not Specified");
    EXPECT_EQ(std::tuple(list[2].text.str(), list[2].id, list[2].extra), std::tuple("O'Neil's seat", seat, 3u));
    db_->SetLicenceTypeName(seat, "Seat \xE9");
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "Seat \xE9");
    EXPECT_EQ(db_->GetLicenceTypeFlag(seat, 3), 0) << "renaming clears the flags";
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    db_->SetAppLicence(app, static_cast<int>(seat), 2);
    EXPECT_EQ(db_->DeleteLicenceType(seat), 0) << "a type in use stays";
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "Seat \xE9");
    db_->SetAppLicence(app, 1, -1);
    EXPECT_EQ(db_->DeleteLicenceType(seat), 1);
    EXPECT_EQ(db_->GetLicenceName(seat).str(), "");
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
}

TEST_P(Licences, SwLicenceRowIsUpdatedInPlace) {
    CString app = "O'Neil's Editor";
    const ULong first = db_->AddSwLicence(app, 2, 10, 1);
    ASSERT_NE(first, 0u) << AllMessages();
    EXPECT_EQ(db_->AddSwLicence(app, 2, 25, 0), first);
    EXPECT_NE(db_->AddSwLicence(app, 3, 4, 1), first) << "the type is part of the key";
    EXPECT_EQ(db_->GetLicenceDetails(app, 2), 25u);
    EXPECT_EQ(db_->GetAuthorizedState(app, 2), 0);
    EXPECT_EQ(db_->GetAuthorizedState(app, 3), 1);
    CString missing = "Nothing";
    EXPECT_EQ(db_->GetLicenceDetails(missing, 2), 0u);
    db_->AddSwLicence("Viewer", 2, 7, 1);
    CDynaList<CString> apps;
    CDynaList<ULong> totals, authorized;
    EXPECT_EQ(db_->EnumAppLicence(2, apps, totals, authorized), 2u);
    ASSERT_EQ(totals.GetCount(), 2u);
    const bool editorFirst = apps[0].str() == "O'Neil's Editor";
    EXPECT_EQ(totals[editorFirst ? 0 : 1], 25u);
    EXPECT_EQ(authorized[editorFirst ? 1 : 0], 1u);
}

class LicenceUsage : public Licences {
protected:
    ULong Asset(const char* name, ULong location = 0) { return db_->AddAsset(name, location, 0, 0, when_); }
    ULong Place(const char* name, ULong parent = 0) { return db_->locAdd(name, parent, 0, CIPAddress(), CIPAddress()); }
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
    int instances = 0, difference = 0, declared = 0;
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 1);
    EXPECT_EQ(flags, CNorvik::kLicencePerPc);
    EXPECT_EQ(difference, -2);
    CString description;
    type = 0;
    instances = difference = 0;
    EXPECT_EQ(db_->GetApplicationLicenseDetails(0, app, &type, description, &flags, &instances, &declared, &difference),
              0u);
    EXPECT_EQ(description.str(), "Seat [10]");
    EXPECT_EQ(std::tuple(type, declared, instances, difference), std::tuple(seat, 10, 12, -2));
    EXPECT_EQ(Installed(0, app), 12u);
}

TEST_P(LicenceUsage, NotSpecifiedAndSiteLicencesAreNeverShort) {
    const ULong app = db_->applicationAdd("Acme", "Viewer", 0);
    db_->SetAppLicence(app, -1, 1);
    InstallOnNew(app, 3, "PC");
    ULong type = 9, flags = 9;
    int instances = 0, difference = 9;
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 0);
    EXPECT_EQ(std::tuple(type, flags, instances, difference), std::tuple(1u, 0u, 3, 0));
    CString description;
    difference = 9;
    db_->GetApplicationLicenseDetails(0, app, nullptr, description, &flags, nullptr, nullptr, &difference);
    EXPECT_EQ(description.str(), "Not Specified");
    EXPECT_EQ(difference, 0) << "instances not asked for are not counted either";
    db_->SetAppLicence(app, static_cast<int>(AddType("Site", 0)), -1);
    EXPECT_EQ(db_->GetAppLicenceStats(0, app, type, flags, instances, difference), 1);
    EXPECT_EQ(difference, 0);
}

TEST_P(LicenceUsage, ScopeIsALocationSubtreeWithChildAssetsAndAliasesCount) {
    const ULong hq = Place("HQ"), floor = Place("Floor", hq), other = Place("Other");
    const ULong inHq = Asset("in HQ", hq), onFloor = Asset("on floor", floor), child = Asset("peripheral", floor);
    db_->SetAssetParent(child, onFloor, 1, 0, when_);
    const ULong elsewhere = Asset("elsewhere", other);
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    const ULong renamed = db_->applicationAdd("Acme Corp", "Editor", 0);
    db_->applicationSetAlias(renamed, app);
    db_->SetAppLicence(app, static_cast<int>(AddType("Seat", CNorvik::kLicencePerPc)), 2);
    for (const ULong asset : {inHq, onFloor, child, elsewhere}) db_->applicationAddInstance(asset, app, "", "", 0);
    db_->applicationAddInstance(elsewhere, renamed, "", "", 0);
    db_->applicationAddInstance(inHq, db_->applicationAdd("Other", "Tool", 0), "", "", 0);
    const std::pair<ULong, int> cases[] = {{0, 5}, {hq, 3}, {floor, 2}, {other, 2}, {Place("Empty"), 0}};
    for (const auto& [scope, expected] : cases) {
        SCOPED_TRACE(scope);
        ULong type = 0, flags = 0;
        int instances = -1, difference = 0;
        db_->GetAppLicenceStats(scope, app, type, flags, instances, difference);
        EXPECT_EQ(instances, expected);
        EXPECT_EQ(difference, 2 - expected);
        EXPECT_EQ(Installed(scope, app), static_cast<ULong>(expected)) << "one pass counts as the statistics";
    }
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
    EXPECT_EQ(std::tuple(type, static_cast<ULong>(app), declared, instances),
              std::tuple(int(CNorvik::kLicenceAlertOverUse), over, 1, 2));
    EXPECT_EQ(date, when_);
    added.RemoveAll();
    EXPECT_EQ(db_->licensealertCheckOverUse(when_, &added), 1u) << "still over-used";
    EXPECT_EQ(added.GetCount(), 0u) << "but alerted already";
    EXPECT_EQ(db_->licensealertGetCount(), 1u);
    // Another alert type about the same application does not count as the over-use alert.
    db_->licensealertDelete(db_->licensealertFind(CNorvik::kLicenceAlertOverUse, over));
    db_->licensealertAdd(7, over, when_, 0, 0);
    EXPECT_EQ(db_->licensealertCheckOverUse(when_, nullptr), 1u);
    EXPECT_NE(db_->licensealertFind(CNorvik::kLicenceAlertOverUse, over), 0u);
}

NORVIK_ON_BOTH_ENGINES(Licences);
NORVIK_ON_BOTH_ENGINES(LicenceUsage);

}  // namespace
