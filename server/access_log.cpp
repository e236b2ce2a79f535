// The access log's line.
#include "server/access_log.h"

#include <ctime>

namespace {

std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

// `value` quoted, cut to 200 bytes, with quotes and control bytes replaced.
std::string Quoted(const std::string& value) {
    std::string text = "\"";
    for (std::size_t i = 0; i < value.size() && i < 200; ++i) {
        const unsigned char c = static_cast<unsigned char>(value[i]);
        text += (c < 0x20 || c == 0x7F || c == '"' || c == '\\') ? '?' : static_cast<char>(c);
    }
    return text + "\"";
}

}  // namespace

void AccessLog::Line(const std::string& text) {
    const std::lock_guard<std::mutex> hold(m_lock);
    std::fputs(text.c_str(), m_out);
    std::fflush(m_out);
}

void AccessLog::Write(const HttpRequest& request, const HttpResponse& response, long milliseconds) {
    Line(Now() + " " + request.client + " " + Quoted(request.method + " " + request.path) + " " +
         std::to_string(response.status) + " agent=" + Quoted(response.logAgent) +
         " device=" + Quoted(response.logDeviceId) + " outcome=" + Quoted(response.logOutcome) +
         " ms=" + std::to_string(milliseconds) + "\n");
}

void AccessLog::WriteRefusal(const std::string& client, const std::string& method, const std::string& path, int status,
                             const std::string& outcome) {
    Line(Now() + " " + client + " " + Quoted(method + " " + path) + " " + std::to_string(status) +
         " agent=\"\" device=\"\" outcome=" + Quoted(outcome) + " ms=0\n");
}
