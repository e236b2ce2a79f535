// The fixture of the console's tests: a fresh database per engine and requests answered by the
// console's handlers directly, without a socket.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "server/console/console.h"
#include "support/engine_test.h"

class ConsoleTest : public EngineTest {
protected:
    ConsoleTest() : state_(Settings(), [this] { return now_; }) {}

    // A page must never hide a failed statement behind an empty listing.
    bool EndsQuiet() const override { return true; }

    static ConsoleSettings Settings() {
        ConsoleSettings settings;
        settings.agentUrl = "http://inventory.example:8080/";
        return settings;
    }

    // The console's answer to `method path` with `query` and `body`; fails the test when the
    // console does not take the path.
    HttpResponse Ask(const std::string& method, const std::string& path,
                     std::vector<std::pair<std::string, std::string>> query = {}, std::string body = {}) {
        HttpRequest request;
        request.method = method;
        request.path = path;
        request.query = std::move(query);
        request.body = std::move(body);
        request.client = client_;
        request.headers = headers_;
        if (!cookie_.empty()) request.headers.emplace_back("Cookie", cookie_);
        HttpResponse response;
        EXPECT_TRUE(HandleConsole(request, *db_, state_, response)) << method << " " << path;
        return response;
    }
    HttpResponse Get(const std::string& path, std::vector<std::pair<std::string, std::string>> query = {}) {
        return Ask("GET", path, std::move(query));
    }
    // Whether the console takes `method path` at all.
    bool Takes(const std::string& method, const std::string& path,
               std::vector<std::pair<std::string, std::string>> query = {}) {
        HttpRequest request;
        request.method = method;
        request.path = path;
        request.query = std::move(query);
        HttpResponse response;
        return HandleConsole(request, *db_, state_, response);
    }

    // `html` with the one entity the templates write for a plain "/" turned back, so that texts
    // holding one read as the reader sees them.
    static std::string Shown(std::string html) {
        std::string shown;
        shown.reserve(html.size());
        std::size_t from = 0;
        for (std::size_t at = html.find("&#x2F;"); at != std::string::npos; at = html.find("&#x2F;", from)) {
            shown.append(html, from, at - from).push_back('/');
            from = at + 6;
        }
        return shown.append(html, from, std::string::npos);
    }

    static std::string Header(const HttpResponse& response, const std::string& name) {
        for (const auto& [key, value] : response.headers)
            if (key == name) return value;
        return {};
    }

    std::chrono::steady_clock::time_point now_ = std::chrono::steady_clock::time_point(std::chrono::hours(1000));
    ConsoleState state_;
    std::string client_ = "192.0.2.7";
    std::string cookie_;
    std::vector<std::pair<std::string, std::string>> headers_;
};
