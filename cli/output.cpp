// Dates, aligned tables and JSON quoting.
#include "cli/output.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cli {

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

std::string DayProblem(const std::string& text, CTime* day) {
    const std::string notADay = "the date must be a day written YYYY-MM-DD or YYYYMMDD: " + text;
    std::string digits = text;
    if (text.size() == 10 && text[4] == '-' && text[7] == '-')
        digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
    if (digits.size() != 8 || digits.find_first_not_of("0123456789") != std::string::npos) return notADay;
    const int year = std::atoi(digits.substr(0, 4).c_str());
    const int month = std::atoi(digits.substr(4, 2).c_str());
    const int date = std::atoi(digits.substr(6, 2).c_str());
    if (month < 1 || month > 12 || date < 1 || date > DaysInMonth(year, month)) return notADay;
    // Midnight of 1 January 1970 is time 0 in UTC, which the database takes for "no date"; a
    // time before it cannot be held at all.
    const CTime midnight(year, month, date, 0, 0, 0);
    if (year < 1970 || midnight.GetTime() <= 0)
        return text + " is too early: the database holds no date before " + kEarliestDay;
    *day = midnight;
    return "";
}

bool ParseDay(const std::string& text, CTime* day) { return DayProblem(text, day).empty(); }

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

std::string TerminalText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (const std::size_t length = c >= 0x80 ? Utf8Length(text, i) : 0) {
            const bool c1 = c == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;  // U+0080 to U+009F
            out += c1 ? std::string("?") : text.substr(i, length);
            i += length - 1;
        } else {
            out += c < 0x20 || c == 0x7F || (c >= 0x80 && c < 0xA0) ? '?' : static_cast<char>(c);
        }
    }
    return out;
}

std::string JsonText(const std::string& text) {
    // A byte that does not start a well-formed UTF-8 character is Latin-1 and becomes that
    // character, so the writer always gets valid UTF-8 and any 8-bit text gives valid JSON.
    std::string utf8;
    utf8.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x80) {
            utf8 += static_cast<char>(c);
        } else if (const std::size_t length = Utf8Length(text, i)) {
            utf8.append(text, i, length);
            i += length - 1;
        } else {
            utf8 += static_cast<char>(0xC0 | (c >> 6));
            utf8 += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
    return std::string(buffer.GetString(), buffer.GetSize());
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
    auto printable = [](const std::vector<std::string>& row) {
        std::vector<std::string> cells;
        for (const std::string& cell : row) cells.push_back(TerminalText(cell));
        return cells;
    };
    const std::vector<std::string> header = printable(m_header);
    std::vector<std::vector<std::string>> rows;
    for (const auto& row : m_rows) rows.push_back(printable(row));
    std::vector<std::size_t> widths(header.size(), 0);
    auto measure = [&](const std::vector<std::string>& row) {
        for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    };
    measure(header);
    for (const auto& row : rows) measure(row);
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
    print(header);
    for (const auto& row : rows) print(row);
}

}  // namespace cli
