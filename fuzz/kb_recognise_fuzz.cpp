// libFuzzer target for recognition over a damaged Knowledge Base. Every input is loaded as a
// Knowledge Base file; what loads gets its record sets and index builds (Reset), then index
// record sets on every column of every table with seeks of the cells they hold, known-file
// recognition of every SYSFILE row, the common-file check, and recognition of the file's own
// SWFILE table as an audit. A CException while loading is an expected outcome; a crash, a
// sanitizer report, any other exception, a hang or a runaway allocation is a finding.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/load_table_file.h"
#include "kb/audbase.h"
#include "kb/auditdbsys.h"
#include "kb/index_recset.h"

namespace {

// Bounds the work per input so that large row counts do not read as hangs.
constexpr ULong kMaxRows = 64;
constexpr std::uint16_t kMaxColumns = 12;

// Index record sets on each column of `table`: builds, seeks of the cells found, and moves.
void WalkIndexes(CTableDatabase& db, const CTable& table) {
    const CString query = CString::Formatted("select * from %s", table.GetName().c_str());
    const std::uint16_t columns = table.GetColumnCount() < kMaxColumns ? table.GetColumnCount() : kMaxColumns;
    for (std::uint16_t column = 0; column < columns; ++column) {
        CIndexRecSet rs(&db);
        if (!rs.Open(query, column)) continue;
        const bool text = column != 0 && table.GetColumnType(column) == CTable::typeText;
        ULong steps = 0;
        for (rs.MoveFirst(); !rs.IsEOF() && steps < kMaxRows; rs.MoveNext(), ++steps) {
            const ULong value = rs.GetValue(column);
            const CString cell = rs.GetText(column);
            if (text) {
                rs.SeekText(cell, false);
                rs.SeekText(cell, true);
            } else {
                rs.SeekValue(value, false);
                rs.SeekValue(value + 1, true);
            }
        }
        rs.SeekText("", true);
        rs.SeekText("\xff\xff\xff\xff\xff\xff\xff\xff\xff", true);
        rs.SeekValue(0, true);
        rs.SeekValue(0xFFFFFFFF, true);
        rs.MoveLast();
        rs.MovePrev();
        rs.Close();
    }
}

// Recognition of each SYSFILE row as if it were a file found by an audit (one by one, then as
// a whole audit), and the common-file check on each row's ID.
void RecogniseKnownFiles(CAuditDBSys& kb) {
    const int index = kb.FindTable("SYSFILE");
    if (index < 0) return;
    const CTable& files = kb[static_cast<ULong>(index)];
    const std::uint16_t columns = files.GetColumnCount();
    CDynaList<ULong> found;
    CAudBase audit;
    const ULong rows = files.GetRowCount() < kMaxRows ? files.GetRowCount() : kMaxRows;
    for (ULong row = 0; row < rows; ++row) {
        auto cell = [&](std::uint16_t column) { return column < columns ? files.GetValue(row, column) : 0; };
        const CString name = columns > 1 && files.GetColumnType(1) == CTable::typeText ? files.GetText(row, 1) : "";
        const ULong app = kb.KeyRecognise(name, cell(3), cell(5), cell(6));
        if (app != 0) found.Add(app);
        kb.NonKeyRecognise(name, cell(3), cell(5), cell(6), found);
        audit.AddFile(name, cell(3), cell(5), cell(6));
    }
    std::vector<unsigned long> results(rows + 1, 0);
    kb.RecogniseAsset(audit, results.data());
    for (ULong row = 0; row < rows; ++row) kb.CheckCommonFile(columns != 0 ? files.GetValue(row, 0) : 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CAuditDBSys kb;
    if (!LoadTableFile(kb, data, size)) return 0;
    kb.Reset();
    for (const CTable& table : kb) WalkIndexes(kb, table);
    RecogniseKnownFiles(kb);

    CAudBase audit;
    if (!LoadTableFile(audit, data, size)) return 0;
    const int files = audit.FindTable("SWFILE");
    if (files >= 0) {
        std::vector<unsigned long> results(audit[static_cast<ULong>(files)].GetRowCount() + 1, 0);
        kb.RecogniseAsset(audit, results.data());
    }
    // The purge that deletions cause rebuilds every attached index.
    for (CTable& table : kb) {
        if (table.GetRowCount() != 0 && table.GetColumnCount() != 0) table.DeleteRow(0);
    }
    kb.Reset();
    return 0;
}
