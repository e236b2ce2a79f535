// CAssetFieldDef: the in-memory form of one user-defined asset field (a USERDEF row): name,
// type, owner, case rule, mandatory bit, two type-dependent parameters and, for pick-list
// fields, the texts to choose from. Loads and stores itself through CNorvik, describes itself
// to people, and creates and validates its editing control.
//
// A plain value type: copy it freely. Used from one thread at a time.
#pragma once

#include "common/dynalist.h"
#include "platform/cstring.h"
#include "platform/field_control.h"
#include "platform/types.h"

class CNorvik;

class NORVIK_API CAssetFieldDef {
public:
    // Field types (the 0xF0 bits of the flags).
    static constexpr int kText = 0x10;
    static constexpr int kInteger = 0x20;
    static constexpr int kPicklist = 0x30;
    static constexpr int kBoolean = 0x40;
    static constexpr int kEnvVar = 0x50;
    static constexpr int kRegKey = 0x60;
    static constexpr int kDate = 0x70;
    // Owners (GetOwner): 0 asset, 1 application, 2 the third kind, -1 none.
    static constexpr int kOwnerAsset = 0;
    static constexpr int kOwnerApplication = 1;
    // Case rules (GetCaseRule).
    static constexpr int kCaseNone = 0;
    static constexpr int kCaseUpper = 1;
    static constexpr int kCaseLower = 2;
    static constexpr int kCaseTitle = 3;

    // Message-box styles of Validate: an error (exclamation icon) and the trimming notice
    // (information icon).
    static constexpr unsigned kMbError = 0x30;
    static constexpr unsigned kMbNotice = 0x40;

    // A Text field of no owner, no name, no parameters and no pick items; identifier and parent 0.
    CAssetFieldDef();
    explicit CAssetFieldDef(const char* name);
    CAssetFieldDef(const CAssetFieldDef& other);
    CAssetFieldDef& operator=(const CAssetFieldDef& other);
    ~CAssetFieldDef();

    ULong GetId() const { return m_nId; }
    ULong GetParent() const { return m_nParent; }
    void SetParent(ULong parent) { m_nParent = parent; }
    ULong GetFlags() const { return m_nFlags; }

    const CString& GetName() const { return m_strName; }
    void SetName(const char* name) { m_strName = name ? name : ""; }
    // 0x2 gives 0, else 0x4 gives 1, else 0x8 gives 2; none of them -1.
    int GetOwner() const;
    // Clears the four lowest bits, then sets 0x2, 0x4 or 0x8 for 0, 1, 2; any other value none.
    void SetOwner(int owner);
    int GetType() const { return static_cast<int>(m_nFlags & 0xF0); }
    // Clears 0xF0 and ORs in `type` as given (unmasked).
    void SetType(int type);
    int IsMandatory() const { return (m_nFlags & 0x800) ? 1 : 0; }
    void SetMandatory(int mandatory);
    // The two parameters are shared storage: minimum and registry key are the first, maximum
    // and environment variable the second. Numbers are kept as decimal text ("%d"), read back
    // as atoi reads them (clamped to int; no number reads as 0).
    int GetMax() const;
    void SetMax(int max);
    int GetMin() const;
    void SetMin(int min);
    // 0x100 gives 1, else 0x200 gives 2, else 0x400 gives 3, else 0.
    int GetCaseRule() const;
    // Clears 0x700; 1 and 2 set rule << 8, 3 sets 0x400, any other value leaves no rule.
    void SetCaseRule(int rule);
    const CString& GetRegKey() const { return m_strParam1; }
    const CString& GetEnvVar() const { return m_strParam2; }
    void SetRegKey(const char* key) { m_strParam1 = key ? key : ""; }
    void SetEnvVar(const char* name) { m_strParam2 = name ? name : ""; }
    // The first parameter as a Picklist field names its list.
    const CString& GetPicklistName() const { return m_strParam1; }
    const CDynaList<CString>& GetPickItems() const { return m_pickItems; }
    // Tests fill the items without a database.
    void TEST_AddPickItem(const char* text) { m_pickItems.Add(text ? text : ""); }

    // Reads definition `id`: its key, flags, parameters and parent; when flags & 0x30 (every type
    // but Boolean, kept as it has always been) the items of the pick list the first parameter
    // names, when there is such a list. Returns 1, 0 for a missing definition.
    int Load(CNorvik& db, ULong id);
    // Writes parent, key (renameValues passed to userDefSetKey), flags and parameters, in that
    // order; pick items are not stored. Returns 1 when every write succeeded.
    int Store(CNorvik& db, int renameValues);
    // The type's name ("Text" ... "Date"); empty for another type.
    CString GetTypeStr() const;
    // The description entries joined with ", " (see fielddesc::Describe); empty when none apply.
    CString GetDescription() const;

    // Creates the control for the type on `control` with child identifier `id` at `placement`:
    // a "combobox" (Picklist and Boolean; the height multiplied by pick items + 1, at most 8,
    // and written back), a "SysDateTimePick32" (Date) or an "edit" (others), extended style
    // 0x200, filled with the pick items, or "yes" and "no". Returns the control's handle.
    ControlHandle CreateControl(platform::CFieldControl& control, int id, CRect& placement) const;
    // Reads the control's text into `value`, checks and normalises it for the type: a mandatory
    // field must not be empty; Text is cut to its maximum length (with a notice) and given its
    // case rule, then written back; Integer must be numeric (a sign allowed) and within the
    // range; Date must be set and becomes FormatDate with "/". On an error the message box
    // (platform::ShowMessageBox, style kMbError) shows it, the control gets the focus, and 0 is
    // returned; otherwise 1 (after the trimming notice with kMbNotice when one was prepared).
    // An empty Integer holds no number and passes the range check.
    int Validate(platform::CFieldControl& control, CString& value) const;

    // Upper-cases the first character and every character after a blank, lower-cases the other
    // non-blank characters.
    static CString TitleCase(const CString& text);

private:
    ULong m_nId = 0;
    ULong m_nParent = 0;
    CString m_strName;
    CString m_strParam1;
    CString m_strParam2;
    ULong m_nFlags = kText;
    CDynaList<CString> m_pickItems;
};
