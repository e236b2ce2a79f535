// Value rules of the mapping. The placeholder list comes from what firmware vendors and agents
// are known to write into empty DMI fields; each entry keeps two machines apart that would
// otherwise be taken for one.
#include "import/identifiers.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "platform/ctime.h"

namespace {

bool EqualsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// True when every character of `text` is in `set` (blanks and dashes always allowed).
bool OnlyOf(std::string_view text, std::string_view set) {
    return std::all_of(text.begin(), text.end(),
                       [&](char c) { return c == '-' || c == ' ' || set.find(c) != std::string_view::npos; });
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string_view Trim(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

bool IsPlaceholderIdentifier(std::string_view value) {
    static constexpr std::string_view kPlaceholders[] = {
        "To Be Filled By O.E.M.",
        "To be filled by O.E.M.",
        "Default string",
        "System Serial Number",
        "Chassis Serial Number",
        "Base Board Serial Number",
        "Serial Number",
        "SerialNumber",
        "Not Specified",
        "Not Available",
        "Not Applicable",
        "None",
        "N/A",
        "NA",
        "Unknown",
        "INVALID",
        "OEM",
        "O.E.M.",
        "0123456789",
        "123456789",
        "1234567890",
        "System Product Name",
        "System manufacturer",
        "xxxxxxxxxxxx",
        "03000200-0400-0500-0006-000700080009",
    };
    const std::string_view text = Trim(value);
    if (text.empty()) return true;
    for (const auto& placeholder : kPlaceholders)
        if (EqualsNoCase(text, placeholder)) return true;
    // "0", "00000000", all-zero and all-F UUIDs, runs of one filler character.
    if (OnlyOf(text, "0") || OnlyOf(text, "fF") || OnlyOf(text, ".") || OnlyOf(text, "xX")) return true;
    // Some agents write unreadable values as @@@@@...@@@.
    return text.size() >= 6 && text.substr(0, 3) == "@@@" && text.substr(text.size() - 3) == "@@@";
}

std::optional<std::string> NormalizeMac(std::string_view text) {
    text = Trim(text);
    if (text.size() != 17) return std::nullopt;
    std::string mac;
    bool zero = true;
    bool broadcast = true;
    for (std::size_t i = 0; i < 17; i += 3) {
        const int high = HexDigit(text[i]);
        const int low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        if (i + 2 < 17 && text[i + 2] != ':' && text[i + 2] != '-') return std::nullopt;
        const int byte = high * 16 + low;
        zero = zero && byte == 0;
        broadcast = broadcast && byte == 0xFF;
        static constexpr char kHex[] = "0123456789ABCDEF";
        if (!mac.empty()) mac += ':';
        mac += kHex[high];
        mac += kHex[low];
    }
    if (zero || broadcast) return std::nullopt;
    return mac;
}

std::optional<ULong> ParseIPv4(std::string_view text) {
    text = Trim(text);
    ULong address = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (text.empty() || text.front() != '.') return std::nullopt;
            text.remove_prefix(1);
        }
        std::size_t digits = 0;
        unsigned value = 0;
        while (digits < text.size() && digits < 4 && std::isdigit(static_cast<unsigned char>(text[digits])))
            value = value * 10 + static_cast<unsigned>(text[digits++] - '0');
        if (digits == 0 || digits > 3 || value > 255) return std::nullopt;
        text.remove_prefix(digits);
        address = (address << 8) | value;
    }
    if (!text.empty()) return std::nullopt;
    return address;
}

std::optional<std::string> NormalizeDate(std::string_view text) {
    text = Trim(text);
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    const std::string copy(text.substr(0, 40));
    char separator = 0;
    int consumed = 0;
    if (std::sscanf(copy.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &consumed) == 3) {
        if (std::sscanf(copy.c_str() + consumed, "%c%2d:%2d:%2d", &separator, &hour, &minute, &second) != 4 ||
            (separator != ' ' && separator != 'T'))
            hour = minute = second = 0;
    } else if (std::sscanf(copy.c_str(), "%2d/%2d/%4d", &month, &day, &year) != 3) {
        return std::nullopt;
    }
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", year, month, day, hour, minute, second);
    DateTimeParts parts;
    if (!DateTimeParts::Parse(buffer, &parts)) return std::nullopt;
    return std::string(buffer);
}

std::optional<ULong> NumberInUnit(std::string_view text, std::string_view unit) {
    text = Trim(text);
    std::size_t digits = 0;
    unsigned long long value = 0;
    while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) {
        value = value * 10 + static_cast<unsigned>(text[digits++] - '0');
        if (value > 0x7FFFFFFFull) return std::nullopt;
    }
    if (digits == 0) return std::nullopt;
    const std::string_view rest = Trim(text.substr(digits));
    // "3 GB" or "4.19" is some other quantity: it stays text rather than be misread.
    if (!rest.empty() && !EqualsNoCase(rest, unit)) return std::nullopt;
    return static_cast<ULong>(value);
}

std::string CutToColumn(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return std::string(text);
    std::size_t end = limit;
    // Back off over continuation bytes (10xxxxxx) so the cut lands on a character's first byte.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return std::string(text.substr(0, end));
}

bool IsBlankName(std::string_view text) {
    static constexpr std::string_view kWideSpaces[] = {
        "\xC2\xA0",  // U+00A0 no-break space
        "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82", "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85",
        "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88", "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\x8B",
        "\xE2\x80\xAF",  // U+202F narrow no-break space
        "\xE2\x81\x9F",  // U+205F medium mathematical space
        "\xE3\x80\x80",  // U+3000 ideographic space
        "\xEF\xBB\xBF",  // U+FEFF zero-width no-break space
    };
    while (!text.empty()) {
        const char c = text.front();
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f' || c == '\xA0') {
            text.remove_prefix(1);
            continue;
        }
        bool wide = false;
        for (const std::string_view space : kWideSpaces)
            if (text.substr(0, space.size()) == space) {
                text.remove_prefix(space.size());
                wide = true;
                break;
            }
        if (!wide) return false;
    }
    return true;
}
