// The user's locale settings that display texts follow: the order of the fields of a short date.
// Numbered as the Windows locale item for the short-date order answers, so stored settings and
// callers written against that numbering keep their meaning.
#pragma once

// Short-date orders.
enum : int {
    kDateOrderMonthDayYear = 0,
    kDateOrderDayMonthYear = 1,
    kDateOrderYearMonthDay = 2,
};

// The short-date order of the user's default locale (the environment's LC_ALL, LC_TIME or LANG).
// Read afresh on every call; callers that want a process-wide value cache it themselves.
// A locale that cannot be loaded gives the order of the "C" locale, month-day-year.
// Does not change the process's own locale.
int GetShortDateOrder();

// The order in which a strftime-style date format writes day, month and year. "%D" counts as
// "%m/%d/%y" and "%F" as "%Y-%m-%d"; flags, widths and the E/O modifiers are skipped. A year
// written before both day and month is year-month-day; otherwise a day before the month is
// day-month-year; anything else, including an empty or null format, is month-day-year.
int ShortDateOrderFromFormat(const char* format);

// Makes GetShortDateOrder answer `order` without reading the locale; a negative value goes back
// to reading it.
void TEST_ForceShortDateOrder(int order);
