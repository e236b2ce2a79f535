// The Knowledge Base query language.
#include "kb/query.h"

#include <gtest/gtest.h>

#include <string>

#include "kb/tabledb.h"
#include "kb_files.h"

namespace {

using kbtest::MakeTable;

// CAT: ID, NAME (text), TYPE (number). SYSFILE: the known-file columns. ODD: a column of type
// 2 (read as a number) and one of type 7 (unknown).
const CTableDatabase& Database() {
    static CTableDatabase db;
    if (db.GetCount() == 0) {
        db.AddTable(MakeTable("CAT", {{"NAME", 0}, {"TYPE", 1}}, {}));
        db.AddTable(MakeTable(
            "SYSFILE", {{"NAME", 0}, {"APP", 1}, {"LOW", 1}, {"HIGH", 1}, {"CRC", 1}, {"DATE", 1}, {"FLAGS", 1}}, {}));
        db.AddTable(MakeTable("ODD", {{"TWO", 2}, {"WEIRD", 7}}, {}));
    }
    return db;
}

const char* const kOps[] = {"=", "<", ">", "!="};

// The conditions as "column op value", a text value in double quotes, joined by "; ".
std::string Describe(const KbQuery& query) {
    std::string out;
    for (const KbQueryTerm& term : query.terms) {
        if (!out.empty()) out += "; ";
        out += std::to_string(term.column) + " " + kOps[term.op] + " ";
        out += term.isText ? "\"" + term.text.str() + "\"" : std::to_string(term.number);
    }
    return out;
}

TEST(KbQuery, ReadsTablesConditionsAndErrorsExactly) {
    const struct {
        const char* query;
        int table;  // index in Database(), -1 for none
        const char* terms;
        const char* error;
    } cases[] = {
        // The verb and the table.
        {"SELECT * FROM cat", 0, "", ""},
        {"select * from \"SYSFILE\"", 1, "", ""},
        {"select NAME from CAT", -1, "", "Unsupported verb in query:\nselect NAME from CAT"},
        {"", -1, "", "Unsupported verb in query:\n"},
        {"select * from NOPE where X = 1", -1, "", "Unknown table NOPE in query:\nselect * from NOPE where X = 1"},
        {"select * from  CAT", -1, "", "Unknown table  in query:\nselect * from  CAT"},
        // Number conditions.
        {"select * from SYSFILE where CRC > 0 and FLAGS != 2", 1, "5 > 0; 7 != 2", ""},
        {"select * from SYSFILE WHERE crc < 7 AND Flags <> 2 and FLAGS = 3", 1, "5 < 7; 7 != 2; 7 = 3", ""},
        {"select * from CAT where TYPE = 12abc", 0, "2 = 12", ""},
        {"select * from CAT where TYPE = x", 0, "2 = 0", ""},
        {"select * from CAT where TYPE = -2147483648", 0, "2 = 2147483648", ""},
        {"select * from CAT where TYPE = 4294967296", 0, "",
         "Invalid number '4294967296' in query\n'select * from CAT where TYPE = 4294967296'"},
        {"select * from CAT where TYPE = -2147483649", 0, "",
         "Invalid number '-2147483649' in query\n'select * from CAT where TYPE = -2147483649'"},
        {"select * from ODD where TWO = 5", 2, "1 = 5", ""},
        // A column of an unknown type takes no value: the next word must be a keyword.
        {"select * from ODD where WEIRD = 5 and TWO = 1", 2, "2 = 0", ""},
        // Text conditions.
        {"select * from CAT where NAME = 'O''Brien'", 0, "1 = \"O'Brien\"", ""},
        {"select * from CAT where NAME = '''' and TYPE = 1", 0, "1 = \"'\"; 2 = 1", ""},
        {"select * from CAT where NAME = Smith and TYPE = 1", 0, "1 = \"\"", ""},
        {"select * from CAT where NAME = 'unclosed and TYPE = 1", 0, "1 = \"unclosed and TYPE = 1\"", ""},
        {"select * from CAT where NAME = 'x'and TYPE = 1", 0, "1 = \"x\"", ""},
        // What ends a query.
        {"select * from CAT order by NAME", 0, "", ""},
        {"select * from CAT where TYPE = 1 or TYPE = 2", 0, "2 = 1", ""},
        // Malformed conditions keep the table and what was read before them.
        {"select * from CAT where", 0, "", "Invalid filter column name '' in query\n'select * from CAT where'"},
        {"select * from SYSFILE where CRC > 0 and COLOUR = 1", 1, "5 > 0",
         "Invalid filter column name 'COLOUR' in query\n'select * from SYSFILE where CRC > 0 and COLOUR = 1'"},
        {"select * from CAT where TYPE == 1", 0, "",
         "Invalid operator '==' in query\n'select * from CAT where TYPE == 1'"},
        {"select * from CAT where TYPE", 0, "", "Invalid operator '' in query\n'select * from CAT where TYPE'"},
    };
    for (const auto& c : cases) {
        const KbQuery query = ParseKbQuery(Database(), c.query);
        EXPECT_EQ(query.table, c.table) << c.query;
        EXPECT_EQ(Describe(query), c.terms) << c.query;
        EXPECT_EQ(query.error.str(), c.error) << c.query;
    }
}

}  // namespace
