// Resolution of application names given on the command line.
#include "cli/resolve_app.h"

#include <cstdlib>
#include <vector>

namespace cli {

namespace {

// The rows whose display text (with or without the publisher) is exactly `word`.
std::vector<ULong> Named(CNorvikSql& db, const std::string& word, int withPublisher) {
    CSortList list;
    db.enumApplications(list, withPublisher);
    std::vector<ULong> ids;
    for (const CSortItem& item : list)
        if (item.text.str() == word) ids.push_back(item.id);
    return ids;
}

}  // namespace

Resolved ResolveApp(CNorvikSql& db, const std::string& word) {
    // Nine digits at most: ids are written into statements with "%d".
    if (!word.empty() && word.size() <= 9 && word.find_first_not_of("0123456789") == std::string::npos) {
        const ULong id = static_cast<ULong>(std::strtoul(word.c_str(), nullptr, 10));
        CSortList all;
        db.enumApplications(all, 0);
        for (const CSortItem& item : all)
            if (item.id == id && id != 0) return Resolved{id, kExitOk, std::string()};
    }
    for (const int withPublisher : {1, 0}) {
        const std::vector<ULong> ids = Named(db, word, withPublisher);
        if (ids.size() == 1) return Resolved{ids[0], kExitOk, std::string()};
        if (ids.size() > 1)
            return Resolved{0, kExitFailed,
                            std::to_string(ids.size()) + " applications are named '" + word + "'; name one by its id"};
    }
    return Resolved{0, kExitFailed, "no application '" + word + "'"};
}

}  // namespace cli
