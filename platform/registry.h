// Read-only access to the machine-wide registry (HKEY_LOCAL_MACHINE).
//
// On Linux the machine registry is a small key file in INI form: a section per key path,
// written as on Windows with backslashes, and one `name=value` line per string value:
//
//   [Software\Microsoft\Windows\CurrentVersion\Uninstall\{...}]
//   RegCompany=Example Ltd
//
// The file is $NORVIK_REGISTRY when that variable is set, else /etc/norvik/registry.ini.
// Key paths compare case-insensitively, as on Windows; value names too.
#pragma once

#include "platform/cstring.h"

namespace platform {

// Reads a string value. Returns false (and leaves *value empty) when the file, the key
// or the value is missing.
NORVIK_API bool ReadMachineRegistryString(const char* keyPath, const char* valueName, CString* value);

// The key file currently in use.
NORVIK_API CString MachineRegistryPath();

}  // namespace platform
