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

TEST_P(Licences, NewApplicationIsNotSpecifiedWhateverItsCount) {
    const ULong app = AddApp("Acme", "Editor");
    EXPECT_EQ(db_->GetAppLicenceType(app), 1u);
    db_->SetAppLicence(app, -1, 7);
    EXPECT_EQ(db_->GetAppLicenceDesc(app).str(), "Not Specified");
    EXPECT_EQ(db_->GetLicenceName(1).str(), "Not Specified");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

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

NORVIK_ON_BOTH_ENGINES(Licences);

}  // namespace
