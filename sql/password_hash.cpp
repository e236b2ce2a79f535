// Argon2id through libsodium: the library picks the salt and records the limits in the string,
// so hashes made with other limits (or a later libsodium's defaults) still verify.
#include "sql/password_hash.h"

#include <sodium.h>

#include <cstring>
#include <stdexcept>

#include "interface/norvik.h"

namespace {

void StartSodium() {
    // sodium_init is safe to call again; below 0 means no usable random source.
    if (sodium_init() < 0) throw std::runtime_error("the password hashing library cannot start");
}

}  // namespace

CString HashPassword(const char* password) {
    StartSodium();
    const char* text = password ? password : "";
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(hash, text, std::strlen(text), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                              crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw std::runtime_error("not enough memory to hash the password");
    return CString(hash);
}

bool VerifyPasswordHash(const char* hash, const char* password) {
    if (!IsPasswordHash(hash)) return false;
    StartSodium();
    const char* text = password ? password : "";
    // libsodium reads at most crypto_pwhash_STRBYTES of the stored string; a longer one is not ours.
    if (std::strlen(hash) >= crypto_pwhash_STRBYTES) return false;
    return crypto_pwhash_str_verify(hash, text, std::strlen(text)) == 0;
}

bool IsPasswordHash(const char* stored) {
    const char* prefix = CNorvik::kPasswordHashPrefix;
    return stored && std::strncmp(stored, prefix, std::strlen(prefix)) == 0;
}
