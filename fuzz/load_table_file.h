// The load every Knowledge Base fuzz target starts from: the input read as a table file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"
#include "platform/file.h"

// Reads `bytes` into `db`; false when the file is rejected (a CException, the expected outcome
// for a damaged file).
inline bool LoadTableFile(CTableDatabase& db, const std::uint8_t* bytes, std::size_t size) {
    CMemFile file(bytes, size);
    try {
        CArchive ar(file, CArchive::load);
        db.Serialize(ar);
        return true;
    } catch (const CException&) {
        return false;
    }
}
