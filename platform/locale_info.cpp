// Short-date order from the POSIX locale: the position of day, month and year in the locale's
// date format (nl_langinfo D_FMT) stands in for the Windows short-date order item.
#include "platform/locale_info.h"

#include <langinfo.h>
#include <locale.h>
#include <clocale>
#include <cstring>

namespace {

int g_forcedOrder = -1;

constexpr int kNotSeen = 1 << 30;

struct FieldPositions {
    int day = kNotSeen;
    int month = kNotSeen;
    int year = kNotSeen;
    int next = 0;

    void See(int& field) {
        if (field == kNotSeen) field = next;
        ++next;
    }
};

}  // namespace

int ShortDateOrderFromFormat(const char* format) {
    if (!format) return kDateOrderMonthDayYear;
    FieldPositions seen;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        while (*p && (std::strchr("_-0^#", *p) || (*p >= '0' && *p <= '9'))) ++p;
        if (*p == 'E' || *p == 'O') ++p;
        if (!*p) break;  // a format ending in a lone '%'
        switch (*p) {
            case 'd':
            case 'e': seen.See(seen.day); break;
            case 'm':
            case 'b':
            case 'B':
            case 'h': seen.See(seen.month); break;
            case 'y':
            case 'Y':
            case 'C':
            case 'G':
            case 'g': seen.See(seen.year); break;
            case 'D':
                seen.See(seen.month);
                seen.See(seen.day);
                seen.See(seen.year);
                break;
            case 'F':
                seen.See(seen.year);
                seen.See(seen.month);
                seen.See(seen.day);
                break;
            default: break;
        }
    }
    if (seen.year < seen.day && seen.year < seen.month) return kDateOrderYearMonthDay;
    if (seen.day < seen.month) return kDateOrderDayMonthYear;
    return kDateOrderMonthDayYear;
}

int GetShortDateOrder() {
    if (g_forcedOrder >= 0) return g_forcedOrder;
    // A private locale object rather than setlocale(LC_TIME, ""): the caller's process keeps the
    // locale it chose, and other code formatting with strftime meanwhile is not affected.
    locale_t user = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(nullptr));
    if (user == static_cast<locale_t>(nullptr)) return kDateOrderMonthDayYear;
    const int order = ShortDateOrderFromFormat(nl_langinfo_l(D_FMT, user));
    freelocale(user);
    return order;
}

void TEST_ForceShortDateOrder(int order) { g_forcedOrder = order < 0 ? -1 : order; }
