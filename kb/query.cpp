// The query parser of the Knowledge Base record sets.
//
//   query     = "select * from " table { keyword " " condition } [ " " anything ]
//   keyword   = "where" | "and"                 any case; the first other word (or the end of
//                                               the line) ends the query, the rest is ignored
//   condition = column " " operator " " value
//   operator  = "=" | "<" | ">" | "!=" | "<>"   exactly; "!=" and "<>" are the same operator
//   value     = literal                         for a text column (type 0)
//             | number                          for a number column (types 1 to 3)
//             |                                 for a column of any other type: 0, nothing read
//   literal   = "'" { character | "''" } "'" X  "''" stands for one quote; X, any one character
//                                               (normally the blank), is consumed with the
//                                               closing quote. An unclosed literal runs to the
//                                               end of the line; a value that does not start
//                                               with "'" is the empty text and consumes nothing
//   number    = a word read as atoi reads it    "12x" is 12 and "x" is 0; -2147483648 to
//                                               4294967295, a negative one as its 32-bit pattern
//
// The verb is compared ignoring case over all its 14 characters. Words are separated by single
// blanks and taken one at a time with ExtractToken (blank-delimited, aware of double quotes and
// stripping them), so `"CAT"` names the table CAT and two blanks in a row make an empty word.
// Table and column names are matched ignoring case, the first match winning.
#include "kb/query.h"

#include <strings.h>
#include <cctype>

#include <algorithm>
#include <cstring>
#include <string>

#include "common/token.h"
#include "kb/tabledb.h"

namespace {

constexpr char kVerb[] = "select * from ";
constexpr std::size_t kVerbLength = sizeof(kVerb) - 1;

// atoi's reading of a word, with the range a 32-bit cell can hold instead of undefined overflow.
bool ReadNumber(const std::string& word, ULong& value) {
    std::size_t i = 0;
    while (i < word.size() && std::isspace(static_cast<unsigned char>(word[i]))) ++i;
    bool negative = false;
    if (i < word.size() && (word[i] == '+' || word[i] == '-')) negative = word[i++] == '-';
    std::uint64_t magnitude = 0;
    for (; i < word.size() && std::isdigit(static_cast<unsigned char>(word[i])); ++i) {
        magnitude = magnitude * 10 + static_cast<unsigned>(word[i] - '0');
        if (magnitude > 0xFFFFFFFFull) return false;
    }
    if (negative && magnitude > 0x80000000ull) return false;
    value = static_cast<ULong>(negative ? 0 - magnitude : magnitude);
    return true;
}

// Takes a quoted literal off the front of `rest`; see the grammar above.
CString TakeLiteral(std::string& rest) {
    std::string text;
    if (rest.empty() || rest[0] != '\'') return CString();
    std::size_t i = 1;
    for (; i < rest.size(); ++i) {
        if (rest[i] != '\'') {
            text += rest[i];
        } else if (i + 1 < rest.size() && rest[i + 1] == '\'') {
            text += '\'';
            ++i;
        } else {
            break;
        }
    }
    // i is on the closing quote, or at the end of an unclosed literal.
    rest.erase(0, std::min(rest.size(), i + 2));
    return CString(std::move(text));
}

CString NextWord(CString& rest) { return ExtractToken(rest, ' ', true, true, true); }

int FindColumn(const CTable& table, const CString& name) {
    for (std::uint16_t column = 0; column < table.GetColumnCount(); ++column) {
        if (table.GetColumnName(column).CompareNoCase(name) == 0) return column;
    }
    return -1;
}

bool ReadOperator(const CString& word, std::uint16_t& op) {
    if (word == "=") {
        op = kbOpEqual;
    } else if (word == "!=" || word == "<>") {
        op = kbOpNotEqual;
    } else if (word == "<") {
        op = kbOpLess;
    } else if (word == ">") {
        op = kbOpGreater;
    } else {
        return false;
    }
    return true;
}

bool IsKeyword(const CString& word) { return word.CompareNoCase("where") == 0 || word.CompareNoCase("and") == 0; }

}  // namespace

KbQuery ParseKbQuery(const CTableDatabase& database, const char* query) {
    KbQuery result;
    const std::string text = query ? query : "";
    query = text.c_str();
    if (strncasecmp(query, kVerb, kVerbLength) != 0) {
        result.error = CString::Formatted("Unsupported verb in query:\n%s", query);
        return result;
    }
    CString rest(text.substr(kVerbLength));
    const CString name = NextWord(rest);
    result.table = database.FindTable(name);
    if (result.table < 0) {
        result.error = CString::Formatted("Unknown table %s in query:\n%s", name.c_str(), query);
        return result;
    }
    const CTable& table = database[static_cast<ULong>(result.table)];

    for (CString keyword = NextWord(rest); IsKeyword(keyword); keyword = NextWord(rest)) {
        KbQueryTerm term;
        const CString columnName = NextWord(rest);
        const int column = FindColumn(table, columnName);
        if (column < 0) {
            result.error =
                CString::Formatted("Invalid filter column name '%s' in query\n'%s'", columnName.c_str(), query);
            return result;
        }
        term.column = static_cast<std::uint16_t>(column);
        const CString opWord = NextWord(rest);
        if (!ReadOperator(opWord, term.op)) {
            result.error = CString::Formatted("Invalid operator '%s' in query\n'%s'", opWord.c_str(), query);
            return result;
        }
        const std::uint16_t type = table.GetColumnType(term.column);
        if (type == CTable::typeText) {
            term.isText = true;
            term.text = TakeLiteral(rest.str());
        } else if (type <= 3) {
            const CString word = NextWord(rest);
            if (!ReadNumber(word.str(), term.number)) {
                result.error = CString::Formatted("Invalid number '%s' in query\n'%s'", word.c_str(), query);
                return result;
            }
        }
        result.terms.push_back(std::move(term));
    }
    return result;
}
