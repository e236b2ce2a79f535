// A small scanner over SQL literals: quoted texts, numbers and bare words.
#include "sql/sql_arguments.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

bool ParseSqlArguments(const char* text, std::vector<CString>* arguments) {
    arguments->clear();
    const char* p = text ? text : "";
    while (*p == ' ') ++p;
    if (!*p) return true;
    for (;;) {
        while (*p == ' ') ++p;
        std::string value;
        if (*p == '\'') {
            ++p;
            for (;;) {
                if (!*p) return false;
                if (*p == '\'') {
                    if (p[1] != '\'') break;
                    ++p;
                }
                value += *p++;
            }
            ++p;
            while (*p == ' ') ++p;
        } else {
            while (*p && *p != ',') value += *p++;
            while (!value.empty() && value.back() == ' ') value.pop_back();
        }
        arguments->emplace_back(std::move(value));
        if (!*p) return true;
        if (*p != ',') return false;
        ++p;
    }
}

bool IntegerArgument(const CString& text, long* value) {
    if (text.IsEmpty()) return false;
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (*end != '\0' || errno == ERANGE || v < INT_MIN || v > INT_MAX) return false;
    *value = v;
    return true;
}
