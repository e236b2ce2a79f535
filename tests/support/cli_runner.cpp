// The norvik tool run through the shell, its output read back from files.
#include "support/cli_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace {

// One shell word, whatever it holds.
std::string Quoted(const std::string& word) {
    std::string out = "'";
    for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

ToolResult RunToolFrom(const std::filesystem::path& dir, const std::vector<std::string>& args, const std::string& input,
                       const std::string& prefix = "") {
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) about `" " + Quoted(a)`.
    std::string command = prefix;
    command.append(Quoted(NORVIK_CLI_PATH));
    for (const auto& a : args) command.append(" ").append(Quoted(a));
    command.append(" >").append(Quoted((dir / "out").string()));
    command.append(" 2>").append(Quoted((dir / "err").string())).append(" <").append(Quoted(input));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(dir / "out"), Slurp(dir / "err")};
}

}  // namespace

ToolResult RunTool(const std::filesystem::path& dir, const std::vector<std::string>& args) {
    return RunToolFrom(dir, args, "/dev/null");
}

ToolResult RunToolUnprivileged(const std::filesystem::path& dir, const std::vector<std::string>& args) {
    if (geteuid() != 0) return RunTool(dir, args);
    std::string prefix;
    // The driver list may lie in a folder only root can enter: the user gets a copy of it.
    if (const char* drivers = std::getenv("ODBCSYSINI")) {
        const std::filesystem::path copy = dir / "odbc";
        std::filesystem::create_directories(copy);
        for (const char* name : {"odbcinst.ini", "odbc.ini"})
            if (std::filesystem::exists(std::filesystem::path(drivers) / name))
                std::filesystem::copy_file(std::filesystem::path(drivers) / name, copy / name,
                                           std::filesystem::copy_options::overwrite_existing);
        prefix = "ODBCSYSINI=" + Quoted(copy.string()) + " ";
    }
    return RunToolFrom(dir, args, "/dev/null", prefix + "setpriv --reuid=65534 --regid=65534 --clear-groups ");
}

ToolResult RunToolWithInput(const std::filesystem::path& dir, const std::vector<std::string>& args,
                            const std::string& input) {
    return RunToolFrom(dir, args, WriteFile(dir / "in", input));
}

pid_t StartTool(const std::vector<std::string>& args, const std::string& out) {
    std::vector<std::string> words{NORVIK_CLI_PATH};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

int WaitTool(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::chrono::steady_clock::duration TimedRun(const std::vector<std::string>& args, const std::string& out) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitTool(StartTool(args, out)), 0);
    return std::chrono::steady_clock::now() - start;
}

bool KilledOrFinished(const std::vector<std::string>& args, std::chrono::steady_clock::duration span,
                      std::mt19937& random, const std::string& out) {
    const pid_t pid = StartTool(args, out);
    std::uniform_int_distribution<long> delay(0, std::chrono::duration_cast<std::chrono::microseconds>(span).count());
    std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
    kill(pid, SIGKILL);
    return WaitTool(pid) == 0;
}

int LineCount(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

std::string WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
    return path.string();
}

void ExpectRefused(const ToolResult& result, int exitCode, const std::string& errorPart) {
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_EQ(LineCount(result.err), 1) << result.err;
    EXPECT_NE(result.err.find(errorPart), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
}

ToolDir::ToolDir(const std::string& name)
    : path(std::filesystem::temp_directory_path() / (name + "_" + std::to_string(getpid()))) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
}

ToolDir::~ToolDir() { std::filesystem::remove_all(path); }
