// Every read conversion, by kind of field value, without a database.
#include "sql/field_conversion.h"

#include <gtest/gtest.h>

namespace {

CDBVariant Value(CDBVariant::Type type) {
    CDBVariant v;
    v.m_dwType = type;
    return v;
}

TEST(FieldConversion, EachKindAsNumberAndText) {
    struct Case {
        CDBVariant value;
        ULong number;
        const char* text;
    };
    auto with = [](CDBVariant::Type type, auto set) {
        CDBVariant v = Value(type);
        set(v);
        return v;
    };
    const CDBVariant yes = with(CDBVariant::DBVT_BOOL, [](CDBVariant& v) { v.m_boolVal = true; });
    const CDBVariant no = Value(CDBVariant::DBVT_BOOL);
    const CDBVariant minusOne = with(CDBVariant::DBVT_SHORT, [](CDBVariant& v) { v.m_iVal = -1; });
    const CDBVariant big = with(CDBVariant::DBVT_LONG, [](CDBVariant& v) { v.m_lVal = -2; });  // 0xFFFFFFFE as %d
    const CDBVariant single = with(CDBVariant::DBVT_SINGLE, [](CDBVariant& v) { v.m_fltVal = 12.5f; });
    const CDBVariant dbl = with(CDBVariant::DBVT_DOUBLE, [](CDBVariant& v) { v.m_dblVal = -7.9; });
    const CDBVariant huge = with(CDBVariant::DBVT_DOUBLE, [](CDBVariant& v) { v.m_dblVal = 3e9; });
    const CDBVariant date = with(CDBVariant::DBVT_DATE, [](CDBVariant& v) { v.m_date = {2009, 7, 5, 1, 2, 3}; });
    const CDBVariant text = with(CDBVariant::DBVT_STRING, [](CDBVariant& v) { v.m_strVal = "42abc"; });
    const CDBVariant blanks = with(CDBVariant::DBVT_STRING, [](CDBVariant& v) { v.m_strVal = "  -7 apples"; });
    const Case cases[] = {
        {Value(CDBVariant::DBVT_NULL), 0, ""},
        {yes, 1, "TRUE"},
        {no, 0, "FALSE"},
        {minusOne, 0xFFFFFFFFu, "-1"},
        {big, 0xFFFFFFFEu, "-2"},
        {single, 12, "     12.50"},
        {dbl, static_cast<ULong>(-7), "     -7.90"},
        {huge, 3000000000u, "3000000000.00"},
        {date, 0, "5/7/2009"},
        {text, 42, "42abc"},
        {blanks, static_cast<ULong>(-7), "  -7 apples"},
        {Value(CDBVariant::DBVT_BINARY), 0, ""},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(FieldAsNumber(cases[i].value), cases[i].number) << "case " << i;
        EXPECT_STREQ(FieldAsText(cases[i].value).c_str(), cases[i].text) << "case " << i;
    }
}

TEST(FieldConversion, TimesAreDatesExceptTheYear1900) {
    CDBVariant date = Value(CDBVariant::DBVT_DATE);
    date.m_date = {2009, 1, 1, 0, 0, 0};
    EXPECT_EQ(FieldAsTime(date), CTime(2009, 1, 1, 0, 0, 0));
    date.m_date = {1900, 1, 1, 0, 0, 0};
    EXPECT_TRUE(FieldAsTime(date).IsNever());
    CDBVariant number = Value(CDBVariant::DBVT_LONG);
    number.m_lVal = 1234567;
    EXPECT_TRUE(FieldAsTime(number).IsNever());
    EXPECT_TRUE(FieldAsTime(Value(CDBVariant::DBVT_NULL)).IsNever());
    CDBVariant text = Value(CDBVariant::DBVT_STRING);
    text.m_strVal = "2009-07-15 13:14:15";  // an untyped column holding a date-time
    EXPECT_EQ(FieldAsTime(text), CTime(2009, 7, 15, 13, 14, 15));
    text.m_strVal = "20090715";  // a number, not a date-time
    EXPECT_TRUE(FieldAsTime(text).IsNever());
}

}  // namespace
