// The console's value parsing and formatting, from tables of inputs and expected outputs.
#include <gtest/gtest.h>

#include <string>

#include "server/console/console_render.h"
#include "server/console/console_sessions.h"

namespace {

TEST(ConsoleRender, IdentifiersArePlainPositiveDecimals) {
    const struct {
        const char* text;
        ULong expected;  // 0: refused
    } cases[] = {{"1", 1},          {"42", 42},  {"2147483647", 2147483647},
                 {"2147483648", 0}, {"0", 0},    {"", 0},
                 {"-1", 0},         {"+1", 0},   {" 1", 0},
                 {"1 ", 0},         {"0x10", 0}, {"99999999999", 0}};
    for (const auto& c : cases) EXPECT_EQ(ParseId(c.text).value_or(0), c.expected) << c.text;
}

TEST(ConsoleRender, InvalidUtf8BecomesReplacementCharacters) {
    const struct {
        std::string in;
        std::string out;
    } cases[] = {{"plain", "plain"},
                 {"caf\xC3\xA9", "caf\xC3\xA9"},
                 {"caf\xE9", "caf\xEF\xBF\xBD"},                            // Latin-1
                 {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},                  // overlong "/"
                 {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},  // a surrogate
                 {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
                 {"\xF0\x9F\x98", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}};  // cut short
    for (const auto& c : cases) EXPECT_EQ(ValidUtf8(c.in), c.out) << c.in;
}

// Counts and links are pinned on the pages themselves (console_pages_test).
TEST(ConsoleRender, AnUnsetTimeIsShownAsNever) { EXPECT_EQ(FormatTime(CTime()), "never"); }

TEST(ConsoleRender, TemplatesEscapeEveryTextTheyWrite) {
    const std::string page = RenderTemplate("message", mstch::map{{"message", std::string("<b a='1\">&")}});
    EXPECT_NE(page.find("&lt;b a=&#39;1&quot;&gt;&amp;"), std::string::npos);
}

TEST(ConsoleSessions, SessionsAreRandomAndKeptWithinTheirLimit) {
    auto now = ConsoleSessions::Clock::time_point(std::chrono::hours(1));
    ConsoleSettings settings;
    settings.maxSessions = 2;
    ConsoleSessions sessions(settings, [&now] { return now; });
    const std::string first = sessions.Open("a");
    now += std::chrono::seconds(1);
    const std::string second = sessions.Open("b");
    now += std::chrono::seconds(1);
    EXPECT_EQ(first.size(), 64u);
    EXPECT_NE(first, second);
    EXPECT_EQ(sessions.UserOf(first), "a");
    // A third session pushes out the one that ends first.
    const std::string third = sessions.Open("c");
    EXPECT_EQ(sessions.UserOf(first), "");
    EXPECT_EQ(sessions.UserOf(second), "b");
    EXPECT_EQ(sessions.UserOf(third), "c");
    EXPECT_EQ(sessions.UserOf(""), "");
}

TEST(ConsoleSessions, TheRecordOfFailingClientsStaysWithinItsLimit) {
    auto now = ConsoleSessions::Clock::time_point(std::chrono::hours(1));
    ConsoleSettings settings;
    settings.maxFailingClients = 2;
    settings.freeFailures = 0;
    ConsoleSessions sessions(settings, [&now] { return now; });
    sessions.Failed("a");
    sessions.Failed("b");
    sessions.Failed("c");  // both others still wait: not counted
    EXPECT_EQ(sessions.WaitFor("c").count(), 0);
    EXPECT_EQ(sessions.WaitFor("a").count(), 2);
    now += std::chrono::seconds(3);
    sessions.Failed("c");  // the others' waits are over: forgotten, and c counts
    EXPECT_EQ(sessions.WaitFor("c").count(), 2);
}

}  // namespace
