// Process-wide trace state; unguarded, as the library is used from one thread at a time.
#include "common/trace.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace {

struct TraceState {
    std::FILE* file = nullptr;
    int depth = 0;
    ULong options = 0;
};

TraceState& State() {
    static TraceState state;
    return state;
}

}  // namespace

void EnterTraceScope(ULong options) {
    if (State().depth == 0) State().options = options;
    ++State().depth;
}

void LeaveTraceScope() {
    auto& state = State();
    --state.depth;
    if (state.depth != 0 || !state.file) return;
    if (state.options & 0x08) {
        // The closing line is built but, by long-standing behaviour, not written.
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        char line[80];
        std::snprintf(line, sizeof line, "-- SESSION STOPPED %2.2d.%2.2d.%4.4d - %2.2d:%2.2d:%2.2d --\n", local.tm_mday,
                      local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
    }
    TraceClose();
}

void TraceWrite(const char* text, bool addLineEnd, bool flush) {
    std::FILE* file = State().file;
    if (!file) return;
    std::fputs(text ? text : "", file);
    if (addLineEnd) std::fputc('\n', file);
    if (flush) std::fflush(file);
}

void TracePrintf(const char* format, ...) {
    if (!State().file) return;
    // The historical buffer held 1,024 characters without a bound; ours is bounded.
    char buffer[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    TraceWrite(buffer, false, true);
}

void TraceFlush() {
    if (State().file) std::fflush(State().file);
}

bool TraceOpen(const char* path) {
    TraceClose();
    State().file = std::fopen(path, "a");
    return State().file != nullptr;
}

void TraceClose() {
    if (State().file) std::fclose(State().file);
    State().file = nullptr;
}

bool TraceIsOpen() { return State().file != nullptr; }
int TEST_TraceDepth() { return State().depth; }
ULong TEST_TraceOptions() { return State().options; }
