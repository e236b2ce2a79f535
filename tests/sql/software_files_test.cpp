// Software files: shared rows and links, values >= 2^31, the file cache, filesEnum, assignment.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "kb/file_signature.h"
#include "kb/kb_files.h"
#include "kb/recset.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"

namespace {

class SoftwareFiles : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
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

    ULong pc_ = 0, folder_ = 0;
};

TEST_P(SoftwareFiles, FileRowsAreSharedAndLinksMerged) {
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 1, "Acme", "Editor", "1.0", 0);
    db_->MergeFile(other, folder_, 0xAB, "app.exe", 4096, 2, "Acme", "Editor", "1.0", 0);
    ASSERT_EQ(LinkedFiles(pc_).size(), 1u) << AllMessages();
    EXPECT_EQ(LinkedFiles(pc_), LinkedFiles(other)) << "one row for the whole site";
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 3, "Acme", "Editor", "1.1", 0);
    EXPECT_EQ(CSqlRecordset(db_.get(), "select count(*) from SWFILE").NumberAt(0), 2u)
        << "another version text is another file";
    db_->MergeFile(pc_, folder_, 0xAB, "app.exe", 4096, 9, "Acme", "Editor", "1.0", 0);
    CDynaList<ULong> links;
    db_->EnumLinksByFile(LinkedFiles(other)[0], links);
    ASSERT_EQ(links.GetCount(), 2u);
    EXPECT_EQ(db_->GetLinkedFileDate(links[0]), 9u);
    EXPECT_EQ(db_->GetLinkedFileDate(links[1]), 2u);
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Copy", 0), 0xAB, "app.exe", 4096, 1, "Acme", "Editor", "1.0", 0);
    CDynaList<ULong> assets;
    EXPECT_EQ(db_->EnumAssetsByFile(LinkedFiles(other)[0], assets), 3u);
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

TEST_P(SoftwareFiles, FileCacheServesConsecutiveReadsWithOneQuery) {
    db_->MergeFile(pc_, folder_, 7, "one.txt", 11, 0, "Mfr", "Prod", "Ver", 3);
    const ULong file = LinkedFiles(pc_)[0];
    EXPECT_EQ(db_->GetFileName(file), "one.txt");
    // Changed behind the library's back: the cached row keeps answering.
    db_->ExecuteStatement(CString::Formatted("update SWFILE set _NAME='changed',_SIZE=99 where _ID=%d", int(file)));
    EXPECT_EQ(db_->GetFileSize(file), 11u);
    EXPECT_EQ(db_->GetFileMfr(file) + db_->GetFileApp(file) + db_->GetFileVer(file), "MfrProdVer");
    // A merge empties the key only: file 0 then reads the fields as they stand, with no query.
    db_->MergeFile(pc_, folder_, 8, "two.txt", 12, 0, "", "", "", 0);
    EXPECT_EQ(db_->GetFileName(0), "one.txt");
    EXPECT_EQ(db_->GetFileName(file), "changed");
    // An unknown file takes the key and leaves the fields.
    EXPECT_EQ(db_->GetFileSize(123456), 99u);
}

TEST_P(SoftwareFiles, FilesEnumFillsNineColumnsOnceAndValuesAbove2To31RoundTrip) {
    const ULong crc = 0xFFFFFFFF, size = 0x80000000, date = 0xDEADBEEF, app = 0x80000001;
    const char* name = "O'Neil's 100%_\xE9.txt";
    for (int i = 0; i < 2; ++i) db_->MergeFile(pc_, folder_, crc, name, size, date, "m", "p", "v", app);
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Other", 0), 2, "elsewhere.txt", 10, 20, "", "", "", 0);
    const ULong file = LinkedFiles(pc_)[0];
    EXPECT_EQ(std::vector<ULong>({db_->GetFileCRC(file), db_->GetFileSize(file), db_->GetFileAppID(file)}),
              std::vector<ULong>({crc, size, app}));
    CTable table;
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 1);
    ASSERT_EQ(table.GetColumnCount(), 10u);
    ASSERT_EQ(table.GetRowCount(), 1u) << "found again by its values" << AllMessages();
    EXPECT_EQ(table.GetText(0, 2), name);
    EXPECT_EQ(table.GetText(0, 8), "v");
    EXPECT_EQ(
        std::vector<ULong>({table.GetValue(0, 3), table.GetValue(0, 4), table.GetValue(0, 5), table.GetValue(0, 9)}),
        std::vector<ULong>({size, crc, date, app}));
    EXPECT_EQ(db_->GetLinkedFolder(table.GetValue(0, 1)), folder_);
    EXPECT_EQ(db_->filesEnum(pc_, folder_, table), 1);
    EXPECT_EQ(table.GetColumnCount(), 10u) << "columns are defined once";
    EXPECT_EQ(table.GetRowCount(), 1u) << "the earlier rows are cleared";
    EXPECT_EQ(db_->GetLinkedFileDate(db_->AddLink(pc_, folder_, file, 0xFFFFFFFE)), 0xFFFFFFFEu);
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
    // Every 100th step reports: the 100 rows take steps 0 to 99, the closing step is the 100th.
    const std::tuple<int, ULong, int, ULong> cases[] = {
        {1, folder_, 1, 0}, {2, folder_, 0, 100}, {1, db_->MergeFolder(pc_, "Empty", 0), 0, 0}};
    for (const auto& [from, folder, result, rows] : cases) {
        SCOPED_TRACE(from);
        Canceller canceller;
        canceller.from = from;
        db_->ProgSetCallback(&Canceller::Answer, reinterpret_cast<CallbackValue>(&canceller));
        EXPECT_EQ(db_->filesEnum(pc_, folder, table), result);
        EXPECT_EQ(table.GetRowCount(), rows);
    }
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
    EXPECT_EQ(files[0].text + files[1].text + std::to_string(files[1].extra).c_str(), "own.dllshared.dll0");
    CDynaList<ULong> assets;
    EXPECT_EQ(db_->EnumAssetsByFile(files[1].id, assets), 50u);
}

TEST_P(SoftwareFiles, HostileFileTextsRoundTripAndMatchExactly) {
    const std::string longName = std::string(300, 'n') + "\x80";
    const char* names[] = {"it's", "%", "_", "caf\xE9", longName.c_str()};
    for (const char* name : names) db_->MergeFile(pc_, folder_, 1, name, 1, 0, name, name, name, 0);
    for (const char* name : names) db_->MergeFile(pc_, folder_, 1, name, 1, 0, name, name, name, 0);
    const std::vector<ULong> files = LinkedFiles(pc_);
    ASSERT_EQ(files.size(), 5u) << AllMessages();
    for (std::size_t i = 0; i < files.size(); ++i)
        EXPECT_EQ(db_->GetFileName(files[i]) + db_->GetFileVer(files[i]), CString(names[i]) + names[i]);
}

// _FILES of the asset's instance of `app`; -1 when it has none.
long InstanceFiles(TestableNorvikSql& db, ULong asset, ULong app) {
    CSqlRecordset rs(
        &db, CString::Formatted("select _FILES from APPINST where _ASSET=%d and _APP=%d", int(asset), int(app)));
    return rs.IsEOF() ? -1 : static_cast<long>(rs.NumberAt(0));
}

TEST_P(SoftwareFiles, AssignFileCountsTheFileIntoEveryHoldersInstanceAndUnAssignFileCountsItOut) {
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    const ULong other = db_->AddAsset("PC2", 0, 0, 0, CTime());
    for (const ULong asset : {pc_, other}) db_->MergeFile(asset, folder_, 1, "ed.exe", 5, 0, "", "", "", 0);
    db_->MergeFile(pc_, db_->MergeFolder(pc_, "Copy", 0), 1, "ed.exe", 5, 0, "", "", "", 0);
    const ULong file = LinkedFiles(other)[0];
    EXPECT_EQ(db_->AssignFile(file, app), 1);
    EXPECT_EQ(db_->GetFileAppID(file), app) << "the cache was emptied";
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 2) << "two folders, two files";
    EXPECT_EQ(InstanceFiles(*db_, other, app), 1);
    const ULong second = db_->applicationAdd("Acme", "Viewer", 0);
    EXPECT_EQ(db_->AssignFile(file, second), 0);
    EXPECT_EQ(db_->GetFileAppID(file), app);
    EXPECT_EQ(InstanceFiles(*db_, pc_, second), -1);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 2);
    EXPECT_EQ(db_->AssignFile(999999, app), 0) << "a missing file";

    // Taken off again: a file in two folders of one asset is taken off that asset's instance twice.
    db_->ExecuteStatement(
        CString::Formatted("update APPINST set _FILES=3 where _ASSET=%d and _APP=%d", int(other), int(app)));
    EXPECT_EQ(db_->UnAssignFile(file), 1);
    EXPECT_EQ(db_->GetFileAppID(file), 0u);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), -1) << "2, then 1: the second pass deletes it";
    EXPECT_EQ(InstanceFiles(*db_, other, app), 2) << "_FILES 3: one less";
    ASSERT_EQ(db_->AssignFile(file, app), 1);
    EXPECT_EQ(db_->UnAssignAllFiles(app), 1);
    EXPECT_EQ(db_->GetFileAppID(file), 0u);
    EXPECT_EQ(InstanceFiles(*db_, pc_, app), 2) << "UnAssignAllFiles leaves APPINST alone";
}

// The record form reads columns 1 to 5 and 7 to 9 of the current row into the ten-value form.
TEST_P(SoftwareFiles, RecordFormMergesTheRowsColumnsInTheirPlaces) {
    using kbtest::N;
    using kbtest::T;
    const std::vector<kbtest::Column> columns = {{"NAME", T}, {"FOLDER", N},  {"SIZE", N},
                                                 {"CRC", N},  {"DATE", N},    {"UNUSED", N},
                                                 {"MFR", T},  {"PRODUCT", T}, {"VERSION", T}};
    CTable table = kbtest::MakeTable(
        "FILES", columns, {{"rec.exe", std::to_string(folder_), "4096", "171", "1234", "99", "Acme", "Editor", "2.0"}});
    CRecSet row(table);
    const ULong app = db_->applicationAdd("Acme", "Editor", 0);
    db_->MergeFile(pc_, row, app);
    CDynaList<ULong> links;
    db_->EnumLinksByAsset(pc_, links);
    ULong link = 0;
    for (const ULong each : links)
        if (db_->GetLinkedFile(each) != 0) link = each;
    ASSERT_NE(link, 0u) << AllMessages();
    const ULong file = db_->GetLinkedFile(link);
    EXPECT_EQ(std::tuple(db_->GetLinkedFolder(link), db_->GetLinkedFileDate(link)), std::tuple(folder_, 1234ul));
    EXPECT_EQ(std::tuple(db_->GetFileName(file).str(), db_->GetFileSize(file), db_->GetFileCRC(file)),
              std::tuple(std::string("rec.exe"), 4096ul, 171ul));
    EXPECT_EQ(std::tuple(db_->GetFileMfr(file).str(), db_->GetFileApp(file).str(), db_->GetFileVer(file).str(),
                         db_->GetFileAppID(file)),
              std::tuple(std::string("Acme"), std::string("Editor"), std::string("2.0"), app));
}

TEST_P(SoftwareFiles, FilesComeByPageWithTheirFolderPathsAndApplications) {
    const ULong editor = db_->applicationAdd("Acme", "Editor", 0);
    const ULong sub = db_->MergeFolder(pc_, "Tools", folder_);
    const ULong date = PackFileDate(2024, 5, 2, 10, 30, 0);
    db_->MergeFile(pc_, sub, 1, "b.exe", 3000000000u, date, "", "", "", editor);
    db_->MergeFile(pc_, folder_, 2, "z.dll", 10, 0, "", "", "", 0);
    db_->MergeFile(pc_, folder_, 3, "a.exe", 20, 0, "", "", "", 0);
    db_->MergeFile(db_->AddAsset("PC2", 0, 0, 0, CTime()), folder_, 4, "other.exe", 30, 0, "", "", "", 0);

    // "folder path|name|size|date|application id|application" of each row.
    CDynaList<CNorvik::SoftwareFilePageRow> rows;
    const auto shown = [&rows] {
        std::vector<std::string> texts;
        for (const auto& r : rows)
            texts.push_back(r.folderPath.str() + "|" + r.name.str() + "|" + std::to_string(r.size) + "|" +
                            std::to_string(r.date) + "|" + std::to_string(r.app) + "|" + r.application.str());
        return texts;
    };
    ASSERT_EQ(db_->swFileEnumPage(pc_, 0, 2, rows), 3u) << AllMessages();
    EXPECT_EQ(shown(), (std::vector<std::string>{"Bin\\|a.exe|20|0|0|", "Bin\\|z.dll|10|0|0|"}));

    rows.RemoveAll();
    ASSERT_EQ(db_->swFileEnumPage(pc_, 2, 2, rows), 3u);
    EXPECT_EQ(shown(), std::vector<std::string>{"Bin\\Tools\\|b.exe|3000000000|" + std::to_string(date) + "|" +
                                                std::to_string(editor) + "|Acme Editor"});

    rows.RemoveAll();
    EXPECT_EQ(db_->swFileEnumPage(pc_, 50, 2, rows), 3u) << "past the end: the true total";
    EXPECT_EQ(rows.GetCount(), 0u);
    EXPECT_EQ(db_->swFileEnumPage(db_->AddAsset("PC3", 0, 0, 0, CTime()), 0, 50, rows), 0u);
}

NORVIK_ON_BOTH_ENGINES(SoftwareFiles);

}  // namespace
