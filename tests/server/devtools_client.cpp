// The browser test's DevTools client: the browser is started with --remote-debugging-port=0,
// names its endpoint on stderr, and a page target is made with PUT /json/new. Frames follow
// RFC 6455: text frames, masked from us, unmasked from the browser, possibly fragmented.
#include "server/devtools_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

int Connect(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot reach the browser's DevTools port");
    return fd;
}

void SendAll(int fd, const std::string& data) {
    std::size_t sent = 0;
    while (sent < data.size()) {
        const ssize_t wrote = send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (wrote <= 0) throw std::runtime_error("the browser closed the connection");
        sent += static_cast<std::size_t>(wrote);
    }
}

void ReceiveExactly(int fd, char* into, std::size_t size) {
    std::size_t got = 0;
    while (got < size) {
        pollfd wait{fd, POLLIN, 0};
        if (poll(&wait, 1, 20000) <= 0) throw std::runtime_error("the browser did not answer in time");
        const ssize_t n = recv(fd, into + got, size - got, 0);
        if (n <= 0) throw std::runtime_error("the browser closed the connection");
        got += static_cast<std::size_t>(n);
    }
}

// One HTTP request to the DevTools port; the answer's body.
std::string HttpBody(int port, const std::string& method, const std::string& target) {
    const int fd = Connect(port);
    SendAll(fd, method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                    "\r\nConnection: close\r\n\r\n");
    // The browser keeps the connection open: read the head, then as much body as it names.
    std::string answer;
    char c;
    while (answer.find("\r\n\r\n") == std::string::npos) {
        ReceiveExactly(fd, &c, 1);
        answer += c;
    }
    std::size_t length = 0;
    for (const char* name : {"Content-Length:", "content-length:"})
        if (const std::size_t at = answer.find(name); at != std::string::npos)
            length = std::strtoul(answer.c_str() + at + std::string_view(name).size(), nullptr, 10);
    std::string body(length, '\0');
    if (length) ReceiveExactly(fd, body.data(), length);
    close(fd);
    return body;
}

std::string Base64Decoded(const std::string& text) {
    static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned int bits = 0;
    int count = 0;
    for (const char c : text) {
        const std::size_t value = kAlphabet.find(c);
        if (value == std::string::npos) continue;
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return out;
}

std::string Quoted(const std::string& text) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
    return buffer.GetString();
}

}  // namespace

DevToolsBrowser::DevToolsBrowser(const std::string& chromium) {
    char profile[] = "/tmp/norvik-browser-XXXXXX";
    if (!mkdtemp(profile)) throw std::runtime_error("cannot make a browser profile folder");
    m_profile = profile;
    int pipeFds[2];
    if (pipe(pipeFds) != 0) throw std::runtime_error("cannot make a pipe");
    m_pid = fork();
    if (m_pid == 0) {
        dup2(pipeFds[1], 2);
        close(pipeFds[0]);
        const std::string userData = "--user-data-dir=" + m_profile;
        execl(chromium.c_str(), chromium.c_str(), "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
              "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync",
              "--remote-debugging-port=0", "--window-size=1280,900", userData.c_str(), "about:blank",
              static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipeFds[1]);
    // "DevTools listening on ws://127.0.0.1:PORT/devtools/browser/ID"
    std::string errors;
    int port = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (port == 0 && std::chrono::steady_clock::now() < deadline) {
        pollfd wait{pipeFds[0], POLLIN, 0};
        if (poll(&wait, 1, 500) <= 0) continue;
        char buffer[1024];
        const ssize_t n = read(pipeFds[0], buffer, sizeof buffer);
        if (n <= 0) break;
        errors.append(buffer, static_cast<std::size_t>(n));
        const std::size_t at = errors.find("ws://127.0.0.1:");
        if (at != std::string::npos && errors.find('/', at + 15) != std::string::npos)
            port = std::atoi(errors.c_str() + at + 15);
    }
    close(pipeFds[0]);
    if (port == 0) throw std::runtime_error("the browser did not start: " + errors.substr(0, 300));

    rapidjson::Document target;
    const std::string listing = HttpBody(port, "PUT", "/json/new?about:blank");
    target.Parse(listing.c_str());
    if (target.HasParseError() || !target.IsObject() || !target.HasMember("webSocketDebuggerUrl"))
        throw std::runtime_error("the browser gave no page: " + listing.substr(0, 200));
    const std::string url = target["webSocketDebuggerUrl"].GetString();
    const std::string path = url.substr(url.find('/', std::string("ws://").size()));

    m_socket = Connect(port);
    SendAll(m_socket, "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                          "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: "
                          "dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
    std::string handshake;
    char c;
    while (handshake.find("\r\n\r\n") == std::string::npos) {
        ReceiveExactly(m_socket, &c, 1);
        handshake += c;
    }
    if (handshake.find(" 101 ") == std::string::npos)
        throw std::runtime_error("the browser refused the WebSocket: " + handshake.substr(0, 100));
    Call("Page.enable");
}

DevToolsBrowser::~DevToolsBrowser() {
    if (m_socket >= 0) close(m_socket);
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        int status = 0;
        for (int i = 0; i < 50 && waitpid(m_pid, &status, WNOHANG) == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (waitpid(m_pid, &status, WNOHANG) == 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, &status, 0);
        }
    }
    std::error_code ignored;
    if (!m_profile.empty()) std::filesystem::remove_all(m_profile, ignored);
}

void DevToolsBrowser::Send(const std::string& text) {
    std::string frame;
    frame += static_cast<char>(0x81);
    if (text.size() < 126) {
        frame += static_cast<char>(0x80 | text.size());
    } else if (text.size() < 65536) {
        frame += static_cast<char>(0x80 | 126);
        frame += static_cast<char>(text.size() >> 8);
        frame += static_cast<char>(text.size() & 0xFF);
    } else {
        frame += static_cast<char>(0x80 | 127);
        for (int shift = 56; shift >= 0; shift -= 8) frame += static_cast<char>((text.size() >> shift) & 0xFF);
    }
    static std::mt19937 random(12345);
    char mask[4];
    for (char& m : mask) m = static_cast<char>(random() & 0xFF);
    frame.append(mask, 4);
    for (std::size_t i = 0; i < text.size(); ++i) frame += static_cast<char>(text[i] ^ mask[i % 4]);
    SendAll(m_socket, frame);
}

std::string DevToolsBrowser::Receive() {
    std::string message;
    for (;;) {
        unsigned char head[2];
        ReceiveExactly(m_socket, reinterpret_cast<char*>(head), 2);
        unsigned long long length = head[1] & 0x7F;
        if (length == 126 || length == 127) {
            unsigned char extended[8];
            const int size = length == 126 ? 2 : 8;
            ReceiveExactly(m_socket, reinterpret_cast<char*>(extended), static_cast<std::size_t>(size));
            length = 0;
            for (int i = 0; i < size; ++i) length = (length << 8) | extended[i];
        }
        std::string payload(length, '\0');
        if (length) ReceiveExactly(m_socket, payload.data(), length);
        const int opcode = head[0] & 0x0F;
        if (opcode == 0x8) throw std::runtime_error("the browser closed the WebSocket");
        if (opcode == 0x9 || opcode == 0xA) continue;  // ping, pong
        message += payload;
        if (head[0] & 0x80) return message;
    }
}

std::string DevToolsBrowser::Call(const std::string& method, const std::string& params) {
    const int id = m_nextId++;
    Send("{\"id\":" + std::to_string(id) + ",\"method\":\"" + method + "\",\"params\":" + params + "}");
    for (;;) {
        const std::string text = Receive();
        rapidjson::Document message;
        message.Parse(text.c_str(), text.size());
        if (message.HasParseError() || !message.IsObject()) continue;
        if (message.HasMember("method")) {
            if (std::string(message["method"].GetString()) == "Page.javascriptDialogOpening") {
                m_sawDialog = true;
                Send("{\"id\":" + std::to_string(m_nextId++) +
                     ",\"method\":\"Page.handleJavaScriptDialog\",\"params\":{\"accept\":true}}");
            }
            continue;
        }
        if (!message.HasMember("id") || message["id"].GetInt() != id) continue;
        if (message.HasMember("error")) throw std::runtime_error(method + " failed: " + text.substr(0, 300));
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        message["result"].Accept(writer);
        return buffer.GetString();
    }
}

std::string DevToolsBrowser::Evaluate(const std::string& expression) {
    const std::string result =
        Call("Runtime.evaluate", "{\"expression\":" + Quoted(expression) + ",\"returnByValue\":true}");
    rapidjson::Document document;
    document.Parse(result.c_str());
    if (document.HasParseError() || !document.HasMember("result")) return {};
    const rapidjson::Value& value = document["result"];
    if (!value.HasMember("value")) return {};
    const rapidjson::Value& v = value["value"];
    if (v.IsString()) return v.GetString();
    if (v.IsBool()) return v.GetBool() ? "true" : "false";
    if (v.IsNumber()) return std::to_string(v.GetDouble());
    return {};
}

void DevToolsBrowser::Act(const std::string& script) { Evaluate("window.__norvikOld = true; " + script + "; true"); }

void DevToolsBrowser::Open(const std::string& url) {
    Evaluate("window.__norvikOld = true");
    Call("Page.navigate", "{\"url\":" + Quoted(url) + "}");
    WaitFor("true");
}

bool DevToolsBrowser::WaitFor(const std::string& expression) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        // A page still marked is the one before a navigation: wait for the new one.
        if (Evaluate("!window.__norvikOld && document.readyState === 'complete' && !!(" + expression + ")") == "true")
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

void DevToolsBrowser::Screenshot(const std::string& path) {
    const std::string result = Call("Page.captureScreenshot", "{\"format\":\"png\"}");
    rapidjson::Document document;
    document.Parse(result.c_str());
    std::ofstream(path, std::ios::binary) << Base64Decoded(document["data"].GetString());
}
