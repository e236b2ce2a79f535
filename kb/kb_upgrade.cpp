// Upgrading an older Knowledge Base file to content version 4.0: the user's consent, the backup
// copy beside the file, and the three content upgrades (1.05 -> 1.06, 3.13, 4.0).
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "common/trace.h"
#include "kb/auditdbsys.h"
#include "platform/atomic_file.h"
#include "platform/exceptions.h"
#include "platform/ui_hooks.h"

namespace {

constexpr unsigned kMbIconInformation = 0x40;
const char kUpgradedText[] = "System Database has been upgraded to version %s";

CString VersionText(int major, int minor) {
    return CString::Formatted("%1.1d.%1.1d.%1.1d", major, minor / 10, minor % 10);
}

// Copies `from` to `to` through an atomic replacement, so that a crash mid-copy leaves no
// truncated backup that a later upgrade would then keep. An existing `to` is never replaced.
// Failures are ignored: whether the backup worked does not stop the upgrade.
void SaveBackup(const std::filesystem::path& from, const CString& to) {
    std::error_code ignored;
    if (std::filesystem::exists(to.str(), ignored)) return;
    std::ifstream in(from, std::ios::binary);
    if (!in) return;
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return;
    try {
        CAtomicFile::Replace(to, bytes);
    } catch (const CFileException&) {
        // No backup: as documented, the upgrade goes on.
    }
}

// The table called `name`, or null.
CTable* TableNamed(CAuditDBSys& db, const char* name) {
    const int index = db.FindTable(name);
    return index < 0 ? nullptr : &db[static_cast<ULong>(index)];
}

void RemoveTableNamed(CAuditDBSys& db, const char* name) {
    const int index = db.FindTable(name);
    if (index >= 0) db.RemoveTable(static_cast<ULong>(index));
}

}  // namespace

bool CAuditDBSys::Upgrade(std::uint16_t major, std::uint16_t minor) {
    const int version = major * 100 + minor;
    const std::filesystem::path path(m_strPath.str());
    // The backup keeps folder and name and takes the old version as its extension: 3.13 -> ".313".
    const CString extension = CString::Formatted(".%1.1d%2.2d", major, minor);
    const CString base = (path.parent_path() / path.stem()).string();
    const CString oldText = VersionText(major, minor);
    const CString newText = VersionText(4, 0);
    const CString question = CString::Formatted(
        "Corvane will now upgrade the internal Knowledge Base from v%s to v%s\nThe old database will first be saved "
        "as %s%s\n\nDo you wish to continue?",
        oldText.c_str(), newText.c_str(), base.c_str(), extension.c_str());
    if (platform::ShowMessageBox(question, platform::kMbYesNo | platform::kMbIconQuestion) != platform::kIdYes)
        return false;

    platform::CWaitCursor wait;
    const CString backup = base + extension;
    TracePrintf("Upgrading Knowledge Base from v%s to v%s\n", oldText.c_str(), newText.c_str());
    TracePrintf("Saving old Knowledge Base as %s\n", backup.c_str());
    SaveBackup(path, backup);
    EnableTracing();
    if (!ReadFile(m_strPath)) return false;

    if (version < 106) Update105to106();
    // Files labelled 3.13 still carry categories without types, so they take this step too.
    if (version <= 313) Update313();
    Update400();
    SetVersion(4, 0);
    Save();
    return true;
}

void CAuditDBSys::Update105to106() {
    CTable apps("SWAPP");
    apps.AddColumn("NAME", CTable::typeText);
    apps.AddColumn("PARENT", CTable::typeNumber);
    std::map<ULong, ULong> versionMap;  // SYSVER ID -> SWAPP ID

    // Adds every row of `table` whose `column` is `oldParent` under `newParent` and hands each
    // (old ID, new ID) to `each`.
    auto addChildren = [this, &apps](const char* table, const char* column, ULong oldParent, ULong newParent,
                                     auto&& each) {
        CRecSet rs(this);
        if (FindTable(table) < 0 ||
            !rs.Open(CString::Formatted("select * from %s where %s = %d", table, column, static_cast<int>(oldParent))))
            return;
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ULong row = apps.AddRow();
            apps.SetText(row, 1, rs.GetText(1));
            apps.SetValue(row, 2, newParent);
            each(rs.GetID(), apps.GetValue(row, 0));
        }
    };
    if (CTable* makers = TableNamed(*this, "SYSMFR")) {
        CRecSet mfr(*makers);
        for (mfr.MoveFirst(); !mfr.IsEOF(); mfr.MoveNext()) {
            const ULong mfrRow = apps.AddRow();
            apps.SetText(mfrRow, 1, mfr.GetText(1));
            addChildren("SYSAPP", "MFR", mfr.GetID(), apps.GetValue(mfrRow, 0), [&](ULong oldApp, ULong newApp) {
                addChildren("SYSVER", "APP", oldApp, newApp,
                            [&](ULong oldVer, ULong newVer) { versionMap[oldVer] = newVer; });
            });
        }
    }
    // A file reference to a version the old tables did not hold is left as it was.
    auto translate = [&versionMap](ULong old) {
        const auto found = versionMap.find(old);
        return found == versionMap.end() ? old : found->second;
    };
    if (CTable* files = TableNamed(*this, "SWFILE"); files && files->GetColumnCount() > 8) {
        for (ULong row = 0; row < files->GetRowCount(); ++row) {
            const ULong value = files->GetValue(row, 8);
            if (value != 0) files->SetValue(row, 8, (translate(value >> 16) << 16) | (value & 0xFFFF));
        }
    }
    if (CTable* known = TableNamed(*this, "SYSFILE"); known && known->GetColumnCount() > 2) {
        for (ULong row = 0; row < known->GetRowCount(); ++row)
            known->SetValue(row, 2, translate(known->GetValue(row, 2)));
    }
    RemoveTableNamed(*this, "SYSMFR");
    RemoveTableNamed(*this, "SYSAPP");
    RemoveTableNamed(*this, "SYSVER");
    RemoveTableNamed(*this, "SWAPP");
    AddTable(apps);
    CTable regApps("REGAPP");
    regApps.AddColumn("NAME", CTable::typeText);
    regApps.AddColumn("SWREF", CTable::typeNumber);
    RemoveTableNamed(*this, "REGAPP");
    AddTable(regApps);
}

void CAuditDBSys::Update313() {
    CTable* oldCats = TableNamed(*this, "CAT");
    if (oldCats) {
        CTable cats("CAT");
        cats.AddColumn(oldCats->GetColumnCount() > 1 ? oldCats->GetColumnName(1).c_str() : "NAME", CTable::typeText);
        cats.AddColumn("TYPE", CTable::typeNumber);
        std::map<ULong, ULong> idMap;
        CRecSet rs(*oldCats);
        for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) {
            const CString& name = rs.GetText(1);
            const ULong row = cats.AddRow();
            cats.SetText(row, 1, name.CompareNoCase("Base Unit") == 0 ? "PC|Base Unit" : name.c_str());
            const bool computer = name.CompareNoCase("Base Unit") == 0 || name.CompareNoCase("Laptop") == 0 ||
                                  name.CompareNoCase("Server") == 0;
            cats.SetValue(row, 2, computer ? 1 : 0);
            idMap[rs.GetID()] = cats.GetValue(row, 0);
        }
        *oldCats = cats;
        if (CTable* makes = TableNamed(*this, "MAKE"); makes && makes->GetColumnCount() > 2) {
            for (ULong row = 0; row < makes->GetRowCount(); ++row) {
                const auto found = idMap.find(makes->GetValue(row, 2));
                if (found != idMap.end()) makes->SetValue(row, 2, found->second);
            }
        }
    }
    platform::ShowMessageBox(CString::Formatted(kUpgradedText, "3.1.3"), kMbIconInformation);
}

void CAuditDBSys::Update400() {
    CTable serials("SWSERIAL");
    serials.AddColumn("APPNAME", CTable::typeText);
    serials.AddColumn("REGKEY", CTable::typeText);
    serials.AddColumn("REGITEM", CTable::typeText);
    RemoveTableNamed(*this, "SWSERIAL");
    AddTable(serials);
    platform::ShowMessageBox(CString::Formatted(kUpgradedText, "4.0"), kMbIconInformation);
}
