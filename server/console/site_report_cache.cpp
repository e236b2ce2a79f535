// Keeping the site report: when a report may be built on the spot, and the refresher thread.
#include "server/console/site_report_cache.h"

#include "kb/auditdbsys.h"
#include "platform/ui_hooks.h"
#include "sql/norvik_sql.h"

std::shared_ptr<const SiteReport> SiteReportCache::Build(CNorvik& db) {
    return std::make_shared<const SiteReport>(BuildSiteReport(db, CTime::GetCurrentTime()));
}

void SiteReportCache::Keep(std::shared_ptr<const SiteReport> report, Clock::time_point began, Clock::duration took,
                           std::uint64_t from) {
    if (m_report && began < m_builtAt) return;
    m_report = std::move(report);
    m_builtAt = began;
    m_buildTime = took;
    m_builtFrom = from;
}

std::shared_ptr<const SiteReport> SiteReportCache::Get(CNorvik& db) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_report && m_refresher) m_wake.wait(lock, [this] { return m_report || !m_building || m_stopping; });
    if (m_report && m_buildTime >= m_quickBuild) {
        const bool outOfDate = m_builtFrom != m_changes || Clock::now() - m_builtAt > kMaxAge;
        if (!outOfDate) return m_report;
        if (m_refresher) {
            m_wanted = true;
            m_wake.notify_all();
            return m_report;
        }
    }
    const std::uint64_t from = m_changes;
    const Clock::time_point began = Clock::now();
    lock.unlock();
    std::shared_ptr<const SiteReport> report = Build(db);
    lock.lock();
    Keep(report, began, Clock::now() - began, from);
    return report;
}

void SiteReportCache::Changed() {
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_changes;
}

void SiteReportCache::RunRefresher(const std::function<std::shared_ptr<const SiteReport>()>& build) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_refresher = true;
    m_wanted = !m_report;
    Clock::time_point lastTry{};
    for (;;) {
        m_wake.wait(lock, [this] { return m_wanted || m_stopping; });
        if (m_stopping) break;
        // A busy site changes with every inventory: a slow report is built at most once an
        // interval.
        const Clock::time_point earliest = lastTry + m_refreshInterval;
        if (lastTry != Clock::time_point{} && m_wake.wait_until(lock, earliest, [this] { return m_stopping; })) break;
        m_wanted = false;
        m_building = true;
        const std::uint64_t from = m_changes;
        const Clock::time_point began = Clock::now();
        lastTry = began;
        lock.unlock();
        std::shared_ptr<const SiteReport> report = build();
        lock.lock();
        if (report) Keep(report, began, Clock::now() - began, from);
        m_building = false;
        m_wake.notify_all();
    }
    m_refresher = false;
    m_building = false;
    m_wake.notify_all();
}

void SiteReportCache::Stop() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopping = true;
    m_wake.notify_all();
}

namespace {

// The refresher's connection: opened when a build begins (again after a failure: a lost server
// is tried at the next build), its messages kept off the server's output; a build during which
// any was reported is not kept.
class RefresherConnection {
public:
    explicit RefresherConnection(std::string connection) : m_connection(std::move(connection)), m_db(m_kb) {}
    ~RefresherConnection() {
        if (m_db.IsDbOpen()) m_db.CloseDB();
    }
    std::shared_ptr<const SiteReport> Build() {
        m_failed = false;
        m_db.SetMsgBoxCallback(Quiet, reinterpret_cast<CallbackValue>(this));
        if (!m_db.IsDbOpen() && m_db.Open(m_connection.c_str(), nullptr, 0x4) == 0) return nullptr;
        std::shared_ptr<const SiteReport> report = SiteReportCache::Build(m_db);
        if (!m_failed) return report;
        m_db.CloseDB();
        return nullptr;
    }

private:
    static int Quiet(const char*, unsigned int style, CallbackValue context) {
        reinterpret_cast<RefresherConnection*>(context)->m_failed = true;
        return (style & 0x0F) == platform::kMbYesNo ? platform::kIdNo : platform::kIdOk;
    }
    std::string m_connection;
    CAuditDBSys m_kb;
    CNorvikSql m_db;
    bool m_failed = false;
};

}  // namespace

SiteReportRefresher::SiteReportRefresher(SiteReportCache& cache, std::string connection) : m_cache(cache) {
    m_thread = std::thread([this, connection = std::move(connection)] {
        RefresherConnection link(connection);
        m_cache.RunRefresher([&link] { return link.Build(); });
    });
}

SiteReportRefresher::~SiteReportRefresher() {
    m_cache.Stop();
    if (m_thread.joinable()) m_thread.join();
}
