// Folders, files and recognition of one inventory. Folder rows are shared by the whole site and
// an inventory names the same top folders over and over ("C:\Program Files"), so each path is
// merged once per inventory and its pieces are remembered.
#include "import/file_writer.h"

#include <algorithm>
#include <cctype>

#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "import/publisher_name.h"
#include "kb/auditdbsys.h"

namespace {

// The pieces of a path cut at '\' and '/', empty pieces dropped, each cut to the column.
std::vector<std::string> Pieces(const std::string& path) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find_first_of("\\/", start);
        if (end == std::string::npos) end = path.size();
        if (end > start)
            pieces.push_back(CutToColumn(std::string_view(path).substr(start, end - start), kImportColumnLimit));
        start = end + 1;
    }
    return pieces;
}

// A path that names its own place ("/usr/bin/x", "\x", "C:\x", "C:x") rather than one below the
// entry's folder.
bool IsAbsolute(const std::string& path) {
    return !path.empty() && (path[0] == '/' || path[0] == '\\' || (path.size() > 1 && path[1] == ':'));
}

std::string Column(const std::string& text) { return CutToColumn(text, kImportColumnLimit); }

}  // namespace

const Inventory& CFileWriter::Recognise(const Inventory& given) {
    m_model = &given;
    m_kbNames.clear();
    m_fileApps.assign(given.software.size(), {});
    for (std::size_t i = 0; i < given.software.size(); ++i) m_fileApps[i].assign(given.software[i].files.size(), 0);
    CAuditDBSys& kb = m_db.kb();
    if (!kb.IsOpen()) return given;

    // As the Knowledge Base recognises an audit: key files over the whole list first, so that
    // another file counts whenever a key file of its application is anywhere on the machine.
    // Inventories give no CRC and no file date, so only name and size can match.
    CDynaList<ULong> found;
    std::vector<ULong> order;  // recognised applications, first recognition first
    auto pass = [&](bool key) {
        for (std::size_t i = 0; i < given.software.size(); ++i) {
            for (std::size_t j = 0; j < given.software[i].files.size(); ++j) {
                if (m_fileApps[i][j] != 0) continue;
                const InventoryFile& file = given.software[i].files[j];
                const std::vector<std::string> pieces = Pieces(file.name);
                if (pieces.empty()) continue;
                const char* name = pieces.back().c_str();
                const ULong app =
                    key ? kb.KeyRecognise(name, file.size, 0, 0) : kb.NonKeyRecognise(name, file.size, 0, 0, found);
                if (app == 0) continue;
                m_fileApps[i][j] = app;
                if (std::find(order.begin(), order.end(), app) == order.end()) order.push_back(app);
                if (key && std::find(found.begin(), found.end(), app) == found.end()) found.Add(app);
            }
        }
    };
    pass(true);
    pass(false);
    if (order.empty()) return given;

    // Catalogue names as newMergeKBApps gives them: the product is the recognised entry's parent,
    // the publisher its grandparent; the entry itself is the version.
    m_recognised = given;
    for (const ULong app : order) {
        const ULong product = kb.GetAppParent(app);
        const ULong publisher = product ? kb.GetAppParent(product) : 0;
        InventorySoftware entry;
        entry.name = product ? kb.GetAppName(product, 0).str() : std::string();
        entry.publisher = publisher ? kb.GetAppName(publisher, 1).str() : std::string();
        entry.version = kb.GetAppName(app, 0).str();
        if (entry.name.empty()) {
            // Nothing to call it: its files stay with their entries' applications.
            for (auto& apps : m_fileApps) std::replace(apps.begin(), apps.end(), app, ULong{0});
            continue;
        }
        m_kbNames[app] = {entry.publisher, entry.name};
        const std::string publisherText = Column(NormalisedPublisher(entry.publisher));
        const bool listed = std::any_of(given.software.begin(), given.software.end(), [&](const auto& other) {
            return Column(other.name) == Column(entry.name) &&
                   Column(NormalisedPublisher(other.publisher)) == publisherText;
        });
        if (!listed) m_recognised.software.push_back(std::move(entry));
    }
    m_model = &m_recognised;
    return m_recognised;
}

ULong CFileWriter::Application(ULong asset, const std::string& publisher, const std::string& name) {
    const std::pair<std::string, std::string> key{Column(NormalisedPublisher(publisher)), Column(name)};
    if (!m_installedRead) {
        // The writer has just installed every application of the model on the asset: one listing
        // names them all, where asking the catalogue would cost a call per entry. A display name
        // two rows share ("A B" "C" and "A" "B C") is asked for the usual way.
        m_installedRead = true;
        CDynaList<ULong> assets;
        assets.Add(asset);
        CSortList installed;
        m_db.EnumGlobalSwApplications(assets, installed, 0, 1, 0, 1, nullptr, 0);
        for (const CSortItem& item : installed) {
            const auto [at, added] = m_installed.emplace(item.text.str(), item.id);
            if (!added) at->second = 0;
        }
    }
    ULong& app = m_apps[key];
    if (app != 0) return app;
    std::string display = key.first.empty() ? key.second : key.first + " " + key.second;
    while (!display.empty() && std::isspace(static_cast<unsigned char>(display.back()))) display.pop_back();
    const auto found = m_installed.find(display);
    app = found != m_installed.end() && found->second != 0
              ? found->second
              : m_db.applicationAdd(key.first.c_str(), key.second.c_str(), 1);
    return app;
}

ULong CFileWriter::Folder(ULong asset, const std::vector<std::string>& pieces) {
    ULong parent = 0;
    std::string path;
    for (const std::string& piece : pieces) {
        path += piece + '\\';
        ULong& folder = m_folders[path];
        if (folder == 0) folder = ExistingFolder(asset, parent, piece);
        if (folder == 0) folder = m_db.MergeFolder(asset, piece.c_str(), parent);
        if (folder == 0) {
            m_folders.erase(path);
            return 0;
        }
        parent = folder;
    }
    return parent;
}

ULong CFileWriter::ExistingFolder(ULong asset, ULong parent, const std::string& name) {
    // A re-audit finds most folders in place: listing a folder's children once answers for all
    // of them, where merging costs a call per folder. An asset without top folders (a new one)
    // has none at all, and nothing more is listed.
    if (!m_hasFolders) return 0;
    if (m_listed.insert(parent).second) {
        CSortList children;
        m_db.folderEnum(asset, parent, children, 0, 0);
        if (parent == 0 && children.GetCount() == 0) m_hasFolders = false;
        for (const CSortItem& child : children) m_children.emplace(std::make_pair(parent, child.text.str()), child.id);
    }
    const auto found = m_children.find({parent, name});
    return found == m_children.end() ? 0 : found->second;
}

bool CFileWriter::Write(ULong asset, std::string& reason) {
    m_folders.clear();
    m_children.clear();
    m_listed.clear();
    m_hasFolders = true;
    m_installed.clear();
    m_installedRead = false;
    m_apps.clear();
    if (m_model == nullptr) return true;
    const Inventory& model = *m_model;
    for (std::size_t i = 0; i < model.software.size(); ++i) {
        const InventorySoftware& entry = model.software[i];
        if (entry.name.empty() || (entry.folder.empty() && entry.files.empty())) continue;
        const std::vector<std::string> folder = Pieces(entry.folder);
        const ULong folderId = folder.empty() ? 0 : Folder(asset, folder);
        if (!folder.empty() && folderId == 0) {
            reason = "the software folder " + entry.folder + " cannot be stored";
            return false;
        }
        for (std::size_t j = 0; j < entry.files.size(); ++j) {
            const InventoryFile& file = entry.files[j];
            std::vector<std::string> pieces = Pieces(file.name);
            if (pieces.empty()) continue;
            const std::string name = pieces.back();
            pieces.pop_back();
            std::vector<std::string> path = IsAbsolute(file.name) ? std::vector<std::string>() : folder;
            path.insert(path.end(), pieces.begin(), pieces.end());
            if (path.empty()) continue;  // no folder to put it in
            const ULong where = path == folder ? folderId : Folder(asset, path);
            if (where == 0) {
                reason = "the folder of the file " + file.name + " cannot be stored";
                return false;
            }
            const ULong recognised = i < m_fileApps.size() && j < m_fileApps[i].size() ? m_fileApps[i][j] : 0;
            const auto named = m_kbNames.find(recognised);
            const ULong app = named != m_kbNames.end() ? Application(asset, named->second.first, named->second.second)
                                                       : Application(asset, entry.publisher, entry.name);
            if (app == 0) {
                reason = "the application of the file " + file.name + " cannot be stored";
                return false;
            }
            // The entry's texts stand in for the version resource the inventory does not carry;
            // they keep equally named files of different products apart.
            m_db.MergeFile(asset, where, 0, name.c_str(), file.size, 0,
                           Column(NormalisedPublisher(entry.publisher)).c_str(), Column(entry.name).c_str(),
                           Column(entry.version).c_str(), app);
        }
    }
    return true;
}
