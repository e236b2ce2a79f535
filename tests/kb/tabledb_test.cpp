// CTableDatabase in memory: finding tables ignoring case, adding and removing them, the change
// count that decides a save, tracing, and the busy counter around writes.
#include "kb/tabledb.h"

#include <gtest/gtest.h>

#include "kb_test_support.h"
#include "platform/ui_hooks.h"

namespace {

using kbtest::TraceCapture;

TEST(CTableDatabase, FindTableIgnoresCaseAndTakesTheFirstMatch) {
    CTableDatabase db;
    db.AddTable(CTable("CAT"));
    db.AddTable(CTable("SYSFILE"));
    db.AddTable(CTable("sysfile"));
    EXPECT_EQ(db.FindTable("sysfile"), 1);
    EXPECT_EQ(db.FindTable("SysFile"), 1);
    EXPECT_EQ(db.FindTable("cat"), 0);
    EXPECT_EQ(db.FindTable("MAKE"), -1);
    EXPECT_EQ(db.FindTable(""), -1);
}

TEST(CTableDatabase, RemoveTableMovesLaterTablesDown) {
    CTableDatabase db;
    for (const char* name : {"A", "B", "C", "D"}) {
        CTable table(name);
        table.AddRow();
        db.AddTable(table);
    }
    db[2].AddRow();
    db[2].DeleteRow(0);
    db.RemoveTable(1);
    ASSERT_EQ(db.GetCount(), 3u);
    EXPECT_EQ(db[0].GetName(), "A");
    EXPECT_EQ(db[1].GetName(), "C");
    EXPECT_EQ(db[2].GetName(), "D");
    EXPECT_EQ(db[1].GetDeletedCount(), 0u) << "a table moved down arrives purged";
    EXPECT_EQ(db[1].GetValue(0, 0), 2u);
    db.RemoveTable(2);
    db.RemoveTable(0);
    ASSERT_EQ(db.GetCount(), 1u);
    EXPECT_EQ(db.FindTable("c"), 0);
}

TEST(CTableDatabase, ChangeCountAddsTheListsAndEveryTables) {
    CTableDatabase db;
    EXPECT_EQ(db.GetChangeCount(), 0u);
    db.AddTable(CTable("A"));
    CTable b("B");
    db.AddTable(b);
    const ULong afterAdding = db.GetChangeCount();
    EXPECT_GE(afterAdding, 2u);
    b.AddRow();
    EXPECT_EQ(db.GetChangeCount(), afterAdding) << "the list holds a copy";
    db[1].AddRow();
    EXPECT_EQ(db.GetChangeCount(), afterAdding + 1);
    db.RemoveTable(0);
    EXPECT_GT(db.GetChangeCount(), afterAdding);
}

TEST(CTableDatabase, TracingChecksStringsOfPresentAndLaterTables) {
    TraceCapture trace;
    CTableDatabase db;
    db.AddTable(CTable("A"));
    db.EnableTracing();
    db.AddTable(CTable("B"));
    EXPECT_TRUE(db.IsTracing());
    EXPECT_TRUE(db[0].IsStringCheckEnabled());
    EXPECT_TRUE(db[1].IsStringCheckEnabled());
    EXPECT_TRUE(db[1].GetStrings().GetVerify());
    EXPECT_EQ(trace.Text(), "Diagnostic database tracing mode enabled\n");
}

TEST(CTableDatabase, EnterWriteWaitsForTheRunningWriteWhilePumpingMessages) {
    CTableDatabase db;
    db.EnterWrite();
    int pumped = 0;
    // The "message handler" that the pump runs finishes the interrupted write on its third turn.
    platform::SetMessagePumpHook([&] {
        if (++pumped == 3) db.LeaveWrite();
    });
    db.EnterWrite();
    platform::SetMessagePumpHook({});
    EXPECT_EQ(pumped, 3);
    EXPECT_EQ(db.GetBusyCount(), 1);
    db.LeaveWrite();
    EXPECT_EQ(db.GetBusyCount(), 0);
}

TEST(CTableDatabase, EnterWriteWithoutAPumpNestsInsteadOfHanging) {
    CTableDatabase db;
    {
        CTableDatabase::WriteScope outer(db);
        CTableDatabase::WriteScope inner(db);
        EXPECT_EQ(db.GetBusyCount(), 2);
    }
    EXPECT_EQ(db.GetBusyCount(), 0);
}

}  // namespace
