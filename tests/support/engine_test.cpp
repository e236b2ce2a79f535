// The two-engine fixture.
#include "support/engine_test.h"

#include "sql/sql_recordset.h"

void EngineTest::SetUp() {
    scratch_ = std::make_unique<ScratchDatabase>(GetParam(), SchemaVersion());
    db_ = MakeBackEnd();
    if (!OpenInSetUp()) return;
    ASSERT_TRUE(OpenBackEnd(*db_)) << AllMessages();
}

void EngineTest::TearDown() {
    if (EndsQuiet()) {
        EXPECT_TRUE(messages_.empty()) << AllMessages();
    }
    db_.reset();
    scratch_.reset();
}

std::unique_ptr<TestableNorvikSql> EngineTest::MakeBackEnd() {
    auto db = std::make_unique<TestableNorvikSql>(kb_);
    db->SetMsgBoxCallback(&EngineTest::RecordMessage, reinterpret_cast<CallbackValue>(this));
    return db;
}

bool EngineTest::OpenBackEnd(TestableNorvikSql& db) {
    return db.Open(scratch_->ConnectionString().c_str(), nullptr, 0x4) != 0;
}

void EngineTest::CountUpdates(const char* table) {
    db_->ExecuteStatement("create table UPDLOG (_N integer)");
    if (IsSqlite()) {
        db_->ExecuteStatement(CString::Formatted(
            "create trigger COUNT_UPD after update on %s begin insert into UPDLOG values (1); end", table));
    } else {
        db_->ExecuteStatement(
            "create function count_upd() returns trigger language plpgsql as $$ begin insert into UPDLOG values "
            "(1); return null; end; $$");
        db_->ExecuteStatement(CString::Formatted(
            "create trigger COUNT_UPD after update on %s for each row execute function count_upd()", table));
    }
}

ULong EngineTest::CountedUpdates() { return Number("select count(*) from UPDLOG"); }

ULong EngineTest::Number(const std::string& statement) {
    CSqlRecordset rs(db_.get(), statement.c_str());
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

std::string EngineTest::AllMessages() const {
    std::string all;
    for (const auto& m : messages_) all += m + "\n---\n";
    return all;
}

int EngineTest::RecordMessage(const char* text, unsigned style, CallbackValue context) {
    auto* self = reinterpret_cast<EngineTest*>(context);
    self->messages_.emplace_back(text ? text : "");
    self->styles_.push_back(style);
    return (style & 0x0F) == 0x04 ? self->answer_ : 1;
}
