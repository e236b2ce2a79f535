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
// days that do not exist.
bool ParseDay(const std::string& text, CTime* day);

// A text quoted for JSON; bytes above 0x7F are written as \u00XX (Latin-1), so any 8-bit
// text gives valid JSON.
std::string JsonText(const std::string& text);

// Rows of cells printed as columns aligned to the widest cell, after a header line.
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

}  // namespace cli
