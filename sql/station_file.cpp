// Rewriting one entry of a station file, keeping the rest of the file as it was.
#include "sql/station_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/atomic_file.h"
#include "platform/exceptions.h"

namespace {

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return std::string();
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool SameName(const std::string& a, const char* b) { return CString(a).CompareNoCase(b) == 0; }

// The section a line opens, or false when it opens none.
bool SectionOf(const std::string& line, std::string* name) {
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] != '[') return false;
    const std::size_t close = text.find(']');
    if (close == std::string::npos) return false;
    *name = Trimmed(text.substr(1, close - 1));
    return true;
}

bool IsEntryFor(const std::string& line, const char* key) {
    const std::size_t equals = line.find('=');
    return equals != std::string::npos && SameName(Trimmed(line.substr(0, equals)), key);
}

[[noreturn]] void Fail(const char* what, const char* path) {
    throw CFileException(CString::Formatted("Cannot %s the station file '%s': %s", what, path, std::strerror(errno)));
}

}  // namespace

void WriteStationValue(const char* path, const char* section, const char* key, const char* value) {
    const std::string newValue = value ? value : "";
    if (newValue.find_first_of("\r\n") != std::string::npos)
        throw CFileException(
            CString::Formatted("A value holding a line break cannot be written to the station file '%s'", path));
    std::string content;
    {
        std::ifstream in(path, std::ios::binary);
        if (in) {
            std::ostringstream all;
            all << in.rdbuf();
            if (in.bad()) Fail("read", path);
            content = all.str();
        } else if (errno != ENOENT) {
            Fail("open", path);
        }
    }
    // Lines without their ends; whether the text ended with a line end is remembered apart.
    std::vector<std::string> lines;
    std::string eol = "\n";
    {
        std::size_t start = 0;
        while (start < content.size()) {
            std::size_t end = content.find('\n', start);
            if (end == std::string::npos) end = content.size();
            std::string line = content.substr(start, end - start);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
                if (lines.empty()) eol = "\r\n";
            }
            lines.push_back(line);
            start = end + 1;
        }
    }
    const bool endsWithEol = !content.empty() && content.back() == '\n';
    const std::string entry = std::string(key) + "=" + newValue;

    const std::size_t lastLine = lines.size() - 1;  // meaningful only when lines is not empty
    bool inSection = false;
    std::size_t replaced = std::string::npos;
    std::size_t insertAt = std::string::npos;  // behind the section's last non-blank line
    for (std::size_t i = 0; i < lines.size() && replaced == std::string::npos; ++i) {
        std::string name;
        if (SectionOf(lines[i], &name)) {
            if (inSection) break;  // the section ended without the entry
            inSection = SameName(name, section);
            if (inSection) insertAt = i + 1;
        } else if (inSection) {
            if (IsEntryFor(lines[i], key)) {
                lines[i] = entry;
                replaced = i;
            } else if (!Trimmed(lines[i]).empty()) {
                insertAt = i + 1;
            }
        }
    }
    // A last line without a line end keeps it that way only while it stays last and unchanged.
    bool keepOpenEnd = !lines.empty() && !endsWithEol;
    if (replaced != std::string::npos) {
        keepOpenEnd = keepOpenEnd && replaced != lastLine;
    } else if (insertAt != std::string::npos) {
        keepOpenEnd = keepOpenEnd && insertAt <= lastLine;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(insertAt), entry);
    } else {
        keepOpenEnd = false;
        lines.push_back("[" + std::string(section) + "]");
        lines.push_back(entry);
    }

    std::string out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        out += lines[i];
        if (i + 1 < lines.size() || !keepOpenEnd) out += eol;
    }
    // Replaced whole: a failure or a kill while writing leaves the old file as it was.
    CAtomicFile::Replace(path, out);
}
