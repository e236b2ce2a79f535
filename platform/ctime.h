// CTime: a point in time held as seconds since 1970 UTC and shown in local time.
// The value 0 means "never" throughout the library.
#pragma once

#include <cstdint>

#include "platform/cstring.h"
#include "platform/types.h"

// A broken-down local date and time as read from a database or typed by a user.
struct NORVIK_API DateTimeParts {
    int year = 0;
    int month = 0;  // 1 to 12
    int day = 0;    // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;

    // Accepts "YYYYMMDD hh:mm:ss" and "YYYY-MM-DD[ hh:mm:ss[.fff]]" (also with 'T').
    // Returns false, leaving *out untouched, for anything else.
    static bool Parse(const char* text, DateTimeParts* out);
};

class NORVIK_API CTime {
public:
    CTime() = default;
    explicit CTime(std::int64_t seconds) : m_seconds(seconds) {}
    // Local time; the system decides whether daylight saving applies.
    CTime(int year, int month, int day, int hour, int minute, int second);
    explicit CTime(const DateTimeParts& parts)
        : CTime(parts.year, parts.month, parts.day, parts.hour, parts.minute, parts.second) {}

    static CTime GetCurrentTime();

    std::int64_t GetTime() const { return m_seconds; }
    bool IsNever() const { return m_seconds == 0; }

    // Local-time breakdown.
    DateTimeParts GetLocal() const;
    int GetYear() const { return GetLocal().year; }
    int GetMonth() const { return GetLocal().month; }
    int GetDay() const { return GetLocal().day; }
    int GetHour() const { return GetLocal().hour; }
    int GetMinute() const { return GetLocal().minute; }
    int GetSecond() const { return GetLocal().second; }

    friend bool operator==(CTime a, CTime b) { return a.m_seconds == b.m_seconds; }
    friend bool operator!=(CTime a, CTime b) { return a.m_seconds != b.m_seconds; }
    friend bool operator<(CTime a, CTime b) { return a.m_seconds < b.m_seconds; }
    friend bool operator>(CTime a, CTime b) { return a.m_seconds > b.m_seconds; }
    friend bool operator<=(CTime a, CTime b) { return a.m_seconds <= b.m_seconds; }
    friend bool operator>=(CTime a, CTime b) { return a.m_seconds >= b.m_seconds; }

private:
    std::int64_t m_seconds = 0;
};
