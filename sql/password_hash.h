// Password hashes of console users: salted Argon2id strings made and checked by libsodium.
#pragma once

#include "platform/cstring.h"

// The self-describing Argon2id string of `password` ("$argon2id$v=19$m=...,t=...,p=...$salt$hash")
// with a fresh random salt and libsodium's interactive limits. Throws std::runtime_error when
// libsodium cannot start or runs out of memory.
CString HashPassword(const char* password);
// True when `hash` is such a string and `password` is the password it was made from.
bool VerifyPasswordHash(const char* hash, const char* password);
// True when `stored` has the prefix of the hashes HashPassword makes.
bool IsPasswordHash(const char* stored);
