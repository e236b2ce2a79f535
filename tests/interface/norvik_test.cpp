// The interface frame without a database.
#include "interface/norvik.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "kb/auditdbsys.h"
#include "platform/ui_hooks.h"
#include "sql/norvik_sql.h"

namespace {

// The SQL back end, never opened: the frame's own operations need no database.
class FrameOnly : public CNorvikSql {
public:
    using CNorvik::CallUser;
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

// Without callbacks a status line is answered 1 and a message goes to the platform's own box,
// whose answer is returned; the callbacks, once installed, take over.
TEST_F(Frame, WithoutCallbacksCallUserAnswersOneAndMsgBoxShowsThePlatformBox) {
    EXPECT_EQ(norvik_.CallUser(1, reinterpret_cast<CallbackValue>("Upgrading")), 1);
    EXPECT_EQ(norvik_.CallUser(7, 0), 1);
    std::vector<std::pair<std::string, unsigned>> platformShown;
    platform::SetMessageBoxHook([&](const char* text, unsigned style) {
        platformShown.emplace_back(text, style);
        return 6;
    });
    EXPECT_EQ(norvik_.MsgBox("Upgrade?", 36), 6);
    EXPECT_EQ(platformShown, (std::vector<std::pair<std::string, unsigned>>{{"Upgrade?", 36}}));
    progress_.answer = 9;
    norvik_.SetCallback(&Recorder::Callback, reinterpret_cast<CallbackValue>(&progress_));
    norvik_.SetMsgBoxCallback([](const char*, unsigned, CallbackValue) { return 2; }, 0);
    EXPECT_EQ(norvik_.CallUser(1, 0), 9);
    EXPECT_EQ(norvik_.MsgBox("Again?", 36), 2);
    EXPECT_EQ(platformShown.size(), 1u);
    platform::SetMessageBoxHook(nullptr);
}

// Options in memory, so that the company name can be followed without a database.
class OptionsInMemory : public FrameOnly {
public:
    using FrameOnly::FrameOnly;
    CString GetOption(const char* key) override { return options[key]; }
    void SetOption(const char* key, const char* value) override {
        options[key] = value;
        ++writes;
    }
    std::map<std::string, std::string> options;
    int writes = 0;
};

// An empty option is filled from the registry once; later calls read the option alone.
TEST_F(Frame, CompanyNameIsReadFromTheRegistryOnceAndKeptAsOption) {
    const std::string path = ::testing::TempDir() + "norvik_registry_company.ini";
    auto writeRegistry = [&](const char* company) {
        std::ofstream(path) << "[" << CNorvik::REG_KEY_UNINSTALL << "]\nRegCompany=" << company << "\n";
    };
    writeRegistry("Example Ltd");
    const char* previous = std::getenv("NORVIK_REGISTRY");
    const std::string saved = previous ? previous : "";
    setenv("NORVIK_REGISTRY", path.c_str(), 1);
    OptionsInMemory norvik(kb_);
    EXPECT_EQ(norvik.GetCompanyName().str(), "Example Ltd");
    EXPECT_EQ(norvik.options["CompanyName"], "Example Ltd");
    writeRegistry("Changed Ltd");
    EXPECT_EQ(norvik.GetCompanyName().str(), "Example Ltd");
    EXPECT_EQ(norvik.GetIconName(0).str(), "Example Ltd");
    EXPECT_EQ(norvik.writes, 1);
    norvik.SetCompanyName("Own Ltd");
    EXPECT_EQ(norvik.GetCompanyName().str(), "Own Ltd");
    std::remove(path.c_str());
    if (previous)
        setenv("NORVIK_REGISTRY", saved.c_str(), 1);
    else
        unsetenv("NORVIK_REGISTRY");
}

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

}  // namespace
