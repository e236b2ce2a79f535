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

}  // namespace
