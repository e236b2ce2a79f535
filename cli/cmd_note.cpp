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
    if (json) {
        std::cout << "[";
        const char* separator = "";
        for (const Note& n : notes) {
            std::cout << separator << "{\"id\": " << n.id << ", \"type\": " << JsonText(NameOf(kTypes, n.type))
                      << ", \"table\": " << JsonText(NameOf(kTables, n.table)) << ", \"record\": " << n.record
                      << ", \"data\": " << n.data << ", \"text\": " << JsonText(n.text) << "}";
            separator = ", ";
        }
        std::cout << "]\n";
        return;
    }
    TextTable table({"Id", "Type", "Table", "Record", "Data", "Text"});
    for (const Note& n : notes)
        table.AddRow({std::to_string(n.id), NameOf(kTypes, n.type), NameOf(kTables, n.table), std::to_string(n.record),
                      std::to_string(n.data), n.text});
    table.Print(std::cout, {0, 3, 4});
}

}  // namespace

int RunNote(Context& context) {
    const auto& args = context.args;
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    const std::string sub = args.empty() ? "" : args[0];
    Words words;
    bool ok = true;
    if (sub == "add") {
        ok = SplitSubCommandWords(args, {{}, {"--type", "--data"}, 3, 3},
                                  "note add TABLE RECORD TEXT [--type T] [--data N]", &words);
    } else if (sub == "list") {
        ok = SplitSubCommandWords(args, {{}, {"--table", "--record", "--type"}, 0, 0},
                                  "note list [--table TABLE] [--record R] [--type T] [--json]", &words);
    } else if (sub == "show" || sub == "delete") {
        ok = SplitSubCommandWords(args, {{}, {}, 1, 1}, "note " + sub + " ID", &words);
    } else {
        return UsageError((sub.empty() ? std::string("note needs a command") : "unknown note command " + sub) +
                          " (see norvik note --help)");
    }
    if (!ok) return kExitUsage;
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

    CNorvikSql* db = context.OpenDatabase();
    if (!db) return kExitFailed;
    const MessageWatch watch(*db, context.options);
    if (sub == "add") {
        const ULong note = db->notesAdd(type, table, record, data, p[2].c_str());
        if (note == 0) return kExitFailed;
        std::cout << note << '\n';
        return kExitOk;
    }
    if (sub == "list") {
        CDynaList<ULong> ids;
        const bool any = words.Has("--type") || words.Has("--table") || words.Has("--record");
        if (any) {
            db->enumNotes(words.Has("--type") ? &type : nullptr, words.Has("--table") ? &table : nullptr,
                          words.Has("--record") ? &record : nullptr, ids);
        } else {
            // The library refuses a listing without a criterion; every note is one of a type.
            for (const Name& name : kTypes) db->enumNotes(&name.value, nullptr, nullptr, ids);
        }
        std::vector<Note> notes;
        for (const ULong note : ids) {
            Note read;
            if (ReadNote(*db, note, &read)) notes.push_back(read);
        }
        if (watch.Shown()) return kExitFailed;
        PrintNotes(notes, context.options.json);
        return kExitOk;
    }
    Note note;
    if (!ReadNote(*db, id, &note)) {
        if (watch.Shown()) return kExitFailed;
        return Fail("no note with id " + std::to_string(id));
    }
    if (sub == "delete") return db->notesDelete(id) && !watch.Shown() ? kExitOk : kExitFailed;
    PrintNotes({note}, context.options.json);
    return kExitOk;
}

}  // namespace cli
