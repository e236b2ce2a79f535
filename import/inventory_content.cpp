// Field look-ups of a content record and the line/column arithmetic both readers share.
#include "import/inventory_content.h"

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
