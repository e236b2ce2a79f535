// Lookups in the request and response values.
#include "server/http_message.h"

#include <strings.h>

std::string HttpRequest::Header(const std::string& name) const {
    for (const auto& [key, value] : headers)
        if (strcasecmp(key.c_str(), name.c_str()) == 0) return value;
    return {};
}

std::string HttpRequest::Query(const std::string& name, const std::string& fallback) const {
    for (const auto& [key, value] : query)
        if (key == name) return value;
    return fallback;
}

void HttpResponse::SetHeader(const std::string& name, const std::string& value) {
    for (auto& [key, existing] : headers)
        if (strcasecmp(key.c_str(), name.c_str()) == 0) {
            existing = value;
            return;
        }
    headers.emplace_back(name, value);
}

HttpResponse TextResponse(int status, const std::string& text) {
    HttpResponse response;
    response.status = status;
    response.body = text + "\n";
    return response;
}
