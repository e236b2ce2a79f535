// CNorvik's published slot order, read from the headers as text: callers built against earlier
// releases rely on it, and CNorvikSql overrides in the same order.
#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>
#include <vector>

#include "support/slurp.h"

namespace {

struct Family {
    std::string name;
    std::vector<std::string> operations;
};

// Families in slot order, each with its virtual operations in slot order (an overload appears
// once per declaration). The families beyond the published slots extend the set; each new one goes last.
const std::vector<Family> kSlotOrder = {
    {"Life cycle",
     {"~CNorvik", "IsDbOpen", "GetCompanyName", "SetCompanyName", "GetIconName", "GetDbType", "Open", "Save",
      "CreateBackup", "CloseDB", "Clean", "Test", "EnumTableNames", "ExportTable", "ExportAsset", "GetOption",
      "SetOption"}},
    {"Callbacks and samples", {"SetCallback", "SetMsgBoxCallback", "assetDeleteSamples", "locationDeleteSamples"}},
    {"Asset history records", {"EnumAssetHistoryRecords", "EnumAssetHistoryRecords"}},
    {"Location types",
     {"EnumLocTypes", "GetLocTypeName", "SetLocTypeName", "GetLocTypeParent", "DeleteLocType", "GetChildLocType",
      "AddLocType"}},
    {"Locations",
     {"locGetName", "locSetName", "locGetParent", "locGetType", "locGetFullName", "locFind", "locFindByIP", "locAdd",
      "locAddFull", "locDelete", "locEnum", "locExport", "locIsChildOf", "locEnumIpAddressRanges",
      "locSetIpAddressRanges", "locGetIpRangesFrom", "locGetIpRangesTo"}},
    {"Assets", {"AddAsset",         "FindAsset",        "FindMatchingAssets", "assetDelete",       "CountAssets",
                "GetAssetName",     "SetAssetName",     "GetAssetParent",     "SetAssetParent",    "assetEnumChildren",
                "assetEnum",        "EnumAssetNames",   "GetAssetIcon",       "GetAssetStateFlag", "SetAssetStateFlag",
                "GetLastAuditDate", "SetLastAuditDate", "GetAssetMacAddr",    "SetAssetMacAddr",   "FindMacAddr",
                "GetAssetIPAddr",   "SetAssetIPAddr"}},
    {"Pick lists",
     {"EnumPicklists", "GetPicklistName", "SetPicklistName", "FindPicklist", "AddPicklist", "DeletePicklist",
      "EnumPickItems", "AddPickItem", "DeletePickItem", "GetPickItemValue", "SetPickItemValue"}},
    {"User-defined fields",
     {"userDefEnum", "userDefFind", "userDefGetParent", "userDefSetParent", "userDefGetKey", "userDefSetKey",
      "userDefGetFlags", "userDefSetFlags", "userDefGetParams", "userDefSetParams", "userDefAsString", "userDefAdd",
      "userDefDelete"}},
    {"User data",
     {"userDataEnum", "userDataEnumFieldNames", "userDataEnumFieldValues", "userDataEnumGlobal", "userDataAdd",
      "userDataDelete", "userDataFind", "userDataGetKey", "userDataSetKey", "userdataGetValue", "userdataGetValue",
      "userDataSetVal", "userDataSetVal", "userDataSetFlags", "userdataEnumFieldValues",
      "userdataGetApplicationFieldValue", "userdataSetAppFieldValue"}},
    {"Categories, makes, models",
     {"FindCategory",   "EnumCategories", "GetCategoryName", "SetCategoryName", "GetCategoryType", "AddCategory",
      "DeleteCategory", "FindMake",       "EnumMakes",       "GetMakeName",     "SetMakeName",     "GetMakeCategory",
      "AddMake",        "DeleteMake",     "FindModel",       "EnumModels",      "GetModelName",    "SetModelName",
      "GetModelMake",   "AddModel",       "DeleteModel"}},
    {"Software links, folders, files, captured files",
     {"AddLink",           "EnumLinksByApp",  "EnumLinksByAsset", "EnumLinksByFile",   "EnumAssetsByFile",
      "GetLinkedAsset",    "GetLinkedFolder", "GetLinkedFile",    "GetLinkedFileDate", "folderEnum",
      "GetFolderName",     "GetFolderPath",   "GetFolderParent",  "IsFolderEmpty",     "MergeFolder",
      "filesEnum",         "EnumFiles",       "GetFileName",      "GetFileSize",       "GetFileCRC",
      "GetFileMfr",        "GetFileApp",      "GetFileVer",       "GetFileAppID",      "MergeFile",
      "MergeFile",         "AssignFile",      "UnAssignFile",     "UnAssignAllFiles",  "EnumCapFiles",
      "GetCapFileContent", "AddCapFile",      "DeleteCapFiles"}},
    {"Application instances and applications",
     {"EnumApplicationInstances", "newEnumAppInstByApp", "applicationFindInst", "newGetAppInstSerial",
      "newGetAppInstFlags", "newGetAppInstFiles", "newGetAppInstAppID", "applicationAddInstance",
      "applicationIsInstalled", "applicationRemove", "applicationDelete", "applicationFind", "applicationGetName",
      "applicationGetVersion", "applicationEnumLicenceCounts"}},
    {"Licences",
     {"GetAppLicenceDesc", "GetAppLicenceStats", "GetAppLicenceCount", "GetAppLicenceType", "GetLicenceDetails",
      "GetLicenceName", "EnumLicenceTypes", "GetLicenceTypeFlag", "SetLicenceTypeFlag", "SetLicenceTypeName",
      "DeleteLicenceType", "AddLicenceType", "SetAppLicence"}},
    {"Application flags, aliases, recognition",
     {"applicationGetFlag", "applicationSetFlag", "applicationGetFlags", "applicationAdd", "newMergeKBApps",
      "applicationSetAlias", "applicationGetAlias", "newEnumAppAliases", "DeleteSw", "ReRecognise",
      "GetApplicationLicenseDetails"}},
    {"History",
     {"StoreHwHistory", "StoreAppHistory", "assetEnumHistoryDates", "historyGetDetails", "historyGetDetails",
      "historyGetDate", "historyFormatRecord", "EnumHistoryPurge", "historyDelete", "PurgeAssetHistory",
      "historyGetAsset", "historyAdd", "PurgeUnreferencedApplications", "historyGetLastDate"}},
    {"Security switch", {"IsSecurityEnabled", "EnableSecurity"}},
    {"Hardware",
     {"hwEnum", "hwEnumAll", "hwEnumByAsset", "hwCatAsString", "hwValueAsString", "hwFlags", "hwIsEmpty",
      "hwEnumGlobal", "hwEnumGlobal", "hwEnumGlobal", "hwFind", "hwFind", "hwAdd", "hwAdd", "hwSetVal", "hwDelete",
      "osFindValue", "osEnumValues"}},
    {"Internet history and cookies",
     {"ieHistAdd", "ieHistGetCount", "ieHistEnumDates", "ieHistEnumSites", "ieHistSearch", "ieHistGetDate",
      "ieHistGetSite", "ieHistGetPageCount", "ieHistDeleteAll", "ieHistDelete", "ieEnumPurge", "ieCookieAdd",
      "ieCookieGetCount", "ieCookieEnum", "ieCookieSearch", "ieCookieGetName", "ieCookieGetDate", "ieCookieDeleteAll",
      "ieCookieDelete"}},
    {"Serial-number scan records",
     {"EnumSSRecs", "AddSSRec", "DeleteSSRec", "GetSSAppName", "GetSSRegKey", "GetSSRegItem", "SetSSAppName",
      "SetSSRegKey", "SetSSRegItem"}},
    {"Users", {"EnumUsers",      "userFind",        "ValidatePassword", "userGetName",      "userGetPassword",
               "userGetLevel",   "userGetLocation", "userGetProfile",   "userGetFirstName", "userGetLastName",
               "userAdd",        "userDelete",      "userSetName",      "userSetLevel",     "userSetLocation",
               "userSetProfile", "userSetPassword", "userSetFirstName", "userSetLastName",  "SetLogonUser"}},
    {"Global (site-wide) enumerations",
     {"enumApplications", "EnumGlobalSwApplications", "EnumGlobalSwApplications", "EnumGlobalSwAssets",
      "EnumGlobalFile", "EnumGlobalFileAssets", "EnumGlobalEvents"}},
    {"Events", {"AddEvent", "FindEvent", "DeleteAllEvents", "GetEventCount", "GetEventDetails", "DeleteEvent"}},
    {"Licence alerts",
     {"EnumLicenseAlerts", "licensealertAdd", "licensealertFind", "licensealertDeleteAll", "licensealertGetCount",
      "licensealertGetDetails", "licensealertDelete"}},
    {"Discovered assets", {"daEnum", "daGetName", "daGetDomain", "daGetIPAddress", "daAdd", "daDelete"}},
    {"Publishers",
     {"EnumGlobalSwAppPublishers", "EnumAppPublishers", "GetAppPublisher", "EnumAppsByPublisher",
      "UpdateAppPublisher"}},
    {"Scheduling and notes", {"EnumScheduledAssets", "notesAdd", "notesDelete", "enumNotes", "notesGetDetails"}},
    {"Housekeeping of applications",
     {"enumUnreferencedApps", "enumDuplicateApps", "enumOrphans", "FixupDuplicateApps", "enumDuplicateAppInstances"}},
    {"Licence compliance (beyond the published slots)", {"licenceEnumInstallations", "licensealertCheckOverUse"}},
    {"Bulk writes and set reads (beyond the published slots)",
     {"applicationAddInstances", "EnumScopeAssets", "FindOrAddCatalogueEntry"}},
    {"Built-in asset fields (beyond the published slots)", {"GetBuiltInFieldValue", "SetBuiltInFieldValue"}},
    {"Paged listings (beyond the published slots)",
     {"assetEnumPage", "locEnumTree", "applicationEnumPage", "applicationEnumVersions", "historyEnumPage"}},
    {"Hardware values in bulk (beyond the published slots)", {"hwAddValues", "hwFindAssetsByValue"}},
    {"Software files by page (beyond the published slots)", {"swFileEnumPage"}},
    {"Asset record in one step (beyond the published slots)", {"SetAssetRecord"}},
    {"Application rows in bulk (beyond the published slots)", {"applicationGetRows"}},
    {"Purges in batches (beyond the published slots)", {"historyPurgeInBatches", "iePurgeInBatches"}},
};

std::string ReadSource(const char* relative) { return Slurp(std::string(NORVIK_SOURCE_DIR) + "/" + relative); }

// The body of `class NORVIK_API <name> ...{` up to the "};" that closes it at the start of a line.
std::string ClassBody(const std::string& header, const std::string& name) {
    const auto start = header.find("class NORVIK_API " + name + " ");
    if (start == std::string::npos) return {};
    const auto open = header.find('{', start);
    const auto close = header.find("\n};", open);
    return header.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1);
}

std::string Trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    const auto last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

// The identifier (a destructor keeps its "~") just before the first "(" of `code`.
std::string DeclaredName(const std::string& code) {
    auto end = code.find('(');
    if (end == std::string::npos) return {};
    while (end > 0 && code[end - 1] == ' ') --end;
    auto begin = end;
    while (begin > 0 && (std::isalnum(static_cast<unsigned char>(code[begin - 1])) || code[begin - 1] == '_' ||
                         code[begin - 1] == '~'))
        --begin;
    return code.substr(begin, end - begin);
}

// Families as the class body declares them: a line "// ---- NAME ----" opens a family, and
// each line declaring a virtual operation adds its name to the family open at that point.
// Virtual operations before the first family land in a family named "(none)".
std::vector<Family> DeclaredFamilies(const std::string& body) {
    std::vector<Family> families;
    std::istringstream lines(body);
    for (std::string line; std::getline(lines, line);) {
        const std::string text = Trim(line);
        if (text.rfind("// ---- ", 0) == 0 && text.size() > 13 && text.compare(text.size() - 5, 5, " ----") == 0) {
            families.push_back({text.substr(8, text.size() - 13), {}});
            continue;
        }
        const std::string code = text.substr(0, text.find("//"));
        if (code.rfind("virtual ", 0) != 0) continue;
        if (families.empty()) families.push_back({"(none)", {}});
        families.back().operations.push_back(DeclaredName(code));
    }
    return families;
}

// Empty when `declared` matches `expected`; otherwise the first difference, in words.
std::string FirstDifference(const std::vector<Family>& expected, const std::vector<Family>& declared) {
    for (size_t f = 0; f < expected.size() || f < declared.size(); ++f) {
        if (f >= declared.size()) return "family " + std::to_string(f + 1) + " \"" + expected[f].name + "\" is missing";
        if (f >= expected.size()) return "unexpected family \"" + declared[f].name + "\" after the last one";
        const Family& want = expected[f];
        const Family& got = declared[f];
        if (want.name != got.name)
            return "family " + std::to_string(f + 1) + " is \"" + got.name + "\", expected \"" + want.name + "\"";
        for (size_t op = 0; op < want.operations.size() || op < got.operations.size(); ++op) {
            const std::string where = "family \"" + want.name + "\", operation " + std::to_string(op + 1) + ": ";
            if (op >= got.operations.size()) return where + "missing " + want.operations[op];
            if (op >= want.operations.size()) return where + "unexpected " + got.operations[op];
            if (want.operations[op] != got.operations[op])
                return where + got.operations[op] + " declared where " + want.operations[op] + " belongs";
        }
    }
    return {};
}

TEST(InterfaceSlotOrder, CNorvikDeclaresEveryFamilyAndOperationInThePublishedOrder) {
    const std::string body = ClassBody(ReadSource("interface/norvik.h"), "CNorvik");
    ASSERT_FALSE(body.empty()) << "class CNorvik not found";
    EXPECT_EQ(FirstDifference(kSlotOrder, DeclaredFamilies(body)), "");
}

// The back end keeps its overrides in the interface's order: read in order, they must be
// found one after another in the interface's sequence of operations.
TEST(InterfaceSlotOrder, CNorvikSqlOverridesFollowTheInterfaceOrder) {
    std::vector<std::string> slots;
    for (const auto& family : kSlotOrder) slots.insert(slots.end(), family.operations.begin(), family.operations.end());
    const std::string body = ClassBody(ReadSource("sql/norvik_sql.h"), "CNorvikSql");
    ASSERT_FALSE(body.empty()) << "class CNorvikSql not found";
    std::istringstream lines(body);
    size_t next = 0;
    int overrides = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string code = Trim(line.substr(0, line.find("//")));
        if (code.find(" override") == std::string::npos || code.find('(') == std::string::npos) continue;
        std::string name = DeclaredName(code);
        if (name == "~CNorvikSql") name = "~CNorvik";
        if (name == "HandleSqlException") continue;  // an override of the statement helpers' base
        size_t at = next;
        while (at < slots.size() && slots[at] != name) ++at;
        ASSERT_LT(at, slots.size()) << name << " is overridden out of the interface's order (after "
                                    << (next > 0 ? slots[next - 1] : "the start") << ")";
        next = at + 1;
        ++overrides;
    }
    EXPECT_GT(overrides, 250);
}

}  // namespace
