// libFuzzer target for the Knowledge Base table file reader. Every input is read as a table
// file into a table database: a CException is an expected outcome for a damaged file; a crash,
// a sanitizer report, any other exception, a hang or a runaway allocation is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz/load_table_file.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"
#include "platform/file.h"

namespace {

std::vector<std::uint8_t> Store(CTableDatabase& db) {
    CMemFile file;
    CArchive ar(file, CArchive::store);
    db.Serialize(ar);
    ar.Close();
    return file.GetData();
}

// One write and read again: what a load keeps of a file.
std::vector<std::uint8_t> Cycle(const std::vector<std::uint8_t>& bytes) {
    CTableDatabase db;
    if (!LoadTableFile(db, bytes.data(), bytes.size())) std::abort();  // a file we wrote must load
    return Store(db);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    // The first byte chooses between the plain load and the string-check load.
    const bool check = (data[0] & 1) != 0;
    CTableDatabase db;
    if (check) db.EnableTracing();
    if (!LoadTableFile(db, data + 1, size - 1)) return 0;

    // Whatever loaded must write, and what is written must settle: after one more cycle
    // (which settles pools whose stored and table compact settings differ) the bytes repeat.
    const std::vector<std::uint8_t> first = Store(db);
    if (!check) {
        const std::vector<std::uint8_t> second = Cycle(first);
        if (Cycle(second) != second) std::abort();
    }

    // And it must survive use: searches, deletions and the purge they cause.
    for (CTable& table : db) {
        if (table.GetColumnCount() == 0) std::abort();
        if (table.GetRowCount() != 0) {
            table.FindRow(table.GetValue(0, 0));
            table.DeleteRow(table.GetRowCount() / 2);
        }
        table.FindRow(1);
        table.AddRow();
    }
    Store(db);
    return 0;
}
