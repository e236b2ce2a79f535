// The name patterns of FindMatchingAssets and of the internet history and cookie searches.
//
//   pattern = *( "*" | "?" | char )
//   "*" matches any run of characters, the empty run too; "?" matches exactly one character;
//   any other char matches itself, ASCII letters in either case and every other byte ("%", "_",
//   "[", bytes above 0x7F ...) only exactly. There is no escape: "*" and "?" always match.
#pragma once

// True when the whole of `name` matches the whole of `pattern`. Null counts as empty.
bool MatchNamePattern(const char* pattern, const char* name);
// The same grammar with every character other than "*" and "?" matching only itself, letter
// case included: the site and cookie-name searches.
bool MatchTextPattern(const char* pattern, const char* text);
