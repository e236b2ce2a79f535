// norvik picklist: the named lists of allowed texts that "Picklist" fields offer.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_context.h"
#include "cli/words.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik picklist list [--json]\n"
    "       norvik picklist add NAME [ITEM...]\n"
    "       norvik picklist rename NAME NEW\n"
    "       norvik picklist delete NAME\n"
    "       norvik picklist items NAME [--json]\n"
    "       norvik picklist add-item NAME TEXT\n"
    "       norvik picklist delete-item NAME TEXT\n"
    "A pick list is a named list of texts that a Picklist field offers; NAME is its exact name.\n"
    "  list         every pick list with its number of items\n"
    "  add          a new list, with ITEMs in the order given; prints its id\n"
    "  rename       gives a list a name no other list has (fields naming it keep the old name)\n"
    "  delete       deletes the list and its items (fields naming it are left as they are)\n"
    "  items        the list's items in their order\n"
    "  add-item     appends TEXT to the list\n"
    "  delete-item  removes every item of the list reading exactly TEXT\n";

const std::vector<SubCommandSpec> kSubCommands = {
    {"list", {{}, {}, 0, 0}, "picklist list [--json]"},
    {"add", {{}, {}, 1, static_cast<std::size_t>(-1)}, "picklist add NAME [ITEM...]"},
    {"rename", {{}, {}, 2, 2}, "picklist rename NAME NEW"},
    {"delete", {{}, {}, 1, 1}, "picklist delete NAME"},
    {"items", {{}, {}, 1, 1}, "picklist items NAME [--json]"},
    {"add-item", {{}, {}, 2, 2}, "picklist add-item NAME TEXT"},
    {"delete-item", {{}, {}, 2, 2}, "picklist delete-item NAME TEXT"},
};

// The items of a list as (id, text), in their order.
std::vector<std::pair<ULong, std::string>> Items(CNorvikSql& db, ULong list) {
    CDynaList<ULong> ids;
    db.EnumPickItems(list, ids);
    std::vector<std::pair<ULong, std::string>> items;
    for (ULong id : ids) items.emplace_back(id, db.GetPickItemValue(id).str());
    return items;
}

int List(CNorvikSql& db, bool json) {
    CDynaList<ULong> lists;
    db.EnumPicklists(lists);
    Listing listing(json, {"Id", "Name", "Items"});
    for (const ULong list : lists) {
        const std::string name = db.GetPicklistName(list).str();
        const std::size_t count = Items(db, list).size();
        listing.Add({std::to_string(list), name, std::to_string(count)},
                    JsonObject().Number("id", list).Text("name", name).Number("items", count));
    }
    listing.Print(std::cout, {0, 2});
    return kExitOk;
}

int ShowItems(CNorvikSql& db, ULong list, bool json) {
    const auto items = Items(db, list);
    if (json) {
        std::vector<std::string> texts;
        for (const auto& item : items) texts.push_back(JsonText(item.second));
        std::cout << JsonArray(texts) << '\n';
        return kExitOk;
    }
    for (const auto& item : items) std::cout << item.second << '\n';
    return kExitOk;
}

}  // namespace

int RunPicklist(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    Words words;
    const SubCommandSpec* command = PickSubCommand("picklist", context.args, kSubCommands, &words);
    if (!command) return kExitUsage;
    const std::string sub = command->name;
    const auto& p = words.positional;
    if ((sub == "add" && p[0].empty()) || (sub == "rename" && p[1].empty()))
        return UsageError("a pick list name may not be empty");

    const bool reads = sub == "list" || sub == "items";
    const Access access = reads ? Access::kRead : Access::kWrite;
    return WithDatabase(context, access, [&](CNorvikSql& db, const MessageWatch& watch) {
        if (sub == "list") {
            return List(db, context.options.json);
        } else if (sub == "add") {
            if (const ULong existing = db.FindPicklist(p[0].c_str()))
                return Fail("a pick list named '" + p[0] + "' already exists (id " + std::to_string(existing) + ")");
            const ULong list = db.AddPicklist(p[0].c_str());
            if (list == 0) return kExitFailed;
            for (std::size_t i = 1; i < p.size(); ++i)
                if (!db.AddPickItem(list, p[i].c_str())) return kExitFailed;
            std::cout << list << '\n';
        } else {
            const ULong list = db.FindPicklist(p[0].c_str());
            if (list == 0) return watch.Shown() ? kExitFailed : Fail("no pick list is named '" + p[0] + "'");
            if (sub == "rename") {
                if (const ULong existing = db.FindPicklist(p[1].c_str()); existing && existing != list)
                    return Fail("a pick list named '" + p[1] + "' already exists (id " + std::to_string(existing) +
                                ")");
                db.SetPicklistName(list, p[1].c_str());
            } else if (sub == "delete") {
                const std::size_t count = Items(db, list).size();
                db.DeletePicklist(list);
                if (!watch.Shown()) std::cout << "deleted pick list '" << p[0] << "' and its " << count << " item(s)\n";
            } else if (sub == "items") {
                return ShowItems(db, list, context.options.json);
            } else if (sub == "add-item") {
                if (!db.AddPickItem(list, p[1].c_str())) return kExitFailed;
            } else if (sub == "delete-item") {
                int removed = 0;
                for (const auto& [id, text] : Items(db, list))
                    if (text == p[1]) {
                        db.DeletePickItem(id);
                        ++removed;
                    }
                if (removed == 0) return Fail("pick list '" + p[0] + "' has no item '" + p[1] + "'");
            }
        }
        return kExitOk;
    });
}

}  // namespace cli
