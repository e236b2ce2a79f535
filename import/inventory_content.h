// The document as both formats carry it, before mapping: the sections below the document's
// content element, each entry one record of named scalar fields. Readers fill it; the mapping
// (inventory_mapping.h) turns it into the model.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// One scalar field. Names are lower case; a field of a nested element or object is named
// "outer.inner" (OPERATINGSYSTEM/TIMEZONE/NAME -> "timezone.name"); each value of a list
// of scalars is a field of its own under the same name. Values are the document's bytes.
struct ContentField {
    std::string name;
    std::string value;
};

// One entry of a section (one <SOFTWARES> element, one object of "softwares"). A section that
// is a bare value ("versionclient") is one record with one field named after the section.
struct ContentRecord {
    std::string section;  // lower case
    std::vector<ContentField> fields;

    // The first field of that name; null when absent.
    const std::string* Find(std::string_view name) const;
    // The first field of that name, or the empty text.
    const std::string& Get(std::string_view name) const;
    // Every value of that name, in order.
    std::vector<std::string> All(std::string_view name) const;
};

struct InventoryContent {
    std::vector<ContentRecord> records;  // in document order
    std::string deviceId;                // the document's DEVICEID / "deviceid", outside the content
    bool partial = false;                // JSON "partial": true (the changed sections only)
};

// Whether a section describes the computer once (HARDWARE, BIOS, OPERATINGSYSTEM, ACCESSLOG):
// such a section is one record, never a list (`section` lower case).
bool IsSingleRecordSection(std::string_view section);

// "" when the content may be mapped; otherwise why not, the same for both formats: a name or
// value holding a zero character (stored texts end at one), a single-record section given more
// than once, or a field of one given more than once (which value counts would be a guess).
std::string ContentProblem(const InventoryContent& content);

// How deep a reader follows nested elements or objects inside one record; deeper ones are
// skipped, so hostile nesting cannot exhaust the stack.
constexpr int kContentMaxDepth = 8;

// A reader's failure: where (1-based line and column of the byte) and why.
struct ContentError {
    unsigned line = 0;
    unsigned column = 0;
    std::string reason;
};

// Line and column (1-based, columns count bytes) of byte `offset` of `text`.
ContentError ErrorAt(std::string_view text, std::size_t offset, std::string reason);
