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
//     QUERY                     INVENTORY when present
#include "import/xml_reader.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <string>

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

// The offset of the first entity or character reference that the parser would keep as written
// or cut a text at: an entity other than the five XML predefines (no document type declares
// any), or a reference to character 0. `reason` says which; npos when there is none.
std::size_t UnusableReference(std::string_view text, std::string& reason) {
    for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1)) {
        const std::size_t end = text.find(';', at);
        if (end == std::string_view::npos || end - at > 40) continue;
        const std::string_view name = text.substr(at + 1, end - at - 1);
        if (name.empty()) continue;
        if (name[0] == '#') {
            const bool hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
            const std::string_view digits = name.substr(hex ? 2 : 1);
            if (!digits.empty() && digits.find_first_not_of('0') == std::string_view::npos) {
                reason = "a reference to character 0 (" + std::string(text.substr(at, end - at + 1)) +
                         "), which XML does not allow";
                return at;
            }
            continue;
        }
        if (name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos") continue;
        const bool word = std::all_of(name.begin(), name.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.' || c == ':';
        });
        if (!word) continue;
        reason = "the entity &" + std::string(name) + "; is not one of XML's own (entities are not expanded)";
        return at;
    }
    return std::string_view::npos;
}

}  // namespace

bool ReadXmlContent(std::string_view text, InventoryContent& content, ContentError& error) {
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_auto);
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
    // One root element and nothing after it but comments and processing instructions, as XML
    // requires; no document type declaration, whose entities would stay unexpanded ("&h;").
    // pugixml places a node one byte after its '<', and drops text outside the root.
    const auto at = [&](const pugi::xml_node& node) {
        const std::ptrdiff_t offset = node.offset_debug() - 1;
        return static_cast<std::size_t>(offset > 0 ? offset : 0);
    };
    const std::size_t lastMarkup = text.rfind('>');
    const std::size_t trailing = text.find_first_not_of(" \t\r\n", lastMarkup + 1);
    if (trailing != std::string_view::npos) {
        error = ErrorAt(text, trailing, "text after the root element");
        return false;
    }
    bool rootSeen = false;
    for (const auto& node : document.children()) {
        if (node.type() == pugi::node_doctype) {
            error = ErrorAt(text, text.find("<!DOCTYPE") == std::string_view::npos ? at(node) : text.find("<!DOCTYPE"),
                            "a document type declaration (<!DOCTYPE>) is not accepted in an inventory");
            return false;
        }
        if (node.type() != pugi::node_element) continue;
        if (rootSeen) {
            error = ErrorAt(text, at(node), "a second root element");
            return false;
        }
        rootSeen = true;
    }
    std::string reason;
    if (const std::size_t reference = UnusableReference(text, reason); reference != std::string_view::npos) {
        error = ErrorAt(text, reference, reason);
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
    // As a JSON inventory's "action": optional, but when given it must say what this is.
    if (const pugi::xml_node query = root.child("QUERY");
        query && std::string_view(query.text().get()) != "INVENTORY") {
        error = ErrorAt(text, at(query), "not an inventory (its <QUERY> is not INVENTORY)");
        return false;
    }
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
