// The console's sessions and the record of failed log-ons, kept in the server process's memory
// and shared by every worker.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "server/console/console_settings.h"

// Thread-safe: every member takes the one mutex. Time comes from `clock` (the steady clock
// unless a test gives its own), so sessions do not move with the wall clock.
class ConsoleSessions {
public:
    using Clock = std::chrono::steady_clock;
    explicit ConsoleSessions(const ConsoleSettings& settings, std::function<Clock::time_point()> clock = Clock::now);

    // A new session for `user`: its token (64 hex digits from the system's random source).
    std::string Open(const std::string& user);
    // The user of the session `token`; empty when there is none or it has expired.
    std::string UserOf(const std::string& token);
    void Close(const std::string& token);

    // How long `client` must still wait before its next log-on attempt; zero when it may try now.
    std::chrono::seconds WaitFor(const std::string& client);
    // A failed log-on from `client`: once its free failures are spent, each one makes the wait
    // longer (doubling up to the longest). A success forgets the client's failures.
    void Failed(const std::string& client);
    void Succeeded(const std::string& client);

private:
    struct Session {
        std::string user;
        Clock::time_point expires;
    };
    struct Failures {
        int count = 0;
        Clock::time_point until;
    };

    const ConsoleSettings m_settings;
    std::function<Clock::time_point()> m_clock;
    std::mutex m_mutex;
    std::map<std::string, Session> m_sessions;
    std::map<std::string, Failures> m_failures;
};
