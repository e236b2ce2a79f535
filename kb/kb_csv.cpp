// Building a Knowledge Base from CSV: each file is read whole, checked line by line, and turned
// into rows; names link the files (a make names its category, a file its application), and the
// builder gives out the IDs.
#include "kb/kb_csv.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <tuple>

#include "kb/file_signature.h"

namespace {

constexpr std::uint16_t kText = CTable::typeText;
constexpr std::uint16_t kNumber = CTable::typeNumber;
constexpr ULong kKeyFileFlag = 2;

// One data line of a CSV file, with where it came from for messages.
struct CsvRow {
    std::string where;  // "file.csv:12"
    std::vector<std::string> fields;
};

// Reads `name` from `folder`: its rows after the header, which must be exactly `header`. Empty
// lines and lines starting with '#' are skipped. `found` tells whether the file exists.
bool ReadCsv(const std::filesystem::path& folder, const char* name, const char* header, std::size_t minFields,
             std::vector<CsvRow>& rows, bool& found, std::string& error) {
    const std::filesystem::path path = folder / name;
    found = std::filesystem::exists(path);
    if (!found) return true;
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path.string();
        return false;
    }
    std::string line;
    bool headerSeen = false;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        const std::string where = std::string(name) + ":" + std::to_string(number);
        if (!headerSeen) {
            if (line != header) {
                error = where + ": the first line must be the header \"" + header + "\"";
                return false;
            }
            headerSeen = true;
            continue;
        }
        CsvRow row{where, {}};
        std::string why;
        if (!SplitCsvLine(line, row.fields, why)) {
            error = where + ": " + why;
            return false;
        }
        if (row.fields.size() < minFields) {
            error = where + ": " + std::to_string(minFields) + " fields expected (" + header + ")";
            return false;
        }
        rows.push_back(std::move(row));
    }
    return true;
}

CTable NewTable(const char* name, std::initializer_list<std::pair<const char*, std::uint16_t>> columns) {
    CTable table(name);
    for (const auto& [column, type] : columns) table.AddColumn(column, type);
    return table;
}

// A row with texts and numbers after the ID, in column order; returns the new ID.
ULong AddRow(CTable& table, std::initializer_list<std::pair<const char*, ULong>> cells) {
    const ULong row = table.AddRow();
    std::uint16_t column = 1;
    for (const auto& [text, number] : cells) {
        if (table.GetColumnType(column) == kText) {
            table.SetText(row, column, text);
        } else {
            table.SetValue(row, column, number);
        }
        ++column;
    }
    return table.GetValue(row, 0);
}

bool Number(const CsvRow& row, std::size_t field, const char* what, ULong& value, std::string& error) {
    if (ParseKbNumber(row.fields[field], value)) return true;
    error = row.where + ": " + what + " \"" + row.fields[field] + "\" is not a number (decimal or 0x...)";
    return false;
}

}  // namespace

bool SplitCsvLine(const std::string& text, std::vector<std::string>& fields, std::string& error) {
    fields.clear();
    const std::string line = !text.empty() && text.back() == '\r' ? text.substr(0, text.size() - 1) : text;
    std::size_t i = 0;
    for (;;) {
        std::string field;
        if (i < line.size() && line[i] == '"') {
            ++i;
            for (;;) {
                if (i >= line.size()) {
                    error = "a quoted field is not closed";
                    return false;
                }
                if (line[i] == '"') {
                    if (i + 1 < line.size() && line[i + 1] == '"') {
                        field += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                field += line[i++];
            }
            if (i < line.size() && line[i] != ',') {
                error = "text after a closing quote";
                return false;
            }
        } else {
            while (i < line.size() && line[i] != ',') field += line[i++];
        }
        fields.push_back(std::move(field));
        if (i >= line.size()) return true;
        ++i;  // the comma
    }
}

bool ParseKbNumber(const std::string& text, ULong& value) {
    std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        value = 0;
        return true;
    }
    const std::size_t last = text.find_last_not_of(" \t");
    std::string digits = text.substr(first, last - first + 1);
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        base = 16;
        digits = digits.substr(2);
    }
    if (digits.empty() || digits.size() > 10) return false;
    unsigned long long result = 0;
    for (const char c : digits) {
        int digit = 0;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (base == 16 && std::isxdigit(static_cast<unsigned char>(c))) {
            digit = std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
        } else {
            return false;
        }
        result = result * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
    }
    if (result > 0xFFFFFFFFull) return false;
    value = static_cast<ULong>(result);
    return true;
}

bool ParseKbDate(const std::string& text, ULong& value) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    char end = 0;
    const int dateFields = std::sscanf(text.c_str(), "%4d-%2d-%2d%c", &year, &month, &day, &end);
    if (dateFields == 3 || (dateFields == 4 && end == ' ')) {
        if (dateFields == 4 && std::sscanf(text.c_str(), "%4d-%2d-%2d %2d:%2d:%2d%c", &year, &month, &day, &hour,
                                           &minute, &second, &end) != 6)
            return false;
        if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) return false;
        value = PackFileDate(year, month, day, hour, minute, second);
        return value != 0;
    }
    return ParseKbNumber(text, value);
}

bool BuildKbFromCsv(const char* folder, CTableDatabase& db, std::string& error) {
    const std::filesystem::path dir(folder ? folder : "");
    if (!std::filesystem::is_directory(dir)) {
        error = dir.string() + " is not a folder";
        return false;
    }
    std::vector<CsvRow> cats, makes, models, apps, files, serials;
    bool found[6] = {};
    if (!ReadCsv(dir, "categories.csv", "name,type", 2, cats, found[0], error) ||
        !ReadCsv(dir, "makes.csv", "category,name", 2, makes, found[1], error) ||
        !ReadCsv(dir, "models.csv", "category,make,name", 3, models, found[2], error) ||
        !ReadCsv(dir, "applications.csv", "publisher,application,version", 3, apps, found[3], error) ||
        !ReadCsv(dir, "files.csv", "publisher,application,version,name,size,size_max,crc,date,key", 9, files, found[4],
                 error) ||
        !ReadCsv(dir, "serials.csv", "application,regkey,regitem", 3, serials, found[5], error))
        return false;
    if (!(found[0] || found[1] || found[2] || found[3] || found[4] || found[5])) {
        error = dir.string() +
                " holds none of categories.csv, makes.csv, models.csv, applications.csv, files.csv, "
                "serials.csv";
        return false;
    }

    CTable cat = NewTable("CAT", {{"NAME", kText}, {"TYPE", kNumber}});
    std::map<std::string, ULong> catIds;
    for (const CsvRow& row : cats) {
        ULong type = 0;
        if (!Number(row, 1, "type", type, error)) return false;
        if (row.fields[0].empty() || !catIds.emplace(row.fields[0], 0).second) {
            error = row.where + ": category \"" + row.fields[0] + "\" is empty or listed twice";
            return false;
        }
        catIds[row.fields[0]] = AddRow(cat, {{row.fields[0].c_str(), 0}, {"", type}});
    }

    CTable make = NewTable("MAKE", {{"NAME", kText}, {"CAT", kNumber}});
    std::map<std::pair<std::string, std::string>, ULong> makeIds;
    for (const CsvRow& row : makes) {
        const auto category = catIds.find(row.fields[0]);
        if (category == catIds.end()) {
            error = row.where + ": no category \"" + row.fields[0] + "\" in categories.csv";
            return false;
        }
        if (row.fields[1].empty() || makeIds.count({row.fields[0], row.fields[1]})) {
            error = row.where + ": make \"" + row.fields[1] + "\" is empty or listed twice";
            return false;
        }
        makeIds[{row.fields[0], row.fields[1]}] = AddRow(make, {{row.fields[1].c_str(), 0}, {"", category->second}});
    }

    CTable model = NewTable("MODEL", {{"NAME", kText}, {"MAKE", kNumber}});
    for (const CsvRow& row : models) {
        const auto owner = makeIds.find({row.fields[0], row.fields[1]});
        if (owner == makeIds.end() || row.fields[2].empty()) {
            error = row.where + ": no make \"" + row.fields[1] + "\" of category \"" + row.fields[0] +
                    "\" in makes.csv, or an empty model name";
            return false;
        }
        AddRow(model, {{row.fields[2].c_str(), 0}, {"", owner->second}});
    }

    // Publisher > application > version; a level left empty stops the chain there.
    CTable swapp = NewTable("SWAPP", {{"NAME", kText}, {"PARENT", kNumber}});
    std::map<std::tuple<std::string, std::string, std::string>, ULong> appIds;
    auto level = [&](const std::string& p, const std::string& a, const std::string& v, ULong parent, const char* name) {
        auto& id = appIds[{p, a, v}];
        if (id == 0) id = AddRow(swapp, {{name, 0}, {"", parent}});
        return id;
    };
    for (const CsvRow& row : apps) {
        const std::string& p = row.fields[0];
        const std::string& a = row.fields[1];
        const std::string& v = row.fields[2];
        if (p.empty() || (a.empty() && !v.empty())) {
            error = row.where + ": a publisher is needed, and an application before a version";
            return false;
        }
        const ULong publisher = level(p, "", "", 0, p.c_str());
        if (a.empty()) continue;
        const ULong application = level(p, a, "", publisher, a.c_str());
        if (!v.empty()) level(p, a, v, application, v.c_str());
    }

    CTable sysfile = NewTable("SYSFILE", {{"NAME", kText},
                                          {"APP", kNumber},
                                          {"SIZE", kNumber},
                                          {"SIZEMAX", kNumber},
                                          {"CRC", kNumber},
                                          {"DATE", kNumber},
                                          {"FLAGS", kNumber}});
    for (const CsvRow& row : files) {
        const auto app = appIds.find({row.fields[0], row.fields[1], row.fields[2]});
        if (app == appIds.end()) {
            error = row.where + ": no application \"" + row.fields[0] + " > " + row.fields[1] + " > " + row.fields[2] +
                    "\" in applications.csv";
            return false;
        }
        ULong size = 0, sizeMax = 0, crc = 0, date = 0, key = 0;
        if (row.fields[3].empty()) {
            error = row.where + ": the file name is empty";
            return false;
        }
        if (!Number(row, 4, "size", size, error) || !Number(row, 5, "size_max", sizeMax, error) ||
            !Number(row, 6, "crc", crc, error) || !Number(row, 8, "key", key, error))
            return false;
        if (!ParseKbDate(row.fields[7], date)) {
            error = row.where + ": date \"" + row.fields[7] + "\" is neither YYYY-MM-DD[ hh:mm:ss] nor a number";
            return false;
        }
        if (key > 1 || (sizeMax != 0 && sizeMax < size)) {
            error = row.where + ": key must be 0 or 1, and size_max 0 or not below size";
            return false;
        }
        AddRow(sysfile, {{row.fields[3].c_str(), 0},
                         {"", app->second},
                         {"", size},
                         {"", sizeMax},
                         {"", crc},
                         {"", date},
                         {"", key ? kKeyFileFlag : 0}});
    }

    CTable serial = NewTable("SWSERIAL", {{"APPNAME", kText}, {"REGKEY", kText}, {"REGITEM", kText}});
    for (const CsvRow& row : serials)
        AddRow(serial, {{row.fields[0].c_str(), 0}, {row.fields[1].c_str(), 0}, {row.fields[2].c_str(), 0}});

    while (db.GetCount() > 0) db.RemoveTable(db.GetCount() - 1);
    for (const CTable* table : {&cat, &make, &model, &swapp, &sysfile, &serial}) db.AddTable(*table);
    db.AddTable(NewTable("REGAPP", {{"NAME", kText}, {"SWREF", kNumber}}));
    db.SetVersion(4, 0);
    return true;
}
