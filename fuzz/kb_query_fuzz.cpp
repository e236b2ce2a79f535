// libFuzzer target for the Knowledge Base query language. Every input is a query run against a
// small fixed database through the parser, a record set and index record sets on each column;
// a message for a bad query is an expected outcome. A crash, a sanitizer report, an exception,
// a walk that shows a row the filter rejects, an index that disagrees with the record set, a
// seek whose copy of the keys answers otherwise than the table, or a filter text whose
// reference outlives Close is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kb/index_recset.h"
#include "kb/query.h"
#include "kb/recset.h"
#include "kb/tabledb.h"
#include "platform/ui_hooks.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

// CAT: names with quotes, blanks and bytes below the blank; NUM: texts that all look numeric
// (a right-aligned index); ODD: a type-2 column, a column of unknown type and a text column.
void Fill(CTableDatabase& db) {
    CTable cat("CAT");
    cat.AddColumn("NAME", CTable::typeText);
    cat.AddColumn("TYPE", CTable::typeNumber);
    const char* names[] = {"PC|Base Unit", "Laptop", "O'Brien", "", "a b", "a", "a\x01", "B", "laptop", "Laptop"};
    for (ULong i = 0; i < sizeof names / sizeof names[0]; ++i) {
        const ULong row = cat.AddRow();
        cat.SetText(row, 1, names[i]);
        cat.SetValue(row, 2, i % 3 == 0 ? 0xFFFFFFFF - i : i);
    }
    CTable num("NUM");
    num.AddColumn("TEXT", CTable::typeText);
    for (const char* text : {"9", "10", "-1", "", "007", "10"}) num.SetText(num.AddRow(), 1, text);
    CTable odd("ODD");
    odd.AddColumn("TWO", 2);
    odd.AddColumn("WEIRD", 7);
    odd.AddColumn("NOTE", CTable::typeText);
    for (ULong i = 0; i < 4; ++i) {
        const ULong row = odd.AddRow();
        odd.SetValue(row, 1, i * 7);
        odd.SetValue(row, 2, i);
        odd.SetText(row, 3, i % 2 ? "x" : "y");
    }
    db.AddTable(cat);
    db.AddTable(num);
    db.AddTable(odd);
}

// The reference count of every text, table by table.
std::vector<std::vector<ULong>> References(const CTableDatabase& db) {
    std::vector<std::vector<ULong>> refs;
    for (const CTable& table : db) {
        refs.emplace_back();
        for (ULong id = 0; id < table.GetStrings().GetCount(); ++id)
            refs.back().push_back(table.GetStrings().GetRefCount(id));
    }
    return refs;
}

// The counts are those of `before`, and texts added since hold no reference.
bool SameReferences(const CTableDatabase& db, const std::vector<std::vector<ULong>>& before) {
    std::vector<std::vector<ULong>> now = References(db);
    for (std::size_t t = 0; t < now.size(); ++t) {
        if (now[t].size() < before[t].size()) return false;
        for (std::size_t id = before[t].size(); id < now[t].size(); ++id) {
            if (now[t][id] != 0) return false;
        }
        now[t].resize(before[t].size());
    }
    return now == before;
}

// Every seek of `keys`, as the index answers while its copy of the keys holds.
std::vector<int> Seeks(const CIndexRecSet& index, const std::vector<ULong>& values,
                       const std::vector<std::string>& texts) {
    std::vector<int> answers;
    for (ULong value : values) {
        answers.push_back(index.SeekValue(value, false));
        answers.push_back(index.SeekValue(value, true));
    }
    for (const std::string& text : texts) {
        answers.push_back(index.SeekText(text.c_str(), false));
        answers.push_back(index.SeekText(text.c_str(), true));
    }
    return answers;
}

// Builds an index on every column of the query's table and checks it against the record set.
void CheckIndexes(CTableDatabase& db, const std::string& query, CRecSet& rs, ULong visible) {
    CTable& table = *rs.GetTable();
    for (std::uint16_t column = 0; column <= table.GetColumnCount(); ++column) {
        CIndexRecSet index(&db);
        Check(index.Open(query.c_str(), column) == 1);
        const bool exists = column < table.GetColumnCount();
        Check(index.GetEntryCount() == (exists ? visible : 0));
        std::vector<ULong> values = {0, 1, 0xFFFFFFFF};
        std::vector<std::string> texts = {"", "10", "Laptop", "a"};
        for (const auto& condition : rs.GetConditions()) {
            values.push_back(condition.value);
            texts.push_back(condition.text.str());
        }
        for (index.MoveFirst(); !index.IsEOF(); index.MoveNext()) {
            Check(index.CurrentRowMatches() == 1);
            values.push_back(index.GetValue(column));
            texts.push_back(index.GetText(column).str());
        }
        const std::vector<int> cached = Seeks(index, values, texts);
        // A hit names an entry with that key.
        for (std::size_t i = 0; i < values.size(); ++i) {
            index.SetPosition(cached[2 * i]);
            Check(cached[2 * i] == -1 || index.GetValue(column) == values[i]);
        }
        for (std::size_t i = 0; i < texts.size(); ++i) {
            index.SetPosition(cached[2 * values.size() + 2 * i]);
            Check(cached[2 * values.size() + 2 * i] == -1 || index.GetText(column).str() == texts[i].c_str());
        }
        // A write that changes no key sends the seeks to the table itself: same answers.
        if (table.GetRowCount() != 0) table.SetValue(0, 0, table.GetValue(0, 0));
        Check(Seeks(index, values, texts) == cached);
        for (std::size_t i = 0; i < cached.size(); ++i)
            Check(cached[i] >= -1 && cached[i] <= static_cast<int>(visible));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        platform::SetMessageBoxHook([](const char*, unsigned) { return platform::kIdOk; });
        return true;
    }();
    (void)quiet;
    const std::string query(reinterpret_cast<const char*>(data), size);

    CTableDatabase db;
    Fill(db);
    const auto before = References(db);

    const KbQuery parsed = ParseKbQuery(db, query.c_str());
    Check(parsed.error.IsEmpty() ? parsed.table >= 0 : true);
    for (const KbQueryTerm& term : parsed.terms) {
        Check(term.column < db[static_cast<ULong>(parsed.table)].GetColumnCount());
    }

    CRecSet rs(&db);
    const bool opened = rs.Open(query.c_str()) == 1;
    ULong visible = 0;
    if (opened) {
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
            Check(rs.GetID() != 0 && rs.CurrentRowMatches() == 1);
            ++visible;
        }
        ULong backwards = 0;
        for (rs.MoveLast(); !rs.IsEOF(); rs.MovePrev()) ++backwards;
        Check(backwards == visible);
        CheckIndexes(db, query, rs, visible);
    }
    rs.Close();
    // Whatever the query, open or failed, gives back every reference it took.
    Check(SameReferences(db, before));
    if (!opened) return 0;

    // Deleting through a record set and purging rebuilds an open index over what is left, with
    // text conditions following their renumbered texts.
    CRecSet writer(&db, query.c_str());
    CIndexRecSet index(&db);
    Check(index.Open(query.c_str(), 1) == 1);
    if (!writer.IsEOF()) {
        writer.Delete();
        writer.FindID(0xFFFFFFFF);  // purges first
        Check(index.GetEntryCount() == visible - 1);
        ULong after = 0;
        for (writer.MoveFirst(); !writer.IsEOF(); writer.MoveNext()) ++after;
        Check(after == visible - 1);
    }
    writer.Close();
    index.Close();
    Check(db[static_cast<ULong>(parsed.table)].GetIndexCount() == 0);
    return 0;
}
