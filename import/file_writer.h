// CFileWriter: the software folders and files of one inventory, and the applications that the
// Knowledge Base recognises among those files. It is the writer's helper for one Apply.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "import/inventory.h"
#include "interface/norvik.h"

// Lives for one inventory: Recognise first, then Write inside the inventory's transaction, after
// the applications are written. `db` must outlive it; one thread.
class CFileWriter {
public:
    explicit CFileWriter(CNorvik& db) : m_db(db) {}

    // The model to write. With a Knowledge Base open, the entries' files are matched against its
    // known files (key files first, by name and size) and each recognised application that the
    // entries do not list is appended as an entry named as newMergeKBApps names it, versioned by
    // the Knowledge Base. Returns `given` itself when nothing is recognised; the answer stays
    // valid while both this object and `given` live.
    const Inventory& Recognise(const Inventory& given);

    // Merges, for `asset`, each entry's folder path (MergeFolder, piece by piece) and its files
    // (MergeFile) in that folder, or in their own folder for a file given with a path; a file
    // with no folder at all has no place in the tree and is left out. A file belongs to the
    // application the Knowledge Base recognised, else to its entry's application. Re-merging an
    // unchanged model adds no row. False with `reason` when a folder or application cannot be
    // written.
    bool Write(ULong asset, std::string& reason);

private:
    // The catalogue row of (publisher, name), as the writer names applications; 0 on failure.
    ULong Application(ULong asset, const std::string& publisher, const std::string& name);
    // The folder of `pieces` on the asset, merged from the top down; 0 on failure.
    ULong Folder(ULong asset, const std::vector<std::string>& pieces);
    // The asset's folder `name` directly below `parent` when it has one already, else 0.
    ULong ExistingFolder(ULong asset, ULong parent, const std::string& name);

    CNorvik& m_db;
    const Inventory* m_model = nullptr;
    Inventory m_recognised;                      // `given` with the recognised entries
    std::vector<std::vector<ULong>> m_fileApps;  // per entry, per file: the KB application or 0
    // KB application -> (publisher, name) of the catalogue row it stands for.
    std::map<ULong, std::pair<std::string, std::string>> m_kbNames;
    std::map<std::string, ULong> m_folders;  // folder path ('\'-joined pieces) -> _ID
    std::map<std::pair<std::string, std::string>, ULong> m_apps;
    std::map<std::string, ULong> m_installed;  // the asset's applications by display name (0: two)
    bool m_installedRead = false;
    std::map<std::pair<ULong, std::string>, ULong> m_children;  // (parent, name) -> folder on the asset
    std::set<ULong> m_listed;                                   // parents whose children are read
    bool m_hasFolders = true;
};
