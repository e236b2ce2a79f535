// Serial-number scan records on both engines: each text written, read back and changed on
// its own, with quotes and 8-bit bytes.
#include <gtest/gtest.h>

#include "support/engine_test.h"

namespace {

class SerialPlaces : public EngineTest {};

TEST_P(SerialPlaces, TextsRoundTripAndChangeOneAtATime) {
    const char* key = "HKLM\\Software\\O'Neil\\Editor 50%";
    const ULong rec = db_->AddSSRec("Editor \xE9", key, "ProductId");
    ASSERT_NE(rec, 0u) << AllMessages();
    EXPECT_EQ(db_->GetSSAppName(rec).str(), "Editor \xE9");
    EXPECT_EQ(db_->GetSSRegKey(rec).str(), key);
    EXPECT_EQ(db_->GetSSRegItem(rec).str(), "ProductId");
    db_->SetSSAppName(rec, "Viewer");
    db_->SetSSRegKey(rec, "HKLM\\Software\\Viewer");
    db_->SetSSRegItem(rec, "Serial_*");
    EXPECT_EQ(db_->GetSSAppName(rec).str(), "Viewer");
    EXPECT_EQ(db_->GetSSRegKey(rec).str(), "HKLM\\Software\\Viewer");
    EXPECT_EQ(db_->GetSSRegItem(rec).str(), "Serial_*");
    EXPECT_EQ(db_->GetSSAppName(rec + 5).str(), "");
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

TEST_P(SerialPlaces, EnumerateAndDelete) {
    const ULong a = db_->AddSSRec("A", "K", "I");
    const ULong b = db_->AddSSRec("B", "K", "I");
    CDynaList<ULong> ids;
    ids.Add(77);
    EXPECT_EQ(db_->EnumSSRecs(ids, 0), 2u);
    db_->DeleteSSRec(a);
    EXPECT_EQ(db_->EnumSSRecs(ids, 0), 1u);
    EXPECT_EQ(ids[0], b);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(SerialPlaces);

}  // namespace
