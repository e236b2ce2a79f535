// Type names and descriptions of user-defined fields.
#include "interface/field_description.h"

#include <cstdlib>
#include <vector>

namespace fielddesc {

CString TypeName(ULong flags) {
    switch (flags & kTypeMask) {
        case kText: return "Text";
        case kInteger: return "Integer";
        case kPicklist: return "Picklist";
        case kBoolean: return "Boolean";
        case kEnvVar: return "EnvVar";
        case kRegKey: return "RegKey";
        case kDate: return "Date";
        default: return CString();
    }
}

int CaseRule(ULong flags) {
    if (flags & 0x100) return 1;
    if (flags & 0x200) return 2;
    if (flags & 0x400) return 3;
    return 0;
}

CString Describe(ULong flags, const CString& first, const CString& second) {
    const ULong type = flags & kTypeMask;
    std::vector<CString> entries;
    if (type == kText) {
        static const char* const kRules[] = {"Upper Case", "Lower Case", "Title Case"};
        if (const int rule = CaseRule(flags)) entries.push_back(kRules[rule - 1]);
    }
    if (type == kEnvVar) entries.push_back(CString::Formatted("Environment Variable \"%s\"", second.c_str()));
    if (type == kText && std::atoi(first) != 0) entries.push_back(CString::Formatted("Max %d chars", std::atoi(first)));
    if (type == kInteger) entries.push_back(CString::Formatted("Range %d to %d", std::atoi(first), std::atoi(second)));
    if (type == kPicklist) entries.push_back(CString::Formatted("lookup %s", first.c_str()));
    if (type == kRegKey) {
        entries.push_back(first);
        entries.push_back(second);
    }
    // An environment variable's value is read from the machine, never entered: not mandatory.
    if ((flags & kMandatory) && type != kEnvVar) entries.push_back("Mandatory");
    CString text;
    for (const CString& entry : entries) {
        if (!text.IsEmpty()) text += ", ";
        text += entry;
    }
    return text;
}

}  // namespace fielddesc
