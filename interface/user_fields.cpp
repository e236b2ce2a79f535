// The user-defined-field operations of CNorvik that only combine others: descriptions, the
// built-in field names, and the (group, owner, key) forms of reading and setting a value.
#include "interface/field_description.h"
#include "interface/norvik.h"

namespace {

const char* const kBuiltInNames[] = {"Category",    "Make",       "Model",      "Serial Number",
                                     "MAC Address", "IP Address", "Audit Date", "Location"};

}  // namespace

const char* const CNorvik::m_szBlank = "<blank>";
const char* const CNorvik::m_szNull = "<NULL>";

bool CNorvik::IsBuiltInField(const char* key) {
    if (!key) return false;
    for (const char* name : kBuiltInNames)
        if (CString(key) == name) return true;
    return false;
}

CString CNorvik::userDefTypeToString(ULong flags) { return fielddesc::TypeName(flags); }

CString CNorvik::userDefAsString(ULong def, int withType) {
    CString first, second;
    if (!userDefGetParams(def, first, second)) return CString();
    const ULong flags = userDefGetFlags(def);
    const CString description = fielddesc::Describe(flags, first, second);
    if (!withType) return description;
    const CString type = userDefTypeToString(flags);
    if (description.IsEmpty()) return type;
    return type.IsEmpty() ? description : type + " (" + description + ")";
}

CString CNorvik::userdataGetValue(ULong group, ULong owner, const char* key, ULong mask) {
    if (IsBuiltInField(key)) return GetBuiltInFieldValue(owner, key);
    const ULong value = userDataFind(group, owner, key, mask);
    return value ? userdataGetValue(value) : CString();
}

ULong CNorvik::userDataSetVal(ULong group, ULong owner, const char* key, const char* text, ULong flags,
                              int recordHistory, CTime when) {
    if (IsBuiltInField(key)) return SetBuiltInFieldValue(owner, key, text, recordHistory, when) ? owner : 0;
    const ULong value = userDataFind(group, owner, key, flags & kUserDataOwnerMask);
    // A new row takes the text through userDataAdd, which records it as added.
    if (value == 0) return userDataAdd(group, owner, key, text, flags, recordHistory, when);
    return userDataSetVal(value, text, recordHistory, when) ? value : 0;
}
