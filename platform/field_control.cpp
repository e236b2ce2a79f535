// The headless editing control.
#include "platform/field_control.h"

namespace platform {

CFieldControl::~CFieldControl() = default;

ControlHandle CHeadlessControl::Create(const char* className, ULong style, ULong exStyle, const CRect& placement,
                                       int id) {
    m_className = className ? className : "";
    m_style = style;
    m_exStyle = exStyle;
    m_placement = placement;
    m_id = id;
    ++m_createCount;
    m_text.Empty();
    return 1;
}

void CHeadlessControl::SetText(const char* text) {
    m_text = text ? text : "";
    m_textsWritten.push_back(m_text.str());
}

int CHeadlessControl::GetDate(CTime* time) const {
    if (m_dateAnswer == kDateValid && time) *time = m_date;
    return m_dateAnswer;
}

}  // namespace platform
