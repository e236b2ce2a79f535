// The editing control of each field type and the validation of what was entered, on the
// headless control, with every message and its icon flags seen through the message-box hook.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/formatting.h"
#include "fielddef/asset_field_def.h"
#include "platform/ui_hooks.h"

namespace {

class FieldEditing : public ::testing::Test {
protected:
    void SetUp() override {
        platform::SetMessageBoxHook([this](const char* text, unsigned style) {
            shown_.emplace_back(text, style);
            return platform::kIdOk;
        });
    }
    void TearDown() override { platform::SetMessageBoxHook(nullptr); }

    // Validates `input` typed into the control of `def`; the result, the value in value_.
    int Enter(const CAssetFieldDef& def, const char* input) {
        control_.SetText(input);
        control_.m_textsWritten.clear();
        return def.Validate(control_, value_);
    }

    static CAssetFieldDef Field(int type, int mandatory = 0) {
        CAssetFieldDef def("F");
        def.SetOwner(0);
        def.SetType(type);
        def.SetMandatory(mandatory);
        return def;
    }

    platform::CHeadlessControl control_;
    CString value_;
    std::vector<std::pair<std::string, unsigned>> shown_;
};

// ---- Controls ----

TEST_F(FieldEditing, EachTypeGetsItsClassStyleAndHeightAndBooleanOffersYesThenNo) {
    struct Case {
        int type;
        const char* className;
        ULong style;
        int height;
    };
    for (const Case& c : {Case{0x30, "combobox", 0x50A10103, 20}, Case{0x40, "combobox", 0x50A10103, 20},
                          Case{0x70, "SysDateTimePick32", 0x50810020, 20}, Case{0x10, "edit", 0x50810080, 20},
                          Case{0x20, "edit", 0x50810080, 20}, Case{0x60, "edit", 0x50810080, 20}}) {
        platform::CHeadlessControl control;
        CRect placement{5, 6, 100, 20};
        EXPECT_EQ(Field(c.type).CreateControl(control, 1001, placement), 1u);
        EXPECT_EQ(control.m_className, c.className) << c.type;
        EXPECT_EQ(control.m_style, c.style) << c.type;
        EXPECT_EQ(control.m_exStyle, 0x200u);
        EXPECT_EQ(control.m_id, 1001);
        EXPECT_EQ(placement.height, c.height) << "no pick items: one line";
        EXPECT_EQ(control.m_placement.left, 5);
        if (c.type == 0x40) {
            EXPECT_EQ(control.m_items, (std::vector<std::string>{"yes", "no"}));
        }
    }
}

TEST_F(FieldEditing, PicklistHeightGrowsWithItemsUpToEightLines) {
    for (const auto& [count, factor] : std::vector<std::pair<int, int>>{{0, 1}, {3, 4}, {7, 8}, {20, 8}}) {
        CAssetFieldDef def = Field(0x30);
        for (int i = 0; i < count; ++i) def.TEST_AddPickItem(CString::Formatted("item %d", i));
        platform::CHeadlessControl control;
        CRect placement{0, 0, 100, 12};
        def.CreateControl(control, 1, placement);
        EXPECT_EQ(placement.height, 12 * factor) << count;
        EXPECT_EQ(control.m_placement.height, 12 * factor);
        EXPECT_EQ(control.m_items.size(), static_cast<std::size_t>(count));
    }
}

// ---- Validation ----

TEST_F(FieldEditing, MandatoryEmptyFieldIsRefusedBeforeAnyOtherCheck) {
    EXPECT_EQ(Enter(Field(0x20, 1), ""), 0);
    ASSERT_EQ(shown_.size(), 1u);
    EXPECT_EQ(shown_[0], std::make_pair(std::string("Mandatory Field not Filled"), 0x30u));
    EXPECT_EQ(control_.m_focusCount, 1);
    EXPECT_EQ(Enter(Field(0x40, 0), ""), 1) << "not mandatory: accepted as read";
}

TEST_F(FieldEditing, IntegersMustBeNumericAndInRange) {
    CAssetFieldDef def = Field(0x20);
    def.SetMin(1);
    def.SetMax(10);
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"+5", ""},
        {"-0", "Field Value must be between 1 and 10"},
        {"10", ""},
        {"11", "Field Value must be between 1 and 10"},
        {"5.0", "Field Value must be numeric"},
        {" 5", "Field Value must be numeric"},
        {"99999999999999999999999", "Field Value must be between 1 and 10"},
        {"-", "Field Value must be between 1 and 10"},
        {"", ""},
    };
    for (const auto& [input, message] : cases) {
        shown_.clear();
        EXPECT_EQ(Enter(def, input), *message ? 0 : 1) << input;
        EXPECT_EQ(value_.str(), input);
        if (*message) {
            ASSERT_EQ(shown_.size(), 1u) << input;
            EXPECT_EQ(shown_[0], std::make_pair(std::string(message), 0x30u)) << input;
        } else {
            EXPECT_TRUE(shown_.empty()) << input;
        }
    }
}

TEST_F(FieldEditing, LongTextIsTrimmedWithANoticeAndAccepted) {
    CAssetFieldDef def = Field(0x10);
    def.SetMin(3);  // the first parameter: the maximum length
    EXPECT_EQ(Enter(def, "abcdef"), 1);
    EXPECT_EQ(value_.str(), "abc");
    EXPECT_EQ(control_.GetText().str(), "abc");
    ASSERT_EQ(shown_.size(), 1u);
    EXPECT_EQ(shown_[0],
              std::make_pair(std::string("Entered string was too long and has been trimmed to\n'abc'"), 0x40u));
    EXPECT_EQ(control_.m_focusCount, 0);
}

TEST_F(FieldEditing, CaseRulesNormaliseText) {
    const std::vector<std::tuple<int, const char*, const char*>> cases = {
        {3, "hELLO wORLD", "Hello World"},
        {3, "  two  blanks", "  Two  Blanks"},
        {3, "o'neil-smith x", "O'neil-smith X"},
        {1, "mixed Case", "MIXED CASE"},
        {2, "MiXeD", "mixed"},
        {0, "As Is", "As Is"},
    };
    for (const auto& [rule, input, expected] : cases) {
        CAssetFieldDef def = Field(0x10);
        def.SetCaseRule(rule);
        EXPECT_EQ(Enter(def, input), 1);
        EXPECT_EQ(value_.str(), expected) << input;
        EXPECT_EQ(control_.m_textsWritten, (std::vector<std::string>{expected}));
    }
    EXPECT_TRUE(shown_.empty());
}

TEST_F(FieldEditing, DatesMustBeSetAndAreShownWithSlashes) {
    const CAssetFieldDef def = Field(0x70);
    control_.SetDate(platform::kDateNone, CTime());
    EXPECT_EQ(Enter(def, "x"), 0);
    control_.SetDate(platform::kDateError, CTime());
    EXPECT_EQ(Enter(def, "x"), 0);
    EXPECT_EQ(shown_, (std::vector<std::pair<std::string, unsigned>>{{"Invalid Date", 0x30}, {"Invalid Date", 0x30}}));
    const CTime when(2024, 2, 29, 12, 0, 0);
    control_.SetDate(platform::kDateValid, when);
    EXPECT_EQ(Enter(def, "x"), 1);
    EXPECT_EQ(value_.str(), FormatDate(when, '/').str());
    control_.SetDate(platform::kDateValid, CTime());
    EXPECT_EQ(Enter(def, "x"), 1);
    EXPECT_TRUE(value_.IsEmpty());
}

}  // namespace
