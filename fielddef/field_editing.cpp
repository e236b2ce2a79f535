// CAssetFieldDef's editing control and the validation of what was entered in it. The control
// is the front end's (platform::CFieldControl); messages go through the message-box hook.
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "common/formatting.h"
#include "fielddef/asset_field_def.h"
#include "platform/ui_hooks.h"

namespace {

// Window classes and styles of the three kinds of control.
constexpr const char* kComboClass = "combobox";
constexpr ULong kComboStyle = 0x50A10103;  // child, visible, vscroll, border, tab stop, sorted, drop-down list
constexpr const char* kDateClass = "SysDateTimePick32";
constexpr ULong kDateStyle = 0x50810020;  // child, visible, border, tab stop, right-aligned drop-down
constexpr const char* kEditClass = "edit";
constexpr ULong kEditStyle = 0x50810080;  // child, visible, border, tab stop, automatic horizontal scroll
constexpr ULong kClientEdge = 0x200;
// The open list of a combo box shows at most seven items below its edit line.
constexpr int kMaxComboLines = 8;

}  // namespace

CString CAssetFieldDef::TitleCase(const CString& text) {
    CString result = text;
    bool startOfWord = true;
    for (char& c : result.str()) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == ' ') {
            startOfWord = true;
            continue;
        }
        c = static_cast<char>(startOfWord ? std::toupper(byte) : std::tolower(byte));
        startOfWord = false;
    }
    return result;
}

ControlHandle CAssetFieldDef::CreateControl(platform::CFieldControl& control, int id, CRect& placement) const {
    const int type = GetType();
    const bool combo = type == kPicklist || type == kBoolean;
    if (combo) {
        const ULong lines = m_pickItems.GetCount() + 1;
        placement.height *= lines < kMaxComboLines ? static_cast<int>(lines) : kMaxComboLines;
    }
    const char* className = combo ? kComboClass : type == kDate ? kDateClass : kEditClass;
    const ULong style = combo ? kComboStyle : type == kDate ? kDateStyle : kEditStyle;
    const ControlHandle handle = control.Create(className, style, kClientEdge, placement, id);
    if (handle == 0) return 0;
    if (type == kPicklist)
        for (const CString& item : m_pickItems) control.AddItem(item);
    if (type == kBoolean) {
        // The list is sorted, so "no" shows first.
        control.AddItem("yes");
        control.AddItem("no");
    }
    return handle;
}

int CAssetFieldDef::Validate(platform::CFieldControl& control, CString& value) const {
    value = control.GetText();
    CString error;
    CString notice;
    const int type = GetType();
    if (IsMandatory() && value.IsEmpty()) {
        error = "Mandatory Field not Filled";
    } else if (type == kText) {
        const int maxLength = GetMin();  // the first parameter: a Text field's maximum length
        if (maxLength > 0 && value.GetLength() > maxLength) {
            value = value.Left(maxLength);
            notice = CString::Formatted("Entered string was too long and has been trimmed to\n'%s'", value.c_str());
        }
        switch (GetCaseRule()) {
            case kCaseUpper: value.MakeUpper(); break;
            case kCaseLower: value.MakeLower(); break;
            case kCaseTitle: value = TitleCase(value); break;
            default: break;
        }
        control.SetText(value);
    } else if (type == kInteger) {
        if (!IsNumericText(value, true, false)) {
            error = "Field Value must be numeric";
        } else if (!value.IsEmpty()) {
            // A sign alone or a number past 64 bits is no number in the range either.
            errno = 0;
            char* end = nullptr;
            const long long number = std::strtoll(value, &end, 10);
            if (errno == ERANGE || end == value.c_str() || number < GetMin() || number > GetMax())
                error = CString::Formatted("Field Value must be between %d and %d", GetMin(), GetMax());
        }
    } else if (type == kDate) {
        CTime when;
        if (control.GetDate(&when) != platform::kDateValid)
            error = "Invalid Date";
        else if (when.GetTime() != 0)
            value = FormatDate(when, '/');
        else
            value.Empty();
    }
    if (!error.IsEmpty()) {
        platform::ShowMessageBox(error, kMbError);
        control.SetFocus();
        return 0;
    }
    if (!notice.IsEmpty()) platform::ShowMessageBox(notice, kMbNotice);
    return 1;
}
