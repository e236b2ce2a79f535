// The licence operations of CNorvik that need no database of their own: the display texts
// of licence flags and of an application's licence, and the over-use check built on the
// licence and alert operations.
#include "interface/norvik.h"

#include <unordered_map>

CString CNorvik::FormatLicenseFlags(int flags) {
    CString text;
    if (flags & kLicencePerPc) text = "Per PC";
    if (flags & kLicenceHidden) text = text.IsEmpty() ? CString("Hidden") : text + ", Hidden";
    return text;
}

CString CNorvik::LicenceDescription(const CString& name, ULong flags, int declared) {
    if (flags & kLicencePerPc) return CString::Formatted("%s [%d]", name.c_str(), declared);
    return name;
}

CString CNorvik::GetAppLicenceDesc(ULong app) {
    const ULong type = GetAppLicenceType(app);
    if (type == kLicenceNotSpecified) return LicenceDescription(kLicenceNotSpecifiedName, 0, 0);
    CString name;
    ULong flags = 0;
    GetLicenceDetails(type, name, &flags);
    const int declared = (flags & kLicencePerPc) ? static_cast<int>(GetAppLicenceCount(app)) : 0;
    return LicenceDescription(name, flags, declared);
}

ULong CNorvik::licensealertCheckOverUse(const CTime& date, CDynaList<ULong>* added) {
    CSortList perPc;
    if (applicationEnumLicenceCounts(perPc) == 0) return 0;
    // Every installation counted in one pass, not one enumeration per application.
    CSortList counted;
    licenceEnumInstallations(0, counted);
    std::unordered_map<ULong, ULong> installed;
    for (const CSortItem& item : counted) installed[item.id] = item.extra;
    ULong overUsed = 0;
    for (const CSortItem& app : perPc) {
        const int declared = static_cast<int>(app.extra);
        const auto found = installed.find(app.id);
        const int instances = found == installed.end() ? 0 : static_cast<int>(found->second);
        if (instances <= declared) continue;
        ++overUsed;
        if (licensealertFind(kLicenceAlertOverUse, app.id) != 0) continue;
        const ULong alert = licensealertAdd(kLicenceAlertOverUse, app.id, date, declared, instances);
        if (alert != 0 && added) added->Add(alert);
    }
    return overUsed;
}
