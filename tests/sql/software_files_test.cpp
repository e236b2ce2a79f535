// Software files on both engines: usp_MergeFile's sharing of file rows and its links, 32-bit
// values at and above 2^31, the one-entry file cache, filesEnum's table and its cancel
// asymmetry, EnumFiles over many links, and the record form of MergeFile.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kb/audbase.h"
#include "kb/recset.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

class SoftwareFiles : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        pc_ = db_->AddAsset("PC1", 0, 0, 0, CTime());
        folder_ = db_->MergeFolder(pc_, "Bin", 0);
    }

    // The SWFILE _IDs of the asset's file links, in link order.
    std::vector<ULong> LinkedFiles(ULong asset) {
        CDynaList<ULong> links;
        db_->EnumLinksByAsset(asset, links);
        std::vector<ULong> files;
        for (const ULong link : links)
            if (const ULong file = db_->GetLinkedFile(link)) files.push_back(file);
        return files;
    }

    ULong CountRows(const char* table) {
        CSqlRecordset rs(db_.get(), CString::Formatted("select count(*) from %s", table));
        return rs.NumberAt(0);
    }

    ULong pc_ = 0;
    ULong folder_ = 0;
};

TEST_P(SoftwareFiles, FileRowsAreSharedAndLinksMerged) {
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 1, "Acme", "Editor", "1.0", 0);
    db_->MergeFile(other, folder_, 0xAB, "app.exe", 4096, 2, "Acme", "Editor", "1.0", 0);
    ASSERT_EQ(LinkedFiles(pc_).size(), 1u) << AllMessages();
    EXPECT_EQ(LinkedFiles(pc_), LinkedFiles(other)) << "one row for the whole site";
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 3, "Acme", "Editor", "1.1", 0);
    EXPECT_EQ(CountRows("SWFILE"), 2u) << "another version text is another file";

    // Merging the same file into the same folder again only re-dates its link.
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 9, "Acme", "Editor", "1.0", 0);
    CDynaList<ULong> links;
    db_->EnumLinksByFile(LinkedFiles(other)[0], links);
    ASSERT_EQ(links.GetCount(), 2u);
    EXPECT_EQ(db_->GetLinkedFileDate(links[0]), 9u);
    EXPECT_EQ(db_->GetLinkedFileDate(links[1]), 2u);

    // The same file in a second folder of one asset lists that asset twice.
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Copy", 0), 0xAB, "app.exe", 4096, 1, "Acme", "Editor", "1.0", 0);
    CDynaList<ULong> assets;
    EXPECT_EQ(db_->EnumAssetsByFile(LinkedFiles(other)[0], assets), 3u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(SoftwareFiles, ApplicationOfAMergeFillsOnlyAnUnassignedRow) {
    db_->MergeFile(pc_, folder_, 1, "a.dll", 10, 0, "", "", "", 0);
    const ULong file = LinkedFiles(pc_)[0];
    db_->MergeFile(pc_, folder_, 1, "a.dll", 10, 0, "", "", "", 5);
    EXPECT_EQ(db_->GetFileAppID(file), 5u);
    db_->MergeFile(pc_, folder_, 1, "a.dll", 10, 0, "", "", "", 6);
    EXPECT_EQ(db_->GetFileAppID(file), 5u) << "an assignment is kept";
    CDynaList<ULong> links;
    EXPECT_EQ(db_->EnumLinksByApp(pc_, 5, links), 1u);
    EXPECT_EQ(db_->EnumLinksByApp(pc_, 6, links), 1u) << "appends";
}

TEST_P(SoftwareFiles, ValuesAtAndAbove2To31RoundTrip) {
    const ULong crc = 0xFFFFFFFF, size = 0x80000000, date = 0xDEADBEEF, app = 0x80000001;
    db_->MergeFile(pc_, folder_, crc, "big.iso", size, date, "M", "P", "V", app);
    db_->MergeFile(pc_, folder_, crc, "big.iso", size, date, "M", "P", "V", app);
    ASSERT_EQ(LinkedFiles(pc_).size(), 1u) << "found again by its values" << AllMessages();
    const ULong file = LinkedFiles(pc_)[0];
    EXPECT_EQ(db_->GetFileCRC(file), crc);
    EXPECT_EQ(db_->GetFileSize(file), size);
    EXPECT_EQ(db_->GetFileAppID(file), app);
    CTable table;
    db_->filesEnum(pc_, folder_, table);
    ASSERT_EQ(table.GetRowCount(), 1u);
    EXPECT_EQ(table.GetValue(0, 3), size);
    EXPECT_EQ(table.GetValue(0, 4), crc);
    EXPECT_EQ(table.GetValue(0, 5), date);
    EXPECT_EQ(table.GetValue(0, 9), app);
    const ULong link = db_->AddLink(pc_, folder_, file, 0xFFFFFFFE);
    ASSERT_NE(link, 0u);
    EXPECT_EQ(db_->GetLinkedFileDate(link), 0xFFFFFFFEu);
}

TEST_P(SoftwareFiles, FileCacheServesConsecutiveReadsWithOneQuery) {
    db_->MergeFile(pc_, folder_, 7, "one.txt", 11, 0, "Mfr", "Prod", "Ver", 3);
    const ULong file = LinkedFiles(pc_)[0];
    EXPECT_EQ(db_->GetFileName(file), "one.txt");
    // Changed behind the library's back: the cached row keeps answering.
    db_->ExecuteStatement(CString::Formatted("update SWFILE set _NAME='changed',_SIZE=99 where _ID=%d", int(file)));
    EXPECT_EQ(db_->GetFileSize(file), 11u);
    EXPECT_EQ(db_->GetFileMfr(file), "Mfr");
    EXPECT_EQ(db_->GetFileApp(file), "Prod");
    EXPECT_EQ(db_->GetFileVer(file), "Ver");
    EXPECT_EQ(db_->GetFileCRC(file), 7u);
    EXPECT_EQ(db_->GetFileAppID(file), 3u);

    // A merge empties the key only: file 0 then reads the fields as they stand, with no query.
    db_->MergeFile(pc_, folder_, 8, "two.txt", 12, 0, "", "", "", 0);
    EXPECT_EQ(db_->GetFileName(0), "one.txt");
    EXPECT_EQ(db_->GetFileName(file), "changed");
    // An unknown file takes the key and leaves the fields.
    EXPECT_EQ(db_->GetFileSize(123456), 99u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(SoftwareFiles, FilesEnumFillsNineColumnsOnceAndClearsOldRows) {
    db_->MergeFile(pc_, folder_, 1, "O'Neil's 100%_\xE9.txt", 10, 20, "m", "p", "v", 0);
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Other", 0), 2, "elsewhere.txt", 10, 20, "", "", "", 0);
    CTable table;
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 1);
    ASSERT_EQ(table.GetColumnCount(), 10u);
    EXPECT_EQ(table.GetColumnName(1), "LINKID");
    EXPECT_EQ(table.GetColumnName(9), "APPID");
    EXPECT_EQ(table.GetColumnType(2), CTable::typeText);
    ASSERT_EQ(table.GetRowCount(), 1u);
    EXPECT_EQ(table.GetText(0, 2), "O'Neil's 100%_\xE9.txt");
    EXPECT_EQ(table.GetText(0, 8), "v");
    EXPECT_EQ(db_->GetLinkedFolder(table.GetValue(0, 1)), folder_);
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 1);
    EXPECT_EQ(table.GetColumnCount(), 10u) << "columns are defined once";
    EXPECT_EQ(table.GetRowCount(), 1u) << "the earlier rows are cleared";
}

// Answers 2 (cancel) to the step codes from the `from`-th on.
struct Canceller {
    int steps = 0;
    int from = 1;
    static int Answer(int code, CallbackValue, CallbackValue context) {
        auto* self = reinterpret_cast<Canceller*>(context);
        return code == 7 && ++self->steps >= self->from ? 2 : 1;
    }
};

TEST_P(SoftwareFiles, FilesEnumCancelInTheLoopStillReturnsOne) {
    for (int i = 0; i < 100; ++i) db_->MergeFile(pc_, folder_, 0, CString::Formatted("f%03d", i), 1, 0, "", "", "", 0);
    CTable table;
    Canceller first;
    db_->ProgSetCallback(&Canceller::Answer, reinterpret_cast<CallbackValue>(&first));
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 1) << "a cancel inside the loop";
    EXPECT_EQ(table.GetRowCount(), 0u);

    // Every 100th step reports: the 100 rows take steps 0 to 99, the closing step is the 100th.
    Canceller second;
    second.from = 2;
    db_->ProgSetCallback(&Canceller::Answer, reinterpret_cast<CallbackValue>(&second));
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 0) << "the closing step was cancelled";
    EXPECT_EQ(table.GetRowCount(), 100u);

    Canceller always;
    db_->ProgSetCallback(&Canceller::Answer, reinterpret_cast<CallbackValue>(&always));
    EXPECT_EQ(db_->filesEnum(pc_, db_->MergeFolder(pc_, "Empty", 0), table), 0) << "no rows: the closing step";
}

TEST_P(SoftwareFiles, EnumFilesListsAFileOnceOverFiftyLinks) {
    const TransactionScope transaction(*db_);
    for (int i = 0; i < 50; ++i) {
        const ULong asset = db_->AddAsset(CString::Formatted("Host %d", i), 0, 0, 0, CTime());
        db_->MergeFile(asset, db_->MergeFolder(asset, "Bin", 0), 5, "shared.dll", 77, 0, "", "", "", 4);
    }
    db_->MergeFile(pc_, folder_, 6, "own.dll", 1, 0, "", "", "", 4);
    CSortList files;
    EXPECT_EQ(db_->EnumFiles(4, files), 1);
    ASSERT_EQ(files.GetCount(), 2u);
    files.Sort();
    EXPECT_EQ(files[0].text, "own.dll");
    EXPECT_EQ(files[1].text, "shared.dll");
    EXPECT_EQ(files[1].extra, 0u);
    CDynaList<ULong> assets;
    EXPECT_EQ(db_->EnumAssetsByFile(files[1].id, assets), 50u);
}

TEST_P(SoftwareFiles, RecordFormTakesTheAuditColumns) {
    CAudBase audit;
    audit.AddFile("setup.exe", 0x90000000, 0xCAFEBABE, 0x12345678, folder_);
    CTable& files = *audit.GetFiles();
    while (files.GetColumnCount() < 10) files.AddColumn("X", CTable::typeText);
    CRecSet row(files);
    row.SetText(7, "Acme");
    row.SetText(8, "Setup");
    row.SetText(9, "2.0");
    db_->MergeFile(pc_, row, 0);
    CTable table;
    db_->filesEnum(pc_, folder_, table);
    ASSERT_EQ(table.GetRowCount(), 1u) << AllMessages();
    EXPECT_EQ(table.GetText(0, 2), "setup.exe");
    EXPECT_EQ(table.GetValue(0, 3), 0x90000000u);
    EXPECT_EQ(table.GetValue(0, 4), 0xCAFEBABEu);
    EXPECT_EQ(table.GetValue(0, 5), 0x12345678u);
    EXPECT_EQ(table.GetText(0, 6), "Acme");
    EXPECT_EQ(table.GetText(0, 8), "2.0");
}

TEST_P(SoftwareFiles, HostileFileTextsRoundTripAndMatchExactly) {
    const std::string longName = std::string(300, 'n') + "\x80";
    const char* names[] = {"it's", "%", "_", "caf\xE9", longName.c_str()};
    for (const char* name : names) db_->MergeFile(pc_, folder_, 1, name, 1, 0, name, name, name, 0);
    for (const char* name : names) db_->MergeFile(pc_, folder_, 1, name, 1, 0, name, name, name, 0);
    const std::vector<ULong> files = LinkedFiles(pc_);
    ASSERT_EQ(files.size(), 5u) << AllMessages();
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(db_->GetFileName(files[i]).str(), names[i]);
        EXPECT_EQ(db_->GetFileVer(files[i]).str(), names[i]);
    }
}

// _FILES of the asset's instance of `app`; -1 when it has none.
long InstanceFiles(TestableNorvikSql& db, ULong asset, ULong app) {
    CSqlRecordset rs(
        &db, CString::Formatted("select _FILES from APPINST where _ASSET=%d and _APP=%d", int(asset), int(app)));
    return rs.IsEOF() ? -1 : static_cast<long>(rs.NumberAt(0));
}

TEST_P(SoftwareFiles, AssignFileCountsTheFileIntoEveryHoldersInstance) {
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    for (const ULong asset : {pc_, other}) db_->MergeFile(asset, folder_, 1, "ed.exe", 5, 0, "", "", "", 0);
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Copy", 0), 1, "ed.exe", 5, 0, "", "", "", 0);
    const ULong file = LinkedFiles(other)[0];
    EXPECT_EQ(db_->GetFileAppID(file), 0u);
    EXPECT_EQ(db_->AssignFile(file, app), 1);
    EXPECT_EQ(db_->GetFileAppID(file), app) << "the cache was emptied";
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 2) << "two folders, two files";
    EXPECT_EQ(InstanceFiles(*db_, other, app), 1);

    // An assigned file changes nothing, not even APPINST.
    const ULong second = db_->applicationAdd("Acme", "Viewer", 0);
    EXPECT_EQ(db_->AssignFile(file, second), 0);
    EXPECT_EQ(db_->GetFileAppID(file), app);
    EXPECT_EQ(InstanceFiles(*db_, pc_, second), -1);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 2);
    EXPECT_EQ(db_->AssignFile(999999, app), 0) << "a missing file";
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(SoftwareFiles, UnAssignFileDeletesASingleFileInstanceAndCountsDownOthers) {
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    for (const ULong asset : {pc_, other}) db_->MergeFile(asset, folder_, 1, "ed.exe", 5, 0, "", "", "", 0);
    const ULong file = LinkedFiles(pc_)[0];
    ASSERT_EQ(db_->AssignFile(file, app), 1);
    db_->ExecuteStatement(
        CString::Formatted("update APPINST set _FILES=3 where _ASSET=%d and _APP=%d", int(other), int(app)));
    EXPECT_EQ(db_->UnAssignFile(file), 1);
    EXPECT_EQ(db_->GetFileAppID(file), 0u);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), -1) << "_FILES 1: the instance goes";
    EXPECT_EQ(InstanceFiles(*db_, other, app), 2) << "_FILES 3: one less";

    ASSERT_EQ(db_->AssignFile(file, app), 1);
    EXPECT_EQ(db_->UnAssignAllFiles(app), 1);
    EXPECT_EQ(db_->GetFileAppID(file), 0u);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 1) << "UnAssignAllFiles leaves APPINST alone";
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(SoftwareFiles);

}  // namespace
