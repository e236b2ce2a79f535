// Sessions and failed log-ons under one mutex.
#include "server/console/console_sessions.h"

#include <sodium.h>

#include <algorithm>

ConsoleSessions::ConsoleSessions(const ConsoleSettings& settings, std::function<Clock::time_point()> clock)
    : m_settings(settings), m_clock(std::move(clock)) {}

std::string ConsoleSessions::Open(const std::string& user) {
    unsigned char bytes[32];
    randombytes_buf(bytes, sizeof bytes);
    static const char kHex[] = "0123456789abcdef";
    std::string token;
    for (unsigned char b : bytes) {
        token += kHex[b >> 4];
        token += kHex[b & 15];
    }
    std::lock_guard lock(m_mutex);
    const Clock::time_point now = m_clock();
    std::erase_if(m_sessions, [now](const auto& entry) { return entry.second.expires <= now; });
    if (m_sessions.size() >= m_settings.maxSessions) {
        const auto oldest = std::min_element(m_sessions.begin(), m_sessions.end(), [](const auto& a, const auto& b) {
            return a.second.expires < b.second.expires;
        });
        m_sessions.erase(oldest);
    }
    m_sessions[token] = Session{user, now + m_settings.sessionLifetime};
    return token;
}

std::string ConsoleSessions::UserOf(const std::string& token) {
    std::lock_guard lock(m_mutex);
    const auto found = m_sessions.find(token);
    if (found == m_sessions.end()) return {};
    if (found->second.expires <= m_clock()) {
        m_sessions.erase(found);
        return {};
    }
    return found->second.user;
}

void ConsoleSessions::Close(const std::string& token) {
    std::lock_guard lock(m_mutex);
    m_sessions.erase(token);
}

std::chrono::seconds ConsoleSessions::WaitFor(const std::string& client) {
    std::lock_guard lock(m_mutex);
    const auto found = m_failures.find(client);
    if (found == m_failures.end()) return std::chrono::seconds(0);
    const Clock::time_point now = m_clock();
    if (found->second.until <= now) return std::chrono::seconds(0);
    // Rounded up, so a wait of a fraction of a second is not shown as none.
    return std::chrono::ceil<std::chrono::seconds>(found->second.until - now);
}

void ConsoleSessions::Failed(const std::string& client) {
    std::lock_guard lock(m_mutex);
    const Clock::time_point now = m_clock();
    // Clients met once and not waiting any more are forgotten before the record grows past its
    // limit, so many addresses cannot fill the server's memory.
    if (m_failures.size() >= m_settings.maxFailingClients)
        std::erase_if(m_failures, [now](const auto& entry) { return entry.second.until <= now; });
    if (m_failures.size() >= m_settings.maxFailingClients && !m_failures.count(client)) return;
    Failures& failures = m_failures[client];
    ++failures.count;
    const int beyond = failures.count - m_settings.freeFailures;
    if (beyond <= 0) return;
    std::chrono::seconds wait = m_settings.firstDelay;
    for (int i = 1; i < beyond && wait < m_settings.longestDelay; ++i) wait *= 2;
    failures.until = now + std::min(wait, m_settings.longestDelay);
}

void ConsoleSessions::Succeeded(const std::string& client) {
    std::lock_guard lock(m_mutex);
    m_failures.erase(client);
}
