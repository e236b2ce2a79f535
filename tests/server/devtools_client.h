// Headless Chromium driven through its DevTools protocol, for the browser test: one browser
// with a fresh profile, one page, commands sent over a small WebSocket client of our own.
#pragma once

#include <sys/types.h>

#include <string>

class DevToolsBrowser {
public:
    // Starts `chromium` headless on a fresh profile and opens one blank page. Throws
    // std::runtime_error with one line when the browser does not start or cannot be reached.
    explicit DevToolsBrowser(const std::string& chromium = "/usr/bin/chromium");
    // Ends the browser (its process alone) and removes the profile.
    ~DevToolsBrowser();
    DevToolsBrowser(const DevToolsBrowser&) = delete;
    DevToolsBrowser& operator=(const DevToolsBrowser&) = delete;

    // Sends one command with its parameters (a JSON object's text) and returns the result's
    // JSON text; throws on an error answer or when no answer comes within 20 seconds.
    std::string Call(const std::string& method, const std::string& params = "{}");
    // The value of `expression` evaluated in the page, as text ("true", a string's characters).
    std::string Evaluate(const std::string& expression);
    // Opens `url` and waits until the page has loaded.
    void Open(const std::string& url);
    // Runs `script` in the page, which is expected to leave it (a click, a form's submit); the
    // next WaitFor then waits for the page that follows.
    void Act(const std::string& script);
    // Waits (up to 10 seconds) until `expression` is true in a loaded page; false when it never is.
    bool WaitFor(const std::string& expression);
    // Saves a PNG screenshot of the page at `path`.
    void Screenshot(const std::string& path);
    // Whether the page ever tried to open a dialog (alert, confirm, prompt) since the start.
    bool SawDialog() const { return m_sawDialog; }

private:
    void Send(const std::string& text);
    std::string Receive();

    pid_t m_pid = -1;
    int m_socket = -1;
    int m_nextId = 1;
    bool m_sawDialog = false;
    std::string m_profile;
};
