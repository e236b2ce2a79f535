// The licence operations of CNorvik that need no database of their own: the display texts
// of licence flags and of an application's licence.
#include "interface/norvik.h"

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
