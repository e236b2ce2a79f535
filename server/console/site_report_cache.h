// The site report the overview shows, kept for the whole server process. Building it reads every
// installation of the site: milliseconds on a small site, seconds at tens of thousands of
// computers, far more than a page may take. So a report is kept and shown until it is out of date,
// and a slow one is rebuilt away from the pages.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "report/site_report.h"

// Thread-safe. A report that took under kQuickBuild to build is built anew for every page. A
// slower one is kept until it is out of date: the server imported an inventory after its build
// began (Changed), or kMaxAge passed (other tools and servers change the site too). Get then shows
// the kept report and wakes the refresher, which builds at most once per kRefreshInterval; with
// no refresher running, Get builds it on the caller's connection.
class SiteReportCache {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kQuickBuild{250};
    static constexpr std::chrono::seconds kMaxAge{300};
    static constexpr std::chrono::seconds kRefreshInterval{30};

    // The two times may be given for tests.
    explicit SiteReportCache(Clock::duration quickBuild = kQuickBuild,
                             Clock::duration refreshInterval = kRefreshInterval)
        : m_quickBuild(quickBuild), m_refreshInterval(refreshInterval) {}

    // The report to show now, built with `db` (the caller's own connection) when none is kept
    // or the kept one is out of date and may be built on the spot. Never null.
    std::shared_ptr<const SiteReport> Get(CNorvik& db);
    // The site changed (an inventory was imported): the kept report is out of date.
    void Changed();

    // The refresher's loop, on a thread of its own: until Stop, calls `build` (which builds a
    // report on a connection of its own, or answers null when the build failed) at once and then
    // whenever Get found the kept report out of date and too slow to build on the spot, at most
    // once per refresh interval. While it runs, Get never builds a slow report itself, and waits
    // for the refresher's first report rather than build one alongside it.
    void RunRefresher(const std::function<std::shared_ptr<const SiteReport>()>& build);
    void Stop();

    // A report of the site as it stands, read with `db`.
    static std::shared_ptr<const SiteReport> Build(CNorvik& db);

private:
    // Keeps `report` unless a newer one (begun later) is kept already.
    void Keep(std::shared_ptr<const SiteReport> report, Clock::time_point began, Clock::duration took,
              std::uint64_t from);

    const Clock::duration m_quickBuild;
    const Clock::duration m_refreshInterval;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::shared_ptr<const SiteReport> m_report;
    Clock::time_point m_builtAt{};  // when the kept report's build began
    Clock::duration m_buildTime{};  // how long it took
    std::uint64_t m_changes = 0;    // Changed calls so far
    std::uint64_t m_builtFrom = 0;  // m_changes when the kept report's build began
    bool m_refresher = false;
    bool m_wanted = false;
    bool m_building = false;  // the refresher is building
    bool m_stopping = false;
};

// A thread that runs a cache's refresher on its own connection to `connection`, from
// construction to destruction.
class SiteReportRefresher {
public:
    SiteReportRefresher(SiteReportCache& cache, std::string connection);
    ~SiteReportRefresher();
    SiteReportRefresher(const SiteReportRefresher&) = delete;
    SiteReportRefresher& operator=(const SiteReportRefresher&) = delete;

private:
    SiteReportCache& m_cache;
    std::thread m_thread;
};
