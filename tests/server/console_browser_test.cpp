// The console in a real headless Chromium, served by `norvik serve` as a site runs it, on both
// engines: log on, the overview, a search, an asset, an application link; a hostile name runs
// nothing; an anonymous reader is sent to log on and a wrong password is refused. Screenshots of
// each page go to console-screenshots/ in the test's build folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "server/devtools_client.h"
#include "server/serve_process.h"
#include "support/db_tool_test.h"

namespace {

constexpr const char* kHostile = "<img src=x onerror=alert(1)>";

class ConsoleBrowserTest : public DbTool {
protected:
    std::string Shot(const char* name) {
        const std::filesystem::path folder =
            std::filesystem::current_path() / "console-screenshots" / EngineName(GetParam());
        std::filesystem::create_directories(folder);
        return (folder / name).string();
    }
};

TEST_P(ConsoleBrowserTest, LogOnSearchOpenAnAssetAndFollowAnApplication) {
    CNorvik& db = Db();
    const ULong anna = db.userAdd("anna", 1);
    ASSERT_EQ(db.userSetPassword(anna, "Secret1"), 1);
    ASSERT_EQ(db.EnableSecurity(1), 1);
    const ULong office = db.locAdd("Office", 0, 0, CIPAddress(), CIPAddress());
    const ULong pc = db.AddAsset("pc-browser", office, 0, 0, CTime());
    const ULong os = db.hwAdd(CNorvik::m_szOS, '|', CNorvik::kHwCategory);
    db.hwAdd(os, pc, 0x2, "Name", "Debian GNU/Linux 12");
    const ULong editor = db.applicationAdd("Acme", "Editor", 0);
    db.applicationAddInstance(pc, editor, "", "2.1", 0);
    const ULong hostile = db.AddAsset(kHostile, office, 0, 0, CTime());
    db.applicationAddInstance(hostile, db.applicationAdd(kHostile, kHostile, 0), "", kHostile, 0);

    ServerProcess server(dir_.path, On({"serve"}));
    ASSERT_NE(server.port, 0);
    const std::string site = "http://127.0.0.1:" + std::to_string(server.port);
    DevToolsBrowser browser;

    // Anonymous: sent to the log-on form, which keeps where the reader wanted to go.
    browser.Open(site + "/assets");
    ASSERT_TRUE(browser.WaitFor("location.pathname === '/login'")) << browser.Evaluate("location.href");
    browser.Screenshot(Shot("login.png"));
    const std::string fill =
        "document.querySelector('input[name=user]').value = 'anna';"
        "document.querySelector('input[name=password]').value = ";
    browser.Act(fill + "'wrong'; document.querySelector('form.login').submit()");
    ASSERT_TRUE(browser.WaitFor("document.querySelector('.error')"))
        << browser.Evaluate("location.href + ' ' + document.readyState + ' ' + document.body.innerText");
    EXPECT_EQ(browser.Evaluate("document.querySelector('.error').textContent"), "The user name or password is wrong.");
    browser.Act(fill + "'Secret1'; document.querySelector('form.login').submit()");
    ASSERT_TRUE(browser.WaitFor("location.pathname === '/assets'")) << browser.Evaluate("document.body.innerText");

    browser.Open(site + "/");
    ASSERT_TRUE(browser.WaitFor("document.querySelector('h1').textContent === 'Overview'"));
    EXPECT_NE(browser.Evaluate("document.body.innerText").find("2 assets"), std::string::npos);
    EXPECT_EQ(browser.Evaluate("document.querySelectorAll('svg rect.bar').length > 0"), "true");
    browser.Screenshot(Shot("overview.png"));

    browser.Open(site + "/assets");
    ASSERT_TRUE(browser.WaitFor("document.querySelector('input[name=q]')"));
    browser.Act(
        "document.querySelector('input[name=q]').value = 'pc-br'; document.querySelector('form.filters').submit()");
    ASSERT_TRUE(browser.WaitFor("location.search.includes('q=pc-br')"));
    EXPECT_EQ(browser.Evaluate("document.querySelectorAll('table.grid tbody tr').length === 1"), "true");
    browser.Screenshot(Shot("assets.png"));

    browser.Act("document.querySelector('table.grid tbody a').click()");
    ASSERT_TRUE(browser.WaitFor("location.pathname === '/assets/" + std::to_string(pc) + "'"));
    EXPECT_EQ(browser.Evaluate("document.querySelector('h1').textContent"), "pc-browser");
    EXPECT_NE(browser.Evaluate("document.body.innerText").find("Debian GNU/Linux 12"), std::string::npos);
    browser.Screenshot(Shot("asset.png"));

    browser.Act("document.querySelector('a[href^=\"/applications/\"]').click()");
    ASSERT_TRUE(browser.WaitFor("location.pathname === '/applications/" + std::to_string(editor) + "'"));
    EXPECT_EQ(browser.Evaluate("document.querySelector('h1').textContent"), "Acme Editor");
    browser.Screenshot(Shot("application.png"));

    // The hostile name is text on the page; no element came of it and no script ran.
    browser.Open(site + "/assets/" + std::to_string(hostile));
    ASSERT_TRUE(browser.WaitFor("document.querySelector('h1')"));
    EXPECT_EQ(browser.Evaluate("document.querySelector('h1').textContent"), kHostile);
    EXPECT_EQ(browser.Evaluate("document.querySelectorAll('img[src=x]').length === 0"), "true");
    browser.Screenshot(Shot("hostile.png"));
    EXPECT_FALSE(browser.SawDialog());
}

NORVIK_ON_BOTH_ENGINES(ConsoleBrowserTest);

}  // namespace
