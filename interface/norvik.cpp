// The operations of CNorvik that need no database of their own.
#include "interface/norvik.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "common/address_list.h"
#include "platform/registry.h"
#include "platform/ui_hooks.h"

const char* const CNorvik::m_szAlert = "Alerts";
const char* const CNorvik::m_szAsset = "Asset";
const char* const CNorvik::m_szLocation = "Location";
const char* const CNorvik::m_szParent = "Parent";
const char* const CNorvik::m_szAssetData = "Asset Data";
const char* const CNorvik::m_szAssetCat = "Category";
const char* const CNorvik::m_szAssetMake = "Make";
const char* const CNorvik::m_szAssetModel = "Model";
const char* const CNorvik::m_szAssetSerial = "Serial Number";
const char* const CNorvik::m_szHardware = "Hardware";
const char* const CNorvik::m_szOS = "Operating System";
const char* const CNorvik::m_szApps = "Software";
const char* const CNorvik::m_szLicence = "Software Licensing";
const char* const CNorvik::m_szInternet = "Internet";
const char* const CNorvik::m_szIHist = "History";
const char* const CNorvik::m_szICache = "Cache";
const char* const CNorvik::m_szICookies = "Cookies";
const char* const CNorvik::m_szHistory = "History";
const char* const CNorvik::m_szCapture = "Captured Files";
const char* const CNorvik::m_szGlobalAsset = "All Assets";
const char* const CNorvik::m_szFolder = "Folders/Files";
const char* const CNorvik::m_szDA = "Discovered Assets";
const char* const CNorvik::m_szSystem = "System";
const char* const CNorvik::REG_KEY_UNINSTALL =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{5E1F0A3C-7B42-4D19-9C8E-2A6B0D4F8E17}";

CNorvik::CNorvik(CAuditDBSys& kb) : m_kb(kb) {}

CNorvik::~CNorvik() = default;

CString CNorvik::GetCompanyName() {
    if (GetOption("CompanyName").IsEmpty()) {
        CString company;
        platform::ReadMachineRegistryString(REG_KEY_UNINSTALL, "RegCompany", &company);
        SetOption("CompanyName", company);
    }
    return GetOption("CompanyName");
}

void CNorvik::SetCompanyName(const char* name) { SetOption("CompanyName", name); }

CString CNorvik::GetIconName(int icon) {
    if (icon == 0) return GetCompanyName();
    if (icon == 1 || icon == 2) return m_szLocation;
    if (icon == 3) return m_szAsset;
    if (icon == 4) return m_szAssetData;
    if (icon >= 5 && icon <= 8) return m_szFolder;
    if (icon >= 9 && icon <= 12) return m_szDA;
    if (icon == 13) return m_szApps;
    if (icon == 14 || icon == 15) return m_szHardware;
    if (icon >= 16 && icon <= 21) return m_szHistory;
    if (icon == 22) return m_szAssetCat;
    if (icon == 23) return m_szAssetMake;
    if (icon == 24) return m_szAssetModel;
    if (icon == 25 || icon == 26) return m_szCapture;
    if (icon == 27 || icon == 28) return m_szLicence;
    if (icon == 29 || icon == 30) return m_szAlert;
    if (icon == 31) return m_szInternet;
    if (icon == 32) return m_szIHist;
    if (icon == 33) return m_szICookies;
    if (icon >= 34 && icon <= 37) return m_szGlobalAsset;
    if (icon == 38) return m_szOS;
    // 51 belongs to the System group while 44 to 50 have none.
    if ((icon >= 39 && icon <= 43) || icon == 51) return m_szSystem;
    return CString();
}

void CNorvik::SetCallback(NorvikCallback fn, CallbackValue context) {
    m_pfnUser = fn;
    m_userContext = context;
}

void CNorvik::SetMsgBoxCallback(NorvikMsgBoxCallback fn, CallbackValue context) {
    m_pfnMsgBox = fn;
    m_msgBoxContext = context;
}

void CNorvik::ProgSetCallback(NorvikCallback fn, CallbackValue context) {
    m_pfnProgress = fn;
    m_progressContext = context;
}

ULong CNorvik::GetAssetLocation(ULong asset) {
    // The tree must be free of cycles; the bound only keeps a damaged one from hanging us.
    constexpr int kMaxDepth = 100000;
    ULong id = asset;
    for (int step = 0; step < kMaxDepth; ++step) {
        int isLocation = 0;
        const ULong parent = GetAssetParent(id, isLocation);
        if (isLocation || parent == 0) return isLocation ? parent : 0;
        id = parent;
    }
    return 0;
}

int CNorvik::CallUser(int code, CallbackValue value) {
    if (!m_pfnUser) return 1;
    return m_pfnUser(code, value, m_userContext);
}

int CNorvik::MsgBox(const char* text, unsigned int style) const {
    if (m_pfnMsgBox) return m_pfnMsgBox(text, style, m_msgBoxContext);
    return platform::ShowMessageBox(text, style);
}

void CNorvik::HandleException(const CException& e, const char* context) const {
    CString message;
    if (const auto* db = dynamic_cast<const CDBException*>(&e)) {
        message.Format("ODBC Error code %d\nError : %s\nOrigin : %s", db->m_nRetCode, db->m_strError.c_str(),
                       db->m_strStateNativeOrigin.c_str());
        if (context) message += CString("\nSQL String : ") + context;
    } else {
        message.Format("An Error has occurred\n\n%s", context ? context : "");
    }
    MsgBox(message, platform::kMbIconExclamation);
}

void CNorvik::ProgStart(ULong total, const char* title, ULong step) {
    if (!m_pfnProgress) return;
    if (step == 0) step = 1;  // a zero step would divide by zero; it means "every call"
    if (title) m_pfnProgress(kProgCaption, reinterpret_cast<CallbackValue>(title), m_progressContext);
    m_pfnProgress(kProgRange, static_cast<CallbackValue>(total / step), m_progressContext);
    m_progressStep = step;
    m_progressCounter = 0;
}

int CNorvik::ProgCheck() {
    const ULong taken = m_progressCounter++;
    if (taken % m_progressStep == 0 && m_pfnProgress) {
        if (m_pfnProgress(kProgStep, 0, m_progressContext) == kProgCancel) return 0;
    }
    return 1;
}

void CNorvik::ProgComplete() {
    if (m_pfnProgress) m_pfnProgress(kProgEnd, 0, m_progressContext);
}

void CNorvik::StoreAppHistory(ULong asset, CSortList& oldList, CSortList& newList, CTime date) {
    if (!oldList.IsSorted()) oldList.Sort();
    if (!newList.IsSorted()) newList.Sort();
    // Names compare exactly here, although the lists sort without regard to case: an
    // application whose name changed case was removed and another added.
    std::unordered_set<std::string> oldNames, newNames;
    for (const auto& item : oldList) oldNames.insert(item.text.str());
    for (const auto& item : newList) newNames.insert(item.text.str());
    for (const auto& item : newList)
        if (!oldNames.count(item.text.str()))
            historyAdd(asset, date, kHistAdded, 13, item.text, nullptr, nullptr, nullptr);
    for (const auto& item : oldList)
        if (!newNames.count(item.text.str()))
            historyAdd(asset, date, kHistDeleted, 13, item.text, nullptr, nullptr, nullptr);
}

CString CNorvik::GetHistoryOperation(ULong operation) {
    switch (operation) {
        case 1: return "Added";
        case 2: return "Deleted";
        case 4: return "Changed";
        case 5: return "Alert: Internet Activity";
        case 6: return "Alert: Folder/File Changes";
        default: return "Unknown Operation";
    }
}

int CNorvik::locIsChildOf(ULong location, ULong ancestor) {
    // Walked as a loop rather than by recursion, and a revisited id (a cycle written into the
    // table by hand) ends the walk.
    CDynaList<ULong> visited;
    for (;;) {
        if (ancestor == 0 || location == ancestor) return 1;
        visited.Add(location);
        location = locGetParent(location);
        if (location == 0 || std::find(visited.begin(), visited.end(), location) != visited.end()) return 0;
    }
}

ULong CNorvik::locEnumIpAddressRanges(ULong location, CDynaList<CIPAddress>& from, CDynaList<CIPAddress>& to) {
    CDynaList<CIPAddress> lows;
    CDynaList<CIPAddress> highs;
    const ULong pairs = std::min(AppendAddressList(locGetIpRangesFrom(location), lows),
                                 AppendAddressList(locGetIpRangesTo(location), highs));
    for (ULong i = 0; i < pairs; ++i) {
        from.Add(lows[i]);
        to.Add(highs[i]);
    }
    return from.GetCount();
}
