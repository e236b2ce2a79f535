// CString members that need more than one line.
#include "platform/cstring.h"

#include <strings.h>
#include <algorithm>
#include <cctype>
#include <cstdio>

void CString::FormatV(const char* format, va_list args) {
    va_list measure;
    va_copy(measure, args);
    const int needed = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (needed < 0) {
        m_text.clear();
        return;
    }
    std::string out(static_cast<std::size_t>(needed) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), format, args);
    out.resize(static_cast<std::size_t>(needed));
    m_text = std::move(out);
}

void CString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
}

CString CString::Formatted(const char* format, ...) {
    CString out;
    va_list args;
    va_start(args, format);
    out.FormatV(format, args);
    va_end(args);
    return out;
}

CString CString::Left(int count) const {
    if (count <= 0) return CString();
    return CString(m_text.substr(0, static_cast<std::size_t>(count)));
}

CString CString::Mid(int first, int count) const {
    if (first < 0) first = 0;
    if (static_cast<std::size_t>(first) >= m_text.size()) return CString();
    if (count < 0) return CString(m_text.substr(static_cast<std::size_t>(first)));
    return CString(m_text.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(count)));
}

CString CString::Right(int count) const {
    if (count <= 0) return CString();
    if (static_cast<std::size_t>(count) >= m_text.size()) return *this;
    return CString(m_text.substr(m_text.size() - static_cast<std::size_t>(count)));
}

int CString::Find(char c, int start) const {
    if (start < 0) start = 0;
    const auto pos = m_text.find(c, static_cast<std::size_t>(start));
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

int CString::Find(const char* sub, int start) const {
    if (start < 0) start = 0;
    const auto pos = m_text.find(sub ? sub : "", static_cast<std::size_t>(start));
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

int CString::ReverseFind(char c) const {
    const auto pos = m_text.rfind(c);
    return pos == std::string::npos ? -1 : static_cast<int>(pos);
}

CString& CString::MakeUpper() {
    for (char& c : m_text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return *this;
}

CString& CString::MakeLower() {
    for (char& c : m_text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return *this;
}

CString& CString::TrimLeft() {
    const auto first = std::find_if(m_text.begin(), m_text.end(), [](unsigned char c) { return !std::isspace(c); });
    m_text.erase(m_text.begin(), first);
    return *this;
}

CString& CString::TrimRight() {
    while (!m_text.empty() && std::isspace(static_cast<unsigned char>(m_text.back()))) m_text.pop_back();
    return *this;
}

int CString::Replace(const char* from, const char* to) {
    const std::string needle = from ? from : "";
    const std::string with = to ? to : "";
    if (needle.empty()) return 0;
    int count = 0;
    std::size_t pos = 0;
    while ((pos = m_text.find(needle, pos)) != std::string::npos) {
        m_text.replace(pos, needle.size(), with);
        pos += with.size();
        ++count;
    }
    return count;
}

int CString::CompareNoCase(const char* other) const { return strcasecmp(m_text.c_str(), other ? other : ""); }
