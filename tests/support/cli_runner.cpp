// The norvik tool run through the shell, its output read back from files.
#include "support/cli_runner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

// One shell word, whatever it holds.
std::string Quoted(const std::string& word) {
    std::string out = "'";
    for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

ToolResult RunToolFrom(const std::filesystem::path& dir, const std::vector<std::string>& args,
                       const std::string& input) {
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) about `" " + Quoted(a)`.
    std::string command = Quoted(NORVIK_CLI_PATH);
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

ToolResult RunToolWithInput(const std::filesystem::path& dir, const std::vector<std::string>& args,
                            const std::string& input) {
    const std::filesystem::path in = dir / "in";
    std::ofstream(in, std::ios::binary) << input;
    return RunToolFrom(dir, args, in.string());
}

int LineCount(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
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
