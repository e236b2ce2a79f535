// The signature recognition compares a file by: CRC-32 of its contents and its modification date
// packed as the Knowledge Base stores it (DOS date in the high 16 bits, DOS time in the low 16).
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "platform/cstring.h"
#include "platform/types.h"

// CRC-32 (IEEE 802.3, reflected, initial and final XOR 0xFFFFFFFF) of `size` bytes, continuing
// from `crc` (0 to start): "123456789" gives 0xCBF43926.
NORVIK_API std::uint32_t Crc32(const void* data, std::size_t size, std::uint32_t crc = 0);
// CRC-32 of a whole file; false (reason in `error`) when it cannot be read.
NORVIK_API bool Crc32OfFile(const char* path, std::uint32_t& crc, CString& error);
// (year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 | second / 2.
// Years before 1980 or after 2107 give 0 (unknown).
NORVIK_API ULong PackFileDate(int year, int month, int day, int hour, int minute, int second);
// The local date and time of `when` packed as above.
NORVIK_API ULong PackFileDate(std::time_t when);
// "YYYY-MM-DD hh:mm:ss" of a packed date; "" when the number is no such date.
NORVIK_API std::string PackedFileDateText(ULong date);
