// One line per request, written whole under a lock so workers' lines never mix:
//
//   2026-11-25T18:30:00Z 127.0.0.1 "POST /" 200 agent="FusionInventory-Agent_v2.6"
//       device="pc-2026-11-25-10-00-00" outcome="new" ms=84
//
// (one line; quotes and control bytes inside the values are replaced).
#pragma once

#include <cstdio>
#include <mutex>
#include <string>

#include "server/http_message.h"

// Writes to `out` (stderr or a file the caller owns and keeps open); any thread.
class AccessLog {
public:
    explicit AccessLog(std::FILE* out) : m_out(out) {}
    void Write(const HttpRequest& request, const HttpResponse& response, long milliseconds);
    // A line for a connection refused before its request was read whole (413, over the cap).
    void WriteRefusal(const std::string& client, const std::string& method, const std::string& path, int status,
                      const std::string& outcome);

private:
    void Line(const std::string& text);
    std::FILE* m_out;
    std::mutex m_lock;
};
