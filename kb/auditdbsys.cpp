// The Knowledge Base object: reading and writing the file, the record sets of Reset, and the
// accessors of categories, makes, models, serial-number places and applications. The content
// upgrades are in kb/kb_upgrade.cpp, recognition in kb/recognition.cpp.
#include "kb/auditdbsys.h"

#include "common/token.h"
#include "platform/archive.h"
#include "platform/atomic_file.h"
#include "platform/exceptions.h"
#include "platform/file.h"
#include "platform/ui_hooks.h"

namespace {

// Column positions shared by CAT, MAKE, MODEL and SWAPP.
constexpr std::uint16_t kName = 1;
constexpr std::uint16_t kParent = 2;
// Deeper SWAPP chains than this are damaged (a cycle written by hand): the walk stops.
constexpr int kMaxAppDepth = 16;

}  // namespace

CAuditDBSys::CAuditDBSys() = default;

CAuditDBSys::~CAuditDBSys() { Close(); }

// ---- File ----

bool CAuditDBSys::ReadFile(const char* path) {
    try {
        CFile file(path, CFile::modeRead);
        CArchive ar(file, CArchive::load, kFileBufferSize);
        Serialize(ar);
        m_strLastError.Empty();
        return true;
    } catch (const CException& e) {
        m_strLastError = e.GetErrorMessage();
    } catch (const std::exception& e) {
        m_strLastError = CString::Formatted("cannot read %s: %s", path, e.what());
    }
    return false;
}

int CAuditDBSys::Open(const char* path) {
    Close();
    if (!path || !ReadFile(path)) return 0;
    m_strPath = path;
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
    GetVersion(major, minor);
    const int version = major * 100 + minor;
    if (version > kCurrentVersion) {
        platform::ShowMessageBox("Knowledge Base was created by a newer version - please update the product",
                                 platform::kMbIconExclamation);
        RemoveAll();
        return 0;
    }
    if (version < kCurrentVersion && !Upgrade(major, minor)) {
        RemoveAll();
        return 0;
    }
    Reset();
    m_bOpen = true;
    return 1;
}

int CAuditDBSys::Save() {
    if (GetChangeCount() == 0) return 1;
    try {
        // Replaced whole: a kill or a full disk while writing leaves the old file as it was.
        CAtomicFile file(m_strPath);
        CArchive ar(file, CArchive::store, kFileBufferSize);
        Serialize(ar);
        ar.Close();
        file.Commit();
        m_strLastError.Empty();
    } catch (const CException& e) {
        m_strLastError = e.GetErrorMessage();
    } catch (const std::exception& e) {
        m_strLastError = CString::Formatted("cannot write %s: %s", m_strPath.c_str(), e.what());
    }
    return 1;
}

int CAuditDBSys::Reset() {
    DropRecordSets();
    // A set is opened only on a table the file has: the query of a missing table would put a
    // message in front of the user for every partial (test or hand-made) file.
    auto makeIndex = [this](const char* query, std::uint16_t column) {
        auto rs = std::make_unique<CIndexRecSet>(this);
        if (FindTable("SYSFILE") >= 0) rs->Open(query, column);
        return rs;
    };
    auto makeSet = [this](const char* table, const char* query) {
        auto rs = std::make_unique<CRecSet>(this);
        if (FindTable(table) >= 0) rs->Open(query);
        return rs;
    };
    m_pKeyByCrc = makeIndex("select * from SYSFILE where CRC > 0 and FLAGS = 2", 5);
    m_pKeyByName = makeIndex("select * from SYSFILE where CRC = 0 and FLAGS = 2", 1);
    m_pOtherByCrc = makeIndex("select * from SYSFILE where CRC > 0 and FLAGS != 2", 5);
    m_pOtherByName = makeIndex("select * from SYSFILE where CRC = 0 and FLAGS != 2", 1);
    m_pCategories = makeSet("CAT", "select * from CAT");
    m_pMakes = makeSet("MAKE", "select * from MAKE");
    m_pModels = makeSet("MODEL", "select * from MODEL");
    m_pSerials = makeSet("SWSERIAL", "select * from SWSERIAL");
    return 1;
}

int CAuditDBSys::Close() {
    if (!m_bOpen) return 1;
    Save();
    DropRecordSets();
    m_bOpen = false;
    return 1;
}

void CAuditDBSys::DropRecordSets() {
    m_pKeyByCrc.reset();
    m_pKeyByName.reset();
    m_pOtherByCrc.reset();
    m_pOtherByName.reset();
    m_pCategories.reset();
    m_pMakes.reset();
    m_pModels.reset();
    m_pSerials.reset();
}

// ---- Record access ----

ULong CAuditDBSys::ValueOf(CRecSet* rs, ULong id, std::uint16_t column) {
    if (!rs || !rs->IsOpen() || !rs->FindID(id)) return 0;
    return rs->GetValue(column);
}

CString CAuditDBSys::TextOf(CRecSet* rs, ULong id, std::uint16_t column) {
    if (!rs || !rs->IsOpen() || !rs->FindID(id)) return CString();
    return rs->GetText(column);
}

void CAuditDBSys::SetTextOf(CRecSet* rs, ULong id, std::uint16_t column, const char* text) {
    if (rs && rs->IsOpen() && rs->FindID(id)) rs->SetText(column, text ? text : "");
}

ULong CAuditDBSys::EnumChildren(CRecSet* rs, ULong parent, CSortList& list) {
    if (rs && rs->IsOpen()) {
        for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) {
            if (parent == 0 || rs->GetValue(kParent) == parent) list.Add(rs->GetText(kName), rs->GetID(), 0);
        }
    }
    return list.GetCount();
}

// ---- Categories, makes and models ----

CString CAuditDBSys::GetCategoryName(ULong id) { return TextOf(m_pCategories.get(), id, kName); }
ULong CAuditDBSys::GetCategoryType(ULong id) { return ValueOf(m_pCategories.get(), id, 2); }
CString CAuditDBSys::GetMakeName(ULong id) { return TextOf(m_pMakes.get(), id, kName); }
ULong CAuditDBSys::GetMakeCategory(ULong id) { return ValueOf(m_pMakes.get(), id, kParent); }
CString CAuditDBSys::GetModelName(ULong id) { return TextOf(m_pModels.get(), id, kName); }
ULong CAuditDBSys::GetModelMake(ULong id) { return ValueOf(m_pModels.get(), id, kParent); }

ULong CAuditDBSys::EnumCategories(CSortList& list) { return EnumChildren(m_pCategories.get(), 0, list); }
ULong CAuditDBSys::EnumMakes(ULong category, CSortList& list) { return EnumChildren(m_pMakes.get(), category, list); }
ULong CAuditDBSys::EnumModels(ULong make, CSortList& list) { return EnumChildren(m_pModels.get(), make, list); }

ULong CAuditDBSys::FindCategory(const char* name) {
    CRecSet* rs = m_pCategories.get();
    if (!name || !rs || !rs->IsOpen()) return 0;
    for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) {
        CString parts = rs->GetText(kName);
        while (!parts.IsEmpty()) {
            if (ExtractToken(parts, '|', true, false, false) == name) return rs->GetID();
        }
    }
    return 0;
}

ULong CAuditDBSys::FindMake(ULong category, const char* name) {
    CRecSet* rs = m_pMakes.get();
    if (!name || !rs || !rs->IsOpen()) return 0;
    for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) {
        if ((category == 0 || rs->GetValue(kParent) == category) && rs->GetText(kName) == name) return rs->GetID();
    }
    return 0;
}

// ---- Serial-number places ----

ULong CAuditDBSys::EnumSSRecs(CDynaList<ULong>& ids) {
    CRecSet* rs = m_pSerials.get();
    if (rs && rs->IsOpen()) {
        for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) ids.Add(rs->GetID());
    }
    return ids.GetCount();
}

ULong CAuditDBSys::AddSSRec(const char* appName, const char* regKey, const char* regItem) {
    CRecSet* rs = m_pSerials.get();
    if (!rs || !rs->IsOpen()) return 0;
    const ULong id = rs->AddNew();
    rs->SetText(1, appName ? appName : "");
    rs->SetText(2, regKey ? regKey : "");
    rs->SetText(3, regItem ? regItem : "");
    return id;
}

void CAuditDBSys::DeleteSSRec(ULong id) {
    CRecSet* rs = m_pSerials.get();
    if (rs && rs->IsOpen() && rs->FindID(id)) rs->Delete();
}

CString CAuditDBSys::GetSSAppName(ULong id) { return TextOf(m_pSerials.get(), id, 1); }
CString CAuditDBSys::GetSSRegKey(ULong id) { return TextOf(m_pSerials.get(), id, 2); }
CString CAuditDBSys::GetSSRegItem(ULong id) { return TextOf(m_pSerials.get(), id, 3); }
void CAuditDBSys::SetSSAppName(ULong id, const char* text) { SetTextOf(m_pSerials.get(), id, 1, text); }
void CAuditDBSys::SetSSRegKey(ULong id, const char* text) { SetTextOf(m_pSerials.get(), id, 2, text); }
void CAuditDBSys::SetSSRegItem(ULong id, const char* text) { SetTextOf(m_pSerials.get(), id, 3, text); }

// ---- Applications ----

CString CAuditDBSys::GetAppName(ULong id, int withParents) {
    const int index = FindTable("SWAPP");
    if (id == 0 || index < 0) return CString();
    CTable& apps = (*this)[static_cast<ULong>(index)];
    int row = apps.FindRow(id);
    if (row < 0) return CString();
    CString name = apps.GetText(static_cast<ULong>(row), kName);
    if (!withParents) return name;
    ULong parent = apps.GetValue(static_cast<ULong>(row), kParent);
    for (int depth = 0; parent != 0 && depth < kMaxAppDepth; ++depth) {
        row = apps.FindRow(parent);
        if (row < 0) break;
        name = apps.GetText(static_cast<ULong>(row), kName) + " " + name;
        parent = apps.GetValue(static_cast<ULong>(row), kParent);
    }
    return name;
}

ULong CAuditDBSys::GetAppParent(ULong id) {
    const int index = FindTable("SWAPP");
    if (index < 0) return 0;
    CTable& apps = (*this)[static_cast<ULong>(index)];
    const int row = apps.FindRow(id);
    return row < 0 ? 0 : apps.GetValue(static_cast<ULong>(row), kParent);
}
