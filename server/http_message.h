// The request and response values that cross the server layer: the HTTP library's objects are
// turned into these at the edge, handlers see only these, and the edge writes the response back.
#pragma once

#include <string>
#include <utility>
#include <vector>

// One request as the edge received it; the body is as sent (still compressed, when it was).
struct HttpRequest {
    std::string method;                                        // "GET", "POST", ...
    std::string path;                                          // the decoded path, without the query ("/assets/12")
    std::vector<std::pair<std::string, std::string>> query;    // decoded, in the order given
    std::vector<std::pair<std::string, std::string>> headers;  // names as sent
    std::string body;
    std::string client;  // the peer's address
    bool tls = false;    // the request came over TLS

    // The first header named `name` (compared without case), or an empty text.
    std::string Header(const std::string& name) const;
    // The first query parameter named `name`, or `fallback` when there is none.
    std::string Query(const std::string& name, const std::string& fallback = {}) const;
};

// What a handler answers. The edge adds Content-Length and Date; nothing else is added for it.
struct HttpResponse {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    // What the access log says of this request beside the method, path and status.
    std::string logAgent;     // the agent's name and version, when an agent posted
    std::string logDeviceId;  // the agent's device id, when it gave one
    std::string logOutcome;   // "new", "unchanged", "prolog", "refused: reason" ...

    void SetHeader(const std::string& name, const std::string& value);
};

// A plain-text response with `status` and one line of `text`.
HttpResponse TextResponse(int status, const std::string& text);
