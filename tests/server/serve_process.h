// A `norvik serve` process of the tests, as a site starts it.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "support/cli_runner.h"

// A `norvik serve` process on a free loopback port, stopped (SIGTERM) with the object. Each
// one of a test writes files of its own in `dir` (serve.out, access.log, then serve-2.out ...).
class ServerProcess {
public:
    ServerProcess(const std::filesystem::path& dir, std::vector<std::string> args) {
        // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on "-" + text.
        std::string suffix;
        if (++Started(dir) > 1) suffix.append("-").append(std::to_string(Started(dir)));
        m_out = dir / std::string("serve").append(suffix).append(".out");
        m_log = (dir / std::string("access").append(suffix).append(".log")).string();
        args.insert(args.end(), {"--listen", "127.0.0.1:0", "--log", m_log});
        m_pid = StartTool(args, m_out.string());
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            const std::string out = Slurp(m_out);
            const std::size_t at = out.find("listening on ");
            if (at != std::string::npos && out.find('\n', at) != std::string::npos) {
                url = out.substr(at + 13, out.find('\n', at) - at - 13);
                port = std::stoi(url.substr(url.rfind(':') + 1));
                return;
            }
            if (::kill(m_pid, 0) != 0) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        ADD_FAILURE() << "the server did not start: " << Slurp(m_out);
    }
    ~ServerProcess() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGTERM);
            WaitTool(m_pid);
        }
    }
    // Sends `signal`; the exit code (-1 for a signal) once it ended.
    int Signal(int signal) {
        ::kill(m_pid, signal);
        const int code = WaitTool(m_pid);
        m_pid = -1;
        return code;
    }
    std::string Log() const { return Slurp(m_log); }
    pid_t Pid() const { return m_pid; }

    std::string url;
    int port = 0;

private:
    static int& Started(const std::filesystem::path& dir) {
        static std::map<std::filesystem::path, int> started;
        return started[dir];
    }

    std::filesystem::path m_out;
    std::string m_log;
    pid_t m_pid = -1;
};
