// Users on both engines: levels, exact password checks, hashes beside clear-text rows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine_test.h"

namespace {

class Users : public EngineTest {
protected:
    bool EndsQuiet() const override { return true; }
};

TEST_P(Users, PasswordsMustMatchExactlyIncludingLetterCase) {
    const ULong anna = db_->userAdd("anna", 1);
    ASSERT_NE(anna, 0u) << AllMessages();
    EXPECT_EQ(db_->userSetPassword(anna, "Secret'1"), 1);
    EXPECT_EQ(db_->userGetPassword(anna).str(), "Secret'1");  // kept as entered without hashing
    EXPECT_EQ(db_->ValidatePassword(anna, "Secret'1"), 1);
    EXPECT_EQ(db_->ValidatePassword(anna, "secret'1"), 0);
    EXPECT_EQ(db_->ValidatePassword(anna, ""), 0);
    EXPECT_EQ(db_->ValidatePassword(anna + 100, "Secret'1"), 0);
    // A new user's password is empty, and the empty text is its password.
    const ULong bob = db_->userAdd("bob", 1);
    EXPECT_EQ(db_->ValidatePassword(bob, ""), 1);
    EXPECT_EQ(db_->ValidatePassword(bob, nullptr), 1);
}

TEST_P(Users, HashedPasswordsVerifyAndClearOnesStillWork) {
    const ULong old = db_->userAdd("old", 0);
    db_->userSetPassword(old, "clear");
    db_->SetOption(CNorvik::kOptionPasswordHashing, "1");
    const ULong fresh = db_->userAdd("fresh", 0);
    ASSERT_EQ(db_->userSetPassword(fresh, "p\xE4ss W0rd"), 1) << AllMessages();
    const std::string stored = db_->userGetPassword(fresh).str();
    EXPECT_EQ(stored.rfind(CNorvik::kPasswordHashPrefix, 0), 0u) << stored;
    EXPECT_EQ(stored.find("p\xE4ss"), std::string::npos);
    EXPECT_EQ(db_->ValidatePassword(fresh, "p\xE4ss W0rd"), 1);
    EXPECT_EQ(db_->ValidatePassword(fresh, "P\xE4ss W0rd"), 0);
    // Knowing the hash is not knowing the password.
    EXPECT_EQ(db_->ValidatePassword(fresh, stored.c_str()), 0);
    EXPECT_EQ(db_->ValidatePassword(old, "clear"), 1);
    // Salted: the same password hashes differently each time.
    db_->userSetPassword(old, "p\xE4ss W0rd");
    EXPECT_NE(db_->userGetPassword(old).str(), stored);
    EXPECT_EQ(db_->ValidatePassword(old, "p\xE4ss W0rd"), 1);
}

TEST_P(Users, AClearPasswordThatReadsAsAHashIsRefused) {
    const ULong user = db_->userAdd("u", 0);
    db_->userSetPassword(user, "before");
    EXPECT_EQ(db_->userSetPassword(user, "$argon2id$v=19$forged"), 0);
    ASSERT_EQ(TakeMessages().size(), 1u);
    EXPECT_EQ(db_->ValidatePassword(user, "before"), 1);
}

TEST_P(Users, LevelMinusOneListsEveryUserAndZeroOnlyLevelZero) {
    const ULong a = db_->userAdd("a", 0);
    const ULong b = db_->userAdd("b", 5);
    const ULong c = db_->userAdd("c", 0);
    CDynaList<ULong> users;
    users.Add(999);
    EXPECT_EQ(db_->EnumUsers(users, -1), 3u);
    EXPECT_EQ(Ids(users), std::vector<ULong>({a, b, c}));
    EXPECT_EQ(db_->EnumUsers(users, 0), 2u);
    EXPECT_EQ(Ids(users), std::vector<ULong>({a, c}));
    EXPECT_EQ(db_->EnumUsers(users, -2), 0u);
    EXPECT_EQ(db_->userDelete(b), 1);
    EXPECT_EQ(db_->EnumUsers(users, -1), 2u);
}

TEST_P(Users, LevelsAndLocationsKeepTheirWholeRange) {
    const ULong user = db_->userAdd("anna", -3);
    EXPECT_EQ(db_->userGetLevel(user), -3);
    db_->userSetLevel(user, 2147483647);
    db_->userSetLocation(user, 0x80000001u);
    EXPECT_EQ(db_->userGetLevel(user), 2147483647);
    EXPECT_EQ(db_->userGetLocation(user), 0x80000001u);
}

NORVIK_ON_BOTH_ENGINES(Users);

}  // namespace
