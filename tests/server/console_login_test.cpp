// Log-on to the console on both engines: the open console, the redirect of an anonymous
// reader, one message for every refusal, the session cookie, expiry, log-off and the slowing
// of a client that keeps failing.
#include <gtest/gtest.h>

#include <string>

#include "server/console_test.h"

namespace {

class ConsoleLoginTest : public ConsoleTest {
protected:
    void SetUp() override {
        ConsoleTest::SetUp();
        const ULong anna = db_->userAdd("anna", 1);
        ASSERT_NE(anna, 0u);
        ASSERT_EQ(db_->userSetPassword(anna, "Secret'1"), 1);
        ASSERT_EQ(db_->EnableSecurity(1), 1);
    }
    HttpResponse LogOn(const std::string& user, const std::string& password, const std::string& next = "") {
        return Ask("POST", "/login", {},
                   "user=" + user + "&password=" + password + (next.empty() ? "" : "&next=" + next));
    }
    // Logs anna on and keeps her cookie for the next requests.
    void LogOnAsAnna() {
        const HttpResponse answer = LogOn("anna", "Secret%271");
        ASSERT_EQ(answer.status, 303) << answer.body;
        const std::string cookie = Header(answer, "Set-Cookie");
        cookie_ = cookie.substr(0, cookie.find(';'));
    }
};

TEST_P(ConsoleLoginTest, WithSecurityOffTheConsoleIsOpen) {
    ASSERT_EQ(db_->EnableSecurity(0), 1);
    EXPECT_EQ(Get("/assets").status, 200);
    EXPECT_EQ(Get("/api/assets").status, 200);
    const HttpResponse login = Get("/login");
    EXPECT_EQ(login.status, 303);
    EXPECT_EQ(Header(login, "Location"), "/");
}

TEST_P(ConsoleLoginTest, AnonymousReadersAreSentToLogOnAndTheApiAnswers401) {
    const HttpResponse page = Get("/assets", {{"q", "a b"}});
    EXPECT_EQ(page.status, 303);
    EXPECT_EQ(Header(page, "Location"), "/login?next=%2Fassets%3Fq%3Da%2520b");
    const HttpResponse api = Get("/api/assets");
    EXPECT_EQ(api.status, 401);
    EXPECT_EQ(api.body, "{\"error\":\"Log on first\"}");
    // The form, its style sheet and its script need no session.
    const HttpResponse form = Get("/login", {{"next", "/assets?q=x"}});
    EXPECT_EQ(form.status, 200);
    EXPECT_NE(form.body.find("name=\"user\""), std::string::npos);
    EXPECT_NE(form.body.find("name=\"password\""), std::string::npos);
    EXPECT_NE(Shown(form.body).find("value=\"/assets?q=x\""), std::string::npos);
    EXPECT_EQ(Get("/console/style.css").status, 200);
}

TEST_P(ConsoleLoginTest, WrongPasswordAndUnknownUserGetTheSameAnswer) {
    const HttpResponse wrong = LogOn("anna", "nope");
    const HttpResponse unknown = LogOn("nobody", "Secret%271");
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(unknown.status, 401);
    EXPECT_NE(wrong.body.find("The user name or password is wrong."), std::string::npos);
    EXPECT_EQ(wrong.body.find("anna"), unknown.body.find("nobody"));
    EXPECT_TRUE(Header(wrong, "Set-Cookie").empty());
    EXPECT_EQ(Get("/assets").status, 303);
}

TEST_P(ConsoleLoginTest, LogOnSetsAStrictSessionCookieThatOpensEveryPage) {
    const HttpResponse answer = LogOn("anna", "Secret%271", "%2Fassets%3Fq%3Dpc");
    EXPECT_EQ(answer.status, 303);
    EXPECT_EQ(Header(answer, "Location"), "/assets?q=pc");
    const std::string cookie = Header(answer, "Set-Cookie");
    EXPECT_EQ(cookie.rfind("norvik_session=", 0), 0u);
    for (const char* attribute : {"; HttpOnly", "; SameSite=Strict", "; Path=/", "; Max-Age=28800"})
        EXPECT_NE(cookie.find(attribute), std::string::npos) << attribute;
    EXPECT_EQ(cookie.find("Secure"), std::string::npos);  // plain HTTP here
    cookie_ = cookie.substr(0, cookie.find(';'));
    const HttpResponse page = Get("/assets");
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("<span>anna</span>"), std::string::npos);
    EXPECT_EQ(Header(page, "Cache-Control"), "no-store");
    EXPECT_EQ(Get("/api/assets").status, 200);
    // Another site's address is never followed after log-on.
    for (const char* next : {"%2F%2Fevil.example", "https%3A%2F%2Fevil.example", "%2F%5Cevil.example"})
        EXPECT_EQ(Header(LogOn("anna", "Secret%271", next), "Location"), "/") << next;
}

TEST_P(ConsoleLoginTest, SessionsExpireAndLogOffEndsThem) {
    LogOnAsAnna();
    now_ += std::chrono::hours(7);
    EXPECT_EQ(Get("/").status, 200);
    now_ += std::chrono::hours(1);
    EXPECT_EQ(Get("/").status, 303);

    LogOnAsAnna();
    const HttpResponse off = Ask("POST", "/logout");
    EXPECT_EQ(off.status, 303);
    EXPECT_NE(Header(off, "Set-Cookie").find("Max-Age=0"), std::string::npos);
    EXPECT_EQ(Get("/").status, 303);
    // A made-up token is no session.
    cookie_ = "norvik_session=" + std::string(64, 'a');
    EXPECT_EQ(Get("/api/assets").status, 401);
}

TEST_P(ConsoleLoginTest, RepeatedFailuresFromOneClientAreSlowed) {
    for (int i = 0; i < 3; ++i) EXPECT_EQ(LogOn("anna", "nope").status, 401);
    // The fourth failure makes the client wait 2 seconds, even for the right password.
    EXPECT_EQ(LogOn("anna", "nope").status, 401);
    const HttpResponse slowed = LogOn("anna", "Secret%271");
    EXPECT_EQ(slowed.status, 429);
    EXPECT_EQ(Header(slowed, "Retry-After"), "2");
    EXPECT_NE(slowed.body.find("Too many failed log-ons: try again in 2 seconds."), std::string::npos);
    // Another client is not held up.
    client_ = "192.0.2.8";
    EXPECT_EQ(LogOn("anna", "Secret%271").status, 303);
    client_ = "192.0.2.7";
    now_ += std::chrono::seconds(2);
    EXPECT_EQ(LogOn("anna", "nope").status, 401);
    EXPECT_EQ(Header(LogOn("anna", "nope"), "Retry-After"), "4");
    now_ += std::chrono::seconds(4);
    EXPECT_EQ(LogOn("anna", "Secret%271").status, 303);
    // A success forgets the failures.
    EXPECT_EQ(LogOn("anna", "nope").status, 401);
    EXPECT_EQ(LogOn("anna", "Secret%271").status, 303);
}

TEST_P(ConsoleLoginTest, PostsFromAnotherSiteAreRefused) {
    headers_ = {{"Host", "inventory.example:8080"}, {"Origin", "https://evil.example"}};
    EXPECT_EQ(LogOn("anna", "Secret%271").status, 403);
    headers_ = {{"Host", "inventory.example:8080"}, {"Origin", "http://inventory.example:8080"}};
    EXPECT_EQ(LogOn("anna", "Secret%271").status, 303);
    EXPECT_EQ(Ask("POST", "/login", {}, std::string(kConsoleMaxFormBody + 1, 'x')).status, 413);
}

NORVIK_ON_BOTH_ENGINES(ConsoleLoginTest);

}  // namespace
