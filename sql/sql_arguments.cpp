// A small scanner over SQL literals: quoted texts, numbers and bare words.
#include "sql/sql_arguments.h"

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
