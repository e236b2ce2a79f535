// Checking an agent's Basic credentials.
#include "server/agent_auth.h"

#include <strings.h>

#include "server/server_settings.h"
#include "sql/password_hash.h"

bool DecodeBase64(const std::string& text, std::string& bytes) {
    bytes.clear();
    unsigned value = 0;
    int bits = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        int digit;
        if (c >= 'A' && c <= 'Z')
            digit = c - 'A';
        else if (c >= 'a' && c <= 'z')
            digit = c - 'a' + 26;
        else if (c >= '0' && c <= '9')
            digit = c - '0' + 52;
        else if (c == '+')
            digit = 62;
        else if (c == '/')
            digit = 63;
        else if (c == '=') {
            ++padding;
            continue;
        } else
            return false;
        if (padding > 0) return false;  // digits after padding
        value = (value << 6) | static_cast<unsigned>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>((value >> bits) & 0xFF);
        }
    }
    return padding <= 2 && (text.size() % 4 == 0);
}

namespace {

HttpResponse Refuse(const std::string& reason) {
    HttpResponse response = TextResponse(401, reason);
    response.SetHeader("WWW-Authenticate", std::string("Basic realm=\"") + kAgentRealm + "\"");
    response.logOutcome = "refused: " + reason;
    return response;
}

}  // namespace

std::optional<HttpResponse> CheckAgentCredentials(const HttpRequest& request, WorkerContext& context) {
    const ServerSettings& settings = context.settings;
    if (settings.agentUser.empty()) return std::nullopt;
    const std::string header = request.Header("Authorization");
    if (header.empty()) return Refuse("authentication required");
    if (!context.verifiedAgentAuthorization.empty() && header == context.verifiedAgentAuthorization)
        return std::nullopt;
    std::string credentials;
    if (strncasecmp(header.c_str(), "Basic ", 6) != 0 || !DecodeBase64(header.substr(6), credentials))
        return Refuse("not Basic credentials");
    const std::size_t colon = credentials.find(':');
    if (colon == std::string::npos || credentials.substr(0, colon) != settings.agentUser ||
        !VerifyPasswordHash(settings.agentPasswordHash.c_str(), credentials.substr(colon + 1).c_str()))
        return Refuse("wrong user or password");
    context.verifiedAgentAuthorization = header;
    return std::nullopt;
}
