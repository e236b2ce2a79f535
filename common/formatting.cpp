// Display texts of stored values. The texts and their oddities (hundredths without a leading
// zero, the rating-suffix arithmetic of StripCpuClock) are what users and existing databases
// already hold, so they are reproduced exactly rather than tidied.
#include "common/formatting.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include "platform/locale_info.h"

namespace {

constexpr ULong kDateOrderUnknown = 0xFFFFFFFF;
ULong g_dateOrder = kDateOrderUnknown;

int DateOrder() {
    if (g_dateOrder == kDateOrderUnknown) g_dateOrder = static_cast<ULong>(GetShortDateOrder());
    return static_cast<int>(g_dateOrder);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Removed from processor names wherever they occur; the order matters ("CPU family" before "CPU").
constexpr const char* kCpuNoiseWords[] = {
    "CPU family", "processor", "Processor", "(R)", "(r)", "(TM)", "(tm)", "CPU", "MHz", "GHz",
};

}  // namespace

// ---- Dates and times ----------------------------------------------------------------------

CString FormatDate(int year, int month, int day, char separator) {
    switch (DateOrder()) {
        case kDateOrderMonthDayYear:
            return CString::Formatted("%2.2d%c%2.2d%c%4.4d", month, separator, day, separator, year);
        case kDateOrderDayMonthYear:
            return CString::Formatted("%2.2d%c%2.2d%c%4.4d", day, separator, month, separator, year);
        case kDateOrderYearMonthDay:
            return CString::Formatted("%4.4d%c%2.2d%c%2.2d", year, separator, month, separator, day);
        default: return CString();
    }
}

CString FormatDate(const CTime& time, char separator) {
    if (time.IsNever()) return CString();
    const DateTimeParts local = time.GetLocal();
    return FormatDate(local.year, local.month, local.day, separator);
}

CString FormatTime(const CTime& time, bool withSeconds) {
    const DateTimeParts local = time.GetLocal();
    if (withSeconds) return CString::Formatted("%2.2d:%2.2d:%2.2d", local.hour, local.minute, local.second);
    return CString::Formatted("%2.2d:%2.2d", local.hour, local.minute);
}

CString FormatDateTime(const CTime& time, bool withSeconds, char separator) {
    if (time.IsNever()) return CString();
    return FormatDate(time, separator) + " " + FormatTime(time, withSeconds);
}

CTime DateOnly(const CTime& time) {
    if (time.IsNever()) return CTime();
    const DateTimeParts local = time.GetLocal();
    return CTime(local.year, local.month, local.day, 0, 0, 0);
}

void TEST_ForgetDateOrder() { g_dateOrder = kDateOrderUnknown; }

// ---- Sizes and speeds ---------------------------------------------------------------------

CString FormatBytes(ULong bytes) {
    if (bytes >= 0x40000000u) return CString::Formatted("%u GB", bytes >> 30);
    if (bytes >= 0x100000u) return CString::Formatted("%u MB", bytes >> 20);
    if (bytes >= 1024u) return CString::Formatted("%u KB", bytes >> 10);
    return CString::Formatted("%u Bytes", bytes);
}

CString FormatMegabytes(std::int32_t megabytes) {
    // Unsigned on purpose: the wrap of small negative values into "MB" and of the rest into large
    // gigabyte counts is the established display.
    const ULong rounded = static_cast<ULong>(megabytes) + 10u;
    if (rounded < 1024u) return CString::Formatted("%d MB", megabytes);
    const ULong gigabytes = rounded >> 10;
    const ULong hundredths = ((rounded & 0x3FFu) * 100u) / 1024u;
    if (hundredths == 0) return CString::Formatted("%u GB", gigabytes);
    return CString::Formatted("%u.%u GB", gigabytes, hundredths);
}

CString FormatMHz(ULong megahertz) { return CString::Formatted("%u MHz", megahertz); }

ULong RoundCpuSpeed(ULong megahertz) {
    if (megahertz < 100) return megahertz;
    // 64-bit: three times the largest 32-bit speed does not fit in 32 bits.
    const std::uint64_t mhz = megahertz;
    const std::uint64_t third = mhz * 3 / 100;  // the 33 1/3 step at or below
    const std::uint64_t fifty = mhz / 50;       // the 50 step at or below
    const std::uint64_t candidates[] = {third * 100 / 3, (third + 1) * 100 / 3, fifty * 50, (fifty + 1) * 50};
    std::uint64_t best = candidates[0];
    for (const std::uint64_t step : candidates) {
        const std::uint64_t distance = step > mhz ? step - mhz : mhz - step;
        const std::uint64_t bestDistance = best > mhz ? best - mhz : mhz - best;
        if (distance < bestDistance || (distance == bestDistance && step > best)) best = step;
    }
    // The step above the largest speeds can pass 32 bits; such a value is no real clock anyway.
    return best > 0xFFFFFFFFu ? megahertz : static_cast<ULong>(best);
}

// ---- Processor names ----------------------------------------------------------------------

CString CollapseBlanks(CString& text) {
    text.Trim();
    const std::string& source = text.str();
    std::string collapsed;
    collapsed.reserve(source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        collapsed += source[i];
        if (source[i] == ' ') {
            while (i + 1 < source.size() && source[i + 1] == ' ') ++i;
        }
    }
    return CString(std::move(collapsed));
}

CString StripCpuClock(CString& text) {
    const int plus = text.Find('+');
    if (plus > 4 && std::atoi(text.Mid(plus - 4, 4)) != 0) {
        // This length arithmetic is what stored names were normalised with; changing it would
        // make the upgrades and the hardware tree disagree about names already in databases.
        const int length = text.GetLength();
        text = text.Left(length - plus + 6) + text.Right(plus + 1);
    }

    const int at = text.Find('@');
    if (at >= 0) text = text.Left(at);

    int unit = text.Find("MHz");
    if (unit < 0) unit = text.Find("GHz");
    if (unit < 0) return text;
    int stop = unit - 1;
    while (stop > 0) {
        const char c = text.GetAt(stop);
        if (!IsDigit(c) && c != '.' && c != ' ') break;
        --stop;
    }
    // A name that is nothing but a speed is left whole rather than emptied.
    if (stop <= 0) return text;
    text = text.Left(stop + 1) + text.Mid(unit + 3);
    return text;
}

CString NormaliseCpuName(const CString& name) {
    CString text = name;
    text.Trim();
    text = CollapseBlanks(text);
    StripCpuClock(text);

    if (text.Right(3) == "CPU") text = text.Left(text.GetLength() - 4);

    for (const char* word : kCpuNoiseWords) text.Replace(word, "");

    // "PentiumIII" becomes "Pentium II" and "Pentium4" loses its digit; established behaviour.
    const int pentium = text.Find("Pentium");
    if (pentium >= 0 && pentium + 7 < text.GetLength() && text.GetAt(pentium + 7) != ' ') {
        text.str()[static_cast<std::size_t>(pentium + 7)] = ' ';
    }

    // The lower-case "pentium" test compares four characters against seven letters and so never
    // matches; it is kept in the chain so the rule reads as it has always behaved.
    if (text.Left(7) == "Pentium" || text.Left(4) == "pentium" || text.Left(4) == "Xeon" || text.Left(4) == "XEON" ||
        text.Left(7) == "Celeron") {
        text = "Intel " + text;
    } else if (text.Left(6) == "Athlon" || text.Left(5) == "Duron") {
        text = "AMD " + text;
    }

    text.TrimRight();
    return CollapseBlanks(text);
}

// ---- Validation ---------------------------------------------------------------------------

bool IsNumericText(const char* text, bool allowSign, bool allowPoint) {
    if (!text) return true;
    bool pointSeen = false;
    for (std::size_t i = 0; text[i] != '\0'; ++i) {
        const char c = text[i];
        if (IsDigit(c)) continue;
        if (allowSign && i == 0 && (c == '-' || c == '+')) continue;
        if (allowPoint && c == '.' && !pointSeen) {
            pointSeen = true;
            continue;
        }
        return false;
    }
    return true;
}
