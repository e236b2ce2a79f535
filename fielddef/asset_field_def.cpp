// CAssetFieldDef: members, bit rules, loading, storing and descriptions.
#include "fielddef/asset_field_def.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "interface/field_description.h"
#include "interface/norvik.h"

namespace {

// atoi without its undefined overflow: leading digits, clamped to int.
int ParamAsInt(const CString& text) {
    const long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace

CAssetFieldDef::CAssetFieldDef() = default;

CAssetFieldDef::CAssetFieldDef(const char* name) : m_strName(name ? name : "") {}

CAssetFieldDef::CAssetFieldDef(const CAssetFieldDef& other) = default;

CAssetFieldDef& CAssetFieldDef::operator=(const CAssetFieldDef& other) = default;

CAssetFieldDef::~CAssetFieldDef() = default;

// ---- Bit rules ----

int CAssetFieldDef::GetOwner() const {
    if (m_nFlags & 0x2) return 0;
    if (m_nFlags & 0x4) return 1;
    if (m_nFlags & 0x8) return 2;
    return -1;
}

void CAssetFieldDef::SetOwner(int owner) {
    m_nFlags &= ~0xFu;
    if (owner == 0) m_nFlags |= 0x2;
    if (owner == 1) m_nFlags |= 0x4;
    if (owner == 2) m_nFlags |= 0x8;
}

void CAssetFieldDef::SetType(int type) {
    // Unmasked: a type with bits outside 0xF0 sets them too, as it always has.
    m_nFlags = (m_nFlags & ~0xF0u) | static_cast<ULong>(type);
}

void CAssetFieldDef::SetMandatory(int mandatory) {
    if (mandatory)
        m_nFlags |= 0x800;
    else
        m_nFlags &= ~0x800u;
}

int CAssetFieldDef::GetMax() const { return ParamAsInt(m_strParam2); }

void CAssetFieldDef::SetMax(int max) { m_strParam2 = CString::Formatted("%d", max); }

int CAssetFieldDef::GetMin() const { return ParamAsInt(m_strParam1); }

void CAssetFieldDef::SetMin(int min) { m_strParam1 = CString::Formatted("%d", min); }

int CAssetFieldDef::GetCaseRule() const { return fielddesc::CaseRule(m_nFlags); }

void CAssetFieldDef::SetCaseRule(int rule) {
    m_nFlags &= ~0x700u;
    if (rule == 1 || rule == 2) m_nFlags |= static_cast<ULong>(rule) << 8;
    if (rule == 3) m_nFlags |= 0x400;
}

// ---- Database ----

int CAssetFieldDef::Load(CNorvik& db, ULong id) {
    CString first, second;
    if (!db.userDefGetParams(id, first, second)) return 0;
    m_nId = id;
    m_strName = db.userDefGetKey(id);
    m_nFlags = db.userDefGetFlags(id);
    m_strParam1 = first;
    m_strParam2 = second;
    m_nParent = db.userDefGetParent(id);
    // 0x30 is the Picklist type, but tested as a mask: every type except Boolean (0x40) shares a
    // bit with it, so a Text field whose first parameter names a list loads it too. Kept.
    if (m_nFlags & 0x30) {
        if (const ULong list = db.FindPicklist(m_strParam1)) {
            m_pickItems.RemoveAll();
            CDynaList<ULong> items;
            db.EnumPickItems(list, items);
            for (ULong item : items) m_pickItems.Add(db.GetPickItemValue(item));
        }
    }
    return 1;
}

int CAssetFieldDef::Store(CNorvik& db, int renameValues) {
    int done = db.userDefSetParent(m_nId, m_nParent);
    done &= db.userDefSetKey(m_nId, m_strName, renameValues);
    done &= db.userDefSetFlags(m_nId, m_nFlags);
    done &= db.userDefSetParams(m_nId, m_strParam1, m_strParam2);
    return done ? 1 : 0;
}

// ---- Descriptions ----

CString CAssetFieldDef::GetTypeStr() const { return fielddesc::TypeName(m_nFlags); }

CString CAssetFieldDef::GetDescription() const { return fielddesc::Describe(m_nFlags, m_strParam1, m_strParam2); }
