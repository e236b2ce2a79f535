// Knowledge Base files for the tests of the Knowledge Base object, recognition and the catalogue:
// a scratch folder per test, a current (4.0) file with a little of everything, and writing any
// table list to disk at a chosen content version.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "kb/tabledb.h"
#include "kb_test_support.h"
#include "platform/archive.h"
#include "platform/file.h"

namespace kbtest {

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
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    std::string File(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

inline void WriteDatabase(CTableDatabase& db, const std::string& path, std::uint16_t major, std::uint16_t minor) {
    db.SetVersion(major, minor);
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(file, CArchive::store);
    db.Serialize(ar);
    ar.Close();
    file.Close();
}

inline std::string FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

constexpr std::uint16_t T = CTable::typeText;
constexpr std::uint16_t N = CTable::typeNumber;

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

inline void WriteCurrentFile(const std::string& path, const CTable& sysfile = SysFileTable({})) {
    CTableDatabase db;
    AddCurrentTables(db, sysfile);
    WriteDatabase(db, path, 4, 0);
}

}  // namespace kbtest
