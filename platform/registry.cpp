// The key-file registry: a linear scan of a small INI file on each read.
#include "platform/registry.h"

#include <strings.h>
#include <cstdlib>
#include <fstream>
#include <string>

namespace platform {
namespace {

std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return std::string();
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

}  // namespace

CString MachineRegistryPath() {
    const char* configured = std::getenv("NORVIK_REGISTRY");
    return CString(configured && *configured ? configured : "/etc/norvik/registry.ini");
}

bool ReadMachineRegistryString(const char* keyPath, const char* valueName, CString* value) {
    value->Empty();
    std::ifstream file(MachineRegistryPath().c_str());
    if (!file) return false;
    bool inKey = false;
    std::string line;
    while (std::getline(file, line)) {
        const std::string text = Trimmed(line);
        if (text.empty() || text[0] == ';' || text[0] == '#') continue;
        if (text.front() == '[' && text.back() == ']') {
            inKey = strcasecmp(text.substr(1, text.size() - 2).c_str(), keyPath) == 0;
            continue;
        }
        if (!inKey) continue;
        const auto equals = text.find('=');
        if (equals == std::string::npos) continue;
        if (strcasecmp(Trimmed(text.substr(0, equals)).c_str(), valueName) == 0) {
            *value = CString(Trimmed(text.substr(equals + 1)));
            return true;
        }
    }
    return false;
}

}  // namespace platform
