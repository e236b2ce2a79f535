// Console users (USERS): log-on names, passwords (in clear or as Argon2id hashes), levels,
// the location a user is restricted to, profiles and names.
#include <cstring>
#include <stdexcept>

#include "sql/norvik_sql.h"
#include "sql/password_hash.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

int CNorvikSql::SetUserText(ULong user, const char* column, const char* value) {
    const CString statement =
        CString::Formatted("update USERS set %s=%s where _ID=%d", column, SqlQuote(value).c_str(), AsInt(user));
    return ExecuteReported(statement) ? 1 : 0;
}

ULong CNorvikSql::EnumUsers(CDynaList<ULong>& users, int level) {
    const CString condition = level == -1 ? CString() : CString::Formatted("_LEVEL=%d", level);
    try {
        return EnumIds("USERS", condition, users);
    } catch (const CDBException& e) {
        CString statement = "select _ID from USERS";
        if (!condition.IsEmpty()) statement += CString(" where ") + condition;
        HandleSqlException(e, statement);
        return users.GetCount();
    }
}

ULong CNorvikSql::userFind(const char* name) {
    return FirstNumberReported(CString::Formatted("select _ID from USERS where _USER=%s", SqlQuote(name).c_str()));
}

int CNorvikSql::ValidatePassword(ULong user, const char* password) {
    const CString statement = CString::Formatted("select _PASSWD from USERS where _ID=%d", AsInt(user));
    CString stored;
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return 0;
        stored = rs.TextAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
    // A stored hash is only ever verified, never compared as text: knowing the hash must not
    // be enough to log on.
    if (IsPasswordHash(stored)) {
        try {
            return VerifyPasswordHash(stored, password) ? 1 : 0;
        } catch (const std::exception& e) {
            MsgBox(e.what(), 48);
            return 0;
        }
    }
    return std::strcmp(stored.c_str(), password ? password : "") == 0 ? 1 : 0;
}

CString CNorvikSql::userGetName(ULong user) { return SelectTextReported("USERS", "_USER", user); }

CString CNorvikSql::userGetPassword(ULong user) { return SelectTextReported("USERS", "_PASSWD", user); }

int CNorvikSql::userGetLevel(ULong user) { return static_cast<int>(SelectNumberReported("USERS", "_LEVEL", user)); }

ULong CNorvikSql::userGetLocation(ULong user) { return SelectNumberReported("USERS", "_LOCID", user); }

CString CNorvikSql::userGetProfile(ULong user) { return SelectTextReported("USERS", "_PROFILE", user); }

CString CNorvikSql::userGetFirstName(ULong user) { return SelectTextReported("USERS", "_FNAME", user); }

CString CNorvikSql::userGetLastName(ULong user) { return SelectTextReported("USERS", "_LNAME", user); }

ULong CNorvikSql::userAdd(const char* name, int level) {
    const CString values = CString::Formatted("%s,%d", SqlQuote(name).c_str(), level);
    return InsertReported(*this, "USERS", "_USER,_LEVEL", values);
}

int CNorvikSql::userDelete(ULong user) {
    return ExecuteReported(CString::Formatted("delete from USERS where _ID=%d", AsInt(user))) ? 1 : 0;
}

int CNorvikSql::userSetName(ULong user, const char* name) { return SetUserText(user, "_USER", name); }

int CNorvikSql::userSetLevel(ULong user, int level) {
    return ExecuteReported(CString::Formatted("update USERS set _LEVEL=%d where _ID=%d", level, AsInt(user))) ? 1 : 0;
}

int CNorvikSql::userSetLocation(ULong user, ULong location) {
    return ExecuteReported(CString::Formatted("update USERS set _LOCID=%d where _ID=%d", AsInt(location), AsInt(user)))
               ? 1
               : 0;
}

int CNorvikSql::userSetProfile(ULong user, const char* profile) { return SetUserText(user, "_PROFILE", profile); }

int CNorvikSql::userSetPassword(ULong user, const char* password) {
    const char* text = password ? password : "";
    if (GetOption(kOptionPasswordHashing) == "1") {
        CString hash;
        try {
            hash = HashPassword(text);
        } catch (const std::exception& e) {
            MsgBox(e.what(), 48);
            return 0;
        }
        return SetUserText(user, "_PASSWD", hash);
    }
    // Stored in clear, such a text would be taken for a hash and never match again.
    if (IsPasswordHash(text)) {
        MsgBox(CString::Formatted("A password kept in clear may not begin with \"%s\"", kPasswordHashPrefix), 48);
        return 0;
    }
    return SetUserText(user, "_PASSWD", text);
}

int CNorvikSql::userSetFirstName(ULong user, const char* name) { return SetUserText(user, "_FNAME", name); }

int CNorvikSql::userSetLastName(ULong user, const char* name) { return SetUserText(user, "_LNAME", name); }
