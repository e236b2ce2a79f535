// Every read conversion, by kind of field value, without a database.
#include "sql/field_conversion.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

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
    const std::tuple<CDBVariant, ULong, const char*> cases[] = {
        {Of(V::DBVT_NULL), 0, ""},
        {Of(V::DBVT_BOOL, [](V& v) { v.m_boolVal = true; }), 1, "TRUE"},
        {Of(V::DBVT_BOOL), 0, "FALSE"},
        {Of(V::DBVT_SHORT, [](V& v) { v.m_iVal = -1; }), 0xFFFFFFFFu, "-1"},
        {Of(V::DBVT_LONG, [](V& v) { v.m_lVal = -2; }), 0xFFFFFFFEu, "-2"},
        {Of(V::DBVT_SINGLE, [](V& v) { v.m_fltVal = 12.5f; }), 12, "     12.50"},
        {Of(V::DBVT_DOUBLE, [](V& v) { v.m_dblVal = -7.9; }), static_cast<ULong>(-7), "     -7.90"},
        {Of(V::DBVT_DOUBLE, [](V& v) { v.m_dblVal = 3e9; }), 3000000000u, "3000000000.00"},
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {2009, 7, 5, 1, 2, 3}; }), 0, "5/7/2009"},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "42abc"; }), 42, "42abc"},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "  -7 apples"; }), static_cast<ULong>(-7), "  -7 apples"},
        {Of(V::DBVT_BINARY), 0, ""}};
    for (const auto& [value, number, text] : cases) {
        EXPECT_EQ(FieldAsNumber(value), number) << "type " << value.m_dwType;
        EXPECT_STREQ(FieldAsText(value).c_str(), text) << "type " << value.m_dwType;
    }
}

TEST(FieldConversion, TimesAreDatesExceptTheYear1900) {
    const std::pair<CDBVariant, CTime> cases[] = {
        // CTime(): never
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {2009, 1, 1, 0, 0, 0}; }), CTime(2009, 1, 1, 0, 0, 0)},
        {Of(V::DBVT_DATE, [](V& v) { v.m_date = {1900, 1, 1, 0, 0, 0}; }), CTime()},
        {Of(V::DBVT_LONG, [](V& v) { v.m_lVal = 1234567; }), CTime()},
        {Of(V::DBVT_NULL), CTime()},
        // An untyped column holding a date-time, and one holding a number.
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "2009-07-15 13:14:15"; }), CTime(2009, 7, 15, 13, 14, 15)},
        {Of(V::DBVT_STRING, [](V& v) { v.m_strVal = "20090715"; }), CTime()}};
    for (const auto& [value, time] : cases)
        EXPECT_EQ(FieldAsTime(value).GetTime(), time.GetTime()) << "type " << value.m_dwType;
}

}  // namespace
