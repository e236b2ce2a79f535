// Runs the norvik tool as a user would, from a shell with no terminal on stdin, and captures
// its exit code and everything it printed. For the test programs that define NORVIK_CLI_PATH.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "support/slurp.h"

struct ToolResult {
    int exitCode;  // -1 when the tool did not exit normally
    std::string out;
    std::string err;
};

// Runs the tool with `args` (each passed as one word); its output goes through files in `dir`.
ToolResult RunTool(const std::filesystem::path& dir, const std::vector<std::string>& args);
// As RunTool, with `input` on the tool's standard input (still no terminal).
ToolResult RunToolWithInput(const std::filesystem::path& dir, const std::vector<std::string>& args,
                            const std::string& input);

// As RunTool, as a user who owns nothing (nobody) when the tests run as root, for whom the
// permission bits of files hold: root may write a file of mode 0444.
ToolResult RunToolUnprivileged(const std::filesystem::path& dir, const std::vector<std::string>& args);

// Starts the tool with `args` (stdin and stderr on /dev/null, stdout into `out`); its process id.
pid_t StartTool(const std::vector<std::string>& args, const std::string& out = "/dev/null");
// Waits for `pid`; its exit code, or -1 when a signal ended it.
int WaitTool(pid_t pid);

// Runs the tool with `args` as StartTool does, expects it to succeed; how long it took.
std::chrono::steady_clock::duration TimedRun(const std::vector<std::string>& args,
                                             const std::string& out = "/dev/null");
// Starts the tool as StartTool does, kills it after a random part of `span`; whether it had finished.
bool KilledOrFinished(const std::vector<std::string>& args, std::chrono::steady_clock::duration span,
                      std::mt19937& random, const std::string& out = "/dev/null");

// The number of line ends in `text`.
int LineCount(const std::string& text);

// A failure as the tool reports it: `exitCode`, one line on stderr holding `errorPart`, nothing
// on stdout.
void ExpectRefused(const ToolResult& result, int exitCode, const std::string& errorPart = "");

// A fresh folder in the temporary folder, removed with the object.
struct ToolDir {
    explicit ToolDir(const std::string& name);
    ~ToolDir();
    const std::filesystem::path path;
};

// Writes `bytes` as the whole of the file at `path`; the path as text.
std::string WriteFile(const std::filesystem::path& path, const std::string& bytes);
