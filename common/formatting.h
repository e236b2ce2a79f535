// Display texts of stored values: dates in the user's locale order, times, sizes, clock speeds and
// processor names, plus the numeric-text check of field validation. Shared by the hardware tree's
// value display, history texts and field editing.
// Every function returns a new text and never fails. The cached date order is process-wide and
// unguarded: the library is used from one thread at a time.
#pragma once

#include <cstdint>

#include "platform/cstring.h"
#include "platform/ctime.h"
#include "platform/types.h"

// ---- Dates and times ----------------------------------------------------------------------

// A date in the user's short-date order, read from the locale on first use and kept for the life
// of the process (a later change of the user's settings is not seen):
//   month-day-year "%2.2d%c%2.2d%c%4.4d" (month, day, year), day-month-year the same with day
//   and month swapped, year-month-day "%4.4d%c%2.2d%c%2.2d". Values are not range-checked.
// An order other than these three gives "".
NORVIK_API CString FormatDate(int year, int month, int day, char separator);
// The local date of `time` as above; "" when `time` is 0 (never).
NORVIK_API CString FormatDate(const CTime& time, char separator);
// Local time of day, "hh:mm:ss" or "hh:mm". A time of 0 is formatted like any other.
NORVIK_API CString FormatTime(const CTime& time, bool withSeconds);
// FormatDate, one blank, FormatTime; "" when `time` is 0.
NORVIK_API CString FormatDateTime(const CTime& time, bool withSeconds, char separator);
// The same local date at 00:00:00 (the platform decides daylight saving); 0 stays 0.
NORVIK_API CTime DateOnly(const CTime& time);

// Forgets the cached date order so the next date is formatted in the order the locale (or the
// platform's TEST_ForceShortDateOrder) gives then.
NORVIK_API void TEST_ForgetDateOrder();

// ---- Sizes and speeds ---------------------------------------------------------------------

// Bytes in the largest binary unit reached, truncated: "%d GB", "%d MB", "%d KB" or "%d Bytes".
NORVIK_API CString FormatBytes(ULong bytes);
// Megabytes: up to 1013 "%d MB"; from there on gigabytes with 10 MB added, "%d GB" or "%d.%d GB"
// with the hundredths truncated and written without a leading zero (1 GB and 5 hundredths reads
// "1.5 GB"; this is the established display and is kept). The sum is taken as an unsigned 32-bit
// value, so a value below -10 wraps to a large number of gigabytes.
NORVIK_API CString FormatMegabytes(std::int32_t megabytes);
// "%u MHz".
NORVIK_API CString FormatMHz(ULong megahertz);
// A measured processor clock brought to the speed it was sold at, as the hardware tree stores it.
// Processors are marketed in steps of 50 MHz and of 33 1/3 MHz (the latter truncated to whole
// megahertz: 133, 166, 233, 266, ..., 2333, 2666, 3333), so a measurement a few megahertz off
// (2793, 1995, 2128) lands on the nearest such step (2800, 2000, 2133); halfway between two steps
// the higher one wins. Below 100 MHz, where clocks followed no common step (16, 25, 40, 75, 90),
// and for 0 (no speed known) the value is returned unchanged. Steps are at most 34 MHz apart, so
// the result is never more than 17 MHz from the measurement.
NORVIK_API ULong RoundCpuSpeed(ULong megahertz);

// ---- Processor names ----------------------------------------------------------------------

// Trims `text` in place (white space at both ends) and returns a copy in which every run of
// blanks is reduced to one blank.
NORVIK_API CString CollapseBlanks(CString& text);
// Removes, in place, a performance-rating suffix ("2400+"), everything from the first "@", and a
// clock speed in MHz or GHz with the digits, points and blanks before it; returns the result.
NORVIK_API CString StripCpuClock(CString& text);
// The processor name as stored in the hardware tree and compared by the schema upgrades:
// clock speed and noise words ("(R)", "(tm)", "CPU", "Processor", ...) removed, the maker put in
// front of bare Pentium, Xeon, Celeron, Athlon and Duron names, blanks collapsed.
// "Intel(R) Pentium(R) 4 CPU 2.80GHz" gives "Intel Pentium 4".
NORVIK_API CString NormaliseCpuName(const CString& name);

// ---- Validation ---------------------------------------------------------------------------

// True when every character is a digit, or a '-' or '+' in the first position (allowSign), or
// the single '.' (allowPoint). An empty or null text is numeric.
NORVIK_API bool IsNumericText(const char* text, bool allowSign, bool allowPoint);
