// norvik kb info|dump|query: a Knowledge Base table file read from the command line. The file is
// only ever read; its rows are shown through the library's record sets and query language.
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "kb/recset.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/exceptions.h"
#include "platform/file.h"
#include "platform/ui_hooks.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik kb info FILE [--json]\n"
    "       norvik kb dump FILE TABLE [--csv | --json]\n"
    "       norvik kb query FILE \"select * from TABLE [where COLUMN OP VALUE [and ...]]\" [--json]\n"
    "Reads a Knowledge Base table file; nothing is written to it.\n"
    "  info    the file's format and content versions, and each table with its rows and columns\n"
    "  dump    every row of one table (the table name is matched ignoring case)\n"
    "  query   the rows of a table that meet every condition; OP is one of = < > != <>, a text\n"
    "          value is written in single quotes ('O''Brien'), a number as digits\n"
    "Also: norvik kb build|check-common|recognise ... (see norvik kb build --help)\n";

// What the library shows by message box while a verb runs: each text once, in order.
class Messages {
public:
    Messages() {
        platform::SetMessageBoxHook([this](const char* text, unsigned) {
            const std::string line = text ? text : "";
            if (m_seen.insert(line).second) m_lines.push_back(line);
            return platform::kIdOk;
        });
    }
    ~Messages() { platform::SetMessageBoxHook(nullptr); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    // Prints them as one-line errors; true when there were any.
    bool Report() const {
        for (const std::string& line : m_lines) PrintError(line);
        return !m_lines.empty();
    }

private:
    std::set<std::string> m_seen;
    std::vector<std::string> m_lines;
};

// Reads the whole file; one line on stderr and false when it cannot be read.
bool Load(const std::string& path, CTableDatabase& db) {
    try {
        CFile file(path.c_str(), CFile::modeRead);
        CArchive ar(file, CArchive::load, CTableDatabase::kFileBufferSize);
        db.Serialize(ar);
        return true;
    } catch (const CException& e) {
        PrintError("cannot read the Knowledge Base file: " + e.GetErrorMessage().str());
    } catch (const std::exception& e) {
        PrintError("cannot read the Knowledge Base file " + path + ": " + e.what());
    }
    return false;
}

std::string Version(std::uint16_t major, std::uint16_t minor) {
    return std::to_string(major) + "." + (minor < 10 ? "0" : "") + std::to_string(minor);
}

// The ID and number columns are shown as unsigned numbers, text columns as their texts.
bool IsTextColumn(const CTable& table, std::uint16_t column) {
    return column != 0 && table.GetColumnType(column) == CTable::typeText;
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string out = "\"";
    for (char c : text) out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

enum class Format { table, csv, json };

// Prints the rows a record set shows, from its first, in `format`.
void PrintRows(CRecSet& rs, Format format) {
    const CTable& table = *rs.GetTable();
    const std::uint16_t columns = table.GetColumnCount();
    std::vector<std::string> header;
    std::vector<std::size_t> numbers;
    for (std::uint16_t column = 0; column < columns; ++column) {
        header.push_back(table.GetColumnName(column).str());
        if (!IsTextColumn(table, column)) numbers.push_back(column);
    }
    const auto cell = [&](std::uint16_t column) {
        return IsTextColumn(table, column) ? rs.GetText(column).str() : std::to_string(rs.GetValue(column));
    };
    if (format == Format::json) {
        std::cout << "[";
        const char* separator = "\n";
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
            std::cout << separator << "  {";
            for (std::uint16_t column = 0; column < columns; ++column) {
                std::cout << (column ? ", " : "") << JsonText(header[column]) << ": "
                          << (IsTextColumn(table, column) ? JsonText(cell(column)) : cell(column));
            }
            std::cout << "}";
            separator = ",\n";
        }
        std::cout << "\n]\n";
        return;
    }
    if (format == Format::csv) {
        for (std::uint16_t column = 0; column < columns; ++column) {
            std::cout << (column ? "," : "") << CsvField(header[column]);
        }
        std::cout << "\r\n";
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
            for (std::uint16_t column = 0; column < columns; ++column) {
                std::cout << (column ? "," : "") << CsvField(cell(column));
            }
            std::cout << "\r\n";
        }
        return;
    }
    TextTable out(header);
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
        std::vector<std::string> row;
        for (std::uint16_t column = 0; column < columns; ++column) row.push_back(cell(column));
        out.AddRow(std::move(row));
    }
    out.Print(std::cout, numbers);
}

int Info(const Context& context, const CTableDatabase& db, const std::string& path) {
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    db.GetFormatVersion(major, minor);
    const std::string format = Version(major, minor);
    db.GetVersion(major, minor);
    const std::string content = Version(major, minor);
    if (context.options.json) {
        std::cout << "{\"file\": " << JsonText(path) << ", \"format\": " << JsonText(format)
                  << ", \"content\": " << JsonText(content) << ", \"tables\": [";
        for (ULong i = 0; i < db.GetCount(); ++i) {
            std::cout << (i ? ", " : "") << "{\"name\": " << JsonText(db[i].GetName().str())
                      << ", \"rows\": " << db[i].GetRowCount() << ", \"columns\": " << db[i].GetColumnCount() << "}";
        }
        std::cout << "]}\n";
        return kExitOk;
    }
    std::cout << "File:     " << path << "\nFormat:   " << format << "\nContent:  " << content
              << "\nTables:   " << db.GetCount() << "\n\n";
    TextTable tables({"Table", "Rows", "Columns"});
    for (const CTable& table : db) {
        tables.AddRow(
            {table.GetName().str(), std::to_string(table.GetRowCount()), std::to_string(table.GetColumnCount())});
    }
    tables.Print(std::cout, {1, 2});
    return kExitOk;
}

}  // namespace

int RunKbTools(Context& context);  // cmd_kb_tools.cpp: -1 for a verb it does not know

int RunKb(Context& context) {
    if (const int tools = RunKbTools(context); tools >= 0) return tools;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    std::vector<std::string> args;
    bool csv = false;
    for (const std::string& word : context.args) {
        if (word == "--csv") {
            csv = true;
        } else {
            args.push_back(word);
        }
    }
    const std::string verb = args.empty() ? "" : args[0];
    const bool known = (verb == "info" && args.size() == 2 && !csv) || (verb == "dump" && args.size() == 3) ||
                       (verb == "query" && args.size() == 3 && !csv);
    if (!known || (csv && context.options.json)) {
        std::cerr << kHelp;
        return kExitUsage;
    }
    const Format format = context.options.json ? Format::json : csv ? Format::csv : Format::table;
    const std::string& path = args[1];

    Messages messages;
    CTableDatabase db;
    if (!Load(path, db)) return kExitFailed;
    if (verb == "info") return Info(context, db, path);
    if (verb == "dump") {
        const int index = db.FindTable(args[2].c_str());
        if (index < 0) {
            PrintError("no table " + args[2] + " in " + path + " (see norvik kb info " + path + ")");
            return kExitFailed;
        }
        CRecSet rs(db[static_cast<ULong>(index)]);
        PrintRows(rs, format);
        return kExitOk;
    }
    CRecSet rs(&db);
    if (!rs.Open(args[2].c_str())) {
        messages.Report();
        return kExitFailed;
    }
    PrintRows(rs, format);
    // A condition on a column of a type the library does not know shows a message and matches
    // nothing: the rows printed are then not what was asked for.
    return messages.Report() ? kExitFailed : kExitOk;
}

}  // namespace cli
