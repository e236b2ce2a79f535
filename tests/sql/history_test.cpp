// History: the code layout, the record texts, the 256 cuts, reading back and purge lists.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>

#include "interface/asset_history_record.h"
#include "support/engine_test.h"

namespace {

const CTime kJan(2009, 1, 10, 9, 30, 0);
const CTime kFeb(2009, 2, 10, 9, 30, 0);
const CTime kMar(2009, 3, 10, 9, 30, 0);
const CTime kApr(2009, 4, 10, 9, 30, 0);

class History : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
    ULong Add(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1 = nullptr,
              const char* value2 = nullptr, const char* user = nullptr) {
        return db_->historyAdd(asset, date, operation, kind, key, value1, value2, user);
    }
    CString Column(const char* column, ULong hist) { return db_->SelectText("HISTORY", column, hist); }
};

TEST_P(History, RecordTextFollowsTheCodeRules) {
    const std::tuple<ULong, int, const char*, const char*, const char*, const char*> cases[] = {
        {1, 3, "pc", nullptr, nullptr, "Initial Audit"},
        {4, 3, "Name", "PC1", "PC2", "Name changed from PC1 to PC2"},
        {4, 3, nullptr, "PC1", "PC2", "Re-Audit"},
        {2, 3, "pc", "a", "b", ""},
        {4, 2, nullptr, "A", "B", "Moved  from A to B"},
        {4, 2, nullptr, nullptr, "B", "Moved  to B"},
        {4, 2, nullptr, nullptr, nullptr, "Moved "},
        {1, 13, "Editor", nullptr, nullptr, "Added Editor"},
        {4, 13, "Editor", "1.0", "2.0", "Editor changed from 1.0 to 2.0"},
        {4, 13, "Editor", "1.0", nullptr, "Editor changed : 1.0"},
        {2, 13, "Editor", nullptr, nullptr, "Deleted Editor"},
        {2, 15, "Drive", "C:", nullptr, "Deleted Drive : C:"},
        {7, 13, "Editor", "1.0", nullptr, " : 1.0"},
        {5, 31, "site", "a", "b", " from a to b"},
        {3, 14, "x", nullptr, nullptr, ""},
        // Kinds are 16 bits: 0x10003 in the kind argument is kind 3.
        {1, 0x10003, "pc", nullptr, nullptr, "Initial Audit"},
    };
    for (const auto& [operation, kind, key, value1, value2, text] : cases) {
        const ULong hist = Add(1, kJan, operation, kind, key, value1, value2);
        ASSERT_NE(hist, 0u) << AllMessages();
        EXPECT_EQ(db_->historyFormatRecord(hist).str(), text) << operation << "/" << kind;
        EXPECT_EQ(db_->SelectNumber("HISTORY", "_CODE", hist), (operation << 16) | (kind & 0xFFFF));
    }
}

TEST_P(History, TextsAreCutAt256WithAQuoteDoubledOnce) {
    std::string key = "O'" + std::string(298, 'k');  // 300 characters
    const std::string value(400, 'v');
    const ULong hist = Add(1, kJan, 1, 13, key.c_str(), value.c_str(), value.c_str(), value.c_str());
    ASSERT_NE(hist, 0u) << AllMessages();
    EXPECT_EQ(Column("_KEY", hist).str(), key.substr(0, 256));
    for (const char* column : {"_VALUE1", "_VALUE2", "_USERNAME"})
        EXPECT_EQ(Column(column, hist).str(), value.substr(0, 256));
    // A quote at the cut: doubling it does not count against the 256.
    key = std::string(255, 'k') + "'x";
    const ULong cut = Add(1, kJan, 1, 13, key.c_str());
    EXPECT_EQ(Column("_KEY", cut).str(), std::string(255, 'k') + "'");
}

TEST_P(History, QuotesPercentsAndEightBitTextsSurvive) {
    const char* text = "O'Neil's 100% caf\xE9 \x80\xFF '' a|b'c";
    const ULong named = db_->InsertRecord("ASSET", "_NAME", CSqlDatabase::SqlQuote(text));
    const ULong hist = Add(named, kJan, 4, 13, text, text, text, text);
    ASSERT_NE(hist, 0u) << AllMessages();
    ULong asset = 0;
    int kind = 0;
    CString operation, category, key, user, value1, value2, date;
    db_->historyGetDetails(hist, &asset, &kind, operation, category, key, user, value1, value2, date);
    for (const CString* read : {&key, &value1, &value2, &user}) EXPECT_STREQ(*read, text);
    CDynaList<CAssetHistoryRecord> records;
    db_->EnumAssetHistoryRecords(records);
    ASSERT_EQ(records.GetCount(), 1u);
    EXPECT_STREQ(records[0].m_strAsset, text);
}

TEST_P(History, PurgeListNeverHoldsAnInitialAudit) {
    Add(1, kJan, 1, 3, "pc");
    const ULong changeOld = Add(1, kJan, 4, 13, "Editor", "1", "2");
    const ULong reAuditOld = Add(1, kFeb, 4, 3, nullptr);
    Add(2, kMar, 1, 13, "Editor");
    Add(2, kApr, 1, 3, "pc2");
    CDynaList<ULong> ids;
    ids.Add(5);
    EXPECT_EQ(db_->EnumHistoryPurge(kMar, ids), 3u);
    const std::set<ULong> listed(ids.begin() + 1, ids.end());
    EXPECT_EQ(listed, (std::set<ULong>{changeOld, reAuditOld})) << "no initial audit, nothing of the day itself";
    ids.RemoveAll();
    db_->EnumHistoryPurge(CTime(2100, 1, 1, 0, 0, 0), ids);
    for (const ULong id : ids) EXPECT_NE(db_->SelectNumber("HISTORY", "_CODE", id), 0x10003u);
    EXPECT_EQ(ids.GetCount(), 3u);
}

NORVIK_ON_BOTH_ENGINES(History);

}  // namespace
