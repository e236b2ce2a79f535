// Lookup over the generated table of embedded scripts, and the statement splitter.
#include "sql/schema_scripts.h"

#include <cctype>
#include <cstring>

#include "sql/schema_scripts_data.h"

const char* SchemaScript(const char* path) {
    for (std::size_t i = 0; i < kEmbeddedSchemaCount; ++i)
        if (std::strcmp(kEmbeddedSchema[i].path, path) == 0) return kEmbeddedSchema[i].text;
    return nullptr;
}

std::vector<std::string> SchemaScriptPaths() {
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < kEmbeddedSchemaCount; ++i) paths.emplace_back(kEmbeddedSchema[i].path);
    return paths;
}

namespace {

bool IsBlank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

}  // namespace

std::vector<std::string> SplitSqlScript(const char* script) {
    std::vector<std::string> statements;
    std::string current;
    const char* p = script ? script : "";
    while (*p) {
        if (p[0] == '-' && p[1] == '-') {
            while (*p && *p != '\n') ++p;
            continue;
        }
        if (*p == '\'') {
            current += *p++;
            while (*p) {
                current += *p;
                if (*p++ == '\'') {
                    if (*p != '\'') break;
                    current += *p++;
                }
            }
            continue;
        }
        if (*p == '$') {
            const char* end = p + 1;
            while (*end && (std::isalnum(static_cast<unsigned char>(*end)) || *end == '_')) ++end;
            if (*end == '$') {
                const std::string tag(p, static_cast<std::size_t>(end - p + 1));
                const char* close = std::strstr(end + 1, tag.c_str());
                const char* stop = close ? close + tag.size() : p + std::strlen(p);
                current.append(p, static_cast<std::size_t>(stop - p));
                p = stop;
                continue;
            }
        }
        if (*p == ';') {
            if (!IsBlank(current)) statements.push_back(current);
            current.clear();
            ++p;
            continue;
        }
        current += *p++;
    }
    if (!IsBlank(current)) statements.push_back(current);
    for (auto& statement : statements) {
        const auto first = statement.find_first_not_of(" \t\r\n");
        const auto last = statement.find_last_not_of(" \t\r\n");
        statement = statement.substr(first, last - first + 1);
    }
    return statements;
}
