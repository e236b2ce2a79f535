// Dates, aligned tables and JSON quoting.
#include "cli/output.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cli {

bool ParseDay(const std::string& text, CTime* day) {
    std::string digits = text;
    if (text.size() == 10 && text[4] == '-' && text[7] == '-')
        digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
    if (digits.size() != 8 || digits.find_first_not_of("0123456789") != std::string::npos) return false;
    const int year = std::atoi(digits.substr(0, 4).c_str());
    const int month = std::atoi(digits.substr(4, 2).c_str());
    const int date = std::atoi(digits.substr(6, 2).c_str());
    if (year < 1970 || month < 1 || month > 12 || date < 1 || date > 31) return false;
    const CTime midnight(year, month, date, 0, 0, 0);
    // 31 February comes back as a day of March.
    const DateTimeParts back = midnight.GetLocal();
    if (back.year != year || back.month != month || back.day != date) return false;
    *day = midnight;
    return true;
}

std::string IsoDateTime(CTime time) {
    if (time.IsNever()) return std::string();
    const DateTimeParts t = time.GetLocal();
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return text;
}

std::size_t Utf8Length(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    const unsigned min = length == 4 ? 0x10000 : length == 3 ? 0x800 : 0x80;  // shorter forms are overlong
    if (length == 0 || lead > 0xF4) return 0;
    if (at + length > text.size()) return 0;
    unsigned code = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
        code = (code << 6) | (byte(at + i) & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
    if (code < min || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) return 0;
    return length;
}

std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size(); ++width) {
        const std::size_t length = Utf8Length(text, i);
        i += length ? length : 1;
    }
    return width;
}

std::string JsonText(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (const std::size_t length = c >= 0x80 ? Utf8Length(text, i) : 0) {
                    out.append(text, i, length);
                    i += length - 1;
                } else if (c < 0x20 || c >= 0x7F) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

JsonObject& JsonObject::Member(const char* key, const std::string& json) {
    m_members += (m_members.empty() ? "" : ", ") + JsonText(key) + ": " + json;
    return *this;
}

JsonObject& JsonObject::Text(const char* key, const std::string& value) { return Member(key, JsonText(value)); }

JsonObject& JsonObject::Number(const char* key, long long value) { return Member(key, std::to_string(value)); }

JsonObject& JsonObject::Flag(const char* key, bool value) { return Member(key, value ? "true" : "false"); }

JsonObject& JsonObject::Raw(const char* key, const std::string& json) { return Member(key, json); }

std::string JsonArray(const std::vector<std::string>& values) {
    std::string out = "[";
    for (std::size_t i = 0; i < values.size(); ++i) out += (i ? ", " : "") + values[i];
    return out + "]";
}

void Listing::Add(std::vector<std::string> cells, const JsonObject& object) {
    m_table.AddRow(std::move(cells));
    m_objects.push_back(object.str());
}

void Listing::Print(std::ostream& out, const std::vector<std::size_t>& rightAligned) const {
    if (m_json)
        out << Json() << '\n';
    else
        m_table.Print(out, rightAligned);
}

std::string Shortened(const std::string& text, std::size_t columns) {
    if (columns < 4 || DisplayWidth(text) <= columns) return text;
    std::size_t cut = 0;
    for (std::size_t letters = 0; letters < columns - 3; ++letters) {
        const std::size_t length = Utf8Length(text, cut);
        cut += length ? length : 1;
    }
    return text.substr(0, cut) + "...";
}

void TextTable::Print(std::ostream& out, const std::vector<std::size_t>& rightAligned) const {
    std::vector<std::size_t> widths(m_header.size(), 0);
    auto measure = [&](const std::vector<std::string>& row) {
        for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    };
    measure(m_header);
    for (const auto& row : m_rows) measure(row);
    auto print = [&](const std::vector<std::string>& row) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string cell = i < row.size() ? row[i] : "";
            const std::string pad(widths[i] - std::min(widths[i], DisplayWidth(cell)), ' ');
            const bool right = std::find(rightAligned.begin(), rightAligned.end(), i) != rightAligned.end();
            line += right ? pad + cell : cell + (i + 1 < widths.size() ? pad : "");
            if (i + 1 < widths.size()) line += "  ";
        }
        // An empty last column leaves no blanks at the end of the line.
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    print(m_header);
    for (const auto& row : m_rows) print(row);
}

}  // namespace cli
