// Output helpers of the norvik tool: dates, aligned text tables and JSON texts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "platform/ctime.h"

namespace cli {

// "YYYY-MM-DD hh:mm:ss" of a local time, the same whatever the locale; "" for a time never set.
std::string IsoDateTime(CTime time);
// Local midnight of a day written YYYY-MM-DD or YYYYMMDD; false for anything else, including
// days that do not exist and days before kEarliestDay.
bool ParseDay(const std::string& text, CTime* day);
// The same, giving the problem to report ("" when `text` is a day): a text that is no day gives
// "the date must be a day written YYYY-MM-DD or YYYYMMDD: TEXT"; a day before kEarliestDay, which
// the database cannot hold (its times count seconds from 1970-01-01, and 0 means "no date"),
// says so.
std::string DayProblem(const std::string& text, CTime* day);
constexpr const char* kEarliestDay = "1970-01-02";
// The days of a month of the Gregorian calendar (`month` 1 to 12).
int DaysInMonth(int year, int month);

// A text quoted for JSON by the JSON library's writer. Well-formed UTF-8 is kept as it is; any
// other byte above 0x7F is taken as Latin-1 and written as that character in UTF-8, so any 8-bit
// text gives valid JSON.
std::string JsonText(const std::string& text);

// The bytes of the well-formed UTF-8 character starting at `at`, or 0 when none starts there.
std::size_t Utf8Length(const std::string& text, std::size_t at);
// The columns a text takes on a terminal: one per character, UTF-8 or Latin-1.
std::size_t DisplayWidth(const std::string& text);
// A name as a table shows it: cut to `columns` characters ending in "..." when it is wider, so
// that one long name does not push every other column off the screen (JSON keeps names whole).
std::string Shortened(const std::string& text, std::size_t columns = 60);

// `text` safe to print on a terminal: every control character (C0, DEL, and C1 whether written
// as UTF-8 or as a Latin-1 byte), which could move the cursor, retitle the window or change the
// terminal's state, is replaced by '?'. Tables print their cells this way; JSON escapes them.
std::string TerminalText(const std::string& text);

// A JSON object written member by member, in the tool's layout: {"key": value, "key": value}.
class JsonObject {
public:
    JsonObject& Text(const char* key, const std::string& value);  // quoted with JsonText
    JsonObject& Number(const char* key, long long value);
    JsonObject& Flag(const char* key, bool value);              // true or false
    JsonObject& Raw(const char* key, const std::string& json);  // a value already written as JSON
    std::string str() const { return "{" + m_members + "}"; }

private:
    JsonObject& Member(const char* key, const std::string& json);
    std::string m_members;
};

// "[a, b, c]" of values already written as JSON.
std::string JsonArray(const std::vector<std::string>& values);

// Rows of cells printed as columns aligned to the widest cell, after a header line. Cells are
// printed as TerminalText.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) : m_header(std::move(header)) {}
    void AddRow(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    // Columns listed in `rightAligned` (numbers) are aligned to the right.
    void Print(std::ostream& out, const std::vector<std::size_t>& rightAligned = {}) const;

private:
    std::vector<std::string> m_header;
    std::vector<std::vector<std::string>> m_rows;
};

// A listing of rows, printed as an aligned table or, with --json, as a JSON array of one object
// a row. Nothing is printed before Print, so a listing whose reading failed prints nothing.
class Listing {
public:
    Listing(bool json, std::vector<std::string> header) : m_json(json), m_table(std::move(header)) {}
    // One row: its table cells and its JSON object.
    void Add(std::vector<std::string> cells, const JsonObject& object);
    // The table (columns in `rightAligned` aligned right) or the JSON array and a line break.
    void Print(std::ostream& out, const std::vector<std::size_t>& rightAligned = {}) const;
    // The rows' JSON array, for a listing that is part of a larger object.
    std::string Json() const { return JsonArray(m_objects); }

private:
    bool m_json;
    TextTable m_table;
    std::vector<std::string> m_objects;
};

}  // namespace cli
