// The diagnostic trace log: one process-wide text file with nested scopes.
// The library never opens it by itself; an application (the `norvik --trace FILE` option)
// calls TraceOpen. While it is closed every trace call does nothing.
#pragma once

#include "platform/types.h"

// Enters a scope; the outermost scope's options are kept (bit 0x08: closing line wanted).
NORVIK_API void EnterTraceScope(ULong options);
// Leaves a scope; leaving the outermost one while open closes the trace.
NORVIK_API void LeaveTraceScope();
NORVIK_API void TraceWrite(const char* text, bool addLineEnd, bool flush);
NORVIK_API void TracePrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
NORVIK_API void TraceFlush();

// Opens (appending) or closes the trace file. Returns false when the file cannot be opened.
NORVIK_API bool TraceOpen(const char* path);
NORVIK_API void TraceClose();
NORVIK_API bool TraceIsOpen();
NORVIK_API int TEST_TraceDepth();
NORVIK_API ULong TEST_TraceOptions();
