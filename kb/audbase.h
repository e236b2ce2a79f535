// CAudBase: the data of one audit of a computer as Knowledge Base tables; recognition reads the
// files found on the computer from its SWFILE table.
#pragma once

#include "kb/tabledb.h"
#include "platform/types.h"

// A table list whose SWFILE table holds the audited files, one row each: column 1 the file name
// (text), 2 the folder (a number the audit gives; recognition ignores it), 3 the size, 4 the CRC-32
// (0 when not known), 5 the packed date (kb/file_signature.h). Other tables may sit beside it.
// Same lifetime and thread rules as CTableDatabase.
class NORVIK_API CAudBase : public CTableDatabase {
public:
    static constexpr std::uint16_t kName = 1;
    static constexpr std::uint16_t kFolder = 2;
    static constexpr std::uint16_t kSize = 3;
    static constexpr std::uint16_t kCrc = 4;
    static constexpr std::uint16_t kDate = 5;

    // Appends a file to SWFILE (creating the table on first use); its row number.
    ULong AddFile(const char* name, ULong size, ULong crc, ULong date, ULong folder = 0);
    // The SWFILE table, or null before the first file.
    CTable* GetFiles();
};
