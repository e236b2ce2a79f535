// ExtractToken: one token off the front of a text.
#include "common/token.h"

#include <string>

CString ExtractToken(CString& source, char delimiter, bool remove, bool quoteAware, bool stripQuotes) {
    std::string& text = source.str();
    std::size_t found = std::string::npos;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (quoteAware && text[i] == '"') quoted = !quoted;
        if (text[i] == delimiter && !quoted) {
            found = i;
            break;
        }
    }

    CString token;
    if (found == std::string::npos) {
        token = CString(text);
        token.TrimRight();
        if (remove) text.clear();
    } else {
        token = CString(text.substr(0, found));
        if (remove) text.erase(0, found + 1);
    }

    std::string& out = token.str();
    if (stripQuotes && out.size() >= 2 && out.front() == '"' && out.back() == '"') {
        out = out.substr(1, out.size() - 2);
    }
    return token;
}
