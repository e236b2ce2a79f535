// ExtractToken: the tokenizer shared by the query parser, the address parser and path walks.
#pragma once

#include "platform/cstring.h"

// Returns the text of `source` before the first `delimiter`; with `quoteAware`, delimiters
// between double quotes do not count (each '"' toggles in and out of quotes).
//  - No delimiter: the token is all of `source`, trailing white space trimmed; with `remove`,
//    `source` becomes empty.
//  - Delimiter at p: the token is the first p characters, untrimmed (two delimiters in a row
//    give an empty token); with `remove`, `source` keeps what follows the delimiter.
// With `stripQuotes`, a token of two or more characters that begins and ends with '"' loses
// those two quotes.
NORVIK_API CString ExtractToken(CString& source, char delimiter, bool remove, bool quoteAware, bool stripQuotes);
