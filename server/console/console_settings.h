// The web console's limits and texts, each with its default in this one place.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

// Rows on one page of every paged listing.
constexpr std::size_t kConsolePageSize = 50;
// The highest page number a request may name (beyond it the request is refused before any read).
constexpr unsigned long kConsoleMaxPage = 1000000;
// Longest search text accepted; a longer one is refused (400).
constexpr std::size_t kConsoleMaxSearch = 200;
// Longest log-on form body accepted.
constexpr std::size_t kConsoleMaxFormBody = 4096;
// Days of site history shown by default.
constexpr int kConsoleHistoryDays = 7;

struct ConsoleSettings {
    // Where agents send their inventories, as the empty states tell the reader.
    std::string agentUrl = "http://HOST:PORT/";
    // How long a session lasts from its log-on, whatever it does.
    std::chrono::seconds sessionLifetime = std::chrono::hours(8);
    // Failed log-ons from one client allowed before each further attempt waits.
    int freeFailures = 3;
    // The wait after the first failure beyond the free ones; it doubles with each further one.
    std::chrono::seconds firstDelay = std::chrono::seconds(2);
    std::chrono::seconds longestDelay = std::chrono::minutes(5);
    // Sessions kept at once; the oldest goes when a log-on would pass it.
    std::size_t maxSessions = 10000;
    // Clients whose failed log-ons are remembered at once; past it, the ones no longer waiting
    // are forgotten, and while every one still waits a new client's failures are not counted.
    std::size_t maxFailingClients = 10000;
};
