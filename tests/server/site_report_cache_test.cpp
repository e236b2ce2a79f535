// The overview's kept report on both engines: a quick report is always current; a slow one is
// kept until the site changes, then rebuilt on the spot or, while a refresher runs, by the
// refresher while pages show the kept one.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "server/console/site_report_cache.h"
#include "support/engine_test.h"

namespace {

using namespace std::chrono_literals;

class SiteReportCacheTest : public EngineTest {
protected:
    ULong Add(const char* name) { return db_->AddAsset(name, 0, 0, 0, CTime()); }
};

TEST_P(SiteReportCacheTest, QuickReportIsBuiltForEveryPage) {
    SiteReportCache cache;  // the test site's report builds in far less than the quick limit
    Add("PC-1");
    EXPECT_EQ(cache.Get(*db_)->assets, 1u);
    Add("PC-2");
    EXPECT_EQ(cache.Get(*db_)->assets, 2u) << "no change was announced, and yet the page is current";
}

TEST_P(SiteReportCacheTest, SlowReportIsKeptUntilTheSiteChanges) {
    SiteReportCache cache(0ms);  // every build counts as slow
    Add("PC-1");
    const auto first = cache.Get(*db_);
    Add("PC-2");
    EXPECT_EQ(cache.Get(*db_), first) << "kept while nothing was announced";
    cache.Changed();
    EXPECT_EQ(cache.Get(*db_)->assets, 2u) << "no refresher: built on the spot";
}

TEST_P(SiteReportCacheTest, RefresherBuildsWhilePagesShowTheKeptReport) {
    SiteReportCache cache(0ms, 0s);
    auto refresherDb = MakeBackEnd();
    ASSERT_TRUE(OpenBackEnd(*refresherDb));
    std::atomic<int> builds{0};
    std::thread refresher([&] {
        cache.RunRefresher([&] {
            ++builds;
            return SiteReportCache::Build(*refresherDb);
        });
    });
    // Pages only count on a refresher that runs: on a loaded machine its thread starts late.
    for (int i = 0; i < 400 && builds.load() == 0; ++i) std::this_thread::sleep_for(5ms);
    Add("PC-1");
    // The first page waits for the refresher's first report instead of building its own.
    const auto first = cache.Get(*db_);
    Add("PC-2");
    cache.Changed();
    const auto shown = cache.Get(*db_);
    std::shared_ptr<const SiteReport> latest = shown;
    for (int i = 0; i < 200 && latest->assets != 2; ++i) {
        std::this_thread::sleep_for(25ms);
        latest = cache.Get(*db_);
    }
    cache.Stop();
    refresher.join();
    EXPECT_LE(first->assets, 1u);
    EXPECT_EQ(latest->assets, 2u) << "the refresher's report replaces the kept one";
    EXPECT_GE(builds.load(), 2);
    EXPECT_TRUE(messages_.empty()) << AllMessages();
}

NORVIK_ON_BOTH_ENGINES(SiteReportCacheTest);

}  // namespace
