// Runs the norvik tool as a user would, from a shell with no terminal on stdin, and captures
// its exit code and everything it printed. For the test programs that define NORVIK_CLI_PATH.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

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

// The whole content of a file.
std::string Slurp(const std::filesystem::path& path);
