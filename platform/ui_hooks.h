// The user-interface services the library needs (message boxes, the wait cursor, message
// pumping), behind hooks that an application installs. The library itself shows nothing:
// without hooks, messages go to stderr and every question is answered No.
#pragma once

#include <functional>

#include "platform/types.h"

namespace platform {

// Windows message-box styles and answers used across the library.
constexpr unsigned kMbOk = 0x00;
constexpr unsigned kMbYesNo = 0x04;
constexpr unsigned kMbIconStop = 0x10;         // style 16
constexpr unsigned kMbIconQuestion = 0x20;     // with Yes/No: style 36
constexpr unsigned kMbIconExclamation = 0x30;  // style 48
constexpr int kIdOk = 1;
constexpr int kIdYes = 6;
constexpr int kIdNo = 7;

using MessageBoxHook = std::function<int(const char* text, unsigned style)>;
using PumpHook = std::function<void()>;
using CursorHook = std::function<void(bool waiting)>;

// Installs the process-wide message box; an empty hook restores the default.
NORVIK_API void SetMessageBoxHook(MessageBoxHook hook);
// Shows a message through the hook. Default: writes the text to stderr and answers
// No for a Yes/No question, OK otherwise.
NORVIK_API int ShowMessageBox(const char* text, unsigned style);

// Called while a statement waits for the connection: dispatches pending UI events.
NORVIK_API void SetMessagePumpHook(PumpHook hook);
NORVIK_API void PumpMessages();
// True when an application installed a pump, i.e. other work can run while a statement waits.
NORVIK_API bool HasMessagePump();
NORVIK_API void SleepMilliseconds(unsigned milliseconds);

// Shows a wait cursor for the lifetime of the object (through the cursor hook).
NORVIK_API void SetWaitCursorHook(CursorHook hook);
class NORVIK_API CWaitCursor {
public:
    CWaitCursor();
    ~CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
};

}  // namespace platform
