// Default, non-interactive implementations of the user-interface hooks.
#include "platform/ui_hooks.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace platform {
namespace {

MessageBoxHook& MessageBoxSlot() {
    static MessageBoxHook hook;
    return hook;
}
PumpHook& PumpSlot() {
    static PumpHook hook;
    return hook;
}
CursorHook& CursorSlot() {
    static CursorHook hook;
    return hook;
}

}  // namespace

void SetMessageBoxHook(MessageBoxHook hook) { MessageBoxSlot() = std::move(hook); }

int ShowMessageBox(const char* text, unsigned style) {
    if (MessageBoxSlot()) return MessageBoxSlot()(text ? text : "", style);
    std::fprintf(stderr, "%s\n", text ? text : "");
    return (style & 0x0F) == kMbYesNo ? kIdNo : kIdOk;
}

void SetMessagePumpHook(PumpHook hook) { PumpSlot() = std::move(hook); }

void PumpMessages() {
    if (PumpSlot()) PumpSlot()();
}

bool HasMessagePump() { return static_cast<bool>(PumpSlot()); }

void SleepMilliseconds(unsigned milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

void SetWaitCursorHook(CursorHook hook) { CursorSlot() = std::move(hook); }

CWaitCursor::CWaitCursor() {
    if (CursorSlot()) CursorSlot()(true);
}

CWaitCursor::~CWaitCursor() {
    if (CursorSlot()) CursorSlot()(false);
}

}  // namespace platform
