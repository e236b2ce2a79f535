// The whole of a file as bytes, for the tests that compare what was written.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// The bytes of the file at `path`; empty when it cannot be read.
inline std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
