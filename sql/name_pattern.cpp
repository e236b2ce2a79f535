// Wildcard matching of names, in linear space and without recursion.
#include "sql/name_pattern.h"

namespace {

char Folded(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool Match(const char* pattern, const char* name, bool foldCase) {
    const char* p = pattern ? pattern : "";
    const char* n = name ? name : "";
    // Where to resume after the last "*": the pattern just behind it and the name position it
    // has absorbed up to. Going back only to the last star suffices, since an earlier star can
    // absorb whatever a later one would have.
    const char* starPattern = nullptr;
    const char* starName = nullptr;
    while (*n) {
        if (*p == '*') {
            starPattern = ++p;
            starName = n;
        } else if (*p && (*p == '?' || *p == *n || (foldCase && Folded(*p) == Folded(*n)))) {
            ++p;
            ++n;
        } else if (starPattern) {
            p = starPattern;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (*p == '*') ++p;
    return *p == '\0';
}

}  // namespace

bool MatchNamePattern(const char* pattern, const char* name) { return Match(pattern, name, true); }

bool MatchTextPattern(const char* pattern, const char* text) { return Match(pattern, text, false); }
