// Quotes, SQL wildcards, eight-bit bytes and long texts in every family, on both engines: each
// text is stored, found again by itself alone (never by a pattern it happens to be, nor as a
// decoy stored before it), and read back byte for byte.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>

#include "support/engine_test.h"

namespace {

// Each decoy stands before the text it would match as a LIKE pattern or through a doubled quote.
const std::string kTexts[] = {"it's",
                              "it''s",
                              "O'Neil's",
                              "100x \"done\"",
                              "100% \"done\"",
                              "aXb[x]",
                              "a_b[x]",
                              "caf\xE9 \x80\xFF",
                              std::string(300, 'n') + "\xE9"};

class HostileTexts : public EngineTest {};

TEST_P(HostileTexts, EveryFamilyStoresFindsAndReadsBackItsTextsExactly) {
    const CTime when(2024, 3, 1, 9, 30, 0);
    const ULong pc = db_->AddAsset("PC", 0, 0, 0, when);
    using Store = std::function<void(TestableNorvikSql&, const std::string&)>;
    using Found = std::function<std::string(TestableNorvikSql&, const std::string&)>;
    // Each family stores every text, then reads back the text of what a search for each finds.
    const std::tuple<const char*, Store, Found> families[] = {
        {"option", [](auto& db, const std::string& t) { db.SetOption(t.c_str(), t.c_str()); },
         [](auto& db, const std::string& t) { return db.GetOption(t.c_str()).str(); }},
        {"user", [](auto& db, const std::string& t) { db.userAdd(t.c_str(), 0); },
         [](auto& db, const std::string& t) { return db.userGetName(db.userFind(t.c_str())).str(); }},
        {"location", [](auto& db, const std::string& t) { db.locAddFull(("Top;" + t).c_str()); },
         [](auto& db, const std::string& t) { return db.locGetName(db.locFind(("Top;" + t).c_str())).str(); }},
        {"asset",
         [&](auto& db, const std::string& t) {
             db.SetAssetMacAddr(db.AddAsset(t.c_str(), 0, 0, 1, when), t.c_str(), 0, when);
         },
         [&](auto& db, const std::string& t) {
             const ULong asset = db.FindAsset(t.c_str(), 0, 0);
             EXPECT_EQ(db.FindMacAddr(t.c_str(), 0), asset);
             CDynaList<ULong> matched;
             EXPECT_EQ(db.FindMatchingAssets(t.c_str(), matched, 0), 1u);
             EXPECT_EQ(db.AddAsset(t.c_str(), 0, 0, 1, when), asset) << "added again: the same row";
             return db.GetAssetName(asset).str();
         }},
        {"folder", [&](auto& db, const std::string& t) { db.MergeFolder(pc, t.c_str(), 0); },
         [&](auto& db, const std::string& t) {
             const std::string path = db.GetFolderPath(db.MergeFolder(pc, t.c_str(), 0)).str();
             return path.substr(0, path.size() - 1);  // without the closing backslash
         }},
        {"application", [](auto& db, const std::string& t) { db.applicationAdd(t.c_str(), t.c_str(), 1); },
         [](auto& db, const std::string& t) {
             const ULong app = db.applicationAdd(t.c_str(), t.c_str(), 1);
             EXPECT_EQ(db.applicationGetName(app, 0, 1).str(), t + " " + t);
             return db.GetAppPublisher(app, 0).str();
         }},
    };
    for (const auto& [family, store, found] : families) {
        for (const std::string& text : kTexts) store(*db_, text);
        for (const std::string& text : kTexts) EXPECT_EQ(found(*db_, text), text) << family;
    }
    // Names compare exactly, never as patterns.
    for (const char* path : {"Top;100%", "Top;a_b", "Top;O_Neil_s"}) EXPECT_EQ(db_->locFind(path), 0u) << path;
    EXPECT_EQ(db_->userFind("O%"), 0u);
    EXPECT_EQ(db_->userFind("o'neil's"), 0u) << "letter case counts";
    EXPECT_STREQ(db_->GetOption("100%").c_str(), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(HostileTexts);

}  // namespace
