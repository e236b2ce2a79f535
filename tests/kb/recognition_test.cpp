// Recognition of files against the known-file table.
#include <gtest/gtest.h>

#include "kb/auditdbsys.h"
#include "kb_files.h"

namespace {

using kbtest::ScratchFolder;

// Opens a Knowledge Base whose SYSFILE holds `rows` (name, app, low, high, crc, date, flags).
class Recognition : public ::testing::Test {
protected:
    void Open(const std::vector<std::vector<std::string>>& rows) {
        kbtest::WriteCurrentFile(path_, kbtest::SysFileTable(rows));
        ASSERT_EQ(kb_.Open(path_.c_str()), 1);
    }
    ULong Flags(ULong id) {
        CTable& files = kb_[static_cast<ULong>(kb_.FindTable("SYSFILE"))];
        return files.GetValue(static_cast<ULong>(files.FindRow(id)), 7);
    }

    ScratchFolder folder_;
    std::string path_ = folder_.File("kb.ids");
    CAuditDBSys kb_;
};

TEST_F(Recognition, KeyFilesMatchOnSizeRangeAndDateHalves) {
    Open({{"any.exe", "10", "0", "0", "0", "0", "2"},
          {"exact.exe", "11", "100", "0", "0", "0", "2"},
          {"range.exe", "12", "100", "200", "0", "0", "2"},
          {"dated.exe", "13", "0", "0", "0", "65536", "2"},
          {"timed.exe", "14", "0", "0", "0", "7", "2"},
          {"other.dll", "15", "0", "0", "0", "0", "0"}});
    const struct {
        const char* name;
        ULong size;
        ULong date;
        ULong app;
    } cases[] = {
        {"any.exe", 0, 0, 10},           {"any.exe", 123456, 0x12345678, 10},
        {"exact.exe", 100, 0, 11},       {"exact.exe", 101, 0, 0},
        {"range.exe", 100, 0, 12},       {"range.exe", 150, 0, 12},
        {"range.exe", 200, 0, 12},       {"range.exe", 201, 0, 0},
        {"range.exe", 99, 0, 0},         {"dated.exe", 5, 0x00010005, 13},
        {"dated.exe", 5, 0x00020000, 0}, {"timed.exe", 5, 0x00090007, 14},
        {"timed.exe", 5, 0x00090008, 0}, {"ANY.EXE", 0, 0, 0},
        {"other.dll", 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kb_.KeyRecognise(c.name, c.size, 0, c.date), c.app)
            << c.name << " size " << c.size << " date " << std::hex << c.date;
    }
}

TEST_F(Recognition, CompetingKeyFilesWinInIndexOrder) {
    Open({{"dup.dll", "10", "0", "0", "0", "0", "2"},
          {"dup.dll", "20", "0", "0", "85", "0", "2"},
          {"dup.dll", "30", "0", "0", "85", "0", "2"},
          {"dup.dll", "40", "0", "0", "84", "0", "2"},
          {"big.dll", "50", "0", "0", "85", "0", "2"}});
    EXPECT_EQ(kb_.KeyRecognise("dup.dll", 1, 85, 0), 20u) << "CRC index first; equal CRCs in row order";
    EXPECT_EQ(kb_.KeyRecognise("anything", 1, 84, 0), 40u) << "a CRC match needs no name";
    EXPECT_EQ(kb_.KeyRecognise("dup.dll", 1, 99, 0), 10u) << "then the name index";
    EXPECT_EQ(kb_.KeyRecognise("none", 1, 0, 0), 0u);
}

TEST_F(Recognition, OtherFilesCountOnlyForApplicationsFound) {
    Open({{"core.dll", "10", "0", "0", "0", "0", "0"}, {"core.dll", "20", "0", "0", "0", "0", "0"}});
    CDynaList<ULong> found;
    EXPECT_EQ(kb_.NonKeyRecognise("core.dll", 1, 0, 0, found), 0u);
    found.Add(20);
    EXPECT_EQ(kb_.NonKeyRecognise("core.dll", 1, 0, 0, found), 20u) << "rows of other applications are passed over";
    found.Add(10);
    EXPECT_EQ(kb_.NonKeyRecognise("core.dll", 1, 0, 0, found), 10u) << "index order, not list order";
}

TEST_F(Recognition, AuditCreditsOtherFilesThroughKeyFilesAnywhereInTheList) {
    Open({{"scribe.exe", "3", "0", "0", "171", "0", "2"},
          {"scribecore.dll", "3", "0", "0", "0", "0", "0"},
          {"tallycalc.dll", "7", "0", "0", "0", "0", "0"}});
    CAudBase audit;
    audit.AddFile("scribecore.dll", 10, 0, 0);
    audit.AddFile("tallycalc.dll", 10, 0, 0);
    audit.AddFile("readme.txt", 10, 0, 0);
    audit.AddFile("scribe.exe", 10, 0xAB, 0);
    std::vector<unsigned long> results(4, 0);
    EXPECT_EQ(kb_.RecogniseAsset(audit, results.data()), 1);
    EXPECT_EQ(results, (std::vector<unsigned long>{3u << 16, 0, 0, 3u << 16}));
    EXPECT_EQ(kb_.GetAppName(results[0] >> 16, 1), "Quillsoft Scribe 7.2");
}

// Spot checks at the edges; CheckCommonFile below walks the rules over whole rows.
TEST(RecognitionRules, TouchingSizeRangesOverlapAndAZeroDateHalfMatchesAny) {
    EXPECT_EQ(CAuditDBSys::IsSizeCommon(10, 20, 20, 30), 1);
    EXPECT_EQ(CAuditDBSys::IsSizeCommon(10, 20, 21, 30), 0);
    EXPECT_EQ(CAuditDBSys::IsDateCommon(0x00050000, 0x00050004), 1);
    EXPECT_EQ(CAuditDBSys::IsDateCommon(0x00050003, 0x00050004), 0);
}

TEST_F(Recognition, CheckCommonFileMarksShadowingRowsAndItself) {
    Open({{"shared.dll", "10", "100", "0", "119", "0", "2"},
          {"shared.dll", "20", "50", "150", "119", "0", "0"},
          {"shared.dll", "30", "500", "0", "119", "0", "0"},
          {"shared.dll", "40", "0", "0", "0", "0", "0"},
          {"shared.dll", "50", "100", "0", "0", "131072", "2"},
          {"lonely.dll", "60", "100", "0", "120", "0", "0"}});
    EXPECT_EQ(kb_.CheckCommonFile(1), 3) << "rows 2 (CRC), 4 and 5 (name)";
    EXPECT_EQ(kb_.CheckCommonFile(6), 0);
    EXPECT_EQ((std::vector<ULong>{Flags(1), Flags(2), Flags(3), Flags(4), Flags(5), Flags(6)}),
              (std::vector<ULong>{3, 1, 0, 1, 3, 0}))
        << "row 3's sizes do not overlap";
    EXPECT_EQ(kb_.CheckCommonFile(99), 0);

    kb_.Close();
    CAuditDBSys again;
    ASSERT_EQ(again.Open(path_.c_str()), 1);
    EXPECT_EQ(again.KeyRecognise("x", 100, 119, 0), 0u) << "a marked key file is no longer a key file";
}

}  // namespace
