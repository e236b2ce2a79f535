// The input controls of field editing, as the library sees them: a window of a named class,
// created with a style and an extended style at a placement, that holds text (and, for a
// date picker, a date) and can take the focus. The front end supplies the real controls;
// CHeadlessControl stands in wherever there is no window system and records what was asked.
#pragma once

#include <string>
#include <vector>

#include "platform/cstring.h"
#include "platform/ctime.h"
#include "platform/types.h"

// A control's placement: left and top edges, width and height, in the parent's units.
struct CRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

namespace platform {

// The answers of a date picker asked for its time (as DTM_GETSYSTEMTIME gives them).
constexpr int kDateValid = 0;
constexpr int kDateNone = 1;
constexpr int kDateError = -1;

// One editing control. Not copyable; used from the thread that created it.
class NORVIK_API CFieldControl {
public:
    CFieldControl() = default;
    virtual ~CFieldControl();
    CFieldControl(const CFieldControl&) = delete;
    CFieldControl& operator=(const CFieldControl&) = delete;

    // Creates the window with an empty text; `id` is its child identifier. Returns its handle,
    // 0 when it could not be created.
    virtual ControlHandle Create(const char* className, ULong style, ULong exStyle, const CRect& placement, int id) = 0;
    // Appends an entry to a combo box's list (CB_ADDSTRING).
    virtual void AddItem(const char* text) = 0;
    virtual CString GetText() const = 0;
    virtual void SetText(const char* text) = 0;
    // A date picker's answer (kDateValid, kDateNone, kDateError); *time is set when valid.
    virtual int GetDate(CTime* time) const = 0;
    virtual void SetFocus() = 0;
};

// A control without a window: creation always succeeds (handle 1), the text and the date are
// what the caller sets, and every request is kept for inspection.
class NORVIK_API CHeadlessControl : public CFieldControl {
public:
    ControlHandle Create(const char* className, ULong style, ULong exStyle, const CRect& placement, int id) override;
    void AddItem(const char* text) override { m_items.push_back(text ? text : ""); }
    CString GetText() const override { return m_text; }
    void SetText(const char* text) override;
    int GetDate(CTime* time) const override;
    void SetFocus() override { ++m_focusCount; }

    // What the date picker answers next (kDateNone until set).
    void SetDate(int answer, CTime time) {
        m_dateAnswer = answer;
        m_date = time;
    }

    std::string m_className;
    ULong m_style = 0;
    ULong m_exStyle = 0;
    CRect m_placement;
    int m_id = 0;
    int m_createCount = 0;
    std::vector<std::string> m_items;
    std::vector<std::string> m_textsWritten;  // every SetText, in order
    int m_focusCount = 0;

private:
    CString m_text;
    int m_dateAnswer = kDateNone;
    CTime m_date;
};

}  // namespace platform
