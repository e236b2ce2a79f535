// Local-time conversions and the parser for the date-time texts databases return.
#include "platform/ctime.h"

#include <cctype>
#include <ctime>

CTime::CTime(int year, int month, int day, int hour, int minute, int second) {
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    const std::time_t t = std::mktime(&parts);
    m_seconds = t == static_cast<std::time_t>(-1) ? 0 : static_cast<std::int64_t>(t);
}

CTime CTime::GetCurrentTime() { return CTime(static_cast<std::int64_t>(std::time(nullptr))); }

DateTimeParts CTime::GetLocal() const {
    const std::time_t t = static_cast<std::time_t>(m_seconds);
    std::tm parts{};
    localtime_r(&t, &parts);
    DateTimeParts out;
    out.year = parts.tm_year + 1900;
    out.month = parts.tm_mon + 1;
    out.day = parts.tm_mday;
    out.hour = parts.tm_hour;
    out.minute = parts.tm_min;
    out.second = parts.tm_sec;
    return out;
}

namespace {

// Reads exactly `width` digits at *p; advances past them.
bool ReadDigits(const char*& p, int width, int* value) {
    int v = 0;
    for (int i = 0; i < width; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(p[i]))) return false;
        v = v * 10 + (p[i] - '0');
    }
    p += width;
    *value = v;
    return true;
}

bool ReadTime(const char*& p, DateTimeParts* parts) {
    if (!ReadDigits(p, 2, &parts->hour) || *p++ != ':') return false;
    if (!ReadDigits(p, 2, &parts->minute) || *p++ != ':') return false;
    if (!ReadDigits(p, 2, &parts->second)) return false;
    if (*p == '.') {  // fractions of a second are dropped
        ++p;
        while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
    }
    return true;
}

bool InRange(const DateTimeParts& parts) {
    return parts.month >= 1 && parts.month <= 12 && parts.day >= 1 && parts.day <= 31 && parts.hour <= 23 &&
           parts.minute <= 59 && parts.second <= 60;
}

}  // namespace

bool DateTimeParts::Parse(const char* text, DateTimeParts* out) {
    if (!text) return false;
    const char* p = text;
    DateTimeParts parts;
    if (!ReadDigits(p, 4, &parts.year)) return false;
    if (*p == '-') {
        ++p;
        if (!ReadDigits(p, 2, &parts.month) || *p++ != '-' || !ReadDigits(p, 2, &parts.day)) return false;
        if (*p == ' ' || *p == 'T') {
            ++p;
            if (!ReadTime(p, &parts)) return false;
        }
    } else {
        if (!ReadDigits(p, 2, &parts.month) || !ReadDigits(p, 2, &parts.day)) return false;
        if (*p == ' ') {
            ++p;
            if (!ReadTime(p, &parts)) return false;
        }
    }
    // A trailing time-zone offset ("+01") from a server is tolerated and ignored.
    if (*p != '\0' && *p != '+' && *p != '-') return false;
    if (!InRange(parts)) return false;
    *out = parts;
    return true;
}
