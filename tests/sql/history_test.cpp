// History on both engines: the code layout, the texts of every code form, the cuts at 256
// characters, reading back, enumerating, purge lists and the purge procedure.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "common/formatting.h"
#include "common/trace.h"
#include "interface/asset_history_record.h"
#include "support/engine_test.h"

namespace {

const CTime kJan(2009, 1, 10, 9, 30, 0);
const CTime kFeb(2009, 2, 10, 9, 30, 0);
const CTime kMar(2009, 3, 10, 9, 30, 0);
const CTime kApr(2009, 4, 10, 9, 30, 0);

TEST(HistoryOperation, NamesOfTheOperations) {
    const std::pair<ULong, const char*> cases[] = {
        {1, "Added"},
        {2, "Deleted"},
        {3, "Unknown Operation"},
        {4, "Changed"},
        {5, "Alert: Internet Activity"},
        {6, "Alert: Folder/File Changes"},
        {7, "Unknown Operation"},
        {0, "Unknown Operation"},
        {0xFFFF, "Unknown Operation"},
    };
    for (const auto& [operation, name] : cases)
        EXPECT_STREQ(CNorvik::GetHistoryOperation(operation), name) << operation;
}

class History : public EngineTest {
protected:
    ULong Add(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1 = nullptr,
              const char* value2 = nullptr, const char* user = nullptr) {
        return db_->historyAdd(asset, date, operation, kind, key, value1, value2, user);
    }
    ULong AddAsset(const char* quotedName) { return db_->InsertRecord("ASSET", "_NAME", quotedName); }
    CString Column(const char* column, ULong hist) { return db_->SelectText("HISTORY", column, hist); }
};

TEST_P(History, RecordTextFollowsTheCodeRules) {
    struct Case {
        ULong operation;
        int kind;
        const char* key;
        const char* value1;
        const char* value2;
        const char* text;
    };
    const Case cases[] = {
        {1, 3, "pc", nullptr, nullptr, "Initial Audit"},
        {4, 3, "Name", "PC1", "PC2", "Name changed from PC1 to PC2"},
        {4, 3, nullptr, nullptr, nullptr, "Re-Audit"},
        {4, 3, nullptr, "PC1", "PC2", "Re-Audit"},
        {2, 3, "pc", "a", "b", ""},
        {4, 2, nullptr, "A", "B", "Moved  from A to B"},
        {4, 2, nullptr, "A", nullptr, "Moved  from A"},
        {4, 2, nullptr, nullptr, "B", "Moved  to B"},
        {4, 2, nullptr, nullptr, nullptr, "Moved "},
        {1, 2, "Place", nullptr, nullptr, "Added Place"},
        {1, 13, "Editor", nullptr, nullptr, "Added Editor"},
        {4, 13, "Editor", "1.0", "2.0", "Editor changed from 1.0 to 2.0"},
        {4, 13, "Editor", "1.0", nullptr, "Editor changed : 1.0"},
        {4, 13, "Editor", nullptr, "2.0", "Editor changed"},
        {2, 13, "Editor", nullptr, nullptr, "Deleted Editor"},
        {2, 15, "Drive", "C:", nullptr, "Deleted Drive : C:"},
        {7, 13, "Editor", "1.0", nullptr, " : 1.0"},
        {5, 31, "site", "a", "b", " from a to b"},
        {3, 14, "x", nullptr, nullptr, ""},
        // Kinds are 16 bits: 0x10003 in the kind argument is kind 3.
        {1, 0x10003, "pc", nullptr, nullptr, "Initial Audit"},
    };
    for (const auto& c : cases) {
        const ULong hist = Add(1, kJan, c.operation, c.kind, c.key, c.value1, c.value2);
        ASSERT_NE(hist, 0u) << AllMessages();
        EXPECT_EQ(db_->historyFormatRecord(hist).str(), c.text) << c.operation << "/" << c.kind;
        EXPECT_EQ(db_->SelectNumber("HISTORY", "_CODE", hist), (c.operation << 16) | (c.kind & 0xFFFF));
    }
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, PathSeparatorsShowAsArrowsInValuesAndInTheDetailsKey) {
    const ULong hist = Add(1, kJan, 4, 14, "CPU|Speed", "1|2", "3|4", "me");
    // The formatted record keeps the key as stored; the details show it as a path too.
    EXPECT_STREQ(db_->historyFormatRecord(hist), "CPU|Speed changed from 1>2 to 3>4");
    CString category, text, user;
    int kind = -1;
    db_->historyGetDetails(hist, category, text, user, &kind);
    EXPECT_STREQ(text, "CPU>Speed changed from 1>2 to 3>4");
    EXPECT_STREQ(category, "Hardware");
    EXPECT_STREQ(user, "me");
    EXPECT_EQ(kind, 14);
    EXPECT_STREQ(Column("_KEY", hist), "CPU|Speed");
}

TEST_P(History, ShortDetailsTakeTheLowestByteLongDetailsTheLowerHalf) {
    const ULong hist = Add(7, kFeb, 1, 0x10D, "Editor", nullptr, nullptr, "me");
    CString category, text, user;
    int kind = -1;
    db_->historyGetDetails(hist, category, text, user, &kind);
    EXPECT_EQ(kind, 13);
    EXPECT_STREQ(category, "Software");
    EXPECT_STREQ(text, "Added Editor");

    ULong asset = 0;
    CString operation, key, value1, value2, date;
    category = "";
    db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
    EXPECT_EQ(kind, 0x10D);
    EXPECT_STREQ(category, "");  // 269 has no group
    EXPECT_EQ(asset, 7u);
}

TEST_P(History, LongDetailsGiveEveryStoredPart) {
    const ULong hist = Add(42, kMar, 4, 15, "Primary|MAC", "00:11", "00:22", "O'Neil");
    ULong asset = 0;
    int kind = 0;
    CString operation, category, key, user, value1, value2, date;
    db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
    EXPECT_EQ(asset, 42u);
    EXPECT_EQ(kind, 15);
    EXPECT_STREQ(operation, "Changed");
    EXPECT_STREQ(category, "Hardware");
    EXPECT_STREQ(key, "Primary|MAC");  // unchanged, unlike the short form
    EXPECT_STREQ(value1, "00:11");
    EXPECT_STREQ(value2, "00:22");
    EXPECT_STREQ(user, "O'Neil");
    EXPECT_EQ(date, FormatDateTime(kMar, true, '/'));
    // Null pointers are allowed.
    db_->historyGetDetails(hist, nullptr, nullptr, operation, category, key, user, value1, value2, date);
    EXPECT_STREQ(category, "Hardware");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, UnknownRowLeavesTextsAndTracesItsId) {
    const auto trace = std::filesystem::temp_directory_path() / ("norvik_hist_trace_" + std::to_string(getpid()));
    ASSERT_TRUE(TraceOpen(trace.c_str()));
    ULong asset = 5;
    int kind = 9;
    CString operation = "o", category = "c", key = "k", user = "u", value1 = "1", value2 = "2", date = "d";
    db_->historyGetDetails(999, &asset, &kind, operation, category, key, user, value1, value2, date);
    TraceClose();
    EXPECT_EQ(asset, 0xFFFFFFFFu);
    EXPECT_EQ(kind, 9);
    for (const CString* text : {&operation, &category, &key, &user, &value1, &value2, &date})
        EXPECT_EQ(text->GetLength(), 1);
    std::stringstream written;
    written << std::ifstream(trace).rdbuf();
    std::filesystem::remove(trace);
    EXPECT_NE(written.str().find("Invalid HISTID 0x3E7 in CNorvikSql::historyGetDetails()\n"), std::string::npos)
        << written.str();

    CString text = "t";
    db_->historyGetDetails(999, category, text, user, &kind);
    EXPECT_STREQ(text, "t");
    EXPECT_STREQ(db_->historyFormatRecord(999), "");
    EXPECT_EQ(db_->historyGetDate(999), CTime());
    EXPECT_EQ(db_->historyGetAsset(999), 0u);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, TextsAreCutAt256WithAQuoteDoubledOnce) {
    std::string key = "O'" + std::string(298, 'k');  // 300 characters
    const std::string value(400, 'v');
    const ULong hist = Add(1, kJan, 1, 13, key.c_str(), value.c_str(), value.c_str(), value.c_str());
    ASSERT_NE(hist, 0u) << AllMessages();
    EXPECT_EQ(Column("_KEY", hist).str(), key.substr(0, 256));
    EXPECT_EQ(Column("_VALUE1", hist).str(), value.substr(0, 256));
    EXPECT_EQ(Column("_VALUE2", hist).str(), value.substr(0, 256));
    EXPECT_EQ(Column("_USERNAME", hist).str(), value.substr(0, 256));
    // A quote at the cut: doubling it does not count against the 256.
    key = std::string(255, 'k') + "'x";
    const ULong cut = Add(1, kJan, 1, 13, key.c_str());
    EXPECT_EQ(Column("_KEY", cut).str(), std::string(255, 'k') + "'");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, UserIsTheCallersOrElseTheLogonUser) {
    const ULong nobody = Add(1, kJan, 1, 13, "a");
    db_->SetLogonUser("auditor");
    const ULong logon = Add(1, kJan, 1, 13, "b");
    const ULong given = Add(1, kJan, 1, 13, "c", nullptr, nullptr, "someone");
    const ULong blank = Add(1, kJan, 1, 13, "d", nullptr, nullptr, "");
    EXPECT_STREQ(Column("_USERNAME", nobody), "");
    EXPECT_STREQ(Column("_USERNAME", logon), "auditor");
    EXPECT_STREQ(Column("_USERNAME", given), "someone");
    EXPECT_STREQ(Column("_USERNAME", blank), "");
}

TEST_P(History, QuotesPercentsAndEightBitTextsSurvive) {
    const char* texts[] = {"O'Neil's PC", "100% done", "caf\xE9 \x80\xFF", "''", "a|b'c"};
    for (const char* text : texts) {
        const ULong hist = Add(3, kJan, 4, 13, text, text, text, text);
        ASSERT_NE(hist, 0u) << text << AllMessages();
        ULong asset = 0;
        int kind = 0;
        CString operation, category, key, user, value1, value2, date;
        db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
        EXPECT_STREQ(key, text);
        EXPECT_STREQ(value1, text);
        EXPECT_STREQ(value2, text);
        EXPECT_STREQ(user, text);
    }
    const ULong named = AddAsset("'O''Neil''s 100% caf\xE9'");
    Add(named, kJan, 1, 3, "x");
    CDynaList<CAssetHistoryRecord> records;
    db_->EnumAssetHistoryRecords(records);
    bool found = false;
    for (const auto& r : records) found = found || r.m_strAsset == "O'Neil's 100% caf\xE9";
    EXPECT_TRUE(found);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, ReadsAndEnumerationsOfOneAsset) {
    const ULong pc = AddAsset("'pc'");
    const ULong other = AddAsset("'other'");
    const ULong a = Add(pc, kMar, 4, 13, "late");
    const ULong b = Add(pc, kJan, 1, 3, "pc");
    const ULong c = Add(pc, kMar, 1, 13, "late too");
    Add(other, kFeb, 1, 3, "other");

    EXPECT_EQ(db_->historyGetDate(a), kMar);
    EXPECT_EQ(db_->historyGetAsset(a), pc);
    EXPECT_EQ(db_->historyGetLastDate(pc), kMar);
    EXPECT_EQ(db_->historyGetLastDate(999), CTime());

    CDynaList<CTime> dates;
    dates.Add(kApr);  // enumerations append
    EXPECT_EQ(db_->assetEnumHistoryDates(pc, dates), 4u);
    EXPECT_EQ(dates[1], kJan);
    EXPECT_EQ(dates[2], kMar);  // one date per row
    EXPECT_EQ(dates[3], kMar);

    CDynaList<ULong> ids;
    ids.Add(77);
    EXPECT_EQ(db_->EnumAssetHistoryRecords(pc, kMar, ids, 0), 3u);
    std::set<ULong> got(ids.begin() + 1, ids.end());
    EXPECT_EQ(got, (std::set<ULong>{a, c}));
    ids.RemoveAll();
    EXPECT_EQ(db_->EnumAssetHistoryRecords(pc, kFeb, ids, 0), 0u);
    EXPECT_EQ(db_->EnumAssetHistoryRecords(pc, kJan, ids, 0), 1u);
    EXPECT_EQ(ids[0], b);

    db_->historyDelete(a);
    EXPECT_STREQ(db_->historyFormatRecord(a), "");
    EXPECT_STREQ(db_->historyFormatRecord(c), "Added late too");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, ExportRecordsCarryTheAssetNameAndEveryField) {
    const ULong pc = AddAsset("'pc'");
    Add(pc, kJan, 4, 3, "Name", "old", "new", "me");
    Add(999, kFeb, 2, 13, "Gone");  // an asset without a row gives an empty name
    CDynaList<CAssetHistoryRecord> records;
    records.Add(CAssetHistoryRecord("earlier", kApr, 1, "", "", "", ""));
    EXPECT_EQ(db_->EnumAssetHistoryRecords(records), 3);
    ASSERT_EQ(records.GetCount(), 3u);
    const CAssetHistoryRecord* rename = nullptr;
    const CAssetHistoryRecord* gone = nullptr;
    for (ULong i = 1; i < records.GetCount(); ++i) (records[i].m_nCode == 0x40003 ? rename : gone) = &records[i];
    ASSERT_TRUE(rename && gone);
    EXPECT_STREQ(rename->m_strAsset, "pc");
    EXPECT_EQ(rename->m_date, kJan);
    EXPECT_STREQ(rename->m_strKey, "Name");
    EXPECT_STREQ(rename->m_strValue1, "old");
    EXPECT_STREQ(rename->m_strValue2, "new");
    EXPECT_STREQ(rename->m_strUser, "me");
    EXPECT_STREQ(gone->m_strAsset, "");
    EXPECT_EQ(gone->m_nCode, 0x2000D);
}

TEST_P(History, PurgeListNeverHoldsAnInitialAudit) {
    const ULong initialOld = Add(1, kJan, 1, 3, "pc");
    const ULong changeOld = Add(1, kJan, 4, 13, "Editor", "1", "2");
    const ULong reAuditOld = Add(1, kFeb, 4, 3, nullptr);
    const ULong onTheDay = Add(2, kMar, 1, 13, "Editor");
    Add(2, kApr, 1, 3, "pc2");
    CDynaList<ULong> ids;
    ids.Add(5);
    EXPECT_EQ(db_->EnumHistoryPurge(kMar, ids), 3u);
    const std::set<ULong> listed(ids.begin() + 1, ids.end());
    EXPECT_EQ(listed, (std::set<ULong>{changeOld, reAuditOld}));
    EXPECT_FALSE(listed.count(initialOld));
    EXPECT_FALSE(listed.count(onTheDay));  // strictly before
    ids.RemoveAll();
    db_->EnumHistoryPurge(CTime(2100, 1, 1, 0, 0, 0), ids);
    for (const ULong id : ids) EXPECT_NE(db_->SelectNumber("HISTORY", "_CODE", id), 0x10003u);
    EXPECT_EQ(ids.GetCount(), 3u);
}

TEST_P(History, StoreAppHistoryRecordsAddedAndRemovedApplications) {
    db_->SetLogonUser("auditor");
    const ULong pc = AddAsset("'pc'");
    CSortList before, after;
    for (const char* name : {"Paint", "Editor", "viewer"}) before.Add(name, 0);
    for (const char* name : {"Zip", "Viewer", "Editor"}) after.Add(name, 0);
    db_->StoreAppHistory(pc, before, after, kFeb);
    EXPECT_TRUE(before.IsSorted());
    EXPECT_TRUE(after.IsSorted());
    CDynaList<ULong> ids;
    db_->EnumAssetHistoryRecords(pc, kFeb, ids, 0);
    std::set<std::string> texts;
    for (const ULong id : ids) {
        texts.insert(db_->historyFormatRecord(id).str());
        EXPECT_STREQ(Column("_USERNAME", id), "auditor");
    }
    EXPECT_EQ(texts, (std::set<std::string>{"Added Viewer", "Added Zip", "Deleted Paint", "Deleted viewer"}));
}

// The same history on both engines, purged with each combination of the procedure's integers.
TEST_P(History, PurgeAssetHistoryKeepsWhatItsArgumentsSay) {
    struct Case {
        ULong asset;  // 1 or 2 below, 0 for all
        int keepInitial;
        int keepAudits;
        int removed;
        std::set<std::string> kept;
    };
    const std::set<std::string> all = {"1:init", "1:jan", "1:feb", "1:mar", "1:apr", "2:init", "2:feb", "2:apr"};
    const Case cases[] = {
        {1, 1, 0, 3, {"1:init", "1:apr", "2:init", "2:feb", "2:apr"}},
        {1, 0, 0, 4, {"1:apr", "2:init", "2:feb", "2:apr"}},
        {1, 1, 2, 2, {"1:init", "1:mar", "1:apr", "2:init", "2:feb", "2:apr"}},
        {1, 0, 9, 0, all},
        {0, 1, 0, 4, {"1:init", "1:apr", "2:init", "2:apr"}},
        {0, 0, 1, 6, {"1:apr", "2:apr"}},
        {3, 0, 0, 0, all},
    };
    for (const auto& c : cases) {
        db_->ExecuteStatement("delete from HISTORY");
        db_->ExecuteStatement("delete from EVENTLOG");
        Add(1, kJan, 1, 3, "init");
        const ULong jan = Add(1, kJan, 4, 13, "jan");
        Add(1, kFeb, 4, 13, "feb");
        Add(1, kMar, 4, 13, "mar");
        const ULong apr = Add(1, kApr, 4, 13, "apr");
        Add(2, kJan, 1, 3, "init");
        Add(2, kFeb, 4, 13, "feb");
        Add(2, kApr, 4, 13, "apr");
        db_->AddEvent("old", jan);
        db_->AddEvent("new", apr);

        CTime before = kApr;
        EXPECT_EQ(db_->PurgeAssetHistory(c.asset, before, c.keepInitial, c.keepAudits), c.removed)
            << c.asset << "/" << c.keepInitial << "/" << c.keepAudits << AllMessages();
        std::set<std::string> kept;
        CDynaList<ULong> ids;
        db_->EnumIds("HISTORY", "", ids);
        for (const ULong id : ids)
            kept.insert(std::to_string(db_->historyGetAsset(id)) + ":" + Column("_KEY", id).str());
        EXPECT_EQ(kept, c.kept) << c.asset << "/" << c.keepInitial << "/" << c.keepAudits;
        // The events of purged rows go with them.
        const bool janGone = !kept.count("1:jan");
        EXPECT_EQ(db_->GetEventCount(), janGone ? 1u : 2u);
        EXPECT_NE(db_->FindEvent("new", apr), 0u);
    }
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(History, FailuresReachTheMessageBoxWithTheStatement) {
    db_->ExecuteStatement("drop table HISTORY");
    EXPECT_EQ(Add(1, kJan, 1, 3, "pc"), 0u);
    EXPECT_STREQ(db_->historyFormatRecord(1), "");
    CDynaList<ULong> ids;
    EXPECT_EQ(db_->EnumHistoryPurge(kJan, ids), 0u);
    CTime before = kJan;
    EXPECT_EQ(db_->PurgeAssetHistory(1, before, 1, 0), 0);
    ASSERT_EQ(messages_.size(), 4u) << AllMessages();
    for (const auto& m : messages_) EXPECT_EQ(m.rfind("ODBC Error code ", 0), 0u) << m;
    EXPECT_NE(messages_[1].find("\nSQL String : select _CODE,_KEY,_VALUE1,_VALUE2 from HISTORY where _ID=1"),
              std::string::npos)
        << messages_[1];
    EXPECT_NE(messages_[2].find("\nSQL String : select _ID from HISTORY where _DATE < '20090110 09:30:00' and "
                                "_CODE <> 65539"),
              std::string::npos)
        << messages_[2];
    EXPECT_NE(messages_[3].find("\nSQL String : {?=call usp_PurgeAssetHist(1,'20090110 09:30:00',1,0,?)}"),
              std::string::npos)
        << messages_[3];
    EXPECT_EQ(styles_[0], 48u);
}

NORVIK_ON_BOTH_ENGINES(History);

}  // namespace
