// XML inventory reader over pugixml. Element names are folded to lower case so that both
// formats reach the mapping under the same names.
//
//   REQUEST
//     CONTENT
//       SECTION (repeated)      -> one ContentRecord per element, section "section"
//         FIELD  text           -> field "field"
//         GROUP                 -> nested: fields "group.field"
//           FIELD text
//       SECTION text            -> one record with one field "section"
//     DEVICEID text             -> the content's device id
//     QUERY ...                 (outside CONTENT: ignored)
#include "import/xml_reader.h"

#include <pugixml.hpp>

#include <cctype>

#include "import/identifiers.h"

namespace {

std::string Lower(const char* name) {
    std::string text = name;
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool HasElementChild(const pugi::xml_node& node) {
    for (const auto& child : node.children())
        if (child.type() == pugi::node_element) return true;
    return false;
}

void AddFields(const pugi::xml_node& node, const std::string& prefix, int depth, ContentRecord& record) {
    for (const auto& child : node.children()) {
        if (child.type() != pugi::node_element) continue;
        const std::string name = prefix + Lower(child.name());
        if (!HasElementChild(child))
            record.fields.push_back({name, child.text().get()});
        else if (depth < kContentMaxDepth)
            AddFields(child, name + ".", depth + 1, record);
    }
}

}  // namespace

bool ReadXmlContent(std::string_view text, InventoryContent& content, ContentError& error) {
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_auto);
    if (!result) {
        // A document cut short either stops inside a tag or leaves elements open at its end;
        // both are reported where the text ends.
        const std::size_t end = text.find_last_not_of(" \t\r\n");
        const bool truncated = end == std::string_view::npos || text[end] != '>' ||
                               (result.status == pugi::status_end_element_mismatch &&
                                static_cast<std::size_t>(result.offset) + 1 >= text.size());
        error = truncated
                    ? ErrorAt(text, text.size(), "the document ends before its elements are closed (truncated file)")
                    : ErrorAt(text, static_cast<std::size_t>(result.offset), result.description());
        return false;
    }
    const pugi::xml_node root = document.document_element();
    const pugi::xml_node body = root.child("CONTENT");
    if (std::string_view(root.name()) != "REQUEST" || !body) {
        // pugixml places an element at its name, one byte after the '<'.
        const std::ptrdiff_t at = root ? root.offset_debug() - 1 : 0;
        error = ErrorAt(text, static_cast<std::size_t>(at > 0 ? at : 0),
                        "not an inventory (no <REQUEST><CONTENT> element)");
        return false;
    }
    content.deviceId = std::string(Trim(root.child("DEVICEID").text().get()));
    for (const auto& section : body.children()) {
        if (section.type() != pugi::node_element) continue;
        ContentRecord record;
        record.section = Lower(section.name());
        if (HasElementChild(section))
            AddFields(section, "", 1, record);
        else
            record.fields.push_back({record.section, section.text().get()});
        content.records.push_back(std::move(record));
    }
    return true;
}
