// Every limit and default of the server in one place: the edge, the agent protocols and the
// `serve` verb read them from here, and each refusal they cause has a test.
#pragma once

#include <cstddef>
#include <string>

// The defaults. Sizes are bytes, times seconds.
constexpr const char* kDefaultListen = "127.0.0.1:8080";
constexpr int kDefaultWorkers = 4;                           // threads, each with its own connection
constexpr std::size_t kDefaultMaxBodyBytes = 16u << 20;      // a request body as sent; more gets 413
constexpr std::size_t kDefaultMaxInflatedBytes = 64u << 20;  // a compressed body once inflated; more gets 413
constexpr int kDefaultReadTimeoutSeconds = 20;               // a client that sends nothing for this long is dropped
constexpr int kDefaultWriteTimeoutSeconds = 20;              // ... or reads nothing
constexpr int kDefaultKeepAliveSeconds = 5;                  // an idle kept-alive connection is closed
constexpr int kDefaultKeepAliveRequests = 100;               // requests on one connection before it is closed
constexpr int kDefaultMaxConnections = 64;                   // served and waiting; more get 503
constexpr int kDefaultDrainSeconds = 30;                     // SIGTERM: longest wait for requests in flight
constexpr int kDefaultRetryAfterSeconds = 300;               // Retry-After of a 503
constexpr int kDefaultPrologFreqHours = 24;                  // PROLOG_FREQ and GLPI "expiration"

// Site options the server reads when it starts.
constexpr const char* kOptionPrologFreq = "AgentPrologFreq";   // hours between agents' contacts
constexpr const char* kOptionAgentPassword = "AgentPassword";  // Argon2id hash of the agents' password

// The settings of one server, filled by `norvik serve` from its options and the site options.
struct ConsoleState;  // server/console/console.h

struct ServerSettings {
    std::string host = "127.0.0.1";
    int port = 8080;
    int workers = kDefaultWorkers;
    std::string connection;  // the ODBC connection string each worker opens
    std::size_t maxBodyBytes = kDefaultMaxBodyBytes;
    std::size_t maxInflatedBytes = kDefaultMaxInflatedBytes;
    int readTimeoutSeconds = kDefaultReadTimeoutSeconds;
    int writeTimeoutSeconds = kDefaultWriteTimeoutSeconds;
    int keepAliveSeconds = kDefaultKeepAliveSeconds;
    int keepAliveRequests = kDefaultKeepAliveRequests;
    int maxConnections = kDefaultMaxConnections;
    int drainSeconds = kDefaultDrainSeconds;
    int retryAfterSeconds = kDefaultRetryAfterSeconds;
    int prologFreqHours = kDefaultPrologFreqHours;
    // Agent authentication: off while `agentUser` is empty.
    std::string agentUser;
    std::string agentPasswordHash;  // Argon2id, from the site option kOptionAgentPassword
    // TLS: on when both are set.
    std::string tlsCert, tlsKey;
    // The console's sessions and settings, shared by every worker; null: the process's default.
    ConsoleState* console = nullptr;
};

// Splits "HOST:PORT" (or "[V6]:PORT") into `settings`; false with `error` set when it is not one.
bool ParseListen(const std::string& text, ServerSettings& settings, std::string& error);
