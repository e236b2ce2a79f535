// CRC-32 by a 256-entry table and the DOS date packing of file dates.
#include "kb/file_signature.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t n = 0; n < 256; ++n) {
        std::uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    return table;
}

}  // namespace

std::uint32_t Crc32(const void* data, std::size_t size, std::uint32_t crc) {
    static const std::array<std::uint32_t, 256> table = MakeTable();
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    crc = ~crc;
    for (std::size_t i = 0; i < size; ++i) crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

bool Crc32OfFile(const char* path, std::uint32_t& crc, CString& error) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "rb"), &std::fclose);
    if (!file) {
        error = CString::Formatted("cannot open %s: %s", path, std::strerror(errno));
        return false;
    }
    crc = 0;
    std::array<char, 65536> buffer;
    std::size_t got = 0;
    while ((got = std::fread(buffer.data(), 1, buffer.size(), file.get())) > 0) crc = Crc32(buffer.data(), got, crc);
    if (std::ferror(file.get())) {
        error = CString::Formatted("cannot read %s", path);
        return false;
    }
    return true;
}

ULong PackFileDate(int year, int month, int day, int hour, int minute, int second) {
    if (year < 1980 || year > 2107) return 0;
    return static_cast<ULong>(year - 1980) << 25 | static_cast<ULong>(month) << 21 | static_cast<ULong>(day) << 16 |
           static_cast<ULong>(hour) << 11 | static_cast<ULong>(minute) << 5 | static_cast<ULong>(second / 2);
}

std::string PackedFileDateText(ULong date) {
    const unsigned year = (date >> 25) + 1980, month = (date >> 21) & 0xF, day = (date >> 16) & 0x1F;
    const unsigned hour = (date >> 11) & 0x1F, minute = (date >> 5) & 0x3F, second = (date & 0x1F) * 2;
    if (month < 1 || month > 12 || day < 1 || hour > 23 || minute > 59 || second > 59) return "";
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", year, month, day, hour, minute, second);
    return text;
}

ULong PackFileDate(std::time_t when) {
    std::tm local{};
    if (!localtime_r(&when, &local)) return 0;
    return PackFileDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                        local.tm_sec);
}
