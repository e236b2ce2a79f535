// The interface frame without a database.
#include "interface/norvik.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"

namespace {

// The SQL back end, never opened: the frame's own operations need no database.
class FrameOnly : public CNorvikSql {
public:
    using CNorvik::HandleException;
    using CNorvik::MsgBox;
    using CNorvik::ProgCheck;
    using CNorvik::ProgComplete;
    using CNorvik::ProgStart;
    using CNorvikSql::CNorvikSql;
};

struct Recorder {
    std::vector<std::pair<int, CallbackValue>> calls;
    int answer = 1;
    static int Callback(int code, CallbackValue value, CallbackValue context) {
        auto* self = reinterpret_cast<Recorder*>(context);
        self->calls.emplace_back(code, code == 1 ? 0 : value);
        return self->answer;
    }
};

class Frame : public ::testing::Test {
protected:
    CAuditDBSys kb_;
    FrameOnly norvik_{kb_};
    Recorder progress_;
};

TEST_F(Frame, ProgressReportsTheRangeAndEveryStepthCallAndOnlyCancelStops) {
    norvik_.ProgSetCallback(&Recorder::Callback, reinterpret_cast<CallbackValue>(&progress_));
    norvik_.ProgStart(10, "Counting", 3);
    ASSERT_EQ(progress_.calls.size(), 2u);
    EXPECT_EQ(progress_.calls[0].first, 1);
    EXPECT_EQ(progress_.calls[1], (std::pair<int, CallbackValue>{2, 3}));
    std::vector<int> reported;
    for (int call = 1; call <= 10; ++call) {
        const auto before = progress_.calls.size();
        norvik_.ProgCheck();
        if (progress_.calls.size() > before) reported.push_back(call);
    }
    EXPECT_EQ(reported, (std::vector<int>{1, 4, 7, 10}));
    norvik_.ProgComplete();
    EXPECT_EQ(progress_.calls.back().first, 4);

    norvik_.ProgStart(4, nullptr, 1);
    for (const auto& [answer, expected] : {std::pair{2, 0}, std::pair{0, 1}, std::pair{1, 1}, std::pair{3, 1}}) {
        progress_.answer = answer;
        EXPECT_EQ(norvik_.ProgCheck(), expected) << "answer " << answer;
    }
}

TEST_F(Frame, MessageBoxWithoutAnyHookAnswersAQuestionNo) { EXPECT_EQ(norvik_.MsgBox("Continue?", 36), 7); }

TEST_F(Frame, ExceptionsGiveTheirTwoMessageForms) {
    std::vector<std::string> shown;
    norvik_.SetMsgBoxCallback(
        [](const char* text, unsigned style, CallbackValue context) {
            EXPECT_EQ(style, 48u);
            reinterpret_cast<std::vector<std::string>*>(context)->emplace_back(text);
            return 1;
        },
        reinterpret_cast<CallbackValue>(&shown));
    norvik_.HandleException(CDBException(-1, "no such table", "State:42P01,Native:7,Origin:Statement"), "select 1");
    norvik_.HandleException(CDBException(-2, "bad", "x"), nullptr);
    norvik_.HandleException(CFileException("disk full"), "Saving");
    norvik_.HandleException(CException(), nullptr);
    ASSERT_EQ(shown.size(), 4u);
    EXPECT_EQ(shown[0],
              "ODBC Error code -1\nError : no such table\nOrigin : State:42P01,Native:7,Origin:Statement\nSQL String : "
              "select 1");
    EXPECT_EQ(shown[1], "ODBC Error code -2\nError : bad\nOrigin : x");
    EXPECT_EQ(shown[2], "An Error has occurred\n\nSaving");
    EXPECT_EQ(shown[3], "An Error has occurred\n\n");
}

TEST_F(Frame, IconNamesFollowTheGroupTable) {
    // clang-format off
    const std::map<int, const char*> expected = {
        {1, "Location"}, {2, "Location"}, {3, "Asset"}, {4, "Asset Data"}, {5, "Folders/Files"},
        {8, "Folders/Files"}, {9, "Discovered Assets"}, {12, "Discovered Assets"}, {13, "Software"},
        {14, "Hardware"}, {15, "Hardware"}, {16, "History"}, {21, "History"}, {22, "Category"}, {23, "Make"},
        {24, "Model"}, {25, "Captured Files"}, {26, "Captured Files"}, {27, "Software Licensing"},
        {28, "Software Licensing"}, {29, "Alerts"}, {30, "Alerts"}, {31, "Internet"}, {32, "History"},
        {33, "Cookies"}, {34, "All Assets"}, {37, "All Assets"}, {38, "Operating System"}, {39, "System"},
        {43, "System"}, {44, ""}, {50, ""}, {51, "System"}, {52, ""}, {-1, ""}};
    // clang-format on
    for (const auto& [icon, text] : expected) EXPECT_STREQ(norvik_.GetIconName(icon).c_str(), text) << icon;
}

}  // namespace
