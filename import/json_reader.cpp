// JSON inventory reader over RapidJSON (iterative parsing, so nesting depth cannot exhaust the
// stack; numbers kept as their own text, so nothing is rounded).
//
//   { "action": "inventory",
//     "content": {
//       "section": [ { "field": scalar, "group": { "field": scalar }, "list": [scalar ...] } ],
//       "section": { ... }        -> one record
//       "section": scalar         -> one record with one field "section" },
//     "deviceid": "text",         -> the content's device id
//     "partial": true }           -> the content holds the changed sections only
//
// Scalars become text: strings as their bytes, numbers as written, true/false as "1"/"0"
// (the XML form of the same flags); null values are left out.
#include "import/json_reader.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <cctype>

#include "import/identifiers.h"

namespace {

using Value = rapidjson::Value;

std::string Lower(const Value& name) {
    std::string text(name.GetString(), name.GetStringLength());
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool ScalarText(const Value& value, std::string& text) {
    if (value.IsString()) {
        text.assign(value.GetString(), value.GetStringLength());
        return true;
    }
    if (value.IsBool()) {
        text.assign(1, value.GetBool() ? '1' : '0');  // assign(size, char): GCC 12 -O3 warns falsely on = "1"
        return true;
    }
    return false;  // null, objects and arrays
}

void AddValue(const std::string& name, const Value& value, int depth, ContentRecord& record);

void AddObject(const Value& object, const std::string& prefix, int depth, ContentRecord& record) {
    for (const auto& member : object.GetObject()) AddValue(prefix + Lower(member.name), member.value, depth, record);
}

void AddValue(const std::string& name, const Value& value, int depth, ContentRecord& record) {
    std::string text;
    if (ScalarText(value, text)) {
        record.fields.push_back({name, std::move(text)});
    } else if (depth >= kContentMaxDepth) {
        return;
    } else if (value.IsObject()) {
        AddObject(value, name + ".", depth + 1, record);
    } else if (value.IsArray()) {
        for (const auto& item : value.GetArray()) AddValue(name, item, depth + 1, record);
    }
}

void AddRecord(const std::string& section, const Value& value, InventoryContent& content) {
    ContentRecord record;
    record.section = section;
    if (value.IsObject())
        AddObject(value, "", 1, record);
    else
        AddValue(section, value, 1, record);
    content.records.push_back(std::move(record));
}

}  // namespace

bool ReadJsonContent(std::string_view text, InventoryContent& content, ContentError& error) {
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
    rapidjson::Document document;
    document.Parse<kFlags>(text.data(), text.size());
    if (document.HasParseError()) {
        const bool truncated =
            document.GetParseError() != rapidjson::kParseErrorDocumentEmpty && document.GetErrorOffset() >= text.size();
        error = ErrorAt(text, document.GetErrorOffset(),
                        truncated ? "the document ends before its values are closed (truncated file)"
                                  : rapidjson::GetParseError_En(document.GetParseError()));
        return false;
    }
    // The tree keeps no positions: a well-formed document that is no inventory is blamed on its
    // first byte.
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    auto refuse = [&](const char* reason) {
        error = ErrorAt(text, start == std::string_view::npos ? 0 : start, reason);
        return false;
    };
    if (!document.IsObject()) return refuse("not an inventory (the document is not an object)");
    const auto action = document.FindMember("action");
    if (action != document.MemberEnd() &&
        !(action->value.IsString() && std::string_view(action->value.GetString()) == "inventory"))
        return refuse("not an inventory (its \"action\" is not \"inventory\")");
    const auto body = document.FindMember("content");
    if (body == document.MemberEnd() || !body->value.IsObject())
        return refuse("not an inventory (no \"content\" object)");
    if (const auto id = document.FindMember("deviceid"); id != document.MemberEnd() && id->value.IsString())
        content.deviceId = std::string(Trim(std::string_view(id->value.GetString(), id->value.GetStringLength())));
    if (const auto partial = document.FindMember("partial"); partial != document.MemberEnd())
        content.partial = partial->value.IsBool() && partial->value.GetBool();
    for (const auto& section : body->value.GetObject()) {
        const std::string name = Lower(section.name);
        if (IsSingleRecordSection(name) && !section.value.IsObject())
            return refuse(("not an inventory (its \"" + name + "\" is not an object)").c_str());
        if (section.value.IsArray()) {
            for (const auto& entry : section.value.GetArray()) AddRecord(name, entry, content);
        } else if (!section.value.IsNull()) {
            AddRecord(name, section.value, content);
        }
    }
    return true;
}
