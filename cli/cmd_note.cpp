// norvik note: free-text notes attached to records of the Audit Database.
#include <strings.h>
#include <iostream>
#include <string>

#include "cli/cli_context.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik note add TABLE RECORD TEXT [--type T] [--data N]\n"
    "       norvik note list [--table TABLE] [--record R] [--type T] [--json]\n"
    "       norvik note show ID [--json]\n"
    "       norvik note delete ID\n"
    "A note is a text and a number attached to one record (RECORD, its id) of a table:\n"
    "TABLE is location, asset, application, appinstance, hardware, history, licencetype,\n"
    "user, discovered, category, make or model. T is comment (the default), warning or\n"
    "reminder. A record has at most one note of each type: add replaces its text and number.\n"
    "  list   the notes matching what is given; with nothing given, every note\n";

struct Name {
    const char* word;
    int value;
};

const Name kTables[] = {
    {"location", CNorvik::tableLocation},
    {"asset", CNorvik::tableAsset},
    {"application", CNorvik::tableApplication},
    {"appinstance", CNorvik::tableAppInstance},
    {"hardware", CNorvik::tableHardware},
    {"history", CNorvik::tableHistory},
    {"licencetype", CNorvik::tableLicenceType},
    {"user", CNorvik::tableUser},
    {"discovered", CNorvik::tableDiscovered},
    {"category", CNorvik::tableCategory},
    {"make", CNorvik::tableMake},
    {"model", CNorvik::tableModel},
};
// The database table of each note table, in the order of TABLEIDX from tableLocation.
const char* const kRecordTables[] = {"LOCDATA", "ASSET", "APPS",     "APPINST", "HW",   "HISTORY",
                                     "LICTYPE", "USERS", "DISCOVER", "CAT",     "MAKE", "MODEL"};

// Whether `record` exists in note table `table`: a note of a missing record would never be seen.
// Throws CDBException when the table cannot be read.
bool RecordExists(CNorvikSql& db, int table, ULong record) {
    return db.SelectNumber(kRecordTables[table - CNorvik::tableLocation], "_ID", record) == record;
}

const Name kTypes[] = {
    {"comment", CNorvik::noteComment}, {"warning", CNorvik::noteWarning}, {"reminder", CNorvik::noteReminder}};

template <std::size_t N>
bool Lookup(const Name (&names)[N], const std::string& word, int* value) {
    for (const Name& name : names) {
        if (strcasecmp(name.word, word.c_str()) == 0) {
            *value = name.value;
            return true;
        }
    }
    return false;
}

template <std::size_t N>
std::string NameOf(const Name (&names)[N], int value) {
    for (const Name& name : names)
        if (name.value == value) return name.word;
    return std::to_string(value);
}

struct Note {
    ULong id = 0;
    int type = 0, table = 0, data = 0;
    ULong record = 0;
    std::string text;
};

// The note with its keys; false for a missing note or a failed read (reported).
bool ReadNote(CNorvikSql& db, ULong id, Note* note) {
    CString text;
    if (db.notesGetDetails(id, &note->data, &text) == 0) return false;
    note->id = id;
    note->text = text.str();
    try {
        // notesGetDetails gives the text and number only; the keys come from the row.
        note->type = static_cast<int>(db.SelectNumber("NOTES", "_TYPE", id));
        note->table = static_cast<int>(db.SelectNumber("NOTES", "_TABLE", id));
        note->record = db.SelectNumber("NOTES", "_RECORD", id);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, nullptr);
        return false;
    }
    return true;
}

void PrintNotes(const std::vector<Note>& notes, bool json) {
    Listing listing(json, {"Id", "Type", "Table", "Record", "Data", "Text"});
    for (const Note& n : notes) {
        const std::string type = NameOf(kTypes, n.type), table = NameOf(kTables, n.table);
        listing.Add({std::to_string(n.id), type, table, std::to_string(n.record), std::to_string(n.data), n.text},
                    JsonObject()
                        .Number("id", n.id)
                        .Text("type", type)
                        .Text("table", table)
                        .Number("record", n.record)
                        .Number("data", n.data)
                        .Text("text", n.text));
    }
    listing.Print(std::cout, {0, 3, 4});
}

const std::vector<SubCommandSpec> kSubCommands = {
    {"add", {{}, {"--type", "--data"}, 3, 3}, "note add TABLE RECORD TEXT [--type T] [--data N]"},
    {"list",
     {{}, {"--table", "--record", "--type"}, 0, 0},
     "note list [--table TABLE] [--record R] [--type T] [--json]"},
    {"show", {{}, {}, 1, 1}, "note show ID [--json]"},
    {"delete", {{}, {}, 1, 1}, "note delete ID"},
};

}  // namespace

int RunNote(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("note", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    int type = CNorvik::noteComment, table = 0, data = 0;
    ULong record = 0, id = 0;
    if (words.Has("--type") && !Lookup(kTypes, words.Value("--type"), &type))
        return UsageError("unknown note type " + words.Value("--type") + " (comment, warning or reminder)");
    const std::string tableWord = sub == "add" ? p[0] : words.Value("--table");
    if ((sub == "add" || words.Has("--table")) && !Lookup(kTables, tableWord, &table))
        return UsageError("unknown table " + tableWord + " (see norvik note --help)");
    const std::string recordWord = sub == "add" ? p[1] : words.Value("--record");
    if ((sub == "add" || words.Has("--record")) && !ParseId(recordWord, &record))
        return UsageError("a record is named by its id: " + recordWord);
    if (words.Has("--data") && !ParseInt(words.Value("--data"), &data))
        return UsageError("the data must be a whole number: " + words.Value("--data"));
    if ((sub == "show" || sub == "delete") && !ParseId(p[0], &id))
        return UsageError("a note is named by its id: " + p[0]);

    const bool reads = sub == "list" || sub == "show";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "add") {
            try {
                if (!RecordExists(db, table, record))
                    return Fail(std::string("there is no ") + kTables[table - CNorvik::tableLocation].word +
                                " with id " + std::to_string(record));
            } catch (const CDBException& e) {
                return Fail("cannot read the record: " + e.m_strError.str());
            }
            const ULong note = db.notesAdd(type, table, record, data, p[2].c_str());
            if (note == 0) return kExitFailed;
            std::cout << note << '\n';
            return kExitOk;
        }
        if (sub == "list") {
            CDynaList<ULong> ids;
            if (words.Has("--type") || words.Has("--table") || words.Has("--record")) {
                db.enumNotes(words.Has("--type") ? &type : nullptr, words.Has("--table") ? &table : nullptr,
                             words.Has("--record") ? &record : nullptr, ids);
            } else {
                // The library refuses a listing without a criterion; every note is one of a type.
                for (const Name& name : kTypes) db.enumNotes(&name.value, nullptr, nullptr, ids);
            }
            std::vector<Note> notes;
            for (const ULong note : ids) {
                Note read;
                if (ReadNote(db, note, &read)) notes.push_back(read);
            }
            if (watch.Shown()) return kExitFailed;
            PrintNotes(notes, context.options.json);
            return kExitOk;
        }
        Note note;
        if (!ReadNote(db, id, &note))
            return watch.Shown() ? kExitFailed : Fail("no note with id " + std::to_string(id));
        if (sub == "delete") return db.notesDelete(id) ? kExitOk : kExitFailed;
        PrintNotes({note}, context.options.json);
        return kExitOk;
    });
}

}  // namespace cli
