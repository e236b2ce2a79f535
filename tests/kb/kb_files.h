// Helpers shared by the Knowledge Base tests.
#pragma once

#include <unistd.h>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "common/trace.h"
#include "kb/table.h"
#include "kb/tabledb.h"
#include "platform/archive.h"
#include "platform/file.h"
#include "platform/ui_hooks.h"
#include "support/slurp.h"

namespace kbtest {

using Bytes = std::vector<std::uint8_t>;

// `prefix` and the decimal `n`, appended: GCC 12 warns falsely (-Wrestrict) about `"t" + to_string(n)`.
inline std::string Numbered(const char* prefix, std::uint32_t n) {
    std::string text = prefix;
    text += std::to_string(n);
    return text;
}

// Little-endian bytes appended one field at a time, in the file's own terms.
class ByteBuilder {
public:
    ByteBuilder& U16(std::uint16_t value) { return Little(value, 2); }
    ByteBuilder& U32(std::uint32_t value) { return Little(value, 4); }
    // The archive's string form, choosing the prefix by length.
    ByteBuilder& Str(const std::string& text) {
        const std::size_t n = text.size();
        if (n < 255) {
            m_bytes.push_back(static_cast<std::uint8_t>(n));
        } else if (n < 65534) {
            m_bytes.push_back(0xFF);
            U16(static_cast<std::uint16_t>(n));
        } else {
            m_bytes.push_back(0xFF);
            U16(0xFFFF);
            U32(static_cast<std::uint32_t>(n));
        }
        return Raw(text);
    }
    ByteBuilder& Raw(const std::string& text) {
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return *this;
    }
    const Bytes& bytes() const { return m_bytes; }

private:
    ByteBuilder& Little(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) m_bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    Bytes m_bytes;
};

// What `object.Serialize` writes into an archive over memory.
template <typename T>
Bytes Written(T& object) {
    CMemFile file;
    CArchive ar(file, CArchive::store);
    object.Serialize(ar);
    ar.Close();
    return file.GetData();
}

// Has `object.Serialize` read `bytes`.
template <typename T>
void Read(T& object, const Bytes& bytes) {
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load);
    object.Serialize(ar);
}

// Opens the trace on a file of its own for the object's lifetime and reads back what was written.
class TraceCapture {
public:
    TraceCapture() : m_path("/tmp/norvik_kb_trace_" + std::to_string(::getpid()) + ".log") {
        std::remove(m_path.c_str());
        TraceOpen(m_path.c_str());
    }
    ~TraceCapture() {
        TraceClose();
        std::remove(m_path.c_str());
    }
    std::string Text() const {
        TraceFlush();
        return Slurp(m_path);
    }

private:
    std::string m_path;
};

// Collects what the library shows by message box while the object lives; answers `answer`.
class MessageCapture {
public:
    explicit MessageCapture(int answer = platform::kIdOk) {
        platform::SetMessageBoxHook([this, answer](const char* text, unsigned style) {
            texts.emplace_back(text);
            styles.push_back(style);
            return answer;
        });
    }
    ~MessageCapture() { platform::SetMessageBoxHook(nullptr); }

    std::vector<std::string> texts;
    std::vector<unsigned> styles;
};

// A folder of its own, removed with everything in it at the end.
class ScratchFolder {
public:
    ScratchFolder() {
        static int counter = 0;
        m_path = std::filesystem::temp_directory_path() /
                 ("norvik_kb_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

constexpr std::uint16_t T = CTable::typeText;
constexpr std::uint16_t N = CTable::typeNumber;

// A column after ID: its name and type.
struct Column {
    const char* name;
    std::uint16_t type;
};

// A table `name` with ID, then `columns`, and one row per entry of `rows` giving the cells after
// the ID in order: the text of a text column, the decimal number of any other.
inline CTable MakeTable(const char* name, const std::vector<Column>& columns,
                        const std::vector<std::vector<std::string>>& rows) {
    CTable table(name);
    for (const Column& column : columns) table.AddColumn(column.name, column.type);
    for (const auto& cells : rows) {
        const ULong row = table.AddRow();
        for (std::size_t i = 0; i < cells.size() && i < columns.size(); ++i) {
            const auto column = static_cast<std::uint16_t>(i + 1);
            if (columns[i].type == CTable::typeText) {
                table.SetText(row, column, cells[i].c_str());
            } else {
                table.SetValue(row, column, static_cast<ULong>(std::stoll(cells[i])));
            }
        }
    }
    return table;
}

inline void WriteDatabase(CTableDatabase& db, const std::string& path, std::uint16_t major, std::uint16_t minor) {
    db.SetVersion(major, minor);
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(file, CArchive::store);
    db.Serialize(ar);
    ar.Close();
    file.Close();
}

// The SYSFILE layout: name, application, lowest size, highest size, CRC, date, flags.
inline CTable SysFileTable(const std::vector<std::vector<std::string>>& rows) {
    return MakeTable("SYSFILE",
                     {{"NAME", T}, {"APP", N}, {"SIZELO", N}, {"SIZEHI", N}, {"CRC", N}, {"DATE", N}, {"FLAGS", N}},
                     rows);
}

// A current Knowledge Base: categories 1 "PC|Base Unit" (type 1), 2 "Printer", 3 "Monitor";
// makes 1 "Alder" and 2 "Birch" of category 1, 3 "Alder" of category 2; models 1 "A100" and
// 2 "A200" of make 1, 3 "P5" of make 3; SWAPP 1 "Quillsoft" > 2 "Scribe" > 3 "7.2";
// one serial-scan record; `sysfile` as the known files.
inline void AddCurrentTables(CTableDatabase& db, const CTable& sysfile) {
    db.AddTable(
        MakeTable("CAT", {{"NAME", T}, {"TYPE", N}}, {{"PC|Base Unit", "1"}, {"Printer", "0"}, {"Monitor", "0"}}));
    db.AddTable(MakeTable("MAKE", {{"NAME", T}, {"CAT", N}}, {{"Alder", "1"}, {"Birch", "1"}, {"Alder", "2"}}));
    db.AddTable(MakeTable("MODEL", {{"NAME", T}, {"MAKE", N}}, {{"A100", "1"}, {"A200", "1"}, {"P5", "3"}}));
    db.AddTable(MakeTable("SWAPP", {{"NAME", T}, {"PARENT", N}}, {{"Quillsoft", "0"}, {"Scribe", "1"}, {"7.2", "2"}}));
    db.AddTable(sysfile);
    db.AddTable(MakeTable("SWSERIAL", {{"APPNAME", T}, {"REGKEY", T}, {"REGITEM", T}},
                          {{"Scribe", "Software\\Quillsoft\\Scribe", "Serial"}}));
}

inline void WriteCurrentFile(const std::string& path, const CTable& sysfile = SysFileTable({}),
                             std::uint16_t minor = 0) {
    CTableDatabase db;
    AddCurrentTables(db, sysfile);
    WriteDatabase(db, path, 4, minor);
}

}  // namespace kbtest
