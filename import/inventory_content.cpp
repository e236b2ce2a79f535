// Field look-ups of a content record, the checks of its structure and the line/column
// arithmetic both readers share.
#include "import/inventory_content.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace {

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

}  // namespace

bool IsSingleRecordSection(std::string_view section) {
    return section == "hardware" || section == "bios" || section == "operatingsystem" || section == "accesslog";
}

std::string ContentProblem(const InventoryContent& content) {
    std::set<std::string> seen;
    for (const ContentRecord& record : content.records) {
        const std::string section = Upper(record.section);
        if (record.section.find('\0') != std::string::npos) return "a section name holds a zero character";
        for (const ContentField& field : record.fields)
            if (field.name.find('\0') != std::string::npos || field.value.find('\0') != std::string::npos)
                return "the field " + section + "/" + Upper(field.name.substr(0, field.name.find('\0'))) +
                       " holds a zero character";
        if (!IsSingleRecordSection(record.section)) continue;
        if (!seen.insert(record.section).second) return "the section " + section + " is given more than once";
        std::set<std::string_view> names;
        for (const ContentField& field : record.fields)
            if (!names.insert(field.name).second)
                return "the field " + section + "/" + Upper(field.name) + " is given more than once";
    }
    return "";
}

const std::string* ContentRecord::Find(std::string_view name) const {
    for (const auto& field : fields)
        if (field.name == name) return &field.value;
    return nullptr;
}

const std::string& ContentRecord::Get(std::string_view name) const {
    static const std::string kEmpty;
    const std::string* value = Find(name);
    return value ? *value : kEmpty;
}

std::vector<std::string> ContentRecord::All(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto& field : fields)
        if (field.name == name) values.push_back(field.value);
    return values;
}

ContentError ErrorAt(std::string_view text, std::size_t offset, std::string reason) {
    ContentError error{1, 1, std::move(reason)};
    if (offset > text.size()) offset = text.size();
    for (std::size_t i = 0; i < offset; ++i) {
        if (text[i] == '\n') {
            ++error.line;
            error.column = 1;
        } else {
            ++error.column;
        }
    }
    return error;
}
