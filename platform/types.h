// Fixed-width names for the Windows integer types the library's interfaces are written in.
// Record identifiers, history codes and flag words are 32-bit unsigned values whose shifts,
// masks and wrap-around the data depends on, so they never follow the host's `long`.
#pragma once

#include <cstdint>

// The 32-bit unsigned "unsigned long" of the interfaces: identifiers, codes, flags, counts.
using ULong = std::uint32_t;

// Values handed to and from callbacks; wide enough to carry a pointer to text.
using CallbackValue = std::intptr_t;
// The window handle of an editing control as a number; 0 is "no control".
using ControlHandle = std::uintptr_t;

// Symbols of the exported interface; everything else in libnorvik stays hidden.
#if defined(_WIN32)
#define NORVIK_API __declspec(dllexport)
#else
#define NORVIK_API __attribute__((visibility("default")))
#endif
