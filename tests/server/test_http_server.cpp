// The browser test's stand-in for the server's edge.
#include "server/test_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

std::string Decoded(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            out += ' ';
        } else if (text[i] == '%' && i + 2 < text.size()) {
            out += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

const char* Reason(int status) {
    switch (status) {
        case 200: return "OK";
        case 303: return "See Other";
        case 400: return "Bad Request";
        case 401: return "Unauthorized";
        case 404: return "Not Found";
        default: return "Status";
    }
}

}  // namespace

TestHttpServer::TestHttpServer(Handler handler) : m_handler(std::move(handler)) {
    m_listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(m_listener, 16) != 0 || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("the test server cannot listen");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Run(); });
}

TestHttpServer::~TestHttpServer() {
    m_stop = true;
    m_thread.join();
    close(m_listener);
}

void TestHttpServer::Run() {
    while (!m_stop) {
        pollfd wait{m_listener, POLLIN, 0};
        if (poll(&wait, 1, 100) <= 0) continue;
        const int connection = accept(m_listener, nullptr, nullptr);
        if (connection < 0) continue;
        Serve(connection);
        close(connection);
    }
}

void TestHttpServer::Serve(int connection) {
    std::string data;
    char buffer[8192];
    std::size_t headEnd = std::string::npos;
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
        if (got <= 0) return;
        data.append(buffer, static_cast<std::size_t>(got));
    }
    HttpRequest request;
    request.client = "127.0.0.1";
    const std::string head = data.substr(0, headEnd);
    std::size_t lineEnd = head.find("\r\n");
    const std::string first = head.substr(0, lineEnd);
    const std::size_t space1 = first.find(' '), space2 = first.rfind(' ');
    request.method = first.substr(0, space1);
    std::string target = first.substr(space1 + 1, space2 - space1 - 1);
    const std::size_t question = target.find('?');
    if (question != std::string::npos) {
        std::string query = target.substr(question + 1);
        target.resize(question);
        std::size_t at = 0;
        while (at <= query.size()) {
            std::size_t end = query.find('&', at);
            if (end == std::string::npos) end = query.size();
            const std::string pair = query.substr(at, end - at);
            const std::size_t equals = pair.find('=');
            if (!pair.empty())
                request.query.emplace_back(Decoded(pair.substr(0, equals)),
                                           equals == std::string::npos ? "" : Decoded(pair.substr(equals + 1)));
            at = end + 1;
        }
    }
    request.path = Decoded(target);
    std::size_t contentLength = 0;
    while (lineEnd != std::string::npos && lineEnd < head.size()) {
        const std::size_t next = head.find("\r\n", lineEnd + 2);
        const std::string line =
            head.substr(lineEnd + 2, (next == std::string::npos ? head.size() : next) - lineEnd - 2);
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) {
            std::string value = line.substr(colon + 1);
            while (!value.empty() && value.front() == ' ') value.erase(0, 1);
            request.headers.emplace_back(line.substr(0, colon), value);
            if (strcasecmp(line.substr(0, colon).c_str(), "Content-Length") == 0)
                contentLength = std::strtoul(value.c_str(), nullptr, 10);
        }
        lineEnd = next;
    }
    request.body = data.substr(headEnd + 4);
    while (request.body.size() < contentLength) {
        const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
        if (got <= 0) return;
        request.body.append(buffer, static_cast<std::size_t>(got));
    }
    const HttpResponse response = m_handler(request);
    std::string out = "HTTP/1.1 " + std::to_string(response.status) + " " + Reason(response.status) + "\r\n";
    out += "Content-Type: " + response.contentType + "\r\n";
    out += "Content-Length: " + std::to_string(response.body.size()) + "\r\nConnection: close\r\n";
    for (const auto& [name, value] : response.headers) out += name + ": " + value + "\r\n";
    out += "\r\n";
    if (request.method != "HEAD") out += response.body;
    std::size_t sent = 0;
    while (sent < out.size()) {
        const ssize_t wrote = send(connection, out.data() + sent, out.size() - sent, MSG_NOSIGNAL);
        if (wrote <= 0) return;
        sent += static_cast<std::size_t>(wrote);
    }
}
