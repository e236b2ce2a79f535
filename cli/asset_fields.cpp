// Asset field values for norvik asset show and norvik asset set.
#include "cli/asset_fields.h"

#include <algorithm>
#include <iostream>

#include "cli/cli_context.h"
#include "fielddef/asset_field_def.h"
#include "platform/ui_hooks.h"

namespace cli {

namespace {

// The date the tool takes: "YYYY-MM-DD[ hh:mm:ss]" (or "YYYYMMDD hh:mm:ss"); kDateError for
// other text, kDateNone for the empty text.
int ParseDate(const std::string& text, CTime* when) {
    if (text.empty()) return platform::kDateNone;
    DateTimeParts parts;
    if (!DateTimeParts::Parse(text.c_str(), &parts) || parts.month < 1 || parts.month > 12 || parts.day < 1 ||
        parts.day > 31 || parts.year < 1970 || parts.year > 2037)
        return platform::kDateError;
    *when = CTime(parts);
    return platform::kDateValid;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> AssetFieldValues(CNorvikSql& db, ULong asset) {
    std::vector<std::pair<std::string, std::string>> values;
    for (const char* name : {"Category", "Make", "Model", "Serial Number"})
        values.emplace_back(name, db.GetBuiltInFieldValue(asset, name).str());
    CSortList fields;
    db.userDefEnum(0, fields, CNorvik::kUserDataAsset, 1);
    for (const CSortItem& field : fields) {
        if (CNorvik::IsBuiltInField(field.text)) continue;
        const ULong group = db.userDefGetParent(field.id);
        values.emplace_back(field.text.str(),
                            db.userdataGetValue(group, asset, field.text, CNorvik::kUserDataAsset).str());
    }
    return values;
}

int SetAssetField(CNorvikSql& db, ULong asset, const std::string& field, const std::string& value) {
    const CTime now = CTime::GetCurrentTime();
    if (CNorvik::IsBuiltInField(field.c_str()))
        return db.SetBuiltInFieldValue(asset, field.c_str(), value.c_str(), 1, now) ? kExitOk : kExitFailed;
    const ULong id = db.userDefFind(field.c_str(), CNorvik::kUserDataAsset);
    if (id == 0) return Fail("no asset-level field is named '" + field + "'");
    CAssetFieldDef def;
    if (!def.Load(db, id)) return kExitFailed;
    // The same control a dialog would get, headless: the text (or date) typed into it, then
    // the field's own validation, which shows its messages and normalises the text.
    // The field's messages (errors and the trimming notice) as the tool's one-line messages.
    struct MessageLines {
        MessageLines() {
            platform::SetMessageBoxHook([](const char* text, unsigned) {
                PrintError(text ? text : "");
                return platform::kIdOk;
            });
        }
        ~MessageLines() { platform::SetMessageBoxHook(nullptr); }
    } messages;
    platform::CHeadlessControl control;
    CRect placement{0, 0, 200, 20};
    def.CreateControl(control, 1, placement);
    const int type = def.GetType();
    if (type == CAssetFieldDef::kDate) {
        CTime when;
        const int answer = ParseDate(value, &when);
        // No date is a valid answer for a field that may stay empty; the picker says "none".
        control.SetDate(answer == platform::kDateNone && !def.IsMandatory() ? platform::kDateValid : answer, when);
    }
    // A drop-down list can only hold one of its entries (or nothing).
    if ((type == CAssetFieldDef::kPicklist || type == CAssetFieldDef::kBoolean) && !value.empty() &&
        std::find(control.m_items.begin(), control.m_items.end(), value) == control.m_items.end()) {
        std::string offered;
        for (const std::string& item : control.m_items) offered += (offered.empty() ? "" : ", ") + item;
        return Fail("'" + value + "' is not one of the entries of " + field + ": " +
                    (offered.empty() ? std::string("(none)") : offered));
    }
    control.SetText(value.c_str());
    CString accepted;
    if (!def.Validate(control, accepted)) return kExitFailed;
    const ULong stored =
        db.userDataSetVal(def.GetParent(), asset, def.GetName(), accepted, CNorvik::kUserDataAsset, 1, now);
    return stored ? kExitOk : kExitFailed;
}

}  // namespace cli
