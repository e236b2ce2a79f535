// Validation of entered values, with every message and its icon flags seen through the hook.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/formatting.h"
#include "fielddef/asset_field_def.h"
#include "platform/ui_hooks.h"

namespace {

using Shown = std::vector<std::pair<std::string, unsigned>>;

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
    Shown shown_;
};

TEST_F(FieldEditing, MandatoryEmptyFieldIsRefusedBeforeAnyOtherCheck) {
    EXPECT_EQ(Enter(Field(0x20, 1), ""), 0);
    EXPECT_EQ(shown_, (Shown{{"Mandatory Field not Filled", 0x30}}));
    EXPECT_EQ(control_.m_focusCount, 1);
    EXPECT_EQ(Enter(Field(0x40, 0), ""), 1) << "not mandatory: accepted as read";
}

TEST_F(FieldEditing, IntegersMustBeNumericAndInRange) {
    CAssetFieldDef def = Field(0x20);
    def.SetMin(1);
    def.SetMax(10);
    const char* range = "Field Value must be between 1 and 10";
    const char* numeric = "Field Value must be numeric";
    const std::pair<const char*, const char*> cases[] = {{"+5", ""},
                                                         {"-0", range},
                                                         {"10", ""},
                                                         {"11", range},
                                                         {"5.0", numeric},
                                                         {" 5", numeric},
                                                         {"99999999999999999999999", range},
                                                         {"-", range},
                                                         {"", ""}};
    for (const auto& [input, message] : cases) {
        shown_.clear();
        EXPECT_EQ(Enter(def, input), *message ? 0 : 1) << input;
        EXPECT_EQ(value_.str(), input);
        EXPECT_EQ(shown_, (*message ? Shown{{message, 0x30u}} : Shown{})) << input;
    }
}

TEST_F(FieldEditing, LongTextIsTrimmedWithANoticeAndAccepted) {
    CAssetFieldDef def = Field(0x10);
    def.SetMin(3);  // the first parameter: the maximum length
    EXPECT_EQ(Enter(def, "abcdef"), 1);
    EXPECT_EQ(value_.str(), "abc");
    EXPECT_EQ(control_.GetText().str(), "abc");
    EXPECT_EQ(shown_, (Shown{{"Entered string was too long and has been trimmed to\n'abc'", 0x40}}));
    EXPECT_EQ(control_.m_focusCount, 0);
}

TEST_F(FieldEditing, CaseRulesNormaliseText) {
    const std::tuple<int, const char*, const char*> cases[] = {{3, "hELLO wORLD", "Hello World"},
                                                               {3, "  two  blanks", "  Two  Blanks"},
                                                               {3, "o'neil-smith x", "O'neil-smith X"},
                                                               {1, "mixed Case", "MIXED CASE"},
                                                               {2, "MiXeD", "mixed"},
                                                               {0, "As Is", "As Is"}};
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
    for (const auto state : {platform::kDateNone, platform::kDateError}) {
        control_.SetDate(state, CTime());
        EXPECT_EQ(Enter(def, "x"), 0);
    }
    EXPECT_EQ(shown_, (Shown{{"Invalid Date", 0x30}, {"Invalid Date", 0x30}}));
    const CTime when(2024, 2, 29, 12, 0, 0);
    control_.SetDate(platform::kDateValid, when);
    EXPECT_EQ(Enter(def, "x"), 1);
    EXPECT_EQ(value_.str(), FormatDate(when, '/').str());
    control_.SetDate(platform::kDateValid, CTime());
    EXPECT_EQ(Enter(def, "x"), 1);
    EXPECT_TRUE(value_.IsEmpty());
}

// The control of each type: window class, style, the sunken edge, the combo box's height (one
// line per pick item plus the edit line, eight lines at most) and what the list is filled with.
TEST_F(FieldEditing, ControlsTakeClassStyleHeightAndEntriesFromTheType) {
    struct Case {
        int type;
        int pickItems;
        const char* className;
        ULong style;
        int height;  // from 10
        std::vector<std::string> entries;
    };
    const Case cases[] = {
        {0x30, 2, "combobox", 0x50A10103, 30, {"item 0", "item 1"}},
        {0x30, 20, "combobox", 0x50A10103, 80, {}},
        {0x40, 0, "combobox", 0x50A10103, 10, {"yes", "no"}},
        {0x70, 0, "SysDateTimePick32", 0x50810020, 10, {}},
        {0x10, 3, "edit", 0x50810080, 10, {}},
    };
    for (const Case& c : cases) {
        CAssetFieldDef def = Field(c.type);
        for (int i = 0; i < c.pickItems; ++i) def.TEST_AddPickItem(("item " + std::to_string(i)).c_str());
        platform::CHeadlessControl control;
        CRect placement{5, 6, 100, 10};
        const std::string which = std::to_string(c.type) + "/" + std::to_string(c.pickItems);
        EXPECT_EQ(def.CreateControl(control, 42, placement), ControlHandle{1}) << which;
        EXPECT_EQ(std::tuple(control.m_className, control.m_style, control.m_exStyle, control.m_id),
                  std::tuple(std::string(c.className), c.style, ULong{0x200}, 42))
            << which;
        EXPECT_EQ(std::tuple(placement.height, control.m_placement.height, control.m_placement.left,
                             control.m_placement.top, control.m_placement.width),
                  std::tuple(c.height, c.height, 5, 6, 100))
            << which;
        if (c.pickItems < 20) {
            EXPECT_EQ(control.m_items, c.entries) << which;
        } else {
            EXPECT_EQ(control.m_items.size(), 20u) << which;
        }
        EXPECT_TRUE(control.m_textsWritten.empty()) << which << ": created with an empty text";
    }
}

}  // namespace
