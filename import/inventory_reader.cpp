// Format detection and the one message form of every reading failure.
#include "import/inventory_reader.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "import/identifiers.h"
#include "import/inventory_mapping.h"
#include "import/json_reader.h"
#include "import/xml_reader.h"

namespace {

std::size_t ContentStart(std::string_view text) {
    std::size_t start = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") start = 3;
    while (start < text.size() &&
           (text[start] == ' ' || text[start] == '\t' || text[start] == '\r' || text[start] == '\n'))
        ++start;
    return start;
}

std::string Located(const std::string& name, const ContentError& error) {
    return name + ": line " + std::to_string(error.line) + ", column " + std::to_string(error.column) + ": " +
           error.reason;
}

}  // namespace

InventoryFormat DetectInventoryFormat(std::string_view text) {
    const std::size_t start = ContentStart(text);
    if (start >= text.size()) return InventoryFormat::Unknown;
    if (text[start] == '<') return InventoryFormat::Xml;
    if (text[start] == '{') return InventoryFormat::Json;
    return InventoryFormat::Unknown;
}

std::string InventoryTooLarge() {
    return "the document is larger than the " + std::to_string(kInventoryMaxBytes / (1024 * 1024)) +
           " MiB an inventory may be";
}

bool ReadInventory(const std::string& name, std::string_view text, Inventory& inventory, std::string& error) {
    if (text.size() > kInventoryMaxBytes) {
        error = Located(name, ErrorAt(text, 0, InventoryTooLarge()));
        return false;
    }
    InventoryContent content;
    ContentError failure;
    bool read = false;
    switch (DetectInventoryFormat(text)) {
        case InventoryFormat::Xml: read = ReadXmlContent(text, content, failure); break;
        case InventoryFormat::Json: read = ReadJsonContent(text, content, failure); break;
        case InventoryFormat::Unknown:
            failure =
                ErrorAt(text, ContentStart(text),
                        ContentStart(text) >= text.size() ? "the file is empty"
                                                          : "not an inventory (neither an XML nor a JSON document)");
            break;
    }
    if (!read) {
        error = Located(name, failure);
        return false;
    }
    std::string reason = ContentProblem(content);
    // The mapping trims ASCII blanks only; a name of no-break or other wide spaces names no host.
    // (No name at all was already judged there: a partial inventory may be known by its device id.)
    bool mapped = reason.empty() && MapInventory(content, inventory, reason);
    if (mapped && !inventory.hostName.empty() && IsBlankName(inventory.hostName)) {
        mapped = false;
        reason = "the inventory names no host (no HARDWARE/NAME)";
    }
    if (!mapped) {
        error = Located(name, ErrorAt(text, ContentStart(text), reason));
        return false;
    }
    return true;
}

bool ReadInventoryFile(const std::string& path, Inventory& inventory, std::string& error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    if (size < 0) {
        error = path + ": the file cannot be read";
        return false;
    }
    if (static_cast<unsigned long long>(size) > kInventoryMaxBytes) {
        error = path + ": line 1, column 1: " + InventoryTooLarge();
        return false;
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    file.seekg(0);
    file.read(bytes.data(), size);
    if (!file) {
        error = path + ": the file cannot be read";
        return false;
    }
    return ReadInventory(path, bytes, inventory, error);
}
