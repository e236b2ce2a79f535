// The norvik tool run through the shell, its output read back from files.
#include "support/cli_runner.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// One shell word, whatever it holds.
std::string Quoted(const std::string& word) {
    std::string out = "'";
    for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

}  // namespace

ToolResult RunTool(const std::filesystem::path& dir, const std::vector<std::string>& args) {
    std::string command = Quoted(NORVIK_CLI_PATH);
    for (const auto& a : args) command += " " + Quoted(a);
    command += " >" + Quoted((dir / "out").string()) + " 2>" + Quoted((dir / "err").string()) + " </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(dir / "out"), ReadFile(dir / "err")};
}

int LineCount(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }
