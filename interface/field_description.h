// The texts that describe a user-defined field to people: its type name and its description,
// built from the field's flags and its two parameters. Shared by CNorvik::userDefAsString and
// CAssetFieldDef, so both always say the same.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

namespace fielddesc {

// Field types (flags & 0xF0).
constexpr ULong kText = 0x10;
constexpr ULong kInteger = 0x20;
constexpr ULong kPicklist = 0x30;
constexpr ULong kBoolean = 0x40;
constexpr ULong kEnvVar = 0x50;
constexpr ULong kRegKey = 0x60;
constexpr ULong kDate = 0x70;
constexpr ULong kTypeMask = 0xF0;
constexpr ULong kMandatory = 0x800;

// "Text", "Integer", "Picklist", "Boolean", "EnvVar", "RegKey", "Date"; empty for other types.
NORVIK_API CString TypeName(ULong flags);
// The case rule of the flags: 0x100 gives 1, else 0x200 gives 2, else 0x400 gives 3, else 0.
NORVIK_API int CaseRule(ULong flags);
// The description entries joined with ", ", in this order: the case rule of a Text field
// ("Upper Case", "Lower Case", "Title Case"); "Environment Variable \"%s\"" (second) of an
// EnvVar field; "Max %d chars" of a Text field whose first parameter reads as a non-zero
// number; "Range %d to %d" of an Integer field; "lookup %s" (first) of a Picklist field; the
// first and the second parameter of a RegKey field; "Mandatory", never for an EnvVar field.
NORVIK_API CString Describe(ULong flags, const CString& first, const CString& second);

}  // namespace fielddesc
