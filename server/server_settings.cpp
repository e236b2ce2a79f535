// Reading the listen address.
#include "server/server_settings.h"

#include <cstdlib>

bool ParseListen(const std::string& text, ServerSettings& settings, std::string& error) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
        error = "not HOST:PORT: " + text;
        return false;
    }
    std::string host = text.substr(0, colon);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    const std::string port = text.substr(colon + 1);
    char* end = nullptr;
    const long value = std::strtol(port.c_str(), &end, 10);
    if (*end != '\0' || value < 0 || value > 65535 || port.empty() || port[0] == '-' || port[0] == '+') {
        error = "not a port number: " + port;
        return false;
    }
    settings.host = host;
    settings.port = static_cast<int>(value);
    return true;
}
