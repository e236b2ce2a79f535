// The publisher table: upper-case publisher keys paired with the companies' full names, used to
// turn the short maker texts found in audits into one spelling per company.
// The table is fixed, built at compile time and read-only, so it needs no guarding.
#pragma once

#include "platform/cstring.h"

struct PublisherName {
    const char* key;   // upper case; "" in the closing pairs
    const char* name;  // the full company name, spelled exactly as users see it
};

// Pairs in the table, including the closing empty pairs.
constexpr int kPublisherTableSize = 30;
// Pairs that hold a publisher; the rest are empty and mark the end.
constexpr int kPublisherCount = 27;

// The table in its fixed order (not strictly alphabetical: "INTEL" precedes "INSTALLSHIELD").
// Callers that scan it stop at the first pair whose key is empty. Always kPublisherTableSize pairs.
NORVIK_API const PublisherName* PublisherTable();

// The full name of the first pair whose key equals `key`, ignoring case; "" when none does, and
// for an empty or null key (the closing pairs never match).
NORVIK_API CString FindPublisherName(const char* key);
