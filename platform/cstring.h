// CString: the 8-bit text type that crosses every interface of the library.
// A thin value type over std::string with the handful of members the library uses.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "platform/types.h"

class NORVIK_API CString {
public:
    CString() = default;
    CString(const char* text) : m_text(text ? text : "") {}
    CString(const char* text, int length) : m_text(text ? std::string(text, static_cast<std::size_t>(length)) : "") {}
    CString(std::string text) : m_text(std::move(text)) {}
    CString(std::string_view text) : m_text(text) {}
    CString(char c, int repeat = 1) : m_text(static_cast<std::size_t>(repeat > 0 ? repeat : 0), c) {}

    operator const char*() const { return m_text.c_str(); }
    const char* c_str() const { return m_text.c_str(); }
    const std::string& str() const { return m_text; }
    std::string& str() { return m_text; }

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }
    char GetAt(int index) const { return m_text[static_cast<std::size_t>(index)]; }

    // printf-style formatting into this text; no length limit.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* format, va_list args);
    static CString Formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

    CString Left(int count) const;
    CString Mid(int first, int count = -1) const;
    CString Right(int count) const;
    int Find(char c, int start = 0) const;
    int Find(const char* sub, int start = 0) const;
    int ReverseFind(char c) const;

    CString& MakeUpper();
    CString& MakeLower();
    CString& TrimLeft();
    CString& TrimRight();
    CString& Trim() { return TrimRight().TrimLeft(); }
    int Replace(const char* from, const char* to);

    // Case-insensitive comparison in the C locale: <0, 0 or >0.
    int CompareNoCase(const char* other) const;

    CString& operator=(const char* text) {
        m_text = text ? text : "";
        return *this;
    }
    CString& operator+=(const CString& other) {
        m_text += other.m_text;
        return *this;
    }
    CString& operator+=(const char* text) {
        if (text) m_text += text;
        return *this;
    }
    CString& operator+=(char c) {
        m_text += c;
        return *this;
    }

    friend CString operator+(const CString& a, const CString& b) { return CString(a.m_text + b.m_text); }
    friend CString operator+(const CString& a, const char* b) { return CString(a.m_text + (b ? b : "")); }
    friend CString operator+(const char* a, const CString& b) { return CString((a ? a : "") + b.m_text); }
    friend CString operator+(const CString& a, char b) { return CString(a.m_text + b); }
    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.m_text == (b ? b : ""); }
    friend bool operator!=(const CString& a, const CString& b) { return a.m_text != b.m_text; }
    friend bool operator!=(const CString& a, const char* b) { return !(a == b); }
    friend bool operator<(const CString& a, const CString& b) { return a.m_text < b.m_text; }

private:
    std::string m_text;
};
