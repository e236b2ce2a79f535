// CAuditDBSys: opening current, newer and older files, and saving only when changed.
#include "kb/auditdbsys.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "kb_files.h"

namespace {

using kbtest::MakeTable;
using kbtest::N;
using kbtest::ScratchFolder;
using kbtest::T;

using Answering = kbtest::MessageCapture;

// A 3.13 file: CAT without TYPE, makes pointing at it, no SWSERIAL.
void WriteVersion313(const std::string& path) {
    CTableDatabase db;
    db.AddTable(MakeTable("CAT", {{"NAME", T}}, {{"Printer"}, {"base unit"}, {"Laptop"}}));
    db.AddTable(MakeTable("MAKE", {{"NAME", T}, {"CAT", N}}, {{"Alder", "2"}, {"Birch", "3"}}));
    db.AddTable(MakeTable("MODEL", {{"NAME", T}, {"MAKE", N}}, {{"A100", "1"}}));
    db.AddTable(MakeTable("SWAPP", {{"NAME", T}, {"PARENT", N}}, {{"Quillsoft", "0"}}));
    db.AddTable(kbtest::SysFileTable({}));
    // Deleted rows make the rebuilt category IDs differ from the old ones.
    db[0].DeleteRow(0);
    db[0].Purge();
    kbtest::WriteDatabase(db, path, 3, 13);
}

TEST(CAuditDBSys, RefusedOpensLeaveTheFileAlone) {
    for (const bool newer : {true, false}) {  // a 4.01 file; a 3.13 file whose upgrade is declined
        ScratchFolder folder;
        const std::string path = folder.File("kb.ids");
        newer ? kbtest::WriteCurrentFile(path, kbtest::SysFileTable({}), 1) : WriteVersion313(path);
        const std::string before = Slurp(path);
        Answering answers(newer ? platform::kIdYes : platform::kIdNo);
        CAuditDBSys kb;
        EXPECT_EQ(kb.Open(path.c_str()), 0) << newer;
        EXPECT_FALSE(kb.IsOpen()) << newer;
        ASSERT_EQ(answers.texts.size(), 1u) << newer;
        if (newer) {
            EXPECT_EQ(answers.texts[0], "Knowledge Base was created by a newer version - please update the product");
            EXPECT_EQ(answers.styles[0], platform::kMbIconExclamation);
        }
        kb.Close();
        EXPECT_EQ(Slurp(path), before) << newer;
        EXPECT_FALSE(std::filesystem::exists(folder.File("kb.313"))) << newer;
    }
}

TEST(CAuditDBSys, UpgradesVersion313AfterAskingAndBackingUp) {
    ScratchFolder folder;
    const std::string path = folder.File("kb.ids");
    WriteVersion313(path);
    const std::string before = Slurp(path);
    Answering answers(platform::kIdYes);
    CAuditDBSys kb;
    ASSERT_EQ(kb.Open(path.c_str()), 1);

    const std::string backup = folder.File("kb.313");
    ASSERT_EQ(answers.texts.size(), 3u);
    EXPECT_EQ(answers.texts[0],
              "Corvane will now upgrade the internal Knowledge Base from v3.1.3 to v4.0.0\nThe old "
              "database will first be saved as " +
                  backup + "\n\nDo you wish to continue?");
    EXPECT_EQ(answers.styles[0], platform::kMbYesNo | platform::kMbIconQuestion);
    EXPECT_EQ(answers.texts[1], "System Database has been upgraded to version 3.1.3");
    EXPECT_EQ(answers.texts[2], "System Database has been upgraded to version 4.0");
    EXPECT_EQ(Slurp(backup), before);

    // Categories were rebuilt with types; makes follow the new IDs.
    const ULong unit = kb.FindCategory("Base Unit");
    ASSERT_NE(unit, 0u);
    EXPECT_EQ(kb.FindCategory("PC"), unit);
    EXPECT_EQ(kb.GetCategoryName(unit), "PC|Base Unit");
    EXPECT_EQ(kb.GetCategoryType(unit), 1u);
    EXPECT_EQ(kb.GetCategoryType(kb.FindCategory("Laptop")), 1u);
    EXPECT_EQ(kb.GetMakeCategory(kb.FindMake(0, "Birch")), kb.FindCategory("Laptop"));
    EXPECT_EQ(kb.FindMake(unit, "Alder"), 1u);
    // Update400 ran, Update105to106 did not.
    EXPECT_GE(kb.FindTable("SWSERIAL"), 0);
    EXPECT_LT(kb.FindTable("REGAPP"), 0);
    kb.Close();

    CAuditDBSys again;
    ASSERT_EQ(again.Open(path.c_str()), 1);
    EXPECT_EQ(answers.texts.size(), 3u) << "the saved file is current: no second upgrade";
}

TEST(CAuditDBSys, UpgradesVersion105IntoOneApplicationTableKeepingAnEarlierBackup) {
    ScratchFolder folder;
    const std::string path = folder.File("old.kb");
    CTableDatabase db;
    db.AddTable(MakeTable("CAT", {{"NAME", T}}, {{"Server"}}));
    db.AddTable(MakeTable("SYSMFR", {{"NAME", T}}, {{"Quillsoft"}, {"Larch Labs"}}));
    db.AddTable(MakeTable("SYSAPP", {{"NAME", T}, {"MFR", N}}, {{"Scribe", "1"}, {"Tally", "2"}}));
    db.AddTable(MakeTable("SYSVER", {{"NAME", T}, {"APP", N}}, {{"9.0", "2"}, {"7.2", "1"}}));
    // File 1 belongs to version 2 ("7.2"), file 2 to version 1 ("9.0").
    db.AddTable(
        MakeTable("SWFILE", {{"A", N}, {"B", N}, {"C", N}, {"D", N}, {"E", N}, {"F", N}, {"G", N}, {"APP", N}},
                  {{"0", "0", "0", "0", "0", "0", "0", "131072"}, {"0", "0", "0", "0", "0", "0", "0", "65536"}}));
    db.AddTable(kbtest::SysFileTable({{"scribe.exe", "2", "0", "0", "0", "0", "2"}}));
    kbtest::WriteDatabase(db, path, 1, 5);
    { std::ofstream(folder.File("old.105")) << "earlier backup"; }
    Answering answers(platform::kIdYes);
    CAuditDBSys kb;
    ASSERT_EQ(kb.Open(path.c_str()), 1);
    EXPECT_NE(answers.texts[0].find("from v1.0.5 to v4.0.0"), std::string::npos);
    EXPECT_NE(answers.texts[0].find(folder.File("old.105")), std::string::npos);
    EXPECT_EQ(answers.texts.size(), 3u);
    EXPECT_EQ(Slurp(folder.File("old.105")), "earlier backup") << "an earlier backup is never replaced";

    for (const char* gone : {"SYSMFR", "SYSAPP", "SYSVER"}) EXPECT_LT(kb.FindTable(gone), 0) << gone;
    EXPECT_GE(kb.FindTable("REGAPP"), 0);
    CTable& files = kb[static_cast<ULong>(kb.FindTable("SWFILE"))];
    const ULong scribe72 = files.GetValue(0, 8) >> 16;
    const ULong tally90 = files.GetValue(1, 8) >> 16;
    EXPECT_EQ(kb.GetAppName(scribe72, 1), "Quillsoft Scribe 7.2");
    EXPECT_EQ(kb.GetAppName(tally90, 1), "Larch Labs Tally 9.0");
    CTable& known = kb[static_cast<ULong>(kb.FindTable("SYSFILE"))];
    EXPECT_EQ(known.GetValue(0, 2), scribe72);
    EXPECT_EQ(kb.GetCategoryType(kb.FindCategory("Server")), 1u) << "Update313 ran too";
}

TEST(CAuditDBSys, SaveWritesOnlyAfterAChange) {
    ScratchFolder folder;
    const std::string path = folder.File("kb.ids");
    kbtest::WriteCurrentFile(path);
    CAuditDBSys kb;
    ASSERT_EQ(kb.Open(path.c_str()), 1);
    { std::ofstream(path, std::ios::trunc) << "sentinel"; }
    EXPECT_EQ(kb.Save(), 1);
    EXPECT_EQ(Slurp(path), "sentinel") << "nothing changed, nothing written";

    const ULong id = kb.AddSSRec("Tally", "Software\\Larch\\Tally", "Key");
    kb.Close();
    CAuditDBSys again;
    ASSERT_EQ(again.Open(path.c_str()), 1);
    EXPECT_EQ(again.GetSSRegKey(id), "Software\\Larch\\Tally");
}

}  // namespace
