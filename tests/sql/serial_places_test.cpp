// Serial-number scan records: texts round-trip and change one at a time; enumerate, delete.
#include <gtest/gtest.h>

#include "support/engine_test.h"

namespace {

class SerialPlaces : public EngineTest {};

TEST_P(SerialPlaces, TextsRoundTripChangeOneAtATimeAndRecordsAreDeleted) {
    const char* key = "HKLM\\Software\\O'Neil\\Editor 50%";
    const ULong rec = db_->AddSSRec("Editor \xE9", key, "ProductId");
    ASSERT_NE(rec, 0u) << AllMessages();
    db_->SetSSRegItem(rec, "Serial_*");
    EXPECT_EQ(db_->GetSSAppName(rec) + "|" + db_->GetSSRegKey(rec) + "|" + db_->GetSSRegItem(rec),
              CString("Editor \xE9|") + key + "|Serial_*");
    db_->SetSSAppName(rec, "Viewer");
    db_->SetSSRegKey(rec, "K'2");
    EXPECT_EQ(db_->GetSSAppName(rec) + "|" + db_->GetSSRegKey(rec) + "|" + db_->GetSSRegItem(rec),
              "Viewer|K'2|Serial_*");
    EXPECT_EQ(db_->GetSSAppName(rec + 5).str(), "");
    const ULong other = db_->AddSSRec("B", "K", "I");
    CDynaList<ULong> ids;
    ids.Add(77);
    EXPECT_EQ(db_->EnumSSRecs(ids, 0), 2u);
    db_->DeleteSSRec(rec);
    EXPECT_EQ(db_->EnumSSRecs(ids, 0), 1u);
    EXPECT_EQ(ids[0], other);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(SerialPlaces);

}  // namespace
