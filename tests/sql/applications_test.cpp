// The application catalogue and instances: stored procedures, names, aliases, instance cache.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kb/kb_files.h"
#include "sql/sql_recordset.h"
#include "support/engine_test.h"
#include "support/sort_list_texts.h"

namespace {

class Applications : public EngineTest {
protected:
    ULong Asset(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime(1700000000)); }
};

TEST_P(Applications, AddAppFindsTheExistingRowOrCreatesOneWithTheFlags) {
    const ULong editor = db_->applicationAdd("Acme", "Editor", 5);
    ASSERT_NE(editor, 0u);
    EXPECT_EQ(db_->applicationAdd("Acme", "Editor", 9), editor);
    EXPECT_EQ(db_->applicationGetFlags(editor), 5u);              // the existing row keeps its flags
    EXPECT_NE(db_->applicationAdd("Acme", "editor", 0), editor);  // names compare exactly
    EXPECT_NE(db_->applicationAdd("", "Editor", 0), editor);
    EXPECT_EQ(AllMessages(), "");
}

// A report's catalogue rows in one read: ids in any order, repeated or missing.
TEST_P(Applications, RowsInBulkComeInIdOrderAndSkipMissingIds) {
    const ULong editor = db_->applicationAdd("Acme", "Editor", 0);
    const ULong viewer = db_->applicationAdd("", "Viewer", 0);
    db_->ExecuteStatement(
        CString::Formatted("update APPS set _LICTYPE=3, _LICCOUNT=40 where _ID=%d", static_cast<int>(viewer)));
    CDynaList<ULong> ids;
    for (ULong id : {viewer, editor + viewer + 100, editor, viewer}) ids.Add(id);
    CDynaList<CNorvik::ApplicationPageRow> rows;
    ASSERT_EQ(db_->applicationGetRows(ids, rows), 2u) << AllMessages();
    EXPECT_EQ(rows[0].id, editor);
    EXPECT_EQ(rows[0].publisher, CString("Acme"));
    EXPECT_EQ(rows[0].name, CString("Editor"));
    EXPECT_EQ(rows[1].id, viewer);
    EXPECT_EQ(rows[1].licenceType, 3u);
    EXPECT_EQ(rows[1].licenceCount, 40u);
}

TEST_P(Applications, DisplayNameJoinsPublisherAndNameAndFollowsAliasesByDepth) {
    const ULong a = db_->applicationAdd("Acme", "Editor", 1), b = db_->applicationAdd("Beta", "Writer", 1);
    const ULong c = db_->applicationAdd("", "Tool", 1);
    EXPECT_EQ(db_->applicationGetName(a, 0, 1), "Acme Editor");
    EXPECT_EQ(db_->applicationGetName(a, 0, 0), "Editor");
    EXPECT_EQ(db_->applicationGetName(c, 0, 1), "Tool");
    EXPECT_EQ(db_->applicationGetName(9999, 0, 1), "");
    ASSERT_EQ(db_->applicationSetAlias(a, b), 1);
    ASSERT_EQ(db_->applicationSetAlias(b, c), 1);
    EXPECT_EQ(db_->applicationGetAlias(a), b);
    EXPECT_EQ(db_->applicationGetName(a, 0, 1), "Acme Editor");
    EXPECT_EQ(db_->applicationGetName(a, 1, 1), "Beta Writer");
    EXPECT_EQ(db_->applicationGetName(a, 5, 1), "Tool");
    // A publisher never follows the alias, whatever the depth.
    EXPECT_EQ(db_->GetAppPublisher(a, 0) + db_->GetAppPublisher(a, 3), "AcmeAcme");
    // The aliases of c: b directly, then a found below b.
    CDynaList<ULong> aliases;
    EXPECT_EQ(db_->newEnumAppAliases(c, aliases), 2u);
    EXPECT_EQ(std::vector<ULong>(aliases.begin(), aliases.end()), std::vector<ULong>({b, a}));
}

TEST_P(Applications, FindInstReturnsZeroAndTheCacheKeepsItsDescribedResets) {
    const ULong pc = Asset("PC1");
    const ULong app = db_->applicationAdd("Acme", "Editor", 1);
    const ULong other = db_->applicationAdd("Acme", "Viewer", 1);
    const ULong inst = db_->applicationAddInstance(pc, app, "S-1", "", 2);
    EXPECT_EQ(db_->applicationFindInst(pc, app), 0u);
    EXPECT_EQ(db_->applicationFindInst(pc, other), 0u);  // not found: the cache keeps the last row
    EXPECT_EQ(std::pair(db_->newGetAppInstAppID(inst), db_->newGetAppInstFiles(inst)), std::pair(app, 1u));
    // applicationAddInstance leaves the cache alone, and an existing instance keeps its texts.
    EXPECT_EQ(db_->applicationAddInstance(pc, app, "other", "3.0", 2), inst);
    EXPECT_EQ(db_->newGetAppInstFiles(inst), 1u);
    // applicationRemove empties the cache key; the next read goes to the table.
    const ULong second = db_->applicationAddInstance(pc, other, "S-2", "", 0);
    ASSERT_EQ(db_->applicationRemove(pc, other), 1);
    EXPECT_EQ(db_->applicationIsInstalled(pc, other), 0);
    EXPECT_EQ(db_->applicationIsInstalled(pc, app), 1);
    EXPECT_EQ(db_->newGetAppInstFiles(inst), 2u);
    EXPECT_EQ(db_->newGetAppInstSerial(inst), "S-1");
    // A missing instance leaves the values the cache held.
    EXPECT_EQ(db_->newGetAppInstSerial(second), "S-1");
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, InstanceListsBracketOnlyNonEmptyVersionsAndLabelSerials) {
    const ULong pc = Asset("PC1"), pc2 = Asset("PC2");
    const ULong editor = db_->applicationAdd("Acme", "Editor", 1);
    const ULong old = db_->applicationAdd("Acme", "Old Editor", 1);
    db_->applicationSetAlias(old, editor);
    const ULong i1 = db_->applicationAddInstance(pc, editor, "123", "2.0", 0);
    db_->applicationAddInstance(pc, db_->applicationAdd("Acme", "Viewer", 3), "", "", 0);
    const ULong i3 = db_->applicationAddInstance(pc2, old, "", "1.0", 0);
    CSortList withVersion;
    EXPECT_EQ(db_->EnumApplicationInstances(pc, 1, withVersion, 0, 0), 2u);
    EXPECT_EQ(Texts(withVersion), (std::vector<std::string>{"Editor [2.0]", "Viewer"}));
    EXPECT_EQ(withVersion[0].id, i1);
    CSortList masked;  // every bit of the mask is needed
    db_->EnumApplicationInstances(pc, 0, masked, 3, 0);
    EXPECT_EQ(Texts(masked), std::vector<std::string>{"Viewer"});
    CSortList aliased;  // named through one alias level
    db_->EnumApplicationInstances(pc2, 1, aliased, 0, 0);
    EXPECT_EQ(Texts(aliased), std::vector<std::string>{"Editor [1.0]"});
    CSortList labelled, plain;
    EXPECT_EQ(db_->newEnumAppInstByApp(editor, labelled, "Office"), 2u);
    // The aliased row's instances first; the item's ID is the asset, the extra the instance.
    EXPECT_EQ(Texts(labelled), (std::vector<std::string>{"Office", "Office [123]"}));
    EXPECT_EQ(std::tuple(labelled[0].id, labelled[0].extra, labelled[1].extra), std::tuple(pc2, i3, i1));
    db_->newEnumAppInstByApp(editor, plain, nullptr);
    EXPECT_EQ(Texts(plain), (std::vector<std::string>{"", "123"}));
}

TEST_P(Applications, InstanceOfAnAliasPointingToAMissingRowHasAnEmptyName) {
    const ULong pc = Asset("PC1");
    const ULong editor = db_->applicationAdd("Acme", "Editor", 1), viewer = db_->applicationAdd("Acme", "Viewer", 1);
    db_->applicationSetAlias(editor, 4711);
    db_->applicationSetAlias(viewer, editor);  // one level only: the alias's own alias is not followed
    db_->applicationAddInstance(pc, editor, "", "1.0", 0);
    db_->applicationAddInstance(pc, viewer, "", "", 0);
    CSortList list;
    EXPECT_EQ(db_->EnumApplicationInstances(pc, 1, list, 0, 0), 2u);
    list.Sort();
    EXPECT_EQ(Texts(list), (std::vector<std::string>{" [1.0]", "Editor"}));
    // Each instance is named through applicationGetName, which a derived back end may change.
    struct Renaming : TestableNorvikSql {
        using TestableNorvikSql::TestableNorvikSql;
        CString applicationGetName(ULong app, unsigned int aliasDepth, int withPublisher) override {
            return "<" + TestableNorvikSql::applicationGetName(app, aliasDepth, withPublisher) + ">";
        }
    } renaming(kb_);
    ASSERT_NE(renaming.Open(scratch_->ConnectionString().c_str(), nullptr, 0x4), 0);
    CSortList renamed;
    renaming.EnumApplicationInstances(pc, 0, renamed, 0, 0);
    renamed.Sort();
    EXPECT_EQ(Texts(renamed), (std::vector<std::string>{"<<>>", "<<Editor>>"}));
    // Names are read afresh on every call.
    db_->applicationSetAlias(editor, 0);
    CSortList again;
    db_->EnumApplicationInstances(pc, 0, again, 0, 0);
    again.Sort();
    EXPECT_EQ(Texts(again), (std::vector<std::string>{"Editor", "Editor"}));
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, FlagsAreSetClearedAndTestedByMask) {
    const ULong app = db_->applicationAdd("Acme", "Editor", 0x5);
    struct Step {
        ULong mask;
        int set;
        ULong flags;  // _FLAGS afterwards
    };
    for (const Step& step : {Step{0x8, 1, 0xD}, Step{0x8, 1, 0xD}, Step{0x1, 0, 0xC}, Step{0x3, 1, 0xF},
                             Step{0xF0, 0, 0xF}, Step{0x6, 0, 0x9}}) {
        db_->applicationSetFlag(app, step.mask, step.set);
        EXPECT_EQ(db_->applicationGetFlags(app), step.flags) << step.mask << "/" << step.set;
    }
    // Any bit of the mask answers 1.
    for (const auto& [mask, expected] : {std::pair{0x1ul, 1}, {0x6ul, 0}, {0x3ul, 1}, {0x80000000ul, 0}})
        EXPECT_EQ(db_->applicationGetFlag(app, mask), expected) << mask;
    EXPECT_EQ(db_->applicationGetFlag(4711, 0xFFFFFFFF), 0);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, AliasesAreAddedToAListThatAlreadyHasItems) {
    const ULong c = db_->applicationAdd("", "C", 1), b = db_->applicationAdd("", "B", 1);
    const ULong a = db_->applicationAdd("", "A", 1), x = db_->applicationAdd("", "X", 1);
    const ULong y = db_->applicationAdd("", "Y", 1);
    db_->applicationSetAlias(b, c);
    db_->applicationSetAlias(a, b);
    db_->applicationSetAlias(y, x);
    // b is there already: not added twice at the first level; the earlier items' own aliases
    // (y below x) are collected too, and the second-level list is appended without a test.
    CDynaList<ULong> list;
    list.Add(x);
    list.Add(b);
    EXPECT_EQ(db_->newEnumAppAliases(c, list), 4u);
    EXPECT_EQ(std::vector<ULong>(list.begin(), list.end()), (std::vector<ULong>{x, b, y, a}));
}

TEST_P(Applications, DeletionsTakeTheInstancesWithThem) {
    const ULong pc = Asset("PC1"), pc2 = Asset("PC2");
    const ULong editor = db_->applicationAdd("Acme", "Editor", 1), viewer = db_->applicationAdd("Acme", "Viewer", 1);
    for (const auto& [asset, app] : {std::pair{pc, editor}, {pc2, editor}, {pc, viewer}})
        db_->applicationAddInstance(asset, app, "", "", 0);
    ASSERT_EQ(db_->applicationDelete(editor), 1);
    EXPECT_EQ(db_->applicationGetName(editor, 0, 1), "");
    EXPECT_EQ(std::pair(db_->applicationIsInstalled(pc2, editor), db_->applicationIsInstalled(pc, viewer)),
              std::pair(0, 1));
    db_->ExecuteStatement(CString::Formatted("insert into SWLINK (_ASSET,_FOLDER,_FILE) values (%d,1,0)", int(pc)));
    ASSERT_EQ(db_->DeleteSw(pc), 1);
    EXPECT_EQ(db_->applicationIsInstalled(pc, viewer), 0);
    CSortList orphans;
    EXPECT_EQ(db_->enumOrphans(orphans), 0u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, FindMatchesTheFullDisplayNameOfInstalledFlaggedRows) {
    const ULong pc = Asset("PC1");
    const ULong editor = db_->applicationAdd("Acme", "Editor", 1);
    const ULong unflagged = db_->applicationAdd("Acme", "Viewer", 4);
    db_->applicationAdd("Acme", "Uninstalled", 2);
    db_->applicationAddInstance(pc, editor, "", "", 0);
    db_->applicationAddInstance(pc, unflagged, "", "", 0);
    EXPECT_EQ(db_->applicationFind("Acme Editor"), editor);
    for (const char* miss : {"Editor", "acme editor", "Acme Viewer", "Acme Uninstalled"})
        EXPECT_EQ(db_->applicationFind(miss), 0u) << miss;
}

// The texts of the applications themselves are checked with every family's texts.
TEST_P(Applications, HostileTextsRoundTripInInstancesAndPublisherListings) {
    const std::string quote = "O'Neil ''x'' 100% a_b \\";
    const std::string high = "Caf\xe9 \xff\x80";
    const ULong pc = Asset("PC1");
    for (const auto& [publisher, name] :
         {std::pair{quote, high}, std::pair{high, quote}, std::pair{std::string("%"), std::string("_")}}) {
        const ULong app = db_->applicationAdd(publisher.c_str(), name.c_str(), 1);
        ASSERT_NE(app, 0u) << AllMessages();
        const ULong inst = db_->applicationAddInstance(pc, app, quote.c_str(), high.c_str(), 0);
        db_->applicationFindInst(pc, app);
        EXPECT_EQ(db_->newGetAppInstSerial(inst).str(), quote);
        EXPECT_EQ(db_->newGetAppInstFiles(inst), 0u) << "added by hand: no files";
        EXPECT_EQ(db_->applicationGetVersion(inst).str(), high);
        CSortList byPublisher;
        db_->EnumAppsByPublisher(pc, publisher.c_str(), 0, byPublisher, 1);
        EXPECT_EQ(Texts(byPublisher), std::vector<std::string>{name});
    }
    // Wildcards are plain characters: "%" does not match every publisher.
    CSortList percent;
    db_->EnumAppsByPublisher(0, "%", 0, percent, 1);
    EXPECT_EQ(percent.GetCount(), 1u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, MergeKbAppsConvertsReferencesFrom65535On) {
    kbtest::ScratchFolder folder;
    kbtest::WriteCurrentFile(folder.File("kb.ids"));
    ASSERT_EQ(kb_.Open(folder.File("kb.ids").c_str()), 1);
    const ULong existing = db_->applicationAdd("Acme", "Editor", 0);
    // SWAPP 3 "7.2" lies below 2 "Scribe" below 1 "Quillsoft": the row is named after the parent
    // and the grandparent. 65535 carries reference 0, which has neither.
    ULong ids[] = {existing, 65534, 65535, 3u << 16, 2u << 16};
    db_->newMergeKBApps(ids, 5);
    EXPECT_EQ(std::vector<ULong>(ids, ids + 2), std::vector<ULong>({existing, 65534}));
    EXPECT_NE(ids[2], 0u);
    // The parent alone has no publisher.
    EXPECT_EQ(db_->applicationGetName(ids[2], 0, 1) + "|" + db_->applicationGetName(ids[3], 0, 1) + "|" +
                  db_->applicationGetName(ids[4], 0, 1),
              "|Quillsoft Scribe|Quillsoft");
    EXPECT_EQ(db_->applicationGetFlags(ids[3]), 1u);
    EXPECT_EQ(AllMessages(), "");
}

TEST_P(Applications, ReRecogniseAssignsUnassignedFilesAndCountsThemIntoInstances) {
    kbtest::ScratchFolder folder;
    const std::string path = folder.File("kb.ids");
    kbtest::WriteCurrentFile(path, kbtest::SysFileTable({{"scribe.exe", "3", "0", "0", "0", "0", "2"},
                                                         {"scribe.dll", "3", "0", "0", "0", "0", "0"},
                                                         {"lonely.dll", "2", "0", "0", "0", "0", "0"}}));
    ASSERT_EQ(kb_.Open(path.c_str()), 1);
    const ULong pc = Asset("PC1"), pc2 = Asset("PC2");
    const ULong mine = db_->applicationAdd("Site", "Own", 1);
    auto file = [&](const char* name, ULong app) {
        return db_->InsertRecord("SWFILE", "_NAME,_SIZE,_CRC,_APPID",
                                 CString::Formatted("'%s',10,0,%d", name, int(app)));
    };
    const ULong exe = file("scribe.exe", 0), dll = file("scribe.dll", 0), lonely = file("lonely.dll", 0);
    const ULong kept = file("scribe.exe", mine);  // assigned by hand: stays
    for (const auto& [asset, f] : {std::pair{pc, exe}, {pc, dll}, {pc, lonely}, {pc, kept}, {pc2, dll}})
        db_->InsertRecord("SWLINK", "_ASSET,_FOLDER,_FILE,_FDATE", CString::Formatted("%d,1,%d,0", int(asset), int(f)));
    EXPECT_EQ(db_->ReRecognise(pc), 2u);
    const ULong scribe = db_->SelectNumber("SWFILE", "_APPID", exe);
    EXPECT_EQ(db_->applicationGetName(scribe, 0, 1), "Quillsoft Scribe");
    // lonely.dll has no key file of its application.
    for (const auto& [f, app] : {std::pair{dll, scribe}, {lonely, 0u}, {kept, mine}})
        EXPECT_EQ(db_->SelectNumber("SWFILE", "_APPID", f), app) << f;
    CDynaList<ULong> instances;
    db_->EnumIds("APPINST", CString::Formatted("_ASSET=%d and _APP=%d", int(pc), int(scribe)), instances);
    ASSERT_EQ(instances.GetCount(), 1u);
    EXPECT_EQ(db_->newGetAppInstFiles(instances[0]), 2u);
    EXPECT_EQ(db_->applicationIsInstalled(pc2, scribe), 1);  // the shared file's other holder
    EXPECT_EQ(db_->ReRecognise(pc), 0u);                     // nothing left to assign
    EXPECT_EQ(AllMessages(), "");
}

// The bulk form must leave what the pair applicationAdd + applicationAddInstance leaves entry by
// entry: found or new catalogue rows, an existing instance counted up, a repeated entry counted,
// hostile texts intact (the server receives them as array literals), batches past 500 entries.
TEST_P(Applications, BulkInstanceAddLeavesWhatThePairOfCallsLeaves) {
    const ULong bulk = Asset("BULK"), paired = Asset("PAIRED");
    CDynaList<CNorvik::AppInstanceEntry> entries;
    entries.Add({"Acme", "Editor", "1.0"});
    entries.Add({"Acme", "Viewer", "2.0"});
    entries.Add({"Acme", "Viewer", "9.9"});  // repeated: counted into the first one's instance
    entries.Add({"", "O'Brien \"Tools\" \\ {a,b} \xc3\xa9", "v'1\"}"});
    for (int i = 0; i < 1100; ++i) entries.Add({"Bulk Co", ("tool " + std::to_string(i)).c_str(), ""});
    for (const ULong asset : {bulk, paired}) {  // an instance and a catalogue row already there
        db_->applicationAddInstance(asset, db_->applicationAdd("Acme", "Editor", 4), "", "0.5", 0);
        db_->applicationAdd("Acme", "Viewer", 4);
    }
    auto appRows = [&] { return CSqlRecordset(db_.get(), "select count(*) from APPS").NumberAt(0); };
    const ULong appsBefore = appRows();
    ASSERT_EQ(db_->applicationAddInstances(bulk, entries), 1);
    const ULong appsAfterBulk = appRows();
    for (const CNorvik::AppInstanceEntry& entry : entries)
        db_->applicationAddInstance(paired, db_->applicationAdd(entry.publisher, entry.name, 1), "", entry.version, 0);
    EXPECT_EQ(appsAfterBulk, appsBefore + 1 + 1100);
    EXPECT_EQ(appRows(), appsAfterBulk);  // the pair found every row the bulk form made
    auto state = [&](ULong asset) {
        std::vector<std::string> rows;
        CSqlRecordset rs(db_.get(),
                         CString::Formatted("select APPS._MFR, APPS._APP, APPS._FLAGS, APPINST._VERSION, "
                                            "APPINST._FILES, APPINST._FLAGS, APPINST._SERIAL from APPINST join APPS on "
                                            "APPS._ID = APPINST._APP where _ASSET = %d",
                                            static_cast<int>(asset)));
        for (; !rs.IsEOF(); rs.MoveNext()) {
            std::string row;
            for (int c = 0; c < 7; ++c) row += (c ? "|" : "") + rs.TextAt(c).str();
            rows.push_back(row);
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    };
    const std::vector<std::string> expected = state(paired);
    ASSERT_EQ(expected.size(), 1103u);
    EXPECT_EQ(state(bulk), expected);
    EXPECT_EQ(db_->applicationAddInstances(bulk, CDynaList<CNorvik::AppInstanceEntry>()), 1);
    EXPECT_EQ(AllMessages(), "");
}

NORVIK_ON_BOTH_ENGINES(Applications);

}  // namespace
