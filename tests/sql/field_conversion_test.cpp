// Every read conversion, by kind of field value, without a database.
#include "sql/field_conversion.h"

#include <gtest/gtest.h>

namespace {

using V = CDBVariant;

// A field value of `type`, with `set` filling in its member.
V Of(V::Type type, void (*set)(V&) = nullptr) {
    V v;
    v.m_dwType = type;
    if (set) set(v);
    return v;
}

TEST(FieldConversion, EachKindAsNumberAndText) {
    const struct {
        CDBVariant value;
        ULong number;
        const char* text;
    } cases[] = {
        {Of(V::DBVT_NULL), 0, ""},
        {Of(V::DBVT_BOOL, [](V& v) { v.m_boolVal = true; }), 1, "TRUE"},
        {Of(V::DBVT_BOOL), 0, "FALSE"},
        {Of(V::DBVT_SHORT, [](V& v) { v.m_iVal = -1; }), 0xFFFFFFFFu, "-1"},
        {Of(V::DBVT_LONG, [](V& v) { v.m_lVal = -2; }), 0xFFFFFFFEu, "-2"},  // 0xFFFFFFFE as %d
        {Of(V::DBVT_SINGLE, [](V& v) { v.m_fltVal = 12.5f; }), 12, "     12.50"},
        {Of(V::DBVT_DOUBLE, [](V& v) { v.m_dblVal = -7.9; }), static_cast<ULong>(-7), "     -7.90"},
        {Of(V::DBVT_DOUBLE, [](V& v) { v.m_dblVal = 3e9; }), 3000000000u, "3000000000.00"},
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {2009, 7, 5, 1, 2, 3}; }), 0, "5/7/2009"},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "42abc"; }), 42, "42abc"},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "  -7 apples"; }), static_cast<ULong>(-7), "  -7 apples"},
        {Of(V::DBVT_BINARY), 0, ""},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(FieldAsNumber(cases[i].value), cases[i].number) << "case " << i;
        EXPECT_STREQ(FieldAsText(cases[i].value).c_str(), cases[i].text) << "case " << i;
    }
}

TEST(FieldConversion, TimesAreDatesExceptTheYear1900) {
    const struct {
        CDBVariant value;
        CTime time;  // CTime(): never
    } cases[] = {
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {2009, 1, 1, 0, 0, 0}; }), CTime(2009, 1, 1, 0, 0, 0)},
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {1900, 1, 1, 0, 0, 0}; }), CTime()},
        {Of(V::DBVT_LONG, [](V& v) { v.m_lVal = 1234567; }), CTime()},
        {Of(V::DBVT_NULL), CTime()},
        // An untyped column holding a date-time, and one holding a number.
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "2009-07-15 13:14:15"; }), CTime(2009, 7, 15, 13, 14, 15)},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "20090715"; }), CTime()},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(FieldAsTime(cases[i].value).GetTime(), cases[i].time.GetTime()) << "case " << i;
}

}  // namespace
